"""What a face does, measured on the points of a take themselves: lengths that do not depend on the head's motion.

Each function returns curves by name: "LeftEye.opening", "Mouth.opening", "Mouth.width", "Mouth.left corner",
"LeftBrow.height"; millimetres, larger is more open, wider, higher.
"""

import numpy

from rotations import plain_fit, stabilised

# Where the 68 landmarks are on the face mesh, those of the jaw only roughly.
LANDMARKS_ON_MESH = [
    *(127, 234, 93, 132, 58, 136, 150, 176, 152, 400, 379, 365, 288, 361, 323, 454, 356),
    *(70, 63, 105, 66, 107, 336, 296, 334, 293, 300),
    *(168, 197, 5, 4, 75, 97, 2, 326, 305),
    *(33, 160, 158, 133, 153, 144, 362, 385, 387, 263, 373, 380),
    *(61, 39, 37, 0, 267, 269, 291, 405, 314, 17, 84, 181, 78, 82, 13, 312, 308, 317, 14, 87),
]
RIGID_LANDMARKS = [0, 1, 2, 14, 15, 16, *range(27, 37), 39, 42, 45]


def distance(a, b):
    return numpy.linalg.norm(a - b, axis=-1)


def distance_from_line(points, a, b):
    """Of the mean of some points, from the line through two others."""
    along = (b - a) / distance(a, b)[:, None]
    off = points.mean(1) - a
    return numpy.linalg.norm(off - (off * along).sum(1)[:, None] * along, axis=1)


def of_landmarks(p):
    """Of 68 landmarks (frames x 68 x 3). Heights are over the corners of the eyes: of each eye for its brow, the outer ones
    of both for the corners of the mouth.
    """
    eyes = p[:, 36], p[:, 45]
    return {
        "RightEye.opening": (distance(p[:, 37], p[:, 41]) + distance(p[:, 38], p[:, 40])) / 2,
        "LeftEye.opening": (distance(p[:, 43], p[:, 47]) + distance(p[:, 44], p[:, 46])) / 2,
        "Mouth.opening": distance(p[:, 61:64], p[:, [67, 66, 65]]).mean(1),
        "Mouth.width": distance(p[:, 48], p[:, 54]),
        "Mouth.left corner": -distance_from_line(p[:, [54]], *eyes),
        "Mouth.right corner": -distance_from_line(p[:, [48]], *eyes),
        "RightBrow.height": distance_from_line(p[:, 18:22], p[:, 36], p[:, 39]),
        "LeftBrow.height": distance_from_line(p[:, 22:26], p[:, 42], p[:, 45]),
    }


def of_markers(places, performer, head):
    """Of optical markers ({name: frames x 3}), heights over a plain fit of the head's. A part without markers has none."""
    parts = performer["parts"].items()
    holders = {f"{part}.{holder}": names for part, of_part in parts for holder, names in of_part.items()}

    def middle(*keys):
        names = [name for key in keys for name in holders.get(key, [])]
        if not names:
            return None
        return stabilised(numpy.stack([places[name] for name in names], 1), *head).mean(1)

    corners = middle("Mouth.LeftMouthHolder"), middle("Mouth.RightMouthHolder")
    brows = [middle(f"{side}Brow.BrowHolder", f"{side}Brow.InBrowHolder") for side in ("Left", "Right")]
    if any(place is None for place in (*corners, *brows)):
        return {}
    across = numpy.nanmean(corners[0] - corners[1] + brows[0] - brows[1], 0)
    across /= numpy.linalg.norm(across)
    up = numpy.nanmean(brows[0] + brows[1] - corners[0] - corners[1], 0)
    up -= up @ across * across
    up /= numpy.linalg.norm(up)

    curves = {
        "Mouth.width": distance(*corners),
        "Mouth.left corner": corners[0] @ up,
        "Mouth.right corner": corners[1] @ up,
        "LeftBrow.height": brows[0] @ up,
        "RightBrow.height": brows[1] @ up,
    }
    openings = {
        "LeftEye": ("LeftEye.UpperEyeHolder", "LeftEye.LowerEyeHolder"),
        "RightEye": ("RightEye.UpperEyeHolder", "RightEye.LowerEyeHolder"),
        "Mouth": ("Mouth.UpperMouthHolder", "Mouth.LowerMouthHolder"),
    }
    for part, (upper, lower) in openings.items():
        top, bottom = middle(upper), middle(lower)
        if top is not None:  # without a lower lid's markers, the height of the upper one
            curves[f"{part}.opening"] = top @ up if bottom is None else (top - bottom) @ up
    return curves


def plain_head(places, performer, named, landmarks=None):
    """The plain fit of the head: of the markers `named`, if the take has them all; or else of the rigid ones of the 68
    landmarks, or of the head markers. `landmarks` are the numbers of the 68 in the take.
    """
    names = performer["head"] if performer else [f"lm{landmarks[i]}" for i in RIGID_LANDMARKS]
    if named and set(named) <= set(places):
        names = named
    return plain_fit(numpy.stack([places[name] for name in names], 1))
