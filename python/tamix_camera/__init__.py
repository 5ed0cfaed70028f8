"""Tamix Camera for NumPy: classic image operators on arrays where they are, without copies.

    import numpy as np
    import tamix_camera as tc

    frame = tc.Image.nv21(luma, chroma)             # (height, width) and (height / 2, width / 2, 2) bytes
    small = tc.resize_to_color(frame, (640, 360))   # an RGB array
    edges = tc.laplacian_filter(tc.color_to_gray(small))

`Camera.run` runs any operator with any settings of the C interface's records; the functions cover the common ones.
"""

from ._camera import Camera, ImageLike, TamixError, version
from ._functions import *  # noqa: F403
from ._images import Image
from ._library import (
    Border,
    Format,
    Interpolation,
    MorphShape,
    MorphType,
    Operator,
    Status,
    TamixConfig,
    TamixImage,
    TamixParams,
    Thresh,
    Type,
)

__version__ = "2.0.1"
