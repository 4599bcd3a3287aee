"""Tests the measures of benchmarks/accuracy: lengths do not depend on the head's motion, the plain fit finds that motion,
the reported error of a head is the one that was put in, and blinks are found where they are.
"""

import sys

import numpy

sys.path.insert(0, sys.argv[1])
import calibration
import geometry
import rotations
import takes
from figures import correlation

random = numpy.random.default_rng(7)


def turns(count, largest_rad):
    """Rotations about random axes."""
    half = random.uniform(-largest_rad, largest_rad, (count, 3)) / 2
    quaternions = numpy.column_stack([half, numpy.ones(count)])
    return rotations.from_quaternions(quaternions / numpy.linalg.norm(quaternions, axis=1)[:, None])


def expect(what, difference, most):
    if not difference <= most:
        sys.exit(f"{what}: off by {difference}, more than {most}")
    print(f"{what}: off by {difference:.3g}")


frames = 400
head, shift = turns(frames, 0.5), random.uniform(-100, 100, (frames, 3))
face = random.uniform(-80, 80, (68, 3)) + random.normal(0, 3, (frames, 68, 3))  # no two frames alike
moved = numpy.einsum("fij,fnj->fni", head, face) + shift[:, None]

point, a, b = (numpy.array([place], float) for place in ([7, 3, 4], [1, 0, 0], [9, 0, 0]))
expect("a distance from a line", abs(geometry.distance_from_line(point[:, None], a, b)[0] - 5), 1e-12)
still, moving = geometry.of_landmarks(face), geometry.of_landmarks(moved)
assert len(still) == 8
for name in still:
    expect(f"{name} of landmarks, the head moving", numpy.abs(still[name] - moving[name]).max(), 1e-9)

assert len(set(geometry.LANDMARKS_ON_MESH)) == 68 and max(geometry.LANDMARKS_ON_MESH) < 468
of_mesh = {f"lm{i}": random.uniform(-80, 80, (frames, 3)) for i in range(468)}
for i, landmark in enumerate(geometry.LANDMARKS_ON_MESH):
    of_mesh[f"lm{landmark}"] = moved[:, i]
of_68 = {f"lm{i}": moved[:, i] for i in range(68)}
fits = [
    geometry.plain_head(of, None, None, landmarks)
    for of, landmarks in ((of_mesh, geometry.LANDMARKS_ON_MESH), (of_68, range(68)))
]
assert all(numpy.array_equal(mesh, landmarks) for mesh, landmarks in zip(*fits)), "the 68 on the mesh are another face"

for of_known, of_take, apart in (([1, 2], [0, 1], 1), ([0, 1], [0, 1], 0), ([1, 2], [1, 2], 0), ([1, 2], [2, 3], 0)):
    assert takes.from_one({"frame": numpy.array(of_known)}, numpy.array(of_take)) == apart, (of_known, of_take)

parts = {
    "Mouth": {"LeftMouthHolder": ["5"], "RightMouthHolder": ["6"], "UpperMouthHolder": ["7"], "LowerMouthHolder": ["8"]},
    "LeftBrow": {"BrowHolder": ["9", "10"]},
    "RightBrow": {"BrowHolder": ["11"], "InBrowHolder": ["12"]},
    "LeftEye": {"UpperEyeHolder": ["13"], "LowerEyeHolder": ["14"]},
    "RightEye": {"UpperEyeHolder": ["15"]},
}
performer = {"head": ["0", "1", "2", "3", "4"], "parts": parts}
face[:, :5] = face[0, :5]  # the head's markers hold still
moved = numpy.einsum("fij,fnj->fni", head, face) + shift[:, None]
places = [{str(marker): points[:, marker] for marker in range(16)} for points in (face, moved)]
curves = [geometry.of_markers(of, performer, geometry.plain_head(of, performer, None)) for of in places]
assert len(curves[0]) == 8
for name in curves[0]:  # a height over the head has no zero
    apart = curves[0][name] - curves[1][name]
    expect(f"{name} of markers, the head moving", numpy.ptp(apart), 1e-9)

moved[3, 2], moved[4, :3] = numpy.nan, numpy.nan  # one is hidden, three are
found, _ = rotations.plain_fit(moved[:, :5])
assert numpy.isnan(found[4]).all() and numpy.isfinite(found[numpy.arange(frames) != 4]).all()
seen = numpy.arange(frames) != 4
expect("a plain fit", rotations.differences_deg(found[seen], head[seen]).max(), 1e-5)

a, b = turns(2, 3)
expect("the same head in other axes", rotations.differences_deg(a @ head @ b, head).max(), 1e-5)
degrees = random.choice([-1, 1], frames)
half = numpy.radians(degrees) / 2
nod = rotations.from_quaternions(numpy.stack([numpy.sin(half), 0 * half, 0 * half, numpy.cos(half)], 1))
errors = rotations.differences_deg(a @ nod @ head @ b, head)
expect("a head that nods by a degree more or less", abs(numpy.median(errors) - 1), 0.1)

expect("r of a curve and its negative", abs(correlation(still["Mouth.width"], -2 * still["Mouth.width"] + 3) + 1), 1e-12)
assert correlation(numpy.ones(9), numpy.arange(9.0)) is None

# Blinks of a triangle's shape at 2, 4, 6 and 8 s, a weaker twitch, and a lid that is lowered for a second.
at = numpy.arange(300) / 30
lid = sum(numpy.maximum(0, 1 - numpy.abs(at - middle) / 0.12) for middle in (2, 4, 6, 8))
lid += 0.3 * numpy.maximum(0, 1 - numpy.abs(at - 5) / 0.12) + 0.6 * ((at > 8.5) & (at < 9.5))
assert calibration.blinks_of(lid, 30) == [60, 120, 180, 240], calibration.blinks_of(lid, 30)
assert calibration.blinks_of(numpy.zeros(90), 30) == []
assert calibration.runs(numpy.array([True, True, False, True])) == [(0, 1), (3, 3)]


class Talk:
    frames, known = numpy.arange(10, 30), {"phase": numpy.array(["solo"] * 12 + ["talk"] * 8)}


(first, second), (second_again, first_again) = calibration.halves(Talk)
assert first.tolist() == first_again.tolist() == [22, 23, 24, 25]
assert second.tolist() == second_again.tolist() == [26, 27, 28, 29]
Talk.known = {}
assert len(calibration.halves(Talk)[0][0]) == 10
