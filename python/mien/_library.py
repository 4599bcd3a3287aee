"""The C library and the declarations of its interface, host/c_interface/mien_host.h."""

from __future__ import annotations

import ctypes
import os
from ctypes import c_char_p, c_double, c_int, c_int32, c_int64, c_size_t, c_ssize_t, c_uint32, c_uint64, c_void_p
from pathlib import Path
from typing import Any, Callable, Optional, Tuple

INTERFACE_VERSION = 2


class Message(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t)] + [
        (name, c_char_p) for name in ("code", "file", "place", "what", "fix", "text")]


class Array(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("data", c_void_p), ("type", c_int), ("dimensions", c_int32),
                ("shape", c_size_t * 4), ("strides", c_ssize_t * 4)]


ReportFunction = ctypes.CFUNCTYPE(c_int, c_void_p, c_int, c_size_t, c_size_t)


class Progress(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("report", ReportFunction), ("user", c_void_p)]


class OptionStruct(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("name", c_char_p), ("type", c_char_p), ("help", c_char_p),
                ("group", c_char_p), ("values", c_char_p), ("repeatable", c_int32)]


class TakeArrays(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("name", c_char_p), ("markers", ctypes.POINTER(c_char_p)),
                ("marker_count", c_size_t), ("frame_count", c_size_t), ("positions", c_void_p),
                ("frame_stride", c_ssize_t), ("marker_stride", c_ssize_t), ("axis_stride", c_ssize_t),
                ("rate_numerator", c_int64), ("rate_denominator", c_int64), ("frame_numbers", c_void_p),
                ("times", c_void_p), ("timecode", c_char_p)]


class WeightArrays(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("name", c_char_p), ("names", ctypes.POINTER(c_char_p)),
                ("name_count", c_size_t), ("frame_count", c_size_t), ("weights", c_void_p),
                ("frame_stride", c_ssize_t), ("name_stride", c_ssize_t), ("rate_numerator", c_int64),
                ("rate_denominator", c_int64), ("frame_numbers", c_void_p), ("times", c_void_p),
                ("timecode", c_char_p)]


class Event(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("time", c_double), ("label", c_char_p)]


class Range(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("name", c_char_p), ("low", c_double), ("high", c_double),
                ("seen", c_int32), ("trusted", c_int32), ("why", c_char_p)]


class LiveFaceStruct(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("kind", c_int32), ("name", c_char_p), ("names", ctypes.POINTER(c_char_p)),
                ("name_count", c_size_t), ("performer", c_void_p), ("take", c_void_p), ("character", c_void_p),
                ("settings", c_void_p)]


class LiveFrameStruct(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("face", c_size_t), ("arrival", c_double), ("time", c_double),
                ("timecode", c_int64), ("timecode_fraction", c_double), ("timecode_rate_numerator", c_int64),
                ("timecode_rate_denominator", c_int64), ("timecode_drop", c_int32), ("lost", c_int32),
                ("values", c_void_p), ("value_count", c_size_t), ("head", c_void_p), ("head_place", c_void_p),
                ("eyes", c_void_p)]


class LiveResult(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t), ("face", c_size_t), ("frame", c_int64), ("time", c_double),
                ("arrival", c_double), ("presence", c_double), ("unseen", c_size_t), ("learning", c_int32),
                ("face_seen", c_int32), ("head_known", c_int32), ("eyes_known", c_int32)]


class LiveStatisticsStruct(ctypes.Structure):
    _fields_ = [("struct_size", c_size_t)] + [(name, c_uint64) for name in (
        "received", "used", "duplicates", "late", "unusable", "paused", "dropped", "inserted", "sent", "lost",
        "head_unknown", "poor", "unseen", "unusable_numbers", "failed_learnings", "source_restarts")] + [
            ("rate", c_double), ("drift_ppm", c_double), ("latencies", c_uint64), ("latency_median", c_double),
            ("latency_p99", c_double), ("recording", c_int32)]


OK = 0  # the status of a call that did not fail

# Steps of settings, by their commands.
STEPS = {"read": 0, "solve": 1, "retarget": 2, "calibrate": 3, "convert": 4, "write": 5}

# Arrays, names and texts.
TAKE_POSITIONS, TAKE_ORIGINS, TAKE_FRAMES, TAKE_TIMES = range(4)
TAKE_NAME, TAKE_FILE, TAKE_FORMAT, TAKE_FLAVOUR, TAKE_UNIT, TAKE_AXES, TAKE_TIMECODE = range(7)
(ANIMATION_FRAMES, ANIMATION_TIMES, ANIMATION_WEIGHTS, ANIMATION_SHAPE_WEIGHTS, ANIMATION_HEADS,
 ANIMATION_HEAD_MOTION, ANIMATION_EYES, ANIMATION_LOCAL_TRANSLATIONS) = range(8)
(ANIMATION_TAKE, ANIMATION_PERFORMER, ANIMATION_CHARACTER, ANIMATION_TIMECODE, ANIMATION_REPORT,
 ANIMATION_NEUTRAL) = range(6)
TEMPLATE_NAMES, SHAPE_NAMES, CLUSTER_NAMES, CLUSTER_PART_NAMES, FACE_PART_NAMES = range(5)
(FRAME_WEIGHTS, FRAME_SHAPE_WEIGHTS, FRAME_HEAD, FRAME_HEAD_MOTION, FRAME_EYES, FRAME_RESIDUALS, FRAME_KNOWN,
 FRAME_LOCAL_TRANSLATIONS) = range(8)
LIVE_MARKERS, LIVE_WEIGHTS = range(2)
# For clusters, local rotations and scales follow, then the same three in the character's space.

_errors = ctypes.POINTER(c_void_p)
_progress = ctypes.POINTER(Progress)
_array = ctypes.POINTER(Array)

# The name after mien_, the type of the result, the types of the arguments.
_FUNCTIONS: Tuple[Tuple[Any, ...], ...] = (
    ("host_version", c_uint32),
    ("version", c_char_p),
    ("messages_count", c_size_t, c_void_p),
    ("messages_get", c_int, c_void_p, c_size_t, ctypes.POINTER(Message)),
    ("messages_free", c_int, c_void_p),
    ("text_data", c_void_p, c_void_p),
    ("text_size", c_size_t, c_void_p),
    ("text_free", c_int, c_void_p),
    ("rate_from_text", c_int, c_char_p, ctypes.POINTER(c_int64), ctypes.POINTER(c_int64), _errors),
    ("settings_new", c_void_p, c_int, _errors),
    ("settings_set", c_int, c_void_p, c_char_p, c_char_p, _errors),
    ("settings_add", c_int, c_void_p, c_char_p, c_char_p, _errors),
    ("settings_option_count", c_size_t, c_void_p),
    ("settings_option", c_int, c_void_p, c_size_t, ctypes.POINTER(OptionStruct)),
    ("settings_free", c_int, c_void_p),
    ("take_read", c_void_p, c_char_p, c_void_p, _progress, _errors),
    ("take_read_memory", c_void_p, c_void_p, c_size_t, c_char_p, c_void_p, _progress, _errors),
    ("take_from_arrays", c_void_p, ctypes.POINTER(TakeArrays), _errors),
    ("take_get_array", c_int, c_void_p, c_int, _array, _errors),
    ("take_get_text", c_char_p, c_void_p, c_int),
    ("take_marker_count", c_size_t, c_void_p),
    ("take_marker", c_char_p, c_void_p, c_size_t),
    ("take_rate", c_int, c_void_p, ctypes.POINTER(c_int64), ctypes.POINTER(c_int64)),
    ("take_event_count", c_size_t, c_void_p),
    ("take_event", c_int, c_void_p, c_size_t, ctypes.POINTER(Event)),
    ("take_notes", c_void_p, c_void_p),
    ("take_write", c_int, c_void_p, c_char_p, c_void_p, _progress, _errors, _errors),
    ("take_write_memory", c_void_p, c_void_p, c_char_p, c_void_p, _errors, _errors),
    ("take_free", c_int, c_void_p),
    ("performer_built_in", c_char_p, c_size_t),
    ("performer_load", c_void_p, c_char_p, _errors),
    ("performer_from_json", c_void_p, c_char_p, c_size_t, c_char_p, _errors),
    ("performer_with_neutral", c_void_p, c_void_p, c_void_p, c_void_p, _progress, _errors),
    ("performer_guess", c_void_p, c_void_p, c_void_p, _progress, _errors),
    ("performer_calibrate", c_void_p, c_void_p, ctypes.POINTER(c_void_p), c_size_t, c_void_p, _progress, _errors),
    ("performer_name", c_char_p, c_void_p),
    ("performer_marker_count", c_size_t, c_void_p),
    ("performer_marker", c_char_p, c_void_p, c_size_t),
    ("performer_to_json", c_void_p, c_void_p, _errors),
    ("performer_notes", c_void_p, c_void_p),
    ("performer_range_count", c_size_t, c_void_p),
    ("performer_range", c_int, c_void_p, c_size_t, ctypes.POINTER(Range)),
    ("performer_free", c_int, c_void_p),
    ("character_built_in", c_char_p, c_size_t),
    ("character_load", c_void_p, c_char_p, _errors),
    ("character_from_json", c_void_p, c_char_p, c_size_t, c_char_p, _errors),
    ("character_from_head", c_void_p, c_char_p, c_char_p, _errors),
    ("character_from_shapes", c_void_p, ctypes.POINTER(c_char_p), c_size_t, c_char_p, _errors),
    ("character_name", c_char_p, c_void_p),
    ("character_shape_count", c_size_t, c_void_p),
    ("character_shape", c_char_p, c_void_p, c_size_t),
    ("character_to_json", c_void_p, c_void_p, _errors),
    ("character_notes", c_void_p, c_void_p),
    ("character_free", c_int, c_void_p),
    ("solve", c_void_p, c_void_p, c_void_p, c_void_p, c_void_p, _progress, _errors),
    ("retarget", c_void_p, c_char_p, c_void_p, c_void_p, _progress, _errors),
    ("retarget_memory", c_void_p, c_void_p, c_size_t, c_char_p, c_void_p, c_void_p, _progress, _errors),
    ("retarget_arrays", c_void_p, ctypes.POINTER(WeightArrays), c_void_p, c_void_p, _progress, _errors),
    ("animation_get_array", c_int, c_void_p, c_int, _array, _errors),
    ("animation_name_count", c_size_t, c_void_p, c_int),
    ("animation_name", c_char_p, c_void_p, c_int, c_size_t),
    ("animation_get_text", c_char_p, c_void_p, c_int),
    ("animation_rate", c_int, c_void_p, ctypes.POINTER(c_int64), ctypes.POINTER(c_int64)),
    ("animation_notes", c_void_p, c_void_p),
    ("animation_write", c_int, c_void_p, c_char_p, c_void_p, _progress, _errors, _errors),
    ("animation_write_memory", c_void_p, c_void_p, c_char_p, c_void_p, _errors, _errors),
    ("animation_free", c_int, c_void_p),
    ("frame_solver_new", c_void_p, c_void_p, c_void_p, c_void_p, c_void_p, _errors),
    ("frame_solver_marker_count", c_size_t, c_void_p),
    ("frame_solver_marker", c_char_p, c_void_p, c_size_t),
    ("frame_solver_get_array", c_int, c_void_p, c_int, _array, _errors),
    ("frame_solver_name_count", c_size_t, c_void_p, c_int),
    ("frame_solver_name", c_char_p, c_void_p, c_int, c_size_t),
    ("frame_solver_solve", c_int, c_void_p, c_void_p, c_size_t, c_double, _errors),
    ("frame_solver_free", c_int, c_void_p),
    ("live_new", c_void_p, _errors),
    ("live_add", c_int, c_void_p, ctypes.POINTER(LiveFaceStruct), ctypes.POINTER(c_size_t), _errors),
    ("live_remove", c_int, c_void_p, c_size_t, _errors),
    ("live_switch_performer", c_int, c_void_p, c_size_t, c_void_p, c_void_p, _errors),
    ("live_name_count", c_size_t, c_void_p, c_size_t, c_int),
    ("live_name", c_char_p, c_void_p, c_size_t, c_int, c_size_t),
    ("live_feed", c_int, c_void_p, ctypes.POINTER(LiveFrameStruct), ctypes.POINTER(c_int32), _errors),
    ("live_advance", c_int, c_void_p, c_double, _errors),
    ("live_result_count", c_size_t, c_void_p),
    ("live_get_result", c_int, c_void_p, c_size_t, ctypes.POINTER(LiveResult)),
    ("live_get_array", c_int, c_void_p, c_size_t, c_int, _array, _errors),
    ("live_neutral_now", c_int, c_void_p, c_size_t, _errors),
    ("live_pause", c_int, c_void_p, c_int32, _errors),
    ("live_start_recording", c_int, c_void_p, c_size_t, c_char_p, _errors),
    ("live_stop_recording", c_int, c_void_p, c_size_t, _errors),
    ("live_mark", c_int, c_void_p, c_size_t, c_char_p, _errors),
    ("live_add_latency", c_int, c_void_p, c_size_t, c_double, _errors),
    ("live_get_statistics", c_int, c_void_p, c_size_t, ctypes.POINTER(LiveStatisticsStruct)),
    ("live_free", c_int, c_void_p),
)


class Functions:
    """The functions of the library, by their names without mien_."""

    def __init__(self, library: ctypes.CDLL) -> None:
        for name, result, *arguments in _FUNCTIONS:
            function = getattr(library, "mien_" + name)
            function.restype = result
            function.argtypes = arguments
            setattr(self, name, function)

    def __getattr__(self, name: str) -> "Callable[..., Any]":  # for type checkers: all functions are set above
        raise AttributeError(name)


def _find() -> str:
    """The library's path: from the variable MIEN_HOST_LIBRARY, in this folder, or in the one above."""
    chosen: Optional[str] = os.environ.get("MIEN_HOST_LIBRARY")
    if chosen:
        return chosen
    package = Path(__file__).resolve().parent
    for folder in (package, package.parent):
        if (folder / "libmien_host.so").is_file():
            return str(folder / "libmien_host.so")
    raise ImportError(f"{package} has no libmien_host.so: install the package with pip, or set MIEN_HOST_LIBRARY "
                      "to the path of the library")


def _load() -> Functions:
    path = _find()
    try:
        functions = Functions(ctypes.CDLL(path))
    except (OSError, AttributeError) as fault:
        raise ImportError(f"{path} is not a library that this version of the package can use: {fault}") from fault
    if functions.host_version() < INTERFACE_VERSION:
        raise ImportError(f"{path} is older than this package: install both from the same version of mien")
    return functions


lib = _load()
