#pragma once

#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// When a tracker's result was, by the members of its JSON object.
struct ResultMoment {
  std::optional<double> number, time;
  std::string time_key; ///< the key of `time`, which may name its unit
  int decimals = 0;     ///< that `time` was written with

  /// Reads a member if its key is one of frames or times (csv_frames.h) and the first such. `text` is the
  /// number as written, if it may have decimals.
  void Read(const std::string& key, double value, std::string_view text);
};

/// Sets the frames, times and rate of a take with a frame for each moment, and sorts it by time, or without
/// times by number. `timestamp` and `time` without a unit are milliseconds if they rise by more than 5 a
/// frame. `input_rate` is for results without times. Returns the place of each frame before (size: frames);
/// empty where the order did not change. Throws InputError for times that cannot be used.
std::vector<std::size_t> SetResultTimes(Take& take, const std::vector<ResultMoment>& moments,
                                        const std::optional<FrameRate>& input_rate, const std::string& file);

} // namespace mien
