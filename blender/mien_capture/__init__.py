"""Recorded faces on characters: solved markers and landmarks drive shape keys, bones and objects."""

bl_info = {
    "name": "mien: face capture",
    "description": "Puts recorded faces (C3D, TRC, landmarks, phone apps) onto shape keys and bones",
    "version": (0, 0, 0),  # make_zip.py writes the project's
    "blender": (3, 4, 0),
    "location": "File > Import > Face capture; 3D View > Sidebar > mien",
    "category": "Import-Export",
}

import sys

import bpy

# Blender updates an add-on without a restart: what the earlier version imported must not be found again.
for _name in [name for name in sys.modules if name.startswith(f"{__name__}.")]:
    del sys.modules[_name]
    globals().pop(_name.rpartition(".")[2], None)

from . import character_export, panel, performer_operator, settings, solve_operator

_CLASSES = (settings.MIEN_PG_settings, solve_operator.MIEN_OT_solve, solve_operator.MIEN_OT_import,
            performer_operator.MIEN_OT_performer, character_export.MIEN_OT_export_character, *panel.CLASSES)


def register():
    for registered in _CLASSES:
        bpy.utils.register_class(registered)
    bpy.types.Scene.mien = bpy.props.PointerProperty(type=settings.MIEN_PG_settings)
    bpy.types.TOPBAR_MT_file_import.append(solve_operator.menu)
    bpy.types.TOPBAR_MT_file_export.append(character_export.menu)


def unregister():
    bpy.types.TOPBAR_MT_file_export.remove(character_export.menu)
    bpy.types.TOPBAR_MT_file_import.remove(solve_operator.menu)
    del bpy.types.Scene.mien
    for registered in reversed(_CLASSES):
        bpy.utils.unregister_class(registered)
