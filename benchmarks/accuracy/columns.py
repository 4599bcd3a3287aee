"""Reads the named columns of CSV files."""

import gzip

import numpy

from failed import Failed


def opened(path):
    return gzip.open(path, "rt") if path.suffix == ".gz" else open(path)


def header(path):
    with opened(path) as file:
        return [name.strip() for name in file.readline().split(",")]


def read(path, wanted=lambda name: True):
    """The columns whose names are wanted: numbers, NaN for an empty field; or text, if a field is not a number."""
    with opened(path) as file:
        names = [name.strip() for name in file.readline().split(",")]
        places = [i for i, name in enumerate(names) if wanted(name)]
        rows = [line.rstrip("\r\n").split(",") for line in file if line.strip()]
    columns = {}
    for i in places:
        fields = [row[i].strip() if i < len(row) else "" for row in rows]
        try:
            columns[names[i]] = numpy.array([float(field) if field else numpy.nan for field in fields])
        except ValueError:
            columns[names[i]] = numpy.array(fields)
    return columns


def at_frames(columns, frames):
    """The columns' values at these frame numbers: NaN or empty text for a frame without a row."""
    if "frame" not in columns:
        raise Failed("a table of answers beside it has no column frame")
    row_of = {int(frame): row for row, frame in enumerate(columns["frame"])}
    rows = [row_of.get(int(frame)) for frame in frames]
    found = {}
    for name, values in columns.items():
        absent = numpy.nan if values.dtype.kind == "f" else ""
        found[name] = numpy.array([absent if row is None else values[row] for row in rows])
    return found
