"""The user's settings: a group of properties of the scene."""

import bpy
from bpy.props import (BoolProperty, EnumProperty, FloatProperty, IntVectorProperty,
                       PointerProperty, StringProperty)

from . import solving
from .movers import Bone, Object
from .onto_character import Targets


def _is_meshless(_settings, thing):
    return thing.type in {"ARMATURE", "EMPTY", "MESH"}


class MIEN_PG_settings(bpy.types.PropertyGroup):
    """The panel's choices."""

    take: StringProperty(name="Take", subtype="FILE_PATH",
                         description="The recording: .c3d, .trc, .csv or .json. Its content determines the format")
    performer: EnumProperty(name="Performer", default="auto", items=(
        ("auto", "By the take", "68 or 478 landmarks have a built-in performer"),
        ("landmarks68", "68 landmarks", "Landmarks from a video tracker"),
        ("landmarks478", "478 landmarks", "The face mesh of a web camera"),
        ("file", "Performer file", "Defines where the markers are on the face; a calibrated one also has ranges")))
    performer_file: StringProperty(name="Performer file", subtype="FILE_PATH")
    character: EnumProperty(name="Character", default="arkit52", items=(
        ("arkit52", "52 shapes", "The shapes of phone face capture: jawOpen, eyeBlinkLeft, ..."),
        ("vrm1", "VRM presets", "aa, blinkLeft, happy, ..."),
        ("none", "Names of the file", "The face's templates (Mouth.Open, ...); recorded weights keep their names"),
        ("file", "Character file", "Shapes and bones of your own character")))
    character_file: StringProperty(name="Character file", subtype="FILE_PATH")
    solver: EnumProperty(name="Solver", default="parts", items=(
        ("parts", "Nine parts", "Measures each part of the face separately"),
        ("fit", "Fit", "Fits all 52 shapes to all markers at once")))

    neutral: StringProperty(name="Neutral", description="Frames in which the face is at rest, such as 12 or 1-10. "
                            "Empty: uses the performer's neutral face, or finds one in the take")
    smooth: FloatProperty(name="Markers", min=0, soft_max=30, unit="NONE",
                          description="Removes motion of the markers above this frequency in hertz. 0: off")
    smooth_weights: FloatProperty(name="Weights", min=0, soft_max=30,
                                  description="Removes motion of the weights above this frequency in hertz. 0: off")
    smooth_gaze: FloatProperty(name="Eyes", min=0, soft_max=30,
                               description="Removes motion of the eyes above this frequency in hertz. 0: off")
    ranges: BoolProperty(name="Ranges", default=True, description="Applies the ranges of a calibrated performer")
    level_lids: BoolProperty(name="Level lids", description="Removes from Eye.Close what lowered eyes cause; "
                             "for calibrated performers")
    image: IntVectorProperty(name="Image", size=2, min=0, description="For 478 landmarks: the size of the video in "
                             "pixels. 0: 16:9")
    mirrored: BoolProperty(name="Mirrored", description="The video was mirrored: exchanges left and right")
    input_rate: StringProperty(name="Rate", description="For files without times: hertz, such as 25 or 29.97")
    weights: BoolProperty(name="Recorded weights", description="Uses the weights of a file with landmarks and weights")
    swap_sides: BoolProperty(name="Swap sides", description="Exchanges left and right in recorded weights")
    ranges_file: StringProperty(name="Ranges", subtype="FILE_PATH",
                                description="For recorded weights: this person's ranges, from mien calibrate")

    head: PointerProperty(type=bpy.types.Object, name="Head", poll=_is_meshless,
                          description="The object, or the bone of an armature, that turns with the performer's head")
    head_bone: StringProperty(name="Bone")
    head_moves: BoolProperty(name="Move", description="The head also moves instead of only turning")
    left_eye: PointerProperty(type=bpy.types.Object, name="Left eye", poll=_is_meshless)
    left_eye_bone: StringProperty(name="Bone")
    right_eye: PointerProperty(type=bpy.types.Object, name="Right eye", poll=_is_meshless)
    right_eye_bone: StringProperty(name="Bone")
    markers: BoolProperty(name="Markers as empties", description="Adds an empty for each marker of the take")
    sets_scene: BoolProperty(name="Set rate and range", default=True,
                             description="Sets the scene's rate, range and timecode from the take")

    report: StringProperty(options={"HIDDEN"})  # lines of the last run, for the panel
    report_is_error: BoolProperty(options={"HIDDEN"})

    def request(self):
        """What to solve. Raises Refused if settings are missing."""
        path = bpy.path.abspath(self.take)
        if not path:
            raise solving.Refused("choose a take")
        read, solve, retarget = {}, {}, {}
        if self.input_rate:
            read["input_rate"] = retarget["input_rate"] = self.input_rate
        if all(self.image):
            read["image"] = "{}x{}".format(*self.image)
        if self.mirrored:
            read["mirrored"] = True
        if self.neutral:
            solve["neutral"] = self.neutral
        if self.solver != "parts":
            solve["solver"] = self.solver
        if self.smooth:
            solve["smooth"] = self.smooth
        for options in (solve, retarget):
            for name in ("smooth_weights", "smooth_gaze"):
                if getattr(self, name):
                    options[name] = getattr(self, name)
        if not self.ranges:
            solve["no_ranges"] = True
        if self.level_lids:
            solve["level_lids"] = True
        if self.swap_sides:
            retarget["swap_sides"] = True
        if self.ranges_file:
            retarget["ranges"] = bpy.path.abspath(self.ranges_file)
        return solving.Request(path, self._performer(), self._character(), self.weights, read=read, solve=solve,
                               retarget=retarget, markers=self.markers)

    def _performer(self):
        return self._file(self.performer_file, "performer") if self.performer == "file" else self.performer

    def _character(self):
        if self.character == "file":
            return self._file(self.character_file, "character")
        return "" if self.character == "none" else self.character

    @staticmethod
    def _file(path, what):
        if not path:
            raise solving.Refused(f"choose the {what} file")
        return bpy.path.abspath(path)

    def targets(self, objects):
        """These objects, and the head and the eyes that are chosen. Raises Refused for an unknown bone."""
        return Targets(objects=objects, head=_mover(self.head, self.head_bone, "head"),
                       eyes=(_mover(self.left_eye, self.left_eye_bone, "left eye"),
                             _mover(self.right_eye, self.right_eye_bone, "right eye")),
                       head_moves=self.head_moves, sets_scene=self.sets_scene, shows_markers=self.markers)


def _mover(thing, bone, what):
    if thing is None:
        return None
    if thing.type != "ARMATURE" or (not bone and what == "head"):
        return Object(thing)
    if bone not in thing.pose.bones:
        raise solving.Refused(f"choose a bone of {thing.name} as the {what}")
    return Bone(thing, bone)
