"""Images for the library over the memory of NumPy arrays, without copies."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from ._library import Format, TamixImage, Type

Array = NDArray[np.generic]

_TYPES = {np.dtype(np.uint8): Type.UINT8, np.dtype(np.float32): Type.FLOAT32}
_PACKED = {1: Format.GRAY, 3: Format.RGB, 4: Format.RGBA}


def _pitch(plane: Array, pixel_bytes: int) -> int:
    """The bytes from a row of a plane to the next one. The pixels of a row must be neighbours."""
    height, width = plane.shape[:2]
    for axis in range(1, plane.ndim):
        step = pixel_bytes if axis == 1 else plane.itemsize
        if plane.shape[axis] > 1 and plane.strides[axis] != step:
            raise ValueError("the pixels of a row must be neighbours in memory: use numpy.ascontiguousarray")
    expected = width * pixel_bytes
    pitch = plane.strides[0] if height > 1 else expected
    if pitch < expected or pitch % pixel_bytes:
        raise ValueError("rows must follow each other by whole pixels: use numpy.ascontiguousarray")
    return pitch


def _element_type(plane: Array) -> Type:
    try:
        return _TYPES[plane.dtype]
    except KeyError:
        raise TypeError(f"elements must be uint8 or float32, not {plane.dtype}") from None


@dataclass(frozen=True)
class Image:
    """Planes and how their pixels are to be taken. The arrays are used where they are: strided rows stay strided."""

    planes: tuple[Array, ...]
    format: int
    width: int
    height: int
    width_stride: int
    channel: int
    type: int

    @classmethod
    def packed(cls, pixels: Array, format: int | None = None) -> Image:
        """An image of shape (height, width) or (height, width, channels). Three channels are RGB, four RGBA if not said."""
        if pixels.ndim not in (2, 3) or 0 in pixels.shape:
            raise ValueError(f"an image has the shape (height, width) or (height, width, channels), not {pixels.shape}")
        channel = pixels.shape[2] if pixels.ndim == 3 else 1
        pixel_bytes = channel * pixels.itemsize
        kind = _element_type(pixels)
        stride = _pitch(pixels, pixel_bytes) // pixel_bytes
        if format is None:
            format = _PACKED.get(channel, Format.GRAY)
        return cls((pixels,), format, pixels.shape[1], pixels.shape[0], stride, channel, kind)

    @classmethod
    def biplanar(cls, luma: Array, chroma: Array, format: int) -> Image:
        """An NV12 or NV21 frame: luma of shape (height, width), chroma of shape (height / 2, width / 2, 2)."""
        image = cls.packed(luma, format)
        if luma.ndim != 2 or chroma.shape != (image.height // 2, image.width // 2, 2) or chroma.dtype != luma.dtype:
            raise ValueError(
                "the chroma plane must have half the rows and columns of the luma plane, and pairs of samples"
            )
        pitch = _pitch(chroma, 2 * chroma.itemsize)
        if image.height == 2:  # one row of chroma has no pitch of its own
            pitch = image.width_stride * luma.itemsize
        if pitch != image.width_stride * luma.itemsize:
            raise ValueError("both planes of a frame must have the same distance between rows")
        return cls((luma, chroma), format, image.width, image.height, image.width_stride, 1, image.type)

    @classmethod
    def nv21(cls, luma: Array, chroma: Array) -> Image:
        """A frame with pairs V, U."""
        return cls.biplanar(luma, chroma, Format.NV21)

    @classmethod
    def nv12(cls, luma: Array, chroma: Array) -> Image:
        """A frame with pairs U, V."""
        return cls.biplanar(luma, chroma, Format.NV12)

    @classmethod
    def i420(cls, y: Array, u: Array, v: Array) -> Image:
        """A frame of three planes; u and v have the shape ((height + 1) / 2, (width + 1) / 2)."""
        image = cls.packed(y, Format.I420)
        shape = ((image.height + 1) // 2, (image.width + 1) // 2)
        for plane in (u, v):
            if y.ndim != 2 or plane.shape != shape or plane.dtype != y.dtype:
                raise ValueError(f"chroma planes must have the shape {shape}")
            if shape[0] > 1 and _pitch(plane, plane.itemsize) != image.width_stride // 2 * y.itemsize:
                raise ValueError("the rows of u and v must be half as far apart as those of y")
            _pitch(plane, plane.itemsize)
        return cls((y, u, v), Format.I420, image.width, image.height, image.width_stride, 1, image.type)

    @classmethod
    def counts(cls, bins: Array) -> Image:
        """The bins of a histogram, 32-bit counts one behind the other."""
        if bins.dtype != np.uint32 or not bins.flags.c_contiguous:
            raise TypeError("a histogram's bins must be contiguous and uint32")
        return cls((bins,), 0, 0, 0, 0, 0, Type.UNUSED)

    @classmethod
    def points(cls, x: Array, y: Array) -> Image:
        """Four points for the perspective solve."""
        for plane in (x, y):
            if plane.shape != (4,) or plane.dtype != np.float32 or not plane.flags.c_contiguous:
                raise ValueError("points are four float32 numbers for x and four for y")
        return cls((x, y), Format.GRAY, 4, 1, 4, 2, Type.FLOAT32)

    def record(self) -> TamixImage:
        """The image as a record has it. It is valid as long as the arrays are."""
        image = TamixImage(format=self.format, type=self.type, width=self.width, height=self.height)
        image.width_stride = self.width_stride
        image.height_stride = self.height
        image.channel = self.channel
        for k, plane in enumerate(self.planes):
            image.data[k] = plane.ctypes.data
        return image
