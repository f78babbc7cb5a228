"""The GIL is released around the library calls: a thread runs Python while another is inside one.

No timing is compared. The interpreter's switch interval is set far beyond the test's length, so a
thread that holds the GIL is never made to give it up: the other thread can only run while the
first is inside a call that released it, or waits. The helper thread releases the GIL itself at
every turn, for long enough that the main thread takes it back, so it cannot keep that one out.
"""

from __future__ import annotations

import sys
import threading
import time

import numpy as np
import pytest

import kestrix
from conftest import moving_square, picture

BIG = picture(1080, 1920)


class Helper(threading.Thread):
    """Counts turns of its own work, giving the GIL away between turns."""

    def __init__(self, work) -> None:
        super().__init__(daemon=True)
        self.work = work
        self.turns = 0
        self.stop = threading.Event()
        self.started_turns = threading.Event()

    def run(self) -> None:
        while not self.stop.is_set():
            self.work()
            self.turns += 1
            self.started_turns.set()
            time.sleep(1e-4)  # gives the GIL away between turns, whatever the work does


def progress_during(call, helper: Helper, attempts: int = 200) -> int:
    """Turns the helper made while the main thread was inside ``call``, over up to ``attempts`` calls."""
    old = sys.getswitchinterval()
    sys.setswitchinterval(1000.0)
    try:
        helper.start()
        helper.started_turns.wait(10)
        for _ in range(attempts):
            before = helper.turns
            call()
            if helper.turns != before:
                return helper.turns - before
        return 0
    finally:
        helper.stop.set()
        helper.join()
        sys.setswitchinterval(old)


LONG_CALLS = {
    "compare": lambda: kestrix.MotionDetector().compare(BIG),
    "luminance": lambda: kestrix.luminance(BIG),
    "resize": lambda: kestrix.resize(BIG, (1280, 720), kestrix.Interpolation.LANCZOS),
    "deinterlace": lambda: kestrix.deinterlace(BIG.copy()),
    "stretch": lambda: kestrix.stretch(BIG, (1280, 720), passes=2),
    "rgb_to_yuv420": lambda: kestrix.rgb_to_yuv420(BIG),
}


@pytest.mark.parametrize("name", list(LONG_CALLS))
def test_a_thread_runs_while_another_is_inside_a_call(name):
    assert progress_during(LONG_CALLS[name], Helper(lambda: None)) > 0


def test_two_detectors_run_side_by_side_and_each_sees_its_own_stream():
    small = moving_square(48, 64, 400, square=12, speed=13)
    helper_detector = kestrix.MotionDetector([], 9)
    helper_masks = []
    frames = iter(small)
    helper = Helper(lambda: helper_masks.append(helper_detector.compare(next(frames, small[-1]))))
    main_detector = kestrix.MotionDetector([], 9)
    assert progress_during(lambda: main_detector.compare(BIG), helper) > 0
    # Whatever ran in parallel, the helper's masks are those its frames give alone.
    alone = kestrix.MotionDetector([], 9)
    expected = [alone.compare(f) for f in small[:len(helper_masks)]]
    assert helper_masks[:len(expected)] == expected[:len(helper_masks)]
