"""Calibrates a take on a part of it, and measures the weights before and after on the rest."""

import json

import numpy

from answers import CURVES, total
from command import run, solve
from failed import Failed
from figures import AT_ONE, AT_REST, correlation

LABEL_AT_REST = 0.5  # of 5, of a tracker's action units


def of_take(mien, options, take, path, scratch):
    """Two lists of {curve: {"before": figures, "calibrated": figures}}, of blinks and of a guided take, and what could not be
    calibrated, with the reason."""
    blinks, guided, refused = [], [], []
    if closing(take, "Left") is not None:
        for i, (calibrated_on, measured_on) in enumerate(halves(take)):
            try:
                blinks.append(of_halves(mien, options, take, path, scratch, calibrated_on, measured_on))
            except Failed as fault:
                refused.append(f"half {i + 1}: {fault}")
    if "phase" in take.known and (take.known["phase"] == "solo").any():
        try:
            guided.append(of_poses(mien, options, take, path, scratch))
        except Failed as fault:
            refused.append(f"guided: {fault}")
    return blinks, guided, refused


def halves(take):
    """The frames of each half and of the other one: of what the person says, where that is known."""
    frames = take.frames
    if "phase" in take.known and (take.known["phase"] == "talk").any():
        frames = frames[take.known["phase"] == "talk"]
    first, second = frames[: len(frames) // 2], frames[len(frames) // 2 :]
    return (first, second), (second, first)


def closing(take, side):
    """How far an eye is known or labelled to be closed; None where neither is the case."""
    return take.known.get(f"eyeBlink{side}", take.labels.get("AU45_r"))


def of_halves(mien, options, take, path, scratch, calibrated_on, measured_on):
    parts = []
    for name, frames in (("calibrated_on.csv", calibrated_on), ("measured_on.csv", measured_on)):
        parts.append(scratch / name)
        run([mien, "convert", "-q", path, parts[-1], "--frames", f"{int(frames[0])}-{int(frames[-1])}"])
    file = scratch / "calibrated.json"
    run([mien, "calibrate", "-q", parts[0], "-p", take.performer, "-o", file, *options.split()])
    solved = {
        "before": solve(mien, options, parts[1], take.performer, scratch / "solved.json", 1),
        "calibrated": solve(mien, options, parts[1], file, scratch / "solved.json", 1),
    }
    of_frame = {int(frame): i for i, frame in enumerate(take.frames)}
    at = [of_frame[int(frame)] for frame in solved["before"].frames]
    figures = {}
    for side in ("Left", "Right"):
        known = closing(take, side)[at]
        peaks = blinks_of(known, solved["before"].rate)
        quiet = known < (AT_REST if take.known else LABEL_AT_REST)
        if len(peaks) == 0 or not quiet.any():
            raise Failed("the other half has no blink")
        near = max(1, round(0.1 * solved["before"].rate))
        figures[f"{side}Eye.Close"] = {
            name: {
                "peak": float(numpy.median([of.weights[f"{side}Eye.Close"][max(0, i - near) : i + near + 1].max() for i in peaks])),
                "quiet_95": float(numpy.percentile(of.weights[f"{side}Eye.Close"][quiet], 95)),
                "r": correlation(of.weights[f"{side}Eye.Close"], known),
            }
            for name, of in solved.items()
        }
    return figures


def blinks_of(known, rate):
    """The frames in which a curve has a blink's peak: the largest from 0.25 s before to 0.4 s after it, with at least half of
    the rise and fall that a usual blink has (the median of those with half of the fourth largest)."""
    before, after = max(1, round(0.25 * rate)), max(1, round(0.4 * rate))
    found = {}
    for i in range(1, len(known) - 1):
        rise, fall = known[max(0, i - before) : i], known[i + 1 : i + 1 + after]
        if known[i] >= rise.max() and known[i] > fall.max():
            found[i] = known[i] - max(rise.min(), fall.min())
    if not found:
        return []
    strengths = numpy.array(sorted(found.values(), reverse=True))
    usual = numpy.median(strengths[strengths >= strengths[min(3, len(strengths) - 1)] / 2])
    return [i for i, strength in found.items() if strength >= usual / 2]


def of_poses(mien, options, take, path, scratch):
    """A pose is calibrated on the first half of the frames in which its shapes act alone, and measured on the others."""
    poses = json.loads(run([mien, "calibrate", "--list-poses", "--json"]).stdout)["result"]["poses"]
    solo, marks, held_out = take.known["phase"] == "solo", [], numpy.zeros(len(take.frames), bool)
    for pose in poses:
        for side in ("Left", "Right"):
            of_side = [shape for shape in pose["shapes"] if not shape.endswith("Right" if side == "Left" else "Left")]
            if of_side and all(shape in take.known for shape in of_side):
                shown = solo & numpy.all([take.known[shape] >= AT_ONE for shape in of_side], axis=0)
                for first, last in runs(shown):
                    middle = (first + last) // 2
                    held_out[middle + 1 : last + 1] = True
                    marks.append((pose["pose"], first, middle))
    for first, last in runs(take.known["phase"] == "still"):
        marks.append(("rest", first, last))
    file, table = scratch / "guided.json", scratch / "marks.csv"
    rows = [f"{pose},{int(take.frames[first])},{int(take.frames[last])}\n" for pose, first, last in dict.fromkeys(marks)]
    table.write_text("pose,from,to\n" + "".join(rows))
    run([mien, "calibrate", "-q", path, "-p", take.performer, "-o", file, "--poses", table, *options.split()])
    solved = {
        "before": solve(mien, options, path, take.performer, scratch / "solved.json", 1),
        "calibrated": solve(mien, options, path, file, scratch / "solved.json", 1),
    }
    ranges = json.loads(file.read_text()).get("ranges", {})
    figures = {}
    for curve in CURVES:
        known = total(curve.shapes, take.known)
        (template, *others), at_one = curve.weights, held_out & solo & (known >= AT_ONE)
        if others or not ranges.get(template, {}).get("trusted") or not at_one.any():
            continue
        figures[curve.name] = {
            name: {
                "at_one": float(of.weights[template][at_one].mean()),
                "known": correlation(of.weights[template], known),
            }
            for name, of in solved.items()
        }
    return figures


def runs(chosen):
    """The first and the last index of each stretch of chosen frames."""
    edges = numpy.flatnonzero(numpy.diff(numpy.concatenate([[0], chosen.astype(int), [0]])))
    return [(int(first), int(end) - 1) for first, end in edges.reshape(-1, 2)]
