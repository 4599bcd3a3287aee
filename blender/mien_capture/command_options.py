"""Which properties of the panel are which options of the command, and their values."""

import dataclasses
import re

import bpy

READ, SOLVE, RETARGET, CALIBRATE, NEUTRAL = "read", "solve", "retarget", "calibrate", "neutral"  # the steps

# Property: the steps that have the option. The option has the property's name, unless _NAMES has another one.
STEPS = {
    "input_rate": (READ, RETARGET),
    "face": (READ, RETARGET),
    "image": (READ,),
    "face_width": (READ,),
    "mirrored": (READ,),
    "neutral": (SOLVE, CALIBRATE, NEUTRAL),
    "expression": (SOLVE, RETARGET),
    "solver": (SOLVE,),
    "basis": (SOLVE,),
    "basis_landmarks": (SOLVE,),
    "ranges": (SOLVE,),
    "level_lids": (SOLVE,),
    "fill": (SOLVE, CALIBRATE),
    "fill_head": (SOLVE, CALIBRATE),
    "head_tolerance": (SOLVE, CALIBRATE),
    "keep_slipped": (SOLVE, CALIBRATE),
    "fade": (SOLVE, RETARGET, CALIBRATE),
    "gaze": (SOLVE, CALIBRATE),
    "smooth": (SOLVE, CALIBRATE),
    "smooth_weights": (SOLVE, RETARGET, CALIBRATE),
    "smooth_gaze": (SOLVE, RETARGET, CALIBRATE),
    "map": (RETARGET,),
    "ranges_file": (RETARGET,),
    "landmarks": (RETARGET,),
    "swap_sides": (RETARGET,),
    "output_rate": (SOLVE, RETARGET),
    "timecode": (SOLVE, RETARGET),
}
_NAMES = {"ranges": "no_ranges", "gaze": "no_gaze", "ranges_file": "ranges"}
_OF_MESH = ("image", "face_width", "mirrored")  # of the landmarks that a retarget may name


def option_of(name):
    """The option of a property, with underscores for dashes."""
    return _NAMES.get(name, name)


def chosen(settings, step):
    """{option: value} of the properties that differ from their defaults."""
    values = {}
    for name, steps in STEPS.items():
        asked = step in steps or (step == RETARGET and name in _OF_MESH and settings.landmarks)
        value = _value(settings, name) if asked else None
        if value is not None:
            values[option_of(name)] = value
    return values


def _value(settings, name):
    """The option's value; None for the default."""
    shown, value = settings.bl_rna.properties[name], getattr(settings, name)
    if name == "image":
        return "{}x{}".format(*value) if all(value) else None
    if name == "expression":
        return [weight.strip() for weight in value.split(",") if weight.strip()] or None
    if shown.type == "STRING":
        return (bpy.path.abspath(value) if shown.subtype == "FILE_PATH" else value.strip()) or None
    if value == shown.default:
        return None
    if shown.type == "FLOAT":
        return float(f"{value:.6g}")  # Blender's has single precision: 0.3 is 0.30000001
    return True if shown.type == "BOOLEAN" else value  # those that are ticked by default are "no" options


def message_of(error, properties):
    """The text of an error. One of the package's has the panel's labels instead of options: "Image", not "--image"."""
    if not hasattr(error, "problems"):
        return str(error)
    labels = {option_of(name).replace("_", "-"): properties[name].name for name in STEPS if name != "ranges_file"}
    labels["ranges"] = properties["ranges_file"].name
    lines = [str(problem if problem.file
                 else dataclasses.replace(problem, place=labels.get(problem.place, problem.place)))
             for problem in error.problems]
    return re.sub(r"--([a-z]+(?:-[a-z]+)*)", lambda found: labels.get(found[1], found[0]), "\n".join(lines))
