"""Bones and objects that turn or move: their rest, and the curves that move them from it.

A bone is moved in its pose. An object is moved by its delta transform, so that its own place stays what it is.
"""

import bpy
import numpy
from mathutils import Quaternion

from . import axes


def _normalised(matrix):
    """The rotation of a 3 x 3 matrix without its scale."""
    matrix = numpy.array(matrix)
    return matrix / numpy.linalg.norm(matrix, axis=0)


class Bone:
    """A pose bone of an armature object."""

    def __init__(self, armature, name):
        self.block = armature
        self.label = f"{armature.name}: {name}"
        self._bone = armature.pose.bones[name]
        self._path = f'pose.bones["{bpy.utils.escape_identifier(name)}"].'

    def rest(self):
        """Puts it at rest."""
        self._bone.matrix_basis.identity()
        self._bone.location, self._bone.scale = (0, 0, 0), (1, 1, 1)
        self._bone.rotation_quaternion, self._bone.rotation_euler = (1, 0, 0, 0), (0, 0, 0)
        self._bone.rotation_axis_angle = (0, 0, 1, 0)

    def turn(self, keys, frames, motions, shifts=None):
        """Turns it about the scene's axes. `motions`: (frames x 3 x 3); `shifts`: (frames x 3) in the scene."""
        world = numpy.array(self.block.matrix_world.to_3x3() @ self._bone.bone.matrix_local.to_3x3())
        own = _normalised(world)
        self._write_rotation(keys, frames, axes.quaternions(own.T @ motions @ own))
        if shifts is not None:
            keys.write_vector(self._path + "location", frames, shifts @ numpy.linalg.inv(world).T)

    def move(self, keys, frames, cluster):
        """Moves it as a cluster moves from its rest."""
        rest, motion = cluster.rest, cluster.motion
        local = rest_in_parent(self._bone.bone)
        keys.write_vector(self._path + "location", frames,
                          (motion.translations - rest.translations) @ numpy.linalg.inv(local[:3, :3]).T)
        turns = rest.rotations[0].T @ motion.rotations
        self._write_rotation(keys, frames, axes.quaternions(turns))
        keys.write_vector(self._path + "scale", frames, motion.scales / rest.scales)

    def _write_rotation(self, keys, frames, quaternions):
        _write_turns(keys, self._path + "rotation_", self._bone.rotation_mode, frames, quaternions)

    def held_by(self, translated):
        """What may keep it where it is, for a report; empty if there is nothing."""
        held = _constraints(self._bone)
        if translated and self._bone.bone.use_connect:
            held.append("the connection to its parent (Connected, in edit mode)")
        return held


class Object:
    """An object of the scene."""

    def __init__(self, thing):
        self.block = thing
        self.label = thing.name

    def rest(self):
        """Puts it at rest. It turns by Euler angles or by quaternions: there is no delta of an axis and an angle."""
        if self.block.rotation_mode == "AXIS_ANGLE":
            self.block.rotation_mode = "QUATERNION"
        self.block.delta_location, self.block.delta_scale = (0, 0, 0), (1, 1, 1)
        self.block.delta_rotation_quaternion, self.block.delta_rotation_euler = (1, 0, 0, 0), (0, 0, 0)

    def turn(self, keys, frames, motions, shifts=None):
        parents = numpy.array((self.block.matrix_world @ self.block.matrix_basis.inverted()).to_3x3())
        across = _normalised(parents)
        self._write_rotation(keys, frames, axes.quaternions(across.T @ motions @ across))
        if shifts is not None:
            keys.write_vector("delta_location", frames, shifts @ numpy.linalg.inv(parents).T)

    def move(self, keys, frames, cluster):
        rest, motion = cluster.rest, cluster.motion
        own = numpy.array(self.block.matrix_basis.to_quaternion().to_matrix())
        turns = axes.rotations(rest.rotations[0].T @ motion.rotations)
        keys.write_vector("delta_location", frames, (motion.translations - rest.translations) @ axes.TO_BLENDER.T)
        self._write_rotation(keys, frames, axes.quaternions(own @ turns @ own.T))
        keys.write_vector("delta_scale", frames, (motion.scales / rest.scales)[:, [0, 2, 1]])

    def _write_rotation(self, keys, frames, quaternions):
        _write_turns(keys, "delta_rotation_", self.block.rotation_mode, frames, quaternions)

    def held_by(self, _translated):
        return _constraints(self.block)


def _constraints(owner):
    return [f"the constraint {constraint.name}" for constraint in owner.constraints
            if not constraint.mute and constraint.influence > 0]


def _write_turns(keys, path, mode, frames, quaternions):
    """The curves of a rotation in a rotation mode. `path` ends before "quaternion", "euler" or "axis_angle"."""
    if mode == "QUATERNION":
        keys.write_vector(path + "quaternion", frames, quaternions)
        return
    if mode == "AXIS_ANGLE":
        keys.write_vector(path + "axis_angle", frames, axes.axis_angles(quaternions))
        return
    rows, last = [], None
    for quaternion in map(Quaternion, quaternions):
        last = quaternion.to_euler(mode, last) if last else quaternion.to_euler(mode)
        rows.append(tuple(last))
    keys.write_vector(path + "euler", frames, numpy.array(rows))


def rest_in_parent(bone):
    """The 4 x 4 rest of a bone in its parent's axes; of a bone without parent, in the armature's with y up.

    These are the transforms that a .glb of the armature has.
    """
    if bone.parent:
        return numpy.array(bone.parent.matrix_local.inverted() @ bone.matrix_local)
    return in_y_up(bone.matrix_local)


def in_y_up(matrix):
    """A 4 x 4 transform of an armature's z-up axes, in y-up axes."""
    turned = numpy.array(matrix)
    turned[:3] = axes.TO_BLENDER.T @ turned[:3]
    return turned
