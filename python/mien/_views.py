"""Arrays that are views of memory owned by a handle of the C library. Nothing is copied."""

from __future__ import annotations

import ctypes
from typing import Any, Optional, Tuple

import numpy as np


class _Memory:
    """The memory's description for NumPy. Each array keeps this object, and so the owner, alive."""

    __slots__ = ("__array_interface__", "owner")

    def __init__(self, interface: "dict[str, Any]", owner: object) -> None:
        self.__array_interface__ = interface
        self.owner = owner


def view(owner: object, address: Optional[int], shape: Tuple[int, ...], dtype: "np.dtype[Any]",
         strides: Optional[Tuple[int, ...]] = None) -> "np.ndarray[Any, np.dtype[Any]]":
    """A read-only array at an address. It keeps `owner`, which owns the memory, alive; `strides` are in bytes."""
    if not address or 0 in shape:
        empty = np.empty(shape, dtype)
        empty.flags.writeable = False
        return empty
    interface = {"version": 3, "shape": shape, "typestr": dtype.str, "data": (address, True), "strides": strides}
    return np.asarray(_Memory(interface, owner))


def address_of(pointer: "ctypes._Pointer[Any]") -> Optional[int]:
    """The address in a ctypes pointer; None if it is null."""
    return ctypes.cast(pointer, ctypes.c_void_p).value
