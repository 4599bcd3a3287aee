"""The figures of one solve of one take. Correlations are Pearson's r."""

import re

import numpy

from answers import CURVES, total
from failed import Failed
from rotations import differences_deg, from_mean

SHAPE = re.compile("brow|cheek|eye|jaw|mouth|nose|tongue")  # what the names of the 52 begin with
AT_ONE = 0.97  # a known weight from here on counts as 1
AT_REST = 0.05  # and below here as 0


def correlation(a, b):
    """None where one of the two does not change, or there is no second one."""
    if b is None:
        return None
    both = numpy.isfinite(a) & numpy.isfinite(b)
    if both.sum() < 3:
        return None
    a, b = a[both] - a[both].mean(), b[both] - b[both].mean()
    scale = numpy.sqrt((a @ a) * (b @ b))
    return float(a @ b / scale) if scale > 1e-12 else None


def of_solve(take, solved):
    if len(solved.frames) != len(take.frames) or (solved.frames != take.frames).any():
        raise Failed("the solve has other frames than the take")
    return {
        "frames": len(solved.frames),
        "points": take.points,
        "microseconds_per_frame": 1e6 * solved.seconds / len(solved.frames),
        "head": of_head(take, solved),
        "templates": {curve.name: of_curve(take, solved, curve) for curve in CURVES},
        "looking_down": looking_down(take, solved),
    }


def of_head(take, solved):
    """Errors are the 95th percentile in degrees, over the frames in which the plain fit has a head."""
    plain = take.plain_head[0]
    seen = numpy.isfinite(plain).all((1, 2))
    if not seen.any():
        return {}
    names = [[f"R{row}{column}" for column in range(3)] for row in range(3)]
    if any(name not in take.known for row in names for name in row):
        return {"from_plain_fit_deg": float(numpy.percentile(differences_deg(solved.heads[seen], plain[seen]), 95))}
    true = numpy.stack([numpy.stack([take.known[name] for name in row], 1) for row in names], 1)
    seen &= numpy.isfinite(true).all((1, 2))
    errors = differences_deg(solved.heads[seen], true[seen])
    of_plain_fit = float(numpy.percentile(differences_deg(plain[seen], true[seen]), 95))
    error = float(numpy.percentile(errors, 95))
    return {
        "error_deg": error,
        "largest_error_deg": float(errors.max()),
        "error_of_plain_fit_deg": of_plain_fit,
        "error_of_plain_fits": error / of_plain_fit,
    }


def known_weight(take, curve):
    """Known weights are of shapes, or of templates."""
    weight = total(curve.shapes, take.known)
    return total(curve.weights, take.known) if weight is None else weight


def only_head_moves(take):
    if "phase" in take.known:
        return take.known["phase"] == "turn"
    weights = [known_weight(take, curve) for curve in CURVES]
    return numpy.all([weight == 0 for weight in weights if weight is not None], axis=0)


def of_curve(take, solved, curve):
    weight = total(curve.weights, solved.weights)
    seen = numpy.isfinite(take.plain_head[0]).all((1, 2))  # not where the command fills gaps
    length = total(curve.lengths, take.lengths)
    figures = {"geometry": correlation(weight[seen], masked(length, seen))}
    if take.known:
        known = known_weight(take, curve)
        figures["known"] = correlation(weight[seen], masked(known, seen))
        if known is not None:
            figures["geometry_of_known"] = correlation(known[seen], masked(length, seen))
        alone = only_head_moves(take)
        if alone.any():
            figures["head_only_mean"] = float(numpy.abs(weight[alone]).mean())
            figures["head_only_95"] = float(numpy.percentile(numpy.abs(weight[alone]), 95))
        if known is not None:
            for name, full in (("at_one", known >= AT_ONE), ("at_minus_one", known <= -AT_ONE)):
                if "phase" in take.known:
                    full &= take.known["phase"] == "solo"
                if full.any():
                    figures[name] = float(weight[full].mean())
        figures["right"] = curve.right
        figures["others_at_one"] = others_at_one(take, weight, curve)
        return figures
    if take.labels:
        figures["label"] = correlation(weight[seen], masked(total(curve.units, take.labels), seen))
    # A person who talks moves head and face together: the length says how much of it is the face.
    figures["with_head"] = with_head(take, weight, seen)
    figures["geometry_with_head"] = None if length is None else with_head(take, length, seen)
    return figures


def others_at_one(take, weight, curve):
    """The weight's mean where a shape that it should not follow acts alone at 1: {shape: weight}."""
    if "phase" not in take.known:
        return {}
    found = {}
    for shape in filter(SHAPE.match, take.known):
        alone = (take.known["phase"] == "solo") & (take.known[shape] >= AT_ONE)
        if shape not in curve.shapes and alone.any():
            found[shape] = float(weight[alone].mean())
    return found


def masked(values, seen):
    return None if values is None else values[seen]


def with_head(take, values, seen):
    """The largest correlation with one of the three angles of the head, whatever its sign."""
    turns = from_mean(take.plain_head[0][seen])
    found = [correlation(values[seen], angle) for angle in turns.T]
    return max((abs(r) for r in found if r is not None), default=None)


def looking_down(take, solved):
    """`Close` while the eyes look down without a known or labelled blink, and while they look ahead.

    Down is an eyeLookDown of 0.2 or more, with all other shapes that move the upper lid at rest. With labels it is a gaze
    that is 0.1 radians or more below the take's median, as seen from the head, with a blink label below 0.5 of 5.
    """
    figures = {}
    for side in ("Left", "Right"):
        if f"eyeLookDown{side}" in take.known:
            others = [f"eye{shape}{side}" for shape in ("Blink", "Wide", "LookUp")]
            at_ease = numpy.all([take.known[shape] < AT_REST for shape in others], axis=0)
            down = at_ease & (take.known[f"eyeLookDown{side}"] >= 0.2)
            ahead = at_ease & (take.known[f"eyeLookDown{side}"] < AT_REST)
        elif "gaze_angle_y" in take.labels and "AU45_r" in take.labels:
            gaze = take.labels["gaze_angle_y"] - take.labels.get("pose_Rx", 0)
            gaze = gaze - numpy.nanmedian(gaze)
            no_blink = take.labels["AU45_r"] < 0.5
            down, ahead = no_blink & (gaze >= 0.1), no_blink & (numpy.abs(gaze) < 0.05)
        else:
            continue
        close = solved.weights[f"{side}Eye.Close"]
        if down.any() and ahead.any():
            figures[f"{side}Eye.Close"] = {
                "frames_down": int(down.sum()),
                "down": float(close[down].mean()),
                "down_95": float(numpy.percentile(close[down], 95)),
                "ahead": float(close[ahead].mean()),
                "ahead_95": float(numpy.percentile(close[ahead], 95)),
            }
    return figures
