"""The module against plain NumPy models, and its records against the public header."""

import pathlib
import re

import numpy as np
import pytest

import tamix_camera as tc
from tamix_camera import Format, Image, Operator

HEADER = (pathlib.Path(__file__).parents[2] / "include/tamix/tamix.h").read_text()


@pytest.fixture
def camera():
    with tc.Camera(num_threads=1, log_level=5) as made:
        yield made


def noise(*shape, dtype=np.uint8, seed=1):
    values = np.random.default_rng(seed).integers(0, 256, shape)
    return values.astype(dtype)


def frame(width=16, height=8):
    return Image.nv21(noise(height, width), noise(height // 2, width // 2, 2, seed=2))


def test_records_agree_with_the_header():
    for struct, field, offset in re.findall(r"ASSERT_LAYOUT\(offsetof\((\w+), (\w+)\) == (\d+)\)", HEADER):
        assert getattr(getattr(tc, struct), field).offset == int(offset), field
    for field, offset in re.findall(r"ASSERT_SETTING\((\w+), (\d+)\)", HEADER):
        assert getattr(tc.TamixParams, field).offset == 576 + int(offset), field
    sizes = re.findall(r"sizeof\((Tamix\w+)\) == (\d+)", HEADER)
    assert len(sizes) == 3
    for struct, size in sizes:
        assert tc._library.ctypes.sizeof(getattr(tc, struct)) == int(size)
    body = re.search(r"typedef struct TamixParams \{(.*?)\} TamixParams;", HEADER, re.S).group(1)
    fields = re.findall(r"^  [\w ]+[ *]+(\w+)(?:\[\d+\])?;", body, re.M)
    assert fields == [name for name, *_ in tc.TamixParams._fields_]


@pytest.mark.parametrize(
    "enumeration, prefix",
    [
        (tc.Status, "TAMIX_ERR_"),
        (tc.Format, "Tamix_"),
        (tc.Type, "Tamix_"),
        (tc.Operator, "TAMIX_OP_"),
        (tc.Border, "TAMIX_BORDER_"),
        (tc.Interpolation, "TAMIX_INTERPOLATION_"),
        (tc.MorphShape, "TAMIX_MORPH_"),
        (tc.MorphType, "TAMIX_MORPH_"),
        (tc.Thresh, "TAMIX_THRESH_"),
    ],
)
def test_enumerations_agree_with_the_header(enumeration, prefix):
    for name, member in enumeration.__members__.items():
        name = "TAMIX_OK" if name == "OK" else prefix + name
        assert re.search(rf"\b{name} = {int(member)}\b", HEADER), name


def test_knows_every_operator_of_the_header():
    assert set(re.findall(r"TAMIX_OP_(\w+) = ", HEADER)) == set(Operator.__members__)


RGB, GRAY, FLOATS = noise(12, 20, 3), noise(12, 20), noise(12, 20, dtype=np.float32)
RGBA = noise(12, 20, 4)
POINTS = [[0, 0], [9, 0], [9, 9], [0, 9]]


def points(given):
    columns = np.asarray(given, np.float32)
    return Image.points(columns[:, 0].copy(), columns[:, 1].copy())


def like(image, *shape, dtype=np.uint8):
    return np.zeros(shape or image.shape, dtype)


MAPS = np.tile(np.arange(20, dtype=np.float32), (12, 1)), np.tile(np.arange(12, dtype=np.float32)[:, None], (1, 20))

# inputs, outputs and settings of a run of each operator that gives something.
RUNS = {
    Operator.DATA_TYPE_CONVERT: ([GRAY], [like(GRAY, dtype=np.float32)], {}),
    Operator.COUNT_NON_ZERO: ([GRAY], [], {"nonzero_count": np.zeros(1, np.uint32)}),
    Operator.CALC_HIST: ([GRAY], [Image.counts(np.zeros(256, np.uint32))], {"hist_dims": 1, "hist_size": [256]}),
    Operator.GAUSSIAN_FILTER: ([RGB], [like(RGB)], {"kernel_size": 3}),
    Operator.MEAN_FILTER: ([FLOATS], [like(FLOATS, dtype=np.float32)], {"kernel_size": 3}),
    Operator.LAPLACIAN_FILTER: ([GRAY], [like(GRAY)], {"kernel_size": 1, "scale": 1.0}),
    Operator.MEAN_STD: ([RGB], [], {"mean_out": np.zeros(3, np.float32), "std_out": np.zeros(3, np.float32)}),
    Operator.NORMALIZATION: ([RGB], [like(RGB, dtype=np.float32)], {"mean": [1, 2, 3], "std": 2}),
    Operator.COPY_MAKE_BORDER: ([RGB], [like(RGB, 14, 24, 3)], {"border_params": [1, 1, 2, 2]}),
    Operator.RESIZE_AREA: ([RGB], [like(RGB, 6, 10, 3)], {}),
    Operator.RESIZE_NEAREST: ([RGB], [like(RGB, 7, 9, 3)], {}),
    Operator.RESIZE_BILINEAR: ([frame(32, 32)], [like(RGB, 10, 12, 3)], {}),
    Operator.COLOR_TO_HSV: ([RGBA], [like(RGB)], {}),
    Operator.COLOR_TO_GRAY: ([RGB], [like(GRAY)], {}),
    Operator.COLOR_TO_YUV: ([RGB], [Image.nv21(like(GRAY), like(GRAY, 6, 10, 2))], {}),
    Operator.COLOR_TO_LAB: ([RGB], [Image.packed(like(RGB), Format.LAB)], {}),
    Operator.COLOR3_TO_COLOR4: ([RGB], [like(RGBA)], {}),
    Operator.COLOR4_TO_COLOR3: ([RGBA], [like(RGB)], {}),
    Operator.LAB_TO_COLOR: ([Image.packed(RGB, Format.LAB)], [like(RGB)], {}),
    Operator.YUV_TO_COLOR: ([frame()], [like(RGB, 8, 16, 3)], {}),
    Operator.MULTIPLE: ([GRAY, GRAY], [like(GRAY, dtype=np.float32)], {}),
    Operator.DIVIDE: ([GRAY, GRAY + 1], [like(GRAY, dtype=np.float32)], {}),
    Operator.SUBTRACT: ([RGB, RGB // 2], [like(RGB)], {}),
    Operator.ADD: ([RGB, RGB], [like(RGB)], {}),
    Operator.BITWISE_AND: ([RGB, RGB[::-1].copy()], [like(RGB)], {}),
    Operator.BITWISE_OR: ([RGB, RGB[::-1].copy()], [like(RGB)], {}),
    Operator.BITWISE_XOR: ([RGB, RGB[::-1].copy()], [like(RGB)], {}),
    Operator.BITWISE_NOT: ([GRAY, like(GRAY) + 1], [like(GRAY)], {}),
    Operator.CONVERT_SCALE_ABS: ([RGB], [like(RGB)], {"abs_scale": 0.5, "offset": -100.0}),
    Operator.ERODE: ([RGB], [like(RGB)], {"kernel_size": 3}),
    Operator.DILATE: ([RGB], [like(RGB)], {"kernel": np.ones((3, 5)), "kernel_height": 3, "kernel_width": 5}),
    Operator.GET_STRUCTURING_ELEMENT: (
        [GRAY],
        [],
        {"kernel": np.zeros(9, np.uint8), "kernel_size": 3, "morph_shape": 1},
    ),
    Operator.GET_PERSPECTIVE_TRANSFORM: (
        [points(POINTS), points([[1, 2], [8, 0], [9, 9], [0, 8]])],
        [np.zeros((3, 3), np.float32)],
        {},
    ),
    Operator.MORPHOLOGY_EX: ([RGB], [like(RGB)], {"morph_type": tc.MorphType.CLOSE, "kernel_size": 3}),
    Operator.FLIP: ([RGB], [like(RGB)], {"op_mode": 0}),
    Operator.SPLIT: ([RGB], [like(GRAY), like(GRAY), like(GRAY)], {}),
    Operator.MERGE: ([GRAY, GRAY, GRAY], [like(RGB)], {}),
    Operator.RECT_CUT: ([RGB], [like(RGB, 2, 3, 3)], {"border_params": [4, 6, 7, 10]}),
    Operator.THRESHOLD: (
        [GRAY],
        [like(GRAY)],
        {"thresh": np.array([99.0]), "maxval": 255, "thresh_type": tc.Thresh.BINARY},
    ),
    Operator.TRANSPOSE: ([RGB], [like(RGB, 20, 12, 3)], {}),
    Operator.ROTATE: ([RGB], [like(RGB, 20, 12, 3)], {"op_mode": 0}),
    Operator.CONCAT: ([RGB, RGB], [like(RGB, 12, 40, 3)], {"op_mode": 0}),
    Operator.WARP_AFFINE: ([RGB], [like(RGB)], {"affine_angle": 30, "affine_scale": 1}),
    Operator.WARP_PERSPECTIVE: ([RGB, np.eye(3, dtype=np.float32)], [like(RGB)], {"geom_border_value_ptr": 7}),
    Operator.GUIDED_FILTER: ([RGB, RGB], [like(RGB)], {}),
    Operator.REMAP: (
        [RGB, *MAPS],
        [like(RGB)],
        {"interpolation": 1, "geom_border_type": 0, "geom_border_value_ptr": [1, 2, 3]},
    ),
    Operator.IMAGE_FUSE_OVERLAP: (
        [RGB, RGB],
        [like(RGB, 12, 36, 3)],
        {"fuse_overlap": 4, "fuse_direction": 1, "fuse_weights": [0.2, 0.4, 0.6, 0.8]},
    ),
}


@pytest.mark.parametrize("operator", Operator, ids=lambda operator: operator.name)
def test_runs_every_operator(camera, operator):
    inputs, outputs, settings = RUNS[operator]
    camera.run(operator, inputs, outputs, **settings)
    written = [plane for out in outputs for plane in (out.planes if isinstance(out, Image) else (out,))]
    written += [value for name, value in settings.items() if isinstance(value, np.ndarray) and name not in ("kernel",)]
    if operator == Operator.GET_STRUCTURING_ELEMENT:
        written = [settings["kernel"]]
    assert written and all(plane.any() for plane in written)


def windows(height, width):
    return np.lib.stride_tricks.sliding_window_view(RGB, (height, width), (0, 1))


def saturated(values):
    return np.clip(values, 0, 255).astype(np.uint8)


@pytest.mark.parametrize(
    "actual, expected",
    [
        (lambda: tc.flip(RGB, -1), lambda: RGB[::-1, ::-1]),
        (lambda: tc.transpose(RGB), lambda: RGB.transpose(1, 0, 2)),
        (lambda: tc.rotate(GRAY, 0), lambda: np.rot90(GRAY, -1)),
        (lambda: tc.rotate(GRAY, 1), lambda: GRAY[::-1, ::-1]),
        (lambda: tc.rect_cut(RGB, 1, 5, 2, 9), lambda: RGB[1:5, 2:9]),
        (lambda: tc.concat([RGB, RGB[:, :5]]), lambda: np.concatenate([RGB, RGB[:, :5]], 1)),
        (lambda: tc.concat([RGB, RGB[:5]], below=True), lambda: np.concatenate([RGB, RGB[:5]])),
        (lambda: tc.copy_make_border(GRAY, 1, 2, 3, 4), lambda: np.pad(GRAY, ((1, 2), (3, 4)), "reflect")),
        (
            lambda: tc.resize(GRAY, (10, 6), "area"),
            lambda: saturated((GRAY.reshape(6, 2, 10, 2).sum((1, 3), int) + 2) >> 2),
        ),
        (lambda: tc.resize(RGB, (40, 24), "nearest"), lambda: RGB.repeat(2, 0).repeat(2, 1)),
        (lambda: tc.add(RGB, RGB), lambda: saturated(RGB.astype(int) * 2)),
        (lambda: tc.subtract(GRAY, GRAY // 2), lambda: GRAY - GRAY // 2),
        (lambda: tc.multiply(GRAY, GRAY), lambda: GRAY.astype(np.float32) ** 2),
        (lambda: tc.bitwise_xor(RGB, RGB // 3), lambda: RGB ^ (RGB // 3)),
        (lambda: tc.bitwise_or(GRAY, GRAY // 7, GRAY // 9), lambda: GRAY | GRAY // 7 | GRAY // 9),
        (lambda: tc.convert_type(GRAY), lambda: GRAY.astype(np.float32)),
        (lambda: tc.normalize(RGB, [1, 2, 4], 2), lambda: (RGB.astype(np.float32) - [1, 2, 4]) / 2),
        (lambda: tc.threshold(GRAY, 99)[1], lambda: np.where(GRAY > 99, 255, 0)),
        (lambda: tc.split(RGB)[1], lambda: RGB[:, :, 1]),
        (lambda: tc.merge([GRAY, GRAY // 2, GRAY // 3]), lambda: np.stack([GRAY, GRAY // 2, GRAY // 3], 2)),
        (lambda: tc.add_alpha(RGB), lambda: np.concatenate([RGB, np.zeros((12, 20, 1))], 2)),
        (lambda: tc.drop_alpha(RGBA), lambda: RGBA[:, :, :3]),
        (lambda: tc.count_non_zero(GRAY // 9), lambda: np.count_nonzero(GRAY // 9)),
        (lambda: tc.calc_hist(GRAY), lambda: np.bincount(GRAY.ravel(), minlength=256)),
        (lambda: tc.remap(RGB, *MAPS), lambda: RGB),
        (
            lambda: tc.warp_perspective(RGB, np.eye(3), (25, 12), border_value=[7, 8, 9])[:, 22],
            lambda: [[7, 8, 9]] * 12,
        ),
        (lambda: tc.dilate(RGB, np.ones((1, 3)))[:, 1:-1], lambda: windows(1, 3).max((3, 4))),
        (lambda: tc.dilate(RGB, tc.get_structuring_element(0, 3, 1)), lambda: tc.dilate(RGB, np.ones((1, 3)))),
        (lambda: tc.erode(RGB)[1:-1, 1:-1], lambda: windows(3, 3).min((3, 4))),
        (lambda: tc.morphology_ex(RGB, tc.MorphType.DILATE), lambda: tc.dilate(RGB)),
    ],
)
def test_gives_what_a_plain_model_gives(actual, expected):
    np.testing.assert_array_equal(actual(), expected())


@pytest.mark.parametrize("colour", [(0, 0, 0), (128, 128, 128), (255, 255, 255), (255, 0, 0), (0, 0, 255)])
def test_converts_colours_there_and_back(colour):
    flat = np.full((32, 32, 3), colour, np.uint8)
    there = tc.color_to_yuv(flat)
    for back in (tc.yuv_to_color(there), tc.resize_to_color(there, (10, 10)), tc.lab_to_color(tc.color_to_lab(flat))):
        assert np.abs(back[0, 0].astype(int) - colour).max() <= 3
    assert tc.color_to_hsv(tc.add_alpha(flat))[0, 0, 2] == max(colour)
    assert tc.color_to_gray(flat)[0, 0] == pytest.approx(np.dot(colour, (0.299, 0.587, 0.114)), abs=1)


def test_solves_perspectives():
    matrix = tc.get_perspective_transform(POINTS, [[1, 2], [8, 0], [9, 9], [0, 8]])
    u, v, w = matrix @ np.array([9, 0, 1])
    assert (u / w, v / w) == pytest.approx((8, 0), abs=1e-3)


def test_means_of_channels():
    mean, std = tc.mean_std(RGB)
    assert mean == pytest.approx(RGB.mean((0, 1)), rel=1e-4)
    assert std == pytest.approx(RGB.std((0, 1)), rel=1e-2)


def test_works_in_the_memory_of_strided_arrays(camera):
    backing = noise(12, 40, 3)
    before = backing.copy()
    window = backing[2:10, 5:25]
    camera.run(Operator.FLIP, [window], [window], op_mode=1)
    np.testing.assert_array_equal(backing[2:10, 5:25], before[2:10, 5:25][:, ::-1])
    backing[2:10, 5:25] = before[2:10, 5:25]
    np.testing.assert_array_equal(backing, before)


@pytest.mark.parametrize(
    "array, problem",
    [
        (GRAY[:, ::2], "neighbours"),
        (GRAY[::-1], "whole pixels"),
        (RGB.transpose(1, 0, 2), "neighbours"),
        (RGB[:, :, ::-1], "neighbours"),
        (np.broadcast_to(GRAY[:1], GRAY.shape), "whole pixels"),
        (GRAY[:0], "shape"),
        (GRAY[0], "shape"),
    ],
)
def test_refuses_layouts_that_a_record_cannot_say(array, problem):
    with pytest.raises(ValueError, match=problem):
        Image.packed(array)


def test_refuses_frames_whose_planes_do_not_match():
    for luma, chroma in (
        (noise(8, 16), noise(4, 8)),
        (noise(8, 16), noise(3, 8, 2)),
        (noise(8, 32)[:, :16], noise(4, 8, 2)),
    ):
        with pytest.raises(ValueError, match="plane"):
            Image.nv12(luma, chroma)
    with pytest.raises(ValueError, match="chroma"):
        Image.i420(noise(8, 16), noise(4, 8), noise(4, 7))
    odd = Image.i420(noise(7, 16)[:, :15], noise(4, 8), noise(4, 8))
    assert (odd.width, odd.height) == (15, 7)


def test_refuses_settings_that_the_library_would_read_beyond(camera):
    for settings, problem in (
        ({"kernel": np.ones(8), "kernel_size": 3}, "at least 9"),
        ({"no_such_setting": 1}, "no setting"),
        ({"iterations": "many"}, "invalid literal"),
    ):
        with pytest.raises((TypeError, ValueError), match=problem):
            camera.run(Operator.ERODE, [GRAY], [like(GRAY)], **settings)
    with pytest.raises(ValueError, match="at least 3"):
        camera.run(Operator.MEAN_STD, [RGB], mean_out=np.zeros(2, np.float32), std_out=np.zeros(3, np.float32))
    with pytest.raises(ValueError, match="256 bins"):
        camera.run(Operator.CALC_HIST, [GRAY], [Image.counts(np.zeros(255, np.uint32))], hist_dims=1, hist_size=[256])
    constant = like(GRAY)
    constant.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        camera.run(Operator.FLIP, [GRAY], [constant], op_mode=0)
    with pytest.raises(TypeError, match="float64"):
        camera.run(Operator.FLIP, [GRAY.astype(float)], [like(GRAY)], op_mode=0)


def test_reports_refusals_and_goes_on(camera):
    with pytest.raises(tc.TamixError, match="FLIP: UNSUPPORTED") as raised:
        camera.run(Operator.FLIP, [GRAY], [like(RGB)], op_mode=0)
    assert raised.value.status == tc.Status.UNSUPPORTED
    with pytest.raises(tc.TamixError, match="operator 5: CREATE_OPERATOR"):
        camera.run(5)
    camera.run(Operator.FLIP, [GRAY], [like(GRAY)], op_mode=0)
    with pytest.raises(tc.TamixError, match="initTamix: INVALID_ARGUMENT"):
        tc.Camera(perf_level=9)
    camera.close()
    with pytest.raises(tc.TamixError, match="INVALID_HANDLE"):
        camera.run(Operator.FLIP, [GRAY], [like(GRAY)], op_mode=0)
