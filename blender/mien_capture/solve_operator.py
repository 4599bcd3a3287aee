"""The operators that put a file onto the selection: from the panel, and from File > Import."""

import bpy
from bpy.props import StringProperty
from bpy_extras.io_utils import ImportHelper

from . import onto_character, solving
from .command_options import message_of


def _count(number, one, several=None):
    return f"{number} {one if number == 1 else several or one + 's'}"


def _lines(outcome):
    """The lines of the panel's report."""
    lines = [", ".join((_count(outcome.frames, "frame"), _count(outcome.driven_keys, "shape key"),
                        _count(outcome.meshes, "mesh", "meshes"), _count(outcome.bones, "bone or object",
                                                                         "bones and objects")))]
    for what, names in (("Weights without a shape key", outcome.weights_without_key),
                        ("Shape keys at rest", outcome.keys_without_weight),
                        ("Clusters without a bone", outcome.clusters_without_bone)):
        if names:
            lines.append(f"{what} ({len(names)}): {', '.join(names)}")
    return lines + outcome.notes


class MIEN_OT_solve(bpy.types.Operator):
    """Solve the take, and animate the selected meshes and armatures in new actions"""

    bl_idname = "mien.solve"
    bl_label = "Solve"
    bl_options = {"REGISTER", "UNDO"}
    _running = False  # beside the interface

    def invoke(self, context, _event):
        if bpy.app.background:
            return self.execute(context)
        if MIEN_OT_solve._running:
            self.report({"WARNING"}, "a take is being solved; Esc cancels it")
            return {"CANCELLED"}
        if not self._prepare(context):
            return {"CANCELLED"}
        MIEN_OT_solve._running = True
        self._job.start()
        manager = context.window_manager
        manager.progress_begin(0, 100)
        self._timer = manager.event_timer_add(0.1, window=context.window)
        manager.modal_handler_add(self)
        context.workspace.status_text_set("Solving the take. Esc: cancel")
        return {"RUNNING_MODAL"}

    def modal(self, context, event):
        if event.type == "ESC":
            self._job.cancel()
        if event.type != "TIMER":
            return {"RUNNING_MODAL"} if event.type == "ESC" else {"PASS_THROUGH"}
        context.window_manager.progress_update(int(100 * self._job.share))
        if not self._job.wait(0):
            return {"PASS_THROUGH"}
        self._end(context)
        return self._finish(context)

    def cancel(self, context):
        """Blender is about to close, or to open another file."""
        self._job.cancel()
        self._job.wait()
        self._end(context)

    def _end(self, context):
        MIEN_OT_solve._running = False
        manager = context.window_manager
        manager.event_timer_remove(self._timer)
        manager.progress_end()
        context.workspace.status_text_set(None)

    def execute(self, context):
        if not self._prepare(context):
            return {"CANCELLED"}
        self._job.run()
        return self._finish(context)

    def _prepare(self, context):
        settings = context.scene.mien
        try:
            self._job = solving.Job(settings.request())
            settings.targets([])
        except solving.Refused as refusal:
            return self._fail(context, refusal)
        # Their names: while the solve runs, an undo replaces objects, and the user may delete some, or go to another
        # scene.
        self._names = [thing.name for thing in context.selected_objects]
        self._scene = context.scene.name
        return True

    def _finish(self, context):
        scene = bpy.data.scenes.get(self._scene)
        if self._job.cancelled or scene is None:
            self.report({"INFO"}, "cancelled; nothing was changed")
            return {"CANCELLED"}
        if scene == context.scene:
            return self._put(context)
        with context.temp_override(scene=scene, view_layer=scene.view_layers[0]):
            return self._put(context)

    def _put(self, context):
        error = self._job.error
        if error is None:
            things = [bpy.data.objects[name] for name in self._names if name in bpy.data.objects]
            try:
                outcome = onto_character.put(context, self._job.capture, context.scene.mien.targets(things))
            except (onto_character.CannotDrive, solving.Refused) as nothing:
                error = nothing
        if error is not None:
            if not isinstance(error, (solving.Error, solving.Refused, onto_character.CannotDrive)):
                raise error
            self._fail(context, error)
            return {"CANCELLED"}
        settings = context.scene.mien
        settings.report, settings.report_is_error = "\n".join(_lines(outcome)), False
        self.report({"INFO"}, _lines(outcome)[0])
        return {"FINISHED"}

    def _fail(self, context, error):
        settings = context.scene.mien
        settings.report = message_of(error, settings.bl_rna.properties)
        settings.report_is_error = True
        self.report({"ERROR"} if not bpy.app.background else {"WARNING"}, settings.report)
        return False


class MIEN_OT_import(bpy.types.Operator, ImportHelper):
    """Animate the selected meshes and armatures with a recorded face, with the settings of the panel "mien" """

    bl_idname = "import_anim.mien"
    bl_label = "Import face capture"

    filter_glob: StringProperty(default="*.c3d;*.trc;*.csv;*.json", options={"HIDDEN"})

    def draw(self, context):
        settings = context.scene.mien
        for name in ("performer", "character", "solver", "markers", "sets_scene"):
            self.layout.prop(settings, name)
            if name + "_file" in settings.bl_rna.properties and getattr(settings, name) == "file":
                self.layout.prop(settings, name + "_file", text="File")

    def execute(self, context):
        context.scene.mien.take = self.filepath
        if bpy.app.background:
            return bpy.ops.mien.solve()
        answer = bpy.ops.mien.solve("INVOKE_DEFAULT")
        return {"FINISHED"} if answer == {"RUNNING_MODAL"} else answer


def menu(self, _context):
    self.layout.operator(MIEN_OT_import.bl_idname, text="Face capture (.c3d, .trc, .csv, .json)")
