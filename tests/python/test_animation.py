"""mien.animation: solves, retargets, and what they are written to."""

import json
from fractions import Fraction

import numpy as np
import pytest

import mien
from conftest import same_bits

SOLVES = {
    "templates": ("landmarks.csv", "landmarks68", None, {}, []),
    "shapes": ("landmarks.csv", "landmarks68", "arkit52", {}, []),
    "fit": ("landmarks.csv", "landmarks68", "arkit52", {"solver": "fit"}, ["--solver", "fit"]),
    "markers": ("markers.csv", "markers.performer.json", None, {}, []),
    "puppet": ("landmarks.csv", "landmarks68", "puppet.character.json", {}, []),
    "mesh": ("mesh/wide.csv", "landmarks478", "arkit52", {}, []),
    "options": ("landmarks.csv", "landmarks68", "arkit52",
                {"smooth": 6, "neutral": "1-10", "no_ranges": True, "fill": "hold:0.2,linear", "level_lids": False,
                 "head_tolerance": 7.5, "brows": "core", "output_rate": Fraction(60000, 1001), "fade": None},
                ["--smooth", "6", "--neutral", "1-10", "--no-ranges", "--fill", "hold:0.2,linear",
                 "--head-tolerance", "7.5", "--brows", "core", "--output-rate", "60000/1001"]),
}


def path_or_name(samples, name):
    return name if name is None or "." not in name else samples / name


@pytest.mark.parametrize("case", SOLVES)
def test_weights_equal_the_file_of_the_command(samples, command, table, tmp_path, case):
    take, performer, character, options, arguments = SOLVES[case]
    performer, character = path_or_name(samples, performer), path_or_name(samples, character)
    whom = [] if character is None else ["--character", character]
    command("solve", samples / take, "--performer", performer, *whom, "-o", tmp_path / "command.csv", *arguments)
    names, rows = table(tmp_path / "command.csv")
    animation = mien.solve(mien.read(samples / take), performer, character, **options)
    assert list(animation.names) == names
    assert same_bits(animation.shapes if character else animation.weights, rows[:, 2:])
    assert same_bits(animation.times, rows[:, 1]) and animation.frames.tolist() == rows[:, 0].tolist()
    animation.write(tmp_path / "python.csv")
    assert (tmp_path / "python.csv").read_bytes() == (tmp_path / "command.csv").read_bytes()


@pytest.mark.parametrize("ending", [".csv", ".json", ".glb", ".vrma"])
def test_files_have_the_bytes_of_the_command(samples, command, shapes, tmp_path, ending):
    command("solve", samples / "landmarks.csv", "-p", "landmarks68", "-c", "arkit52", "-o",
            tmp_path / f"command{ending}")
    shapes.write(tmp_path / f"python{ending}")
    data = (tmp_path / f"command{ending}").read_bytes()
    assert (tmp_path / f"python{ending}").read_bytes() == data
    assert shapes.to_bytes(ending) == data


@pytest.mark.parametrize("ending, options, arguments", [
    (".csv", {"templates": True}, ["--templates"]), (".csv", {"csv_style": "livelink"}, ["--csv-style", "livelink"]),
    (".glb", {"onto": "head.glb", "head": "face"}, ["--onto", "head.glb", "--head", "face"]),
    (".vrm", {"onto": "avatar.vrm"}, ["--onto", "avatar.vrm"])])
def test_options_of_writing_are_those_of_the_command(samples, command, shapes, tmp_path, monkeypatch, ending, options,
                                                     arguments):
    monkeypatch.chdir(samples)
    command("solve", "landmarks.csv", "-p", "landmarks68", "-c", "arkit52", "-o", tmp_path / f"command{ending}",
            *arguments)
    notes = shapes.write(tmp_path / f"python{ending}", **options)
    assert (tmp_path / f"python{ending}").read_bytes() == (tmp_path / f"command{ending}").read_bytes()
    assert all(isinstance(note, mien.Note) for note in notes)


def test_heads_eyes_and_clusters_equal_the_json_of_the_command(samples, command, tmp_path):
    command("solve", samples / "mesh" / "wide.csv", "-p", "landmarks478", "-c", samples / "puppet.character.json", "-o",
            tmp_path / "command.json")
    document = json.loads((tmp_path / "command.json").read_text())
    animation = mien.solve(samples / "mesh" / "wide.csv", "landmarks478", samples / "puppet.character.json")
    assert json.loads(animation.to_bytes(".json")) == document
    frames = len(animation)
    assert document["frames"] == animation.frames.tolist() and frames == 5
    head, eyes = document["head"], document["eyes"]
    assert same_bits(animation.head_motion[:, :3, 3], head["translation"])
    assert np.allclose(animation.head_motion[:, :3, :3], matrices(head["rotation"]), rtol=0, atol=1e-14)
    assert same_bits(animation.eyes, np.stack([eyes["left"], eyes["right"]], axis=1))
    assert same_bits(animation.weights, document["templates"]["weights"])
    assert same_bits(animation.shapes, document["shapes"]["weights"])
    clusters, listed = animation.clusters, document["clusters"]
    assert [{"part": p, "cluster": n} for p, n in zip(clusters.parts, clusters.names)] == listed["names"] != []
    for transforms, named in ((clusters.local, "local"), (clusters.world, "global")):
        assert same_bits(transforms.translations, listed[named]["translation"])
        assert same_bits(transforms.scales, listed[named]["scale"])
        assert np.allclose(transforms.rotations, matrices(listed[named]["rotation"]), rtol=0, atol=1e-14)


def matrices(quaternions):
    """Matrices for column vectors, from x, y, z, w."""
    x, y, z, w = np.moveaxis(np.asarray(quaternions), -1, 0)
    rows = [[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
            [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
            [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]]
    return np.moveaxis(np.array(rows), (0, 1), (-2, -1))


def test_head_motion_is_the_head_from_the_neutral_pose(shapes):
    heads, motion = shapes.heads, shapes.head_motion
    assert np.array_equal(heads[:, 3], np.broadcast_to([0, 0, 0, 1], (len(shapes), 4)))
    # A motion M and a head H = M N have the same angle between two frames.
    relative = [np.linalg.inv(m[0]) @ m[200] for m in (heads, motion)]
    assert np.isclose(np.trace(relative[0][:3, :3]), np.trace(relative[1][:3, :3]), rtol=0, atol=1e-9)
    assert not np.array_equal(motion[0], motion[200])


def test_what_is_not_there_is_empty(samples):
    animation = mien.solve(samples / "markers.csv", samples / "markers.performer.json")
    assert animation.eyes is None and animation.shapes.shape == (360, 0) and animation.shape_names == ()
    assert animation.clusters.names == () and animation.clusters.local.translations.shape == (360, 0, 3)
    assert animation.character == "" and animation.names == animation.template_names
    assert animation.timecode is None


def test_facts_and_report(samples, command, tmp_path, shapes):
    command("solve", samples / "landmarks.csv", "-p", "landmarks68", "-c", "arkit52", "-o", tmp_path / "a.csv",
            "--report", tmp_path / "report.json")
    report = json.loads((tmp_path / "report.json").read_text())
    assert shapes.report["format"] == report["format"] and set(shapes.report) <= set(report)
    for key in ("head", "parts", "quality", "neutral"):
        if key in report:
            assert shapes.report[key] == report[key]
    assert (shapes.take, shapes.character, shapes.rate) == ("landmarks", "arkit52", Fraction(30))
    assert shapes.performer and shapes.neutral
    assert repr(shapes) == '<mien.Animation of "landmarks" for "arkit52": 360 frames of 52 weights>'


def test_expressions_are_added(samples):
    text = json.loads((samples / "puppet.character.json").read_text())
    names = list(text.get("expressions", {}))
    if not names:
        pytest.fail("the puppet has no expressions: this tests nothing")
    plain = mien.solve(samples / "landmarks.csv", "landmarks68", samples / "puppet.character.json")
    both = mien.solve(samples / "landmarks.csv", "landmarks68", samples / "puppet.character.json",
                      expression={names[0]: 0.5})
    assert not same_bits(plain.shapes, both.shapes)
    one = mien.solve(samples / "landmarks.csv", "landmarks68", samples / "puppet.character.json",
                     expression=f"{names[0]}=0.5")
    assert same_bits(one.shapes, both.shapes)


def test_to_frame_has_the_csv(shapes, command, samples, tmp_path):
    pandas = pytest.importorskip("pandas")
    shapes.write(tmp_path / "shapes.csv")
    expected = pandas.read_csv(tmp_path / "shapes.csv", index_col="frame", float_precision="round_trip")
    frame = shapes.to_frame()
    pandas.testing.assert_frame_equal(frame, expected, check_exact=True, check_dtype=False)
    frame.iloc[0, 0] = 5  # a copy


def test_plot_draws_the_curves(shapes):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    axes = shapes.plot(["jawOpen", "eyeBlinkLeft"])
    assert [line.get_label() for line in axes.lines] == ["jawOpen", "eyeBlinkLeft"]
    assert same_bits(axes.lines[0].get_ydata(), shapes.shapes[:, shapes.names.index("jawOpen")])
    liveliest = shapes.plot()
    assert len(liveliest.lines) == 6
    assert shapes.plot(["jawOpen"], axes=liveliest) is liveliest and len(liveliest.lines) == 7
    with pytest.raises(mien.InputError, match="jawOpenn"):
        shapes.plot(["jawOpenn"])


# retarget

RETARGETS = {
    "phone": ("weights_phone.csv", None, {}, []),
    "scores": ("weights_recorded.json", None, {"swap_sides": True}, ["--swap-sides"]),
    "vrm": ("weights_phone.csv", "vrm1", {"smooth_weights": 1.5}, ["--smooth-weights", "1.5"]),
}


@pytest.mark.parametrize("case", RETARGETS)
def test_retargeted_weights_equal_the_file_of_the_command(samples, command, table, tmp_path, case):
    file, character, options, arguments = RETARGETS[case]
    source = samples / "mesh" / file
    whom = [] if character is None else ["--character", character]
    command("retarget", source, *whom, "-o", tmp_path / "command.csv", *arguments)
    names, rows = table(tmp_path / "command.csv")
    for given in (source, source.read_bytes(), open(source, "rb")):
        animation = mien.retarget(given, character, **options)
        assert list(animation.names) == names
        assert same_bits(animation.shapes, rows[:, 2:])


def test_weights_of_a_program_are_retargeted(shapes):
    animation = mien.retarget((shapes.shapes, shapes.shape_names, shapes.times), "vrm1", name="held")
    direct = mien.retarget(shapes.to_bytes(".csv"), "vrm1")
    assert same_bits(animation.shapes, direct.shapes) and animation.take == "held"
    same = mien.retarget((shapes.shapes[:, ::-1], shapes.shape_names[::-1], None), rate=30)
    assert same_bits(same.shapes[:, ::-1], shapes.shapes) and same.rate == 30


def test_a_missing_weight_of_a_program_is_filled(shapes):
    values = shapes.shapes.copy()
    values[100:103, 0] = np.nan
    animation = mien.retarget((values, shapes.shape_names, shapes.times))
    assert np.isfinite(animation.shapes).all()


@pytest.mark.parametrize("weights, options", [
    (([[0.5]], ["jawOpen"]), {}), (([0.5], ["jawOpen"], [0]), {}), (([[0.5]], ["jawOpen", "mouthClose"], [0]), {}),
    (([[0.5]], ["jawOpen"], [0, 1]), {}), (([[0.5]], ["jawOpen"], None), {}), (([["x"]], ["jawOpen"], [0]), {}),
    (([[0.5, 1]], ["jawOpen", "jawOpen"], [0]), {}), (([[np.inf]], ["jawOpen"], [0]), {}),
    (("x.csv",), {}), (b"frame,time,jawOpen\n1,0,0.5\n", {"rate": 30})])
def test_weights_that_do_not_fit_are_refused(weights, options):
    with pytest.raises(mien.InputError):
        mien.retarget(weights, **options)
