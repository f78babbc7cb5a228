"""python -m kestrix.motion VIDEO --zones L,T,R,B [L,T,R,B ...]: zone motion over a video, as JSON lines.

Reads the video with OpenCV, runs a MotionDetector over every frame and prints one JSON object a
line for each event begin and end (see kestrix.events), with the time in seconds from the video's
frame rate.
"""

from __future__ import annotations

import argparse
import json
import sys
from typing import List, Optional, Sequence

from . import MotionDetector
from .events import ZoneEvents, as_json


def _zone(text: str):
    try:
        left, top, right, bottom = (int(v) for v in text.split(","))
    except ValueError:
        raise argparse.ArgumentTypeError(f"a zone is LEFT,TOP,RIGHT,BOTTOM in pixels, not {text!r}")
    return (left, top, right, bottom)


def run(frames, fps: float, zones, sensitivity: int, min_frames: int, gap_frames: int, out=None) -> int:
    """Runs the detector over an iterable of frames; prints the events (to ``out``, standard output by
    default); returns the frame count."""
    out = sys.stdout if out is None else out
    count = 0
    events = ZoneEvents(min_frames=min_frames, gap_frames=gap_frames)
    with MotionDetector(zones, sensitivity) as detector:
        names = [",".join(str(v) for v in zone) for zone in detector.zones]
        for count, frame in enumerate(frames, 1):
            mask = detector.compare(frame)
            for event in events.update(mask, round((count - 1) / fps, 3)):
                print(json.dumps(as_json(event, names)), file=out, flush=True)
        for event in events.finish(round(count / fps, 3)):
            print(json.dumps(as_json(event, names)), file=out, flush=True)
    return count


def _video_frames(capture):
    while True:
        ok, frame = capture.read()
        if not ok:
            return
        yield frame


def main(argv: Optional[Sequence[str]] = None) -> int:
    parser = argparse.ArgumentParser(prog="python -m kestrix.motion", description=__doc__.splitlines()[0])
    parser.add_argument("video", help="a video file OpenCV can read")
    parser.add_argument("--zones", type=_zone, nargs="*", default=[], metavar="L,T,R,B",
                        help="zones in pixels, y counted down from the top; none: the whole frame")
    parser.add_argument("--sensitivity", type=int, default=4, choices=range(10), metavar="0-9")
    parser.add_argument("--min-frames", type=int, default=3, help="frames in motion before an event begins")
    parser.add_argument("--gap-frames", type=int, default=25, help="still frames before an event ends")
    args = parser.parse_args(argv)

    import cv2  # only the command needs OpenCV

    capture = cv2.VideoCapture(args.video)
    if not capture.isOpened():
        print(f"cannot open {args.video}", file=sys.stderr)
        return 1
    fps = capture.get(cv2.CAP_PROP_FPS) or 25.0
    try:
        run(_video_frames(capture), fps, args.zones, args.sensitivity, args.min_frames, args.gap_frames)
    finally:
        capture.release()
    return 0


if __name__ == "__main__":
    sys.exit(main())
