"""Frame by frame, as markers arrive."""

from __future__ import annotations

import ctypes
import threading
from typing import Mapping, NoReturn, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._calls import Errors, OptionValue, Owner, Path, Rate, array_of, created, names_of, parsed_rate, settings
from ._library import (CLUSTER_NAMES, CLUSTER_PART_NAMES, FACE_PART_NAMES, FRAME_EYES, FRAME_HEAD, FRAME_HEAD_MOTION,
                       FRAME_KNOWN, FRAME_LOCAL_TRANSLATIONS, FRAME_RESIDUALS, FRAME_SHAPE_WEIGHTS, FRAME_WEIGHTS,
                       SHAPE_NAMES, TEMPLATE_NAMES, lib)
from ._values import Values
from .animation import Clusters, Transforms
from .character import Character, character_of
from .performer import Performer, performer_of
from .take import Take, open_take


class SolvedFrame:
    """The result for a frame. All arrays are views of the `Solver`'s memory: the next frame overwrites them."""

    weights: NDArray[np.float64]
    """(templates,): the columns are `Solver.template_names`."""
    shapes: NDArray[np.float64]
    """(shapes,): the columns are `Solver.shape_names`."""
    head: NDArray[np.float64]
    """(4, 4): like a frame of `Animation.heads`."""
    head_motion: NDArray[np.float64]
    """(4, 4): like a frame of `Animation.head_motion`."""
    eyes: NDArray[np.float64]
    """(2, 2): like a frame of `Animation.eyes`; NaN if the performer has no irises."""
    residuals: NDArray[np.float64]
    """(9,): for each part in `Solver.part_names`, how far its markers are from what the weights reproduce, in mm."""
    clusters: Clusters
    """The character's clusters."""
    _known: NDArray[np.uint8]

    __slots__ = ("weights", "shapes", "head", "head_motion", "eyes", "residuals", "clusters", "_known")

    @property
    def head_known(self) -> bool:
        """Whether this frame's markers show the head; otherwise it keeps its last pose."""
        return bool(self._known[0])

    @property
    def eyes_known(self) -> bool:
        """Whether this frame's markers show where the eyes look; otherwise they keep their direction for half a second,
        and then look straight ahead."""
        return bool(self._known[1])

    def copy(self) -> SolvedFrame:
        """A copy with its own arrays, which later frames do not change."""
        own = SolvedFrame()
        for name in ("weights", "shapes", "head", "head_motion", "eyes", "residuals", "_known"):
            setattr(own, name, getattr(self, name).copy())
        local, world = (Transforms(t.translations.copy(), t.rotations.copy(), t.scales.copy())
                        for t in (self.clusters.local, self.clusters.world))
        own.clusters = Clusters(self.clusters.names, self.clusters.parts, local, world)
        return own


class Solver(Owner):
    """Solves frames as they arrive, without later frames: markers in, weights out. A frame is, to the bit, that of
    `solve` with ``causal=True`` and ``neutral_take``.

    performer: a performer, the name of a built-in one, or the path of a performer file.
    character: the same for the character; without one, frames have weights of templates and no shapes.
    take: a recording with the same markers. Required if the performer has no neutral face, which is then found in the
        take. It also shows how the markers move with the skull.
    rate: frames per second, for frames that are solved without a time. The default is the take's rate, or 60.

    Options are those of a causal solve, see ``mien.options("solve")``: solver, hold, fade, face_hold, face_fade,
    one_euro, ... Those that need later frames (smooth, fill, ...) or other frames (output_rate, learn) have no effect.
    Raises `InputError`.

    One frame is solved at a time: threads that share a solver wait for each other.
    """

    def __init__(self, performer: Union[Performer, Path], character: Union[None, Character, Path] = None, *,
                 take: Optional[Take] = None, rate: Optional[Rate] = None, **options: OptionValue) -> None:
        who, whom, errors = performer_of(performer), character_of(character), Errors()
        chosen = settings("solve", options)
        handles = who._open, None if take is None else open_take(take), None if whom is None else whom._open
        if rate is None and take is not None:
            rate = take.rate
        self._step = float(1 / parsed_rate(60 if rate is None else rate))
        self._adopt(created(errors, lib.frame_solver_new(*handles, chosen, errors)), lib.frame_solver_free)
        handle = self._open
        self._markers = names_of(lib.frame_solver_marker_count(handle), lambda i: lib.frame_solver_marker(handle, i))
        self._values = Values(self._markers, (3,), "points")
        self._address = self._values.address
        self._count = len(self._markers)
        self._errors = ctypes.c_void_p()
        self._errors_address = ctypes.byref(self._errors)
        self._time = -self._step
        self._lock = threading.Lock()
        self._frame = self._views()

    @property
    def markers(self) -> Tuple[str, ...]:
        """The markers that `solve` takes, in their order."""
        return self._markers

    @property
    def template_names(self) -> Tuple[str, ...]:
        """The columns of `SolvedFrame.weights`, such as "Mouth.Open"."""
        return self._names(TEMPLATE_NAMES)

    @property
    def shape_names(self) -> Tuple[str, ...]:
        """The columns of `SolvedFrame.shapes`; empty without a character."""
        return self._names(SHAPE_NAMES)

    @property
    def part_names(self) -> Tuple[str, ...]:
        """The nine parts of the face, in the order of `SolvedFrame.residuals`."""
        return self._names(FACE_PART_NAMES)

    @property
    def frame(self) -> SolvedFrame:
        """The last frame; before the first one, the neutral face. It is always the same object."""
        self._open
        return self._frame

    def solve(self, points: "Union[ArrayLike, Mapping[str, Sequence[float]]]",
              time: Optional[float] = None) -> SolvedFrame:
        """Solves a frame and returns `frame`.

        points: (markers, 3), millimetres, in the order of `markers`, NaN for one that is not seen; or a mapping of
            names to three numbers, in which a marker that is not seen is missing or None. Other names are ignored.
            Such a marker keeps its place for a moment and then fades to rest.
        time: seconds, later than the previous frame. The default is the previous time plus one step of the rate.

        Raises `InputError` for a wrong shape, an infinite position, or a time that is not later; `frame` then does not
        change.
        """
        handle = self._open
        with self._lock:
            self._values.take(points)
            if time is None:
                time = self._time + self._step
            if lib.frame_solver_solve(handle, self._address, self._count, time, self._errors_address):
                self._fail()
            self._time = time
            return self._frame

    def __repr__(self) -> str:
        return "<mien.Solver, closed>" if self.closed else f"<mien.Solver of {len(self._markers)} markers>"

    def _fail(self) -> NoReturn:
        raise Errors(self._errors).exception()

    def _views(self) -> SolvedFrame:
        handle, frame = self._open, SolvedFrame()
        for name, which in (("weights", FRAME_WEIGHTS), ("shapes", FRAME_SHAPE_WEIGHTS), ("head", FRAME_HEAD),
                            ("head_motion", FRAME_HEAD_MOTION), ("eyes", FRAME_EYES), ("residuals", FRAME_RESIDUALS),
                            ("_known", FRAME_KNOWN)):
            setattr(frame, name, array_of(lib.frame_solver_get_array, handle, which))
        arrays = [array_of(lib.frame_solver_get_array, handle, FRAME_LOCAL_TRANSLATIONS + i) for i in range(6)]
        frame.clusters = Clusters(self._names(CLUSTER_NAMES), self._names(CLUSTER_PART_NAMES), Transforms(*arrays[:3]),
                                  Transforms(*arrays[3:]))
        return frame

    def _names(self, which: int) -> Tuple[str, ...]:
        handle = self._open
        return names_of(lib.frame_solver_name_count(handle, which), lambda i: lib.frame_solver_name(handle, which, i))
