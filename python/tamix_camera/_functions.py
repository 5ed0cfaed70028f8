"""Operators as functions of arrays. Results are new arrays unless `out` is given; each thread has an instance of its own."""

from __future__ import annotations

import threading
from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from ._camera import Camera, ImageLike
from ._images import Array, Image
from ._library import Border, Format, Interpolation, MorphShape, MorphType, Operator, Thresh

__all__ = [
    "add",
    "add_alpha",
    "bitwise_and",
    "bitwise_or",
    "bitwise_xor",
    "calc_hist",
    "camera",
    "color_to_gray",
    "color_to_hsv",
    "color_to_lab",
    "color_to_yuv",
    "concat",
    "convert_scale_abs",
    "convert_type",
    "copy_make_border",
    "count_non_zero",
    "dilate",
    "divide",
    "drop_alpha",
    "erode",
    "flip",
    "gaussian_filter",
    "get_perspective_transform",
    "get_structuring_element",
    "guided_filter",
    "image_fuse_overlap",
    "lab_to_color",
    "laplacian_filter",
    "mean_filter",
    "mean_std",
    "merge",
    "morphology_ex",
    "multiply",
    "normalize",
    "rect_cut",
    "remap",
    "resize",
    "resize_to_color",
    "rotate",
    "split",
    "subtract",
    "threshold",
    "transpose",
    "warp_affine",
    "warp_perspective",
    "yuv_to_color",
]

_local = threading.local()


def camera() -> Camera:
    """The calling thread's own instance."""
    made: Camera | None = getattr(_local, "camera", None)
    if made is None:
        made = _local.camera = Camera()
    return made


def _made(operator: int, inputs: Sequence[ImageLike], out: Array, **settings: Any) -> Array:
    camera().run(operator, inputs, [out], **settings)
    return out


def _like(image: Array, out: Array | None, dtype: Any = None) -> Array:
    return np.empty(image.shape, dtype or image.dtype) if out is None else out


def _sized(image: Array, size: tuple[int, int], out: Array | None) -> Array:
    """An array of `size` (width, height) with the channels of an image."""
    return np.empty((size[1], size[0], *image.shape[2:]), image.dtype) if out is None else out


def _channels(image: Array, channels: int, out: Array | None) -> Array:
    shape = image.shape[:2] if channels == 1 else (*image.shape[:2], channels)
    return np.empty(shape, image.dtype) if out is None else out


# Colours.


def yuv_to_color(frame: Image, format: int = Format.RGB) -> Array:
    """An NV12, NV21 or I420 frame as RGB or BGR."""
    out = np.empty((frame.height, frame.width, 3), np.uint8)
    camera().run(Operator.YUV_TO_COLOR, [frame], [Image.packed(out, format)])
    return out


def color_to_yuv(image: Array, format: int = Format.NV21, source: int = Format.RGB) -> Image:
    """RGB or BGR as an NV12 or NV21 frame; width and height are even."""
    height, width = image.shape[:2]
    luma = np.empty((height, width), np.uint8)
    frame = Image.biplanar(luma, np.empty((height // 2, width // 2, 2), np.uint8), format)
    camera().run(Operator.COLOR_TO_YUV, [Image.packed(image, source)], [frame])
    return frame


def color_to_gray(image: Array, format: int | None = None, out: Array | None = None) -> Array:
    """Luma of an RGB, BGR, RGBA or BGRA image."""
    return _made(Operator.COLOR_TO_GRAY, [Image.packed(image, format)], _channels(image, 1, out))


def color_to_hsv(image: Array, format: int = Format.RGBA, out: Array | None = None) -> Array:
    """RGBA or BGRA as hue (0 to 179), saturation, value."""
    return _made(Operator.COLOR_TO_HSV, [Image.packed(image, format)], _channels(image, 3, out))


def color_to_lab(image: Array, format: int = Format.RGB) -> Array:
    """RGB as Lab."""
    out = np.empty_like(image)
    camera().run(Operator.COLOR_TO_LAB, [Image.packed(image, format)], [Image.packed(out, Format.LAB)])
    return out


def lab_to_color(image: Array, format: int = Format.RGB) -> Array:
    """Lab as RGB."""
    out = np.empty_like(image)
    camera().run(Operator.LAB_TO_COLOR, [Image.packed(image, Format.LAB)], [Image.packed(out, format)])
    return out


def add_alpha(image: Array, out: Array | None = None) -> Array:
    """RGB as opaque RGBA."""
    return _made(Operator.COLOR3_TO_COLOR4, [image], _channels(image, 4, out))


def drop_alpha(image: Array, out: Array | None = None) -> Array:
    """RGBA as RGB."""
    return _made(Operator.COLOR4_TO_COLOR3, [image], _channels(image, 3, out))


# Geometry. Sizes are (width, height).


def resize(image: Array, size: tuple[int, int], method: str = "bilinear", out: Array | None = None) -> Array:
    """Scales an image: "nearest", "bilinear", or "area" (averages, for shrinking)."""
    operators = {
        "nearest": Operator.RESIZE_NEAREST,
        "bilinear": Operator.RESIZE_BILINEAR,
        "area": Operator.RESIZE_AREA,
    }
    if method not in operators:
        raise ValueError(f"method is one of {', '.join(operators)}")
    return _made(operators[method], [image], _sized(image, size, out))


def resize_to_color(frame: Image, size: tuple[int, int], format: int = Format.RGB) -> Array:
    """Scales an NV21 or NV12 frame and converts it to RGB or BGR in one pass."""
    out = np.empty((size[1], size[0], 3), np.uint8)
    camera().run(Operator.RESIZE_BILINEAR, [frame], [Image.packed(out, format)])
    return out


def flip(image: Array, mode: int, out: Array | None = None) -> Array:
    """Turns an image upside down (0), mirrors it (1), or both (-1)."""
    return _made(Operator.FLIP, [image], _like(image, out), op_mode=mode)


def transpose(image: Array, out: Array | None = None) -> Array:
    """Rows become columns."""
    return _made(Operator.TRANSPOSE, [image], _sized(image, (image.shape[0], image.shape[1]), out))


def rotate(image: Array, mode: int, out: Array | None = None) -> Array:
    """A quarter turn right (0), a half turn (1), a quarter turn left (2)."""
    size = (image.shape[1], image.shape[0]) if mode == 1 else (image.shape[0], image.shape[1])
    return _made(Operator.ROTATE, [image], _sized(image, size, out), op_mode=mode)


def rect_cut(image: Array, top: int, bottom: int, left: int, right: int, out: Array | None = None) -> Array:
    """Rows [top, bottom) and columns [left, right), copied. A slice of the array is the same without a copy."""
    edges = [top, bottom, left, right]
    return _made(Operator.RECT_CUT, [image], _sized(image, (right - left, bottom - top), out), border_params=edges)


def copy_make_border(
    image: Array,
    top: int,
    bottom: int,
    left: int,
    right: int,
    border: int = Border.REFLECT_101,
    value: int = 0,
    out: Array | None = None,
) -> Array:
    """A border around an image."""
    size = (left + image.shape[1] + right, top + image.shape[0] + bottom)
    settings = {"border_params": [top, bottom, left, right], "geom_border_type": border, "geom_border_value": value}
    return _made(Operator.COPY_MAKE_BORDER, [image], _sized(image, size, out), **settings)


def concat(images: Sequence[Array], below: bool = False) -> Array:
    """Up to four images side by side, or one below the other."""
    images = [np.ascontiguousarray(image) for image in images]
    widths, heights = [image.shape[1] for image in images], [image.shape[0] for image in images]
    size = (widths[0], sum(heights)) if below else (sum(widths), heights[0])
    return _made(Operator.CONCAT, images, _sized(images[0], size, None), op_mode=int(below))


def warp_affine(image: Array, angle: float, scale: float = 1.0) -> Array:
    """Rotates by whole degrees and scales by whole factors about the centre."""
    image = np.ascontiguousarray(image)
    return _made(Operator.WARP_AFFINE, [image], _like(image, None), affine_angle=angle, affine_scale=scale)


def get_perspective_transform(points: ArrayLike, targets: ArrayLike) -> Array:
    """The 3x3 matrix that maps four points (x, y) onto four others."""
    images = []
    for given in (points, targets):
        columns = np.asarray(given, np.float32).reshape(4, 2)
        images.append(Image.points(columns[:, 0].copy(), columns[:, 1].copy()))
    return _made(Operator.GET_PERSPECTIVE_TRANSFORM, images, np.empty((3, 3), np.float32))


def warp_perspective(
    image: Array,
    matrix: ArrayLike,
    size: tuple[int, int] | None = None,
    interpolation: int = Interpolation.BILINEAR,
    border: int = Border.CONSTANT,
    border_value: ArrayLike = 0,
) -> Array:
    """The image seen through a 3x3 matrix that maps source to destination."""
    return _made(
        Operator.WARP_PERSPECTIVE,
        [image, np.ascontiguousarray(matrix, np.float32).reshape(3, 3)],
        _sized(image, size or (image.shape[1], image.shape[0]), None),
        interpolation=interpolation,
        geom_border_type=border,
        geom_border_value_ptr=border_value,
    )


def remap(
    image: Array,
    map_x: Array,
    map_y: Array,
    interpolation: int = Interpolation.BILINEAR,
    border: int = Border.CONSTANT,
    border_value: ArrayLike = 0,
) -> Array:
    """Pixels from where two float32 maps say."""
    return _made(
        Operator.REMAP,
        [image, map_x, map_y],
        _sized(image, (map_x.shape[1], map_x.shape[0]), None),
        interpolation=interpolation,
        geom_border_type=border,
        geom_border_value_ptr=border_value,
    )


def image_fuse_overlap(first: Array, second: Array, overlap: int, weights: ArrayLike, below: bool = False) -> Array:
    """Two images joined; in a band of `overlap` columns (or rows) `weights` is the share of the first."""
    first, second = np.ascontiguousarray(first), np.ascontiguousarray(second)
    width, height = first.shape[1], first.shape[0]
    size = (width, height + second.shape[0] - overlap) if below else (width + second.shape[1] - overlap, height)
    settings = {"fuse_overlap": overlap, "fuse_direction": 0 if below else 1, "fuse_weights": weights}
    return _made(Operator.IMAGE_FUSE_OVERLAP, [first, second], _sized(first, size, None), **settings)


# Filters and morphology.


def gaussian_filter(image: Array, border: int = -1, out: Array | None = None) -> Array:
    """3x3 Gaussian."""
    return _made(Operator.GAUSSIAN_FILTER, [image], _like(image, out), kernel_size=3, border_type=border)


def mean_filter(image: Array, size: int = 3) -> Array:
    """3x3 or 5x5 mean of a float32 image."""
    image = np.ascontiguousarray(image)
    return _made(Operator.MEAN_FILTER, [image], _like(image, None), kernel_size=size)


def laplacian_filter(
    image: Array, aperture: int = 1, scale: float = 1.0, delta: float = 0.0, absolute: bool = False, border: int = -1
) -> Array:
    """Second derivative with an aperture of 1 or 3."""
    settings = {"kernel_size": aperture, "scale": scale, "delta": delta, "abs_output": absolute, "border_type": border}
    return _made(Operator.LAPLACIAN_FILTER, [image], _like(image, None), **settings)


def guided_filter(guide: Array, image: Array, out: Array | None = None) -> Array:
    """Smooths an RGB image along the edges of a guide."""
    return _made(Operator.GUIDED_FILTER, [guide, image], _like(image, out))


def get_structuring_element(shape: int, width: int, height: int) -> Array:
    """A rectangle, cross or ellipse of ones."""
    kernel = np.empty((height, width), np.uint8)
    settings = {"morph_shape": shape, "kernel_width": width, "kernel_height": height, "kernel": kernel}
    camera().run(Operator.GET_STRUCTURING_ELEMENT, [kernel], [kernel], **settings)
    return kernel


def _morphology(operator: int, image: Array, kernel: Array | int, out: Array | None, **settings: Any) -> Array:
    if isinstance(kernel, int):
        settings["kernel_size"] = kernel
    else:
        settings |= {"kernel": kernel, "kernel_height": kernel.shape[0], "kernel_width": kernel.shape[1]}
    return _made(operator, [image], _like(image, out), **settings)


def erode(
    image: Array, kernel: Array | int = 3, iterations: int = 1, border: int = -1, out: Array | None = None
) -> Array:
    """The smallest value under a structuring element, or in a square of a size."""
    return _morphology(Operator.ERODE, image, kernel, out, iterations=iterations, border_type=border)


def dilate(
    image: Array, kernel: Array | int = 3, iterations: int = 1, border: int = -1, out: Array | None = None
) -> Array:
    """The largest value under a structuring element, or in a square of a size."""
    return _morphology(Operator.DILATE, image, kernel, out, iterations=iterations, border_type=border)


def morphology_ex(
    image: Array, type: int = MorphType.OPEN, kernel: int = 3, shape: int = MorphShape.RECT, iterations: int = 1
) -> Array:
    """Erosion, dilation, opening or closing."""
    settings = {"morph_type": type, "morph_shape": shape, "iterations": iterations}
    return _morphology(Operator.MORPHOLOGY_EX, image, kernel, None, **settings)


# Arithmetic and points.


def add(first: Array, second: Array, out: Array | None = None) -> Array:
    """Sum; bytes saturate."""
    return _made(Operator.ADD, [first, second], _like(first, out))


def subtract(first: Array, second: Array, out: Array | None = None) -> Array:
    """Difference; bytes saturate."""
    return _made(Operator.SUBTRACT, [first, second], _like(first, out))


def multiply(first: Array, second: Array, out: Array | None = None) -> Array:
    """Product, in floats."""
    return _made(Operator.MULTIPLE, [first, second], _like(first, out, np.float32))


def divide(first: Array, second: Array, out: Array | None = None) -> Array:
    """Quotient, in floats."""
    return _made(Operator.DIVIDE, [first, second], _like(first, out, np.float32))


def _masked(mask: Array | None) -> list[Array]:
    return [] if mask is None else [mask]


def bitwise_and(first: Array, second: Array, mask: Array | None = None, out: Array | None = None) -> Array:
    """Bitwise and of two images, or of three: the mask is an operand too."""
    return _made(Operator.BITWISE_AND, [first, second, *_masked(mask)], _like(first, out))


def bitwise_or(first: Array, second: Array, mask: Array | None = None, out: Array | None = None) -> Array:
    """Bitwise or of two images, or of three: the mask is an operand too."""
    return _made(Operator.BITWISE_OR, [first, second, *_masked(mask)], _like(first, out))


def bitwise_xor(first: Array, second: Array, mask: Array | None = None, out: Array | None = None) -> Array:
    """Bitwise exclusive or of two images, or of three: the mask is an operand too."""
    return _made(Operator.BITWISE_XOR, [first, second, *_masked(mask)], _like(first, out))


def convert_scale_abs(image: Array, scale: float = 1.0, offset: float = 0.0, out: Array | None = None) -> Array:
    """|value * scale + offset|; bytes saturate."""
    return _made(Operator.CONVERT_SCALE_ABS, [image], _like(image, out), abs_scale=scale, offset=offset)


def convert_type(image: Array, out: Array | None = None) -> Array:
    """Bytes as floats, or floats as bytes."""
    other = np.uint8 if image.dtype == np.float32 else np.float32
    return _made(Operator.DATA_TYPE_CONVERT, [image], _like(image, out, other))


def normalize(image: Array, mean: ArrayLike, std: ArrayLike) -> Array:
    """(value - mean) / std of each channel, in floats."""
    return _made(Operator.NORMALIZATION, [image], _like(image, None, np.float32), mean=mean, std=std)


def threshold(
    image: Array, value: float = 0.0, maxval: float = 255.0, type: int = Thresh.BINARY, out: Array | None = None
) -> tuple[float, Array]:
    """One of five threshold rules; Thresh.OTSU and Thresh.TRIANGLE choose the threshold. Returns it with the result."""
    chosen = np.array([value], np.float64)
    result = _made(Operator.THRESHOLD, [image], _like(image, out), thresh=chosen, maxval=maxval, thresh_type=type)
    return float(chosen[0]), result


def split(image: Array) -> list[Array]:
    """The channels of an image as planes."""
    planes = [np.empty(image.shape[:2], image.dtype) for _ in range(image.shape[2])]
    camera().run(Operator.SPLIT, [image], planes)
    return planes


def merge(planes: Sequence[Array]) -> Array:
    """Three or four planes as an interleaved image."""
    return _made(Operator.MERGE, planes, np.empty((*planes[0].shape, len(planes)), planes[0].dtype))


# Statistics.


def count_non_zero(image: Array) -> int:
    """The number of non-zero pixels of a gray image."""
    count = np.zeros(1, np.uint32)
    camera().run(Operator.COUNT_NON_ZERO, [image], nonzero_count=count)
    return int(count[0])


def mean_std(image: Array) -> tuple[Array, Array]:
    """Mean and standard deviation of each channel."""
    channels = image.shape[2] if image.ndim == 3 else 1
    mean, std = np.zeros(channels, np.float32), np.zeros(channels, np.float32)
    camera().run(Operator.MEAN_STD, [image], mean_out=mean, std_out=std)
    return mean, std


def calc_hist(image: Array, bins: Sequence[int] = (256,), channels: Sequence[int] = (0,)) -> Array:
    """A histogram of one to four channels over 0 to 255, with so many bins for each."""
    counts = np.zeros(tuple(bins), np.uint32)
    settings = {"hist_dims": len(bins), "hist_size": list(bins), "hist_channels": list(channels)}
    camera().run(Operator.CALC_HIST, [image], [Image.counts(counts.ravel())], **settings)
    return counts
