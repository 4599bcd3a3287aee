"""mien turns a recorded face into animation for a character.

    import mien

    take = mien.read("take.csv")
    animation = mien.solve(take, performer="landmarks68", character="arkit52")
    animation.write("face.glb")

Lengths are in millimetres, times in seconds, angles in radians. Every failure raises a `mien.Error` with its problems.
docs/python.md explains the package.
"""

from ._calls import Option, OptionValue, ProgressFunction, Rate, options
from ._library import lib as _lib
from .animation import Animation, Clusters, Transforms, retarget, solve
from .character import Character, characters
from .errors import ClosedError, Error, FileError, FileMissingError, InputError, Note, OutOfMemoryError, Problem
from .live import Live, LiveFace, LiveFrame, LiveStatistics, Timecode
from .performer import Performer, Range, calibrate, performers
from .solver import SolvedFrame, Solver
from .take import Event, Gap, Take, read

__version__: str = _lib.version().decode("ascii")

__all__ = [
    "Animation", "Character", "ClosedError", "Clusters", "Error", "Event", "FileError", "FileMissingError", "Gap",
    "InputError", "Live", "LiveFace", "LiveFrame", "LiveStatistics", "Note", "Option", "OptionValue",
    "OutOfMemoryError", "Performer", "Problem", "ProgressFunction", "Range", "Rate", "SolvedFrame", "Solver", "Take",
    "Timecode", "Transforms", "calibrate", "characters", "options", "performers", "read", "retarget", "solve",
]
