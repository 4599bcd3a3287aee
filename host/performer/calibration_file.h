#pragma once

#include "host/base/json_file.h"
#include "host/base/json_text.h"
#include "host/performer/performer.h"

#include <vector>

namespace mien {

// "ranges" and "calibration" of a performer file:
//
//     "ranges": {
//       "LeftEye.Close": { "low": 0.004, "high": 0.38, "seen": 11, "trusted": true, "why": "11 blinks" },
//       ...
//     },
//     "calibration": {
//       "takes": [{ "name": "ada.csv", "sha256": "..." }],
//       "landmarks": 68,                                       0 for other markers
//       "settings": { "head_fit": "take", "brows": "fit" },
//       "poses": [{ "pose": "jaw-open", "frames": [120, 150], "points": { "lm8": [x, y, z], ... } }]
//     }
//
// Of a range only "low" and "high" are required: a range without "trusted" is trusted.

/// Reads both members of the root where they are there. Mistakes are collected in the file.
void ReadCalibration(JsonFile& file, Performer& performer);

/// The two members, none for a performer without ranges and a record.
std::vector<JsonMember> CalibrationMembers(const Performer& performer);

} // namespace mien
