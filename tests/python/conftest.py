"""What the tests of the Python package share: the command, whose files the package's arrays must equal, and samples."""

import csv
import os
import subprocess
from pathlib import Path

import numpy as np
import pytest

import mien

SAMPLES = Path(__file__).resolve().parents[2] / "samples"


@pytest.fixture(scope="session")
def samples():
    return SAMPLES


@pytest.fixture(scope="session")
def command():
    """Runs the command; answers what it prints on standard error."""
    def run(*arguments, fails=False):
        done = subprocess.run([os.environ["MIEN_COMMAND"], *map(str, arguments)], capture_output=True, text=True)
        assert (done.returncode != 0) == fails, done.stderr
        return done.stderr
    return run


@pytest.fixture(scope="session")
def table():
    """Reads a .csv: the names behind frame, time and, if there is one, timecode, and all numbers."""
    def read(path):
        with open(path, newline="") as file:
            rows = list(csv.reader(file))
        if "timecode" in rows[0]:
            rows = [row[:2] + row[3:] for row in rows]
        return rows[0][2:], np.array([[float(field) if field else np.nan for field in row] for row in rows[1:]])
    return read


@pytest.fixture(scope="session")
def landmarks():
    return mien.read(SAMPLES / "landmarks.csv")


@pytest.fixture(scope="session")
def markers():
    return mien.read(SAMPLES / "markers.csv")


@pytest.fixture(scope="session")
def shapes(landmarks):
    return mien.solve(landmarks, "landmarks68", "arkit52")


def same_bits(a, b):
    a, b = np.ascontiguousarray(a, np.float64), np.ascontiguousarray(b, np.float64)
    return a.shape == b.shape and a.tobytes() == b.tobytes()
