"""mien.live: faces that move now."""

import gc
import threading
import time
import weakref

import numpy as np
import pytest

import mien
from conftest import same_bits

PHONE = ("jawOpen", "eyeBlinkLeft", "eyeBlinkRight")


@pytest.fixture
def live():
    with mien.Live() as live:
        yield live


def play(face, take, first=0, end=None):
    """The results of a take's frames."""
    return [result for points, at in zip(take.positions[first:end], take.times[first:end])
            for result in face.feed(points, at, arrival=100 + at)]


def test_two_faces_are_to_the_bit_the_causal_solves_of_their_takes(live, samples, landmarks, markers):
    options = {"solver": "fit", "one_euro": "4:1"}
    ada = live.add_markers(landmarks.markers, "landmarks68", "arkit52", take=landmarks, name="ada", **options)
    puppet = live.add_markers(markers.markers, samples / "markers.performer.json", samples / "puppet.character.json",
                              take=markers)
    assert live.faces == (ada, puppet) and ada.name == "ada" and ada.names == landmarks.markers
    results = {ada: [], puppet: []}
    for f in range(min(len(landmarks), len(markers))):
        for face, take in ((ada, landmarks), (puppet, markers)):
            (result,) = face.feed(take.positions[f], take.times[f], arrival=5.0 + f)
            assert result.face is face and result.frame == f + 1 and result.arrival == 5.0 + f
            results[face].append(result)
    for face, whole in (
            (ada, mien.solve(landmarks, "landmarks68", "arkit52", causal=True,
                             neutral_take=samples / "landmarks.csv", **options)),
            (puppet, mien.solve(markers, samples / "markers.performer.json", samples / "puppet.character.json",
                                causal=True, neutral_take=samples / "markers.csv"))):
        frames = results[face]
        assert face.shape_names == whole.shape_names and face.template_names == whole.template_names
        assert same_bits([frame.time for frame in frames], whole.times[:len(frames)])
        assert same_bits([frame.weights for frame in frames], whole.weights[:len(frames)])
        assert same_bits([frame.shapes for frame in frames], whole.shapes[:len(frames)])
        assert same_bits([frame.head for frame in frames], whole.heads[:len(frames)])
        assert same_bits([frame.head_motion for frame in frames], whole.head_motion[:len(frames)])
        assert frames[0].clusters.names == whole.clusters.names
        assert same_bits([frame.clusters.world.rotations for frame in frames],
                         whole.clusters.world.rotations[:len(frames)])
        assert frames[0].residuals.shape == (9,) == (len(face.part_names),)


def test_weights_of_a_phone(live):
    own, onto = live.add_weights(PHONE), live.add_weights(PHONE, "arkit52")
    eyes = [[0.05, 0.1], [0.06, 0.1]]
    (frame,) = own.feed([0.5, 0.25, np.nan], head=(0.1, 0.2, -0.3), eyes=eyes, head_place=(1, 2, 3))
    assert own.shape_names == PHONE and own.template_names == () and own.verdict == "used"
    assert frame.shapes.tolist() == [0.5, 0.25, 0] and frame.unseen == 1 and frame.presence == 1
    assert same_bits(frame.eyes, eyes) and frame.eyes_known and frame.head_known and frame.face_seen
    assert frame.head_motion[:3, 3].tolist() == [1, 2, 3] and not frame.learning
    assert abs(frame.arrival - time.monotonic()) < 60
    (frame,) = onto.feed({"jawOpen": 0.5, "eyeBlinkLeft": None, "tongueOut": 1})
    assert len(onto.shape_names) == 52 and frame.shapes[onto.shape_names.index("jawOpen")] > 0.2
    assert frame.unseen == 2


def test_a_recorded_phone_is_to_the_bit_the_causal_retarget_of_its_file(live, shapes, tmp_path):
    face = live.add_weights(shapes.shape_names, "arkit52", one_euro="3:1")
    face.start_recording(tmp_path / "phone")
    results = [result for weights, at in zip(shapes.shapes, shapes.times) for result in face.feed(weights, at)]
    live.close()
    again = mien.retarget(tmp_path / "phone.csv", "arkit52", causal=True, one_euro="3:1")
    assert len(results) == 360 and same_bits([result.shapes for result in results], again.shapes)
    assert again.to_bytes(".csv") == (tmp_path / "phone.out.csv").read_bytes()


def test_stopping_a_recording_says_why_it_ended_before(live, tmp_path):
    face = live.add_weights(PHONE)
    folder = tmp_path / "gone"
    folder.mkdir()
    face.start_recording(folder / "phone")
    face.feed([0.5, 0.25, 0.125])
    for file in folder.iterdir():
        file.unlink()
    folder.rmdir()
    face.mark("here")
    assert not face.statistics.recording
    with pytest.raises(mien.FileError, match="phone.events.csv"):
        face.stop_recording()
    assert len(face.feed([0.5, 0.25, 0.125])) == 1


def test_a_recording_opens_and_solves_to_what_went_out(live, samples, landmarks, tmp_path):
    face = live.add_markers(landmarks.markers, "landmarks68", "arkit52", take=landmarks)
    play(face, landmarks, 0, 30)
    face.start_recording(tmp_path / "ada")
    assert face.statistics.recording
    results = play(face, landmarks, 30, 200)
    face.mark("here, now")
    face.stop_recording()
    assert not face.statistics.recording
    recorded = mien.read(tmp_path / "ada.csv")
    assert same_bits(recorded.positions, landmarks.positions[30:200])
    again = mien.solve(recorded, "landmarks68", "arkit52", causal=True, neutral_take=samples / "landmarks.csv")
    assert same_bits([result.shapes for result in results], again.shapes)
    assert again.to_bytes(".csv") == (tmp_path / "ada.out.csv").read_bytes()
    assert "here, now" in (tmp_path / "ada.events.csv").read_text()
    with pytest.raises(mien.FileError):
        face.start_recording(tmp_path / "ada")


def test_the_neutral_face_is_learned_from_the_first_seconds(live, landmarks):
    face = live.add_markers(landmarks.markers, "landmarks68", learn=0.5)
    results = play(face, landmarks)
    learning = [result.learning for result in results]
    assert learning[0] and not learning[-1] and not any(result.weights.any() for result in results if result.learning)
    face.neutral_now()
    (frame,) = face.feed(landmarks.positions[0], 100)
    assert frame.learning


def test_frames_that_are_left_out_have_no_results(live):
    face = live.add_weights(PHONE)
    assert face.verdict == ""
    for at, verdict in ((1, "used"), (1, "duplicate"), (0.9, "late")):
        results = face.feed([1, 0, 0], at, arrival=at)
        assert face.verdict == verdict and len(results) == (verdict == "used")
    assert face.feed([1, 0, 0], 2, arrival=float("nan")) == () and face.verdict == "unusable"
    live.paused = True
    assert live.paused and face.feed([1, 0, 0], 3) == () and face.verdict == "paused"
    live.paused = False
    (frame,) = face.feed([np.inf, 0, 0], 4)
    assert frame.shapes[0] != np.inf
    face.add_latency(0.002)
    counts = face.statistics
    assert (counts.received, counts.used, counts.duplicates, counts.late, counts.unusable, counts.paused) == \
        (6, 2, 1, 1, 1, 1)
    assert counts.unusable_numbers == 1 and counts.latencies == 1 and 0.0019 < counts.latency_median < 0.0022
    assert np.isnan(counts.drift_ppm) and counts.recording is False


def test_a_lost_face_and_a_silent_source_fade(live):
    face = live.add_weights(PHONE)
    face.feed([1, 0, 0], arrival=0)
    (lost,) = face.feed(None, arrival=0.1)
    assert not lost.face_seen and lost.shapes[0] == 1
    assert live.advance(0.2) == ()
    frames = live.advance(3.0)
    assert len(frames) > 5 and frames[-1].face is face and not frames[-1].shapes.any() and frames[-1].presence == 0


def test_results_at_a_fixed_rate(live):
    face = live.add_weights(PHONE, output_rate=100)
    counts = [len(face.feed([0.25, 0, 0], at, arrival=at)) for at in (0, 0.005, 0.045)]
    assert counts == [1, 0, 4]


def test_a_timecode_takes_precedence(live):
    face = live.add_weights(PHONE)
    times = [frame.time for count in (86400 * 30 - 1, 0, 3)
             for frame in face.feed([1, 0, 0], 1.0, arrival=1.0, timecode=mien.Timecode(count, 30))]
    assert times == [0, 1 / 30, 4 / 30]


def test_the_performer_may_change(live, landmarks):
    performer = mien.Performer.load("landmarks68").with_neutral(landmarks)
    face = live.add_markers(landmarks.markers, "landmarks68", take=landmarks)
    (before,) = face.feed(landmarks.positions[180], 1)
    with pytest.raises(mien.InputError):
        face.switch_performer("landmarks478")
    (same,) = face.feed(landmarks.positions[180], 2)
    face.switch_performer(performer)
    (after,) = face.feed(landmarks.positions[180], 3)
    assert same_bits(same.weights, before.weights) and not same_bits(after.weights, before.weights)


@pytest.mark.parametrize("call", [
    lambda live, face: live.add_weights([]),
    lambda live, face: live.add_weights(["a", "a"]),
    lambda live, face: live.add_weights(["a" * 300]),
    lambda live, face: live.add_weights(PHONE, smooth_weights=6),  # needs later frames
    lambda live, face: live.add_weights(PHONE, sooth=6),
    lambda live, face: live.add_markers(PHONE, "landmarks68"),  # not its markers
    lambda live, face: live.add_markers(PHONE, "landmarks68", smooth=6),
    lambda live, face: face.feed([1, 2]),
    lambda live, face: face.feed([[1, 2, 3]]),
    lambda live, face: face.feed("open"),
    lambda live, face: face.feed({"jawOpen": "wide"}),
    lambda live, face: face.feed([1, 2, 3], head=(1, 2)),
    lambda live, face: face.feed([1, 2, 3], eyes="left"),
    lambda live, face: face.feed([1, 2, 3], timecode=mien.Timecode(0, "x")),
    lambda live, face: face.mark(""),
    lambda live, face: face.switch_performer("landmarks68"),
    lambda live, face: live.advance(float("nan")),
])
def test_wrong_calls_are_refused_and_change_nothing(live, call):
    face = live.add_weights(PHONE)
    face.feed([0.5, 0, 0], 1)
    with pytest.raises(mien.InputError) as raised:
        call(live, face)
    assert raised.value.problems[0].what
    assert live.faces == (face,) and face.statistics.received == 1
    assert face.feed([0.5, 0, 0], 2)[0].shapes[0] == 0.5


def test_names_must_be_a_sequence_of_texts(live):
    for names in ("jawOpen", [1, 2]):
        with pytest.raises(TypeError):
            live.add_weights(names)


def test_angles_are_for_weights(live, landmarks):
    face = live.add_markers(landmarks.markers, "landmarks68", take=landmarks)
    with pytest.raises(mien.InputError, match="markers show this"):
        face.feed(landmarks.positions[0], head=(0, 0, 0))


def test_results_have_their_own_memory(live):
    face = live.add_weights(PHONE)
    (first,) = face.feed([0.5, 0, 0], 1)
    for at in range(2, 50):
        face.feed([0.25, 0, 0], at)
    live.close()
    assert first.shapes.tolist() == [0.5, 0, 0]
    first.shapes[0] = 1  # the caller's own


def test_removing_and_closing(landmarks, tmp_path):
    live = mien.Live()
    face, other = live.add_weights(PHONE, name="a"), live.add_weights(PHONE, name="b")
    face.start_recording(tmp_path / "phone")
    face.feed([0.5, 0, 0], 1)
    face.remove()
    assert live.faces == (other,) and "0.5" in (tmp_path / "phone.out.csv").read_text()
    for call in (lambda: face.feed([1, 0, 0]), face.remove, face.neutral_now, lambda: face.statistics):
        with pytest.raises(mien.InputError):
            call()
    live.close()
    live.close()
    assert live.closed and "closed" in repr(live) and "weights" in repr(other)
    for call in (lambda: other.feed([1, 0, 0]), lambda: other.statistics, lambda: live.faces, live.advance,
                 lambda: live.add_weights(PHONE), lambda: setattr(live, "paused", True)):
        with pytest.raises(mien.ClosedError, match="Live"):
            call()


def test_a_face_outlives_its_live_and_neither_has_cycles(tmp_path):
    gc.disable()
    try:
        live = mien.Live()
        face = live.add_weights(PHONE)
        face.start_recording(tmp_path / "phone")
        alive = weakref.ref(live)
        del live
        assert alive() is None
        assert face.feed([0.5, 0, 0], 1)[0].shapes[0] == 0.5
        session = weakref.ref(face._session)
        del face
        assert session() is None
    finally:
        gc.enable()


def test_threads_share_a_live(landmarks):
    live = mien.Live()
    expected = [result.weights for result in play(
        mien.Live().add_markers(landmarks.markers, "landmarks68", take=landmarks), landmarks, 0, 150)]
    failures, results = [], {}

    def work(number):
        try:
            face = live.add_markers(landmarks.markers, "landmarks68", take=landmarks)
            results[number] = [result.weights for result in play(face, landmarks, 0, 150)]
            live.advance(100.0)  # before all arrivals: nobody is silent
        except BaseException as fault:
            failures.append(fault)

    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == [] and len(results) == 4 and len(live.faces) == 4
    for weights in results.values():
        assert same_bits(weights, expected)
