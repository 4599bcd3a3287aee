"""Puts a capture onto meshes, bones and objects: everything between the solve and the scene."""

import dataclasses
import typing

import bpy
import numpy

from . import arkit_names, axes, eye_names, markers_in_scene, scene_time
from .binding import WeightFinder, drivers
from .key_frames import KeyFrames
from .movers import Bone, Object

_SLIDER_LIMIT = 10  # Blender's


class CannotDrive(Exception):
    """Nothing in the targets has the name of anything in the capture, or Blender does not let it be animated."""


@dataclasses.dataclass
class Targets:
    """What a capture is put onto. `head` and `eyes` are movers, None where there is none."""

    objects: typing.List[bpy.types.Object]
    head: typing.Optional[typing.Union[Bone, Object]] = None
    eyes: typing.Tuple = (None, None)
    head_moves: bool = False  # besides turning
    sets_scene: bool = True  # its rate, range and timecode
    shows_markers: bool = False


@dataclasses.dataclass
class Outcome:
    """What was driven, and what was not."""

    frames: int = 0
    driven_keys: int = 0
    meshes: int = 0
    bones: int = 0  # and objects
    weights_without_key: typing.List[str] = dataclasses.field(default_factory=list)
    keys_without_weight: typing.List[str] = dataclasses.field(default_factory=list)
    clusters_without_bone: typing.List[str] = dataclasses.field(default_factory=list)
    notes: typing.List[str] = dataclasses.field(default_factory=list)


def put(context, capture, targets):
    """Puts `capture` onto `targets`; returns the Outcome. Raises CannotDrive before anything is changed."""
    outcome = Outcome(frames=len(capture.times), notes=list(capture.notes))
    meshes = _bind_meshes(capture, targets.objects, outcome)
    turning = _turning(capture, targets, meshes, context.scene)
    moving = _bind_clusters(capture, targets.objects, outcome)
    shows_markers = targets.shows_markers and capture.markers is not None
    if not meshes and not turning and not moving and not shows_markers:
        raise CannotDrive(_nothing(capture, targets.objects))
    _check_animatable([*meshes, *(mover.block for mover, *_ in turning), *(mover.block for mover, _ in moving)])
    scene = context.scene
    start = scene_time.first_frame(capture.numbers)
    rate = scene_time.set_rate(scene, capture.rate) if targets.sets_scene else scene_time.scene_rate(scene)
    frames = scene_time.places(capture.times, rate, start)

    every = _Actions(capture)
    movers = [mover for mover, *_ in turning] + [mover for mover, _ in moving]
    for mover in movers:
        every.of(mover.block)  # the earlier action moves it no more
    for mover in movers:
        mover.rest()
    context.view_layer.update()
    for shape_keys, driven in meshes.items():
        _write_weights(shape_keys, driven, frames, capture, every.of(shape_keys), outcome)
    for mover, motions, shifts in turning:
        mover.turn(every.of(mover.block), frames, motions, shifts)
    for mover, cluster in moving:
        mover.move(every.of(mover.block), frames, cluster)
    outcome.meshes, outcome.bones = len(meshes), len(movers)
    outcome.notes += every.notes() + _held(targets.objects, meshes, turning, moving)
    if shows_markers:
        markers_in_scene.show(context, capture, frames, start, rate)
    if targets.sets_scene:
        _set_range(scene, capture, frames)
    scene.frame_set(int(frames[0]))
    return outcome


def _check_animatable(blocks):
    """Raises CannotDrive for a data-block that cannot have a new action, or would not keep it."""
    for block in blocks:
        name = _owner(block).name
        if block.library:
            raise CannotDrive(f"{name}: this is linked from {block.library.filepath}, so its animation would not be "
                              "saved; make it local (Object > Relations > Make Local), or deselect it")
        if block.animation_data and block.animation_data.use_tweak_mode:
            raise CannotDrive(f"{name}: its action is being edited in the non-linear animation editor; leave the tweak "
                              "mode (Tab in that editor)")


def _owner(block):
    """The data-block that a user knows by its name: the mesh of shape keys."""
    return block.user if isinstance(block, bpy.types.Key) and block.user else block


class _Actions:
    """The new action of each data-block."""

    def __init__(self, capture):
        self._capture, self._keys = capture, {}

    def of(self, block):
        if block not in self._keys:
            self._keys[block] = KeyFrames(block, f"{self._capture.name}: {_owner(block).name}", self._capture)
        return self._keys[block]

    def notes(self):
        return [f"the action {keys.kept} of {block.name} keeps playing, in the non-linear animation editor"
                for block, keys in self._keys.items() if keys.kept]


def _held(objects, meshes, turning, moving):
    """Notes on what Blender shows in the place of the key frames."""
    notes = []
    for shape_keys, driven in meshes.items():
        owner = _owner(shape_keys).name
        paths = {curve.data_path for curve in shape_keys.animation_data.drivers if not curve.mute}
        by_drivers = [name for name in driven if _value_path(name) in paths]
        muted = [name for name in driven if shape_keys.key_blocks[name].mute]
        if by_drivers:
            notes.append(f"{owner}: drivers replace the key frames of {', '.join(by_drivers)}; delete the drivers")
        if muted:
            notes.append(f"{owner}: muted shape keys do not move: {', '.join(muted)}; tick them in the list of shape "
                         "keys")
        if not shape_keys.use_relative:
            notes.append(f"{owner}: its shape keys are absolute, so their values have no effect; tick Relative")
    notes += [f"{thing.name}: shows only its active shape key; turn off the pin below the list of shape keys"
              for thing in objects if thing.type == "MESH" and thing.show_only_shape_key
              and thing.data.shape_keys in meshes]
    for mover, translated in [(mover, shifts is not None) for mover, _, shifts in turning] + [
            (mover, True) for mover, _ in moving]:
        held = mover.held_by(translated)
        if held:
            notes.append(f"{mover.label}: {' and '.join(held)} may hold it")
    return notes


def _bind_meshes(capture, objects, outcome):
    """{shape keys: {key's name: column}} of the meshes that are driven."""
    finder, meshes, all_keys, driven_keys, driving = WeightFinder(capture.weight_names), {}, {}, set(), set()
    for thing in objects:
        shape_keys = getattr(thing.data, "shape_keys", None) if thing.type == "MESH" else None
        if shape_keys is None or shape_keys in meshes:
            continue
        names = [key.name for key in shape_keys.key_blocks[1:]]
        all_keys.update(dict.fromkeys(names))
        driven = drivers(names, finder)
        if driven:
            meshes[shape_keys] = driven
            driven_keys.update(driven)
            driving.update(driven.values())
    outcome.driven_keys = len(driven_keys)
    outcome.keys_without_weight = [name for name in all_keys if name not in driven_keys]
    outcome.weights_without_key = [name for column, name in enumerate(capture.weight_names)
                                   if column not in driving]
    return meshes


def _follows_eyes(meshes):
    meanings = [arkit_names.meaning(name) for driven in meshes.values() for name in driven]
    return any(meant and meant[0].startswith("eyeLook") for meant in meanings)


def _turning(capture, targets, meshes, scene):
    """[(mover, rotations, shifts)] of the head and the eyes, in Blender's axes."""
    turning = []
    if targets.head and capture.head is not None:
        shifts = axes.points(capture.head[:, :3, 3], scene) if targets.head_moves else None
        turning.append((targets.head, axes.rotations(capture.head[:, :3, :3]), shifts))
    if capture.eyes is not None:
        eyes = targets.eyes
        if eyes == (None, None) and not _follows_eyes(meshes):
            eyes = usual_eyes(targets.objects)
        for eye, mover in enumerate(eyes):
            if mover:
                turning.append((mover, axes.rotations(axes.eye_rotations(capture.eyes[:, eye])), None))
    return turning


def usual_eyes(objects):
    """The bones, otherwise the objects, with usual names of eyes."""
    for armature in objects:
        found = armature.type == "ARMATURE" and eye_names.find_eyes([bone.name for bone in armature.pose.bones])
        if found:
            return tuple(Bone(armature, name) for name in found)
    found = eye_names.find_eyes([thing.name for thing in objects])
    by_name = {thing.name: thing for thing in objects}
    return tuple(Object(by_name[name]) for name in found) if found else (None, None)


def _bind_clusters(capture, objects, outcome):
    """[(mover, cluster)]: a cluster moves the bone of its name, otherwise the object."""
    moving = []
    armatures = [thing for thing in objects if thing.type == "ARMATURE"]
    by_name = {thing.name: thing for thing in objects}
    for cluster in capture.clusters:
        having = [armature for armature in armatures if cluster.name in armature.pose.bones]
        if having:
            moving += [(Bone(armature, cluster.name), cluster) for armature in having]
        elif cluster.name in by_name:
            moving.append((Object(by_name[cluster.name]), cluster))
        else:
            outcome.clusters_without_bone.append(cluster.name)
    return moving


def _nothing(capture, objects):
    keys = [key.name for thing in objects if thing.type == "MESH" and thing.data.shape_keys
            for key in thing.data.shape_keys.key_blocks[1:]]
    if not objects:
        return "select the meshes whose shape keys are to move"
    if not keys:
        return "the selected objects have no shape keys to drive, and no bones of the character's names"
    return (f"none of the {len(keys)} shape keys ({', '.join(keys[:3])}, ...) has the name of a weight "
            f"({', '.join(capture.weight_names[:3])}, ...): choose another character, or rename the keys")


def _write_weights(shape_keys, driven, frames, capture, keys, outcome):
    for name, column in driven.items():
        key, values = shape_keys.key_blocks[name], capture.weights[:, column]
        _widen(key, values, outcome)
        keys.write(_value_path(name), frames, values)


def _value_path(name):
    return f'key_blocks["{bpy.utils.escape_identifier(name)}"].value'


def _widen(key, values, outcome):
    """Widens the slider's range, to which Blender limits what it plays, to whole tenths around the values."""
    least, most = numpy.floor(values.min() * 10) / 10, numpy.ceil(values.max() * 10) / 10
    if least < key.slider_min:
        key.slider_min = max(least, -_SLIDER_LIMIT)
    if most > key.slider_max:
        key.slider_max = min(most, _SLIDER_LIMIT)
    if least < -_SLIDER_LIMIT or most > _SLIDER_LIMIT:
        outcome.notes.append(f"weights of {key.name} range from {least:g} to {most:g}; Blender limits them to "
                             f"-{_SLIDER_LIMIT} to {_SLIDER_LIMIT}")


_MARKER = "mien_timecode"  # the scene's property with the timecode of the first frame, whose marker has it as well


def _set_range(scene, capture, frames):
    scene.frame_start, scene.frame_end = int(frames[0]), int(numpy.ceil(frames[-1]))
    old = timecode_marker(scene)
    if old:
        scene.timeline_markers.remove(old)
    scene.pop(_MARKER, None)
    if capture.timecode:
        scene[_MARKER] = capture.timecode
        scene.timeline_markers.new(capture.timecode.partition("@")[0], frame=int(frames[0]))


def timecode_marker(scene):
    """The marker that has the timecode of the first frame, None without one."""
    timecode = scene.get(_MARKER)
    return scene.timeline_markers.get(timecode.partition("@")[0]) if timecode else None


def timecode_at(scene, frame):
    """The timecode of a frame of the scene, None without one. The scene has the capture's rate."""
    marker = timecode_marker(scene)
    if not marker:
        return None
    return scene_time.Timecode(scene[_MARKER]).after((frame - marker.frame) / scene_time.scene_rate(scene))
