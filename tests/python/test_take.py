"""mien.take: takes, their arrays, and those that a program holds."""

import copy
import io
import pickle
from fractions import Fraction

import numpy as np
import pytest

import mien
from conftest import same_bits


def test_arrays_equal_the_file_of_the_command(samples, command, table, tmp_path):
    command("convert", samples / "markers.csv", tmp_path / "markers.csv")
    names, rows = table(tmp_path / "markers.csv")
    take = mien.read(samples / "markers.csv")
    assert [f"{m}.{axis}" for m in take.markers for axis in "xyz"] == names
    assert same_bits(take.positions.reshape(len(take), -1), rows[:, 2:])
    assert same_bits(take.times, rows[:, 1])
    assert take.frames.tolist() == rows[:, 0].astype(int).tolist()


def test_arrays_have_their_documented_form(markers):
    frames, count = len(markers), len(markers.markers)
    assert (frames, count) == (360, 50)
    for array, shape, dtype in ((markers.positions, (frames, count, 3), np.float64),
                                (markers.origins, (frames, count), np.uint8),
                                (markers.frames, (frames,), np.int64), (markers.times, (frames,), np.float64)):
        assert array.shape == shape and array.dtype == dtype
        assert not array.flags.writeable and not array.flags.owndata
        with pytest.raises(ValueError):
            array[0] = 0
        with pytest.raises(ValueError):
            array.flags.writeable = True
    assert markers.rate == Fraction(30) and isinstance(markers.rate, Fraction)
    assert markers.name == "markers" and markers.file.endswith("samples/markers.csv")
    assert markers.format == "marker CSV" and markers.timecode is None and markers.events == ()
    assert repr(markers) == '<mien.Take "markers": 360 frames of 50 markers, 30 Hz>'


def test_arrays_show_the_same_memory_each_time(markers):
    a, b = markers.positions, markers.positions
    assert a.__array_interface__["data"] == b.__array_interface__["data"]


def test_gaps_are_nan_and_listed(samples):
    lines = (samples / "markers.csv").read_text().splitlines()
    for number in (5, 6, 7, 360):  # frames 4 to 6, and the last
        fields = lines[number].split(",")
        fields[2:5] = ["", "", ""]
        lines[number] = ",".join(fields)
    take = mien.read("\n".join(lines).encode() + b"\n")
    first = take.frames[0]
    assert np.isnan(take.positions[[4, 5, 6, 359], 0]).all()
    assert not np.isnan(take.positions[[3, 7, 358], 0]).any()
    assert take.origins[3:8, 0].tolist() == [1, 0, 0, 0, 1]
    assert take.gaps[:2] == (mien.Gap(take.markers[0], 0, 4, 7, first + 4, first + 6),
                             mien.Gap(take.markers[0], 0, 359, 360, first + 359, first + 359))
    assert sum(gap.stop - gap.start for gap in take.gaps) == (take.origins == 0).sum() > 4
    for gap in take.gaps:
        assert np.isnan(take.positions[gap.start:gap.stop, gap.marker_index]).all()
        assert take.markers[gap.marker_index] == gap.marker
        assert take.frames[gap.start] == gap.first and take.frames[gap.stop - 1] == gap.last


@pytest.mark.parametrize("kind", [bytes, bytearray, memoryview, io.BytesIO, "text", "file"])
def test_reads_bytes_and_open_files_as_it_reads_paths(samples, landmarks, kind):
    path = samples / "landmarks.csv"
    if kind == "file":
        with open(path, "rb") as file:
            take = mien.read(file)
        assert take.file == str(path)
    else:
        source = io.StringIO(path.read_text()) if kind == "text" else kind(path.read_bytes())
        take = mien.read(source, name="held.csv")
        assert take.file == "held.csv" and take.name == "held"
    assert same_bits(take.positions, landmarks.positions)


def test_the_bytes_are_not_needed_after_reading(samples, landmarks):
    data = bytearray((samples / "landmarks.csv").read_bytes())
    take = mien.read(data)
    data[:] = bytes(len(data))
    assert same_bits(take.positions, landmarks.positions)


def test_options_are_those_of_the_command(samples):
    take = mien.read(samples / "mesh" / "wide.csv", image="1280x720", mirrored=True, strict=False, face=None)
    other = mien.read(samples / "mesh" / "wide.csv", image="1280x720")
    assert take.positions.shape == other.positions.shape
    assert not same_bits(take.positions, other.positions)
    assert {option.name for option in mien.options("read")} == {
        "strict", "face", "input_rate", "image", "face_width", "mirrored", "threads"}


@pytest.mark.parametrize("ending", [".c3d", ".trc", ".csv"])
def test_writes_the_bytes_of_the_command(samples, command, markers, tmp_path, ending):
    command("convert", samples / "markers.csv", tmp_path / f"command{ending}", "--frames", "10-40")
    lost = markers.write(tmp_path / f"python{ending}", frames="10-40")
    data = (tmp_path / f"command{ending}").read_bytes()
    assert (tmp_path / f"python{ending}").read_bytes() == data
    assert markers.to_bytes(ending, frames="10-40") == data
    assert all(isinstance(note, mien.Note) for note in lost)


def test_timecode_and_markers_of_a_written_take(markers):
    part = mien.read(markers.to_bytes(".c3d", timecode="10:02:59:29@30", markers=["ChinL", "ChinR"]))
    assert part.timecode == "10:02:59:29@30" and part.markers == ("ChinL", "ChinR")


# from_arrays

POINTS = np.random.default_rng(7).normal(0, 100, (5, 4, 3))
NAMES = ("a", "b", "c", "d")


@pytest.mark.parametrize("positions", [
    POINTS, np.asfortranarray(POINTS), POINTS[::-1][::-1], POINTS.astype(">f8"),
    np.repeat(POINTS, 2, axis=0)[::2], np.pad(POINTS, ((0, 0), (1, 2), (3, 1)))[:, 1:5, 3:6], POINTS.tolist(),
    np.flip(np.flip(POINTS, 1).copy(), 1), np.flip(np.flip(POINTS, 2).copy(), 2)], ids=range(9))
def test_from_arrays_reads_any_layout(positions):
    take = mien.Take.from_arrays(positions, NAMES, rate=60, name="held")
    assert same_bits(take.positions, POINTS)
    assert take.markers == NAMES and take.rate == 60 and take.name == "held"
    assert take.frames.tolist() == [1, 2, 3, 4, 5]
    assert same_bits(take.times, np.arange(5) / 60)


def test_from_arrays_reads_numbers_of_other_types():
    for dtype in (np.float32, np.int16, np.uint64):
        values = np.abs(POINTS).astype(dtype)
        assert same_bits(mien.Take.from_arrays(values, NAMES, rate=60).positions, values.astype(np.float64))
    broadcast = np.broadcast_to(POINTS[:1], POINTS.shape)
    assert same_bits(mien.Take.from_arrays(broadcast, NAMES, rate=60).positions, broadcast)
    misaligned = np.frombuffer(b"x" + POINTS.tobytes(), np.uint8)[1:].view(np.float64).reshape(POINTS.shape)
    assert same_bits(mien.Take.from_arrays(misaligned, NAMES, rate=60).positions, POINTS)


def test_from_arrays_copies():
    values = POINTS.copy()
    take = mien.Take.from_arrays(values, NAMES, rate=60)
    values[:] = 0
    assert same_bits(take.positions, POINTS)


def test_from_arrays_takes_nan_and_masks_as_gaps():
    values = POINTS.copy()
    values[2, 1, 0] = np.nan
    take = mien.Take.from_arrays(values, NAMES, rate=60)
    assert np.isnan(take.positions[2, 1]).all() and take.origins.sum() == 19
    masked = np.ma.masked_where(np.arange(60).reshape(5, 4, 3) == 13, POINTS)
    assert take.gaps != () and mien.Take.from_arrays(masked, NAMES, rate=60).origins.ravel().tolist() == [
        1] * 4 + [0] + [1] * 15


def test_from_arrays_notes_positions_that_cannot_be():
    values = POINTS.copy()
    values[0, 0, 0], values[1, 1, 1] = np.inf, 1e300
    take = mien.Take.from_arrays(values, NAMES, rate=60)
    assert np.isnan(take.positions[0, 0]).all() and np.isnan(take.positions[1, 1]).all()
    assert take.notes != ()


@pytest.mark.parametrize("rate, exact", [
    (120, Fraction(120)), (29.97, Fraction(30000, 1001)), ("30000/1001", Fraction(30000, 1001)),
    (Fraction(24000, 1001), Fraction(24000, 1001)), (np.float32(25), Fraction(25)), (np.int64(50), Fraction(50))])
def test_from_arrays_reads_rates_as_the_command_does(rate, exact):
    assert mien.Take.from_arrays(POINTS, NAMES, rate=rate).rate == exact


def test_from_arrays_keeps_times_numbers_and_timecode():
    times, frames = [0.5, 0.6, 0.7, 0.9, 1.0], np.array([7, 8, 9, 11, 12], np.int32)
    take = mien.Take.from_arrays(POINTS, NAMES, times=times, frames=frames, rate=10, timecode="01:00:00:00@10")
    assert same_bits(take.times, times) and take.frames.tolist() == frames.tolist()
    assert take.timecode == "01:00:00:00@10"


def test_a_take_from_arrays_solves_to_the_weights_of_the_file(landmarks, shapes):
    take = mien.Take.from_arrays(landmarks.positions, landmarks.markers, rate=landmarks.rate, times=landmarks.times,
                                 frames=landmarks.frames)
    assert same_bits(mien.solve(take, "landmarks68", "arkit52").shapes, shapes.shapes)


@pytest.mark.parametrize("arguments, place", [
    (dict(positions=POINTS[0]), "positions"), (dict(positions=POINTS[:, :, :2]), "positions"),
    (dict(positions=POINTS.astype(complex)), "positions"), (dict(positions=[["x"]]), "positions"),
    (dict(positions=[[[1, 2, 3]], [[1, 2]]]), "positions"), (dict(positions=None), "positions"),
    (dict(positions=np.empty((0, 4, 3))), None), (dict(positions=np.empty((5, 0, 3)), markers=()), None),
    (dict(markers=NAMES[:3]), "markers"), (dict(markers=("a", "b", "c", "a")), None),
    (dict(markers=("a", "b", "c", "")), None), (dict(markers=("a", "b", "c", "\0")), "markers"),
    (dict(markers=("a", "b", "c", "\ud800")), "markers"), (dict(rate=None), "rate"), (dict(rate=0), None),
    (dict(rate=-1), None), (dict(rate=float("nan")), None), (dict(rate=float("inf")), None), (dict(rate="fast"), None),
    (dict(times=[0, 1, 2, 3]), "times"), (dict(times=[0, 1, 2, 2, 3]), None), (dict(times=[0, 1, 2, 3, np.nan]), None),
    (dict(frames=[1, 2, 3, 4.5, 6]), "frames"), (dict(frames=[1, 2, 3, 4, 4]), None),
    (dict(frames=np.array([1, 2, 3, 4, 2**63 + 5], np.uint64)), "frames"), (dict(timecode="soon"), None)])
def test_from_arrays_refuses_what_does_not_fit(arguments, place):
    with pytest.raises(mien.InputError) as raised:
        mien.Take.from_arrays(**{"positions": POINTS, "markers": NAMES, "rate": 60, **arguments})
    assert isinstance(raised.value, ValueError) and raised.value.problems[0].what
    if place is not None:
        assert raised.value.problems[0].place == place


def test_one_name_is_not_a_list_of_names():
    with pytest.raises(TypeError, match="markers must be a sequence of names"):
        mien.Take.from_arrays(POINTS, "abcd", rate=60)


def test_a_take_cannot_be_copied_or_pickled(landmarks):
    for use in (copy.copy, copy.deepcopy, pickle.dumps):
        with pytest.raises(TypeError):
            use(landmarks)
