"""A rigger poses bones and shape keys and names the frames; the exported character repeats the poses.

blender --background --factory-startup --python character.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import json
import math
import os
import subprocess
import sys

import bpy
import numpy
from mathutils import Euler, Matrix, Quaternion

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()

# Frame: name, {bone: (location, Euler angles in degrees, scale)}, {shape key: value}
POSES = {
    10: ("Mouth.Open", {"jaw": ((0, 0.01, 0), (25, 0, 0), (1, 1, 1)), "lip": ((0.002, 0, 0.001), (0, 5, 0), (1, 1, 1))},
         {"jaw fix": 0.7}),
    20: ("LeftEye.Close", {"lid.L": ((0, 0, 0), (-40, 3, 8), (1, 1.2, 1)),
                           "root": ((0, 0.02, 0.01), (0, 10, 5), (1, 1, 1))}, {}),
    30: ("mouthPucker", {"lip": ((0, 0.004, 0), (0, 0, 0), (0.7, 1, 0.9))}, {"puckerFix": 0.5}),
    40: ("Content", {"lip": ((0, 0, 0.01), (0, 0, 0), (1, 1, 1))}, {"eyeBlinkRight": 0.25}),
    50: ("Nothing", {}, {}),
}
# What reaches each pose at full strength: the weights of the face's templates.
WEIGHTS = {10: {"Mouth.Open": 1}, 20: {"LeftEye.Close": 1}, 30: {"Mouth.Whistle": 1.25}}


def make_rig():
    """An armature that is turned and scaled in the scene, with a posed parent, and a mesh with shape keys."""
    add_on.empty_scene()
    armature = bpy.data.objects.new("Rig", bpy.data.armatures.new("Rig"))
    bpy.context.scene.collection.objects.link(armature)
    armature.rotation_euler, armature.scale = (0, 0, 0.7), (2, 2, 2)
    bpy.context.view_layer.objects.active = armature
    bpy.ops.object.mode_set(mode="EDIT")
    edit = armature.data.edit_bones
    for name, parent, head, tail in (("neck", None, (0, 0, 1), (0, 0.01, 1.1)),
                                     ("jaw", "neck", (0, 0, 1.1), (0, -0.1, 1.05)),
                                     ("lip", "jaw", (0, -0.1, 1.05), (0.01, -0.12, 1.06)),
                                     ("lid.L", "neck", (0.03, -0.08, 1.15), (0.03, -0.1, 1.14)),
                                     ("root", None, (0.1, 0, 1.2), (0.1, -0.1, 1.3)),
                                     ("still", None, (1, 0, 0), (1, 0, 1))):
        bone = edit.new(name)
        bone.head, bone.tail, bone.parent = head, tail, edit[parent] if parent else None
    bpy.ops.object.mode_set(mode="OBJECT")
    armature.pose.bones["jaw"].rotation_mode = "XYZ"
    armature.pose.bones["lip"].rotation_mode = "AXIS_ANGLE"

    mesh = bpy.data.meshes.new("Skin")
    mesh.from_pydata([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [], [(0, 1, 2)])
    skin = bpy.data.objects.new("Skin", mesh)
    skin.parent = armature
    skin.modifiers.new("Armature", "ARMATURE").object = armature
    for bone in armature.data.bones:
        skin.vertex_groups.new(name=bone.name).add([0, 1, 2], 1, "REPLACE")
    bpy.context.scene.collection.objects.link(skin)
    for key in ("Basis", "eyeBlinkRight", "jaw fix", "puckerFix"):
        skin.shape_key_add(name=key)
    return armature, skin


def set_pose(armature, skin, frame):
    _, bones, keys = POSES.get(frame, ("", {}, {}))
    for bone in armature.pose.bones:
        location, angles, scale = bones.get(bone.name, ((0, 0, 0), (0, 0, 0), (1, 1, 1)))
        turn = Euler([math.radians(angle) for angle in angles]).to_quaternion()
        bone.location, bone.scale = location, scale
        bone.rotation_quaternion, bone.rotation_euler = turn, turn.to_euler()
        axis, angle = turn.to_axis_angle()
        bone.rotation_axis_angle = (angle, *axis)
        for path in ("location", "scale", "rotation_quaternion", "rotation_euler", "rotation_axis_angle"):
            bone.keyframe_insert(path, frame=frame)
    for key in skin.data.shape_keys.key_blocks[1:]:
        key.value = keys.get(key.name, 0)
        key.keyframe_insert("value", frame=frame)


def shown(armature, skin):
    """The pose that Blender shows: (each bone's matrix in the armature, each key's value)."""
    evaluated = bpy.context.evaluated_depsgraph_get()
    return ({bone.name: numpy.array(bone.matrix) for bone in armature.evaluated_get(evaluated).pose.bones},
            {key.name: key.value for key in skin.data.shape_keys.key_blocks[1:]})


def motions(armature):
    """Each bone's motion from its rest, in the scene: whatever its axes are."""
    world = armature.matrix_world
    shown = armature.evaluated_get(bpy.context.evaluated_depsgraph_get())
    return {bone.name: numpy.array(world @ bone.matrix @ bone.bone.matrix_local.inverted() @ world.inverted())
            for bone in shown.pose.bones}


def check_glb(path, table, expected):
    """The command moves the nodes of the rig's .glb as the poses do."""
    bpy.context.scene.frame_set(1)  # at rest
    glb, animated = f"{OUT}/rig.glb", f"{OUT}/rig.animated.glb"
    bpy.ops.export_scene.gltf(filepath=glb, use_selection=True, export_animations=False)
    subprocess.run([MIEN, "retarget", table, "-c", path, "--onto", glb, "-o", animated, "-q"], check=True)
    add_on.empty_scene()
    bpy.context.scene.render.fps = 25
    armature = next(thing for thing in add_on.add_head(animated) if thing.type == "ARMATURE")
    compared = Comparison("bones of the .glb", 1e-5)  # which has single precision, through several products
    for row, frame in enumerate(WEIGHTS):
        bpy.context.scene.frame_set(row + 1)
        shown = motions(armature)
        for name, matrix in expected[frame].items():
            compared.add(matrix, shown[name], f"{POSES[frame][0]}, {name}")
    compared.end(3 * 6 * 16)


def in_parent(bone):
    """A bone's transform in its parent, as the command has it; a root's axes have y up."""
    if bone.parent:
        return numpy.array(bone.parent.matrix.inverted() @ bone.matrix)
    y_up = numpy.array(bone.matrix)
    y_up[:3] = numpy.array([[1.0, 0, 0], [0, 0, 1], [0, -1, 0]]) @ y_up[:3]
    return y_up


def check_command(arguments, what, armature, skin):
    """Bones and shape keys are those of the command, in ten frames or all of them."""
    subprocess.run([MIEN, *arguments, "-o", f"{OUT}/rig.json", "-q"], check=True)
    with open(f"{OUT}/rig.json", encoding="utf-8") as file:
        animation = json.load(file)
    clusters, local = animation["clusters"]["names"], animation["clusters"]["local"]
    bones, keys = Comparison(f"bones {what}", 2e-6), Comparison(f"shape keys {what}", 1e-6)
    indices = add_on.ten_of(len(animation["times"]))
    for index in indices:
        bpy.context.scene.frame_set(bpy.context.scene.frame_start + index)
        shown = armature.evaluated_get(bpy.context.evaluated_depsgraph_get()).pose.bones
        for column, cluster in enumerate(clusters):
            x, y, z, w = local["rotation"][index][column]
            expected = (Matrix.Translation(local["translation"][index][column])
                        @ Quaternion((w, x, y, z)).to_matrix().to_4x4()
                        @ Matrix.Diagonal([*local["scale"][index][column], 1]))
            name = cluster["cluster"]
            bones.add(numpy.array(expected), in_parent(shown[name]), f"frame {index}, {name}")
        values = {key.name: key.value for key in skin.data.shape_keys.key_blocks}
        for name, weight in zip(animation["shapes"]["names"], animation["shapes"]["weights"][index]):
            if name in values:
                keys.add(weight, values[name], f"frame {index}, {name}")
    bones.end(len(indices) * 4 * 16)
    keys.end(len(indices) * 3)


def check_expression(path, table, armature, skin):
    """A pose under any other name is an expression: with its weight, bones and keys are those of the command."""
    settings = bpy.context.scene.mien
    for given, weights in (("Content=1", [1]), ("Content=0.5", [0.5]), ("Content=0.25, Content=0.5", [0.25, 0.5])):
        settings.expression = given
        equal(bpy.ops.mien.solve(), {"FINISHED"}, settings.report)
        options = [part for weight in weights for part in ("--expression", f"Content={weight}")]
        check_command(["retarget", table, "-c", path, *options], f"with {given}", armature, skin)
        bpy.context.scene.frame_set(1)  # where nothing else moves: the rigger's pose, times the weight
        value = skin.data.shape_keys.key_blocks["eyeBlinkRight"].value
        assert abs(value - 0.25 * sum(weights)) < 1e-6, value
        assert numpy.allclose(armature.pose.bones["lip"].location, (0, 0, 0.01 * sum(weights)), atol=1e-6), given
    settings.expression = "Contnet=1"
    equal(bpy.ops.mien.solve(), {"CANCELLED"}, "an unknown expression")
    assert f"{path}:/expressions" in settings.report and "name one of: Content" in settings.report, settings.report
    settings.expression = ""


def check_take(path, armature, skin):
    """A take on the exported character."""
    settings = bpy.context.scene.mien
    settings.take = f"{SAMPLES}/landmarks.csv"
    equal(bpy.ops.mien.solve(), {"FINISHED"}, settings.report)
    check_command(["solve", settings.take, "-p", "landmarks68", "-c", path], "of a take", armature, skin)


def check_no_size():
    """A bone that a pose hides by the scale 0 is refused, by name, and the scene stays at its frame."""
    armature, _ = make_rig()
    add_on.select([armature])
    scene, bone = bpy.context.scene, armature.pose.bones["jaw"]
    for frame, scale in ((1, 1), (10, 0)):
        bone.scale = (scale,) * 3
        bone.keyframe_insert("scale", frame=frame)
    scene.timeline_markers.new("Mouth.Open", frame=10)
    scene.frame_set(3)
    try:
        bpy.ops.export_anim.mien_character(filepath=f"{OUT}/no_size.json")
    except RuntimeError as error:  # how Blender shows what an operator reports, or raises
        raise AssertionError(str(error)) from None
    equal((scene.frame_current, os.path.exists(f"{OUT}/no_size.json")), (3, False), "after a refusal")
    exporter = sys.modules[f"{add_on.NAME}.character_export"]
    try:
        exporter.export(bpy.context, [armature], "rig")
    except exporter.NothingToExport as refusal:
        equal(str(refusal), "Mouth.Open, frame 10: the bone jaw has the scale 0; make it small instead", "message")
    else:
        raise AssertionError("a bone without size was exported")


def main():
    add_on.install(ZIP)
    check_no_size()
    armature, skin = make_rig()
    add_on.select([armature, skin])
    path, scene = f"{OUT}/rig.character.json", bpy.context.scene
    equal(bpy.ops.export_anim.mien_character(filepath=path), {"FINISHED"}, "export without poses")
    for frame in [1, *POSES]:
        set_pose(armature, skin, frame)
        if frame in POSES:
            scene.timeline_markers.new(POSES[frame][0], frame=frame)
    posed, moved = {}, {}
    for frame in POSES:
        scene.frame_set(frame)
        posed[frame], moved[frame] = shown(armature, skin), motions(armature)

    scene.frame_set(33)
    equal(bpy.ops.export_anim.mien_character(filepath=path), {"FINISHED"}, "export")
    equal(scene.frame_current, 33, "the current frame")
    with open(path, encoding="utf-8") as file:
        character = json.load(file)
    equal(sorted(character["parts"]["bones"]["clusters"]["rest"]), ["jaw", "lid.L", "lip", "root"], "bones that poses move")
    equal(character["templates"]["RightEye"], {"Close": {"eyeBlinkRight": 1}}, "a shape key of the 52 names")
    equal(list(character["expressions"]), ["Content"], "expressions")

    # The weights that reach the poses, and one of the other action's frames between them.
    names = sorted({name for weights in WEIGHTS.values() for name in weights})
    table = f"{OUT}/rig.csv"
    with open(table, "w", encoding="utf-8") as file:
        file.write(f"frame,time,{','.join(names)}\n")
        for row, weights in enumerate([{}, *WEIGHTS.values()]):
            cells = ",".join(str(weights.get(name, 0)) for name in names)
            file.write(f"{row + 1},{row / 25},{cells}\n")
    settings = scene.mien
    settings.take, settings.character, settings.character_file = table, "file", path
    for again in range(2):  # the second time over the first one's action
        equal(bpy.ops.mien.solve(), {"FINISHED"}, "retarget")
        compared = Comparison("bones", 2e-6)  # of matrices in metres, through Blender's single precision
        keys = Comparison("shape keys", 1e-6)
        for row, frame in enumerate(WEIGHTS):
            scene.frame_set(row + 2)
            bones, values = shown(armature, skin)
            for name, matrix in bones.items():
                compared.add(posed[frame][0][name], matrix, f"{POSES[frame][0]}, {name}")
            for name, value in values.items():
                keys.add(posed[frame][1][name], value, f"{POSES[frame][0]}, {name}")
        compared.end(3 * 6 * 16)
        keys.end(9)
    kept = [track.name for track in armature.animation_data.nla_tracks]
    equal(kept, ["RigAction"], "the rigger's own action plays on below")
    check_expression(path, table, armature, skin)
    check_take(path, armature, skin)
    check_glb(path, table, moved)


main()
