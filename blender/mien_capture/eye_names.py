"""Usual names of the bones and objects of eyes."""

_PREFIXES = ("mixamorig", "def", "org", "ccbase", "jadj", "jbip", "face", "head")
_SUFFIXES = ("joint", "jnt", "bone")
_NAMES = (("lefteye", "eyeleft", "leye", "eyel", "lefteyeball", "eyeballleft", "leyeball", "eyeballl", "lfaceeye"),
          ("righteye", "eyeright", "reye", "eyer", "righteyeball", "eyeballright", "reyeball", "eyeballr",
           "rfaceeye"))


def eye_meant(name):
    """0 for a name of the left eye, 1 for one of the right, None for any other."""
    text = "".join(c for c in name[name.rfind(":") + 1:].lower() if "a" <= c <= "z")
    for prefix in _PREFIXES:
        if text.startswith(prefix):
            text = text[len(prefix):]
            break
    for suffix in _SUFFIXES:
        if text.endswith(suffix):
            text = text[:-len(suffix)]
            break
    for eye, names in enumerate(_NAMES):
        if text in names:
            return eye
    return None


def find_eyes(names):
    """The one name of each eye, (left, right); None unless each is there exactly once."""
    found = [[name for name in names if eye_meant(name) == eye] for eye in (0, 1)]
    return (found[0][0], found[1][0]) if all(len(names) == 1 for names in found) else None
