"""Tables of figures in text or Markdown. A cell is the mean over takes and sides, with the worst in brackets."""

import textwrap
from dataclasses import dataclass

from answers import CURVES


def farthest_from(goal):
    return lambda values: max(values, key=lambda value: abs(value - goal))


@dataclass
class Figure:
    heading: str
    name: str
    worst: object  # of several values
    decimals: int = 2
    of_take: bool = False  # the same for every solve


FOLLOWING = [
    Figure("known weight", "known", min),
    Figure("label", "label", min),
    Figure("geometry", "geometry", min),
    Figure("known weight with geometry", "geometry_of_known", min, of_take=True),
]
STANDING = [
    Figure("head only: mean", "head_only_mean", max, 3),
    Figure("head only: 95 %", "head_only_95", max, 3),
    Figure("at 1", "at_one", farthest_from(1)),
    Figure("at -1", "at_minus_one", farthest_from(-1)),
    Figure("with head", "with_head", max),
    Figure("geometry with head", "geometry_with_head", max, of_take=True),
]
OF_HEADS = [
    Figure("error: 95 %", "error_deg", max),
    Figure("error: largest", "largest_error_deg", max),
    Figure("plain fit's error: 95 %", "error_of_plain_fit_deg", max, of_take=True),
    Figure("error / plain fit's", "error_of_plain_fits", max),
    Figure("from plain fit: 95 %", "from_plain_fit_deg", max),
]
OF_LOOKING_DOWN = [
    Figure("frames", "frames_down", max, 0, of_take=True),
    Figure("eyes down: mean", "down", max),
    Figure("eyes down: 95 %", "down_95", max),
    Figure("eyes ahead: mean", "ahead", max),
    Figure("eyes ahead: 95 %", "ahead_95", max),
]
OF_BLINKS = [
    Figure("peak of a blink", "peak", farthest_from(1)),
    Figure("between blinks: 95 %", "quiet_95", max),
    Figure("r", "r", min),
]
OF_POSES = [Figure("at 1", "at_one", farthest_from(1)), Figure("known weight", "known", min)]
COST = [Figure("microseconds a frame", "microseconds_per_frame", max, 0)]


@dataclass
class Table:
    title: str
    headings: list  # of all columns but the first: what it is, and of which solve ("" for only one)
    rows: list  # of name and cells


def cell(figure, values):
    values = [value for value in values if value is not None]
    if not values:
        return "-"
    text = f"{sum(values) / len(values):.{figure.decimals}f}"
    return text if len(values) == 1 else f"{text} ({figure.worst(values):.{figure.decimals}f})"


def table(title, figures, names, rows):
    """`rows`: name and, for each solve that is compared, a list of {figure: value}. Leaves out figures that no row has, and
    rows without figures.
    """
    shown = [
        (figure, solve)
        for figure in figures
        for solve in range(1 if figure.of_take else len(names))
        if any(values.get(figure.name) is not None for _, row in rows for of in row for values in of)
    ]
    headings = [(figure.heading, "" if figure.of_take else names[solve]) for figure, solve in shown]
    cells = []
    for name, row in rows:
        texts = [cell(figure, [values.get(figure.name) for values in row[solve]]) for figure, solve in shown]
        if any(text != "-" for text in texts):
            cells.append((name, texts))
    return Table(title, headings, cells)


def others(title, names, rows, sides):
    """The shapes that move a weight which should not follow them, the largest first. In a row for both sides, those of the
    right side are mirrored.
    """
    cells = []
    for name, row in rows:
        texts = []
        for of_solve in row:
            found = {}
            for values in of_solve:
                for shape, weight in values.get("others_at_one", {}).items():
                    shape = mirrored(shape) if values["right"] and not sides else shape
                    found.setdefault(shape, []).append(weight)
            means = {shape: sum(weights) / len(weights) for shape, weights in found.items()}
            strongest = sorted(means, key=lambda shape: -abs(means[shape]))[:4]
            shown = [f"{shape} {means[shape]:.2f}" for shape in strongest if abs(means[shape]) >= 0.15]
            texts.append(", ".join(shown) or "-")
        if any(text != "-" for text in texts):
            cells.append((name, texts))
    return Table(title, [("also moved by", name) for name in names], cells)


def mirrored(shape):
    for side, other in (("Left", "Right"), ("Right", "Left")):
        if shape.endswith(side):
            return shape.removesuffix(side) + other
    return shape


def tables(solves, groups, sides):
    """`solves`: {name: {take: figures}}. `groups`: {title: takes}. A row per template, or with `sides` per side of each."""
    names = list(solves)

    def gathered(takes, of):
        of_solves = [[figures[take] for take in takes if take in figures] for figures in solves.values()]
        return [[values for figures in of_solve for values in of(figures)] for of_solve in of_solves]

    def by_group(title, figures, of):
        rows = [(group, gathered(takes, of)) for group, takes in sorted(groups.items())]
        return table(title, figures, names, rows)

    def frames(takes):
        return max(sum(figures[take]["frames"] for take in takes if take in figures) for figures in solves.values())

    yield by_group("head, degrees", OF_HEADS, lambda figures: [figures["head"]])
    for group, takes in sorted(groups.items()):
        rows = {}
        for curve in CURVES:
            rows.setdefault(curve.name if sides else curve.of_both_sides, []).append(curve.name)
        title = f"{group}: {len(takes)} take{'s' if len(takes) > 1 else ''}, {frames(takes):,} frames"
        of_rows = []
        for row, curves in rows.items():
            of_rows.append((row, gathered(takes, lambda figures: [figures["templates"][curve] for curve in curves])))
        yield table(title, FOLLOWING, names, of_rows)
        yield table(title, STANDING, names, of_rows)
        yield others(title, names, of_rows, sides)
    yield by_group("Close, looking down", OF_LOOKING_DOWN, lambda figures: figures["looking_down"].values())
    yield by_group("cost", COST, lambda figures: [figures])


def calibration_tables(blinks, guided, groups):
    """`blinks` and `guided`: {take: figures of calibration.py}. A row per group of takes, and of poses per template."""
    names = ["before", "calibrated"]
    rows = []
    for group, takes in sorted(groups.items()):
        halves = [eye for take in takes for half in blinks.get(take, []) for eye in half.values()]
        rows.append((group, [[eye[name] for eye in halves] for name in names]))
    yield table("blinks, calibrated on one half and measured on the other", OF_BLINKS, names, rows)
    for group, takes in sorted(groups.items()):
        rows = {}
        for curve in CURVES:
            for of_take in (figures for take in takes for figures in guided.get(take, [])):
                if curve.name in of_take:
                    rows.setdefault(curve.of_both_sides, []).append(of_take[curve.name])
        of_rows = [(row, [[values[name] for values in of_row] for name in names]) for row, of_row in rows.items()]
        yield table(f"{group}: calibrated on a guided take", OF_POSES, names, of_rows)


def as_text(table):
    narrow = 12  # characters
    headings = [[""], *([*textwrap.wrap(heading, narrow), name] for heading, name in table.headings)]
    height = max(len(heading) for heading in headings)
    headings = [[""] * (height - len(heading)) + heading for heading in headings]
    lines = [line for line in zip(*headings) if any(line)] + [[name, *cells] for name, cells in table.rows]
    widths = [max(len(line[i]) for line in lines) for i in range(len(headings))]
    text = [table.title]
    for first, *others in lines:
        line = "  " + first.ljust(widths[0])
        text.append((line + "".join("  " + field.rjust(width) for field, width in zip(others, widths[1:]))).rstrip())
    return "\n".join(text) + "\n"


def as_markdown(table):
    first = table.title[0].upper() + table.title[1:]
    headings = [f"{heading}, {name}" if name else heading for heading, name in table.headings]
    lines = [f"| {' | '.join([first, *headings])} |", f"|---|{'---:|' * len(headings)}"]
    lines += [f"| {' | '.join([name, *cells])} |" for name, cells in table.rows]
    return "\n".join(lines) + "\n"
