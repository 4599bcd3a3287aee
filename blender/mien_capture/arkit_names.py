"""Which of the 52 shape names of phone face capture a name means.

The rules are those of the command (host/character/arkit_names.h); tests/blender/names.py compares both.
"""

NAMES = tuple("""
eyeBlinkLeft eyeLookDownLeft eyeLookInLeft eyeLookOutLeft eyeLookUpLeft eyeSquintLeft eyeWideLeft
eyeBlinkRight eyeLookDownRight eyeLookInRight eyeLookOutRight eyeLookUpRight eyeSquintRight eyeWideRight
jawForward jawRight jawLeft jawOpen
mouthClose mouthFunnel mouthPucker mouthRight mouthLeft mouthSmileLeft mouthSmileRight
mouthFrownLeft mouthFrownRight mouthDimpleLeft mouthDimpleRight mouthStretchLeft mouthStretchRight
mouthRollLower mouthRollUpper mouthShrugLower mouthShrugUpper mouthPressLeft mouthPressRight
mouthLowerDownLeft mouthLowerDownRight mouthUpperUpLeft mouthUpperUpRight
browDownLeft browDownRight browInnerUp browOuterUpLeft browOuterUpRight
cheekPuff cheekSquintLeft cheekSquintRight noseSneerLeft noseSneerRight tongueOut
""".split())

BOTH, LEFT, RIGHT = "both", "left", "right"  # some heads have browInnerUp and cheekPuff in two halves
_HALVED = ("browInnerUp", "cheekPuff")
_LOWER = {name.lower(): name for name in NAMES}


def _is_letter(c):
    return "a" <= c <= "z" or "A" <= c <= "Z"


def _find_at_end(name, letters_to_drop=0, side=""):
    """(one of the 52, length of its prefix) of a name whose last letters are replaced by a side."""
    places = [i for i, c in enumerate(name) if _is_letter(c)]
    places = places[:len(places) - letters_to_drop]
    letters = "".join(name[i] for i in places).lower() + side
    for lower, found in _LOWER.items():
        start = len(letters) - len(lower)
        if letters.endswith(lower) and start < len(places):
            place = places[start]
            if place == 0 or not _is_letter(name[place - 1]):
                return found, place
    return None


def _meaning_at_end(name):
    while name and not _is_letter(name[-1]):
        name = name[:-1]
    whole = _find_at_end(name)
    if whole:
        return (whole[0], BOTH), whole[1]
    for side in (LEFT, RIGHT):
        letters = "".join(c for c in name if _is_letter(c)).lower()
        if letters.endswith(side):
            written = len(side)
        elif letters.endswith(side[0]) and len(name) > 1 and (
                not _is_letter(name[-2]) or (name[-2].islower() and name[-1].isupper())):
            written = 1  # a word of its own, or a capital after a small letter
        else:
            continue
        halved = _find_at_end(name, written)
        if halved and halved[0] in _HALVED:
            return (halved[0], side), halved[1]
        sided = _find_at_end(name, written, side)
        if sided:
            return (sided[0], BOTH), sided[1]
    return None


def meaning(name):
    """(one of the 52, BOTH, LEFT or RIGHT), or None.

    Letter case, separators, a prefix that does not end in a letter and everything behind the last letter are
    ignored: "Head.Eye_Blink_L.001" means eyeBlinkLeft. A name of two of them (a corrective) means none.
    """
    found = _meaning_at_end(name)
    if found is None or _meaning_at_end(name[:found[1]]):
        return None
    return found[0]
