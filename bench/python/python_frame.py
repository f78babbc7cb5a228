"""The per-frame cost of the Python package against the same C calls, on 720x576 frames.

A frame is MotionDetector.compare (three zones), luminance and resize to 800x600 (linear): what a
Python client does with each frame, against MotionCompare, BmpGetYDc and pxResizeC3 called from C
on the bottom-up DIBs a C client holds (_kxbench, no interpreter in its loop), and a memcpy of the
frame. The cases' batches are interleaved at random, so that they meet the same drift of the
machine. Prints a Markdown section; run by scripts/bench with the build tree's package on PYTHONPATH.

    python3 bench/python/python_frame.py [REPETITIONS] [FRAMES_PER_BATCH]
"""

from __future__ import annotations

import random
import statistics
import sys
import time

import numpy as np

import _kxbench
import kestrix

WIDTH, HEIGHT, OUT = 720, 576, (800, 600)
ZONES = [(40, 200, 330, 560), (380, 200, 700, 560), (300, 20, 420, 120)]


def scene(count: int = 16) -> list:
    rng = np.random.default_rng(7)
    background = rng.integers(30, 120, size=(HEIGHT, WIDTH, 3), dtype=np.uint8)
    frames = []
    for t in range(count):
        frame = background.copy()
        x = 60 + 36 * t
        frame[260:420, x:x + 80] = (230, 220, 210)
        frames.append(frame)
    return frames


def main() -> None:
    repetitions = int(sys.argv[1]) if len(sys.argv) > 1 else 15
    batch = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    frames = scene()
    dibs = [np.ascontiguousarray(f[::-1]) for f in frames]  # what a C client holds
    bottom_up = [d[::-1] for d in dibs]                      # the same pictures, top row first, no copy
    out = np.empty((OUT[1], OUT[0], 3), np.uint8)
    copy_target = np.empty_like(frames[0])
    client = _kxbench.ClientFrame(ZONES, 4)
    client_per_frame = _kxbench.ClientFrame(ZONES, 4)
    detectors = {name: kestrix.MotionDetector(ZONES, 4)
                 for name in ("new", "out", "bottom_up", "compare_top_down", "compare_bottom_up")}

    def python(name, source, new_output):
        detector = detectors[name]

        def run(first):
            start = time.thread_time_ns()
            for i in range(batch):
                frame = source[(first + i) % len(source)]
                detector.compare(frame)
                kestrix.luminance(frame)
                if new_output:
                    kestrix.resize(frame, OUT)
                else:
                    kestrix.resize(frame, OUT, out=out)
            return time.thread_time_ns() - start
        return run

    def compare_only(name, source):
        detector = detectors[name]

        def run(first):
            start = time.thread_time_ns()
            for i in range(batch):
                detector.compare(source[(first + i) % len(source)])
            return time.thread_time_ns() - start
        return run

    def c_per_frame(first):
        start = time.thread_time_ns()
        for i in range(batch):
            client_per_frame.run(dibs, WIDTH, HEIGHT, out, first + i, 1)
        return time.thread_time_ns() - start

    cases = {
        "c": lambda first: client.run(dibs, WIDTH, HEIGHT, out, first, batch),
        "c_per_frame": c_per_frame,
        "python_bottom_up": python("bottom_up", bottom_up, False),
        "python_out": python("out", frames, False),
        "python_new": python("new", frames, True),
        "memcpy": lambda first: _kxbench.copy_frames(frames, copy_target, first, batch),
        "compare_bottom_up": compare_only("compare_bottom_up", bottom_up),
        "compare_top_down": compare_only("compare_top_down", frames),
    }
    # Past the detectors' warm-up (31 frames), and the first touches of every buffer.
    first = 0
    while first < 40:
        for run in cases.values():
            run(first)
        first += batch
    times = {name: [] for name in cases}
    for _ in range(repetitions):
        order = list(cases)
        random.shuffle(order)
        for name in order:
            times[name].append(cases[name](first) / batch / 1000.0)
        first += batch

    def cell(name):
        return statistics.median(times[name]), min(times[name])

    c_median, c_best = cell("c")
    labels = {
        "c": "C calls on a bottom-up DIB (MotionCompare, BmpGetYDc, pxResizeC3)",
        "c_per_frame": "The same C calls, one frame at a time from a Python loop",
        "python_bottom_up": "Python, a bottom-up frame's view (`dib[::-1]`): no copy, `resize(out=)`",
        "python_out": "Python, a top-down frame (OpenCV's): compare's copy, `resize(out=)`",
        "python_new": "Python, a top-down frame, `resize` returning a new array",
        "memcpy": "memcpy of a 720x576 frame",
        "compare_bottom_up": "`compare` alone, a bottom-up frame's view: no copy",
        "compare_top_down": "`compare` alone, a top-down frame: the copy it names",
    }
    print("## The Python package against C")
    print()
    print(f"A 720x576 frame through `compare` (three zones) + `luminance` + `resize` to 800x600 (linear): "
          f"{repetitions} interleaved batches of {batch} frames a case, processor time of the thread per frame in "
          f"microseconds, "
          f"median / best batch; ratios to the C calls of the same run. Kernel level {kestrix.level()}.")
    print()
    print("| Case | Per frame (us) | / C |")
    print("|---|---|---|")
    for name in cases:
        median, best = cell(name)
        print(f"| {labels[name]} | {median:.0f} / {best:.0f} | {median / c_median:.3f} / {best / c_best:.3f} |")
    print()
    overhead = cell("python_bottom_up")[0] / c_median - 1
    overhead_best = cell("python_bottom_up")[1] / c_best - 1
    print(f"- The binding's own cost, no copy (bottom-up view against C), at most 5%: {overhead * 100:+.1f}% "
          f"(best batches {overhead_best * 100:+.1f}%), {'met' if overhead <= 0.05 else 'missed'}")
    copy = cell("compare_top_down")[0] - cell("compare_bottom_up")[0]
    copy_best = cell("compare_top_down")[1] - cell("compare_bottom_up")[1]
    copy_ratio = copy / cell("memcpy")[0]
    print(f"- The copy `compare` names for a top-down frame (`compare` alone, top-down against bottom-up), at most "
          f"one memcpy: {copy:.0f} us (best batches {copy_best:.0f} us), {copy_ratio:.2f} memcpy, "
          f"{'met' if copy_ratio <= 1.0 else 'missed'}")
    interleave = cell("c_per_frame")[0] / c_median - 1
    print(f"- Of that, returning to the interpreter between frames (C calls one frame at a time from Python): "
          f"{interleave * 100:+.1f}%")
    new_cost = cell("python_new")[0] - cell("python_out")[0]
    print(f"- A new array from `resize` instead of `out=`: {new_cost:+.0f} us a frame")


if __name__ == "__main__":
    main()
