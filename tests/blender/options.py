"""Each option of the panel does what the command's option does, and changes something.

blender --background --factory-startup --python options.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import csv
import json
import os
import re
import subprocess
import sys
from types import SimpleNamespace

import bpy
import numpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
DATA = f"{SAMPLES}/../data"

LANDMARKS = f"{SAMPLES}/landmarks.csv"
MESH = f"{SAMPLES}/mesh/wide.csv"
PHONE = f"{SAMPLES}/mesh/weights_phone.csv"
SCORES = f"{SAMPLES}/mesh/weights_long.csv"
PUPPET = f"{SAMPLES}/puppet.character.json"
GAPS, FACES, TALK, MAP, RANGES, ADA, HEAD, POINTS = (f"{OUT}/options.{name}" for name in (
    "gaps.csv", "faces.csv", "talk.csv", "map.json", "ranges.json", "ada.json", "basis.glb", "basis.csv"))
MARKERS = f"{SAMPLES}/markers.performer.json"

# What the cases start from: (verb, the panel's settings, the command's arguments).
PLAIN = ("solve", {"take": LANDMARKS}, ["-p", "landmarks68", "-c", "arkit52"])
FIT = ("solve", {"take": LANDMARKS, "solver": "fit"}, [*PLAIN[2], "--solver", "fit"])
CALIBRATED = ("solve", {"take": LANDMARKS, "performer": "file", "performer_file": ADA}, ["-p", ADA, "-c", "arkit52"])
PUPPETS = ("solve", {"take": LANDMARKS, "character": "file", "character_file": PUPPET},
           ["-p", "landmarks68", "-c", PUPPET])
WITH_GAPS = ("solve", {"take": GAPS, "performer": "file", "performer_file": MARKERS}, ["-p", MARKERS, "-c", "arkit52"])
WEB = ("solve", {"take": MESH}, ["-p", "landmarks478", "-c", "arkit52"])
TWO_FACES = ("solve", {"take": FACES}, PLAIN[2])
NO_TIMES = ("solve", {"take": f"{SAMPLES}/mesh/with_body.csv"}, WEB[2])
NAMED = ("retarget", {"take": PHONE, "character": "none"}, [])
MAPPED = ("retarget", {"take": PHONE}, ["-c", "arkit52"])
TEMPLATES = ("retarget", {"take": f"{SAMPLES}/known_weights.csv"}, ["-c", "arkit52"])
ONTO_PUPPET = ("retarget", {**TEMPLATES[1], "character": "file", "character_file": PUPPET}, ["-c", PUPPET])
BOTH = ("retarget", {"take": f"{SAMPLES}/mesh/results.json", "weights": True}, ["-c", "arkit52"])
PAIR = ("retarget", {"take": SCORES, "landmarks": f"{SAMPLES}/mesh/long.csv"},
        ["-c", "arkit52", "--landmarks", f"{SAMPLES}/mesh/long.csv"])

CASES = (
    (PUPPETS, {"expression": "Content=0.5, Stern=0.25"}, ["--expression", "Content=0.5", "--expression", "Stern=0.25"]),
    (PLAIN, {"solver": "fit"}, ["--solver", "fit"]),
    (FIT, {"basis": f"{DATA}/shape_basis/one_head.csv"}, ["--basis", f"{DATA}/shape_basis/one_head.csv"]),
    (FIT, {"basis": HEAD, "basis_landmarks": POINTS}, ["--basis", HEAD, "--basis-landmarks", POINTS]),
    (PLAIN, {"neutral": "40-45"}, ["--neutral", "40-45"]),
    (CALIBRATED, {"ranges": False}, ["--no-ranges"]),
    (CALIBRATED, {"level_lids": True}, ["--level-lids"]),
    (WITH_GAPS, {"fill": "linear:1,hold"}, ["--fill", "linear:1,hold"]),
    (WITH_GAPS, {"fill_head": "none"}, ["--fill-head", "none"]),
    (WITH_GAPS, {"head_tolerance": 30}, ["--head-tolerance", "30"]),
    (WITH_GAPS, {"keep_slipped": True}, ["--keep-slipped"]),
    (WITH_GAPS, {"fade": 0.7}, ["--fade", "0.7"]),
    (WEB, {"gaze": False}, ["--no-gaze"]),
    (PLAIN, {"smooth": 6.3}, ["--smooth", "6.3"]),
    (PLAIN, {"smooth_weights": 5.1}, ["--smooth-weights", "5.1"]),
    (WEB, {"smooth_gaze": 0.3}, ["--smooth-gaze", "0.3"]),
    (WEB, {"image": (720, 1280)}, ["--image", "720x1280"]),
    (WEB, {"face_width": 155.5}, ["--face-width", "155.5"]),
    (WEB, {"mirrored": True}, ["--mirrored"]),
    (TWO_FACES, {"face": "1"}, ["--face", "1"]),
    (NO_TIMES, {"input_rate": "23.976"}, ["--input-rate", "23.976"]),
    (PLAIN, {"output_rate": "24"}, ["--output-rate", "24"]),
    (PLAIN, {"timecode": "10:00:00:00@30"}, ["--timecode", "10:00:00:00@30"]),
    (MAPPED, {"map": MAP}, ["--map", MAP]),
    (NAMED, {"ranges_file": RANGES}, ["--ranges", RANGES]),
    (TEMPLATES, {"swap_sides": True}, ["--swap-sides"]),
    (BOTH, {"landmarks": BOTH[1]["take"]}, ["--landmarks", BOTH[1]["take"]]),
    (PAIR, {"image": (720, 1280)}, ["--image", "720x1280"]),
    (PAIR, {"mirrored": True}, ["--mirrored"]),
    (PAIR, {"smooth_gaze": 0.3}, ["--smooth-gaze", "0.3"]),
    (NAMED, {"smooth_weights": 0.7}, ["--smooth-weights", "0.7"]),
    (NAMED, {"output_rate": "25", "timecode": "01:00:00:00@25"},
     ["--output-rate", "25", "--timecode", "01:00:00:00@25"]),
    (PUPPETS, {"output_rate": "60", "fade": 0.5, "expression": "Stern=-0.5"},
     ["--output-rate", "60", "--fade", "0.5", "--expression", "Stern=-0.5"]),
    (ONTO_PUPPET, {"expression": "Content=1"}, ["--expression", "Content=1"]),
)


def mien(*parameters):
    subprocess.run([MIEN, *parameters, "-q"], check=True)


def rows_of(path):
    with open(path, encoding="utf-8", newline="") as file:
        return list(csv.reader(file))


def write_rows(path, rows):
    with open(path, "w", encoding="utf-8", newline="") as file:
        csv.writer(file).writerows(rows)


def write_gaps():
    """Long gaps of a lip and of two head markers, and a head marker that slips by 12 mm."""
    header, *rows = rows_of(f"{SAMPLES}/markers.csv")
    for name, first, last in (("LipLowerMid", 60, 100), ("ChinMid", 60, 100), ("HeadTop", 120, 165),
                              ("HeadL", 150, 200)):
        column = header.index(f"{name}.x")
        for row in rows[first:last]:
            row[column:column + 3] = "", "", ""
    column = header.index("HeadR.y")
    for row in rows[240:330]:
        row[column] = str(float(row[column] or 0) + 12)
    write_rows(GAPS, [header, *rows])


def write_faces():
    """Two faces in each frame; the second one does what the first one does two seconds later."""
    header, *rows = rows_of(LANDMARKS)
    rows = [row[:1] + [str(face)] + row[1:2] + later[2:] for row, ahead in zip(rows, rows[60:])
            for face, later in enumerate((row, ahead))]
    write_rows(FACES, [header[:1] + ["face_id"] + header[1:], *rows])


def write_basis():
    """A head of the points of a table, with its shapes, and the landmarks among the points."""
    header, *rows = rows_of(f"{DATA}/shape_basis/one_head.csv")
    values = numpy.array([[float(cell) for cell in row[1:]] for row in rows]) / 1000
    points = values[:, :3]
    add_on.empty_scene()
    mesh = bpy.data.meshes.new("Basis")
    triangles = [(i, i + 1, i + 2) for i in range(len(points) - 2)]
    mesh.from_pydata([(x, -z, y) for x, y, z in points], [], triangles)
    thing = bpy.data.objects.new("Basis", mesh)
    bpy.context.scene.collection.objects.link(thing)
    thing.shape_key_add(name="Basis")
    for shape in range(3, len(header) - 1, 3):
        key = thing.shape_key_add(name=header[shape + 1].partition(".")[0])
        moved = points + values[:, shape:shape + 3]
        key.data.foreach_set("co", numpy.stack([moved[:, 0], -moved[:, 2], moved[:, 1]], axis=1).ravel())
    bpy.ops.export_scene.gltf(filepath=HEAD, export_morph_normal=False)
    write_rows(POINTS, [["landmark", "x", "y", "z"],
                        *([row[0], *point] for row, point in zip(rows, points) if row[0].startswith("lm"))])


def write_files():
    write_gaps()
    write_faces()
    write_basis()
    with open(MAP, "w", encoding="utf-8") as file:
        json.dump({"format": "mien weight map 1", "name": "mine",
                   "templates": {"Mouth.Open": {"jawOpen": 0.5}, "LeftEye.Close": {"eyeBlinkLeft": 0.7}}}, file)
    mien("calibrate", f"{SAMPLES}/mesh/talk_phone.csv", "--name", "Ada", "-o", RANGES)
    mien("calibrate", LANDMARKS, "-p", "landmarks68", "--name", "Ada", "-o", ADA)


def solved(case, options):
    """The command's animation."""
    verb, settings, arguments = case
    mien(verb, settings["take"], *arguments, *options, "-o", f"{OUT}/options.json")
    with open(f"{OUT}/options.json", encoding="utf-8") as file:
        return json.load(file)


def make_targets(shapes):
    """A mesh with these shape keys, and an empty for the head."""
    add_on.empty_scene()
    mesh = bpy.data.meshes.new("Face")
    mesh.from_pydata([(0, 0, 0)], [], [])
    face, head = bpy.data.objects.new("Face", mesh), bpy.data.objects.new("Skull", None)
    head.rotation_mode = "QUATERNION"
    for thing in (face, head):
        bpy.context.scene.collection.objects.link(thing)
    for name in ["rest", *shapes]:
        face.shape_key_add(name=name)
    add_on.select([face])
    return face, head


def curve(block, path, index=0):
    """(frames, values) of a curve; None if there is none."""
    action = block.animation_data and block.animation_data.action
    found = action and action.fcurves.find(path, index=index)
    if not found:
        return None
    points = numpy.empty(2 * len(found.keyframe_points), numpy.float32)
    found.keyframe_points.foreach_get("co", points)
    return points[0::2], points[1::2]


def check(case, properties, options, compared, snapped):
    """What the add-on writes with these properties is what the command writes with these options."""
    name = " ".join(options) or "no options"
    animation = solved(case, options)
    shapes = animation["shapes"]
    face, head = make_targets(shapes["names"])
    settings = bpy.context.scene.mien
    settings.head, settings.head_moves = head, True
    for key, value in {**case[1], **properties}.items():
        setattr(settings, key, value)
    equal(bpy.ops.mien.solve(), {"FINISHED"}, f"{name}: {settings.report}")
    rate = bpy.context.scene.render.fps / bpy.context.scene.render.fps_base
    times = numpy.array(animation["times"])
    weights = numpy.array(shapes["weights"]).T
    for shape, expected in zip(shapes["names"], weights):
        frames, values = curve(face.data.shape_keys, f'key_blocks["{shape}"].value')
        compared.add(expected, values, f"{name}, {shape}")
        snapped.add((times - times[0]) * rate, numpy.asarray(frames, float) - frames[0], f"{name}, times of {shape}")
    head_motion = animation.get("head")
    if head_motion and not any(map(any, head_motion["translation"])):
        head_motion = None  # neither the file nor the scene has one
    if head_motion:
        x, y, z = numpy.array(animation["head"]["translation"]).T / 1000
        qx, qy, qz, qw = numpy.array(animation["head"]["rotation"]).T
        for place, expected in enumerate((x, -z, y)):
            compared.add(expected, curve(head, "delta_location", place)[1], f"{name}, translation {place}")
        turns = numpy.array([curve(head, "delta_rotation_quaternion", place)[1] for place in range(4)])
        expected = numpy.array((qw, qx, -qz, qy))
        compared.add(expected * numpy.sign((expected * turns).sum(axis=0)), turns, f"{name}, rotation")
    else:
        equal(head.animation_data and head.animation_data.action, None, f"{name}: the head")
    start = animation.get("timecode") or ""
    markers = [marker.name for marker in bpy.context.scene.timeline_markers]
    equal(markers, [start.partition("@")[0]] if start else [], name)
    return weights, times, head_motion, start


LEAST = 2e-5  # of a change that is seen, beside the comparisons' tolerance of 1e-6


def differ(a, b):
    (weights, times, head, start), (others, other_times, other_head, other_start) = a, b
    return (len(times) != len(other_times) or numpy.abs(times - other_times).max() > LEAST or start != other_start
            or numpy.abs(weights - others).max() > LEAST
            or bool(head) != bool(other_head)
            or any(numpy.abs(numpy.subtract(head[part], other_head[part])).max() > LEAST for part in head or ()))


def check_cases(command_options):
    compared, plain = Comparison("weights and head", 1e-6), {}
    snapped = Comparison("frames", 0.02)  # the samples' times are in milliseconds
    untried = set(command_options.STEPS)
    for case, properties, options in CASES:
        if id(case) not in plain:
            plain[id(case)] = check(case, {}, [], compared, snapped)
        changed = check(case, properties, options, compared, snapped)
        assert differ(changed, plain[id(case)]), f"{options} changes nothing"
        untried -= set(properties)
    compared.end(100000)
    snapped.end(100000)
    equal(untried, set(), "options without a case")
    print(f"{len(CASES)} cases")


class Layout:
    """Takes the place of a panel's layout, and notes which properties are shown."""

    def __init__(self, shown):
        self._shown = shown

    def prop(self, _settings, name, *_where, **_how):
        self._shown.add(name)

    prop_search = prop

    def column(self, **_how):
        return self

    def __getattr__(self, _name):
        return lambda *_, **_how: self


def check_panel(panel, command_options):
    """Every setting is in the panel once it matters, and has a tooltip; defaults are the command's."""
    make_targets(["jawOpen"])
    armature = bpy.data.objects.new("Rig", bpy.data.armatures.new("Rig"))
    settings, shown = bpy.context.scene.mien, set()
    settings.performer = settings.character = "file"
    settings.solver, settings.head, settings.left_eye, settings.right_eye = "fit", armature, armature, armature
    context = SimpleNamespace(scene=bpy.context.scene, selected_objects=[], region=SimpleNamespace(width=200),
                              preferences=SimpleNamespace(system=SimpleNamespace(ui_scale=1)))
    for drawn in panel.CLASSES:
        drawn.draw(SimpleNamespace(layout=Layout(shown), shown=getattr(drawn, "shown", ()),
                                   joined=getattr(drawn, "joined", ("", ())), split=True), context)
    imported = set()
    import_panel = sys.modules[f"{add_on.NAME}.solve_operator"].MIEN_OT_import.draw
    import_panel(SimpleNamespace(layout=Layout(imported)), context)
    equal(imported, {"performer", "performer_file", "character", "character_file", "solver", "markers", "sets_scene"},
          "what the file browser shows")
    properties = {name: one for name, one in settings.bl_rna.properties.items()
                  if name not in ("rna_type", "name") and not one.is_hidden}
    equal(shown, set(properties), "what the panel shows")
    for name, one in properties.items():
        assert one.description and not one.description.endswith("."), f"{name} has no tooltip, or one with a full stop"
    mien = sys.modules[f"{add_on.NAME}.mien"]
    stated = 0
    for step in ("read", "solve", "retarget", "calibrate"):
        options = {option.name for option in mien.options(step)}
        for name, steps in command_options.STEPS.items():
            given = step in steps or (step == "retarget" and name in ("image", "face_width", "mirrored"))
            equal(given, command_options.option_of(name) in options, f"{step} has {name}")
    for name, steps in command_options.STEPS.items():
        for step in steps:
            step = "calibrate" if step == "neutral" else step
            options = {option.name: option for option in mien.options(step)}
            option = options[command_options.option_of(name)]
            default = re.search(r"default:? ([\d.]*\d|\S+:[\d.]+(?:,\S+:[\d.]+)*)$", option.help)
            if default:
                stated += 1
                got = properties[name].default if properties[name].type == "FLOAT" else properties[name].description
                right = abs(got - float(default[1])) < 1e-6 if isinstance(got, float) else got.endswith(default[1])
                assert right, f"{name}: {got!r}, where the command has {default[1]}"
    assert stated >= 8, f"the help states {stated} defaults"
    print(f"{len(properties)} settings are shown, {stated} defaults compared")


def check_words():
    """A message of the command's names what the artist sees."""
    make_targets(["jawOpen"])
    settings = bpy.context.scene.mien
    settings.take, settings.image = LANDMARKS, (100, 100)
    equal(bpy.ops.mien.solve(), {"CANCELLED"}, "landmarks68 with an image")
    assert settings.report.endswith("leave out Image, Face width and Mirrored, which are for those"), settings.report
    settings.image, settings.expression = (0, 0), "Smile=1"
    equal(bpy.ops.mien.solve(), {"CANCELLED"}, "an unknown expression")
    assert 'there is no expression "Smile"' in settings.report, settings.report
    settings.expression, settings.fill = "", "cubik:1"
    equal(bpy.ops.mien.solve(), {"CANCELLED"}, "an unknown method")
    assert settings.report.startswith('Fill: "cubik:1" is not'), settings.report


def main():
    add_on.install(ZIP)
    command_options = sys.modules[f"{add_on.NAME}.command_options"]
    check_panel(sys.modules[f"{add_on.NAME}.panel"], command_options)
    check_words()
    write_files()
    check_cases(command_options)
    print("all done")


main()
