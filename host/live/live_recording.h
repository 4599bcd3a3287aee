#pragma once

#include "host/animation/animation.h"
#include "host/animation/weight_csv.h"
#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/takes/take.h"

#include <fmt/format.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Writes what comes in of a face and what goes out, frame by frame, beside each other:
///
/// - PLACE.csv: what came in, as marker CSV, or as a table of weights and angles
/// - PLACE.out.csv: what went out, as `mien solve` writes it: the shapes, or without a character the
///   templates
/// - PLACE.neutral.csv: the frames that the neutral face was learned from, if it was from the stream
/// - PLACE.events.csv: `time,event`, once there is one
///
/// Each row is in the hands of the system before the next frame: what ends the process leaves files that can
/// be read, the last row at most cut short. Numbers have the fewest digits that read back to the same
/// doubles, so that solving PLACE.csv causally, with the same settings, gives PLACE.out.csv byte by byte.
class LiveRecording {
public:
  /// Begins it. `learned_from` may be null. Throws InputError where a file exists already or cannot be
  /// written, and for names that a table cannot hold.
  LiveRecording(const std::string& place, const LiveSource& source, const AnimationLayout& layout,
                const Take* learned_from);

  /// What the solve got; `usable` are the markers that it could use.
  void In(const LiveInput& input, std::int64_t frame, double time_s);
  void Out(const LiveOutput& output);

  /// At the time of a frame.
  void Event(double time_s, std::string_view label);

  const std::string& Place() const { return place_; }

  /// Whether all was written. False once the disk is full or a file is gone; nothing is written from then on.
  bool IsWhole() const { return whole_; }

private:
  void Begin(double time_s);
  void WriteRow();
  void WriteWeights(const LiveInput& input);
  static std::ofstream Create(const std::string& path);

  std::string place_;
  LiveSource source_;
  AnimationLayout layout_; // its timecode is of the first frame that is recorded
  std::ofstream in_, out_;
  std::optional<std::ofstream> events_;
  std::optional<WeightCsvWriter> writer_;
  fmt::memory_buffer row_;
  std::optional<double> first_time_s_;
  double fraction_ = 0; // of a count, that the timecode leaves out
  bool whole_ = true;
};

} // namespace mien
