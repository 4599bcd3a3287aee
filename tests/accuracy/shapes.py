"""Tests the measures of benchmarks/accuracy/shapes.py on weights whose figures are known exactly, and that the command's two
solvers are measured: on a take made from the built-in face of two heads, which their fit should give back.

    shapes.py BENCHMARKS/accuracy MIEN BUILT_IN_FACE.csv SCRATCH_FOLDER
"""

import json
import subprocess
import sys
from pathlib import Path
from types import SimpleNamespace

import numpy

tool, mien, basis, scratch = Path(sys.argv[1]), sys.argv[2], Path(sys.argv[3]), Path(sys.argv[4])
sys.path.insert(0, str(tool))
import columns
import shapes
import tables
from failed import Failed


def expect(what, value, wanted, most=1e-12):
    if not abs(value - wanted) <= most:
        sys.exit(f"{what} is {value}, not {wanted}")


# Ten frames at rest, ten in which the head turns, ten in which one shape acts alone, and one without an answer.
frames = numpy.arange(31.0)
pulse = numpy.where((frames >= 20) & (frames < 30), 1.0, 0.0)
answered = numpy.where(frames < 30, 1.0, numpy.nan)
phase = numpy.array(["still"] * 10 + ["turn"] * 10 + ["solo"] * 10 + [""])
take = SimpleNamespace(
    frames=frames,
    known={
        "phase": phase,
        "jawOpen": pulse * answered,
        "mouthLeft": 0.5 * pulse * answered,
        "mouthClose": 0.04 * pulse * answered,  # moves too little to be compared
        "eyeLookUpLeft": pulse * answered,  # gaze
        "R00": answered,
    },
    labels={"AU25_r": 5 * pulse, "AU12_r": pulse, "AU01_r": pulse, "AU09_r": 0 * pulse},
)
weights = {
    "jawOpen": 0.5 * pulse,
    "mouthLeft": 0 * pulse,
    "mouthClose": 0.1 + 0 * pulse,
    "mouthSmileLeft": 0.2 * pulse,
    "mouthSmileRight": -0.3 * pulse,
    "noseSneerLeft": pulse,
    "noseSneerRight": pulse,
    "browInnerUp": 0 * pulse,
    "eyeLookUpLeft": 0.6 + 0 * pulse,
}
found = shapes.of_weights(take, weights, {"jawOpen", "eyeLookUpLeft"})
assert set(found["shapes"]) == {"jawOpen", "mouthLeft"}, found["shapes"]
expect("r of half the weight", found["shapes"]["jawOpen"]["known"], 1)
expect("r of a shape that stays 0", found["shapes"]["mouthLeft"]["known"], 0)
expect("mean r", found["known_mean"], 0.5)
expect("mean r of the shapes that parts drive", found["known_mean_of_parts"], 1)
expect("shapes above 0.8", found["above_0.8"], 1)
expect("shapes compared", found["compared"], 2)
expect("RMSE of jawOpen", found["shapes"]["jawOpen"]["error"], 0.5 / numpy.sqrt(3))
expect("RMSE", found["error_mean"], 0.5 / numpy.sqrt(3))
expect("RMSE of zeros", found["error_of_zeros_mean"], 0.75 / numpy.sqrt(3))
expect("at 1", found["at_one"], 0.5)  # mouthLeft reaches only 0.5
others = 0 + 0.1 + 0.2 + 0.3 + 1 + 1 + 0  # without jawOpen itself, and without gaze
expect("crosstalk", found["crosstalk"], others / 7)
expect("leakage", found["leakage"], (0.1 + 0.6) / 9)
assert set(found["units"]) == {"jawOpen", "mouthSmile", "browInnerUp"}, found["units"]  # AU09 does not move
expect("r with a label", found["units"]["jawOpen"], 1)
expect("r of both sides", found["units"]["mouthSmile"], 0)
expect("r of a shape that stays 0 with its label", found["units"]["browInnerUp"], 0)
expect("mean r with the labels", found["units_mean"], 1 / 3)

still = shapes.of_weights(SimpleNamespace(frames=frames, known={"jawOpen": pulse}, labels={}), weights, set())
assert "at_one" not in still and "crosstalk" not in still and "leakage" not in still and still["known_mean_of_parts"] is None
try:
    shapes.of_weights(SimpleNamespace(frames=frames, known={"Mouth.Open": pulse}, labels={}), weights, set())
    sys.exit("a take without known shapes is measured")
except Failed as fault:
    assert "nor action units" in str(fault)

a, b, labelled = ({"shapes": {}, "units": {}} for _ in range(3))
a["shapes"] = {"mouthSmileLeft": {"known": 0.75}, "mouthSmileRight": {"known": 0.25}, "jawLeft": {"known": 1.0}}
b["shapes"] = {"mouthSmileLeft": {"known": 0.5}, "mouthSmileRight": {"known": 0.5}, "jawRight": {"known": 0.0}}
labelled["units"] = {"browDown": 0.125}
of_solves = {"parts": {"a.csv": a, "c.csv": labelled}, "fit": {"a.csv": b}}
by_group = {"known": ["a.csv"], "labels": ["c.csv"]}
of_all, of_shapes, of_units = shapes.tables(of_solves, by_group, False)
assert of_shapes.headings == [("known", "parts"), ("known", "fit")], of_shapes.headings
assert of_shapes.rows == [
    ("mouthSmile", ["0.50 (0.25)", "0.50 (0.50)"]),
    ("jawLeft", ["1.00", "-"]),
    ("jawRight", ["-", "0.00"]),
], of_shapes.rows
assert of_units.rows == [("browDown, 4", ["0.12"])] and of_units.headings == [("labels", "parts")], of_units
per_side = list(shapes.tables(of_solves, by_group, True))[1]
assert [row for row, _ in per_side.rows] == ["mouthSmileLeft", "mouthSmileRight", "jawLeft", "jawRight"], per_side.rows
assert tables.as_markdown(of_units).splitlines()[-1] == "| browDown, 4 | 0.12 |"

# The built-in face: at rest, then each shape alone.
face = columns.read(basis)
landmarks = [list(face["point"]).index(f"lm{i}") for i in range(68)]
names = [name[:-2] for name in face if name.endswith(".x")]
rest = numpy.stack([face[axis][landmarks] for axis in "xyz"], 1)
moved = numpy.stack([[face[f"{name}.{axis}"][landmarks] for axis in "xyz"] for name in names])  # shapes x axes x landmarks
wave = numpy.sin(numpy.linspace(0, numpy.pi, 15))
known = numpy.zeros((60 + 15 * len(names), len(names)))
for i in range(len(names)):
    known[60 + 15 * i : 75 + 15 * i, i] = wave
points = rest + numpy.einsum("fs,sap->fpa", known, moved)
points += numpy.random.default_rng(5).normal(0, 0.05, points.shape)
scratch.mkdir(parents=True, exist_ok=True)


def write(name, header, rows):
    lines = [",".join(header), *(",".join(row) for row in rows)]
    (scratch / name).write_text("\n".join(lines) + "\n")


at = [[str(i), f"{(i - 1) / 30:.6f}"] for i in range(1, len(points) + 1)]
phases = [["still"]] * 60 + [["solo"]] * (len(points) - 60)
header = ["frame", "time", *(f"lm{i}.{axis}" for i in range(68) for axis in "xyz")]
write("made.csv", header, [t + [f"{x:.4f}" for x in p.ravel()] for t, p in zip(at, points)])
answers = [t[:1] + p + [f"{w:.4f}" for w in k] for t, p, k in zip(at, phases, known)]
write("made.truth.csv", ["frame", "phase", *names], answers)
command = [sys.executable, "-B", tool, scratch, "--mien", mien, "--shapes", "--json", "--names", "parts,fit"]
done = subprocess.run([*command, "--options=--solver parts", "--options=--solver fit"], capture_output=True, text=True)
if done.returncode != 0:
    sys.exit(done.stderr)
whole = json.loads(done.stdout)
parts, fit = (whole["solves"][name]["made.csv"] for name in ("parts", "fit"))
print(
    *(f"{name}: {key} {of[key]:.3g}" for name, of in (("parts", parts), ("fit", fit)) for key in ("known_mean", "crosstalk")),
    sep="\n",
)
for eye in ("eyeBlinkLeft", "eyeBlinkRight", "eyeSquintLeft", "eyeSquintRight"):  # from the parts with both solvers
    assert parts["shapes"][eye] == fit["shapes"][eye] and parts["shapes"][eye]["known"] > 0.5, (eye, parts["shapes"][eye])
for shape in ("jawLeft", "mouthRight", "mouthRollUpper"):  # no template drives them from landmarks
    assert parts["shapes"][shape]["known"] == 0 and fit["shapes"][shape]["known"] > 0.9, (shape, fit["shapes"][shape])
assert fit["known_mean"] > 0.8 and fit["known_mean_of_parts"] > 0.8, "the fit does not give back its own face"
assert fit["known_mean_of_parts"] > parts["known_mean_of_parts"] > parts["known_mean"] + 0.2
assert fit["crosstalk"] < 0.025 and fit["leakage"] < 0.005
assert fit["error_mean"] < parts["error_mean"] < parts["error_of_zeros_mean"]

# Beside the samples lie weights of templates alone.
samples = [sys.executable, "-B", tool, Path(__file__).parents[2] / "samples", "--mien", mien, "--shapes"]
done = subprocess.run(samples, capture_output=True, text=True)
assert done.returncode == 1 and "landmarks.csv: neither weights of shapes nor action units are known" in done.stderr, done
assert "no take could be used" in done.stderr, done
