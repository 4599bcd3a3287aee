"""Which weights of a capture drive which shape keys, by their names."""

from . import arkit_names
from .arkit_names import BOTH


class WeightFinder:
    """Finds weights by name, and by what a name means of the 52."""

    def __init__(self, names):
        self._by_name, self._by_meaning = {}, {}
        for column, name in enumerate(names):
            self._by_name.setdefault(name, column)
            found = arkit_names.meaning(name)
            if found:
                self._by_meaning.setdefault(found, column)

    def named(self, name):
        return self._by_name.get(name)

    def meaning(self, meant):
        """The weight of this meaning; one of both halves stands for each of them."""
        column = self._by_meaning.get(meant)
        return column if column is not None else self._by_meaning.get((meant[0], BOTH))


def drivers(keys, weights):
    """{shape key: column of the weight that drives it} for the names of one mesh's keys.

    The key with a weight's name comes first, then another spelling of the same meaning. A weight drives one
    key, or one for each half; further spellings stay at rest, since they would move the mesh twice.
    """
    driven, taken = {}, {}
    for by_name in (True, False):
        for key in keys:
            if key in driven:
                continue
            meant = arkit_names.meaning(key)
            column = weights.named(key) if by_name else meant and weights.meaning(meant)
            if column is None:
                continue
            half = meant[1] if meant else BOTH
            halves = taken.setdefault(column, set())
            if half in halves or BOTH in halves or (half == BOTH and halves):
                continue
            halves.add(half)
            driven[key] = column
    return driven
