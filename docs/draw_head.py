"""Draws docs/head.png: the built-in head at rest and in five expressions.

blender --background --factory-startup --python-exit-code 1 --python docs/draw_head.py -- samples/head.glb docs/head.png
"""

import sys
from math import radians

import bpy
import numpy
from mathutils import Vector

if not hasattr(numpy, "bool"):
    numpy.bool = bool  # the importer of Blender 3.4 needs it, and numpy 1.24 removed it


def both(shape, weight):
    return {f"{shape}Left": weight, f"{shape}Right": weight}


EXPRESSIONS = [  # weights; then how far the eyes turn to the head's left and down, in degrees
    ({}, 0, 0),
    ({**both("mouthSmile", 0.8), **both("cheekSquint", 0.6), **both("eyeSquint", 0.3), "jawOpen": 0.2}, 0, 0),
    ({"jawOpen": 0.6, "browInnerUp": 0.8, **both("browOuterUp", 0.8), **both("eyeWide", 0.7)}, 0, 0),
    ({"mouthPucker": 0.8, "eyeBlinkLeft": 1, "browOuterUpRight": 0.7, "mouthLeft": 0.2}, 0, 0),
    ({**both("browDown", 1), **both("noseSneer", 0.6), **both("mouthFrown", 0.7), **both("mouthPress", 0.5)}, 0, 0),
    ({"mouthSmileLeft": 0.8, "eyeLookOutLeft": 0.7, "eyeLookInRight": 0.7, "browInnerUp": 0.3}, 25, 0),
]
APART, TURN = 0.27, radians(-16)  # metres between heads; how far each turns


def add(head, place, expression):
    weights, left, down = expression
    before = set(bpy.data.objects)
    bpy.ops.import_scene.gltf(filepath=head)
    added = {item.name.split(".")[0]: item for item in set(bpy.data.objects) - before}
    added["mien"].location = (place, 0, 0)
    for name, turn in (("mien", (0, 0, TURN)), ("LeftEye", (radians(down), 0, radians(left))),
                       ("RightEye", (radians(down), 0, radians(left)))):
        added[name].rotation_mode = "XYZ"
        added[name].rotation_euler = turn
    for key, weight in weights.items():
        added["face"].data.shape_keys.key_blocks[key].value = weight


def light(scene, place, energy, size):
    data = bpy.data.lights.new("light", "AREA")
    data.energy, data.size = energy, size
    lamp = bpy.data.objects.new("light", data)
    lamp.location = place
    lamp.rotation_euler = (Vector((0, 0, 0.08)) - lamp.location).to_track_quat("-Z", "Y").to_euler()
    scene.collection.objects.link(lamp)


def main():
    head, picture = sys.argv[sys.argv.index("--") + 1:]
    bpy.ops.wm.read_factory_settings(use_empty=True)
    scene = bpy.context.scene
    for number, expression in enumerate(EXPRESSIONS):
        add(head, (number - (len(EXPRESSIONS) - 1) / 2) * APART, expression)
    light(scene, (-1.6, -2.4, 1.6), 90, 1)
    light(scene, (2.2, -1.6, 0.3), 22, 2)
    light(scene, (0, 2, 1.8), 60, 2)
    scene.world = bpy.data.worlds.new("world")
    scene.world.use_nodes = True
    scene.world.node_tree.nodes["Background"].inputs[0].default_value = (0.32, 0.33, 0.36, 1)
    camera = bpy.data.objects.new("camera", bpy.data.cameras.new("camera"))
    camera.data.type, camera.data.ortho_scale = "ORTHO", APART * len(EXPRESSIONS)
    camera.location, camera.rotation_euler = (0, -4, 0.085), (radians(90), 0, 0)
    scene.collection.objects.link(camera)
    scene.camera = camera
    render = scene.render
    render.engine, scene.cycles.samples, scene.cycles.use_denoising = "CYCLES", 256, False
    render.resolution_x, render.resolution_y, render.resolution_percentage = 1200, 235, 100
    scene.view_settings.view_transform = "Standard"
    render.image_settings.color_mode, render.image_settings.compression = "RGB", 100
    render.filepath = picture
    bpy.ops.render.render(write_still=True)


main()
