"""The C interface as ctypes sees it: records, enumerations, entry points."""

from __future__ import annotations

import ctypes
import ctypes.util
import enum
import os
from ctypes import c_double, c_float, c_int32, c_uint8, c_uint32, c_uint64, c_void_p


class Status(enum.IntEnum):
    """What a call returns; 0 is success."""

    OK = 0
    BAD_ARGUMENT = -1
    INVALID_CALL = -2
    UNSUPPORTED = -3
    NO_MEMORY = -4
    ILLEGAL_RECT = -13
    ILLEGAL_SHAPE = -14
    INVALID_IMAGE = -15
    RUNTIME = -17
    INVALID_INSTANCE = -18
    CREATE_OPERATOR = -19
    INVALID_ARGUMENT = 100
    INVALID_HANDLE = 101


class Type(enum.IntEnum):
    """Element types."""

    UNUSED = 0
    UINT8 = 1
    FLOAT32 = 8


class Format(enum.IntEnum):
    """Pixel formats."""

    BGR = 1
    RGB = 2
    BGRA = 4
    RGBA = 7
    I420 = 8
    GRAY = 9
    NV12 = 17
    NV21 = 18
    LAB = 16385


class Operator(enum.IntEnum):
    """The operators."""

    DATA_TYPE_CONVERT = 0
    COUNT_NON_ZERO = 1
    CALC_HIST = 2
    GAUSSIAN_FILTER = 3
    MEAN_FILTER = 4
    LAPLACIAN_FILTER = 8
    MEAN_STD = 13
    NORMALIZATION = 14
    COPY_MAKE_BORDER = 15
    RESIZE_AREA = 17
    RESIZE_NEAREST = 18
    RESIZE_BILINEAR = 19
    COLOR_TO_HSV = 20
    COLOR_TO_GRAY = 21
    COLOR_TO_YUV = 22
    COLOR_TO_LAB = 23
    COLOR3_TO_COLOR4 = 24
    COLOR4_TO_COLOR3 = 25
    LAB_TO_COLOR = 26
    YUV_TO_COLOR = 27
    MULTIPLE = 29
    DIVIDE = 30
    SUBTRACT = 31
    ADD = 32
    BITWISE_AND = 36
    BITWISE_OR = 37
    BITWISE_XOR = 38
    BITWISE_NOT = 39
    CONVERT_SCALE_ABS = 40
    ERODE = 42
    DILATE = 43
    GET_STRUCTURING_ELEMENT = 44
    GET_PERSPECTIVE_TRANSFORM = 45
    MORPHOLOGY_EX = 46
    FLIP = 47
    SPLIT = 48
    MERGE = 49
    RECT_CUT = 50
    THRESHOLD = 51
    TRANSPOSE = 52
    ROTATE = 53
    CONCAT = 54
    WARP_AFFINE = 55
    WARP_PERSPECTIVE = 56
    GUIDED_FILTER = 57
    REMAP = 61
    IMAGE_FUSE_OVERLAP = 68


class Border(enum.IntEnum):
    """How pixels outside an image are filled; -1 asks for an operator's default."""

    CONSTANT = 0
    REPLICATE = 1
    REFLECT = 2
    WRAP = 3
    REFLECT_101 = 4


class Interpolation(enum.IntFlag):
    """Sampling of warps and remap; INVERSE_MAP says that the matrix already maps destination to source."""

    NEAREST = 0
    BILINEAR = 1
    BICUBIC = 2
    INVERSE_MAP = 16


class MorphShape(enum.IntEnum):
    """Structuring elements."""

    RECT = 0
    CROSS = 1
    ELLIPSE = 2


class MorphType(enum.IntEnum):
    """Composite morphology."""

    ERODE = 0
    DILATE = 1
    OPEN = 2
    CLOSE = 3


class Thresh(enum.IntFlag):
    """Threshold rules, and flags of the automatic methods."""

    BINARY = 0
    BINARY_INV = 1
    TRUNC = 2
    TOZERO = 3
    TOZERO_INV = 4
    OTSU = 8
    TRIANGLE = 16


class TamixImage(ctypes.Structure):
    """One image of a record."""

    _fields_ = [
        ("format", c_int32),
        ("type", c_int32),
        ("reserved_0", c_int32 * 3),
        ("width", c_int32),
        ("width_stride", c_int32),
        ("height", c_int32),
        ("height_stride", c_int32),
        ("channel", c_int32),
        ("data", c_void_p * 3),
        ("reserved_1", c_uint8 * 8),
    ]


class TamixParams(ctypes.Structure):
    """Images and settings of a run."""

    _fields_ = [
        ("input", TamixImage * 4),
        ("output", TamixImage * 4),
        ("op_mode", c_int32),
        ("reserved_0", c_int32),
        ("reserved_1", c_uint8 * 8),
        ("reserved_2", c_uint8 * 8),
        ("border_params", c_int32 * 4),
        ("interpolation", c_int32),
        ("geom_border_type", c_int32),
        ("geom_border_value", c_int32),
        ("geom_border_value_ptr", c_void_p),
        ("nonzero_count", c_void_p),
        ("reserved_3", c_uint64 * 4),
        ("reserved_4", c_int32 * 2),
        ("kernel_size", c_int32),
        ("kernel_height", c_int32),
        ("kernel_width", c_int32),
        ("morph_shape", c_int32),
        ("morph_type", c_int32),
        ("border_type", c_int32),
        ("border_value", c_int32),
        ("iterations", c_int32),
        ("reserved_5", c_int32 * 2),
        ("abs_output", c_int32),
        ("reserved_6", c_int32 * 2),
        ("reserved_7", c_uint8 * 20),
        ("scale", c_double),
        ("delta", c_double),
        ("kernel", c_void_p),
        ("reserved_8", c_uint64 * 2),
        ("anchor", c_void_p),
        ("reserved_9", c_uint64),
        ("mean_out", c_void_p),
        ("std_out", c_void_p),
        ("mean_value", c_float),
        ("std_value", c_float),
        ("mean", c_void_p),
        ("std", c_void_p),
        ("reorder", c_int32),
        ("reserved_10", c_int32),
        ("reserved_11", c_uint64),
        ("affine_angle", c_double),
        ("affine_scale", c_double),
        ("reserved_12", c_int32),
        ("reserved_13", c_uint8 * 44),
        ("abs_scale", c_double),
        ("offset", c_double),
        ("reserved_14", c_uint64 * 2),
        ("reserved_15", c_int32 * 2),
        ("hist_dims", c_int32),
        ("hist_size", c_int32 * 4),
        ("hist_channels", c_int32 * 4),
        ("hrange_max", c_int32 * 4),
        ("hrange_min", c_int32 * 4),
        ("reserved_16", c_int32),
        ("thresh", c_void_p),
        ("maxval", c_double),
        ("thresh_type", c_int32),
        ("reserved_17", c_int32),
        ("reserved_18", c_uint8 * 32),
        ("reserved_19", c_uint8 * 32),
        ("reserved_20", c_uint8 * 24),
        ("reserved_21", c_uint8 * 8),
        ("reserved_22", c_int32 * 2),
        ("reserved_23", c_uint64 * 5),
        ("fuse_overlap", c_int32),
        ("fuse_direction", c_int32),
        ("reserved_24", c_uint8 * 56),
        ("fuse_weights", c_void_p),
        ("reserved_25", c_uint8 * 48),
    ]


class TamixConfig(ctypes.Structure):
    """Configuration of an instance."""

    _fields_ = [
        ("runtime", c_int32),
        ("perf_level", c_int32),
        ("device_option", c_int32),
        ("log_level", c_int32),
        ("reserved_0", c_int32 * 2),
        ("use_intermediate_buffer", c_int32),
        ("num_threads", c_int32),
        ("gpu_prior", c_int32),
        ("device_flag", c_int32),
        ("device_handle", c_void_p),
        ("device_settings", c_int32 * 24),
    ]


# Settings that are addresses: element type, and whether the library writes them (kernel: the structuring element does).
POINTERS = {
    "geom_border_value_ptr": (c_uint8, False),
    "nonzero_count": (c_uint32, True),
    "kernel": (c_uint8, False),
    "mean_out": (c_float, True),
    "std_out": (c_float, True),
    "mean": (c_float, False),
    "std": (c_float, False),
    "thresh": (c_double, True),
    "fuse_weights": (c_float, False),
}

SETTINGS = frozenset(
    name
    for name, *_ in TamixParams._fields_
    if not name.startswith("reserved") and name not in ("input", "output", "anchor")
)


def load() -> ctypes.CDLL:
    """Loads the library that TAMIX_CAMERA_LIBRARY names, or the installed one."""
    path = os.environ.get("TAMIX_CAMERA_LIBRARY") or ctypes.util.find_library("tamix_camera")
    if path is None:
        raise ImportError("libtamix_camera was not found: install it, or name it in TAMIX_CAMERA_LIBRARY")
    library = ctypes.CDLL(path)
    pointer = ctypes.POINTER
    for name, result, arguments in (
        ("initTamix", c_int32, [pointer(c_void_p), pointer(TamixConfig)]),
        ("initTamixConfig", None, [pointer(TamixConfig)]),
        ("initTamixParams", None, [pointer(TamixParams)]),
        ("registTamixOperator", c_int32, [c_void_p, c_int32]),
        ("runTamix", c_int32, [c_void_p, c_int32, pointer(TamixParams)]),
        ("getTamixVersion", ctypes.c_char_p, []),
        ("releaseTamix", c_int32, [pointer(c_void_p)]),
    ):
        function = getattr(library, name)
        function.restype = result
        function.argtypes = arguments
    return library
