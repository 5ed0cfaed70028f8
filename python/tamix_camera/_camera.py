"""An instance of the library and the call that runs any operator."""

from __future__ import annotations

import ctypes
import math
from collections.abc import Sequence
from ctypes import c_double, c_float, c_int32, c_uint8, c_uint32, c_void_p
from typing import Any, Union

import numpy as np

from ._images import Array, Image
from ._library import POINTERS, SETTINGS, Operator, Status, TamixConfig, TamixParams, load

ImageLike = Union[Image, Array]

_library = load()
_DTYPES = {c_uint8: np.uint8, c_uint32: np.uint32, c_float: np.float32, c_double: np.float64}


class TamixError(RuntimeError):
    """A call that the library refused; the library's log says why. `status` is the library's."""

    def __init__(self, what: str, status: int) -> None:
        name = Status(status).name if status in Status._value2member_map_ else "unknown"
        super().__init__(f"{what}: {name} ({status})")
        self.status = status


def version() -> str:
    """Version and source revision of the library."""
    return str(_library.getTamixVersion().decode())


def _image(image: ImageLike, written: bool) -> Image:
    wrapped = image if isinstance(image, Image) else Image.packed(image)
    if written and not all(plane.flags.writeable for plane in wrapped.planes):
        raise ValueError("an output's memory is read-only")
    return wrapped


def _least_elements(name: str, params: TamixParams) -> int:
    """How many elements the library may take from, or write to, a setting that is an address."""
    if name in ("nonzero_count", "thresh"):
        return 1
    if name == "fuse_weights":
        return int(max(params.fuse_overlap, 0))
    if name == "kernel":
        if params.kernel_height != -1 and params.kernel_width != -1:
            return int(max(params.kernel_height, 0) * max(params.kernel_width, 0))
        return int(3 if params.kernel_size == -1 else max(params.kernel_size, 0)) ** 2
    return int(max(image.channel for image in params.input)) or 1


class Camera:
    """An instance of the library; one thread at a time may use it.

    Unlike the C interface's default, the calling thread stays on the cores it runs on: perf_level 2 binds it to the big ones.
    """

    def __init__(self, *, perf_level: int = -1, num_threads: int = 2, log_level: int = 3) -> None:
        self._handle = c_void_p()
        self._registered: set[int] = set()
        config = TamixConfig()
        _library.initTamixConfig(ctypes.byref(config))
        config.perf_level = perf_level
        config.num_threads = num_threads
        config.log_level = log_level
        status = _library.initTamix(ctypes.byref(self._handle), ctypes.byref(config))
        if status != Status.OK:
            self.close()
            raise TamixError("initTamix", status)

    def close(self) -> None:
        """Releases the instance; it cannot be used afterwards."""
        if self._handle:
            _library.releaseTamix(ctypes.byref(self._handle))
        self._registered.clear()

    def __enter__(self) -> Camera:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_handle"):
            self.close()

    def run(
        self, operator: int, inputs: Sequence[ImageLike] = (), outputs: Sequence[ImageLike] = (), **settings: Any
    ) -> None:
        """Runs any operator. Images are arrays or Images, settings are named as the fields of TamixParams.

        Settings that are addresses take arrays: float32 (means, weights), uint8 (kernel, border value), uint32 (nonzero_count)
        or float64 (thresh); the library writes into those it answers through. Raises TamixError with the library's status.
        """
        if len(inputs) > 4 or len(outputs) > 4:
            raise ValueError("a record has four inputs and four outputs")
        params = TamixParams()
        _library.initTamixParams(ctypes.byref(params))
        images = [_image(image, False) for image in inputs], [_image(image, True) for image in outputs]
        for slots, slot_images in zip((params.input, params.output), images):
            for k, image in enumerate(slot_images):
                slots[k] = image.record()
        kept = self._set(operator, params, settings)
        if operator == Operator.CALC_HIST and images[1]:
            bins = math.prod(max(size, 0) for size in params.hist_size[: max(params.hist_dims, 0)])
            if images[1][0].planes[0].size < bins:
                raise ValueError(f"the histogram needs {bins} bins")
        self._register(operator)
        status = _library.runTamix(self._handle, operator, ctypes.byref(params))
        del kept
        if status != Status.OK:
            raise TamixError(self._name(operator), status)

    @staticmethod
    def _name(operator: int) -> str:
        return Operator(operator).name if operator in Operator._value2member_map_ else f"operator {operator}"

    def _register(self, operator: int) -> None:
        if operator in self._registered:
            return
        status = _library.registTamixOperator(self._handle, operator)
        if status == Status.CREATE_OPERATOR:
            self._registered.clear()  # that dropped the operators registered before
        if status != Status.OK:
            raise TamixError(self._name(operator), status)
        self._registered.add(operator)

    @staticmethod
    def _set(operator: int, params: TamixParams, settings: dict[str, Any]) -> list[Array]:
        """Writes the settings. Returns the arrays that the record points to."""
        kept = []
        for name in sorted(settings, key=lambda name: name in POINTERS):
            value = settings[name]
            if name not in SETTINGS:
                raise TypeError(f"there is no setting {name!r}; there are {', '.join(sorted(SETTINGS))}")
            if name in POINTERS:
                if value is None:
                    continue
                ctype, written = POINTERS[name]
                if name == "kernel":
                    written = operator == Operator.GET_STRUCTURING_ELEMENT
                kept.append(_pointed(name, value, _DTYPES[ctype], written, _least_elements(name, params)))
                setattr(params, name, kept[-1].ctypes.data)
            elif isinstance(getattr(params, name), ctypes.Array):
                for i, item in enumerate(value):
                    getattr(params, name)[i] = int(item)
            else:
                is_whole = dict(TamixParams._fields_)[name] is c_int32
                setattr(params, name, int(value) if is_whole else float(value))
        return kept


def _pointed(name: str, value: Any, dtype: type, written: bool, least: int) -> Array:
    """The array behind a setting that is an address: the caller's own where the library writes it."""
    if written:
        if not isinstance(value, np.ndarray) or value.dtype != dtype or value.size < least:
            raise ValueError(f"{name} takes an array of at least {least} {np.dtype(dtype)}")
        if not value.flags.c_contiguous or not value.flags.writeable:
            raise ValueError(f"{name} takes a contiguous array that may be written")
        return value
    given: Array = np.ascontiguousarray(value, dtype=dtype).ravel()
    if given.size == 1:
        given = np.repeat(given, least)
    if given.size < max(least, 1):
        raise ValueError(f"{name} takes at least {least} numbers")
    return given
