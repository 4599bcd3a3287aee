"""The add-on in the life of a scene: registered twice, updated, saved and reopened; other paths, shared and linked
meshes, and what keeps a shape key or a bone where it is.

blender --background --factory-startup --python life.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import os
import shutil
import sys
import zipfile

import bpy
import numpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
LANDMARKS = f"{SAMPLES}/landmarks.csv"
FOLDER = f"{OUT}/life Ünïcode 顔"


def fresh_head(take=LANDMARKS):
    """The sample's head, selected, and the panel's settings."""
    add_on.empty_scene()
    add_on.add_head(f"{SAMPLES}/head.glb")
    settings = bpy.context.scene.mien
    settings.take = take
    return settings, bpy.data.objects["face"]


def solve(expected="FINISHED", what="solve"):
    settings = bpy.context.scene.mien
    equal(bpy.ops.mien.solve(), {expected}, f"{what}: {settings.report}")
    equal(settings.report_is_error, expected != "FINISHED", what)
    return settings.report


def plays(face, shape="jawOpen", step=20):
    """Whether a shape key of the mesh moves."""
    key = face.data.shape_keys.key_blocks[shape]
    values = []
    for frame in range(1, 361, step):
        bpy.context.scene.frame_set(frame)
        values.append(key.value)
    return max(values) - min(values) > 0.2


def menu_entries():
    return [sum(entry.__module__.startswith(add_on.NAME) for entry in menu._dyn_ui_initialize())
            for menu in (bpy.types.TOPBAR_MT_file_import, bpy.types.TOPBAR_MT_file_export)]


def registered_twice():
    for _ in range(2):
        equal((menu_entries(), hasattr(bpy.types.Scene, "mien")), ([1, 1], True), "enabled")
        bpy.ops.preferences.addon_disable(module=add_on.NAME)
        equal((menu_entries(), hasattr(bpy.types.Scene, "mien")), ([0, 0], False), "disabled")
        bpy.ops.preferences.addon_enable(module=add_on.NAME)
    bpy.ops.preferences.addon_enable(module=add_on.NAME)  # it is enabled already
    equal(menu_entries(), [1, 1], "enabled twice")
    fresh_head()
    solve()


def updated():
    """A newer version works without a restart, with its own submodules and library."""
    newer = f"{OUT}/life.zip"
    with zipfile.ZipFile(ZIP) as old, zipfile.ZipFile(newer, "w") as new:
        for info in old.infolist():
            data = old.read(info)
            if info.filename.endswith("/arkit_names.py"):
                data += b"\nNEWER = True\n"
            elif info.filename.endswith("/__init__.py") and info.filename.count("/") == 1:
                data += b"\nfrom .arkit_names import NEWER\n"
            new.writestr(info, data)
    for path, has in ((newer, True), (ZIP, False)):
        module = add_on.install(path)
        equal(menu_entries(), [1, 1], path)
        assert hasattr(module, "NEWER") or not has, path
        equal(hasattr(sys.modules[f"{add_on.NAME}.binding"].arkit_names, "NEWER"), has, f"submodules of {path}")
        fresh_head()
        solve()


def saved_and_reopened():
    """Settings, pointers to objects and relative paths with other letters survive the file."""
    shutil.rmtree(FOLDER, ignore_errors=True)
    os.makedirs(FOLDER)
    shutil.copy(LANDMARKS, f"{FOLDER}/täke 1.csv")
    fresh_head()
    bpy.ops.wm.save_as_mainfile(filepath=f"{FOLDER}/scène.blend")
    settings = bpy.context.scene.mien
    settings.take, settings.neutral = "//täke 1.csv", "1-10"
    equal(bpy.ops.mien.performer(filepath="//Zoë.json", kind="neutral"), {"FINISHED"}, settings.report)
    equal(sorted(os.listdir(FOLDER)), ["Zoë.json", "scène.blend", "täke 1.csv"], "saved performer")
    chosen = {"take": "//täke 1.csv", "performer": "file", "performer_file": "//Zoë.json", "character": "file",
              "character_file": "//chär.json", "neutral": "", "smooth": 6, "image": (0, 0), "head_moves": True,
              "fill": "linear:1", "output_rate": "24", "ranges": False, "solver": "fit"}
    for name, value in chosen.items():
        setattr(settings, name, value)
    settings.head = bpy.data.objects["face"]
    equal(bpy.ops.export_anim.mien_character(filepath="//chär.json"), {"FINISHED"}, "export")
    report = solve()
    bpy.ops.wm.save_mainfile()
    bpy.ops.wm.read_homefile(use_empty=True, use_factory_startup=True)
    bpy.ops.wm.open_mainfile(filepath=f"{FOLDER}/scène.blend")
    settings, face = bpy.context.scene.mien, bpy.data.objects["face"]
    for name, value in chosen.items():
        got = getattr(settings, name)
        equal(tuple(got) if name == "image" else got, value, f"{name} of the reopened file")
    equal((settings.head, settings.report), (face, report), "the reopened file")
    equal(plays(face), True, "the reopened file plays")
    action = face.data.shape_keys.animation_data.action
    # The object has an action of this name as well, for the head.
    equal((action.name, action["mien"]), ("täke 1: face.001", "täke 1"), "action")
    equal(solve().splitlines()[0], report.splitlines()[0], "solved again")
    again = face.data.shape_keys.animation_data.action
    equal((again.name, action.name, action.use_fake_user), ("täke 1: face.003", "täke 1: face.001", True),
          "a second action")
    equal(len(again.fcurves), len(action.fcurves), "curves of the second action")


def other_formats():
    """What File > Import offers: C3D and TRC with a performer file, CSV and JSON."""
    os.system(f"'{MIEN}' convert -q '{SAMPLES}/markers.csv' '{OUT}/life.trc'")
    for take, performer, frames in ((f"{OUT}/markers.c3d", f"{SAMPLES}/markers.performer.json", 360),
                                    (f"{OUT}/life.trc", f"{SAMPLES}/markers.performer.json", 360),
                                    (LANDMARKS, "", 360), (f"{SAMPLES}/mesh/results.json", "", 5),
                                    (f"{SAMPLES}/mesh/weights_recorded.json", "", 5),
                                    (f"{SAMPLES}/known_weights.csv", "", 360)):
        settings, face = fresh_head()
        if performer:
            settings.performer, settings.performer_file = "file", performer
        equal(bpy.ops.import_anim.mien(filepath=take), {"FINISHED"}, f"{take}: {settings.report}")
        equal(settings.report.splitlines()[0], f"{frames} frames, 52 shape keys, 1 mesh, 0 bones and objects", take)
        equal((bpy.context.scene.frame_end - bpy.context.scene.frame_start + 1 >= frames, plays(face) or frames == 5),
              (True, True), take)


def wrong_files():
    """What an artist reads: the file, the place in it, and what to do. Nothing is changed."""
    for name, content in (("empty.c3d", b""), ("text.csv", b"hello\nworld\n"), ("cut.trc", b"PathFileType\t4\n")):
        with open(f"{OUT}/life.{name}", "wb") as file:
            file.write(content)
    settings, face = fresh_head("")
    for chosen, expected in (
            ({}, "choose a take"),
            ({"take": f"{OUT}/none.c3d"}, f"{OUT}/none.c3d: there is no such file; check the path"),
            ({"take": OUT}, f"{OUT}: this is a folder; name a file in it"),
            ({"take": f"{OUT}/life.empty.c3d"}, f"{OUT}/life.empty.c3d: the file is empty; export the take again"),
            ({"take": f"{OUT}/life.text.csv"}, f"{OUT}/life.text.csv: this is not a take of a known format; the"),
            ({"take": f"{OUT}/life.cut.trc"}, f"{OUT}/life.cut.trc:"),
            ({"take": f"{SAMPLES}/head.glb"}, f"{SAMPLES}/head.glb: this is a .glb, not a take"),
            ({"take": f"{SAMPLES}/markers.csv"}, f"{SAMPLES}/markers.csv: no built-in performer has the 50 markers of "
             "the take (MouthCornerL, MouthCornerR, SmileL, SmileR, LipUpperL, ...); choose the performer file"),
            ({"take": f"{SAMPLES}/markers.csv", "performer": "landmarks68"}, 
             'landmarks68:/head/0: the take "markers" has no marker "lm28"\nlandmarks68:/head/1: '),
            ({"take": f"{SAMPLES}/markers.csv", "performer": "landmarks68"},
             "\nchoose the performer of the 50 markers of the take (MouthCornerL, "),
            ({"performer": "file", "performer_file": ""}, "choose the performer file"),
            ({"performer": "file", "performer_file": f"{OUT}/life.text.csv"},
             f"{OUT}/life.text.csv: this is not a JSON file"),
            ({"character": "file", "character_file": f"{SAMPLES}/markers.performer.json"},
             f'{SAMPLES}/markers.performer.json:/format: this is a "performer" file; name a character file here'),
            ({"neutral": "900"}, f"{LANDMARKS}: there are no frames 900 to 900 for the neutral pose; the take goes from "
             "frame 1 to 360"),
            ({"neutral": "5-"}, 'Neutral: "5-" is not FRAME or FROM-TO'),
            ({"input_rate": "fast"}, 'Take\'s rate: "fast" is not a rate'),
            ({"character": "vrm1"}, "none of the 52 shape keys (eyeBlinkLeft, ")):
        settings.take, settings.performer, settings.character = LANDMARKS if chosen else "", "auto", "arkit52"
        settings.neutral = settings.input_rate = ""
        for name, value in chosen.items():
            setattr(settings, name, value)
        report = solve("CANCELLED", str(chosen))
        assert expected in report, f"{chosen}: {report}"
        equal((len(bpy.data.actions), face.data.shape_keys.animation_data), (0, None), "after a failure")
    settings.character = "arkit52"
    add_on.select([])
    equal(solve("CANCELLED"), "select the meshes whose shape keys are to move", "nothing is selected")


def shared_mesh():
    """Two objects with one mesh: both move, by one action."""
    _, face = fresh_head()
    twin = face.copy()
    bpy.context.scene.collection.objects.link(twin)
    add_on.select([face, twin])
    equal(solve(), "360 frames, 52 shape keys, 1 mesh, 0 bones and objects", "two objects")
    equal((len(bpy.data.actions), plays(twin), plays(face)), (1, True, True), "two objects")


def held_shape_keys():
    """Drivers, muted keys, a pin and absolute keys: the report says why nothing moves."""
    _, face = fresh_head()
    keys = face.data.shape_keys
    keys.key_blocks["jawOpen"].mute = keys.key_blocks["mouthLeft"].mute = True
    keys.key_blocks["eyeBlinkLeft"].driver_add("value").driver.expression = "0"
    face.show_only_shape_key, keys.use_relative = True, False
    report = solve().splitlines()
    equal(report[1:], [
        "face: drivers replace the key frames of eyeBlinkLeft; delete the drivers",
        "face: muted shape keys do not move: jawOpen, mouthLeft; tick them in the list of shape keys",
        "face: its shape keys are absolute, so their values have no effect; tick Relative",
        "face: shows only its active shape key; turn off the pin below the list of shape keys"], "report")
    equal((plays(face, "eyeBlinkLeft", 5), plays(face, "eyeBlinkRight", 5)), (False, True), "the driver's key")
    keys.driver_remove('key_blocks["eyeBlinkLeft"].value')
    equal(plays(face, "eyeBlinkLeft", 5), True, "without its driver, the key plays")


def nameless_marker():
    """A marker of the user's that has no name is not the timecode's: it stays, and the panel shows no timecode."""
    fresh_head()
    scene = bpy.context.scene
    scene.timeline_markers.new("", frame=7)
    timecode_at = sys.modules[f"{add_on.NAME}.onto_character"].timecode_at
    equal(timecode_at(scene, 7), None, "timecode")
    solve()
    equal([marker.frame for marker in scene.timeline_markers], [7], "the user's marker")


def sliders():
    """Blender limits a shape key to its slider, which the add-on widens as far as weights need it, up to a limit."""
    table = f"{OUT}/life.weights.csv"
    with open(table, "w", encoding="utf-8") as file:
        file.write("frame,time,jawOpen,mouthLeft,mouthRight\n1,0,-0.73,1.62,0.2\n2,0.04,0.4,12.5,0.3\n")
    settings, face = fresh_head(table)
    settings.character = "none"
    keys = face.data.shape_keys.key_blocks
    keys["mouthRight"].slider_max = 2.5
    report = solve()
    for name, least, most in (("jawOpen", -0.8, 1), ("mouthLeft", 0, 10), ("mouthRight", 0, 2.5)):
        assert numpy.allclose((keys[name].slider_min, keys[name].slider_max), (least, most)), name
    bpy.context.scene.frame_set(1)
    assert numpy.allclose((keys["jawOpen"].value, keys["mouthLeft"].value), (-0.73, 1.62), atol=1e-6), "played"
    assert "weights of mouthLeft range from 1.6 to 12.5; Blender limits them to -10 to 10" in report, report


def held_bones():
    """Constraints, and "Move" of a bone that is connected to its parent."""
    add_on.empty_scene()
    armature = bpy.data.objects.new("Rig", bpy.data.armatures.new("Rig"))
    bpy.context.scene.collection.objects.link(armature)
    bpy.context.view_layer.objects.active = armature
    bpy.ops.object.mode_set(mode="EDIT")
    neck, head = (armature.data.edit_bones.new(name) for name in ("neck", "head"))
    neck.tail, head.head, head.tail, head.parent, head.use_connect = (0, 0, 1), (0, 0, 1), (0, 0, 2), neck, True
    bpy.ops.object.mode_set(mode="OBJECT")
    add_on.select([armature])
    settings = bpy.context.scene.mien
    settings.take, settings.head, settings.head_bone = LANDMARKS, armature, "head"
    assert "may hold it" not in solve(), settings.report
    settings.head_moves = True
    report = solve()
    assert report.endswith("Rig: head: the connection to its parent (Connected, in edit mode) may hold it"), report
    armature.pose.bones["head"].constraints.new("LIMIT_ROTATION").name = "Stay"
    report = solve()
    assert report.endswith("Rig: head: the constraint Stay and the connection to its parent (Connected, in edit mode) "
                           "may hold it"), report


def not_animatable():
    """Linked data would lose its animation; an action in tweak mode cannot be replaced. Nothing is changed."""
    path = f"{FOLDER}/library.blend"
    fresh_head()
    bpy.ops.wm.save_as_mainfile(filepath=path)
    add_on.empty_scene()
    with bpy.data.libraries.load(path, link=True) as (_, loaded):
        loaded.objects = ["face"]
    face = loaded.objects[0]
    bpy.context.scene.collection.objects.link(face)
    add_on.select([face])
    bpy.context.scene.mien.take = LANDMARKS
    report = solve("CANCELLED")
    assert report.startswith("face: this is linked from ") and "library.blend, so" in report, report
    equal((len(bpy.data.actions), bpy.context.scene.frame_end), (0, 250), "after a refusal")
    bpy.ops.object.make_local(type="SELECT_OBDATA")
    solve(what="made local")

    _, face = fresh_head()
    solve()
    data = face.data.shape_keys.animation_data
    first = data.action
    track = data.nla_tracks.new()
    strip = track.strips.new("edited", 1, first)
    data.action, track.select, strip.select = None, True, True
    data.use_tweak_mode = True
    equal(data.use_tweak_mode, True, "tweak mode")
    report = solve("CANCELLED")
    assert report.startswith("face: its action is being edited") and "(Tab in that editor)" in report, report
    equal(list(bpy.data.actions), [first], "actions after a refusal")
    data.use_tweak_mode = False
    solve(what="after the tweak mode")


def in_edit_mode():
    _, face = fresh_head()
    bpy.context.view_layer.objects.active = face
    bpy.ops.object.mode_set(mode="EDIT")
    solve()
    bpy.ops.object.mode_set(mode="OBJECT")
    equal(plays(face), True, "solved in edit mode")


def main():
    add_on.install(ZIP)
    for part in (registered_twice, updated, saved_and_reopened, other_formats, wrong_files, shared_mesh,
                 nameless_marker, sliders,
                 held_shape_keys, held_bones, not_animatable, in_edit_mode):
        part()
        print(f"-- {part.__name__}", flush=True)
    print("all done")


main()
