#!/usr/bin/env python3
"""kestrixmotion beside motioncells in GStreamer pipelines: processor time each adds per frame.

Each pipeline decodes nothing: videotestsrc makes the same 720x576 BGR stream of a moving ball
every time (500 frames), a queue hands it to another thread, and fakesink takes it as fast as it
comes. Measured is the processor time of the whole process (all its threads, the element's and any
it starts itself) from PLAYING to EOS, less that of the source's thread, whose drawing of the
frames costs several times what the elements do and would only add its noise. A pipeline without
the element is measured beside it, so that the difference is what the element adds. motioncells
takes RGB only: a videoconvert to RGB stands in the source's thread before the queue, in its
pipeline and in its baseline alike. Runs of all pipelines are interleaved in random order; medians
and best runs are reported.

    pipelines.py PLUGIN_DIR [--frames N] [--repetitions N]
"""
import argparse
import os
import random
import statistics
import sys
import time


# The zones of the client-frame benchmark: a gate, a path and a window of a 720x576 yard.
THREE_ZONES = '"40,300,240,560;300,200,520,420;560,40,700,200"'


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("plugin_dir")
    parser.add_argument("--frames", type=int, default=500)
    parser.add_argument("--repetitions", type=int, default=15)
    args = parser.parse_args()
    os.environ["GST_PLUGIN_PATH"] = args.plugin_dir

    import gi
    gi.require_version("Gst", "1.0")
    from gi.repository import Gst
    Gst.init(None)

    source = (f"videotestsrc name=src num-buffers={args.frames} pattern=ball "
              "! video/x-raw,format=BGR,width=720,height=576,framerate=25/1")
    rgb = "videoconvert ! video/x-raw,format=RGB"
    pipelines = {
        "bgr": f"{source} ! queue ! fakesink sync=false",
        "kestrixmotion": f"{source} ! queue ! kestrixmotion ! fakesink sync=false",
        "kestrixmotion, three zones": f"{source} ! queue ! kestrixmotion zones={THREE_ZONES} ! fakesink sync=false",
        "rgb": f"{source} ! {rgb} ! queue ! fakesink sync=false",
        "motioncells": f"{source} ! {rgb} ! queue ! motioncells display=false ! fakesink sync=false",
    }
    available = {name: text for name, text in pipelines.items()
                 if Gst.ElementFactory.find(name.split(",")[0]) or name in ("bgr", "rgb")}
    for name in pipelines.keys() - available.keys():
        print(f"{name}: not available, left out", file=sys.stderr)

    def source_thread_ns():
        # Threads are named after their pad's task, here "src:src"; the first field of schedstat is
        # the thread's time on a processor in nanoseconds. Idle threads of earlier runs add nothing.
        total = 0
        for task in os.listdir("/proc/self/task"):
            try:
                with open(f"/proc/self/task/{task}/comm") as comm, open(f"/proc/self/task/{task}/schedstat") as stat:
                    if comm.read().strip() == "src:src":
                        total += int(stat.read().split()[0])
            except OSError:
                pass
        return total

    def run(text):
        pipeline = Gst.parse_launch(text)
        bus = pipeline.get_bus()
        pipeline.set_state(Gst.State.PAUSED)
        pipeline.get_state(Gst.CLOCK_TIME_NONE)
        start, start_source = time.process_time_ns(), source_thread_ns()
        pipeline.set_state(Gst.State.PLAYING)
        message = bus.timed_pop_filtered(Gst.CLOCK_TIME_NONE, Gst.MessageType.EOS | Gst.MessageType.ERROR)
        spent = (time.process_time_ns() - start) - (source_thread_ns() - start_source)
        pipeline.set_state(Gst.State.NULL)
        if message.type == Gst.MessageType.ERROR:
            sys.exit(f"{text}: {message.parse_error()[0].message}")
        return spent / args.frames / 1e6  # ms a frame

    order = [name for name in available for _ in range(args.repetitions)]
    random.shuffle(order)
    for name in available:  # one run each first, so that loading the plugins falls outside the figures
        run(available[name])
    times = {name: [] for name in available}
    for name in order:
        times[name].append(run(available[name]))

    median = {name: statistics.median(t) for name, t in times.items()}
    best = {name: min(t) for name, t in times.items()}
    print(f"GStreamer pipelines: 720x576 BGR, {args.frames} frames of videotestsrc pattern=ball, "
          f"{args.repetitions} interleaved runs each; processor time per frame in ms of all threads but the "
          "source's, median / best run.")
    print()
    print(f"Source: `{source}`; then `queue`, the element, `fakesink sync=false`. bgr: no element;")
    print("kestrixmotion: `kestrixmotion` (the whole picture watched), three zones: `zones=" + THREE_ZONES + "`;")
    print(f"rgb: `{rgb}` before the queue, no element; motioncells: the same with `motioncells display=false`.")
    print()
    print("| Pipeline | Per frame (ms) | Added by the element (ms) |")
    print("|---|---|---|")
    added = {}
    for name, base in (("kestrixmotion", "bgr"), ("kestrixmotion, three zones", "bgr"), ("motioncells", "rgb")):
        if name in available:
            added[name] = (median[name] - median[base], best[name] - best[base])
    for name in available:
        extra = added.get(name)
        cell = f"{extra[0]:.3f} / {extra[1]:.3f}" if extra else "-"
        print(f"| {name} | {median[name]:.3f} / {best[name]:.3f} | {cell} |")
    print()
    if "motioncells" in added and added["motioncells"][0] > 0:
        for name in ("kestrixmotion", "kestrixmotion, three zones"):
            if name in added:
                ratio = added[name][0] / added["motioncells"][0]
                verdict = "met" if ratio <= 0.1 else "missed"
                print(f"- {name} adds {ratio:.3f} of what motioncells adds (medians); target at most 0.1: {verdict}")
    if "motioncells" not in available:
        print("- motioncells is not installed (Debian gstreamer1.0-opencv): kestrixmotion is measured against "
              "the pipeline without it only")
    load = " ".join(open("/proc/loadavg").read().split()[:3])
    print(f"- load average when the runs ended: {load} (other work on the machine weighs on every figure)")


if __name__ == "__main__":
    main()
