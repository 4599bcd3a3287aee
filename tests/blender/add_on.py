"""What the tests of the add-on share: the installed add-on, scenes, and comparisons that count."""

import sys

import bpy
import numpy

if not hasattr(numpy, "bool"):
    numpy.bool = bool  # the glTF importer of Blender 3.4 needs it, and numpy 1.24 removed it

NAME = "mien_capture"


def arguments():
    return sys.argv[sys.argv.index("--") + 1:]


def install(path):
    """Installs the zip as a user does, into the folder that BLENDER_USER_SCRIPTS names; returns the module."""
    bpy.ops.preferences.addon_install(filepath=path, overwrite=True)
    bpy.ops.preferences.addon_enable(module=NAME)
    return sys.modules[NAME]


def empty_scene():
    bpy.ops.wm.read_homefile(use_empty=True, use_factory_startup=True)


def add_head(path):
    """The objects of a .glb, of which those with shape keys and the armatures are selected."""
    before = set(bpy.data.objects)
    bpy.ops.import_scene.gltf(filepath=path)
    added = [thing for thing in bpy.data.objects if thing not in before]
    select([thing for thing in added
            if thing.type == "ARMATURE" or (thing.type == "MESH" and thing.data.shape_keys)])
    return added


def select(objects):
    bpy.context.view_layer.update()  # what was just added can be selected
    for thing in bpy.context.view_layer.objects:
        thing.select_set(thing in objects)


def put_at_rest(block):
    """Takes the add-on's action from an object, and what it left."""
    block.animation_data_clear()
    block.delta_location, block.delta_scale = (0, 0, 0), (1, 1, 1)
    block.delta_rotation_quaternion, block.delta_rotation_euler = (1, 0, 0, 0), (0, 0, 0)
    for bone in block.pose.bones if block.pose else ():
        bone.matrix_basis.identity()
    bpy.context.view_layer.update()


def ten_of(count):
    return sorted({step * (count - 1) // 9 for step in range(10)})


class Comparison:
    """Compares numbers, and remembers how many and how far they were apart."""

    def __init__(self, what, tolerance):
        self.what, self.tolerance, self.differences = what, tolerance, []

    def add(self, expected, got, where):
        expected, got = numpy.ravel(expected), numpy.ravel(got)
        assert expected.shape == got.shape, f"{where}: {got.shape}, where {expected.shape} is expected"
        difference = numpy.abs(expected - got)
        self.differences.extend(difference)
        if not difference.max() <= self.tolerance:
            print(f"{self.what}, {where}: {got}, where {expected} is expected")

    def end(self, least):
        count, largest = len(self.differences), max(self.differences, default=numpy.inf)
        print(f"{self.what}: {count} values compared, the largest difference is {largest:.2g}")
        assert count >= least, f"{self.what}: {count} of {least} values were compared"
        assert largest <= self.tolerance, f"{self.what}: more than {self.tolerance}"


def equal(got, expected, what):
    assert got == expected, f"{what}: {got!r}, where {expected!r} is expected"
