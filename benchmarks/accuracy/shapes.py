"""The figures of the 52 shapes (arkit52) of one solve of one take, and their tables. Correlations are Pearson's r; 0 for a
shape that does not move in the solve."""

import shlex

import numpy

import columns
from command import run
from failed import Failed
from figures import AT_ONE, SHAPE, correlation
from tables import Figure, Table, cell, farthest_from, table

MOVES = 0.05  # a known weight that changes by more is compared
ALONE = 0.8  # a shape acts alone where its known weight is larger, in the phase solo
FOLLOWS = 0.8  # r of a shape that follows well

# The action unit that each shape should follow.
UNITS = {
    "browInnerUp": 1,
    "browOuterUp": 2,
    "browDown": 4,
    "eyeWide": 5,
    "cheekSquint": 6,
    "eyeSquint": 7,
    "noseSneer": 9,
    "mouthUpperUp": 10,
    "mouthSmile": 12,
    "mouthDimple": 14,
    "mouthFrown": 15,
    "mouthStretch": 20,
    "jawOpen": 25,
    "eyeBlink": 45,
}

OF_ALL = [
    Figure("r", "known_mean", min),
    Figure("r, driven by parts", "known_mean_of_parts", min),
    Figure("shapes above 0.8", "above_0.8", min, 0),
    Figure("of", "compared", min, 0, of_take=True),
    Figure("RMSE", "error_mean", max, 3),
    Figure("RMSE of zeros", "error_of_zeros_mean", max, 3, of_take=True),
    Figure("at 1", "at_one", farthest_from(1)),
    Figure("crosstalk", "crosstalk", max, 3),
    Figure("leakage", "leakage", max, 3),
    Figure("r with action units", "units_mean", min),
]
R = Figure("r", "r", min)


def of_take(mien, options, take, path, scratch):
    parts = weights_of(mien, "--solver parts", take, path, scratch)
    return of_weights(take, weights_of(mien, options, take, path, scratch), {name for name in parts if parts[name].any()})


def weights_of(mien, options, take, path, scratch):
    solved = scratch / "shapes.csv"
    run([mien, "solve", "-q", path, "-p", take.performer, "-c", "arkit52", "-o", solved, *shlex.split(options)])
    weights = columns.read(solved)
    if not numpy.array_equal(weights["frame"], take.frames):
        raise Failed("the solve has other frames than the take")
    return {name: values for name, values in weights.items() if SHAPE.match(name)}


def of_weights(take, weights, driven_by_parts):
    """`weights`: {shape: a weight per frame}. `driven_by_parts`: the shapes that the parts' templates move in this take."""
    figures = {"frames": len(take.frames), "shapes": {}, "units": {}}
    for shape, weight in weights.items():
        if is_compared(take, shape):
            known = take.known[shape]
            figures["shapes"][shape] = {
                "known": correlation(weight, known) or 0.0,
                "error": root_mean_square(weight - known),
                "error_of_zeros": root_mean_square(known),
            }
    for shape, unit in UNITS.items():
        label = take.labels.get(f"AU{unit:02}_r")
        if label is not None and numpy.nanmax(label) > numpy.nanmin(label):
            sides = [weights[name] for name in (shape, f"{shape}Left", f"{shape}Right") if name in weights]
            figures["units"][shape] = mean(correlation(weight, label) or 0.0 for weight in sides)
    if not figures["shapes"] and not figures["units"]:
        raise Failed("neither weights of shapes nor action units are known")
    if figures["units"]:
        figures["units_mean"] = mean(figures["units"].values())
    if figures["shapes"]:
        figures.update(of_all(figures["shapes"], driven_by_parts))
        figures.update(of_phases(take, weights, figures["shapes"]))
    return figures


def is_compared(take, shape):
    if shape not in take.known or is_gaze(shape):
        return False
    return numpy.nanmax(take.known[shape]) - numpy.nanmin(take.known[shape]) > MOVES


def is_gaze(shape):
    return shape.startswith("eyeLook")


def of_all(of_shapes, driven_by_parts):
    of_parts = [values["known"] for shape, values in of_shapes.items() if shape in driven_by_parts]
    return {
        "compared": len(of_shapes),
        "known_mean": mean(values["known"] for values in of_shapes.values()),
        "known_mean_of_parts": mean(of_parts) if of_parts else None,
        "above_0.8": sum(values["known"] > FOLLOWS for values in of_shapes.values()),
        "error_mean": mean(values["error"] for values in of_shapes.values()),
        "error_of_zeros_mean": mean(values["error_of_zeros"] for values in of_shapes.values()),
    }


def of_phases(take, weights, compared):
    """At 1: the mean weight of a shape that acts alone at 1. Crosstalk: the mean absolute weight of all other shapes, without
    gaze, while a shape acts alone. Both are averaged over the shapes that do. Leakage: the mean absolute weight of all shapes
    while at most the head moves."""
    if "phase" not in take.known:
        return {}
    at_one, crosstalk = [], []
    for shape in compared:
        alone = (take.known["phase"] == "solo") & (take.known[shape] > ALONE)
        full = alone & (take.known[shape] >= AT_ONE)
        if alone.any():
            others = [weight[alone] for other, weight in weights.items() if other != shape and not is_gaze(other)]
            crosstalk.append(numpy.abs(others).mean())
        if full.any():
            at_one.append(weights[shape][full].mean())
    at_rest = numpy.isin(take.known["phase"], ["still", "turn"])
    leakage = [numpy.abs([weight[at_rest] for weight in weights.values()]).mean()] if at_rest.any() else []
    found = {"at_one": at_one, "crosstalk": crosstalk, "leakage": leakage}
    return {name: mean(values) for name, values in found.items() if values}


def root_mean_square(values):
    return float(numpy.sqrt(numpy.nanmean(values**2)))


def mean(values):
    return float(numpy.mean(list(values)))


def tables(solves, groups, sides):
    """`solves`: {name: {take: figures}}. `groups`: {title: takes}. A row per shape, or with `sides` per side of each."""
    names = list(solves)

    def gathered(takes):
        return [[figures[take] for take in takes if take in figures] for figures in solves.values()]

    of_groups = {group: gathered(takes) for group, takes in sorted(groups.items())}
    yield table("the 52 shapes", OF_ALL, names, of_groups.items())
    yield by_row("r with the known weight", "shapes", names, of_groups, (lambda shape: shape) if sides else both_sides)
    yield by_row("r with the action unit", "units", names, of_groups, lambda shape: f"{shape}, {UNITS[shape]}")


def by_row(title, key, names, of_groups, row_of):
    """A row per shape, or per pair of shapes, and a column per group and solve."""
    headings, columns_of, rows = [], [], []
    for group, of_solves in of_groups.items():
        for name, of_takes in zip(names, of_solves):
            column = {}
            for figures in of_takes:
                for shape, values in figures[key].items():
                    column.setdefault(row_of(shape), []).append(values["known"] if key == "shapes" else values)
            if column:
                headings.append((group, name))
                columns_of.append(column)
                rows += column
    rows = list(dict.fromkeys(rows))
    return Table(title, headings, [(row, [cell(R, column.get(row, [])) for column in columns_of]) for row in rows])


def both_sides(shape):
    """Without its side, except for jawLeft and the like, whose side is where they go."""
    return shape if shape.startswith(("jaw", "mouthLeft", "mouthRight")) else shape.removesuffix("Left").removesuffix("Right")
