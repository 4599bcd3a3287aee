"""Measures reading a take's file with numpy, pandas and json: prints the seconds of
one run and the peak memory of the process in megabytes.

    /usr/bin/python3 read_takes.py c3d FILE POINTS FRAMES
    /usr/bin/python3 read_takes.py csv FILE
    /usr/bin/python3 read_takes.py landmarks FILE (only the columns that mien reads)
    /usr/bin/python3 read_takes.py json FILE      (a result a line)
"""

import resource
import sys
import time

import numpy

kind, path = sys.argv[1:3]
if kind == "c3d":
    points, frames = int(sys.argv[3]), int(sys.argv[4])
    with open(path, "rb") as file:
        block = file.read(18)[16:18]
    start = time.perf_counter()
    # With a known layout, the parameters need not be read.
    offset = (int.from_bytes(block, "little") - 1) * 512
    words = numpy.fromfile(path, dtype="<f4", count=frames * points * 4, offset=offset).reshape(frames, points, 4)
    positions = words[:, :, :3].astype(numpy.float64)
    positions[words[:, :, 3] < 0] = numpy.nan
    seen = numpy.isfinite(positions).sum()
elif kind == "json":
    import json

    start = time.perf_counter()
    # Coordinates are stored as they come, so that the memory is not that of dictionaries.
    with open(path) as file:
        rows = [[[p["x"], p["y"], p["z"]] for p in json.loads(line)["faceLandmarks"][0]] for line in file]
    seen = numpy.array(rows).size
else:
    import pandas

    start = time.perf_counter()
    wanted = ("frame", "face_id", "timestamp", "confidence", "success")
    is_read = lambda name: name in wanted or name.startswith(("gaze_", "X_", "Y_", "Z_"))
    table = pandas.read_csv(path, skipinitialspace=True, usecols=is_read if kind == "landmarks" else None)
    seen = table.size
seconds = time.perf_counter() - start
assert seen > 0
print(seconds, resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024)
