"""Actions and their key frames, written in bulk."""

import bpy
import numpy

MADE_HERE = "mien"  # the custom property of actions that this add-on made

_INTERPOLATION = bpy.types.Keyframe.bl_rna.properties["interpolation"].enum_items
LINEAR, CONSTANT = _INTERPOLATION["LINEAR"].value, _INTERPOLATION["CONSTANT"].value


class KeyFrames:
    """The key frames of one data-block in a new action of its own.

    An earlier action of this add-on is replaced, and stays in the file. One of another origin, such as the
    body's motion, moves to a track of the non-linear animation editor and keeps playing below the new one.
    """

    def __init__(self, block, name, capture):
        data = block.animation_data or block.animation_data_create()
        self.kept = None  # the name of an action that now plays below
        previous = data.action
        if previous is not None:
            previous.use_fake_user = True
            if MADE_HERE not in previous:
                self._play_below(data, previous)
                self.kept = previous.name
        self.action = bpy.data.actions.new(name)
        self.action[MADE_HERE] = capture.name
        if capture.timecode:
            self.action["timecode"] = capture.timecode
        data.action = self.action
        self._curves = self._curves_of(block, data)

    @staticmethod
    def _play_below(data, previous):
        track = data.nla_tracks.new()
        track.name = previous.name
        strip = track.strips.new(previous.name, int(previous.frame_range[0]), previous)
        if hasattr(data, "action_slot"):
            strip.action_slot = data.action_slot

    def _curves_of(self, block, data):
        if not hasattr(self.action, "slots"):  # before Blender 4.4
            return self.action.fcurves
        slot = self.action.slots.new(id_type=block.id_type, name=block.name)
        data.action_slot = slot
        strip = self.action.layers.new("Layer").strips.new(type="KEYFRAME")
        return strip.channelbag(slot, ensure=True).fcurves

    def write(self, path, frames, values, index=0, interpolation=LINEAR):
        """Writes one curve. `path`: of the property; `frames`, `values`: (size: keys)."""
        curve = self._curves.new(path, index=index)
        points = curve.keyframe_points
        points.add(len(frames))
        places = numpy.empty(2 * len(frames), numpy.float32)
        places[0::2], places[1::2] = frames, values
        points.foreach_set("co", places)
        points.foreach_set("interpolation", numpy.full(len(frames), interpolation, numpy.int32))
        curve.update()

    def write_vector(self, path, frames, values, first=0):
        """Writes a curve for each column of `values` (frames x n)."""
        for column in range(values.shape[1]):
            self.write(path, frames, values[:, column], first + column)
