"""mien.solver: frame by frame."""

import threading

import numpy as np
import pytest

import mien
from conftest import same_bits

MARKER = "lm65"  # of the lower lip


@pytest.fixture
def solver(landmarks):
    return mien.Solver("landmarks68", "arkit52", take=landmarks)


@pytest.fixture(scope="module")
def positions(landmarks):
    """Those of the solver's markers."""
    with mien.Solver("landmarks68", take=landmarks) as solver:
        return landmarks.positions[:, [landmarks.markers.index(marker) for marker in solver.markers]]


def test_frames_are_those_of_the_solved_take(landmarks, positions, solver):
    animation = mien.solve(landmarks, "landmarks68", "arkit52")
    solved = np.array([solver.solve(points).weights.copy() for points in positions])
    assert solved.shape == animation.weights.shape
    complete = np.isfinite(positions).all(axis=(1, 2))
    assert 350 < complete.sum() < len(landmarks)  # gaps are filled from both sides, which a solver cannot do
    # The take's head is calmed over time as well, which moves the weights by hundredths.
    assert np.abs(solved - animation.weights)[complete].max() < 0.02
    assert np.ptp(solved[:, solver.template_names.index("Mouth.Open")]) > 0.3


def test_a_performer_with_a_neutral_face_needs_no_take(landmarks):
    performer = mien.Performer.load("landmarks68").with_neutral(landmarks, neutral="1-10")
    frame = mien.Solver(performer, "arkit52").solve(dict(zip(landmarks.markers, landmarks.positions[180])))
    assert frame.head_known and np.isfinite(frame.shapes).all() and frame.shapes.any()


def test_arrays_are_views_of_the_last_frame(positions, solver):
    frame = solver.frame
    weights = frame.weights
    first = solver.solve(positions[0])
    assert first is frame and first.weights is weights
    kept = first.copy()
    solver.solve(positions[180])
    assert not same_bits(kept.weights, weights) and kept.head_known and kept.clusters.names == ()
    assert weights.shape == (len(solver.template_names),) and frame.shapes.shape == (52,)
    assert frame.head.shape == frame.head_motion.shape == (4, 4) and frame.eyes.shape == (2, 2)
    assert frame.residuals.shape == (9,) == (len(solver.part_names),)
    with pytest.raises(ValueError):
        weights[0] = 1


def test_points_may_be_lists_other_types_and_named(positions, solver):
    points = positions[100]
    expected = solver.solve(points).weights.copy()
    for same in (points.tolist(), np.asfortranarray(points), points[::-1].copy()[::-1],
                 dict(zip(solver.markers, points)), {**dict(zip(solver.markers, points)), "unknown": (0, 0, 0)}):
        assert same_bits(solver.solve(same).weights, expected)
    assert np.abs(solver.solve(points.astype(np.float32)).weights - expected).max() < 1e-4


def test_markers_that_are_not_seen(landmarks, positions, solver):
    mouth = mien.solve(landmarks, "landmarks68").weights[:, solver.template_names.index("Mouth.Open")]
    opened = positions[mouth.argmax()]
    named = dict(zip(solver.markers, opened))
    seen = solver.solve(named).weights.copy()
    missing = opened.copy()
    missing[solver.markers.index(MARKER)] = np.nan
    a = solver.solve(missing).weights.copy()
    del named[MARKER]
    assert same_bits(solver.solve(named).weights, a)
    assert same_bits(solver.solve({**named, MARKER: None}).weights, a)
    assert not same_bits(a, seen)
    nothing = solver.solve(np.full((43, 3), np.nan))
    assert not nothing.head_known and np.isfinite(nothing.weights).all()


@pytest.mark.parametrize("points", [
    np.zeros((68, 3)), np.zeros((43, 2)), np.zeros(3), np.zeros((1, 43, 3)), np.zeros((43, 1)), [], "face", None,
    [[1, 2], [1]], np.full((43, 3), np.inf), {MARKER: (1, np.inf, 2)}, {MARKER: (1, 2)}, {MARKER: "x"},
    np.zeros((43, 3), complex)])
def test_points_that_do_not_fit_are_refused_and_change_nothing(positions, solver, points):
    before = solver.solve(positions[100]).weights.copy()
    with pytest.raises(mien.InputError):
        solver.solve(points)
    assert same_bits(solver.frame.weights, before)
    assert same_bits(solver.solve(positions[100]).weights, before)


def test_times_must_rise(positions, solver):
    solver.solve(positions[0], 1.0)
    for time in (1.0, 0.5, float("nan"), float("inf")):
        with pytest.raises(mien.InputError):
            solver.solve(positions[1], time)
    solver.solve(positions[1], 1.5)


def test_a_solver_needs_a_neutral_face():
    with pytest.raises(mien.InputError) as raised:
        mien.Solver("landmarks68")
    assert raised.value.problems[0].fix


def test_views_keep_the_solver_alive(landmarks, positions):
    weights = mien.Solver("landmarks68", take=landmarks).solve(positions[180]).weights
    again = mien.Solver("landmarks68", take=landmarks).solve(positions[180]).weights
    assert same_bits(weights, again)


def test_threads_share_a_solver_and_have_their_own(landmarks, positions, solver):
    failures = []

    def work(own):
        try:
            for points in positions[:200]:
                own.solve(points)
        except BaseException as fault:
            failures.append(fault)

    threads = [threading.Thread(target=work, args=(each,)) for each in
               (solver, solver, *(mien.Solver("landmarks68", take=landmarks) for _ in range(2)))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []
