"""mien.errors: failures are exceptions with the words of the command, whatever is passed."""

import pickle

import numpy as np
import pytest

import mien


def test_the_text_is_that_of_the_command(samples, command, tmp_path):
    (tmp_path / "bad.csv").write_text("frame,time,a.x,a.y,a.z\n1,0,1,2,x\n")
    for path in (tmp_path / "bad.csv", tmp_path / "none.csv", samples / "head.glb"):
        with pytest.raises(mien.Error) as raised:
            mien.read(path)
        assert f"mien: {raised.value}\n" in command("info", path, fails=True)


def test_problems_are_data(tmp_path):
    path = tmp_path / "none.csv"
    with pytest.raises(mien.FileMissingError) as raised:
        mien.read(path)
    problem, = raised.value.problems
    assert (problem.code, problem.file, problem.place) == ("not-found", str(path), "")
    assert problem.what and problem.fix and str(raised.value) == str(problem)
    assert isinstance(raised.value, FileNotFoundError) and isinstance(raised.value, mien.Error)
    copy = pickle.loads(pickle.dumps(raised.value))
    assert type(copy) is mien.FileMissingError and copy.problems == raised.value.problems


@pytest.mark.parametrize("call, kind", [
    (lambda m, s, t: m.read(t / "none"), FileNotFoundError), (lambda m, s, t: m.read(t), OSError),
    (lambda m, s, t: m.read(""), mien.Error), (lambda m, s, t: m.read("a\0b"), ValueError),
    (lambda m, s, t: m.read(b""), ValueError), (lambda m, s, t: m.read(b"\0" * 5000), ValueError),
    (lambda m, s, t: m.read(b"\x50" * 100000), ValueError), (lambda m, s, t: m.read("-"), FileNotFoundError),
    (lambda m, s, t: m.read(s / "landmarks.csv", name="x"), ValueError),
    (lambda m, s, t: m.read(b"x", name="\ud800"), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv", strickt=True), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv", strict="maybe"), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv", input_rate=-1), ValueError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks86"), OSError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks68", "arkit25"), OSError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks68", smooth=-6), ValueError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks68", smooth=float("nan")), ValueError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks68", neutral="1000-2000"), ValueError),
    (lambda m, s, t: m.solve(s / "landmarks.csv", "landmarks68", solver="fit"), ValueError),
    (lambda m, s, t: m.solve(s / "markers.csv", "landmarks68"), ValueError),
    (lambda m, s, t: m.retarget(t / "none.csv"), FileNotFoundError), (lambda m, s, t: m.retarget(b"x"), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv").write(t / "a.xyz"), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv").write(t / "none" / "a.csv"), OSError),
    (lambda m, s, t: m.read(s / "landmarks.csv").write("/proc/a.c3d"), OSError),
    (lambda m, s, t: m.read(s / "landmarks.csv").to_bytes("c3d?"), ValueError),
    (lambda m, s, t: m.read(s / "landmarks.csv").to_bytes(".csv", frames="5-1"), ValueError),
    (lambda m, s, t: m.options("sleep"), ValueError), (lambda m, s, t: m.Performer.load(t / "none.json"), OSError)])
def test_what_is_at_fault_is_the_exception_that_programs_expect(samples, tmp_path, call, kind):
    with pytest.raises(kind) as raised:
        call(mien, samples, tmp_path)
    assert isinstance(raised.value, mien.Error)
    for problem in raised.value.problems:
        assert problem.code and problem.what


@pytest.mark.parametrize("call", [
    lambda: mien.read(None), lambda: mien.read(5), lambda: mien.read([b"x"]), lambda: mien.solve(None, "landmarks68"),
    lambda: mien.read(b"x", strict=object()), lambda: mien.Take.from_arrays(np.zeros((1, 1, 3)), [5], rate=1)])
def test_arguments_of_another_type_are_type_errors(call):
    with pytest.raises(TypeError):
        call()


@pytest.mark.parametrize("call, words", [
    (lambda m, s: m.read(None), "take must be a path, bytes or an open file, not NoneType"),
    (lambda m, s: m.solve(5, "landmarks68"), "take must be a path, bytes or an open file, not int"),
    (lambda m, s: m.retarget(m.retarget(s / "mesh" / "weights.csv")),
     "weights must be a path, bytes or an open file, not Animation"),
    (lambda m, s: m.solve(s / "landmarks.csv", None), "performer must be a name or a path, not NoneType"),
    (lambda m, s: m.solve(s / "landmarks.csv", "landmarks68", 5), "character must be a name or a path, not int"),
    (lambda m, s: m.calibrate(str(s / "landmarks.csv"), "landmarks68"),
     "takes must be a mien.Take, not str; mien.read reads a file"),
    (lambda m, s: m.calibrate([s / "landmarks.csv"], "landmarks68"), "takes must be a mien.Take, not PosixPath"),
    (lambda m, s: m.Solver("landmarks68", take="take.csv"), "take must be a mien.Take, not str"),
    (lambda m, s: m.Performer.guess("take.csv"), "take must be a mien.Take, not str")])
def test_a_type_error_names_the_argument_and_what_it_accepts(samples, call, words):
    with pytest.raises(TypeError) as raised:
        call(mien, samples)
    assert words in str(raised.value)


@pytest.mark.parametrize("call, words", [
    (lambda a: mien.read(a), "take: this is an array of numbers, not the bytes of a file; make a take with "
                             "Take.from_arrays"),
    (lambda a: mien.solve(a, "landmarks68"), "make a take with Take.from_arrays"),
    (lambda a: mien.retarget(a), "weights: this is an array of numbers, not the bytes of a file; pass (weights, names, "
                                 "times)"),
    (lambda a: mien.Take.from_arrays(a, ["a"], rate=-1), 'rate: "-1" is not a rate, such as 25, 29.97 or 30000/1001')])
def test_an_array_where_a_file_belongs_and_a_wrong_rate_are_named(call, words):
    with pytest.raises(mien.InputError) as raised:
        call(np.zeros((2, 1, 3)))
    assert words in str(raised.value)


def test_a_misspelt_option_gets_the_nearest_name(landmarks):
    with pytest.raises(mien.InputError, match="smooth"):
        mien.solve(landmarks, "landmarks68", smoth=6)


def test_every_truncation_of_a_file_is_read_or_refused(markers):
    data = markers.to_bytes(".c3d", frames="1-2")
    read = refused = 0
    for size in range(0, len(data), 37):
        try:
            mien.read(data[:size])
            read += 1
        except mien.InputError:
            refused += 1
    assert refused > 10 and read + refused == len(range(0, len(data), 37))


def test_notes_are_data(samples, tmp_path):
    lines = (samples / "landmarks.csv").read_text().splitlines()
    (tmp_path / "cut.csv").write_text("\n".join(lines[:-1]) + "\n" + lines[-1][:50])
    take = mien.read(tmp_path / "cut.csv")
    note, = take.notes
    assert note.code and note.what and str(note).endswith(note.what)
    with pytest.raises(mien.InputError):
        mien.read(tmp_path / "cut.csv", strict=True)


def test_the_functions_are_those_of_the_header():
    """Every function of the C interface is declared, and nothing else."""
    import re
    from pathlib import Path
    from mien._library import _FUNCTIONS
    header = Path(__file__).resolve().parents[2] / "host" / "c_interface" / "mien_host.h"
    stated = set(re.findall(r"MIEN_HOST_API[^;(]*?\bmien_(\w+)\(", header.read_text()))
    unused = {"messages_status", "messages_text", "take_frame_count", "animation_frame_count"}
    assert {name for name, *_ in _FUNCTIONS} == stated - unused and unused < stated
