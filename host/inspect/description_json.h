#pragma once

#include "host/base/json_text.h"
#include "host/inspect/describe.h"

#include <string>
#include <vector>

namespace mien {

/// As JSON for programs, without a line feed at the end. Numbers are not rounded, "..._s" are seconds,
/// "..._mm" millimetres, frames are the file's numbers, points and directions [x, y, z]. What a take lacks is
/// null or an empty list; a number that is not finite is null.
///
///     {
///       "format": "mien take description 1",
///       "file": "takes/smile.c3d",
///       "name": "smile",
///       "source": { "format": "C3D", "flavour": "Intel, float", "unit": "mm" },
///       "frames": { "count": 3000, "first": 1, "last": 3001, "missing": 1, "empty": 0 },
///       "rate": { "text": "30000/1001", "numerator": 30000, "denominator": 1001, "hz": 29.97002997002997 },
///       "start_s": 0, "duration_s": 100.1,
///       "timecode": { "first": "10:02:59:29", "last": "10:04:39:29", "rate": "30", "drop": false },
///       "extents_mm": { "low": [x, y, z], "high": [x, y, z] },
///       "axes": "guess: +z up, since ...",
///       "face": { "left": [1, 0, 0], "up": [0, 0, 1], "forward": [0, -1, 0] },      null without a performer
///       "events": [{ "time_s": 1.5, "label": "clap" }],
///       "markers": [
///         {
///           "name": "chin",
///           "gaps": 42,                                      frames in all of them
///           "gap_runs": [[57, 60], [301, 338]],              first and last frame of each
///           "longest_gap": { "frames": 38, "first": 301, "last": 338, "duration_s": 0.38 },
///           "computed": 12, "filled": 0,                     positions
///           "residual_mm": 0.31,                             mean
///           "extents_mm": { "low": [x, y, z], "high": [x, y, z] }
///         }
///       ],
///       "like_names": [["Cheek_up", "Cheek_Up"]],
///       "notes": ["frames missing: 1 after frame 57"]
///     }
std::string ToJson(const TakeDescription& description);

/// The members of that object, for a document with more.
std::vector<JsonMember> MembersOf(const TakeDescription& description);

} // namespace mien
