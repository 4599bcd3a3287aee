"""The panel "mien" in the sidebar of the 3D view."""

import textwrap

import bpy

from .character_export import MIEN_OT_export_character
from .onto_character import timecode_at
from .performer_operator import MIEN_OT_performer
from .solve_operator import MIEN_OT_solve

_PIXELS_A_LETTER = 7  # of the user interface at its usual size


def _write(layout, context, text):
    """A label that wraps at the panel's width, unlike Blender's own."""
    width = max(20, int(context.region.width / (_PIXELS_A_LETTER * context.preferences.system.ui_scale)))
    column = layout.column(align=True)
    column.scale_y = 0.8
    for line in textwrap.wrap(text, width):
        column.label(text=line)


class _Panel:
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"
    bl_category = "mien"


class _Options(_Panel):
    """A part of the panel that shows properties one below the other. `joined`: a heading, and properties below it.
    `split`: names are on the left, which leaves less room for those of check boxes."""

    bl_parent_id = "MIEN_PT_capture"
    bl_options = {"DEFAULT_CLOSED"}
    shown = ()
    joined = ("", ())
    split = True

    def draw(self, context):
        settings, layout = context.scene.mien, self.layout
        layout.use_property_split = self.split
        layout.use_property_decorate = False
        for name in self.shown:
            layout.prop(settings, name)
        heading, names = self.joined
        if names:
            column = layout.column(align=True)
            column.label(text=heading)
            for name in names:
                column.prop(settings, name)


class MIEN_PT_capture(_Panel, bpy.types.Panel):
    bl_label = "Face capture"

    def draw(self, context):
        settings, layout = context.scene.mien, self.layout
        layout.use_property_split = True
        layout.use_property_decorate = False
        layout.prop(settings, "take")
        layout.prop(settings, "performer")
        if settings.performer == "file":
            layout.prop(settings, "performer_file", text="File")
        layout.operator_menu_enum(MIEN_OT_performer.bl_idname, "kind", text="Save performer")
        layout.prop(settings, "character")
        if settings.character == "file":
            layout.prop(settings, "character_file", text="File")
        if settings.character != "none":
            layout.prop(settings, "expression")
        layout.prop(settings, "solver")
        if settings.solver == "fit":
            layout.prop(settings, "basis")
            layout.prop(settings, "basis_landmarks")
        selected = [thing.name for thing in context.selected_objects if thing.type in {"MESH", "ARMATURE"}]
        layout.label(text="Onto: " + (", ".join(selected) or "nothing is selected"))
        layout.operator(MIEN_OT_solve.bl_idname, text="Solve", icon="PLAY")
        timecode = timecode_at(context.scene, context.scene.frame_current)
        if timecode:
            layout.label(text=timecode, icon="TIME")


class MIEN_PT_report(_Panel, bpy.types.Panel):
    bl_label = "Report"
    bl_parent_id = "MIEN_PT_capture"

    @classmethod
    def poll(cls, context):
        return bool(context.scene.mien.report)

    def draw(self, context):
        settings = context.scene.mien
        self.layout.alert = settings.report_is_error
        for line in settings.report.splitlines():
            _write(self.layout, context, line)


class MIEN_PT_head(_Panel, bpy.types.Panel):
    bl_label = "Head and eyes"
    bl_parent_id = "MIEN_PT_capture"

    def draw(self, context):
        settings, layout = context.scene.mien, self.layout
        layout.use_property_split = True
        layout.use_property_decorate = False
        for name in ("head", "left_eye", "right_eye"):
            layout.prop(settings, name)
            thing = getattr(settings, name)
            if thing is not None and thing.type == "ARMATURE":
                layout.prop_search(settings, name + "_bone", thing.pose, "bones")
        layout.prop(settings, "head_moves")


class MIEN_PT_neutral(_Options, bpy.types.Panel):
    bl_label = "Neutral face and ranges"
    shown = ("neutral", "ranges", "level_lids")


class MIEN_PT_cleaning(_Options, bpy.types.Panel):
    bl_label = "Cleaning"
    shown = ("fill", "fill_head", "head_tolerance", "keep_slipped", "fade", "gaze")
    joined = ("Smooth", ("smooth", "smooth_weights", "smooth_gaze"))


class MIEN_PT_mesh(_Options, bpy.types.Panel):
    bl_label = "478 landmarks"
    shown = ("image", "face_width", "mirrored")


class MIEN_PT_weights(_Options, bpy.types.Panel):
    bl_label = "Recorded weights"
    shown = ("weights", "map", "ranges_file", "landmarks", "swap_sides")


class MIEN_PT_file(_Options, bpy.types.Panel):
    bl_label = "Frames and time"
    shown = ("face", "input_rate", "output_rate", "timecode")


class MIEN_PT_scene(_Options, bpy.types.Panel):
    bl_label = "Scene"
    shown = ("sets_scene", "markers")
    split = False


class MIEN_PT_character(_Panel, bpy.types.Panel):
    bl_label = "Character file"
    bl_options = {"DEFAULT_CLOSED"}

    def draw(self, context):
        layout = self.layout
        _write(layout, context, "Add a timeline marker at the frame of each pose, and name it Mouth.Open, jawOpen, "
                                "or as an expression.")
        layout.operator(MIEN_OT_export_character.bl_idname, text="Export", icon="EXPORT")


CLASSES = (MIEN_PT_capture, MIEN_PT_report, MIEN_PT_head, MIEN_PT_neutral, MIEN_PT_cleaning, MIEN_PT_mesh,
           MIEN_PT_weights, MIEN_PT_file, MIEN_PT_scene, MIEN_PT_character)
