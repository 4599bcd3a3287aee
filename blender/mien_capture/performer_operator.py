"""The operator that makes a performer file from the panel's take, and selects it in the panel."""

import bpy
from bpy.props import EnumProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import solving


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

    def execute(self, context):
        settings = context.scene.mien
        try:
            name = bpy.path.display_name_from_filepath(self.filepath)
            text, notes = solving.performer_file(settings.request(), self.kind, name)
            solving.write_whole(self.filepath, text)
        except (solving.Refused, solving.Error, OSError) as error:
            settings.report, settings.report_is_error = str(error), True
            self.report({"ERROR"} if not bpy.app.background else {"WARNING"}, str(error))
            return {"CANCELLED"}
        settings.performer, settings.performer_file = "file", self.filepath
        settings.report, settings.report_is_error = "\n".join([f"wrote {self.filepath}", *notes]), False
        return {"FINISHED"}
