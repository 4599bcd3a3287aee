"""mien.performer and mien.character: built-ins, files, measures."""

import json

import numpy as np
import pytest

import mien
from conftest import same_bits


def test_built_ins_are_listed_and_load():
    assert mien.performers() == ("landmarks68", "landmarks478")
    assert mien.characters() == ("arkit52", "vrm1")
    for name in mien.performers():
        with mien.Performer.load(name) as performer:
            assert performer.markers and performer.ranges == () and name in repr(performer)
    for name, shapes in zip(mien.characters(), (52, 18)):
        with mien.Character.load(name) as character:
            assert len(character.shapes) == shapes and character.name == name


def test_a_file_its_text_and_its_document_are_one_performer(samples, markers):
    path = samples / "markers.performer.json"
    text = path.read_text()
    loaded = mien.Performer.load(path)
    expected = mien.solve(markers, loaded).weights
    for source in (text, text.encode(), json.loads(text), loaded.to_json()):
        performer = mien.Performer.from_json(source)
        assert performer.name == "synthetic" and performer.markers == loaded.markers
        assert same_bits(mien.solve(markers, performer).weights, expected)


def test_a_file_its_text_and_its_document_are_one_character(samples, landmarks):
    path = samples / "puppet.character.json"
    loaded = mien.Character.load(path)
    expected = mien.solve(landmarks, "landmarks68", loaded).shapes
    for source in (path.read_bytes(), json.loads(path.read_text()), loaded.to_json()):
        character = mien.Character.from_json(source)
        assert character.shapes == loaded.shapes
        assert same_bits(mien.solve(landmarks, "landmarks68", character).shapes, expected)


def test_characters_from_heads_and_from_names_of_shapes(samples, command, tmp_path):
    command("character", "from-glb", samples / "head.glb", "-o", tmp_path / "head.json")
    from_head = mien.Character.from_head(samples / "head.glb")
    assert from_head.to_json() == (tmp_path / "head.json").read_text()
    named = mien.Character.from_shapes(from_head.shapes, name="mine")
    assert named.name == "mine" and set(named.shapes) == set(from_head.shapes)


def test_with_neutral_is_the_file_of_the_command(samples, command, landmarks, tmp_path):
    command("performer", samples / "landmarks.csv", "--performer", "landmarks68", "--neutral", "1-10", "--name", "Ada",
            "-o", tmp_path / "ada.json")
    ada = mien.Performer.load("landmarks68").with_neutral(landmarks, neutral="1-10", name="Ada")
    assert ada.to_json() == (tmp_path / "ada.json").read_text() and ada.name == "Ada"


def test_guess_is_the_file_of_the_command(samples, command, markers, tmp_path):
    command("performer", samples / "markers.csv", "--guess", "-o", tmp_path / "guess.json")
    guess = mien.Performer.guess(markers)
    assert json.loads(guess.to_json())["parts"] == json.loads((tmp_path / "guess.json").read_text())["parts"]


def test_calibrate_is_the_file_of_the_command(samples, command, landmarks, tmp_path):
    command("calibrate", samples / "landmarks.csv", "-p", "landmarks68", "--name", "Ada", "-o", tmp_path / "ada.json")
    ada = mien.calibrate([landmarks], "landmarks68", name="Ada")
    expected, measured = json.loads((tmp_path / "ada.json").read_text()), json.loads(ada.to_json())
    for document in (expected, measured):
        del document["calibration"]["takes"]  # the file's hash, which a take in memory does not have
    assert measured == expected
    trusted = {r.name: (r.low, r.high) for r in ada.ranges if r.trusted}
    assert trusted and set(trusted) <= {r.name for r in ada.ranges}
    assert all(r.why for r in ada.ranges if not r.trusted)
    by_file = mien.solve(landmarks, tmp_path / "ada.json").weights
    assert same_bits(mien.solve(landmarks, ada).weights, by_file)
    assert not same_bits(mien.solve(landmarks, ada, no_ranges=True).weights, by_file)
    assert mien.calibrate(landmarks, "landmarks68", name="Ada").ranges == ada.ranges


def test_calibrate_needs_a_take():
    with pytest.raises(mien.InputError, match="there is no take"):
        mien.calibrate([], "landmarks68")


@pytest.mark.parametrize("text", ["", "{", "[]", '{"format": "mien performer 1"}', "null", "\udcff", "{" * 100000])
def test_text_of_neither_a_performer_nor_a_character_is_refused(text):
    for kind in (mien.Performer, mien.Character):
        with pytest.raises(mien.Error) as raised:
            kind.from_json(text, name="mine.json")
        assert raised.value.problems[0].file == "mine.json"


def test_a_solve_keeps_what_it_needs(landmarks):
    with mien.Performer.load("landmarks68") as performer, mien.Character.load("arkit52") as character:
        animation = mien.solve(landmarks, performer, character)
    assert performer.closed and character.closed
    assert len(animation.to_bytes(".glb")) > 1000 and np.isfinite(animation.shapes).all()
