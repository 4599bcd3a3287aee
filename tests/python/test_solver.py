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


@pytest.mark.parametrize("options", [{}, {"solver": "fit", "one_euro": "3:1", "hold": 0.05, "face_fade": 0.2}])
def test_frames_are_to_the_bit_those_of_a_causal_solve(samples, landmarks, positions, options):
    path = samples / "landmarks.csv"
    animation = mien.solve(landmarks, "landmarks68", "arkit52", causal=True, neutral_take=path, **options)
    with mien.Solver("landmarks68", "arkit52", take=landmarks, **options) as solver:
        columns = [landmarks.markers.index(marker) for marker in solver.markers]
        frames = [solver.solve(points, time).copy()
                  for points, time in zip(landmarks.positions[:, columns], landmarks.times)]
        jaw = solver.shape_names.index("jawOpen")
    assert np.isnan(positions).any()  # gaps are held, and fade
    assert same_bits([frame.weights for frame in frames], animation.weights)
    assert same_bits([frame.shapes for frame in frames], animation.shapes)
    assert same_bits([frame.head for frame in frames], animation.heads)
    assert same_bits([frame.head_motion for frame in frames], animation.head_motion)
    assert np.ptp(animation.shapes[:, jaw]) > 0.3


def test_frames_are_to_the_bit_those_of_the_command(samples, command, table, landmarks, tmp_path):
    path = samples / "landmarks.csv"
    command("solve", path, "-p", "landmarks68", "-c", "arkit52", "--solver", "fit", "--one-euro", "3:1", "--causal",
            "--neutral-take", path, "-o", tmp_path / "causal.csv")
    names, rows = table(tmp_path / "causal.csv")
    solver = mien.Solver("landmarks68", "arkit52", take=landmarks, solver="fit", one_euro="3:1")
    shapes = [solver.solve(dict(zip(landmarks.markers, points)), time).shapes.copy()
              for points, time in zip(landmarks.positions, landmarks.times)]
    assert list(solver.shape_names) == names and same_bits(shapes, rows[:, 2:])


def test_eyes_and_clusters_are_to_the_bit_those_of_a_causal_solve(samples, markers):
    mesh = mien.read(samples / "mesh" / "wide.csv")
    looking = mien.solve(mesh, "landmarks478", causal=True, neutral_take=samples / "mesh" / "wide.csv")
    solver = mien.Solver("landmarks478", take=mesh)
    frames = [solver.solve(dict(zip(mesh.markers, points)), time).copy()
              for points, time in zip(mesh.positions, mesh.times)]
    assert same_bits([frame.eyes for frame in frames], looking.eyes) and frames[0].eyes_known
    puppet = samples / "puppet.character.json"
    whole = mien.solve(markers, samples / "markers.performer.json", puppet, causal=True,
                       neutral_take=samples / "markers.csv").clusters
    solver = mien.Solver(samples / "markers.performer.json", puppet, take=markers)
    clusters = [solver.solve(dict(zip(markers.markers, points)), time).copy().clusters
                for points, time in zip(markers.positions, markers.times)]
    assert clusters[0].names == whole.names and len(whole.names) > 0
    for kind in ("translations", "rotations", "scales"):
        assert same_bits([getattr(frame.world, kind) for frame in clusters], getattr(whole.world, kind))
        assert same_bits([getattr(frame.local, kind) for frame in clusters], getattr(whole.local, kind))


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


def test_markers_that_are_not_seen_are_held_and_fade(landmarks, positions):
    def after(points, seconds):
        """The weights `seconds` after an open mouth was seen whole."""
        solver = mien.Solver("landmarks68", take=landmarks)
        seen = solver.solve(opened, 0.0).weights.copy()
        frame = solver.solve(points(solver), seconds)
        return seen, frame.weights.copy(), frame.head_known

    def without(solver):
        missing = opened.copy()
        missing[solver.markers.index(MARKER)] = np.nan
        return missing

    mouth = mien.solve(landmarks, "landmarks68").weights
    opened = positions[mouth[:, mien.Solver("landmarks68", take=landmarks).template_names.index("Mouth.Open")].argmax()]
    seen, held, head_known = after(without, 0.05)
    assert same_bits(held, seen) and head_known
    _, faded, _ = after(without, 0.4)
    assert not same_bits(faded, seen)
    named = lambda solver: {name: point for name, point in zip(solver.markers, opened) if name != MARKER}
    assert same_bits(after(named, 0.4)[1], faded)
    assert same_bits(after(lambda solver: {**named(solver), MARKER: None}, 0.4)[1], faded)
    nothing = lambda solver: np.full((len(solver.markers), 3), np.nan)
    _, held, head_known = after(nothing, 0.4)
    assert same_bits(held, seen) and not head_known
    assert not after(nothing, 1.1)[1].any()


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
    with mien.Solver("landmarks68", take=landmarks) as solver:
        expected = solver.solve(positions[180]).copy().weights
    weights = mien.Solver("landmarks68", take=landmarks).solve(positions[180]).weights
    for frame in (0, 60, 120):  # their solvers would write where a freed one was
        mien.Solver("landmarks68", take=landmarks).solve(positions[frame])
    assert same_bits(weights, expected)


def test_threads_share_a_solver_and_have_their_own(landmarks, positions, solver):
    failures, own = [], [mien.Solver("landmarks68", take=landmarks) for _ in range(3)]

    def work(used):
        try:
            for points in positions[:200]:
                used.solve(points)
        except BaseException as fault:
            failures.append(fault)

    work(own[0])
    threads = [threading.Thread(target=work, args=(each,)) for each in (solver, solver, *own[1:])]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []
    for each in own[1:]:
        assert same_bits(each.frame.weights, own[0].frame.weights)
