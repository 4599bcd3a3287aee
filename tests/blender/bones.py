"""Head, eyes and clusters as bones and as objects: what Blender shows is the command's rotation.

blender --background --factory-startup --python bones.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import json
import math
import os
import subprocess
import sys

import bpy
import numpy
from mathutils import Matrix, Quaternion

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
Z_UP = Matrix(((1, 0, 0, 0), (0, 0, -1, 0), (0, 1, 0, 0), (0, 0, 0, 1)))


def in_blender(turn):
    return (Z_UP @ turn.to_4x4() @ Z_UP.inverted()).to_3x3()


def head_turn(animation, index):
    x, y, z, w = animation["head"]["rotation"][index]
    return in_blender(Quaternion((w, x, y, z)).to_matrix())


def eye_turn(animation, side, index):
    yaw, pitch = animation["eyes"][side][index]
    return in_blender(Matrix.Rotation(yaw, 3, "Y") @ Matrix.Rotation(pitch, 3, "X"))


def make_rig(modes):
    """An armature, turned and scaled, with a neck, a head and two eyes; `modes` are their rotation modes."""
    add_on.empty_scene()
    armature = bpy.data.objects.new("Rig", bpy.data.armatures.new("Rig"))
    bpy.context.scene.collection.objects.link(armature)
    armature.rotation_euler, armature.scale = (0.2, 0, 0.7), (3, 3, 3)
    bpy.context.view_layer.objects.active = armature
    bpy.ops.object.mode_set(mode="EDIT")
    edit = armature.data.edit_bones
    for name, parent, head, tail in (("neck", None, (0, 0, 1), (0, 0.05, 1.1)),
                                     ("head", "neck", (0, 0.05, 1.1), (0, 0, 1.4)),
                                     ("DEF-eye.L", "head", (0.03, -0.1, 1.2), (0.03, -0.2, 1.21)),
                                     ("DEF-eye.R", "head", (-0.03, -0.1, 1.2), (-0.03, -0.2, 1.19))):
        bone = edit.new(name)
        bone.head, bone.tail, bone.parent = head, tail, edit[parent] if parent else None
    bpy.ops.object.mode_set(mode="OBJECT")
    for name, mode in modes.items():
        armature.pose.bones[name].rotation_mode = mode
    add_on.select([armature])
    return armature


def bone_axes(armature, name):
    bpy.context.view_layer.update()
    shown = armature.evaluated_get(bpy.context.evaluated_depsgraph_get())
    return (shown.matrix_world @ shown.pose.bones[name].matrix).to_3x3().normalized()


def object_axes(thing):
    shown = thing.evaluated_get(bpy.context.evaluated_depsgraph_get())
    return shown.matrix_world.to_3x3().normalized()


ANGLES = ("Head", "LeftEye", "RightEye")


def write_phone():
    """Twelve frames of a phone app's table: the head and the eyes turn, each in its own way."""
    with open(f"{OUT}/bones.csv", "w", encoding="utf-8") as file:
        names = [f"{what}{axis}" for what in ANGLES for axis in ("Yaw", "Pitch", "Roll")]
        file.write(f"Timecode,BlendShapeCount,JawOpen,{','.join(names)}\n")
        for row in range(12):
            angles = [0.6 * math.sin(row * (1 + 0.3 * column) + column) * (column < 3 or column % 3 < 2)
                      for column in range(len(names))]
            file.write(f"10:00:00:{2 * row:02}.000,10,0.5,{','.join(f'{angle:.6f}' for angle in angles)}\n")
    subprocess.run([MIEN, "retarget", f"{OUT}/bones.csv", "-o", f"{OUT}/bones.json", "-q"], check=True)
    with open(f"{OUT}/bones.json", encoding="utf-8") as file:
        return json.load(file)


def solve_phone():
    settings = bpy.context.scene.mien
    settings.take, settings.character = f"{OUT}/bones.csv", "none"
    equal(bpy.ops.mien.solve(), {"FINISHED"}, "retarget")


def check(animation, what, axes):
    """`axes(name)` of head and eyes, whose rest is theirs in the first call: the head turns about the scene's axes, the
    eyes with the head and about its axes."""
    rest = {name: axes(name) for name in ("head", "left", "right")}
    solve_phone()
    compared = Comparison(what, 2e-6)
    moved = 0.0
    for index in range(len(animation["times"])):
        bpy.context.scene.frame_set(bpy.context.scene.frame_start + index)
        head = head_turn(animation, index)
        compared.add(numpy.array(head @ rest["head"]), numpy.array(axes("head")), f"frame {index}, head")
        for side in ("left", "right"):
            eye = eye_turn(animation, side, index)
            moved = max(moved, eye.to_quaternion().angle)
            compared.add(numpy.array(head @ eye @ rest[side]), numpy.array(axes(side)), f"frame {index}, {side} eye")
    compared.end(27 * len(animation["times"]))
    assert moved > 0.5, f"the eyes turn by {moved} only"


def check_bones(animation):
    for modes in ({}, {"head": "XYZ", "DEF-eye.L": "ZYX", "DEF-eye.R": "AXIS_ANGLE"}):
        armature = make_rig(modes)
        settings = bpy.context.scene.mien
        settings.head, settings.head_bone = armature, "head"
        names = {"head": "head", "left": "DEF-eye.L", "right": "DEF-eye.R"}
        check(animation, f"bones {modes}", lambda name: bone_axes(armature, names[name]))
        equal({bone.rotation_mode for bone in armature.pose.bones} - {"QUATERNION"}, set(modes.values()), "modes")
        settings.head_bone = "jaw"
        equal(bpy.ops.mien.solve(), {"CANCELLED"}, "an unknown bone")
        assert "choose a bone of Rig as the head" in settings.report, settings.report


def check_objects(animation):
    """Eyeballs below a head below a turned parent; each has a rotation of its own, which keeps its mode. The head has
    an action of the user's, which keeps playing."""
    add_on.empty_scene()
    things = {}
    for name, parent, angles in (("Body", None, (0.3, 0, 1)), ("Skull", "Body", (0.1, 0.5, -0.2)),
                                 ("LeftEye", "Skull", (0, 0, 0.4)), ("RightEye", "Skull", (0.2, 0, 0))):
        things[name] = thing = bpy.data.objects.new(name, None)
        bpy.context.scene.collection.objects.link(thing)
        thing.parent, thing.rotation_euler, thing.location = things.get(parent), angles, (0.1, 0.2, 0.3)
    things["Skull"].rotation_mode, things["LeftEye"].rotation_mode = "ZYX", "QUATERNION"
    things["RightEye"].rotation_mode = "AXIS_ANGLE"
    things["Skull"].keyframe_insert("rotation_euler", frame=1)
    things["Skull"].rotation_euler = (9, 9, 9)  # what the action does not show
    add_on.select(list(things.values()))
    settings = bpy.context.scene.mien
    settings.head = things["Skull"]
    names = {"head": "Skull", "left": "LeftEye", "right": "RightEye"}
    bpy.context.scene.frame_set(3)
    own = [tuple(thing.matrix_basis.to_euler()) for thing in things.values()]
    for _ in range(2):
        check(animation, "objects", lambda name: object_axes(things[names[name]]))
        for thing in things.values():
            add_on.put_at_rest(thing)
        now = [tuple(thing.matrix_basis.to_euler()) for thing in things.values()]
        assert numpy.allclose(own, now, atol=1e-6), "the objects' own rotation was changed"
    modes = [things[name].rotation_mode for name in ("Skull", "LeftEye", "RightEye")]
    equal(modes, ["ZYX", "QUATERNION", "QUATERNION"], "modes; there is no delta of an axis and an angle")


def place_of(block, bone):
    bpy.context.view_layer.update()
    shown = block.evaluated_get(bpy.context.evaluated_depsgraph_get())
    return numpy.array((shown.matrix_world @ shown.pose.bones[bone].matrix if bone else shown.matrix_world).translation)


def check_moves(animation):
    """With "Move", a bone of a turned and scaled armature, and an object below a scaled parent, move as the head."""
    moves = numpy.array(animation["head"]["translation"]) @ numpy.array(Z_UP.to_3x3()).T / 1000
    furthest = numpy.abs(moves).max()
    assert furthest > 0.02, f"the head moves by {furthest} m only"
    for bone in ("head", "DEF-eye.L", ""):
        block = make_rig({})
        if not bone:
            body, block = block, bpy.data.objects.new("Skull", None)
            body.scale = (2, 0.5, 3)
            bpy.context.scene.collection.objects.link(block)
            block.parent, block.location = body, (0.1, 0.2, 0.3)
            add_on.select([block])
        settings = bpy.context.scene.mien
        settings.take, settings.head, settings.head_bone = f"{SAMPLES}/landmarks.csv", block, bone
        for moving, metre in ((False, 1), (True, 1), (True, 100)):  # the third scene is in centimetres
            rest = place_of(block, bone)
            settings.head_moves, bpy.context.scene.unit_settings.scale_length = moving, 1 / metre
            equal(bpy.ops.mien.solve(), {"FINISHED"}, settings.report)
            compared = Comparison(f"places of {bone or 'an object'}", 2e-6)  # in single precision
            for index in add_on.ten_of(len(animation["times"])):
                bpy.context.scene.frame_set(bpy.context.scene.frame_start + index)
                move = moves[index] * metre if moving else numpy.zeros(3)
                compared.add(rest + move, place_of(block, bone), f"frame {index}")
            compared.end(30)
            add_on.put_at_rest(block)


def check_clusters():
    """The puppet's clusters move objects of their names, in their parent's axes, from where these are."""
    add_on.empty_scene()
    character = f"{SAMPLES}/puppet.character.json"
    subprocess.run([MIEN, "solve", f"{SAMPLES}/landmarks.csv", "-p", "landmarks68", "-c", character, "-o",
                    f"{OUT}/puppet.json", "-q"], check=True)
    with open(f"{OUT}/puppet.json", encoding="utf-8") as file:
        animation = json.load(file)
    clusters = animation["clusters"]
    things = []
    for cluster, names in enumerate(clusters["names"]):
        thing = bpy.data.objects.new(names["cluster"], None)
        bpy.context.scene.collection.objects.link(thing)
        with open(character, encoding="utf-8") as file:
            rest = json.load(file)["parts"][names["part"]]["clusters"]["rest"][names["cluster"]]
        x, y, z = (math.radians(angle) for angle in rest.get("rotation", (0, 0, 0)))
        turn = Matrix.Rotation(z, 4, "Z") @ Matrix.Rotation(y, 4, "Y") @ Matrix.Rotation(x, 4, "X")
        place = Matrix.Translation(rest.get("translation", (0, 0, 0)))
        thing.matrix_basis = Z_UP @ place @ turn @ Z_UP.inverted()
        things.append(thing)
    add_on.select(things)
    settings = bpy.context.scene.mien
    settings.take, settings.character, settings.character_file = f"{SAMPLES}/landmarks.csv", "file", character
    equal(bpy.ops.mien.solve(), {"FINISHED"}, "solve")
    compared = Comparison("clusters", 1e-5)  # places of some 10 units, in single precision
    local = clusters["local"]
    for index in add_on.ten_of(len(animation["times"])):
        bpy.context.scene.frame_set(bpy.context.scene.frame_start + index)
        for cluster, thing in enumerate(things):
            x, y, z, w = local["rotation"][index][cluster]
            expected = (Z_UP @ Matrix.Translation(local["translation"][index][cluster])
                        @ Quaternion((w, x, y, z)).to_matrix().to_4x4()
                        @ Matrix.Diagonal(local["scale"][index][cluster] + [1]) @ Z_UP.inverted())
            compared.add(numpy.array(expected), numpy.array(thing.matrix_basis), f"frame {index}, {thing.name}")
    compared.end(10 * 16 * len(things))


def main():
    add_on.install(ZIP)
    animation = write_phone()
    check_bones(animation)
    check_objects(animation)
    with open(f"{OUT}/landmarks.json", encoding="utf-8") as file:
        check_moves(json.load(file))
    check_clusters()
    print("all done")


main()
