"""Takes and weights onto a head: what Blender plays is what the command computes.

blender --background --factory-startup --python onto_head.py -- ADD_ON.zip MIEN SAMPLES OUT

OUT has landmarks.json, markers.c3d, markers.json and phone.json of the command.
"""

import json
import math
import os
import sys
from fractions import Fraction

import bpy
import numpy
from mathutils import Matrix, Quaternion

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal, ten_of

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
Z_UP = Matrix(((1, 0, 0, 0), (0, 0, -1, 0), (0, 1, 0, 0), (0, 0, 0, 1)))


def in_blender(xyzw):
    x, y, z, w = xyzw
    return (Z_UP @ Quaternion((w, x, y, z)).to_matrix().to_4x4() @ Z_UP.inverted()).to_3x3()


def solved(name):
    with open(f"{OUT}/{name}.json", encoding="utf-8") as file:
        return json.load(file)


def at_frame(animation, index):
    """Goes to a frame of the take; the scene's rate is the take's."""
    scene = bpy.context.scene
    at = scene.frame_start + round((animation["times"][index] - animation["times"][0])
                                   * scene.render.fps / scene.render.fps_base)
    scene.frame_set(at)


def check_weights(animation, expected_names):
    """Every shape key that a weight drives has its value in ten frames."""
    names, weights = animation["shapes"]["names"], animation["shapes"]["weights"]
    keys = bpy.data.objects["face"].data.shape_keys
    compared = Comparison("weights", 1e-6)
    for index in ten_of(len(animation["times"])):
        at_frame(animation, index)
        values = {key.name: key.value
                  for key in keys.evaluated_get(bpy.context.evaluated_depsgraph_get()).key_blocks}
        for name, weight in zip(names, weights[index]):
            compared.add(weight, values[expected_names.get(name, name)], f"frame {index}, {name}")
    compared.end(len(ten_of(len(animation["times"]))) * len(names))


def check_rate(animation):
    scene = bpy.context.scene
    rate = Fraction(*animation["rate_fraction"])
    got = scene.render.fps / scene.render.fps_base
    assert abs(got / rate - 1) < 1e-7, f"{got} frames a second, where {rate} is expected"
    equal(scene.frame_start, animation["frames"][0], "first frame")
    equal(scene.frame_end, animation["frames"][-1], "last frame")


def fresh_head():
    add_on.empty_scene()
    head = add_on.add_head(f"{SAMPLES}/head.glb")
    equal([thing.name for thing in bpy.context.selected_objects], ["face"], "selection")
    return head


def landmarks():
    """File > Import, with the head as an object."""
    fresh_head()
    settings = bpy.context.scene.mien
    settings.head = bpy.data.objects["face"]
    rest = bpy.data.objects["face"].matrix_world.to_3x3().normalized()
    for _ in range(2):  # the second run replaces the first
        equal(bpy.ops.import_anim.mien(filepath=f"{SAMPLES}/landmarks.csv"), {"FINISHED"}, "import")
    assert not settings.report_is_error, settings.report
    animation = solved("landmarks")
    check_rate(animation)
    check_weights(animation, {})
    turns = Comparison("head", 1e-6)
    for index in ten_of(len(animation["times"])):
        at_frame(animation, index)
        face = bpy.data.objects["face"].evaluated_get(bpy.context.evaluated_depsgraph_get())
        turn = face.matrix_world.to_3x3().normalized() @ rest.inverted()
        turns.add(numpy.array(in_blender(animation["head"]["rotation"][index])), numpy.array(turn), f"frame {index}")
    turns.end(90)
    assert "eyeLookInLeft" in bpy.data.objects["face"].data.shape_keys.animation_data.action.fcurves[2].data_path
    lines = settings.report.splitlines()
    assert lines[0].startswith("360 frames, 52 shape keys, 1 mesh, 1 bone or object"), lines[0]


def picture():
    """The mouth opens in what Blender renders, and the forehead stays; OUT gets the pictures."""
    face = bpy.data.objects["face"]
    face.animation_data.action, face.delta_rotation_quaternion = None, (1, 0, 0, 0)  # it looks ahead
    scene, animation = bpy.context.scene, solved("landmarks")
    column = animation["shapes"]["names"].index("jawOpen")
    jaw = [frame[column] for frame in animation["shapes"]["weights"]]
    camera = bpy.data.objects.new("Camera", bpy.data.cameras.new("Camera"))
    camera.data.type, camera.data.ortho_scale = "ORTHO", 0.36
    camera.location, camera.rotation_euler = (0, -2, 0.06), (math.pi / 2, 0, 0)
    light = bpy.data.objects.new("Light", bpy.data.lights.new("Light", "SUN"))
    light.rotation_euler, light.data.energy = (1.1, 0, 0.4), 4
    for thing in (camera, light):
        scene.collection.objects.link(thing)
    scene.camera, scene.render.engine, scene.cycles.samples = camera, "CYCLES", 4
    scene.cycles.use_denoising = False  # which not every build has
    scene.render.resolution_x = scene.render.resolution_y = 200
    shown = {}
    for name, index in (("neutral", 0), ("open", jaw.index(max(jaw)))):
        at_frame(animation, index)
        scene.render.filepath = f"{OUT}/{name}.png"
        bpy.ops.render.render(write_still=True)
        loaded = bpy.data.images.load(scene.render.filepath)
        shown[name] = numpy.array(loaded.pixels).reshape(200, 200, 4)[:, :, :3].mean(axis=2)  # rows from below
    changed = numpy.abs(shown["open"] - shown["neutral"])
    mouth, forehead = changed[60:100, 80:120].mean(), changed[140:170, 80:120].mean()
    print(f"jawOpen {max(jaw):.2f}: the mouth changes by {mouth:.3f}, the forehead by {forehead:.3f}")
    assert shown["neutral"].std() > 0.05, "the picture is empty"
    assert mouth > 0.05 and mouth > 5 * forehead, "the mouth does not open, or all of the face moves"


def markers():
    """A C3D file of markers with a performer file; the markers as empties."""
    fresh_head()
    settings = bpy.context.scene.mien
    settings.take, settings.markers = f"{OUT}/markers.c3d", True
    equal(bpy.ops.mien.solve(), {"CANCELLED"}, "a solve without a performer")
    assert settings.report_is_error and "choose the performer file" in settings.report, settings.report
    settings.performer, settings.performer_file = "file", f"{SAMPLES}/markers.performer.json"
    for _ in range(2):  # the second run replaces the first one's empties
        equal(bpy.ops.mien.solve(), {"FINISHED"}, "solve")
    equal(len([thing for thing in bpy.data.objects if thing.name.endswith(".001")]), 0, "empties of the first run")
    animation = solved("markers")
    check_rate(animation)
    check_weights(animation, {})
    check_empties(animation)


def check_empties(animation):
    """Distances between markers are those of the take, in metres; the face looks along -y."""
    with open(f"{SAMPLES}/markers.csv", encoding="utf-8") as file:
        header, *rows = [line.rstrip("\n").split(",") for line in file]
    places = Comparison("distances of markers", 1e-6)
    hidden = 0
    for index in ten_of(len(rows)):
        at_frame(animation, index)
        cells = dict(zip(header, rows[index]))
        names = [name[:-2] for name in header[2:] if name.endswith(".x")]
        known = {name: numpy.array([float(cells[f"{name}.{axis}"]) for axis in "xyz"])
                 for name in names if cells[f"{name}.x"]}
        shown = {name: numpy.array(bpy.data.objects[name].matrix_world.translation) for name in names}
        first = next(iter(known))
        for name in names:
            equal(bpy.data.objects[name].hide_viewport, name not in known, f"{name} hidden in {index}")
            hidden += name not in known
        for name in known:
            places.add(numpy.linalg.norm(known[name] - known[first]) / 1000,
                       numpy.linalg.norm(shown[name] - shown[first]), f"frame {index}, {name}")
    places.end(100)
    at_frame(animation, 0)
    brow, chin = (bpy.data.objects[name].matrix_world.translation for name in ("BrowInL", "ChinMid"))
    assert brow.z > chin.z + 0.05, f"the brow at {brow} is not above the chin at {chin}"
    assert hidden > 0, "no gap was seen"


OTHER_SPELLINGS = {"jawOpen": "Face.Jaw_Open", "eyeBlinkLeft": "EyeBlink_L"}


def phone():
    """Recorded weights, whose names are spelled in another way than the head's."""
    fresh_head()
    for key in bpy.data.objects["face"].data.shape_keys.key_blocks[1:]:
        key.name = OTHER_SPELLINGS.get(key.name, key.name)
    bpy.data.objects["face"].data.shape_keys.key_blocks["Face.Jaw_Open"].slider_max = 0.5
    settings = bpy.context.scene.mien
    settings.take, settings.character = f"{SAMPLES}/mesh/weights_phone.csv", "none"
    equal(bpy.ops.mien.solve(), {"FINISHED"}, "retarget")
    animation = solved("phone")
    check_weights(animation, OTHER_SPELLINGS)
    assert "Shape keys at rest (48)" in settings.report, settings.report
    equal(bpy.data.objects["face"].data.shape_keys.key_blocks["Face.Jaw_Open"].slider_max, 1.0, "slider")
    check_rate(animation)
    timecode = animation["timecode"].partition("@")[0]
    equal([marker.name for marker in bpy.context.scene.timeline_markers], [timecode], "timeline")
    path = f"{OUT}/phone.character.json"
    equal(bpy.ops.export_anim.mien_character(filepath=path), {"FINISHED"}, "export")
    with open(path, encoding="utf-8") as file:
        assert "expressions" not in json.load(file), "the timecode was taken for a pose"


def main():
    add_on.install(ZIP)
    landmarks()
    picture()
    markers()
    phone()
    print("all done")


main()
