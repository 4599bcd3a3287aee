"""What is put onto a character: an animation, and the markers that it was solved from."""

import dataclasses
import fractions
import typing

import numpy


@dataclasses.dataclass
class Cluster:
    """A rig point that moves as one: a bone, or an object. Transforms are relative to its parent."""

    name: str
    rest: "Transforms"  # of one frame
    motion: "Transforms"


@dataclasses.dataclass
class Transforms:
    translations: numpy.ndarray  # (frames x 3) in the character's unit
    rotations: numpy.ndarray  # (frames x 3 x 3)
    scales: numpy.ndarray  # (frames x 3)


@dataclasses.dataclass
class Markers:
    names: typing.List[str]
    positions: numpy.ndarray  # (frames x markers x 3) millimetres, NaN in gaps; upright, the face looks along +z
    times: numpy.ndarray  # (size: frames) seconds


@dataclasses.dataclass
class Capture:
    name: str  # of the take
    rate: fractions.Fraction
    timecode: typing.Optional[str]  # of the first frame: HH:MM:SS:FF@RATE
    numbers: numpy.ndarray  # of the frames, as in the take
    times: numpy.ndarray  # (size: frames) seconds
    weight_names: typing.List[str]  # of the character's shapes; without a character, of the face's templates
    weights: numpy.ndarray  # (frames x weights)
    head: typing.Optional[numpy.ndarray] = None  # (frames x 4 x 4) from the neutral pose; face axes, millimetres
    eyes: typing.Optional[numpy.ndarray] = None  # (frames x 2 x 2) left and right: yaw to the left, pitch downward
    clusters: typing.List[Cluster] = dataclasses.field(default_factory=list)
    markers: typing.Optional[Markers] = None
    notes: typing.List[str] = dataclasses.field(default_factory=list)
