"""The markers of a take as empties."""

import bpy
import numpy

from . import axes, scene_time
from .key_frames import CONSTANT, KeyFrames

_SIZE = 0.002  # metres
_TAKE = "mien_take"  # the property of the collection: its take


def show(context, capture, frames, start, rate):
    """Adds a collection with an empty for each marker, below one that moves them all, in place of the earlier one.

    A marker is hidden in its gaps. `frames` are those of the animation; the markers have their own times, which
    begin with the same frame `start`.
    """
    markers, unit = capture.markers, context.scene.unit_settings.scale_length
    _remove(capture.name)
    collection = bpy.data.collections.new(f"{capture.name}: markers")
    collection[_TAKE] = capture.name
    context.scene.collection.children.link(collection)
    parent = bpy.data.objects.new(f"{capture.name}: markers", None)
    parent.empty_display_size = 0.05 / unit
    collection.objects.link(parent)
    if len(frames) != len(markers.times) or not numpy.array_equal(capture.times, markers.times):
        frames = scene_time.places(markers.times, rate, start)
    for column, name in enumerate(markers.names):
        empty = bpy.data.objects.new(name, None)
        empty.empty_display_type, empty.empty_display_size = "SPHERE", _SIZE / unit
        empty.parent = parent
        collection.objects.link(empty)
        _write(empty, frames, axes.points(markers.positions[:, column], context.scene), capture)
    return parent


def _remove(take):
    for collection in [collection for collection in bpy.data.collections if collection.get(_TAKE) == take]:
        for empty in list(collection.objects):
            bpy.data.objects.remove(empty)
        bpy.data.collections.remove(collection)


def _write(empty, frames, places, capture):
    seen = ~numpy.isnan(places).any(axis=1)
    keys = KeyFrames(empty, f"{capture.name}: {empty.name}", capture)
    if seen.any():
        keys.write_vector("location", frames[seen], places[seen])
    changes = numpy.flatnonzero(numpy.concatenate([[True], seen[1:] != seen[:-1]]))
    if len(changes) > 1 or not seen[0]:
        for path in ("hide_viewport", "hide_render"):
            keys.write(path, frames[changes], ~seen[changes], interpolation=CONSTANT)
