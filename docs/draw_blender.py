"""Draws docs/blender.png: the sample head in Blender, driven by the sample take, and the add-on's panel.

BLENDER_USER_SCRIPTS=$(mktemp -d) xvfb-run -a -s "-screen 0 1200x760x24" blender --enable-event-simulate \\
  --factory-startup -p 0 0 1200 760 --python docs/draw_blender.py -- \\
  build/release/blender/mien_capture-*.zip docs/blender.png

Run it from the source tree.
"""

import os
import sys
import traceback

import bpy
import numpy

if not hasattr(numpy, "bool"):
    numpy.bool = bool  # the importer of Blender 3.4 needs it, and numpy 1.24 removed it

ADD_ON, PICTURE = map(os.path.abspath, sys.argv[sys.argv.index("--") + 1:])
FRAME = 78
TAB = 978, 515  # where the sidebar's tab "mien" is, in pixels from the lower left corner


def window():
    return bpy.context.window_manager.windows[0]


def view():
    area = next(area for area in window().screen.areas if area.type == "VIEW_3D")
    region = next(region for region in area.regions if region.type == "WINDOW")
    return bpy.context.temp_override(window=window(), screen=window().screen, area=area, region=region)


def click(x, y):
    for kind, value in (("MOUSEMOVE", "NOTHING"), ("LEFTMOUSE", "PRESS"), ("LEFTMOUSE", "RELEASE")):
        window().event_simulate(kind, value, x=x, y=y)


def prepare():
    for thing in list(bpy.data.objects):
        bpy.data.objects.remove(thing)
    bpy.ops.preferences.addon_install(filepath=ADD_ON)
    bpy.ops.preferences.addon_enable(module="mien_capture")
    bpy.ops.import_scene.gltf(filepath=os.path.abspath("samples/head.glb"))
    bpy.context.view_layer.update()
    face, settings = bpy.data.objects["face"], bpy.context.scene.mien
    for thing in bpy.context.view_layer.objects:
        thing.select_set(thing == face)
    bpy.context.view_layer.objects.active = face
    settings.take, settings.head = os.path.abspath("samples/landmarks.csv"), face
    with view():
        bpy.ops.mien.solve("EXEC_DEFAULT")
        bpy.context.scene.frame_set(FRAME)
        bpy.context.area.spaces[0].show_region_ui = True
        bpy.context.area.spaces[0].overlay.show_outline_selected = False
        bpy.ops.view3d.view_axis(type="FRONT")
        bpy.ops.view3d.view_selected()
    settings.take = "//samples/landmarks.csv"  # as in a saved scene


def steps():
    """Each step is drawn before the next one."""
    window().event_simulate("ESC", "PRESS", x=600, y=400)  # the splash screen
    window().event_simulate("ESC", "RELEASE", x=600, y=400)
    yield
    prepare()
    yield
    click(*TAB)
    yield
    window().event_simulate("MOUSEMOVE", "NOTHING", x=200, y=300)  # away from tooltips
    yield
    with view():
        bpy.ops.screen.screenshot(filepath=PICTURE)


def run():
    try:
        next(running)
        return 1
    except StopIteration:
        os._exit(0)
    except BaseException:
        traceback.print_exc()
        sys.stderr.flush()
        os._exit(1)


running = steps()
bpy.app.timers.register(run, first_interval=1)
