"""What the Python package costs over the command and over the C interface.

    PYTHONPATH=python MIEN_HOST_LIBRARY=LIBRARY python3 benchmarks/python_costs.py COMMAND TAKE.csv [RUNS]

The take (landmarks68) is read, solved into arkit52 and written, by the command and in Python, in turns. Then frames are
solved one by one. Prints medians; the processor's time of a process is that in user mode.
"""

import os
import resource
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np

import mien
from mien._library import lib

command, take_file, runs = sys.argv[1], sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else 7
SCRIPT = ("import resource, sys, mien\n"
          "user_seconds = lambda: resource.getrusage(resource.RUSAGE_SELF).ru_utime\n"
          "imported = user_seconds()\n"
          "mien.solve(mien.read(sys.argv[1]), 'landmarks68', 'arkit52').write(sys.argv[2])\n"
          "print(user_seconds() - imported)\n")


def user_seconds(arguments):
    """Those of the whole process, and what it prints."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
    done = subprocess.run(arguments, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before, done.stdout


with tempfile.TemporaryDirectory() as folder:
    outputs = [os.path.join(folder, name) for name in ("command.csv", "python.csv")]
    calls = {
        "the command": [command, "solve", take_file, "-p", "landmarks68", "-c", "arkit52", "-o", outputs[0], "--quiet"],
        "Python, whole process": [sys.executable, "-c", SCRIPT, take_file, outputs[1]]}
    seconds = {name: [] for name in (*calls, "Python after import")}
    for _ in range(runs):
        for name, arguments in calls.items():
            whole, printed = user_seconds(arguments)
            seconds[name].append(whole)
        seconds["Python after import"].append(float(printed))
    with open(outputs[0], "rb") as a, open(outputs[1], "rb") as b:
        assert a.read() == b.read(), "the files differ"
medians = {name: statistics.median(times) for name, times in seconds.items()}
for name, median in medians.items():
    print(f"{name:22} {median:8.3f} s of user time")
for name in list(medians)[1:]:
    print(f"{name} over the command: {100 * (medians[name] / medians['the command'] - 1):+.1f} %")

with open(take_file, "rb") as file:
    start = b"".join(file.readline() for _ in range(1001))
take = mien.read(start, name="start.csv")
solver = mien.Solver("landmarks68", "arkit52", take=take)
frames = np.ascontiguousarray(take.positions[:, [take.markers.index(m) for m in solver.markers]])


def microseconds(solve):
    """The median over passes of the time of a frame."""
    passes = []
    for _ in range(15):
        started = time.process_time()
        for points in frames:
            solve(points)
        passes.append((time.process_time() - started) / len(frames) * 1e6)
    return statistics.median(passes)


handle, clock = solver._handle, 1000.0


def c_call(points):
    global clock
    clock += 1
    lib.frame_solver_solve(handle, solver._address, solver._count, clock, solver._errors_address)


def nothing(points):
    pass


def smallest_call(points):
    lib.frame_solver_marker_count(handle)


loop = microseconds(nothing)
whole, inner, call = (microseconds(solve) - loop for solve in (solver.solve, c_call, smallest_call))
print(f"a frame: mien.Solver {whole:.1f} us, the C function through ctypes {inner:.1f} us, "
      f"a C function that does nothing {call:.2f} us")
print(f"overhead of mien.Solver over the C function: at most {whole - inner + call:.1f} us")
