#pragma once

#include "host/base/json_file.h"
#include "host/base/json_text.h"
#include "host/base/point.h"
#include "host/takes/frame_range.h"

#include <map>
#include <optional>
#include <string>

namespace mien {

// Frames and positions as a performer file has them. Mistakes are collected in the file.

/// [FROM, TO]; nothing if it is something else.
std::optional<FrameRange> ReadFrameRange(JsonFile& file, const JsonFile::Pointer& place,
                                         const JsonFile::Json& frames);

/// { "NAME": [x, y, z], ... }, without those that are not positions.
std::map<std::string, Point> ReadPositions(JsonFile& file, const JsonFile::Pointer& place,
                                           const JsonFile::Json& positions);

/// A line for each position.
JsonValue PositionsAsJson(const std::map<std::string, Point>& positions);

} // namespace mien
