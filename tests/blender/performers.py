""""Save performer" writes the files that the command writes, and the next solve uses them.

blender --background --factory-startup --python performers.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import json
import os
import subprocess
import sys

import bpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
LANDMARKS, MARKERS = f"{SAMPLES}/landmarks.csv", f"{SAMPLES}/markers.csv"
POSES = f"{OUT}/performers.poses.csv"
PATH = f"{OUT}/Zoë.json"  # where the add-on saves; the performer's name is the file's

# kind, the panel's settings, the operator's, the command
CASES = (
    ("neutral", {"take": LANDMARKS}, {}, ["performer", LANDMARKS, "-p", "landmarks68"]),
    ("neutral", {"take": LANDMARKS, "neutral": "40-45", "smooth": 6}, {},
     ["performer", LANDMARKS, "-p", "landmarks68", "--neutral", "40-45"]),
    ("neutral", {"take": f"{SAMPLES}/mesh/wide.csv", "image": (1280, 720), "face_width": 150, "mirrored": True}, {},
     ["performer", f"{SAMPLES}/mesh/wide.csv", "-p", "landmarks478", "--image", "1280x720", "--face-width", "150",
      "--mirrored"]),
    ("neutral", {"take": MARKERS, "performer": "file", "performer_file": f"{SAMPLES}/markers.performer.json"}, {},
     ["performer", MARKERS, "-p", f"{SAMPLES}/markers.performer.json"]),
    ("calibrate", {"take": LANDMARKS}, {}, ["calibrate", LANDMARKS, "-p", "landmarks68"]),
    ("calibrate", {"take": LANDMARKS, "neutral": "1-10", "smooth": 8, "smooth_weights": 9, "smooth_gaze": 3,
                   "gaze": False, "fill": "linear:1", "fill_head": "none", "head_tolerance": 9, "fade": 0.5,
                   "solver": "fit", "expression": "Smile=1", "timecode": "01:00:00:00"}, {},
     ["calibrate", LANDMARKS, "-p", "landmarks68", "--neutral", "1-10", "--smooth", "8", "--smooth-weights", "9",
      "--smooth-gaze", "3", "--no-gaze", "--fill", "linear:1", "--fill-head", "none", "--head-tolerance", "9",
      "--fade", "0.5"]),
    ("calibrate", {"take": LANDMARKS}, {"poses": POSES},
     ["calibrate", LANDMARKS, "-p", "landmarks68", "--poses", POSES]),
    ("guess", {"take": MARKERS}, {}, ["performer", MARKERS, "--guess"]),
    ("guess", {"take": MARKERS, "neutral": "1-10"}, {}, ["performer", MARKERS, "--guess", "--neutral", "1-10"]),
)


def write_poses():
    with open(POSES, "w", encoding="utf-8") as file:
        file.write("pose,from,to\nrest,12,16\njaw-open,20,24\nlips-forward,34,38\nsmile,62,66\nsmile,76,80\n")


def content(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def without_takes(text):
    document = json.loads(text)
    equal(len(document["calibration"].pop("takes")), 1, "takes of the calibration")
    return document


def fresh_head():
    add_on.empty_scene()
    add_on.add_head(f"{SAMPLES}/head.glb")
    return bpy.context.scene.mien


def check_file(kind, settings, operator, command):
    """The saved file is the command's, to the byte; the panel then uses it."""
    chosen = fresh_head()
    for name, value in settings.items():
        setattr(chosen, name, value)
    equal(bpy.ops.mien.performer(filepath=PATH, kind=kind, **operator), {"FINISHED"}, f"{command}: {chosen.report}")
    by_command = f"{OUT}/performers.json"
    subprocess.run([MIEN, *command, "--name", "Zoë", "-o", by_command, "-q"], check=True)
    saved, expected = content(PATH), content(by_command)
    if kind == "calibrate":  # but for the file's hash, which a take in memory does not have
        saved, expected = map(without_takes, (saved, expected))
    equal(saved, expected, " ".join(command))
    equal((chosen.performer, chosen.performer_file), ("file", PATH), "the panel's performer")
    assert chosen.report.startswith(f"wrote {PATH}"), chosen.report
    equal(os.path.exists(f"{PATH}.part"), False, "an unfinished file")
    return chosen


def check_solve(settings, compared):
    """The panel's next solve with the performer that it saved: every frame is the command's."""
    expected = f"{OUT}/performers.solved.json"
    settings.smooth = 0
    subprocess.run([MIEN, "solve", settings.take, "-p", PATH, "-c", "arkit52", "-o", expected, "-q"], check=True)
    settings.neutral = ""
    equal(bpy.ops.mien.solve(), {"FINISHED"}, settings.report)
    shapes = json.loads(content(expected))["shapes"]
    curves = bpy.data.objects["face"].data.shape_keys.animation_data.action.fcurves
    for column, shape in enumerate(shapes["names"]):
        values = [0.0] * (2 * len(shapes["weights"]))
        curves.find(f'key_blocks["{shape}"].value').keyframe_points.foreach_get("co", values)
        compared.add([frame[column] for frame in shapes["weights"]], values[1::2], shape)


def check_refusals():
    """What cannot be saved leaves the panel's performer and the file of that name alone."""
    settings = fresh_head()
    with open(PATH, "w", encoding="utf-8") as file:
        file.write("mine")
    for take, kind, path, expected in (
            (MARKERS, "neutral", PATH, "no built-in performer has the 50 markers"),
            (f"{SAMPLES}/mesh/wide.csv", "calibrate", PATH, "wide"),
            (f"{OUT}/missing.c3d", "calibrate", PATH, f"{OUT}/missing.c3d"),
            (LANDMARKS, "neutral", f"{OUT}/no/such/folder/a.json", 
             f"{OUT}/no/such/folder/a.json: the file cannot be written (No such file or directory); choose another")):
        settings.take = take
        equal(bpy.ops.mien.performer(filepath=path, kind=kind), {"CANCELLED"}, take)
        assert settings.report_is_error and expected in settings.report, settings.report
        equal((settings.performer, content(PATH)), ("auto", "mine"), take)
    settings.take = LANDMARKS
    equal(bpy.ops.mien.performer(filepath=PATH, kind="calibrate", poses=f"{OUT}/none.csv"), {"CANCELLED"}, "no poses")
    assert f"{OUT}/none.csv" in settings.report, settings.report


def main():
    add_on.install(ZIP)
    write_poses()
    compared = Comparison("weights of saved performers", 1e-6)
    ranges = 0
    for kind, settings, operator, command in CASES:
        chosen = check_file(kind, settings, operator, command)
        ranges += "LeftEye.Close: " in chosen.report
        if kind != "guess" and "fill" not in settings and "image" not in settings:
            check_solve(chosen, compared)
    compared.end(5 * 300 * 52)
    equal(ranges, 3, "reports with a range")
    check_refusals()
    print("all done")


main()
