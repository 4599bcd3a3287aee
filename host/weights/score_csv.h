#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A table with a row per frame and a column per weight: scores of web-camera trackers
/// (`frame,timestamp_ms,_neutral,browDownLeft,...`), and what `mien solve` writes (`frame,time,timecode,...`).
/// Frames and times as in csv_frames.h. A cell without a number is missing.
///
/// In a table that begins with `frame,time` every other column is a weight; in others only those of the 52
/// and angles of head and eyes.
bool IsScoreCsv(const std::vector<std::string_view>& columns);

/// `input_rate` is for a table without times. Throws InputError.
WeightTake ReadScoreCsv(std::string_view bytes, const std::string& file,
                        const std::optional<FrameRate>& input_rate = std::nullopt);

} // namespace mien
