"""The operator that makes a performer file from the panel's take, and selects it in the panel."""

import bpy
from bpy.props import EnumProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import solving
from .command_options import message_of


class MIEN_OT_performer(bpy.types.Operator, ExportHelper):
    """Make a performer file from the take, for all takes of this person"""

    bl_idname = "mien.performer"
    bl_label = "Save performer"
    bl_options = {"REGISTER", "UNDO"}

    filename_ext = ".json"
    filter_glob: StringProperty(default="*.json", options={"HIDDEN"})
    kind: EnumProperty(name="From the take", items=(
        ("calibrate", "Neutral face and ranges", "This person's blinks then read 1; needs half a minute of talking"),
        ("neutral", "Neutral face", "The pose that all weights are measured from"),
        ("guess", "Unknown markers", "Guesses where on the face the markers are; check the file before you use it")))
    poses: StringProperty(name="Poses", description="For a guided take: a table of the frames of each pose, as mien "
                          "calibrate --poses has it. Empty: only blinks are measured")

    def draw(self, _context):
        self.layout.prop(self, "kind")
        if self.kind == "calibrate":
            self.layout.prop(self, "poses")

    def execute(self, context):
        settings, path = context.scene.mien, bpy.path.abspath(self.filepath)
        try:
            name = bpy.path.display_name_from_filepath(path)
            text, notes = solving.performer_file(settings.request(), self.kind, name, bpy.path.abspath(self.poses))
            solving.write_whole(path, text)
        except (solving.Refused, solving.Error) as error:
            message = message_of(error, settings.bl_rna.properties)
            settings.report, settings.report_is_error = message, True
            self.report({"ERROR"} if not bpy.app.background else {"WARNING"}, message)
            return {"CANCELLED"}
        settings.performer, settings.performer_file = "file", path
        settings.report, settings.report_is_error = "\n".join([f"wrote {path}", *notes]), False
        return {"FINISHED"}
