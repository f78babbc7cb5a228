"""Motion events over the detector's masks: the client's policy, not the library's.

The library reports, frame by frame, which zones differ from the frame before; a person walking
slowly flickers in and out of that. ``ZoneEvents`` turns the masks into events: a zone's event begins
once it has been in motion for ``min_frames`` frames in a row, and ends after ``gap_frames`` still
frames in a row. Timestamps are the caller's (seconds, frame numbers, datetimes: anything).
"""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, List, Optional


@dataclass(frozen=True)
class Event:
    """``kind`` "begin" or "end" of zone ``zone``'s event. ``time`` is the timestamp of the event's
    first frame in motion (begin) or of the first still frame after its last (end); ``frames`` is the
    number of frames in motion it has had so far."""

    kind: str
    zone: int
    time: Any
    frames: int


@dataclass
class _Zone:
    run: int = 0                 # frames in motion in a row
    run_start: Any = None        # timestamp of the first of them
    active: bool = False         # an event has begun and not ended
    still: int = 0               # still frames in a row during an event
    still_start: Any = None      # timestamp of the first of them
    frames: int = 0              # frames in motion during the event


@dataclass
class ZoneEvents:
    """Begin and end events per zone from a stream of masks (bit i: zone i in motion)."""

    min_frames: int = 3
    gap_frames: int = 25
    zones: int = 8
    _state: List[_Zone] = field(default_factory=list, init=False, repr=False)

    def __post_init__(self) -> None:
        if self.min_frames < 1 or self.gap_frames < 1:
            raise ValueError("min_frames and gap_frames must be at least 1")
        self._state = [_Zone() for _ in range(self.zones)]

    def update(self, mask: int, time: Any) -> List[Event]:
        """Feeds one frame's mask and timestamp; the events it completes, in zone order."""
        events = []
        for zone, state in enumerate(self._state):
            moving = bool(mask >> zone & 1)
            if moving:
                if state.run == 0:
                    state.run_start = time
                state.run += 1
                if state.active:
                    state.frames += 1
                    state.still = 0
                elif state.run >= self.min_frames:
                    state.active, state.frames, state.still = True, state.run, 0
                    events.append(Event("begin", zone, state.run_start, state.frames))
            else:
                state.run = 0
                if state.active:
                    if state.still == 0:
                        state.still_start = time
                    state.still += 1
                    if state.still >= self.gap_frames:
                        state.active = False
                        events.append(Event("end", zone, state.still_start, state.frames))
        return events

    def finish(self, time: Any) -> List[Event]:
        """Ends the events still open at the end of the stream, at ``time`` (or at their still frames'
        start when a gap had begun)."""
        events = []
        for zone, state in enumerate(self._state):
            if state.active:
                end = state.still_start if state.still else time
                events.append(Event("end", zone, end, state.frames))
            self._state[zone] = _Zone()
        return events

    def active(self) -> List[int]:
        """Zones whose event has begun and not ended."""
        return [zone for zone, state in enumerate(self._state) if state.active]


def as_json(event: Event, names: Optional[List[str]] = None) -> dict:
    """The event as a JSON-ready dict, with the zone's name when ``names`` gives one."""
    record = {"event": event.kind, "zone": event.zone, "time": event.time, "frames": event.frames}
    if names and event.zone < len(names):
        record["name"] = names[event.zone]
    return record
