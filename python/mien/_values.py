"""The numbers of a frame, as they are handed to the C library."""

from __future__ import annotations

import ctypes
from typing import Any, Mapping, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from .errors import misuse


class Values:
    """Three coordinates for each marker, or one number for each weight, always at the same address."""

    __slots__ = ("array", "address", "count", "_rows", "_place", "_fix")

    def __init__(self, names: Tuple[str, ...], row: Tuple[int, ...], place: str) -> None:
        """row: the shape of what a name has: (3,) or (). place: the argument's name, for errors."""
        self.array = np.full((len(names), *row), np.nan)
        self.address = ctypes.c_void_p(self.array.ctypes.data)
        self.count = self.array.size
        self._rows = {name: index for index, name in reversed(tuple(enumerate(names)))}
        self._place = place
        self._fix = "pass three numbers, or None" if row else "pass a number, or None"

    def take(self, values: "Union[ArrayLike, Mapping[str, Any]]") -> None:
        """Copies an array of the same shape, or a mapping from names; a name without a value becomes NaN. Raises
        `InputError`."""
        if isinstance(values, Mapping):
            self._fill(values)
            return
        array = values if type(values) is np.ndarray else self._converted(values)
        if array.shape != self.array.shape:
            raise misuse(f"the array has the shape {array.shape}", f"pass {self.array.shape}", self._place)
        try:
            np.copyto(self.array, array, casting="same_kind")
        except TypeError as fault:
            raise misuse(f"the elements are {array.dtype}", "pass real numbers", self._place) from fault

    def _fill(self, values: Mapping[str, Any]) -> None:
        self.array.fill(np.nan)
        rows = self._rows
        for name, value in values.items():
            row = rows.get(name)
            if row is not None and value is not None:
                try:
                    self.array[row] = value
                except (TypeError, ValueError) as fault:
                    raise misuse(f"{name}: {fault}", self._fix, self._place) from fault

    def _converted(self, values: ArrayLike) -> NDArray[np.float64]:
        try:
            return np.asarray(values, np.float64)
        except (TypeError, ValueError) as fault:
            raise misuse(f"this is not an array of numbers: {fault}", f"pass {self.array.shape}",
                         self._place) from fault
