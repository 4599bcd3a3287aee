"""Performers: where the markers are on the face, the neutral face, and the performer's own ranges."""

from __future__ import annotations

import ctypes
import json
import os
from dataclasses import dataclass
from typing import Any, Callable, Iterable, List, Mapping, Optional, Tuple, Union

from ._calls import (Errors, Handle, OptionValue, Owner, Path, ProgressFunction, Work, created, decoded, encoded,
                     encoded_path, names_of, notes, settings, taken_text)
from ._library import Range as RangeStruct, lib
from .errors import Note, misuse
from .take import Take, open_take

JsonSource = Union[str, bytes, Mapping[str, Any]]
"""The text of a JSON file, or the object that Python's json module reads from it."""


@dataclass(frozen=True)
class Range:
    """The range of one template, as calibration found it.

    ``low`` and ``high`` are the weights that read 0 and 1; ``seen`` counts the blinks or poses that they were measured
    on. A range that is not ``trusted`` is not applied; ``why`` gives the reason.
    """

    name: str
    low: float
    high: float
    seen: int
    trusted: bool
    why: str


class Performer(Owner):
    """The markers of a face and what they drive; optionally, the neutral face and the performer's own ranges."""

    @staticmethod
    def load(name_or_path: Path) -> Performer:
        """A built-in performer (see `performers`) or a performer file. Raises `FileError`, `InputError`."""
        errors = Errors()
        return _performer(errors, lib.performer_load(encoded_path(name_or_path, "performer"), errors))

    @staticmethod
    def from_json(source: JsonSource, *, name: str = "performer") -> Performer:
        """The content of a performer file. `name` is its name in messages. Raises `InputError`."""
        text, errors = json_bytes(source), Errors()
        return _performer(errors, lib.performer_from_json(text, len(text), encoded(name, "name"), errors))

    @staticmethod
    def guess(take: Take, *, progress: Optional[ProgressFunction] = None, **options: OptionValue) -> Performer:
        """Proposes a performer for the unknown markers of a take, as ``mien performer --guess`` does.

        `notes` say what was found and what is uncertain. Options: neutral, name. Raises `InputError`.
        """
        handle, chosen, errors = open_take(take), settings("calibrate", options), Errors()
        with Work(progress) as work:
            pointer = lib.performer_guess(handle, chosen, work.progress, errors)
        return _performer(errors, pointer)

    def with_neutral(self, take: Take, *, progress: Optional[ProgressFunction] = None,
                     **options: OptionValue) -> Performer:
        """This performer with the neutral face of a take, as ``mien performer`` saves it.

        Options: neutral="1-10" (frames; by default found in the take), head_fit, name. Raises `InputError`.
        """
        handle, own, chosen, errors = open_take(take), self._open, settings("calibrate", options), Errors()
        with Work(progress) as work:
            pointer = lib.performer_with_neutral(own, handle, chosen, work.progress, errors)
        return _performer(errors, pointer)

    @property
    def name(self) -> str:
        """The performer's name."""
        handle = self._open
        return decoded(lib.performer_name(handle))

    @property
    def markers(self) -> Tuple[str, ...]:
        """The markers that a take must have."""
        handle = self._open
        return names_of(lib.performer_marker_count(handle), lambda i: lib.performer_marker(handle, i))

    @property
    def ranges(self) -> Tuple[Range, ...]:
        """The ranges that calibration found; empty for a performer that was not calibrated."""
        handle = self._open
        found = []
        for i in range(lib.performer_range_count(handle)):
            one = RangeStruct(struct_size=ctypes.sizeof(RangeStruct))
            lib.performer_range(handle, i, ctypes.byref(one))
            found.append(Range(decoded(one.name), one.low, one.high, one.seen, one.trusted != 0, decoded(one.why)))
        return tuple(found)

    @property
    def notes(self) -> Tuple[Note, ...]:
        """Notes from reading or measuring this performer."""
        handle = self._open
        return notes(lib.performer_notes(handle))

    def to_json(self) -> str:
        """The text of a performer file."""
        handle, errors = self._open, Errors()
        return taken_text(created(errors, lib.performer_to_json(handle, errors))).decode("utf-8")

    def __repr__(self) -> str:
        if self.closed:
            return "<mien.Performer, closed>"
        return f'<mien.Performer "{self.name}": {len(self.markers)} markers>'


def performers() -> Tuple[str, ...]:
    """The names of the built-in performers."""
    return built_in(lib.performer_built_in)


def calibrate(takes: Union[Take, Iterable[Take]], performer: Union[Performer, Path], *,
              progress: Optional[ProgressFunction] = None, **options: OptionValue) -> Performer:
    """Makes a performer with the neutral face and the ranges that takes show, as ``mien calibrate`` does.

    takes: one or more, of one person with the same markers. With the option poses, the first is a guided take.
    performer: the performer with these markers.

    Options: see ``mien.options("calibrate")``: poses (a table's path), name, neutral, ... Raises `InputError`, also
    if no range is trusted. `Performer.ranges` of the result has what was found.
    """
    chosen_takes: List[Any] = [takes] if isinstance(takes, (Take, str, bytes, os.PathLike)) else list(takes)
    if not chosen_takes:
        raise misuse("there is no take", "pass at least one", "takes")
    handles = [open_take(take, "takes") for take in chosen_takes]
    pointers = (ctypes.c_void_p * len(handles))(*(handle._as_parameter_ for handle in handles))
    own, chosen, errors = performer_of(performer)._open, settings("calibrate", options), Errors()
    with Work(progress) as work:
        pointer = lib.performer_calibrate(own, pointers, len(handles), chosen, work.progress, errors)
    return _performer(errors, pointer)


def performer_of(performer: Union[Performer, Path]) -> Performer:
    return performer if isinstance(performer, Performer) else Performer.load(performer)


def built_in(name: Callable[[int], Optional[bytes]]) -> Tuple[str, ...]:
    """All names up to the first None."""
    names: List[str] = []
    while (text := name(len(names))) is not None:
        names.append(decoded(text))
    return tuple(names)


def json_bytes(source: JsonSource) -> bytes:
    if isinstance(source, bytes):
        return source
    if not isinstance(source, str):
        source = json.dumps(source, ensure_ascii=False)
    return source.encode("utf-8", "surrogatepass")


def _performer(errors: Errors, pointer: Optional[int]) -> Performer:
    return Performer()._adopt(created(errors, pointer), lib.performer_free)
