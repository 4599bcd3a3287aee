"""Key frames in bulk: how long they take beside Blender's one by one, and what becomes of earlier actions.

blender --background --factory-startup --python key_frames.py -- ADD_ON.zip MIEN SAMPLES OUT
"""

import os
import sys
import time

import bpy
import numpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
KEYS, FRAMES = 52, 3600
TIMES = 10  # that writing in bulk is at least faster, in processor time; it is some 40 times
ONE_BY_ONE = 100  # frames that are also keyed one by one, which takes long


class Capture:
    name, timecode = "take", None


def make_mesh():
    add_on.empty_scene()
    mesh = bpy.data.meshes.new("Mesh")
    mesh.from_pydata([(0, 0, 0)], [], [])
    thing = bpy.data.objects.new("Mesh", mesh)
    bpy.context.scene.collection.objects.link(thing)
    for name in ["Basis", *(f"key {n}" for n in range(KEYS))]:
        thing.shape_key_add(name=name)
    return mesh.shape_keys


def main():
    key_frames = add_on.install(ZIP) and sys.modules[f"{add_on.NAME}.key_frames"]
    frames, values = numpy.arange(1, FRAMES + 1), numpy.random.default_rng(1).random((FRAMES, KEYS))

    shape_keys, seconds = make_mesh(), []
    for _ in range(7):
        started = time.thread_time()
        keys = key_frames.KeyFrames(shape_keys, "bulk", Capture)
        for column in range(KEYS):
            keys.write(f'key_blocks["key {column}"].value', frames, values[:, column])
        seconds.append(time.thread_time() - started)
    bulk = min(seconds)
    curves = {curve.data_path: curve for curve in keys.action.fcurves}
    equal(len(curves), KEYS, "curves")
    for column in (0, KEYS - 1):
        curve = curves[f'key_blocks["key {column}"].value']
        points = numpy.empty(2 * FRAMES, numpy.float32)
        curve.keyframe_points.foreach_get("co", points)
        assert (points[0::2] == frames).all() and (points[1::2] == values[:, column].astype(numpy.float32)).all()
        equal({point.interpolation for point in curve.keyframe_points}, {"LINEAR"}, "interpolation")

    shape_keys = make_mesh()
    started = time.thread_time()
    for column, key in enumerate(shape_keys.key_blocks[1:]):
        for frame in range(ONE_BY_ONE):
            key.value = values[frame, column]
            key.keyframe_insert("value", frame=frame + 1)
    single = (time.thread_time() - started) / (KEYS * ONE_BY_ONE)
    print(f"{KEYS} x {FRAMES} keys: {bulk:.3f} s in bulk; one by one {single * 1e6:.1f} us a key, which is "
          f"{single * KEYS * FRAMES:.1f} s")
    assert bulk * TIMES < single * KEYS * FRAMES, f"bulk is not {TIMES} times faster"

    first = shape_keys.animation_data.action
    kept = key_frames.KeyFrames(shape_keys, "first", Capture)
    equal(kept.kept, first.name, "the user's action plays on")
    equal([strip.action for track in shape_keys.animation_data.nla_tracks for strip in track.strips], [first], "below")
    again = key_frames.KeyFrames(shape_keys, "second", Capture)
    equal(again.kept, None, "the add-on's own action is replaced")
    equal(len(shape_keys.animation_data.nla_tracks), 1, "tracks")
    equal(kept.action.use_fake_user, True, "the replaced action stays in the file")


main()
