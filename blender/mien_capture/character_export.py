"""A character file from the poses of an armature and meshes, which markers of the timeline name.

At the frame of a marker, bones and shape keys show a pose. The marker's name says which:

- a template of the face, "Mouth.Open": the pose at weight 1;
- one of the 52 shapes, "jawOpen" in any spelling: that shape, driven as the built-in character arkit52 drives it;
- any other name: an expression.

Poses differ from the rest position of the bones, and from shape keys at 0. Shape keys become shapes of their own,
driven by what their names mean of the 52. A template that has a pose of its own drives what the pose shows instead.
"""

import dataclasses
import json
import typing

import bpy
import numpy
from bpy.props import StringProperty
from bpy_extras.io_utils import ExportHelper

from . import arkit_names, axes, solving
from .movers import in_y_up, rest_in_parent
from .onto_character import timecode_marker

_TEMPLATES = frozenset(f"{part}.{template}" for parts, templates in (
    (("Mouth",), ("Open", "Whistle", "CornersUpR", "CornersUpL", "CornersDownR", "CornersDownL", "Square")),
    (("LeftBrow", "RightBrow"), ("Up", "Down")),
    (("LeftEye", "RightEye"), ("Close", "Squint", "WideOpen")),
    (("LeftCheek", "RightCheek"), ("Up", "Out")),
    (("LeftNostril", "RightNostril"), ("Up",))) for part in parts for template in templates)
_SAME = 1e-6  # of the elements of a transform, and of weights: below, a pose is the rest
_NO_SIZE = 1e-18  # of the determinant of a bone: below, Blender cannot invert its matrix
_SHAPES_A_PART = 500


class NothingToExport(Exception):
    """The text says what is missing."""


@dataclasses.dataclass
class Pose:
    bones: typing.Dict[str, numpy.ndarray]  # by bone, 4 x 4 in its parent's axes; of a root, in y-up axes
    keys: typing.Dict[str, float]  # by shape key


def export(context, objects, name):
    """(the text of the character file, notes) of the armature and the meshes among `objects`."""
    armatures = [thing for thing in objects if thing.type == "ARMATURE"]
    meshes = [thing for thing in objects if thing.type == "MESH" and thing.data.shape_keys]
    if len(armatures) > 1:
        raise NothingToExport("select one armature: a character has one set of bones")
    if not armatures and not meshes:
        raise NothingToExport("select the armature, the meshes with shape keys, or both")
    armature = armatures[0] if armatures else None
    poses = _poses(context, armature, meshes)
    return _write(name, _rest(armature, meshes), poses)


def _named_frames(scene, armature):
    """{name: frame} of the markers of the timeline, and of the pose markers of the armature's action."""
    markers = [marker for marker in scene.timeline_markers if marker != timecode_marker(scene)]
    if armature and armature.animation_data and armature.animation_data.action:
        markers += list(armature.animation_data.action.pose_markers)
    frames = {}
    for marker in markers:
        if marker.name in frames and frames[marker.name] != marker.frame:
            raise NothingToExport(f"two markers have the name {marker.name}, at frames {frames[marker.name]} and "
                                  f"{marker.frame}: rename one")
        frames[marker.name] = marker.frame
    return frames


def _poses(context, armature, meshes):
    """{name: Pose} of the named frames, as Blender shows them: with constraints and drivers."""
    scene, poses = context.scene, {}
    before = scene.frame_current
    try:
        for name, frame in _named_frames(scene, armature).items():
            scene.frame_set(frame)
            _check_scales(name, frame, armature)
            poses[name] = _pose(context, armature, meshes)
    finally:
        scene.frame_set(before)
    return poses


def _check_scales(name, frame, armature):
    """Raises NothingToExport for a bone without size: neither its rotation nor its children's place in it exists."""
    for bone in armature.pose.bones if armature else ():
        if abs(bone.matrix.determinant()) < _NO_SIZE:
            raise NothingToExport(f"{name}, frame {frame}: the bone {bone.name} has the scale 0; make it small instead")


def _pose(context, armature, meshes):
    evaluated = context.evaluated_depsgraph_get()
    bones, keys = {}, {}
    if armature:
        for bone in armature.evaluated_get(evaluated).pose.bones:
            bones[bone.name] = (numpy.array(bone.parent.matrix.inverted() @ bone.matrix) if bone.parent
                                else in_y_up(bone.matrix))
    for mesh in meshes:
        shown = mesh.evaluated_get(evaluated).data.shape_keys or mesh.data.shape_keys
        for key in shown.key_blocks[1:]:
            if abs(key.value) > abs(keys.get(key.name, 0)):
                keys[key.name] = key.value
            keys.setdefault(key.name, 0.0)
    return Pose(bones, keys)


def _rest(armature, meshes):
    bones = {bone.name: rest_in_parent(bone) for bone in armature.data.bones} if armature else {}
    return Pose(bones, {key.name: 0.0 for mesh in meshes for key in mesh.data.shape_keys.key_blocks[1:]})


def _write(name, rest, poses):
    """The file: what the shape keys' names mean comes from the package, the poses are added."""
    moved = [bone for bone, matrix in rest.bones.items()
             if any(numpy.abs(pose.bones[bone] - matrix).max() > _SAME for pose in poses.values())]
    keys = list(rest.keys)
    if not poses and not keys:
        raise NothingToExport("there are no poses: add timeline markers (M) with their names")
    shapes = {pose: pose if pose not in keys or arkit_names.meaning(pose) else f"{pose} bones" for pose in poses}
    known = list(dict.fromkeys(shape for shape in [*keys, *shapes.values()] if arkit_names.meaning(shape)))
    content = solving.character_of_shapes(known, name) if known else {
        "format": "mien character 1", "name": name, "range": [0, 1], "parts": {}, "templates": {}}

    posed = {pose: shapes[pose] for pose in poses if any(_differs(poses[pose], rest, bone) for bone in moved)}
    plain = [shape for shape in dict.fromkeys(keys + known) if shape not in posed.values()]
    content["parts"] = {"keys" if first == 0 else f"keys {first}": {"shapes": plain[first:first + _SHAPES_A_PART]}
                        for first in range(0, len(plain), _SHAPES_A_PART)}
    if posed:
        if len(posed) > _SHAPES_A_PART:
            raise NothingToExport(f"there are {len(posed)} poses of bones; the limit is {_SHAPES_A_PART}")
        content["parts"]["bones"] = {
            "shapes": list(posed.values()),
            "clusters": {
                "rest": {bone: _transform(rest.bones[bone]) for bone in moved},
                "poses": {shape: {bone: _transform(poses[pose].bones[bone]) for bone in moved
                                  if _differs(poses[pose], rest, bone)}
                          for pose, shape in posed.items()}}}
    notes = []
    for pose in poses:
        weights = {key: value for key, value in poses[pose].keys.items() if abs(value) > _SAME}
        if pose in posed:
            weights[posed[pose]] = 1.0
        if not weights:
            notes.append(f"{pose} does not differ from rest")
            continue
        if arkit_names.meaning(pose):
            _expand(content["templates"], shapes[pose], weights)
        elif pose in _TEMPLATES:
            part, template = pose.split(".")
            content["templates"].setdefault(part, {})[template] = weights
        else:
            content.setdefault("expressions", {})[pose] = {"templates": {}, "shapes": weights}
    text = json.dumps(content, indent=1, ensure_ascii=False) + "\n"
    solving.check_character(text, name)
    return text, notes


def _expand(templates, shape, weights):
    """What drives `shape` drives all `weights` of its pose, but not other spellings, which it drives already."""
    meant = arkit_names.meaning(shape)
    others = {key: weight for key, weight in weights.items() if arkit_names.meaning(key) != meant}
    for part in templates.values():
        for driven in part.values():
            factor = driven.get(shape)
            if factor is not None:
                for key, weight in others.items():
                    driven[key] = driven.get(key, 0.0) + factor * weight


def _differs(pose, rest, bone):
    return numpy.abs(pose.bones[bone] - rest.bones[bone]).max() > _SAME


def _transform(matrix):
    """As a character file has it: translation, quaternion x, y, z, w, and scale."""
    scale = numpy.linalg.norm(matrix[:3, :3], axis=0)
    if numpy.linalg.det(matrix[:3, :3]) < 0:
        scale[0] *= -1
    w, x, y, z = axes.quaternions((matrix[:3, :3] / scale)[None])[0]
    return {"translation": matrix[:3, 3].tolist(), "rotation": [x, y, z, w], "scale": scale.tolist()}


class MIEN_OT_export_character(bpy.types.Operator, ExportHelper):
    """Write a character file for the selected armature and meshes, with the poses at timeline markers"""

    bl_idname = "export_anim.mien_character"
    bl_label = "Export mien character"

    filename_ext = ".json"
    filter_glob: StringProperty(default="*.json", options={"HIDDEN"})

    def execute(self, context):
        path = bpy.path.abspath(self.filepath)
        try:
            text, notes = export(context, context.selected_objects, bpy.path.display_name_from_filepath(path))
            solving.write_whole(path, text)
        except (NothingToExport, solving.Refused, solving.Error) as error:
            self.report({"ERROR"} if not bpy.app.background else {"WARNING"}, str(error))
            return {"CANCELLED"}
        for note in notes:
            self.report({"WARNING"}, note)
        self.report({"INFO"}, f"wrote {path}")
        return {"FINISHED"}


def menu(self, _context):
    self.layout.operator(MIEN_OT_export_character.bl_idname, text="mien character (.json)")
