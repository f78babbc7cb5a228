"""The event layer over the masks: scripted masks with the events worked out by hand, and a scripted scene."""

from __future__ import annotations

import io
import json

import pytest

import kestrix
from kestrix.events import Event, ZoneEvents
from kestrix.motion import run
import numpy as np

# Masks of zone 0 frame by frame (1 in motion), min_frames 3, gap_frames 2, timestamps 10, 11, 12 ...
SCRIPTS = [
    ("a blip shorter than min_frames is no event", [1, 1, 0, 1, 0, 0], []),
    ("begins at the first frame of the run", [0, 1, 1, 1, 1, 0, 0],
     [Event("begin", 0, 11, 3), Event("end", 0, 15, 4)]),
    ("a gap shorter than gap_frames keeps it open", [1, 1, 1, 0, 1, 0, 0, 0],
     [Event("begin", 0, 10, 3), Event("end", 0, 15, 4)]),
    ("two events", [1, 1, 1, 0, 0, 1, 1, 1, 0, 0],
     [Event("begin", 0, 10, 3), Event("end", 0, 13, 3), Event("begin", 0, 15, 3), Event("end", 0, 18, 3)]),
]


@pytest.mark.parametrize("_,masks,expected", SCRIPTS)
def test_scripted_masks(_, masks, expected):
    events = ZoneEvents(min_frames=3, gap_frames=2)
    got = []
    for i, mask in enumerate(masks):
        got += events.update(mask, 10 + i)
    assert got == expected


def test_zones_are_independent_and_finish_closes_open_events():
    events = ZoneEvents(min_frames=1, gap_frames=5)
    assert events.update(0b101, 0) == [Event("begin", 0, 0, 1), Event("begin", 2, 0, 1)]
    assert events.update(0b100, 1) == []
    assert events.active() == [0, 2]
    # Zone 0 has been still since 1; zone 2 is still moving at the end.
    assert events.finish(2) == [Event("end", 0, 1, 1), Event("end", 2, 2, 2)]
    assert events.active() == []


def test_bad_policy():
    with pytest.raises(ValueError):
        ZoneEvents(min_frames=0)


def crossing(frames: int = 80) -> list:
    """A square still in the left zone until frame 40, then 4 pixels a frame into the right zone,
    where it stops at frame 59."""
    rng = np.random.default_rng(3)
    background = rng.integers(40, 90, size=(48, 96, 3), dtype=np.uint8)
    out = []
    for t in range(frames):
        x = 6 + 4 * min(max(t - 40, 0), 19)
        frame = background.copy()
        frame[18:30, x:x + 12] = (250, 240, 230)
        out.append(frame)
    return out


ZONES = [(2, 2, 46, 46), (50, 2, 94, 46)]


def test_scene_through_the_detector():
    out = io.StringIO()
    assert run(crossing(), 10.0, ZONES, 9, 3, 5, out=out) == 80
    records = [json.loads(line) for line in out.getvalue().splitlines()]
    # Frame 41 is the first to differ from the one before; the square's edge enters the right zone at
    # frame 49 (x 42 + 12 > 50), leaves the left one after frame 50 (x 46) and stops at frame 59.
    assert records == [
        {"event": "begin", "zone": 0, "time": 4.1, "frames": 3, "name": "2,2,46,46"},
        {"event": "begin", "zone": 1, "time": 4.9, "frames": 3, "name": "50,2,94,46"},
        {"event": "end", "zone": 0, "time": 5.1, "frames": 10, "name": "2,2,46,46"},
        {"event": "end", "zone": 1, "time": 6.0, "frames": 11, "name": "50,2,94,46"},
    ]


def test_the_command_reads_a_video(tmp_path, capsys):
    import cv2
    from kestrix.motion import main
    path = str(tmp_path / "scene.avi")
    writer = cv2.VideoWriter(path, cv2.VideoWriter_fourcc(*"MJPG"), 10.0, (96, 48))
    for frame in crossing():
        writer.write(frame)
    writer.release()
    # JPEG noise moves nothing at sensitivity 4; the crossing gives both zones an event.
    assert main([path, "--zones", "2,2,46,46", "50,2,94,46", "--gap-frames", "5"]) == 0
    records = [json.loads(line) for line in capsys.readouterr().out.splitlines()]
    assert [(r["event"], r["zone"]) for r in records] == [("begin", 0), ("begin", 1), ("end", 0), ("end", 1)]
