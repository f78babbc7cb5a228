"""The C library itself, reached with ctypes, as the reference every binding is held against, and the
generated pictures the tests share."""

from __future__ import annotations

import ctypes
import os

import numpy as np
import pytest

import kestrix

u8p = ctypes.POINTER(ctypes.c_uint8)
i32 = ctypes.c_int32
i32p = ctypes.POINTER(ctypes.c_int32)


class Header(ctypes.Structure):
    _fields_ = [("biSize", ctypes.c_uint32), ("biWidth", i32), ("biHeight", i32), ("biPlanes", ctypes.c_uint16),
                ("biBitCount", ctypes.c_uint16), ("biCompression", ctypes.c_uint32),
                ("biSizeImage", ctypes.c_uint32), ("biXPelsPerMeter", i32), ("biYPelsPerMeter", i32),
                ("biClrUsed", ctypes.c_uint32), ("biClrImportant", ctypes.c_uint32)]


class Rect(ctypes.Structure):
    _fields_ = [("left", i32), ("top", i32), ("right", i32), ("bottom", i32)]


class PxSize(ctypes.Structure):
    _fields_ = [("width", i32), ("height", i32)]


class PxRect(ctypes.Structure):
    _fields_ = [("x", i32), ("y", i32), ("width", i32), ("height", i32)]


class PxPoint(ctypes.Structure):
    _fields_ = [("x", i32), ("y", i32)]


def _loaded(name: str) -> str:
    # The very library the module loaded, not another copy found elsewhere.
    with open("/proc/self/maps") as maps:
        for line in maps:
            path = line.split()[-1]
            if os.path.basename(path).startswith(name):
                return path
    raise RuntimeError(f"{name} is not loaded")


def header(width: int, height: int, size: int) -> Header:
    return Header(40, width, height, 1, 24, 0, size, 0, 0, 0, 0)


def ptr(array: np.ndarray):
    return array.ctypes.data_as(u8p)


class CLibrary:
    """The exports and kernels called as a C client calls them."""

    def __init__(self) -> None:
        self.k = ctypes.CDLL(_loaded("libkestrix.so"))
        self.px = ctypes.CDLL(_loaded("libkestrix-px.so"))
        self.k.MotionOpen.restype = ctypes.c_void_p
        self.px.pxResizeC3.argtypes = [u8p, PxSize, i32, PxRect, u8p, i32, PxSize, ctypes.c_double, ctypes.c_double,
                                       i32]
        self.px.pxFilterC3.argtypes = [u8p, i32, u8p, i32, PxSize, i32p, PxSize, PxPoint, i32]
        self.px.pxSharpenC3.argtypes = [u8p, i32, u8p, i32, PxSize]
        self.px.pxDeinterlaceEdge.argtypes = [u8p, i32, u8p, i32, PxSize, i32, i32]
        self.px.pxRgbToYuv420.argtypes = [u8p, i32, ctypes.POINTER(u8p), i32p, PxSize]
        self.px.pxYuv420ToRgb.argtypes = [ctypes.POINTER(u8p), i32p, u8p, i32, PxSize]

    # ---- exports

    def motion_masks(self, frames, zones, sensitivity):
        """MotionCompare over bottom-up DIB copies of the frames, rows padded to 4 bytes with zeros."""
        handle = ctypes.c_void_p(self.k.MotionOpen())
        rects = (Rect * max(len(zones), 1))(*[Rect(*z) for z in zones])
        self.k.MotionInit(handle, i32(sensitivity), rects, i32(len(zones)))
        masks = []
        for frame in frames:
            height, width = frame.shape[:2]
            step = (width * 3 + 3) // 4 * 4
            dib = np.zeros((height, step), np.uint8)
            dib[:, :width * 3] = frame[::-1].reshape(height, width * 3)
            mask = ctypes.c_uint8(0)
            self.k.MotionCompare(handle, ctypes.byref(header(width, height, step * height)), ptr(dib),
                                 ctypes.byref(mask))
            masks.append(mask.value)
        self.k.MotionClose(handle)
        return masks

    def luminance(self, frame):
        block = np.ascontiguousarray(frame)
        return self.k.BmpGetYDc(ptr(block), ctypes.c_uint32(block.size))

    def change_gain(self, which, luma, width, stage, gain, shutter):
        values = [i32(luma), i32(stage), i32(gain), i32(shutter)]
        refs = [ctypes.byref(v) for v in values]
        if which == 1:
            result = self.k.ChangeGain(refs[0], refs[2], refs[3])
        elif which == 2:
            result = self.k.ChangeGain2(refs[0], i32(width), refs[2], refs[3])
        else:
            result = self.k.ChangeGain3(refs[0], i32(width), refs[1], refs[2], refs[3])
        return result, values[1].value, values[2].value, values[3].value

    def bmp_process(self, frame, mode):
        out = np.ascontiguousarray(frame).copy()
        height, width = out.shape[:2]
        scratch = np.zeros(out.size, np.uint8)
        result = self.k.BmpProcess(ctypes.byref(header(width, height, out.size)), ptr(out), i32(out.size),
                                   ptr(scratch), i32(scratch.size), i32(mode))
        return result, out

    def stretch(self, frame, size, scale, passes, kernel=None, divisor=1):
        src = np.ascontiguousarray(frame)
        width, height = size
        out = np.zeros((height, width, 3), np.uint8)
        work = np.zeros(out.size, np.uint8)
        source = header(src.shape[1], src.shape[0], src.size)
        dest = header(width, height, out.size)
        if kernel is None:
            result = self.k.BmpStretchDIB(ctypes.byref(source), ptr(src), ctypes.byref(dest), ptr(out), ptr(work),
                                          i32(scale), i32(passes))
        else:
            k = (i32 * 9)(*kernel)
            result = self.k.BmpStretchDIBEx(ctypes.byref(source), ptr(src), ctypes.byref(dest), ptr(out), ptr(work),
                                            i32(scale), i32(passes), k, i32(divisor))
        return result, out

    def stretch_filter(self, frame, passes, kernel, divisor):
        out = np.ascontiguousarray(frame).copy()
        work = np.zeros(out.size, np.uint8)
        k = (i32 * 9)(*kernel)
        result = self.k.BmpStretchDIBEx2(ctypes.byref(header(out.shape[1], out.shape[0], out.size)), ptr(out),
                                         ptr(work), i32(passes), k, i32(divisor))
        return result, out

    # ---- kernels, on contiguous copies

    def resize(self, frame, rect, size, fx, fy, interpolation):
        src = np.ascontiguousarray(frame)
        out = np.zeros((size[1], size[0], 3), np.uint8)
        status = self.px.pxResizeC3(ptr(src), PxSize(src.shape[1], src.shape[0]), src.shape[1] * 3, PxRect(*rect),
                                    ptr(out), size[0] * 3, PxSize(*size), fx, fy, interpolation)
        return status, out

    def rgb_to_yuv420(self, frame):
        src = np.ascontiguousarray(frame)
        height, width = src.shape[:2]
        y = np.zeros((height, width), np.uint8)
        u = np.zeros((height // 2, width // 2), np.uint8)
        v = np.zeros_like(u)
        planes = (u8p * 3)(ptr(y), ptr(u), ptr(v))
        steps = (i32 * 3)(width, max(width // 2, 1), max(width // 2, 1))
        status = self.px.pxRgbToYuv420(ptr(src), width * 3, planes, steps, PxSize(width, height))
        return status, y, u, v

    def yuv420_to_rgb(self, y, u, v):
        y, u, v = (np.ascontiguousarray(p) for p in (y, u, v))
        height, width = y.shape
        out = np.zeros((height, width, 3), np.uint8)
        planes = (u8p * 3)(ptr(y), ptr(u), ptr(v))
        steps = (i32 * 3)(width, max(u.shape[1], 1), max(v.shape[1], 1))
        status = self.px.pxYuv420ToRgb(planes, steps, ptr(out), width * 3, PxSize(width, height))
        return status, out

    def deinterlace_plane(self, plane, field):
        src = np.ascontiguousarray(plane)
        out = np.zeros_like(src)
        status = self.px.pxDeinterlaceEdge(ptr(src), src.shape[1], ptr(out), src.shape[1],
                                           PxSize(src.shape[1], src.shape[0]), field, 1)
        return status, out

    def filter(self, frame, kernel, anchor, divisor):
        src = np.ascontiguousarray(frame)
        kernel = np.ascontiguousarray(kernel, dtype=np.int32)
        kh, kw = kernel.shape
        height, width = src.shape[0] - kh + 1, src.shape[1] - kw + 1
        out = np.zeros((height, width, 3), np.uint8)
        first = src[kh - 1 - anchor[1]:, kw - 1 - anchor[0]:]
        status = self.px.pxFilterC3(first.ctypes.data_as(u8p), src.shape[1] * 3, ptr(out), width * 3,
                                    PxSize(width, height), kernel.ctypes.data_as(i32p), PxSize(kw, kh),
                                    PxPoint(*anchor), divisor)
        return status, out

    def sharpen(self, frame):
        src = np.ascontiguousarray(frame)
        height, width = src.shape[0] - 2, src.shape[1] - 2
        out = np.zeros((height, width, 3), np.uint8)
        status = self.px.pxSharpenC3(src[1:, 1:].ctypes.data_as(u8p), src.shape[1] * 3, ptr(out), width * 3,
                                     PxSize(width, height))
        return status, out


@pytest.fixture(scope="session")
def clib() -> CLibrary:
    kestrix.level()  # the module, and so both libraries, are loaded
    return CLibrary()


def picture(height: int, width: int, seed: int = 0) -> np.ndarray:
    """Gradients with noise: edges for the interpolations, every byte value somewhere."""
    rng = np.random.default_rng(seed)
    yy, xx = np.mgrid[0:height, 0:width]
    base = np.stack([(xx * 7 + yy * 3) % 256, (xx * 2 + yy * 5) % 256, ((xx ^ yy) * 3) % 256], axis=-1)
    noise = rng.integers(-20, 21, size=(height, width, 3))
    return np.clip(base + noise, 0, 255).astype(np.uint8)


def moving_square(height: int, width: int, frames: int, seed: int = 0, square: int = 24, still_from=None, speed=3):
    """A bright square crossing a still, noisy background; still after ``still_from`` frames."""
    rng = np.random.default_rng(seed)
    background = rng.integers(40, 90, size=(height, width, 3), dtype=np.uint8)
    out = []
    for i in range(frames):
        frame = background.copy()
        t = i if still_from is None else min(i, still_from)
        x = (5 + speed * t) % max(width - square, 1)
        y = (height - square) // 2
        frame[y:y + square, x:x + square] = (250, 240, 230)
        out.append(frame)
    return out
