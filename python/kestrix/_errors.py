"""Statuses and the exception that carries them (imported by the compiled module, so it imports nothing of it)."""

from __future__ import annotations

import enum


class Status(enum.IntEnum):
    """The kernels' statuses: 0 success, negative an error (raised), positive a warning (returned)."""

    OK = 0
    BAD_SIZE = -6
    NULL_PTR = -8
    NO_MEM = -9
    BAD_STEP = -14
    BAD_INTERPOLATION = -22
    BAD_FACTOR = -23
    BAD_DIVISOR = -51
    NO_RESULT = -201
    NOT_VENDOR = 20
    NO_INTERSECTION = 29
    ODD_SIZE = 35
    NO_CPU_INFO = 36
    NO_CACHE_INFO = 37


class KestrixError(Exception):
    """A library call answered with an error status.

    ``function`` is the C function (``pxResizeC3``, ``BmpStretchDIB`` ...), ``status`` its result and
    ``name`` the status's name: the kernels' ``PxSts...`` names, or for the exports ``BadArgument``,
    ``BadMode`` (``BmpProcess`` 0 and -1), ``NullPointer``, ``SizeTooSmall``, ``ScaleTooLarge`` (the
    stretch exports' -1, -2, -3).
    """

    def __init__(self, function: str, status: int, name: str) -> None:
        super().__init__(f"{function}: {name} ({status})")
        self.function = function
        self.status = status
        self.name = name
