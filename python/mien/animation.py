"""Solved takes and retargeted weights."""

from __future__ import annotations

import ctypes
import json
import os
import threading
from dataclasses import dataclass
from fractions import Fraction
from typing import IO, TYPE_CHECKING, Any, Dict, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._calls import (Errors, Handle, OptionValue, Owner, Path, ProgressFunction, Rate, Work, array_of, checked,
                     created, decoded, encoded, encoded_list, encoded_path, names_of, notes, rate_of, settings,
                     taken_text)
from ._library import (ANIMATION_CHARACTER, ANIMATION_EYES, ANIMATION_FRAMES, ANIMATION_HEAD_MOTION, ANIMATION_HEADS,
                       ANIMATION_LOCAL_TRANSLATIONS, ANIMATION_NEUTRAL, ANIMATION_PERFORMER, ANIMATION_REPORT,
                       ANIMATION_SHAPE_WEIGHTS, ANIMATION_TAKE, ANIMATION_TIMECODE, ANIMATION_TIMES,
                       ANIMATION_WEIGHTS, CLUSTER_NAMES, CLUSTER_PART_NAMES, SHAPE_NAMES, TEMPLATE_NAMES, WeightArrays,
                       lib)
from .character import Character, character_of
from .errors import Note, misuse
from .performer import Performer, performer_of
from .take import Clock, Source, Take, content_of, doubles, read

if TYPE_CHECKING:
    import pandas
    from matplotlib.axes import Axes


@dataclass(frozen=True)
class Transforms:
    """Where clusters are: ``translations`` (..., clusters, 3), ``rotations`` (..., clusters, 3, 3; matrices for column
    vectors) and ``scales`` (..., clusters, 3)."""

    translations: NDArray[np.float64]
    rotations: NDArray[np.float64]
    scales: NDArray[np.float64]


@dataclass(frozen=True)
class Clusters:
    """The clusters of a character: their ``names``, the ``parts`` that they belong to, and where they are, relative to
    the root of their part (``local``) and in the character's space (``world``)."""

    names: Tuple[str, ...]
    parts: Tuple[str, ...]
    local: Transforms
    world: Transforms


class Animation(Owner):
    """A solved take, or retargeted weights: for each frame the weights of the face's templates, the weights of the
    character's shapes, the head, the eyes and the character's clusters. It does not change.

    Arrays are views of the animation's own memory: nothing is copied, they cannot be written, and they stay valid after
    the animation is closed. Matrices are for column vectors, with the translation in the last column.

    Any number of threads may use an animation at once.
    """

    def __init__(self) -> None:
        self._head_motion = threading.Lock()  # computed by the first use

    @property
    def frames(self) -> NDArray[np.int64]:
        """(frames,): each frame's number, as in the take."""
        return self._array(ANIMATION_FRAMES)

    @property
    def times(self) -> NDArray[np.float64]:
        """(frames,): seconds, as in the take."""
        return self._array(ANIMATION_TIMES)

    @property
    def weights(self) -> NDArray[np.float64]:
        """(frames, templates): the weights of the face's templates; 1 is the default face's pose. The columns are
        `template_names`."""
        return self._array(ANIMATION_WEIGHTS)

    @property
    def shapes(self) -> NDArray[np.float64]:
        """(frames, shapes): the weights of the character's shapes, or retargeted weights. The columns are
        `shape_names`."""
        return self._array(ANIMATION_SHAPE_WEIGHTS)

    @property
    def heads(self) -> NDArray[np.float64]:
        """(frames, 4, 4): from a face that looks along +z, x to its left, y up, to its pose in the take, in
        millimetres."""
        return self._array(ANIMATION_HEADS)

    @property
    def head_motion(self) -> NDArray[np.float64]:
        """(frames, 4, 4): the head's motion from the neutral pose, in the axes of the neutral face (x to its left,
        y up, z out of it), in millimetres. Files have this motion."""
        with self._head_motion:
            return self._array(ANIMATION_HEAD_MOTION)

    @property
    def eyes(self) -> Optional[NDArray[np.float64]]:
        """(frames, 2, 2): the yaw (to the performer's left) and the pitch (down) of the left and the right eye, in
        radians; None if the directions of the eyes are unknown."""
        eyes = self._array(ANIMATION_EYES)
        return eyes if len(eyes) else None

    @property
    def clusters(self) -> Clusters:
        """The character's clusters; the first dimension of their arrays is the frames."""
        handle = self._open
        arrays = [array_of(lib.animation_get_array, handle, ANIMATION_LOCAL_TRANSLATIONS + i) for i in range(6)]
        return Clusters(self._names(CLUSTER_NAMES), self._names(CLUSTER_PART_NAMES), Transforms(*arrays[:3]),
                        Transforms(*arrays[3:]))

    @property
    def template_names(self) -> Tuple[str, ...]:
        """The columns of `weights`, such as "Mouth.Open"."""
        return self._names(TEMPLATE_NAMES)

    @property
    def shape_names(self) -> Tuple[str, ...]:
        """The columns of `shapes`, such as "jawOpen"; empty without a character."""
        return self._names(SHAPE_NAMES)

    @property
    def names(self) -> Tuple[str, ...]:
        """The columns of a .csv of this animation: the shapes if there are any, otherwise the templates."""
        return self.shape_names or self.template_names

    @property
    def rate(self) -> Optional[Fraction]:
        """Frames per second, such as Fraction(30000, 1001); None if it is unknown."""
        return rate_of(lib.animation_rate, self._open)

    @property
    def timecode(self) -> Optional[str]:
        """The timecode of the first frame, such as "10:02:59:29@30"; None if there is none."""
        return self._text(ANIMATION_TIMECODE) or None

    @property
    def take(self) -> str:
        """The take's name."""
        return self._text(ANIMATION_TAKE)

    @property
    def performer(self) -> str:
        """The performer's name; empty for retargeted weights."""
        return self._text(ANIMATION_PERFORMER)

    @property
    def character(self) -> str:
        """The character's name; empty without one."""
        return self._text(ANIMATION_CHARACTER)

    @property
    def neutral(self) -> str:
        """How the neutral face was found, in words; empty for retargeted weights."""
        return self._text(ANIMATION_NEUTRAL)

    @property
    def report(self) -> Dict[str, Any]:
        """What was done and how well the weights follow the take: the content of the command's ``--report``."""
        return dict(json.loads(self._text(ANIMATION_REPORT)))

    @property
    def notes(self) -> Tuple[Note, ...]:
        """Notes, such as on the neutral face."""
        handle = self._open
        return notes(lib.animation_notes(handle))

    def write(self, path: Path, *, progress: Optional[ProgressFunction] = None,
              **options: OptionValue) -> Tuple[Note, ...]:
        """Writes the animation as .csv, .json, .glb, .vrm or .vrma, by the path's ending: the whole file or none.

        Options are those of ``mien solve`` that concern the output, see ``mien.options("write")``: templates,
        csv_style, onto (a head's path), head, eyes. Returns notes on what the file lacks. Raises `FileError`,
        `InputError`.
        """
        handle, errors, lacks = self._open, Errors(), Errors()
        chosen = settings("write", options)
        with Work(progress) as work:
            status = lib.animation_write(handle, encoded_path(path), chosen, work.progress, lacks, errors)
        checked(errors, status)
        return lacks.notes()

    def to_bytes(self, ending: str, **options: OptionValue) -> bytes:
        """The bytes that `write` would write to a file with this ending, such as ".glb"."""
        handle, errors = self._open, Errors()
        chosen = settings("write", options)
        return taken_text(created(errors, lib.animation_write_memory(handle, encoded(ending, "ending"), chosen, None,
                                                                     errors)))

    def to_frame(self) -> "pandas.DataFrame":
        """A pandas DataFrame: a row per frame with its number as the index, the column time, and a column for each of
        `names`. The values are copies. Raises ImportError without pandas.
        """
        import pandas

        table = pandas.DataFrame(self.shapes if self.shape_names else self.weights, columns=list(self.names),
                                 index=pandas.Index(self.frames, name="frame"), copy=True)
        table.insert(0, "time", self.times)
        return table

    def plot(self, names: Optional[Sequence[str]] = None, *, axes: "Optional[Axes]" = None) -> "Axes":
        """Draws curves over time with matplotlib and returns its axes.

        names: the curves, from `names`; the default is the six that move most.
        axes: the axes to draw into; the default is new ones.

        Raises `InputError` for an unknown name, ImportError without matplotlib.
        """
        if axes is None:
            import matplotlib.pyplot

            axes = matplotlib.pyplot.figure().add_subplot()
        values, known = (self.shapes if self.shape_names else self.weights), self.names
        if names is None:
            moves = np.ptp(values, axis=0) if len(values) else np.zeros(len(known))
            names = [known[i] for i in np.argsort(-moves, kind="stable")[:6] if moves[i] > 0]
        for name in names:
            if name not in known:
                raise misuse(f'the animation has no curve "{name}"', "choose from animation.names", "names")
            axes.plot(self.times, values[:, known.index(name)], label=name)
        axes.set_xlabel("seconds")
        axes.set_ylabel("weight")
        if len(names):
            axes.legend()
        return axes

    def __len__(self) -> int:
        """The number of frames."""
        return len(self.frames)

    def __repr__(self) -> str:
        if self.closed:
            return "<mien.Animation, closed>"
        onto = f' for "{self.character}"' if self.character else ""
        return f'<mien.Animation of "{self.take}"{onto}: {len(self)} frames of {len(self.names)} weights>'

    def _array(self, which: int) -> "NDArray[Any]":
        return array_of(lib.animation_get_array, self._open, which)

    def _names(self, which: int) -> Tuple[str, ...]:
        handle = self._open
        return names_of(lib.animation_name_count(handle, which), lambda i: lib.animation_name(handle, which, i))

    def _text(self, which: int) -> str:
        handle = self._open
        return decoded(lib.animation_get_text(handle, which))


def solve(take: Union[Take, Source], performer: Union[Performer, Path],
          character: Union[None, Character, Path] = None, *, progress: Optional[ProgressFunction] = None,
          **options: OptionValue) -> Animation:
    """Solves a take, with the same results as ``mien solve``.

    take: a take, or anything that `read` accepts.
    performer: a performer, the name of a built-in one, or the path of a performer file.
    character: the same for the character; without one, the animation has weights of templates and no shapes.

    Options are those of the command, see ``mien.options("solve")``: solver="fit", smooth=6, neutral="1-10",
    no_ranges=True, fill="cubic:0.15,pattern:0.5", output_rate=60, expression={"Smile": 0.2}, ... Raises `FileError` and
    `InputError`.
    """
    source = take if isinstance(take, Take) else read(take)
    who, whom, chosen, errors = performer_of(performer), character_of(character), settings("solve", options), Errors()
    handles = source._open, who._open, None if whom is None else whom._open
    with Work(progress) as work:
        pointer = lib.solve(*handles, chosen, work.progress, errors)
    return _animation(errors, pointer)


def retarget(weights: "Union[Source, Tuple[ArrayLike, Sequence[str], ArrayLike]]",
             character: Union[None, Character, Path] = None, *, name: Optional[str] = None,
             rate: Optional[Rate] = None, progress: Optional[ProgressFunction] = None,
             **options: OptionValue) -> Animation:
    """Puts recorded weights onto a character, or makes an animation of them, as ``mien retarget`` does.

    weights: a file of weights (a path, its bytes or an open file), or a tuple: an array
        (frames, names) with NaN where a weight is missing, the names of its columns, and the frames' times in seconds
        (or None, with a rate).
    character: the character whose shapes the weights drive, through templates; without one, weights keep their names.
    name: the name for messages and titles, if the weights are not a path.
    rate: frames per second of weights in an array; the default follows from their times.

    Options are those of the command, see ``mien.options("retarget")``: map, ranges, landmarks, swap_sides, fade,
    smooth_weights, output_rate, ... Raises `FileError` and `InputError`.
    """
    whom, chosen, errors = character_of(character), settings("retarget", options), Errors()
    onto = None if whom is None else whom._open
    if isinstance(weights, tuple):
        struct, kept = _weight_arrays(weights, name, rate)
        with Work(progress) as work:
            pointer = lib.retarget_arrays(ctypes.byref(struct), onto, chosen, work.progress, errors)
        del kept
        return _animation(errors, pointer)
    if rate is not None:
        raise misuse("a file has its own rate", "pass input_rate for a file that has none", "rate")
    if isinstance(weights, (str, os.PathLike)):
        if name is not None:
            raise misuse("a path needs no name", "leave it out", "name")
        with Work(progress) as work:
            pointer = lib.retarget(encoded_path(weights), onto, chosen, work.progress, errors)
    else:
        data, given = content_of(weights, name, "weights")
        with Work(progress) as work:
            pointer = lib.retarget_memory(data.ctypes.data, data.size, given, onto, chosen, work.progress, errors)
    return _animation(errors, pointer)


def _weight_arrays(weights: Tuple[Any, ...], name: Optional[str], rate: Optional[Rate]) -> Tuple[WeightArrays, object]:
    """The struct, and the objects that must live as long as it is used."""
    if len(weights) != 3:
        raise misuse(f"the tuple has {len(weights)} elements", "pass (weights, names, times)", "weights")
    values, names, clock = doubles(weights[0], "weights"), encoded_list(weights[1], "names"), None
    if values.ndim != 2 or values.shape[1] != len(names):
        raise misuse(f"the array has the shape {values.shape} and there are {len(names)} names",
                     "pass frames x names", "weights")
    clock = Clock(len(values), rate, weights[2], None, None)
    struct = WeightArrays(
        struct_size=ctypes.sizeof(WeightArrays), name=None if name is None else encoded(name, "name"), names=names,
        name_count=len(names), frame_count=len(values), weights=values.ctypes.data, frame_stride=values.strides[0],
        name_stride=values.strides[1], rate_numerator=clock.numerator, rate_denominator=clock.denominator,
        frame_numbers=clock.numbers_address, times=clock.times_address, timecode=clock.timecode)
    return struct, (values, names, clock)


def _animation(errors: Errors, pointer: Optional[int]) -> Animation:
    return Animation()._adopt(created(errors, pointer), lib.animation_free)
