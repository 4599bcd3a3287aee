"""Where the frames of a capture are in the scene, and its timecode."""

import fractions
import re

import numpy

_LAST_FRAME = 1048574  # of a scene
_SNAP = 0.25           # frames; times are often written in whole milliseconds


def set_rate(scene, rate):
    """Sets the scene's rate to a fraction; returns the rate that it then has."""
    scene.render.fps = max(1, round(rate))
    scene.render.fps_base = float(scene.render.fps / fractions.Fraction(rate))
    return scene_rate(scene)


def scene_rate(scene):
    return scene.render.fps / scene.render.fps_base


def first_frame(numbers):
    """The scene's frame of the capture's first: its own number where the scene can have all of them, else 1."""
    return int(numbers[0]) if numbers[0] >= 0 and numbers[-1] <= _LAST_FRAME else 1


def places(times, rate, start):
    """The scene frames of times in seconds, (size: times).

    They are whole if every time is near a whole frame of this rate; otherwise keys are between frames, where
    the times say.
    """
    exact = (numpy.asarray(times) - times[0]) * float(rate)
    whole = numpy.rint(exact)
    if numpy.all(numpy.abs(exact - whole) < _SNAP) and numpy.all(numpy.diff(whole) > 0):
        return start + whole
    return start + exact


class Timecode:
    """`HH:MM:SS:FF@RATE`, with `;` before FF for drop-frame and RATE as `30` or `30000/1001`."""

    def __init__(self, text):
        found = re.fullmatch(r"(\d+):(\d+):(\d+)([:;])(\d+)(?:\.\d+)?@(\d+)(?:/(\d+))?", text)
        if not found:
            raise ValueError(f"{text} is not a timecode")
        hours, minutes, seconds, separator, count, over, under = found.groups()
        self.rate = fractions.Fraction(int(over), int(under or 1))
        self.base = round(self.rate)
        self.drops = separator == ";"
        minute = 60 * int(hours) + int(minutes)
        self.count = (60 * minute + int(seconds)) * self.base + int(count)
        if self.drops:
            self.count -= self._dropped() * (minute - minute // 10)

    def _dropped(self):
        return 2 * self.base // 30  # counts that are left out of each minute but every tenth

    def after(self, seconds):
        """The timecode so much later, as text without its rate."""
        day = 24 * 3600 * self.base
        if self.drops:
            day -= self._dropped() * (24 * 60 - 24 * 6)
        count = (self.count + round(seconds * self.rate)) % day
        if self.drops:
            minute, tenth = 60 * self.base - self._dropped(), 600 * self.base - 9 * self._dropped()
            tens, rest = divmod(count, tenth)
            minutes = 0 if rest < 60 * self.base else 1 + (rest - 60 * self.base) // minute
            count += self._dropped() * (9 * tens + minutes)
        seconds, count = divmod(count, self.base)
        return (f"{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}"
                f"{';' if self.drops else ':'}{count:02}")
