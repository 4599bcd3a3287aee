"""The panel in a window: a solve runs beside the interface, Esc cancels it, and one undo takes it back.

xvfb-run blender --enable-event-simulate --factory-startup --python window.py -- ADD_ON.zip MIEN SAMPLES OUT

OUT gets window.png, a picture of the window.
"""

import os
import sys
import time
import traceback

import bpy

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import add_on
from add_on import equal

ZIP, MIEN, SAMPLES, OUT = add_on.arguments()
TAB = 186, 245  # pixels from the upper right corner of the window
WAIT = 60  # seconds for a step, which takes one


def view():
    """What the operators of the 3D view need to know."""
    window = bpy.context.window_manager.windows[0]
    area = next(area for area in window.screen.areas if area.type == "VIEW_3D")
    region = next(region for region in area.regions if region.type == "WINDOW")
    return bpy.context.temp_override(window=window, screen=window.screen, area=area, region=region)


def simulate(kind, value, x=700, y=500):
    bpy.context.window_manager.windows[0].event_simulate(kind, value, x=x, y=y)


def state():
    """What a solve changes."""
    scene = bpy.context.scene
    face = bpy.data.objects["face"].data.shape_keys
    return (sorted(bpy.data.actions.keys()), scene.render.fps, scene.frame_end, scene.mien.report,
            bool(face.animation_data and face.animation_data.action), face.key_blocks["jawOpen"].slider_max)


def solve():
    with view():
        equal(bpy.ops.mien.solve("INVOKE_DEFAULT"), {"RUNNING_MODAL"}, "solve")


def record_ends():
    """The answers of the solves that end from now on, as they end."""
    ends, operator = [], sys.modules[f"{add_on.NAME}.solve_operator"].MIEN_OT_solve
    finish = operator._finish

    def recorded(self, context):
        ends.append(finish(self, context))
        return ends[-1]

    operator._finish = recorded
    return ends


def until(reached, what):
    ends = time.monotonic() + WAIT
    while not reached():
        assert time.monotonic() < ends, f"{what} after {WAIT} s"
        yield 0.1


def open_panels():
    """All parts of the panel are unfolded, so that Blender draws them."""
    classes = sys.modules[f"{add_on.NAME}.panel"].CLASSES
    for panel in reversed(classes):
        bpy.utils.unregister_class(panel)
    for panel in classes:
        panel.bl_options = set()
        bpy.utils.register_class(panel)


def show_tab():
    """Clicks on the sidebar's tab "mien"."""
    window = bpy.context.window_manager.windows[0]
    for kind, value in (("MOUSEMOVE", "NOTHING"), ("LEFTMOUSE", "PRESS"), ("LEFTMOUSE", "RELEASE")):
        simulate(kind, value, window.width - TAB[0], window.height - TAB[1])


def steps():
    for thing in list(bpy.data.objects):
        bpy.data.objects.remove(thing)
    simulate("ESC", "PRESS")  # the splash screen
    simulate("ESC", "RELEASE")
    yield 0.5
    add_on.add_head(f"{SAMPLES}/head.glb")
    keys = bpy.data.objects["face"].data.shape_keys.key_blocks
    keys["jawOpen"].slider_max = 0.25
    settings = bpy.context.scene.mien
    settings.take, settings.head = f"{SAMPLES}/landmarks.csv", bpy.data.objects["face"]
    with view():
        bpy.context.area.spaces[0].show_region_ui = True
        bpy.ops.view3d.view_axis(type="FRONT")
        bpy.ops.view3d.view_all()
        bpy.ops.ed.undo_push(message="the scene")
    open_panels()
    yield 0.5
    show_tab()
    yield 0.5
    before, ends = state(), record_ends()

    solve()
    simulate("ESC", "PRESS")
    yield from until(lambda: ends, "the cancelled solve still runs")
    equal((ends.pop(), state()), ({"CANCELLED"}, before), "after Esc")

    with view():
        equal(bpy.ops.import_anim.mien(filepath=f"{SAMPLES}/landmarks.csv"), {"FINISHED"}, "import")
    yield from until(lambda: ends, "the solve still runs")
    equal(ends.pop(), {"FINISHED"}, "the second solve")
    solved = state()
    equal(solved[1:], (30, 360, "360 frames, 52 shape keys, 1 mesh, 1 bone or object", True, 1.0), "solved")
    equal(len(solved[0]), 2, "actions")
    yield 0.5
    with view():
        bpy.ops.screen.screenshot(filepath=f"{OUT}/window.png")
        bpy.ops.ed.undo()
    yield 0.5
    equal(state(), before, "after one undo")
    with view():
        bpy.ops.ed.redo()
    yield 0.5
    equal(state(), solved, "after one redo")

    # A second solve is refused while one runs, which ends in its own scene although another one is shown by then.
    first, other = bpy.context.scene, bpy.data.scenes.new("Other")
    first.render.fps = 24
    solve()
    with view():
        equal(bpy.ops.mien.solve("INVOKE_DEFAULT"), {"CANCELLED"}, "a second solve beside the first")
    bpy.context.window_manager.windows[0].scene = other
    yield from until(lambda: ends, "the solve still runs")
    equal(ends.pop(), {"FINISHED"}, "the solve of the scene that is not shown")
    equal((bpy.context.scene.name, first.render.fps, other.render.fps, other.frame_end), ("Other", 30, 24, 250), "scenes")
    equal((first.mien.report.splitlines()[0], other.mien.report), (solved[3], ""), "reports")


def run():
    """A step each time that Blender has nothing else to do; leaves without questions about unsaved changes."""
    try:
        return next(running)
    except StopIteration:
        print("all done", flush=True)
        os._exit(0)
    except BaseException:
        traceback.print_exc()
        sys.stderr.flush()
        os._exit(1)


add_on.install(ZIP)
running = steps()
bpy.app.timers.register(run, first_interval=1)
