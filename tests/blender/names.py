"""Shape keys of many spellings are driven by the weights that the command drives them by.

blender --background --factory-startup --python names.py -- ADD_ON.zip MIEN SAMPLES OUT

MIEN is the command, which puts weights onto the same mesh as a .glb.
"""

import os
import subprocess
import sys

import bpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import Comparison, equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()

# Two meshes: spellings, words that only look like one, halves, correctives, and two spellings of one meaning.
KEYS = {
    "Face": ["jawOpen", "EyeBlink_L", "eyeBlink.R", "Head.Eye_Squint_Left", "A01_Jaw_Left", "mouthSmileL.001",
             "MOUTHSMILERIGHT", "browInnerUp_L", "browInnerUpRight", "cheekPuff", "cheekPuff_L",
             "browDownL_browOuterUpL", "browDownLeft", "Brow_Down_Left", "noseSneerl", "noseSneer R", "mouth_Left",
             "mouthright", "tongueOut.mesh", "xjawForward", "x.jawForward", "smile", "Mouth.Open", "mouthClose_",
             "7_mouthFunnel7", "eyeLookInL", "eyeLookOut-r", "étongue", "brow-outer-up-left"],
    "Lashes": ["EYEBLINKLEFT", "eyeBlinkLeft", "eyeblinkright_copy", "EyeWide_Right", "cheekPuffLeft",
               "cheekPuffRight", "Cheek-Puff", "jaw Open", "mouthPucker.L"],
}


def make_meshes():
    add_on.empty_scene()
    for name, keys in KEYS.items():
        mesh = bpy.data.meshes.new(name)
        mesh.from_pydata([(0, 0, 0), (1, 0, 0), (0, 1, 0)], [], [(0, 1, 2)])
        thing = bpy.data.objects.new(name, mesh)
        bpy.context.scene.collection.objects.link(thing)
        thing.shape_key_add(name="Basis")
        for key in keys:
            thing.shape_key_add(name=key).data[1].co.z = 1
        equal([key.name for key in mesh.shape_keys.key_blocks[1:]], keys, name)
        thing.select_set(True)


def values():
    bpy.context.scene.frame_set(bpy.context.scene.frame_start)
    return {(thing.name, key.name): key.value for thing in bpy.data.objects if thing.type == "MESH"
            for key in thing.data.shape_keys.key_blocks[1:]}


def write_weights(path):
    """Two frames in which every one of the 52 has a weight of its own."""
    names = sys.modules["mien_capture.arkit_names"].NAMES
    weights = ",".join(f"{0.01 * (place + 1):.2f}" for place in range(len(names)))
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"frame,time,{','.join(names)}\n0,0,{weights}\n1,0.04,{weights}\n")


def main():
    add_on.install(ZIP)
    glb, table = f"{OUT}/names.glb", f"{OUT}/names.csv"
    write_weights(table)
    make_meshes()
    bpy.ops.export_scene.gltf(filepath=glb, export_morph_normal=False)
    subprocess.run([MIEN, "retarget", table, "--onto", glb, "-o", f"{OUT}/names.animated.glb", "--quiet"], check=True)

    settings = bpy.context.scene.mien
    settings.take, settings.character = table, "none"
    equal(bpy.ops.mien.solve(), {"FINISHED"}, "retarget")
    by_add_on = values()
    report = settings.report
    add_on.empty_scene()
    add_on.add_head(f"{OUT}/names.animated.glb")
    by_command = values()
    equal(by_add_on.keys(), by_command.keys(), "shape keys")
    compared = Comparison("weights of shape keys", 1e-6)
    for key, value in by_command.items():
        compared.add(value, by_add_on[key], str(key))
    compared.end(len(KEYS["Face"]) + len(KEYS["Lashes"]))
    driven = sum(value > 0 for value in by_command.values())
    print(f"{driven} shape keys driven")
    assert 20 <= driven < len(by_command), "both kinds of names are needed"
    at_rest = next(line for line in report.splitlines() if line.startswith("Shape keys at rest"))
    for name in ("smile", "browDownL_browOuterUpL"):
        assert name in at_rest, f"{name} is not listed: {at_rest}"
    assert "Weights without a shape key" in report and "jawRight" in report, report


main()
