"""Compares figures with stated bounds."""

import json


def breaches(file, figures):
    """`file` has a list of {"take", "figure", "at_least", "at_most"}, one of the last two or both; "figure" is a path such
    as "templates/LeftEye.Close/known". Returns the number of bounds, and a line for each that is broken. A bound
    on a figure that was not measured is broken."""
    bounds = json.loads(file.read_text())
    broken = []
    for bound in bounds:
        value = figures.get(bound["take"])
        for key in bound["figure"].split("/"):
            value = value.get(key) if isinstance(value, dict) else None
        limits = [(key.replace("_", " "), bound[key]) for key in ("at_least", "at_most") if key in bound]
        what = f"{bound['take']}: {bound['figure']}"
        if value is None or not limits:
            broken.append(f"{what} was not measured" if limits else f"{what} has no at_least and no at_most")
        for word, limit in limits:
            if value is not None and not (value >= limit if word == "at least" else value <= limit):
                broken.append(f"{what} is {value:.4f}, not {word} {limit}")
    return len(bounds), broken
