"""- NAME.truth.csv holds the known answers for NAME.csv and NAME.ANY.csv: columns frame, the weights of shapes or of
  templates, and optionally phase ("turn" where only the head moves, "solo" where one shape acts alone) and the head's
  rotation R00 .. R22, row by row. Its frames may count from 1 where the take's count from 0. If ANY ends in a number,
  this is the take's noise in millimetres.
- known_weights.csv and known_head.csv hold the same for all takes of their folder that have no NAME.truth.csv.
- A landmark CSV with columns AU01_r .. AU45_r has labels.
- A take's performer is STEM.performer.json beside it, or else the first ANY.performer.json there whose markers the take
  has, or else the built-in landmarks478 or landmarks68.
- A take of fewer than 30 frames is not used.
- Every CSV may be compressed (.gz).
"""

import json
import re
from dataclasses import dataclass

import numpy

import columns
import geometry
from command import convert
from failed import Failed

LANDMARKS = {f"lm{i}" for i in range(68)}
MESH = {f"lm{i}" for i in range(468)}
FEWEST_FRAMES = 30


@dataclass
class Take:
    performer: str  # as the command accepts it
    group: str  # the title of its tables
    points: int
    frames: numpy.ndarray  # frame numbers
    lengths: dict  # of geometry.py
    plain_head: tuple  # of geometry.py
    known: dict  # columns of the known answers at `frames`; empty without any
    labels: dict  # columns of the labels at `frames`; empty without any


def candidates(folder):
    """The files in a folder and its sub-folders that may be takes."""
    for path in sorted(folder.rglob("*")):
        answers = path.name.startswith(("known_weights.csv", "known_head.csv")) or ".truth.csv" in path.name
        if path.is_file() and not answers and re.search(r"\.(csv|csv\.gz|c3d|trc)$", path.name):
            yield path


def read_take(mien, path, source, scratch, plain_fit_of):
    """The take in `path`, unpacked from `source`. `plain_fit_of`: see geometry.plain_head."""
    stem = re.sub(r"\.(csv|c3d|trc)$", "", path.name)
    frames, places = convert(mien, path, scratch / "converted.csv")
    if len(frames) < FEWEST_FRAMES:
        raise Failed(f"it has only {len(frames)} frames")
    performer_name, performer = performer_for(source, stem, set(places))
    known, noise = known_of(source, stem)
    labels = labels_of(path) if path.suffix == ".csv" else {}
    landmarks = {"landmarks68": range(68), "landmarks478": geometry.LANDMARKS_ON_MESH}.get(performer_name)
    plain_head = geometry.plain_head(places, performer, plain_fit_of, landmarks)
    if performer:
        lengths = geometry.of_markers(places, performer, plain_head)
    else:
        lengths = geometry.of_landmarks(numpy.stack([places[f"lm{i}"] for i in landmarks], 1))
    about = [{"landmarks68": "landmarks", "landmarks478": "478 landmarks"}.get(performer_name, "optical markers")]
    about.append("known answers" if known else "labels" if labels else "no answers")
    if noise:
        about.append(f"{noise} mm of noise")
    return Take(
        performer=performer_name,
        group=", ".join(about),
        points=len(places),
        frames=frames,
        lengths=lengths,
        plain_head=plain_head,
        known=columns.at_frames(known, frames + from_one(known, frames)) if known else {},
        labels=columns.at_frames(labels, frames) if labels else {},
    )


def performer_for(path, stem, markers):
    """The performer of a take, as the command accepts it, and the file's content; None for a built-in one."""
    beside = sorted(path.parent.glob("*.performer.json"), key=lambda file: (file.name != stem + ".performer.json", file))
    faults = []
    for file in beside:
        try:
            performer = json.loads(file.read_text())
            without = markers_of(performer) - markers
        except (ValueError, AttributeError, TypeError) as fault:
            raise Failed(f"{file.name} is not a performer file: {fault}") from fault
        if not without:
            return str(file), performer
        faults.append(f"{file.name} needs {min(without)}")
    if MESH <= markers:
        return "landmarks478", None
    if LANDMARKS <= markers:
        return "landmarks68", None
    raise Failed(": ".join(["no performer file beside it has its markers", *faults[:1]]))


def markers_of(performer):
    parts = performer.get("parts", {})
    face = {name for part in parts.values() for holder in part.values() for name in holder}
    return {*performer.get("head", []), *face}


def known_of(path, stem):
    """The columns of the known answers, empty without any, and the noise that the take's name states, or None."""
    for cut in range(len(stem), 0, -1):
        for ending in (".truth.csv", ".truth.csv.gz"):
            file = path.with_name(stem[:cut] + ending)
            if (cut == len(stem) or stem[cut] == ".") and file.exists():
                noise = re.search(r"\.(\d+(?:\.\d+)?)$", stem[cut:])
                return columns.read(file), noise and noise.group(1)
    known = {}
    for name in ("known_weights.csv", "known_head.csv"):
        if path.with_name(name).exists():
            known.update(columns.read(path.with_name(name)))
    return known, None


def from_one(known, frames):
    """1 where the take's frames count from 0 and those of the known answers from 1; otherwise 0."""
    return 1 if "frame" in known and min(frames) == 0 and min(known["frame"]) == 1 else 0


def labels_of(path):
    """The labels and the gaze of a landmark CSV's first face, or nothing."""
    if not any(re.fullmatch(r"AU\d\d_r", name) for name in columns.header(path)):
        return {}
    table = columns.read(path, lambda name: re.fullmatch(r"frame|face_id|AU\d\d_r|gaze_angle_y|pose_Rx", name))
    if "face_id" in table:
        first = table["face_id"] == table["face_id"][0]
        table = {name: values[first] for name, values in table.items()}
    return table
