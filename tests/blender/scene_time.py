"""Rates, places of frames and timecodes.

blender --background --factory-startup --python scene_time.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import os
import sys
from fractions import Fraction

import bpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()


def check_rates(scene_time):
    scene = bpy.context.scene
    for rate, fps, base in ((Fraction(30000, 1001), 30, 1.001), (Fraction(24000, 1001), 24, 1.001),
                            (Fraction(25), 25, 1), (Fraction(120), 120, 1), (Fraction(1, 2), 1, 2),
                            (Fraction(1499, 50), 30, 30 / 29.98)):
        got = scene_time.set_rate(scene, rate)
        equal(scene.render.fps, fps, f"fps of {rate}")
        assert abs(scene.render.fps_base / base - 1) < 1e-7, f"{rate}: fps_base {scene.render.fps_base}"
        assert abs(got / rate - 1) < 1e-7, f"{rate}: {got}"


def check_places(scene_time):
    equal(list(scene_time.places([0, 0.033, 0.067, 0.1], 30, 1)), [1, 2, 3, 4], "times in whole milliseconds")
    equal(list(scene_time.places([5.0, 5.04, 5.12], 25, 100)), [100, 101, 103], "a dropped frame")
    equal(list(scene_time.places([0, 0.02, 0.04], 25, 1)), [1, 1.5, 2], "twice the scene's rate")
    equal(list(scene_time.places([n * 1001 / 30000 for n in range(5000)], 30000 / 1001, 0))[-1], 4999, "29.97")
    equal(scene_time.first_frame([17, 18]), 17, "the take's own number")
    equal(scene_time.first_frame([-3, 2]), 1, "negative numbers")
    equal(scene_time.first_frame([1048570, 1048580]), 1, "more than a scene has")


def check_timecodes(scene_time):
    for text, seconds, expected in (
            ("10:02:59:24@25", 0, "10:02:59:24"), ("10:02:59:24@25", 0.04, "10:03:00:00"),
            ("23:59:59:29@30", 1 / 30, "00:00:00:00"), ("00:00:00:00@30000/1001", 1001 / 30000 * 30, "00:00:01:00"),
            ("00:00:59;29@30000/1001", 1001 / 30000, "00:01:00;02"),
            ("00:09:59;29@30000/1001", 1001 / 30000, "00:10:00;00"),
            ("00:01:00;02@30000/1001", 0, "00:01:00;02"), ("23:59:59;29@30000/1001", 1001 / 30000, "00:00:00;00"),
            ("00:00:59;59@60000/1001", 1001 / 60000, "00:01:00;04"), ("10:02:58:00@60", 0.25, "10:02:58:15")):
        equal(scene_time.Timecode(text).after(seconds), expected, f"{text} after {seconds} s")
    # Every count of an hour of drop-frame is a different timecode, and none of those that are dropped.
    start, counts = scene_time.Timecode("00:00:00;00@30000/1001"), 107892
    every = [start.after(count * 1001 / 30000) for count in range(0, counts, 7)]
    equal(len(set(every)), len(every), "different timecodes")
    dropped = [text for text in every if text[6:8] == "00" and text[9:] in ("00", "01") and text[4] != "0"]
    equal(dropped, [], "dropped counts")
    equal(start.after(counts * 1001 / 30000), "01:00:00;00", "an hour")


def main():
    add_on.install(ZIP)
    scene_time = sys.modules[f"{add_on.NAME}.scene_time"]
    check_rates(scene_time)
    check_places(scene_time)
    check_timecodes(scene_time)
    print("all done")


main()
