"""What each weight should follow: a length on the face, the shapes that were performed, the labels of a tracker."""

from dataclasses import dataclass, field


@dataclass
class Curve:
    """A weight or a sum of weights, and what it should follow. All are sums {name: factor}, empty where there is none."""

    name: str  # "LeftEye.Close"
    of_both_sides: str  # "Eye.Close": the row of both sides together
    weights: dict  # of templates
    shapes: dict  # of the 52 of phone face capture
    units: dict = field(default_factory=dict)  # of a tracker's action units
    # Of geometry.py. A length changes in both directions from rest: a template of one direction has none, the difference has.
    lengths: dict = field(default_factory=dict)

    @property
    def right(self):
        return self.name.startswith("Right") or self.name.endswith("R")


def curves():
    yield Curve("Mouth.Open", "Mouth.Open", {"Mouth.Open": 1}, {"jawOpen": 1}, {"AU25_r": 1}, {"Mouth.opening": 1})
    yield Curve("Mouth.Whistle", "Mouth.Whistle", {"Mouth.Whistle": 1}, {"mouthPucker": 1}, {}, {"Mouth.width": -1})
    lips = [f"mouth{lip}{side}" for lip in ("UpperUp", "LowerDown") for side in ("Left", "Right")]
    yield Curve("Mouth.Square", "Mouth.Square", {"Mouth.Square": 1}, {lip: 0.25 for lip in lips}, {"AU10_r": 1})
    for side in ("Left", "Right"):
        yield from both_ways(
            f"Mouth.Corners{{}}{side[0]}",
            "Mouth.Corners{}",
            {f"mouthSmile{side}": 1},
            {f"mouthFrown{side}": 1},
            {"AU12_r": 1},
            {"AU15_r": 1},
            f"Mouth.{side.lower()} corner",
        )
        yield from both_ways(
            f"{side}Brow.{{}}",
            "Brow.{}",
            {"browInnerUp": 1, f"browOuterUp{side}": 1},
            {f"browDown{side}": 1},
            {"AU01_r": 1, "AU02_r": 1},
            {"AU04_r": 1},
            f"{side}Brow.height",
        )
        eye, opening = f"{side}Eye.", {f"{side}Eye.opening": -1}  # lids hardly open wider than at rest
        yield Curve(eye + "Close", "Eye.Close", {eye + "Close": 1}, {f"eyeBlink{side}": 1}, {"AU45_r": 1}, opening)
        yield Curve(eye + "Squint", "Eye.Squint", {eye + "Squint": 1}, {f"eyeSquint{side}": 1}, {"AU07_r": 1})
        yield Curve(eye + "WideOpen", "Eye.WideOpen", {eye + "WideOpen": 1}, {f"eyeWide{side}": 1}, {"AU05_r": 1})
        cheek, nostril = f"{side}Cheek.", f"{side}Nostril."
        yield Curve(cheek + "Up", "Cheek.Up", {cheek + "Up": 1}, {f"cheekSquint{side}": 1}, {"AU06_r": 1})
        yield Curve(cheek + "Out", "Cheek.Out", {cheek + "Out": 1}, {"cheekPuff": 1})
        yield Curve(nostril + "Up", "Nostril.Up", {nostril + "Up": 1}, {f"noseSneer{side}": 1}, {"AU09_r": 1})


def both_ways(name, of_both_sides, up_shapes, down_shapes, up_units, down_units, length):
    """Two templates of opposite directions, and their difference."""
    up, down = name.format("Up"), name.format("Down")
    yield Curve(up, of_both_sides.format("Up"), {up: 1}, up_shapes, up_units)
    yield Curve(down, of_both_sides.format("Down"), {down: 1}, down_shapes, down_units)
    yield Curve(
        name.format("Up - Down"),
        of_both_sides.format("Up - Down"),
        {up: 1, down: -1},
        {**up_shapes, **negative(down_shapes)},
        {**up_units, **negative(down_units)},
        {length: 1},
    )


def negative(sum_of):
    return {name: -factor for name, factor in sum_of.items()}


CURVES = list(curves())


def total(sum_of, columns):
    """The sum {name: factor} of these columns; None where one is missing, or nothing is to be summed."""
    if not sum_of or any(name not in columns for name in sum_of):
        return None
    return sum(factor * columns[name] for name, factor in sum_of.items())
