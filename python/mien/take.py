"""Recordings of markers."""

from __future__ import annotations

import ctypes
import os
from dataclasses import dataclass
from fractions import Fraction
from typing import IO, Any, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._calls import (Errors, Handle, OptionValue, Owner, Path, ProgressFunction, Rate, Work, array_of, bytes_of, checked,
                     created, decoded, encoded, encoded_list, encoded_path, names_of, notes, parsed_rate, rate_of,
                     settings, taken_text)
from ._library import (TAKE_AXES, TAKE_FILE, TAKE_FLAVOUR, TAKE_FORMAT, TAKE_FRAMES, TAKE_NAME, TAKE_ORIGINS,
                       TAKE_POSITIONS, TAKE_TIMECODE, TAKE_TIMES, TAKE_UNIT, Event as EventStruct, TakeArrays, lib)
from .errors import Note, misuse

Source = Union[Path, bytes, bytearray, memoryview, IO[bytes], IO[str]]
"""A file: its path, its bytes, or an open file, which is read to its end."""

GAP, MEASURED, COMPUTED = range(3)
"""The values of `Take.origins`."""


@dataclass(frozen=True)
class Event:
    """A named moment of a recording: its time in seconds, on the clock of `Take.times`."""

    time: float
    label: str


@dataclass(frozen=True)
class Gap:
    """Consecutive frames in which a marker has no position.

    ``start`` and ``stop`` are indices as in a slice: the positions in the gap are
    ``take.positions[gap.start:gap.stop, gap.marker_index]``. ``first`` and ``last`` are the numbers of its frames.
    """

    marker: str
    marker_index: int
    start: int
    stop: int
    first: int
    last: int


class Take(Owner):
    """A recording of markers, in millimetres. It does not change.

    Arrays are views of the take's own memory: nothing is copied, they cannot be written, and they stay valid after the
    take is closed. The axes are the file's, made right-handed; a performer says which way the face looks.

    Any number of threads may use a take at once.
    """

    @staticmethod
    def from_arrays(positions: ArrayLike, markers: Sequence[str], *, rate: Optional[Rate] = None,
                    times: Optional[ArrayLike] = None, frames: Optional[ArrayLike] = None, name: str = "take",
                    timecode: Optional[str] = None) -> Take:
        """Makes a take from an array of positions, which is copied.

        positions: (frames, markers, 3), millimetres, x, y and z of right-handed axes; a position with a NaN, or one
            that a masked array masks, is a gap. Other lengths than millimetres must be converted first.
        markers: their names, all different.
        rate: frames per second. Needed unless there are times.
        times: (frames,), seconds, rising. By default, frame number 1 is at 0 s.
        frames: (frames,), the frames' numbers, whole and rising. By default 1, 2, 3, ...
        name: for titles and messages.
        timecode: of the first frame, as "10:02:59:29@30".

        Raises `InputError` where these do not fit each other. Infinite positions, and those beyond a kilometre, become
        gaps, with a note.
        """
        values = doubles(positions, "positions")
        if values.ndim != 3 or values.shape[2] != 3:
            raise misuse(f"the array has the shape {values.shape}", "pass frames x markers x 3", "positions")
        names = encoded_list(markers, "markers")
        if len(names) != values.shape[1]:
            raise misuse(f"there are {len(names)} names for {values.shape[1]} markers of the positions",
                         "pass a name for each marker", "markers")
        clock = Clock(values.shape[0], rate, times, frames, timecode)
        struct = TakeArrays(
            struct_size=ctypes.sizeof(TakeArrays), name=encoded(name, "name"), markers=names,
            marker_count=len(names), frame_count=values.shape[0], positions=values.ctypes.data,
            frame_stride=values.strides[0], marker_stride=values.strides[1], axis_stride=values.strides[2],
            rate_numerator=clock.numerator, rate_denominator=clock.denominator,
            frame_numbers=clock.numbers_address, times=clock.times_address, timecode=clock.timecode)
        errors = Errors()
        return Take()._adopt(created(errors, lib.take_from_arrays(ctypes.byref(struct), errors)), lib.take_free)

    @property
    def positions(self) -> NDArray[np.float64]:
        """(frames, markers, 3): millimetres; NaN in gaps."""
        return array_of(lib.take_get_array, self._open, TAKE_POSITIONS)

    @property
    def origins(self) -> NDArray[np.uint8]:
        """(frames, markers): 0 for a gap, 1 measured, 2 computed by the program that wrote the file."""
        return array_of(lib.take_get_array, self._open, TAKE_ORIGINS)

    @property
    def frames(self) -> NDArray[np.int64]:
        """(frames,): each frame's number in the file. Numbers increase, need not start at 1, and may have gaps."""
        return array_of(lib.take_get_array, self._open, TAKE_FRAMES)

    @property
    def times(self) -> NDArray[np.float64]:
        """(frames,): seconds. Times increase and need not start at 0."""
        return array_of(lib.take_get_array, self._open, TAKE_TIMES)

    @property
    def markers(self) -> Tuple[str, ...]:
        """The markers' names, in the order of the positions."""
        handle = self._open
        return names_of(lib.take_marker_count(handle), lambda i: lib.take_marker(handle, i))

    @property
    def rate(self) -> Optional[Fraction]:
        """Frames per second, such as Fraction(30000, 1001); None if it is unknown."""
        return rate_of(lib.take_rate, self._open)

    @property
    def timecode(self) -> Optional[str]:
        """The timecode of the first frame, such as "10:02:59:29@30"; None if the file has none."""
        return self._text(TAKE_TIMECODE) or None

    @property
    def name(self) -> str:
        """The file's name without its folder and ending."""
        return self._text(TAKE_NAME)

    @property
    def file(self) -> str:
        """The file's path as it was given."""
        return self._text(TAKE_FILE)

    @property
    def format(self) -> str:
        """The file's format, such as "C3D"."""
        return self._text(TAKE_FORMAT)

    @property
    def flavour(self) -> str:
        """The kind of that format, such as "Intel, float"; may be empty."""
        return self._text(TAKE_FLAVOUR)

    @property
    def unit(self) -> str:
        """The unit of lengths in the file, such as "m". Positions are always in millimetres."""
        return self._text(TAKE_UNIT)

    @property
    def axes(self) -> str:
        """What the file says about its axes, such as "+y up, ..."; may be empty."""
        return self._text(TAKE_AXES)

    @property
    def events(self) -> Tuple[Event, ...]:
        """Named moments, in order of time."""
        handle = self._open
        found = []
        for i in range(lib.take_event_count(handle)):
            event = EventStruct(struct_size=ctypes.sizeof(EventStruct))
            lib.take_event(handle, i, ctypes.byref(event))
            found.append(Event(event.time, decoded(event.label)))
        return tuple(found)

    @property
    def notes(self) -> Tuple[Note, ...]:
        """What the reader noticed or corrected."""
        handle = self._open
        return notes(lib.take_notes(handle))

    @property
    def gaps(self) -> Tuple[Gap, ...]:
        """All gaps, by marker and then by time. Each use searches for them again."""
        missing, frames, found = self.origins == GAP, self.frames, []
        for index, marker in enumerate(self.markers):
            if not missing[:, index].any():
                continue
            edges = np.flatnonzero(np.diff(missing[:, index], prepend=False, append=False))
            for start, stop in edges.reshape(-1, 2).tolist():
                found.append(Gap(marker, index, start, stop, int(frames[start]), int(frames[stop - 1])))
        return tuple(found)

    def write(self, path: Path, *, progress: Optional[ProgressFunction] = None,
              **options: OptionValue) -> Tuple[Note, ...]:
        """Writes the take as .c3d, .trc or .csv, by the path's ending: the whole file or none.

        Options are those of ``mien convert``, see ``mien.options("convert")``: frames, markers, timecode.
        Returns notes on what the format cannot hold. Raises `FileError`, `InputError`.
        """
        handle, errors, lost = self._open, Errors(), Errors()
        chosen = settings("convert", options)
        with Work(progress) as work:
            status = lib.take_write(handle, encoded_path(path), chosen, work.progress, lost, errors)
        checked(errors, status)
        return lost.notes()

    def to_bytes(self, ending: str, **options: OptionValue) -> bytes:
        """What `write` would write to a file with this ending, such as ".c3d"."""
        handle, errors = self._open, Errors()
        chosen = settings("convert", options)
        return taken_text(created(errors, lib.take_write_memory(handle, encoded(ending, "ending"), chosen, None,
                                                                errors)))

    def __len__(self) -> int:
        """The number of frames."""
        return len(self.frames)

    def __repr__(self) -> str:
        if self.closed:
            return "<mien.Take, closed>"
        return f'<mien.Take "{self.name}": {len(self)} frames of {len(self.markers)} markers, {self.rate} Hz>'

    def _text(self, which: int) -> str:
        handle = self._open
        return decoded(lib.take_get_text(handle, which))


def read(source: Source, *, name: Optional[str] = None, progress: Optional[ProgressFunction] = None,
         **options: OptionValue) -> Take:
    """Reads a take: C3D, TRC, landmarks or markers as CSV or JSON. The content determines the format, not the name.

    source: a path, the bytes of a file, or an open file.
    name: the name for messages and titles, if source is not a path.

    Options are those of ``mien solve`` that concern reading, see ``mien.options("read")``: strict, face, input_rate,
    image, face_width, mirrored. Raises `FileError` and `InputError`.
    """
    chosen, errors = settings("read", options), Errors()
    if isinstance(source, (str, os.PathLike)):
        if name is not None:
            raise misuse("a path needs no name", "leave it out", "name")
        with Work(progress) as work:
            pointer = lib.take_read(encoded_path(source), chosen, work.progress, errors)
    else:
        data, given = content_of(source, name, "take")
        with Work(progress) as work:
            pointer = lib.take_read_memory(data.ctypes.data, data.size, given, chosen, work.progress, errors)
    return Take()._adopt(created(errors, pointer), lib.take_free)


def open_take(take: Take, place: str = "take") -> Handle:
    """The handle of a take that a caller passes. Callers must keep it in a variable while they use it."""
    if not isinstance(take, Take):
        raise TypeError(f"{place} must be a mien.Take, not {type(take).__name__}; mien.read reads a file")
    return take._open


def content_of(source: Any, name: Optional[str], without: str) -> Tuple[NDArray[np.uint8], bytes]:
    """The bytes of a source that is not a path, and its name: that of an open file, otherwise `without`."""
    if hasattr(source, "read"):
        if name is None:
            path = getattr(source, "name", None)
            name = os.fspath(path) if isinstance(path, (str, os.PathLike)) and path else without
        source = source.read()
        if isinstance(source, str):
            source = source.encode("utf-8", "surrogateescape")
    if isinstance(source, np.ndarray) and source.dtype.itemsize != 1:
        raise misuse("this is an array of numbers, not the bytes of a file",
                     "make a take with Take.from_arrays" if without == "take" else "pass (weights, names, times)",
                     without)
    return bytes_of(source, without), encoded(without if name is None else name, "name")


def doubles(values: ArrayLike, place: str) -> NDArray[np.float64]:
    """An array of doubles for the library; a copy only if necessary. Masked values become NaN."""
    if isinstance(values, np.ma.MaskedArray):
        values = np.where(values.mask, np.nan, values.data)
    try:
        array = np.asarray(values)
        if array.dtype.kind not in "fiub":
            raise ValueError(f"the elements are {array.dtype}")
        array = np.require(array, np.float64, ["ALIGNED"])
    except (TypeError, ValueError, OverflowError) as fault:
        raise misuse(f"this is not an array of numbers: {fault}", "pass real numbers", place) from fault
    if 0 in array.strides:  # broadcast; the library reads a stride of 0 as that of consecutive doubles
        array = np.ascontiguousarray(array)
    return array


class Clock:
    """The rate, times and numbers of a program's frames, checked and in the form that the library reads."""

    def __init__(self, count: int, rate: Optional[Rate], times: Optional[ArrayLike], frames: Optional[ArrayLike],
                 timecode: Optional[str]) -> None:
        if rate is None and times is None:
            raise misuse("neither a rate nor times are given", "pass rate=60, for example", "rate")
        exact = Fraction(0) if rate is None else parsed_rate(rate)
        self.numerator, self.denominator = exact.numerator, exact.denominator
        self._times = None if times is None else self._column(doubles(times, "times"), count, "times")
        self._numbers = None
        if frames is not None:
            numbers = np.asarray(frames)
            if numbers.dtype.kind not in "iu" or (numbers.size and int(numbers.max()) > 2**63 - 1):
                raise misuse("frame numbers must be whole", "pass integers of at most 64 bits", "frames")
            self._numbers = self._column(numbers.astype(np.int64), count, "frames")
        self.times_address = None if self._times is None else self._times.ctypes.data
        self.numbers_address = None if self._numbers is None else self._numbers.ctypes.data
        self.timecode = None if timecode is None else encoded(timecode, "timecode")

    @staticmethod
    def _column(values: Any, count: int, place: str) -> Any:
        if values.shape != (count,):
            raise misuse(f"the array has the shape {values.shape}", f"pass ({count},), one for each frame", place)
        return np.ascontiguousarray(values)
