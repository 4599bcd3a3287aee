"""Runs the mien command."""

import json
import resource
import shlex
import subprocess
from dataclasses import dataclass

import numpy

import columns
import rotations
from failed import Failed


@dataclass
class Solved:
    frames: numpy.ndarray
    weights: dict  # template: a weight per frame
    heads: numpy.ndarray  # rotations
    rate: float  # frames per second
    seconds: float  # of processor time, of the whole command


def run(arguments):
    """The command as it ended."""
    done = subprocess.run([str(argument) for argument in arguments], capture_output=True, text=True, errors="replace")
    if done.returncode != 0:
        lines = done.stderr.strip().splitlines() or [f"exit code {done.returncode}"]
        raise Failed(lines[0].removeprefix("mien: "))
    return done


def processor_time(arguments):
    """Of the command."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run(arguments)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def convert(mien, take, to):
    """A take's frame numbers and the places of its markers ({name: frames x 3}, NaN where one is not seen)."""
    run([mien, "convert", "-q", take, to])
    table = columns.read(to)
    names = [name[:-2] for name in table if name.endswith(".x")]
    places = {name: numpy.stack([table[f"{name}.{axis}"] for axis in "xyz"], 1) for name in names}
    return table["frame"], places


def solve(mien, options, take, performer, to, runs):
    """Solves a take, `runs` times for the least time it takes."""
    arguments = [mien, "solve", "-q", take, "-p", performer, "-o", to, *shlex.split(options)]
    seconds = min(processor_time(arguments) for _ in range(runs))
    solved = json.loads(to.read_text())
    weights = numpy.array(solved["templates"]["weights"], float)
    return Solved(
        frames=numpy.array(solved["frames"]),
        weights={name: weights[:, i] for i, name in enumerate(solved["templates"]["names"])},
        heads=rotations.from_quaternions(solved["head"]["rotation"]),
        rate=solved["rate"],
        seconds=seconds,
    )
