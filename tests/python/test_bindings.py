"""Every binding against the C call on the same picture, the zero-copy promises, and clear errors for bad arrays."""

from __future__ import annotations

import numpy as np
import pytest

import kestrix
from kestrix import _kestrix
from conftest import moving_square, picture

# Widths whose 24-bit rows are and are not a multiple of 4 bytes, and a narrow one.
SIZES = [(48, 64), (37, 51), (10, 9), (576, 720)]


# ---- Motion

MOTION_CASES = [
    # zones, sensitivity, what the case covers
    ([], 4, "the whole frame"),
    ([(8, 8, 40, 40), (30, 20, 60, 50)], 9, "two overlapping zones, most sensitive"),
    ([(0, 0, 64, 64), (10, 10, 20, 20), (40, 10, 50, 20)], 4, "contained zones pruned"),
    ([(2, 10, 63, 30)], 0, "a band, least sensitive"),
]


@pytest.mark.parametrize("zones,sensitivity,_", MOTION_CASES)
@pytest.mark.parametrize("height,width", [(48, 64), (37, 51)])
def test_compare_equals_c_on_the_same_frames(clib, zones, sensitivity, _, height, width):
    frames = moving_square(height, width, 50, square=12, speed=13)
    with kestrix.MotionDetector(zones, sensitivity) as detector:
        masks = [detector.compare(f) for f in frames]
    assert masks == clib.motion_masks(frames, zones, sensitivity)
    assert any(masks[31:]), "the scene must move the detector at all"
    assert not any(masks[:31])


def test_compare_takes_no_copy_of_a_bottom_up_frame_and_one_of_a_top_down_one(clib):
    frames = moving_square(48, 64, 40, square=12)
    dibs = [np.ascontiguousarray(f[::-1]) for f in frames]  # bottom-up memory, as a DIB holds it
    with kestrix.MotionDetector([], 9) as detector:
        before = _kestrix.copied_bytes()
        masks = [detector.compare(d[::-1]) for d in dibs]  # the same pictures, top row first
        assert _kestrix.copied_bytes() == before
        detector.compare(frames[0])
        assert _kestrix.copied_bytes() - before == frames[0].nbytes
    assert masks == clib.motion_masks(frames, [], 9)


def test_detector_state_and_lifecycle():
    frames = moving_square(48, 64, 40, square=12, speed=13)
    detector = kestrix.MotionDetector([(0, 0, 64, 48), (8, 8, 20, 20)], 9)
    assert detector.zones == [(0, 0, 64, 48)]  # the second lies inside its neighbour
    assert detector.warming_up
    for frame in frames[:31]:
        assert detector.compare(frame) == 0
    assert not detector.warming_up
    assert detector.compare(frames[31]) == 1 and detector.zones_in_motion == [0] and detector.mask == 1
    detector.init([(0, 0, 10, 10)])
    assert detector.warming_up and detector.sensitivity == 9
    with detector:
        pass
    assert detector.closed
    detector.close()
    with pytest.raises(ValueError, match="closed"):
        detector.compare(frames[0])


WATCHED = [
    ([], [(0, 0, 32767, 32767)]),
    ([(5, 5, 5, 9)], [(0, 0, 32767, 32767)]),                            # only an empty one
    ([(0, 0, 50, 50), (10, 10, 20, 20)], [(0, 0, 50, 50)]),             # B inside A
    ([(10, 10, 20, 20), (0, 0, 50, 50)], [(0, 0, 50, 50)]),             # A inside B
    ([(0, 0, 50, 50), (60, 60, 70, 70), (10, 10, 20, 20)],              # not neighbours: all stay
     [(0, 0, 50, 50), (60, 60, 70, 70), (10, 10, 20, 20)]),
    ([(0, 0, 50, 50), (1, 1, 5, 5), (10, 10, 20, 20)], [(0, 0, 50, 50)]),  # B goes, then C meets A
    ([(1, 2, 3, 4)] * 3, [(1, 2, 3, 4)]),
]


@pytest.mark.parametrize("zones,expected", WATCHED)
def test_watched_zones(zones, expected):
    assert kestrix.watched_zones(zones) == expected


def test_mask_bits_follow_the_watched_zones(clib):
    # The empty and the contained rectangle go, so the zone at the right is bit 1.
    zones = [(0, 0, 0, 0), (2, 2, 30, 46), (4, 4, 8, 8), (34, 2, 62, 46)]
    frames = moving_square(48, 64, 45, square=10)
    detector = kestrix.MotionDetector(zones, 9)
    assert detector.zones == [(2, 2, 30, 46), (34, 2, 62, 46)]
    masks = [detector.compare(f) for f in frames]
    assert masks == clib.motion_masks(frames, zones, 9)
    # The square crosses the right zone, then wraps round into the left one.
    assert masks[31:] == [2, 2, 2, 2, 3, 1, 1, 1, 1, 1, 1, 1, 2, 3]


# ---- Exposure


@pytest.mark.parametrize("height,width", SIZES)
def test_luminance_equals_c_either_way_up(clib, height, width):
    frame = picture(height, width)
    before = _kestrix.copied_bytes()
    assert kestrix.luminance(frame) == clib.luminance(frame)
    assert kestrix.luminance(np.ascontiguousarray(frame[::-1])[::-1]) == clib.luminance(frame)
    assert _kestrix.copied_bytes() == before


LUMINANCE = [
    ((100, 0, 0), 29), ((0, 100, 0), 57), ((0, 0, 100), 11), ((255, 255, 255), 252), ((0, 0, 0), 0),
]


@pytest.mark.parametrize("pixel,expected", LUMINANCE)
def test_luminance_of_flat_frames(pixel, expected):
    assert kestrix.luminance(np.full((3, 5, 3), pixel, np.uint8)) == expected


STEPS = [
    # stepper, luma, shutter width, stage, gain, shutter
    (1, 20, 0, 16, 40, 63), (1, 251, 0, 16, 38, 63), (1, 135, 0, 16, 32, 32), (1, 20, 0, 16, 500, 10),
    (2, 10, 0, 16, 32, 32), (2, 10, 0, 16, 32, 504), (2, 200, 0, 16, 50, 176), (2, 50, 523, 16, 32, 1000),
    (3, 20, 100, 130, 64, 176), (3, 250, 100, 64, 32, 32), (3, 150, 600, 32, 96, 511), (3, 40, 2000, 16, 32, 32),
]


@pytest.mark.parametrize("which,luma,width,stage,gain,shutter", STEPS)
def test_exposure_loop_equals_c(clib, which, luma, width, stage, gain, shutter):
    loop = kestrix.ExposureLoop(gain=gain, shutter=shutter, stage=stage)
    result = {1: lambda: loop.step(luma), 2: lambda: loop.step2(luma, width), 3: lambda: loop.step3(luma, width)}
    got = result[which]()
    expected, stage_c, gain_c, shutter_c = clib.change_gain(which, luma, width, stage, gain, shutter)
    assert (got, loop.gain, loop.shutter) == (expected, gain_c, shutter_c)
    assert loop.stage == (stage_c if which == 3 else stage)


# ---- Bitmap operations


@pytest.mark.parametrize("height,width", [(4, 6), (9, 16), (48, 64), (37, 51)])
@pytest.mark.parametrize("mode", [1, 2])
def test_weave_and_deinterlace_equal_c_in_place(clib, height, width, mode):
    frame = picture(height, width, seed=mode)
    expected_result, expected = clib.bmp_process(frame, mode)
    assert expected_result == 1
    before = _kestrix.copied_bytes()
    result = (kestrix.weave if mode == 1 else kestrix.deinterlace)(frame)
    assert result is frame
    np.testing.assert_array_equal(frame, expected)
    assert _kestrix.copied_bytes() == before


def test_weave_of_four_rows():
    rows = np.arange(4, dtype=np.uint8).repeat(6).reshape(4, 2, 3)
    assert kestrix.weave(rows)[:, 0, 0].tolist() == [0, 2, 1, 3]


STRETCHES = [
    # source (h, w), size (w, h), scale, passes, kernel, divisor
    ((48, 64), (96, 72), 0, 0, None, 1),
    ((48, 64), (96, 72), -1, 2, None, 1),
    ((30, 40), (128, 96), 2, 1, None, 1),
    ((37, 51), (64, 40), -1, 1, None, 1),
    ((48, 64), (80, 60), 0, 2, (1, 2, 1, 2, 4, 2, 1, 2, 1), 16),
    ((48, 64), (80, 60), -1, 1, (0, -1, 0, -1, 5, -1, 0, -1, 0), 1),
]


@pytest.mark.parametrize("shape,size,scale,passes,kernel,divisor", STRETCHES)
def test_stretch_equals_c(clib, shape, size, scale, passes, kernel, divisor):
    frame = picture(*shape)
    expected_result, expected = clib.stretch(frame, size, scale, passes, kernel, divisor)
    assert expected_result == 0
    out = np.full((size[1], size[0], 3), 7, np.uint8)
    result = kestrix.stretch(frame, size, scale, passes, kernel, divisor, out=out)
    assert result is out
    np.testing.assert_array_equal(out, expected)


def test_stretch_scale_too_large_raises_with_the_status_name():
    with pytest.raises(kestrix.KestrixError, match="BmpStretchDIB: ScaleTooLarge") as error:
        kestrix.stretch(picture(100, 100), (320, 240), scale=3)
    assert error.value.status == -3 and error.value.name == "ScaleTooLarge"


@pytest.mark.parametrize("passes,kernel,divisor", [(1, kestrix.SHARPEN_KERNEL, 8), (3, (1,) * 9, 9),
                                                   (0, (1,) * 9, 9), (1, (1,) * 9, 0)])
def test_sharpen_equals_c_in_place(clib, passes, kernel, divisor):
    frame = picture(40, 52)
    expected_result, expected = clib.stretch_filter(frame, passes, kernel, divisor)
    assert expected_result == 0
    assert kestrix.sharpen(frame, passes, kernel, divisor) is frame
    np.testing.assert_array_equal(frame, expected)


# ---- Kernels: at every level this processor runs, the binding and the C entry give the same bytes


def levels():
    start = kestrix.level()
    found = []
    for level in range(5):
        try:
            kestrix.set_level(level)
            found.append(level)
        except kestrix.KestrixError:
            pass
    kestrix.set_level(start)
    return found


@pytest.fixture(params=levels())
def level(request):
    start = kestrix.level()
    kestrix.set_level(request.param)
    yield request.param
    kestrix.set_level(start)


RESIZES = [
    # source (h, w), rect or None, size, interpolation
    ((576, 720), None, (800, 600), kestrix.Interpolation.LINEAR),
    ((576, 720), None, (360, 288), kestrix.Interpolation.SUPER),
    ((37, 51), (3, 4, 40, 30), (61, 17), kestrix.Interpolation.CUBIC),
    ((37, 51), (0, 0, 51, 37), (100, 80), kestrix.Interpolation.LANCZOS),
    ((37, 51), (10, 5, 60, 60), (33, 40), kestrix.Interpolation.NEAREST),  # the rectangle is clipped
]


@pytest.mark.parametrize("shape,rect,size,interpolation", RESIZES)
def test_resize_equals_c(clib, level, shape, rect, size, interpolation):
    frame = picture(*shape)
    r = rect or (0, 0, shape[1], shape[0])
    status, expected = clib.resize(frame, r, size, size[0] / r[2], size[1] / r[3], int(interpolation))
    assert status == 0
    np.testing.assert_array_equal(kestrix.resize(frame, size, interpolation, rect), expected)


def test_resize_reads_crops_and_flipped_views_where_they_lie(clib):
    big = picture(80, 100)
    before = _kestrix.copied_bytes()
    for view in (big[10:60, 20:90], big[::-1], big[::-2]):
        size = (view.shape[1] * 2, view.shape[0] + 3)
        out = np.zeros((size[1] + 5, size[0], 3), np.uint8)[5:]  # a destination with its own row step
        result = kestrix.resize(view, size, kestrix.Interpolation.LINEAR, out=out)
        assert np.shares_memory(result, out)
        _, expected = clib.resize(view, (0, 0, view.shape[1], view.shape[0]), size, size[0] / view.shape[1],
                                  size[1] / view.shape[0], 2)
        np.testing.assert_array_equal(result, expected)
    assert _kestrix.copied_bytes() == before


def test_resize_by_factors_and_warnings():
    frame = picture(20, 30)
    assert kestrix.resize(frame, factors=(0.5, 2.0)).shape == (40, 15, 3)
    assert kestrix.resize(frame, (10, 10), rect=(30, 0, 5, 5)) is None  # the warning: nothing written
    with pytest.raises(kestrix.KestrixError, match="PxStsBadInterpolation"):
        kestrix.resize(frame, (10, 10), 3)
    with pytest.raises(kestrix.KestrixError, match="PxStsBadInterpolation"):
        kestrix.resize(frame, (60, 40), kestrix.Interpolation.SUPER)


@pytest.mark.parametrize("height,width", [(48, 64), (37, 51), (1, 1)])
def test_yuv420_both_ways_equal_c(clib, level, height, width):
    frame = picture(height, width)
    status, y, u, v = clib.rgb_to_yuv420(frame)
    planes = kestrix.rgb_to_yuv420(frame)
    assert planes.status == status == (kestrix.Status.ODD_SIZE if height % 2 or width % 2 else kestrix.Status.OK)
    for got, expected in zip(planes, (y, u, v)):
        np.testing.assert_array_equal(got, expected)
    status, back = clib.yuv420_to_rgb(y, u, v)
    np.testing.assert_array_equal(kestrix.yuv420_to_rgb(*planes), back)


@pytest.mark.parametrize("field", [0, 1])
def test_deinterlace_plane_equals_c(clib, level, field):
    plane = np.ascontiguousarray(picture(30, 60)[:, :, 1])[:, 7:48]  # a view with a row step of its own
    status, expected = clib.deinterlace_plane(plane, field)
    assert status == 0
    np.testing.assert_array_equal(kestrix.deinterlace_plane(plane, field), expected)


@pytest.mark.parametrize("field", [0, 1])
def test_deinterlace_plane_without_copy_line_reads_the_extra_row_it_is_given(clib, field):
    plane = np.ascontiguousarray(picture(31, 20)[:, :, 0])
    out = kestrix.deinterlace_plane(plane, field, copy_line=False)
    assert out.shape == (30, 20)
    # The same rows with copy_line, on the plane the output's rows belong to, agree except on the unpaired row.
    inner = plane[1:] if field == 0 else plane[:-1]
    paired = kestrix.deinterlace_plane(inner, field)
    rows = slice(1, None) if field == 0 else slice(None, -1)
    np.testing.assert_array_equal(out[rows], paired[rows])


FILTERS = [
    # kernel, anchor, divisor
    ([[1, 2, 1], [2, 4, 2], [1, 2, 1]], None, 16),
    ([[0, -1, 0], [-1, 5, -1], [0, -1, 0]], (1, 1), 1),
    ([[1, 1, 1, 1, 1]], (0, 0), 5),
    ([[3], [-1]], (0, 1), 3),
    ([[1, 2], [3, 4]], (1, 0), -7),
]


@pytest.mark.parametrize("kernel,anchor,divisor", FILTERS)
def test_filter3_equals_c(clib, level, kernel, anchor, divisor):
    frame = picture(33, 47)
    k = np.asarray(kernel)
    a = anchor or (k.shape[1] // 2, k.shape[0] // 2)
    status, expected = clib.filter(frame, k, a, divisor)
    assert status == 0
    np.testing.assert_array_equal(kestrix.filter3(frame, kernel, divisor, anchor), expected)


def test_sharpen3_equals_c(clib, level):
    frame = picture(33, 47)
    status, expected = clib.sharpen(frame)
    assert status == 0
    np.testing.assert_array_equal(kestrix.sharpen3(frame), expected)


def test_filter_errors_keep_the_status_name():
    with pytest.raises(kestrix.KestrixError, match="PxStsBadDivisor") as error:
        kestrix.filter3(picture(8, 8), np.ones((3, 3)), 0)
    assert error.value.status == kestrix.Status.BAD_DIVISOR
    with pytest.raises(kestrix.KestrixError, match="PxStsBadStep"):
        kestrix.filter3(picture(8, 8)[::-1], np.ones((3, 3)), 9)


def test_level_round_trip():
    start = kestrix.level()
    with pytest.raises(kestrix.KestrixError, match="PxStsBadSize"):
        kestrix.set_level(5)
    assert kestrix.level() == start
    assert kestrix.choose_level() in (kestrix.Status.OK, kestrix.Status.NOT_VENDOR)
    assert kestrix.level() == start


# ---- Bad arrays: clear errors, nothing read


def frame_calls():
    detector = kestrix.MotionDetector()
    return {
        "compare": detector.compare,
        "luminance": kestrix.luminance,
        "weave": kestrix.weave,
        "stretch": lambda f: kestrix.stretch(f, (8, 8)),
        "sharpen": kestrix.sharpen,
        "resize": lambda f: kestrix.resize(f, (8, 8)),
        "rgb_to_yuv420": kestrix.rgb_to_yuv420,
        "filter3": lambda f: kestrix.filter3(f, np.ones((3, 3)), 9),
        "sharpen3": kestrix.sharpen3,
    }


BAD_FRAMES = [
    # array, error, message
    (np.zeros((8, 8, 3), np.float32), TypeError, "dtype uint8"),
    (np.zeros((8, 8, 3), np.uint16), TypeError, "dtype uint8"),
    ([[[0, 0, 0]]], TypeError, "numpy.ndarray"),
    (np.zeros((8, 8, 4), np.uint8), ValueError, r"shape \(height, width, 3\)"),
    (np.zeros((8, 24), np.uint8), ValueError, r"shape \(height, width, 3\)"),
    (np.zeros((0, 8, 3), np.uint8), ValueError, "at least one row|positive width and height"),
    (np.zeros((8, 16, 3), np.uint8)[:, ::2], ValueError, "packed"),
    (np.zeros((3, 8, 8), np.uint8).transpose(1, 2, 0), ValueError, "packed"),
]


@pytest.mark.parametrize("call", list(frame_calls()))
@pytest.mark.parametrize("array,error,message", BAD_FRAMES)
def test_bad_frames_raise_clear_errors(call, array, error, message):
    with pytest.raises(error, match=message):
        frame_calls()[call](array)


@pytest.mark.parametrize("call", ["luminance", "weave", "stretch", "sharpen"])
def test_calls_that_read_one_block_refuse_crops(call):
    crop = picture(20, 20)[2:10, 2:10]
    with pytest.raises(ValueError, match="contiguous|one block"):
        frame_calls()[call](crop)


def test_in_place_calls_refuse_read_only_frames():
    frame = picture(8, 8)
    frame.flags.writeable = False
    for call in (kestrix.weave, kestrix.deinterlace, kestrix.sharpen):
        with pytest.raises(ValueError, match="writable"):
            call(frame)
    assert kestrix.luminance(frame) >= 0  # reading is fine


def test_other_bad_arguments():
    frame = picture(40, 40)
    with pytest.raises(ValueError, match="sensitivity"):
        kestrix.MotionDetector([], 10)
    with pytest.raises(ValueError, match="share memory"):
        kestrix.resize(frame, (40, 40), out=frame)
    with pytest.raises(ValueError, match="share memory"):
        kestrix.sharpen3(frame, out=frame[1:-1, 1:-1])
    with pytest.raises(ValueError, match="scale"):
        kestrix.stretch(frame, (80, 80), scale=-2)
    with pytest.raises(ValueError, match="24 pixels wide"):
        kestrix.stretch(picture(10, 20), (40, 20), kernel=(1,) * 9)
    with pytest.raises(ValueError, match="nine integers"):
        kestrix.sharpen(frame, kernel=(1, 2, 3))
    with pytest.raises(ValueError, match="field"):
        kestrix.deinterlace_plane(np.zeros((8, 8), np.uint8), 2)
    with pytest.raises(ValueError, match="anchor"):
        kestrix.filter3(frame, np.ones((3, 3)), 9, anchor=(3, 0))
    with pytest.raises(ValueError, match="half"):
        planes = np.zeros((40, 40), np.uint8), np.zeros((10, 10), np.uint8), np.zeros((20, 20), np.uint8)
        kestrix.yuv420_to_rgb(*planes)
