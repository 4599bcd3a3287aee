"""From a file to a capture, with the Python package `mien`: the only module that imports it."""

import contextlib
import dataclasses
import fractions
import json
import os
import threading
import typing

import numpy

from . import axes, mien  # make_zip.py puts the package `mien` beside this file
from .capture import Capture, Cluster, Markers, Transforms

Error = mien.Error
_SHOWN = 5  # markers in a message

AUTO = "auto"
_LANDMARKS = {68: "landmarks68", 468: "landmarks478", 478: "landmarks478"}  # performers by the number of markers

_NO_WEIGHTS = ("not-found", "unreadable", "empty", "unknown-format", "unsupported")  # the codes of files without any


@dataclasses.dataclass
class Request:
    """A file and how to solve it. The options have the names of the command's."""

    path: str
    performer: str = AUTO  # the name of a built-in performer, or the path of a performer file
    character: str = ""  # likewise; empty: the face's templates, or of recorded weights their own names
    weights: bool = False  # whether a file that could be a take is one of recorded weights
    read: typing.Dict[str, typing.Any] = dataclasses.field(default_factory=dict)
    solve: typing.Dict[str, typing.Any] = dataclasses.field(default_factory=dict)
    retarget: typing.Dict[str, typing.Any] = dataclasses.field(default_factory=dict)
    calibrate: typing.Dict[str, typing.Any] = dataclasses.field(default_factory=dict)
    neutral: typing.Dict[str, typing.Any] = dataclasses.field(default_factory=dict)
    markers: bool = False  # whether the markers are wanted as well


class Refused(Exception):
    """A setting is missing or wrong; the text says what to choose."""


def capture(request, progress=None):
    """The capture that a Request asks for. `progress(stage, done, total)` may raise to stop the solve.

    A file that is not a take is read as recorded weights; what is neither is refused as a take.
    """
    watch = {"progress": progress} if progress else {}
    character = mien.Character.load(request.character) if request.character else None
    take, no_take = None, None
    if not request.weights:
        try:
            take = mien.read(request.path, **request.read, **watch)
        except mien.Error as error:
            no_take = error
    if take is not None:
        try:
            animation = mien.solve(take, performer=_performer(request, take), character=character, **request.solve,
                                   **watch)
        except mien.Error as error:
            raise _with_markers(error, take) from None
        return _capture(animation, character, take, request.markers)
    try:
        animation = mien.retarget(request.path, character=character, **request.retarget, **watch)
    except mien.Error as error:
        first = error.problems[0]
        if no_take is not None and first.code in _NO_WEIGHTS and first.file == request.path:
            raise no_take from None
        raise
    return _capture(animation, character, None, False)


def _performer(request, take):
    if request.performer != AUTO:
        return request.performer
    landmarks = {f"lm{i}" for i in range(len(take.markers))}
    performer = _LANDMARKS.get(len(take.markers)) if set(take.markers) == landmarks else None
    if performer is None:
        raise Refused(f"{request.path}: no built-in performer has the {_markers_of(take)}; choose the performer file "
                      "that defines them, or make one (Save performer > Unknown markers)")
    return performer


def _markers_of(take):
    shown = ", ".join(take.markers[:_SHOWN])
    return f"{len(take.markers)} markers of the take ({shown}{', ...' if len(take.markers) > _SHOWN else ''})"


def _with_markers(error, take):
    """The error of a solve. Where it refers to a command that lists the markers, the text lists some of them."""
    text = str(error)
    without = text.replace("; `mien info` lists the markers that it has", "")
    return error if without == text else Refused(f"{without}\nchoose the performer of the {_markers_of(take)}")


def performer_file(request, kind, name, poses=""):
    """(the text of a performer file, notes): the performer with the neutral face of the take ("neutral"), with the
    ranges that it shows as well ("calibrate"; `poses` is the path of a guided take's table of poses, or empty), or a
    first one for unknown markers ("guess")."""
    take = mien.read(request.path, **request.read)
    if kind == "guess":
        made = mien.Performer.guess(take, name=name, **request.neutral)
    elif kind == "neutral":
        made = mien.Performer.load(_performer(request, take)).with_neutral(take, name=name, **request.neutral)
    else:
        made = mien.calibrate(take, _performer(request, take), name=name, poses=poses or None, **request.calibrate)
    ranges = [f"{found.name}: {found.low:.3g} to {found.high:.3g}" if found.trusted else
              f"{found.name}: not applied: {found.why}" for found in made.ranges if found.trusted or found.seen]
    return made.to_json(), [*map(str, made.notes), *ranges]


def _capture(animation, character, take, markers):
    """The only function that knows the package's animations."""
    head = numpy.asarray(animation.head_motion)
    return Capture(
        name=animation.take,
        rate=animation.rate or fractions.Fraction(30),
        timecode=animation.timecode,
        numbers=animation.frames,
        times=animation.times,
        weight_names=list(animation.names),
        weights=animation.shapes if animation.shape_names else animation.weights,
        head=head if numpy.any(head != numpy.eye(4)) else None,
        eyes=animation.eyes,
        clusters=_clusters(animation.clusters, character),
        markers=_markers(animation, take) if markers else None,
        notes=[str(note) for note in [*(take.notes if take else ()), *animation.notes]])


def _clusters(clusters, character):
    """Clusters with their rest, which only the character's file has."""
    if not clusters.names:
        return []
    rests = {(part, name): _transforms(transform)
             for part, content in json.loads(character.to_json())["parts"].items()
             for name, transform in content.get("clusters", {}).get("rest", {}).items()}
    local = clusters.local
    return [Cluster(name, rests[part, name],
                    Transforms(local.translations[:, column], local.rotations[:, column], local.scales[:, column]))
            for column, (part, name) in enumerate(zip(clusters.parts, clusters.names))]


def _markers(animation, take):
    """The take's markers, turned so that the neutral head is upright and faces along +z."""
    neutral = animation.heads[0] @ numpy.linalg.inv(animation.head_motion[0])
    places = (take.positions - neutral[:3, 3]) @ neutral[:3, :3]
    return Markers(list(take.markers), places, numpy.asarray(take.times))


def _transforms(written):
    """A transform as `to_json` writes it: its angles are degrees about x, then y, then z."""
    return Transforms(numpy.array([written["translation"]]),
                      axes.euler_matrix(numpy.radians(written["rotation"]))[None], numpy.array([written["scale"]]))


class _Cancelled(Exception):
    """Stops a solve from its report of progress."""


class Job:
    """A solve on a thread of its own, so that Blender stays usable."""

    def __init__(self, request):
        self._request, self._stop = request, False
        self.share = 0.0  # that is done, of the present stage
        self.capture, self.error = None, None
        self._thread = threading.Thread(target=self._run, daemon=True)

    def start(self):
        self._thread.start()

    def cancel(self):
        """Stops the solve at its next report of progress."""
        self._stop = True

    def wait(self, seconds=None):
        """Waits until it is over; True if it is."""
        self._thread.join(seconds)
        return not self._thread.is_alive()

    @property
    def cancelled(self):
        return self._stop

    def run(self):
        """The same on the calling thread."""
        self._run()

    def _run(self):
        try:
            self.capture = capture(self._request, self._report)
        except _Cancelled:
            pass
        except Exception as error:  # it belongs to the thread that asks for it
            self.error = error

    def _report(self, _stage, done, total):
        self.share = done / total if total else 0.0
        if self._stop:
            raise _Cancelled


def character_of_shapes(names, name):
    """A character file, as JSON, of shapes of these names: each driven by what its name means of the 52."""
    return json.loads(mien.Character.from_shapes(names, name=name).to_json())


def check_character(text, name):
    """Raises Error if the text is not a character file."""
    mien.Character.from_json(text, name=name)


def write_whole(path, text):
    """Writes a file: all of it, or none. Raises Refused if it cannot be written."""
    part = f"{path}.part"
    try:
        with open(part, "w", encoding="utf-8") as file:
            file.write(text)
        os.replace(part, path)
    except OSError as error:
        with contextlib.suppress(OSError):
            os.remove(part)
        raise Refused(f"{path}: the file cannot be written ({error.strerror}); choose another folder or name") from None
