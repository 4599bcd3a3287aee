"""Faces that move now: frames in, weights out."""

from __future__ import annotations

import ctypes
import threading
import time as clock
from dataclasses import dataclass, fields
from typing import Any, Callable, Dict, Mapping, Optional, Sequence, Tuple, Union

import numpy as np
from numpy.typing import ArrayLike, NDArray

from ._calls import (Errors, Handle, OptionValue, Owner, Path, Rate, checked, created, encoded, encoded_list,
                     encoded_path, names_of, parsed_rate, settings)
from ._library import (CLUSTER_NAMES, CLUSTER_PART_NAMES, FACE_PART_NAMES, FRAME_EYES, FRAME_HEAD, FRAME_HEAD_MOTION,
                       FRAME_LOCAL_TRANSLATIONS, FRAME_RESIDUALS, FRAME_SHAPE_WEIGHTS, FRAME_WEIGHTS, LIVE_MARKERS,
                       LIVE_WEIGHTS, OK, SHAPE_NAMES, TEMPLATE_NAMES, Array, LiveFaceStruct, LiveFrameStruct,
                       LiveResult, LiveStatisticsStruct, lib)
from ._values import Values
from ._views import view
from .animation import Clusters, Transforms
from .character import Character, character_of
from .errors import misuse
from .performer import Performer, performer_of
from .take import Take, open_take

VERDICTS = ("used", "paused", "duplicate", "late", "unusable")
_DOUBLE = np.dtype(np.float64)


@dataclass(frozen=True)
class Timecode:
    """A source's timecode: ``count`` frames since midnight at ``rate`` frames per second, and a ``fraction`` of a
    frame. ``drop`` says that it is shown with drop-frame numbers; ``count`` is the count of frames nevertheless."""

    count: int
    rate: Rate
    fraction: float = 0.0
    drop: bool = False


@dataclass(frozen=True, eq=False)  # arrays have no truth value
class LiveFrame:
    """A result: a face at one moment. It has its own arrays, which later frames do not change."""

    face: LiveFace
    frame: int
    """From 1, rising."""
    time: float
    """Seconds, rising: the source's clock if it has one, from 0 at the face's first frame."""
    arrival: float
    """The arrival of the frame that it was made of, in seconds."""
    weights: NDArray[np.float64]
    """(templates,): the columns are `LiveFace.template_names`."""
    shapes: NDArray[np.float64]
    """(shapes,): the columns are `LiveFace.shape_names`."""
    head: NDArray[np.float64]
    """(4, 4): like a frame of `Animation.heads`."""
    head_motion: NDArray[np.float64]
    """(4, 4): like a frame of `Animation.head_motion`."""
    eyes: NDArray[np.float64]
    """(2, 2): like a frame of `Animation.eyes`; NaN if the source never shows where they look."""
    residuals: NDArray[np.float64]
    """(9,): for each part in `LiveFace.part_names`, how far its markers are from what the weights reproduce, in mm; 0
    for weights and while the face is lost."""
    clusters: Clusters
    """The character's clusters."""
    presence: float
    """The share of what was measured in the weights: 1, less while a lost face fades."""
    unseen: int
    """How many markers that the solve uses, or weights, the frame lacks."""
    learning: bool
    """The neutral face is not known yet, and all weights are 0."""
    face_seen: bool
    """Otherwise the face is lost: its last result is held, then fades to rest."""
    head_known: bool
    """Otherwise the head keeps its last pose."""
    eyes_known: bool
    """Otherwise the eyes keep their direction, and then look straight ahead."""


@dataclass(frozen=True)
class LiveStatistics:
    """Counts of a face so far: of frames, unless stated otherwise."""

    received: int
    """From the source."""
    used: int
    """Of these, what the solve got."""
    duplicates: int
    """Left out: at the time of the frame before."""
    late: int
    """Left out: before the frame before."""
    unusable: int
    """Left out: without a usable time."""
    paused: int
    """Left out by `Live.paused`."""
    dropped: int
    """Missing, judged by the times of the others."""
    inserted: int
    """Without the face, while nothing came."""
    sent: int
    """Results."""
    lost: int
    """Used or inserted, without the face."""
    head_unknown: int
    """With the face, but without a known head."""
    poor: int
    """In which the markers of a part are off by more than 5 mm."""
    unseen: int
    """Markers or weights that frames with the face lacked."""
    unusable_numbers: int
    """Positions, weights and angles that are infinite or too large."""
    failed_learnings: int
    """How often frames did not determine a neutral face."""
    source_restarts: int
    """How often the source's clock was reset."""
    rate: float
    """Frames per second of the source now; 0 if unknown."""
    drift_ppm: float
    """How much faster the source's clock is than the arrivals, in parts per million; NaN if unknown."""
    latencies: int
    """How many times `LiveFace.add_latency` was called."""
    latency_median: float
    """Seconds, at most 9 % too large; 0 without latencies."""
    latency_p99: float
    """The 99th percentile, likewise."""
    recording: bool
    """Whether it is being recorded; False as well if a recording ended because a file could not be written."""


class _Session(Owner):
    """The C library's object, which a `Live` and its faces share: no reference leads from a face to its `Live`."""

    _title = "Live"

    def __init__(self) -> None:
        errors = Errors()
        self._adopt(created(errors, lib.live_new(errors)), lib.live_free)
        self.lock = threading.Lock()
        self.errors = ctypes.c_void_p()
        self.errors_address = ctypes.byref(self.errors)
        self.verdict = ctypes.c_int32()
        self.verdict_address = ctypes.byref(self.verdict)
        self._array = Array(struct_size=ctypes.sizeof(Array))
        self._array_address = ctypes.byref(self._array)

    def call(self, function: Callable[..., int], *arguments: Any) -> None:
        errors = Errors()
        with self.lock:
            checked(errors, function(self._open, *arguments, errors))

    def names(self, number: int, which: int) -> Tuple[str, ...]:
        with self.lock:
            handle = self._open
            return names_of(lib.live_name_count(handle, number, which),
                            lambda index: lib.live_name(handle, number, which, index))

    def checked_results(self, handle: Handle, status: int,
                        face_of: Callable[[int], LiveFace]) -> Tuple[LiveFrame, ...]:
        """The results of a call that returned this status. The lock must be held."""
        if status != OK:
            raise Errors(self.errors).exception()
        return tuple([self._result(handle, index, face_of) for index in range(lib.live_result_count(handle))])

    def _result(self, handle: Handle, index: int, face_of: Callable[[int], LiveFace]) -> LiveFrame:
        result = LiveResult(struct_size=ctypes.sizeof(LiveResult))
        lib.live_get_result(handle, index, ctypes.byref(result))
        face = face_of(result.face)
        weights, shapes, head, motion, eyes, residuals = [
            self._copy(handle, index, which) for which in (FRAME_WEIGHTS, FRAME_SHAPE_WEIGHTS, FRAME_HEAD,
                                                           FRAME_HEAD_MOTION, FRAME_EYES, FRAME_RESIDUALS)]
        clusters = face._no_clusters
        if clusters is None:
            names, parts = face._cluster_names
            transforms = [self._copy(handle, index, FRAME_LOCAL_TRANSLATIONS + i) for i in range(6)]
            clusters = Clusters(names, parts, Transforms(*transforms[:3]), Transforms(*transforms[3:]))
        return LiveFrame(face, result.frame, result.time, result.arrival, weights, shapes, head, motion, eyes,
                         residuals, clusters, result.presence, result.unseen, result.learning != 0,
                         result.face_seen != 0, result.head_known != 0, result.eyes_known != 0)

    def _copy(self, handle: Handle, index: int, which: int) -> NDArray[np.float64]:
        array = self._array
        lib.live_get_array(handle, index, which, self._array_address, None)
        n = array.dimensions
        return view(handle, array.data, tuple(array.shape[:n]), _DOUBLE, tuple(array.strides[:n])).copy()


class LiveFace:
    """A face of a `Live`: `Live.add_markers` and `Live.add_weights` make it. After `remove`, its methods raise
    `InputError`; after `Live.close`, `ClosedError`."""

    def __init__(self, session: _Session, number: int, name: str, names: Tuple[str, ...], row: Tuple[int, ...]) -> None:
        self._session, self._number, self._name, self._names = session, number, name, names
        self._values = Values(names, row, "values")
        self._frame = LiveFrameStruct(struct_size=ctypes.sizeof(LiveFrameStruct), face=number,
                                      values=self._values.address, value_count=self._values.count)
        self._angles = {place: np.empty(count) for place, count in (("head", 3), ("head_place", 3), ("eyes", 4))}
        self._is_weights = not row
        self._verdict = ""
        self._removed = False
        self._templates, self._shapes, self._parts = (
            session.names(number, which) for which in (TEMPLATE_NAMES, SHAPE_NAMES, FACE_PART_NAMES))
        self._cluster_names = session.names(number, CLUSTER_NAMES), session.names(number, CLUSTER_PART_NAMES)
        self._no_clusters: Optional[Clusters] = None if self._cluster_names[0] else _NO_CLUSTERS

    @property
    def name(self) -> str:
        """For people."""
        return self._name

    @property
    def names(self) -> Tuple[str, ...]:
        """The markers or weights that `feed` takes, in their order."""
        return self._names

    @property
    def template_names(self) -> Tuple[str, ...]:
        """The columns of `LiveFrame.weights`, such as "Mouth.Open"; empty for weights that keep their names."""
        return self._templates

    @property
    def shape_names(self) -> Tuple[str, ...]:
        """The columns of `LiveFrame.shapes`: the character's, or without one those of a source of weights."""
        return self._shapes

    @property
    def part_names(self) -> Tuple[str, ...]:
        """The nine parts of the face, in the order of `LiveFrame.residuals`."""
        return self._parts

    @property
    def verdict(self) -> str:
        """What became of the last frame: "used"; or "paused", "duplicate" (it had the time of the frame before),
        "late" (its time was before that) or "unusable" (its arrival was not a time), which have no results. Empty
        before the first frame."""
        return self._verdict

    def feed(self, values: "Union[None, ArrayLike, Mapping[str, Any]]", time: Optional[float] = None, *,
             arrival: Optional[float] = None, timecode: Optional[Timecode] = None, head: Optional[ArrayLike] = None,
             head_place: Optional[ArrayLike] = None, eyes: Optional[ArrayLike] = None) -> Tuple[LiveFrame, ...]:
        """Solves a frame and returns its results: one, or with the option ``output_rate`` none or several. A frame that
        is left out has none; `verdict` says why.

        values: for markers (markers, 3), millimetres, right-handed; for weights (weights,). In the order of `names`,
            NaN for what is not seen; or a mapping from names, in which it is missing or None. None: the source does
            not see the face. Infinite and much too large numbers are counted, and missing.
        time: seconds, when the source measured it, by its own clock. The default is the arrival.
        arrival: seconds, when it arrived, by a clock that never falls. The default is now, by ``time.monotonic()``.
        timecode: the source's timecode, which takes precedence over the time.
        head: for weights, (3,): the head's yaw (to its left), pitch (down) and roll (to its right) in radians.
        head_place: for weights, (3,): where the head is, in millimetres from rest: x to its left, y up, z forward.
        eyes: for weights, (2, 2): yaw and pitch of the left and of the right eye in radians.

        Raises `InputError` for a wrong shape; nothing changes then.
        """
        session = self._session
        with session.lock:
            handle, frame = session._open, self._frame
            frame.arrival = clock.monotonic() if arrival is None else arrival
            frame.time = np.nan if time is None else time
            self._set_timecode(timecode)
            frame.lost = values is None
            if values is not None:
                self._values.take(values)
                self._set_angles("head", head)
                self._set_angles("head_place", head_place)
                self._set_angles("eyes", eyes)
            status = lib.live_feed(handle, ctypes.byref(frame), session.verdict_address, session.errors_address)
            results = session.checked_results(handle, status, lambda number: self)
            self._verdict = VERDICTS[session.verdict.value]
            return results

    def neutral_now(self) -> None:
        """Learns the neutral face from the next frames, in which the performer keeps still. Does nothing to weights."""
        self._session.call(lib.live_neutral_now, self._number)

    def switch_performer(self, performer: Union[Performer, Path], take: Optional[Take] = None) -> None:
        """Restarts a face of markers with another performer, and with a take to learn from as in `Live.add_markers`. If
        it raises `InputError`, the face stays as it is."""
        who = performer_of(performer)
        self._session.call(lib.live_switch_performer, self._number, who._open, None if take is None else open_take(take))

    def start_recording(self, place: Path) -> None:
        """Records what comes in and what goes out in PLACE.csv and PLACE.out.csv, and where needed PLACE.neutral.csv
        and PLACE.events.csv. `mien.read` opens PLACE.csv, and with the options ``causal=True`` and those of this face
        `mien.solve` gives PLACE.out.csv. Resets what is held, faded or smoothed.

        place: a path without an ending. Raises `FileError` if a file exists or cannot be written.
        """
        self._session.call(lib.live_start_recording, self._number, encoded_path(place, "place"))

    def stop_recording(self) -> None:
        """Ends the recording; does nothing without one.

        Raises `FileError` if it ended before, because a file could not be written; `LiveStatistics.recording` is False
        from then on.
        """
        self._session.call(lib.live_stop_recording, self._number)

    def mark(self, label: str) -> None:
        """Marks this moment in the recording, if there is one."""
        self._session.call(lib.live_mark, self._number, encoded(label, "label"))

    def add_latency(self, seconds: float) -> None:
        """Adds the time from a frame's arrival to sending its result, which the caller measures, to `statistics`."""
        self._session.call(lib.live_add_latency, self._number, seconds)

    @property
    def statistics(self) -> LiveStatistics:
        """The counts so far."""
        struct = LiveStatisticsStruct(struct_size=ctypes.sizeof(LiveStatisticsStruct))
        with self._session.lock:
            if lib.live_get_statistics(self._session._open, self._number, ctypes.byref(struct)) != OK:
                raise misuse("the face was removed", "use it before remove()", "face")
        values: Dict[str, Any] = {field.name: getattr(struct, field.name) for field in fields(LiveStatistics)}
        return LiveStatistics(**{**values, "recording": struct.recording != 0})

    def remove(self) -> None:
        """Ends the face and its recording."""
        self._session.call(lib.live_remove, self._number)
        self._removed = True

    def __repr__(self) -> str:
        return f"<mien.LiveFace {self._name!r} of {len(self._names)} {'weights' if self._is_weights else 'markers'}>"

    def _set_timecode(self, timecode: Optional[Timecode]) -> None:
        frame = self._frame
        frame.timecode_rate_numerator = 0
        if timecode is not None:
            rate = parsed_rate(timecode.rate)
            frame.timecode, frame.timecode_fraction = timecode.count, timecode.fraction
            frame.timecode_rate_numerator, frame.timecode_rate_denominator = rate.numerator, rate.denominator
            frame.timecode_drop = timecode.drop

    def _set_angles(self, place: str, angles: Optional[ArrayLike]) -> None:
        own = self._angles[place]
        if angles is None:
            setattr(self._frame, place, None)
            return
        if not self._is_weights:
            raise misuse("markers show this themselves", "leave it out", place)
        try:
            given = np.asarray(angles, np.float64)
        except (TypeError, ValueError) as fault:
            raise misuse(f"this is not an array of numbers: {fault}", f"pass {own.size} numbers", place) from fault
        if given.size != own.size:
            raise misuse(f"the array has the shape {given.shape}", f"pass {own.size} numbers", place)
        own[:] = given.ravel()
        setattr(self._frame, place, own.ctypes.data)


class Live(Owner):
    """Faces that move now, from any number of sources: frames go in, results come out, at once.

        with mien.Live() as live:
            ada = live.add_markers(names, "landmarks68", "arkit52")
            while True:
                for frame in ada.feed(points, time):
                    print(frame.shapes)

    A frame is solved as `Solver` does it, and to the bit as `solve` with ``causal=True``. In addition, the neutral face
    can be learned from the first seconds, sources may be phones that send weights, frames may be late, doubled or
    missing, and faces can be recorded. docs/live.md explains all of this.

    Calls of different threads wait for each other. Closing ends all recordings.
    """

    def __init__(self) -> None:
        self._session = _Session()
        self._faces: Dict[int, LiveFace] = {}
        self._paused = False

    def add_markers(self, names: Sequence[str], performer: Union[Performer, Path],
                    character: Union[None, Character, Path] = None, *, take: Optional[Take] = None,
                    name: Optional[str] = None, **options: OptionValue) -> LiveFace:
        """Adds a face of markers or landmarks.

        names: the markers, in the order in which they will come.
        performer: a performer, the name of a built-in one, or the path of a performer file.
        character: the same for the character; without one, frames have weights of templates and no shapes.
        take: a recording with the same markers, in which the neutral face is found, and which markers move with the
            skull. Without it, the performer's own neutral face is used, or if there is none, it is learned from the
            first two seconds (option ``learn``).

        Options are those of a causal solve, see ``mien.options("solve")``. Those that need later frames, unknown ones
        and those with wrong values raise `InputError`.
        """
        who, whom = performer_of(performer), character_of(character)
        of, learned_from = who._open, None if take is None else open_take(take)
        face = LiveFaceStruct(kind=LIVE_MARKERS, performer=of._as_parameter_,
                              take=None if learned_from is None else learned_from._as_parameter_)
        return self._add(face, names, (3,), name, whom, settings("solve", options), (of, learned_from))

    def add_weights(self, names: Sequence[str], character: Union[None, Character, Path] = None, *,
                    name: Optional[str] = None, **options: OptionValue) -> LiveFace:
        """Adds a face of weights that a phone or a tracker has measured itself.

        names: the weights, in the order in which they will come: the 52 in any spelling, or others.
        character: a character that they drive through the templates of its face, the name of a built-in one, or the
            path of a character file; without one, the weights keep their names.

        Options are those of a causal retarget, see ``mien.options("retarget")``; wrong ones raise `InputError`.
        """
        whom = character_of(character)
        return self._add(LiveFaceStruct(kind=LIVE_WEIGHTS), names, (), name, whom, settings("retarget", options), ())

    @property
    def faces(self) -> Tuple[LiveFace, ...]:
        """The faces, in the order in which they were added."""
        self._open
        return tuple(face for face in self._faces.values() if not face._removed)

    def advance(self, now: Optional[float] = None) -> Tuple[LiveFrame, ...]:
        """Handles silent sources, and returns results: a face that got no frame for a quarter of a second, or three
        frames if that is longer, is lost and fades to rest. Call it about 30 times per second.

        now: seconds, on the clock of the arrivals. The default is ``time.monotonic()``.
        """
        session = self._session
        with session.lock:
            handle = self._open
            status = lib.live_advance(handle, clock.monotonic() if now is None else now, session.errors_address)
            return session.checked_results(handle, status, self._faces.__getitem__)

    @property
    def paused(self) -> bool:
        """Whether all frames that come in are left out. Set it to pause and to continue."""
        return self._paused

    @paused.setter
    def paused(self, paused: bool) -> None:
        self._session.call(lib.live_pause, int(bool(paused)))
        self._paused = bool(paused)

    def __repr__(self) -> str:
        return "<mien.Live, closed>" if self.closed else f"<mien.Live of {len(self.faces)} faces>"

    def _add(self, face: LiveFaceStruct, names: Sequence[str], row: Tuple[int, ...], name: Optional[str],
             character: Optional[Character], chosen: Optional[Handle], kept: Tuple[Optional[Handle], ...]) -> LiveFace:
        """kept: the handles in `face`, which must live until the call has returned."""
        given = tuple(names) if not isinstance(names, (str, bytes)) else ()
        listed = encoded_list(names, "names")
        face.struct_size = ctypes.sizeof(LiveFaceStruct)
        face.name = None if name is None else encoded(name, "name")
        face.names, face.name_count = listed, len(listed)
        owner = None if character is None else character._open
        face.character = None if owner is None else owner._as_parameter_
        face.settings = None if chosen is None else chosen._as_parameter_
        number = ctypes.c_size_t()
        errors = Errors()
        with self._session.lock:
            checked(errors, lib.live_add(self._open, ctypes.byref(face), ctypes.byref(number), errors))
        added = LiveFace(self._session, number.value, name or "face", given, row)
        with self._session.lock:  # another thread may add a face at the same time
            present = {other: known for other, known in self._faces.items() if not known._removed}
            self._faces = {**present, number.value: added}
        return added

    @property
    def _open(self) -> Handle:
        return self._session._open

    def close(self) -> None:
        """Ends all recordings. Everything but `closed` and `close` then raises `ClosedError`, also of the faces."""
        self._session.close()

    @property
    def closed(self) -> bool:
        """Whether `close` was called."""
        return self._session.closed


_NOWHERE = Transforms(np.empty((0, 3)), np.empty((0, 3, 3)), np.empty((0, 3)))
_NO_CLUSTERS = Clusters((), (), _NOWHERE, _NOWHERE)
