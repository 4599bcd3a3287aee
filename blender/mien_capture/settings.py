"""The user's settings: a group of properties of the scene."""

import bpy
from bpy.props import (BoolProperty, EnumProperty, FloatProperty, IntVectorProperty,
                       PointerProperty, StringProperty)

from . import command_options, solving
from .command_options import CALIBRATE, NEUTRAL, READ, RETARGET, SOLVE
from .movers import Bone, Object
from .onto_character import Targets


def _can_turn(_settings, thing):
    return thing.type in {"ARMATURE", "EMPTY", "MESH"}


class MIEN_PG_settings(bpy.types.PropertyGroup):
    """The panel's choices."""

    take: StringProperty(name="Take", subtype="FILE_PATH",
                         description="The recording: .c3d, .trc, .csv or .json. Its content determines the format")
    performer: EnumProperty(name="Performer", default="auto", description="What the markers of the take are", items=(
        ("auto", "By the take", "68 or 478 landmarks have a built-in performer"),
        ("landmarks68", "68 landmarks", "Landmarks from a video tracker"),
        ("landmarks478", "478 landmarks", "The face mesh of a web camera"),
        ("file", "Performer file", "Defines where the markers are on the face; a calibrated one also has ranges")))
    performer_file: StringProperty(name="Performer file", subtype="FILE_PATH",
                                   description="Where the markers are on the face, as a .json file")
    character: EnumProperty(name="Character", default="arkit52", description="The shapes that are animated", items=(
        ("arkit52", "52 shapes", "The shapes of phone face capture: jawOpen, eyeBlinkLeft, ..."),
        ("vrm1", "VRM presets", "aa, blinkLeft, happy, ..."),
        ("none", "Names of the file", "The face's templates (Mouth.Open, ...); recorded weights keep their names"),
        ("file", "Character file", "Shapes and bones of your own character")))
    character_file: StringProperty(name="Character file", subtype="FILE_PATH",
                                   description="The shapes and bones of a character, as a .json file, such as one "
                                               "of File > Export > mien character")
    solver: EnumProperty(name="Solver", default="parts", description="How shapes are found from markers", items=(
        ("parts", "Nine parts", "Measures each part of the face separately"),
        ("fit", "Fit", "Fits all 52 shapes to all markers at once")))

    expression: StringProperty(name="Expressions", description="Expressions of the character that are added to every "
                               "frame, such as Content=0.5. Separate several with commas")
    basis: StringProperty(name="Basis", subtype="FILE_PATH",
                          description="How faces move with the 52 shapes: a .glb head that has them as shape keys, "
                                      "or a table. Empty: the built-in faces")
    basis_landmarks: StringProperty(name="Basis landmarks", subtype="FILE_PATH",
                                    description="Where the 68 landmarks are on the head of Basis. Empty: the file "
                                                "HEAD.landmarks.csv beside it")

    neutral: StringProperty(name="Neutral", description="Frames in which the face is at rest, such as 12 or 1-10. "
                            "Empty: uses the performer's neutral face, or finds one in the take")
    ranges: BoolProperty(name="Apply ranges", default=True,
                         description="Applies the ranges of a calibrated performer, in whose file a blink of this "
                                     "person reads 1")
    level_lids: BoolProperty(name="Level lids", description="Removes from Eye.Close what lowered eyes cause; "
                             "for calibrated performers")

    fill: StringProperty(name="Fill",
                         description="How gaps of face markers are filled: methods (hold, linear, cubic, pattern) "
                                     "in the order in which they are tried, each with the longest gap in seconds, "
                                     "or none. Empty: cubic:0.15,pattern:0.5")
    fill_head: StringProperty(name="Fill head", description="The same for the markers on the head. "
                              "Empty: pattern:2")
    head_tolerance: FloatProperty(name="Tolerance", default=6, min=0, soft_max=30, description="Leaves out a head "
                                  "marker in frames in which it is further than this from its place, in millimetres")
    keep_slipped: BoolProperty(name="Keep slipped",
                               description="Uses all head markers, however far they are from their places")
    fade: FloatProperty(name="Fade", default=0.25, min=0, soft_max=2, precision=3,
                        description="How long a part of the face takes to come to rest when its markers or weights "
                                    "are missing, in seconds")
    gaze: BoolProperty(name="Gaze", default=True, description="The eyes look where the take shows it. "
                       "Off: straight ahead")
    smooth: FloatProperty(name="Markers", min=0, soft_max=30,
                          description="Removes motion of the markers above this frequency in hertz. 0: off")
    smooth_weights: FloatProperty(name="Weights", min=0, soft_max=30,
                                  description="Removes motion of the weights above this frequency in hertz. 0: off")
    smooth_gaze: FloatProperty(name="Eyes", min=0, soft_max=30,
                               description="Removes motion of the eyes above this frequency in hertz. 0: off")

    image: IntVectorProperty(name="Image", size=2, min=0,
                             description="The size of the video in pixels, such as 1280 and 720. 0: 16:9")
    face_width: FloatProperty(name="Face width", min=0, soft_max=200,
                              description="The width of the face in front of the ears in millimetres, which gives "
                                          "the scale. 0: from the distance of an average face's eyes")
    mirrored: BoolProperty(name="Mirrored",
                           description="The video was mirrored, as selfie cameras show it: exchanges left and right")

    weights: BoolProperty(name="Use weights", description="Uses the weights of a file with landmarks and weights")
    map: StringProperty(name="Map", subtype="FILE_PATH",
                        description="For a character: what the recorded weights mean to the face's templates, as a "
                                    "map file. Empty: arkit52")
    ranges_file: StringProperty(name="Ranges", subtype="FILE_PATH",
                                description="What the weights read on this person's face, from mien calibrate")
    landmarks: StringProperty(name="Landmarks", subtype="FILE_PATH",
                              description="Face landmarks of the same recording, which the motion of the head and "
                                          "the eyes is taken from. May be the take itself")
    swap_sides: BoolProperty(name="Swap sides",
                             description="Exchanges left and right: for a mirrored video, or a program that "
                                         "confuses them")

    face: StringProperty(name="Face",
                         description="Which face of a file with several: its number or id. Empty: the first")
    input_rate: StringProperty(name="Take's rate",
                               description="For files without times: frames per second, such as 25 or 29.97. Empty:"
                                           " 30; for C3D 100")
    output_rate: StringProperty(name="Output rate",
                                description="Frames per second of the key frames, such as 24 or 29.97. Empty: the "
                                            "take's own frames")
    timecode: StringProperty(name="Timecode", description="The timecode of the first frame, such as 10:02:30:00 or "
                             "10:02:30:00@25. Empty: the take's own")

    head: PointerProperty(type=bpy.types.Object, name="Head", poll=_can_turn,
                          description="The object, or the armature with the bone, that turns with the performer's "
                                      "head")
    head_bone: StringProperty(name="Bone", description="The bone that turns with the performer's head. "
                              "Empty: the whole armature turns")
    head_moves: BoolProperty(name="Move", description="The head also moves instead of only turning")
    left_eye: PointerProperty(type=bpy.types.Object, name="Left eye", poll=_can_turn,
                              description="The object, or the armature with the bone, that turns with the "
                                          "performer's left eye")
    left_eye_bone: StringProperty(name="Bone", description="The bone that turns with the left eye")
    right_eye: PointerProperty(type=bpy.types.Object, name="Right eye", poll=_can_turn,
                               description="The object, or the armature with the bone, that turns with the "
                                           "performer's right eye")
    right_eye_bone: StringProperty(name="Bone", description="The bone that turns with the right eye")
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
        read, solve, retarget, calibrate, neutral = (
            command_options.chosen(self, step) for step in (READ, SOLVE, RETARGET, CALIBRATE, NEUTRAL))
        return solving.Request(path, self._performer(), self._character(), self.weights, read=read, solve=solve,
                               retarget=retarget, calibrate=calibrate, neutral=neutral, markers=self.markers)

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
