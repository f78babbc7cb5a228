"""Kestrix for Python: zone motion, exposure stepping, field and stretch operations and the pixel kernels,
on numpy frames.

Frames are numpy arrays of shape (height, width, 3), dtype uint8, top row first, as OpenCV and PyAV
give them; BGR for the exports (the library's DIB byte order). Rectangles are in frame pixels with y
counted down from the top. Every call runs the C library with the GIL released.

Row order. The library's motion detector reads frames bottom-up, as a DIB stores them; the other
calls read rows either in memory order or top row first with a free row step. So:

- ``MotionDetector.compare`` turns a top-down frame over into a block of its own (one copy of the
  frame per call). A frame whose memory already runs bottom-up with rows of a multiple of 4 bytes,
  such as ``dib[::-1]`` over a DIB's pixels, goes without a copy.
- ``luminance`` reads the frame as one block in either order: no copy.
- ``weave``, ``deinterlace``, ``stretch`` and ``sharpen`` take rows in memory order, as the exports
  do: no copy, C-contiguous frames.
- ``resize``, ``rgb_to_yuv420``, ``yuv420_to_rgb``, ``deinterlace_plane``, ``filter3`` and ``sharpen3``
  take any row step, so crops and flipped views go as they are: no copy.
"""

from __future__ import annotations

import enum
from typing import Iterable, Optional, Sequence, Tuple

import numpy as np

from . import _kestrix
from ._errors import KestrixError, Status

__all__ = [
    "KestrixError", "Status", "Interpolation", "MotionDetector", "watched_zones", "ExposureLoop",
    "SETTINGS_DEFAULTS", "luminance", "weave", "deinterlace", "stretch", "sharpen", "SHARPEN_KERNEL",
    "resize", "rgb_to_yuv420", "yuv420_to_rgb", "deinterlace_plane", "filter3", "sharpen3", "level",
    "set_level", "choose_level",
]

Zone = Tuple[int, int, int, int]

#: Frames the detector swallows after it is made or given new zones, and the one that makes the references:
#: their masks are always 0.
WARM_UP_FRAMES = 31


class Interpolation(enum.IntEnum):
    """Interpolations of ``resize``."""

    NEAREST = 1
    LINEAR = 2
    CUBIC = 4
    SUPER = 8
    LANCZOS = 16


def watched_zones(zones: Iterable[Zone]) -> list:
    """The zone list as the detector keeps it; bit i of a mask belongs to entry i of this list.

    Empty rectangles go, then, repeatedly and nearest the end first, a rectangle that lies inside its
    neighbour in the list (only neighbours are compared); with none left, the whole frame is watched,
    as (0, 0, 32767, 32767).
    """
    rects = [tuple(int(v) for v in z) for z in zones]
    rects = [r for r in rects if r[2] > r[0] and r[3] > r[1]]
    while True:
        found = -1
        for i in range(len(rects) - 1, 0, -1):
            a, b = rects[i], rects[i - 1]
            inter = (max(a[0], b[0]), max(a[1], b[1]), min(a[2], b[2]), min(a[3], b[3]))
            if inter[2] <= inter[0] or inter[3] <= inter[1]:
                continue
            if inter == a:
                found = i
            elif inter == b:
                found = i - 1
            if found >= 0:
                break
        if found < 0:
            break
        del rects[found]
        if not rects:
            break
    return rects or [(0, 0, 32767, 32767)]


class MotionDetector:
    """Motion in up to eight zones of a stream of frames, one detector per stream.

    ``zones`` are (left, top, right, bottom) rectangles in frame pixels, y counted down from the top;
    an empty list watches the whole frame. ``sensitivity`` runs from 0 (least) to 9 (most).

    ``compare(frame)`` returns the mask: bit i is set while zone i of ``watched_zones(zones)`` is in
    motion. The first 31 frames after the detector is made (or ``init`` is called) give 0.

    Copy: the library reads frames bottom-up, so ``compare`` turns a top-down frame over into the
    detector's own block, one ``memcpy`` of the frame. A frame whose rows run bottom-up in memory and
    are a multiple of 4 bytes long (a negative row step of exactly width * 3, as ``dib[::-1]`` gives)
    goes without a copy.

    One thread at a time uses a detector (calls from several threads wait for each other); different
    detectors run in parallel. Close it with ``close()`` or a ``with`` block.
    """

    def __init__(self, zones: Iterable[Zone] = (), sensitivity: int = 4) -> None:
        zones = [tuple(z) for z in zones]
        self._detector = _kestrix.Detector(zones, sensitivity)
        self._zones = watched_zones(zones)
        self._sensitivity = sensitivity
        self._frames = 0
        self._mask = 0

    def init(self, zones: Iterable[Zone], sensitivity: Optional[int] = None) -> None:
        """New zones (and sensitivity); the references and the warm-up start afresh."""
        zones = [tuple(z) for z in zones]
        sensitivity = self._sensitivity if sensitivity is None else sensitivity
        self._detector.init(zones, sensitivity)
        self._zones = watched_zones(zones)
        self._sensitivity = sensitivity
        self._frames = 0
        self._mask = 0

    def compare(self, frame: np.ndarray) -> int:
        """Compares the frame with the one before; the mask of the zones in motion."""
        mask = self._detector.compare(frame)
        self._frames += 1
        self._mask = mask
        return mask

    @property
    def zones(self) -> list:
        """The watched zones, in the order of the mask's bits."""
        return list(self._zones)

    @property
    def sensitivity(self) -> int:
        return self._sensitivity

    @property
    def mask(self) -> int:
        """The mask of the last ``compare``."""
        return self._mask

    @property
    def zones_in_motion(self) -> list:
        """Indexes into ``zones`` of the zones in motion after the last ``compare``."""
        return [i for i in range(8) if self._mask >> i & 1]

    @property
    def warming_up(self) -> bool:
        """True until the frames the library swallows after ``init`` are past (masks are 0 meanwhile)."""
        return self._frames < WARM_UP_FRAMES

    @property
    def closed(self) -> bool:
        return self._detector.closed

    def close(self) -> None:
        """Frees the detector; further calls raise ValueError. Closing twice is harmless."""
        self._detector.close()

    def __enter__(self) -> "MotionDetector":
        return self

    def __exit__(self, *exc) -> None:
        self.close()


#: The ten settings of kestrix.ini and their defaults. The library reads the file once, from the current
#: directory at the moment the module is first imported, and no call reports the values it read.
SETTINGS_DEFAULTS = {
    ("SHUTTERWITH", "MIN"): 523, ("SHUTTERWITH", "MAX"): 1000, ("SHUTTERWITH", "OUTDOOR"): 130,
    ("SHUTTERWITH", "ZOOMUPLEVEL"): 1960, ("SHUTTERWITH", "ZOOMDOWNLEVEL"): 1500,
    ("YDC", "DOWNMODE"): 200, ("YDC", "DOWNLEVEL"): 180, ("YDC", "UPLEVEL"): 100,
    ("YDC", "ZOOMUPLEVEL"): 60, ("YDC", "ZOOMDOWNLEVEL"): 120,
}


class ExposureLoop:
    """A camera's gain, shutter and stage, moved by the library's steppers from measured luminance.

    Each step makes at most one move and returns the library's result: for ``step`` and ``step2`` the
    shutter's relation to its floor (1, 0, -1), for ``step3`` the kind of move (0, 1, 3). The values
    are then in ``gain``, ``shutter`` and ``stage``, to be sent to the camera. ``step2`` and ``step3``
    judge the camera's shutter width against the settings of kestrix.ini (``SETTINGS_DEFAULTS``).
    """

    def __init__(self, gain: int = 32, shutter: int = 176, stage: int = 16) -> None:
        self.gain = gain
        self.shutter = shutter
        self.stage = stage

    def step(self, luma: int) -> int:
        """``ChangeGain``: gain and shutter."""
        result, self.gain, self.shutter = _kestrix.change_gain(luma, self.gain, self.shutter)
        return result

    def step2(self, luma: int, shutter_width: int) -> int:
        """``ChangeGain2``: the shutter moves only while the gain is at its floor."""
        result, self.gain, self.shutter = _kestrix.change_gain2(luma, shutter_width, self.gain, self.shutter)
        return result

    def step3(self, luma: int, shutter_width: int) -> int:
        """``ChangeGain3``: gain, shutter and stage."""
        result, self.stage, self.gain, self.shutter = _kestrix.change_gain3(
            luma, shutter_width, self.stage, self.gain, self.shutter)
        return result

    def __repr__(self) -> str:
        return f"ExposureLoop(gain={self.gain}, shutter={self.shutter}, stage={self.stage})"


def luminance(frame: np.ndarray) -> int:
    """Mean luminance (``BmpGetYDc``): 0.299, 0.578 and 0.114 on the pixel's bytes in storage order
    (blue first in a BGR frame), each pixel truncated, the mean truncated. No copy: the frame's pixels
    must lie in one block, top-down (C-contiguous) or bottom-up."""
    return _kestrix.luminance(frame)


def weave(frame: np.ndarray) -> np.ndarray:
    """Weaves two fields stacked in the frame (first in the upper half) into alternating rows, in place
    (``BmpProcess`` mode 1). No copy; returns the frame. With an odd height the last row comes back 0."""
    _kestrix.bmp_process(frame, 1)
    return frame


def deinterlace(frame: np.ndarray) -> np.ndarray:
    """Weaves (as ``weave``), then rebuilds the luminance rows by edge-directed interpolation, in place
    (``BmpProcess`` mode 2). No copy; returns the frame. The last row takes chroma samples from the
    library's scratch, which the binding zeroes, so it is the same on every call."""
    _kestrix.bmp_process(frame, 2)
    return frame


#: The sharpen of ``stretch``'s passes as a 3 x 3 kernel over 8: 16 in the middle, -1 around it.
SHARPEN_KERNEL = (-1, -1, -1, -1, 16, -1, -1, -1, -1)


def stretch(frame: np.ndarray, size: Tuple[int, int], scale: int = 0, passes: int = 0,
            kernel: Optional[Sequence[int]] = None, divisor: int = 1,
            out: Optional[np.ndarray] = None) -> np.ndarray:
    """Scales the frame into a new one of ``size`` = (width, height) (``BmpStretchDIB``), then runs
    ``passes`` sharpen passes over all but a two-pixel border.

    ``scale`` 0 fills the destination, -1 fits the frame with black bars, n > 0 centres it n times
    enlarged (KestrixError ``ScaleTooLarge`` when it does not fit). With a ``kernel`` (nine integers)
    and ``divisor`` (``BmpStretchDIBEx``) the passes use that kernel, and 12 columns and 5 rows are cut
    off each side of the frame before scaling. Rows are taken in memory order, with no copy.
    """
    width, height = size
    if out is None:
        out = np.empty((height, width, 3), np.uint8)
    elif out.shape != (height, width, 3):
        raise ValueError(f"out must have shape {(height, width, 3)}, not {out.shape}")
    _kestrix.stretch(frame, out, scale, passes, None if kernel is None else list(kernel), divisor)
    return out


def sharpen(frame: np.ndarray, passes: int = 1, kernel: Sequence[int] = SHARPEN_KERNEL,
            divisor: int = 8) -> np.ndarray:
    """Filters the frame in place with a 3 x 3 ``kernel`` over ``divisor``, ``passes`` times, all but a
    two-pixel border (``BmpStretchDIBEx2``). No copy; returns the frame."""
    _kestrix.stretch_filter(frame, passes, list(kernel), divisor)
    return frame


def _require_array(value, what: str) -> None:
    if not isinstance(value, np.ndarray):
        raise TypeError(f"{what} must be a numpy.ndarray, not {type(value).__name__}")


def _frame_size(frame) -> Tuple[int, int]:
    _require_array(frame, "frame")
    if frame.ndim != 3 or frame.shape[2] != 3:
        raise ValueError(f"frame must have shape (height, width, 3), not {frame.shape}")
    return frame.shape[0], frame.shape[1]


def _rect(frame: np.ndarray, rect) -> Tuple[int, int, int, int]:
    if rect is None:
        return (0, 0, frame.shape[1], frame.shape[0])
    x, y, w, h = (int(v) for v in rect)
    return (x, y, w, h)


def resize(frame: np.ndarray, size: Optional[Tuple[int, int]] = None,
           interpolation: Interpolation = Interpolation.LINEAR, rect: Optional[Sequence[int]] = None, *,
           factors: Optional[Tuple[float, float]] = None, out: Optional[np.ndarray] = None) -> Optional[np.ndarray]:
    """Scales ``rect`` = (x, y, width, height) of the frame (the whole frame by default) with
    ``pxResizeC3``.

    Give ``size`` = (width, height) of the result, or ``factors`` = (x, y) of output pixels per source
    pixel; with both, the result is ``size`` cut from the scaling by ``factors``. ``out`` receives it
    (any row step); else a new array is returned. No copy of the frame: any row step goes, so crops
    and flipped views are read where they lie. A rectangle reaching past the frame is clipped: the
    rest of a new output is 0, of an ``out`` as it was. A rectangle that starts at or past the frame's right or
    bottom edge gives None (the kernel's warning ``NO_INTERSECTION``: nothing written).
    """
    _frame_size(frame)
    x, y, w, h = _rect(frame, rect)
    if factors is None:
        if size is None:
            raise ValueError("resize needs a size or factors")
        if w <= 0 or h <= 0:
            raise ValueError(f"rect must have a positive width and height, not {(x, y, w, h)}")
        fx, fy = size[0] / w, size[1] / h
    else:
        fx, fy = (float(f) for f in factors)
    if size is None:
        size = (_extent(w, fx), _extent(h, fy))
    if out is None:
        # A rectangle reaching past the frame is clipped and leaves the rest of the output unwritten.
        clipped = x + w > frame.shape[1] or y + h > frame.shape[0]
        out = (np.zeros if clipped else np.empty)((size[1], size[0], 3), np.uint8)
    elif out.shape[:2] != (size[1], size[0]):
        raise ValueError(f"out must have shape {(size[1], size[0], 3)}, not {out.shape}")
    status = _kestrix.resize(frame, (x, y, w, h), out, fx, fy, int(interpolation))
    return None if status == Status.NO_INTERSECTION else out


def _extent(length: int, factor: float) -> int:
    # The kernel's own rule; a side under half a pixel is left for the kernel to refuse.
    n = int(length * factor + 1e-7)
    return max(n, 1)


class Planes(tuple):
    """(y, u, v) of ``rgb_to_yuv420``, with the kernel's status: ``Status.ODD_SIZE`` when an odd last
    row or column was left out (left 0 in y)."""

    status: Status

    def __new__(cls, y, u, v, status):
        planes = super().__new__(cls, (y, u, v))
        planes.status = Status(status)
        return planes

    @property
    def y(self) -> np.ndarray:
        return self[0]

    @property
    def u(self) -> np.ndarray:
        return self[1]

    @property
    def v(self) -> np.ndarray:
        return self[2]


def rgb_to_yuv420(frame: np.ndarray) -> Planes:
    """The frame's Y, U and V planes of 4:2:0 (``pxRgbToYuv420``); U and V have half the height and
    width, rounded down. The kernel takes the first byte of each pixel as red: give it RGB frames
    (``cv2.cvtColor(frame, cv2.COLOR_BGR2RGB)``). Any row step; no copy."""
    height, width = _frame_size(frame)
    y = np.zeros((height, width), np.uint8)
    u = np.empty((height // 2, width // 2), np.uint8)
    v = np.empty((height // 2, width // 2), np.uint8)
    status = _kestrix.rgb_to_yuv420(frame, y, u, v)
    return Planes(y, u, v, status)


def yuv420_to_rgb(y: np.ndarray, u: np.ndarray, v: np.ndarray, out: Optional[np.ndarray] = None) -> np.ndarray:
    """A frame of the Y plane's size from 4:2:0 planes (``pxYuv420ToRgb``), red in the first byte.
    With an odd height or width the last row or column is left as it was (0 in a new array)."""
    _require_array(y, "y")
    if out is None:
        out = np.zeros((y.shape[0], y.shape[1], 3), np.uint8)
    _kestrix.yuv420_to_rgb(y, u, v, out)
    return out


def deinterlace_plane(plane: np.ndarray, field: int, copy_line: bool = True,
                      out: Optional[np.ndarray] = None) -> np.ndarray:
    """Edge-directed line interpolation of an 8-bit plane (``pxDeinterlaceEdge``): output row i from
    rows i - 1 and i (field 0) or i and i + 1 (field 1).

    With ``copy_line`` the row without a pair is copied. Without it, that row reads one row outside the
    output's rows: ``plane`` must then carry it, one row more than the output, above (field 0) or below
    (field 1). Any row step; no copy.
    """
    _require_array(plane, "plane")
    rows = plane.shape[0] - (0 if copy_line else 1)
    if out is None:
        out = np.empty((rows, plane.shape[1]), np.uint8)
    _kestrix.deinterlace_plane(plane, out, field, bool(copy_line))
    return out


def filter3(frame: np.ndarray, kernel, divisor: int, anchor: Optional[Tuple[int, int]] = None,
            out: Optional[np.ndarray] = None) -> np.ndarray:
    """Convolves the frame with an integer kernel (a 2-D array, rows of coefficients) over ``divisor``
    (``pxFilterC3``), anchor (x, y) in the kernel's middle by default. The result is the region the
    whole window fits in, (height - kh + 1, width - kw + 1, 3). Rows must run top-down (a positive row
    step, else KestrixError ``PxStsBadStep``); no copy."""
    height, width = _frame_size(frame)
    kernel = np.asarray(kernel, dtype=np.int32)
    if kernel.ndim != 2:
        raise ValueError("kernel must be a two-dimensional array of integers")
    kh, kw = kernel.shape
    if anchor is None:
        anchor = (kw // 2, kh // 2)
    if out is None:
        out = np.empty((max(height - kh + 1, 0), max(width - kw + 1, 0), 3), np.uint8)
    _kestrix.filter(frame, out, kernel, tuple(anchor), divisor)
    return out


def sharpen3(frame: np.ndarray, out: Optional[np.ndarray] = None) -> np.ndarray:
    """The 3 x 3 sharpen (16 in the middle, -1 around it, over 8) of ``pxSharpenC3``; the result is the
    frame less a one-pixel border, (height - 2, width - 2, 3). Rows must run top-down; no copy."""
    height, width = _frame_size(frame)
    if out is None:
        out = np.empty((max(height - 2, 0), max(width - 2, 0), 3), np.uint8)
    _kestrix.sharpen(frame, out)
    return out


def level() -> int:
    """The processor level the kernels run at: 0 the reference forms, 1 and 2 SSSE3, 3 SSE4.1, 4 AVX2."""
    return _kestrix.get_level()


def set_level(level: int) -> None:
    """Forces the kernels' level (for tests and comparisons); KestrixError ``PxStsBadSize`` for a level
    outside 0..4 or one this processor cannot run. Call it before other threads run kernels. The
    exports (motion, weave, stretch ...) keep the level their library chose when it loaded."""
    _kestrix.set_level(level)


def choose_level() -> Status:
    """Chooses the kernels' level from the processor's features again; ``Status.NOT_VENDOR`` (a
    warning) on a processor of another maker than the tuned paths know."""
    return Status(_kestrix.choose_level())
