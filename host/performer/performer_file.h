#pragma once

#include "host/performer/performer.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A performer file:
///
///     {
///       "format": "mien performer 1",
///       "name": "Ada",
///       "head": ["lm28", "lm31", "lm35", "lm39", "lm42"],
///       "parts": {
///         "Mouth": { "LeftMouthHolder": ["lm54"], ... },
///         ...
///       },
///       "neutral": { "frames": [12, 40] }                  optional; or
///       "neutral": { "positions": { "lm54": [x, y, z], ... } }
///     }
///
/// A calibrated performer's file is a "mien performer 2", with "ranges" and "calibration"
/// (calibration_file.h) behind the rest.
///
/// Parts and holders carry the names of the default face; any of them may be left out. Throws InputError with
/// every mistake, each by its JSON pointer. `file` is the name for messages.
Performer ReadPerformer(std::string_view text, const std::string& file);

/// A built-in performer by its name or, failing that, the performer file of that path.
Performer LoadPerformer(const std::string& name_or_path);

/// The names that LoadPerformer knows without a file.
std::vector<std::string> BuiltInPerformers();

/// Writes version 1 for a performer without ranges and a calibration record.
void WritePerformer(const Performer& performer, std::ostream& out);

} // namespace mien
