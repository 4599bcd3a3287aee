"""Checks that Blender shows an animated .glb as the .json of the same solve describes it.

blender --background --factory-startup --python-exit-code 1 --python blender_check.py -- ANIMATED.glb SOLVED.json
    [--head NODE] [--rest HEAD.glb] [--least COUNT]

Compares ten frames spread over the take. Each shape key with the name of a shape or a template ("Lashes.jawOpen" has that
of jawOpen), each object with the name of a cluster, and the rotation of NODE from its rest in HEAD.glb (without: from
the identity) must equal the .json to 1e-4. Fails if fewer than COUNT values were compared, or none.
"""

import argparse
import json
import sys

import bpy
import numpy
from mathutils import Matrix, Quaternion, Vector

if not hasattr(numpy, "bool"):
    numpy.bool = bool  # the importer of Blender 3.4 needs it, and numpy 1.24 removed it

TOLERANCE = 1e-4  # Blender stores keys as floats, and interpolates if a key's time is not exactly a frame's
FRAMES = 10

# Blender converts the y-up scene of the format to its z-up scene.
Z_UP = Matrix(((1, 0, 0, 0), (0, 0, -1, 0), (0, 1, 0, 0), (0, 0, 0, 1)))


def in_blender(matrix):
    return Z_UP @ matrix @ Z_UP.inverted()


def rotation(xyzw):
    x, y, z, w = xyzw
    return Quaternion((w, x, y, z)).to_matrix().to_4x4()


def transform(clusters, frame, cluster):
    local = clusters["local"]
    return (Matrix.Translation(Vector(local["translation"][frame][cluster]))
            @ rotation(local["rotation"][frame][cluster])
            @ Matrix.Diagonal(local["scale"][frame][cluster] + [1]))


def load(path):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.context.scene.render.fps = 30
    bpy.ops.import_scene.gltf(filepath=path)
    for shape_keys in bpy.data.shape_keys:
        for key in shape_keys.key_blocks:  # the importer sets the range for the first frame only
            key.slider_min, key.slider_max = -10, 10
    bpy.context.view_layer.update()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("animated")
    parser.add_argument("solved")
    parser.add_argument("--head")
    parser.add_argument("--rest")
    parser.add_argument("--least", type=int, default=1)
    options = parser.parse_args(sys.argv[sys.argv.index("--") + 1:])

    with open(options.solved, encoding="utf-8") as file:
        solved = json.load(file)
    rest = Matrix.Identity(4)
    if options.rest:
        load(options.rest)
        rest = bpy.data.objects[options.head].matrix_world.copy()
    load(options.animated)

    curves = {}
    for kind in ("templates", "shapes"):
        weights = solved.get(kind, {"names": [], "weights": []})
        for column, name in enumerate(weights["names"]):
            curves[name] = [frame[column] for frame in weights["weights"]]
    clusters = solved.get("clusters", {"names": []})

    differences = {"weights": [], "turns": [], "clusters": []}
    moving = set()

    def compare(kind, expected, got, what):
        difference = abs(expected - got)
        differences[kind].append(difference)
        if difference > TOLERANCE:
            print(f"{what}: {got}, where {expected} was solved")

    times, scene = solved["times"], bpy.context.scene
    for step in range(FRAMES):
        frame = step * (len(times) - 1) // (FRAMES - 1)
        at = (times[frame] - times[0]) * scene.render.fps / scene.render.fps_base
        nearest = round(at)
        if abs(at - nearest) < 1e-6:
            at = nearest
        scene.frame_set(int(at), subframe=at - int(at))
        evaluated = bpy.context.evaluated_depsgraph_get()
        where = f"frame {solved['frames'][frame]}"

        for mesh in bpy.data.objects:
            if mesh.type != "MESH" or not mesh.data.shape_keys:
                continue
            keys = mesh.evaluated_get(evaluated).data.shape_keys or mesh.data.shape_keys
            for key in keys.key_blocks:
                name = key.name if key.name in curves else key.name.split(".")[-1]
                if name in curves:
                    compare("weights", curves[name][frame], key.value, f"{where}, {mesh.name}, {key.name}")
                    if curves[name][frame] > 0.5:
                        moving.add(name)
        if options.head:
            turn = bpy.data.objects[options.head].evaluated_get(evaluated).matrix_world @ rest.inverted()
            expected = in_blender(rotation(solved["head"]["rotation"][frame]))
            for row in range(3):
                for column in range(3):
                    compare("turns", expected[row][column], turn[row][column], f"{where}, {options.head}")
        for cluster, names in enumerate(clusters["names"]):
            node = bpy.data.objects.get(names["cluster"])
            if node is None:
                continue
            expected = in_blender(transform(clusters, frame, cluster))
            got = node.evaluated_get(evaluated).matrix_local
            for row in range(3):
                for column in range(4):
                    compare("clusters", expected[row][column], got[row][column], f"{where}, {node.name}")

    every = [difference for kind in differences.values() for difference in kind]
    print(f"{len(every)} values compared in {FRAMES} frames ({len(differences['weights'])} weights, of "
          f"{len(moving)} that exceed 0.5; {len(differences['turns'])} of the head; "
          f"{len(differences['clusters'])} of clusters): the largest difference is {max(every, default=0):.2g}")
    if not every or len(every) < options.least:
        sys.exit(f"too few values were compared: {len(every)} of {options.least}")
    if not max(every) <= TOLERANCE:
        sys.exit(f"more than {TOLERANCE}")


main()
