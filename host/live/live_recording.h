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

/// Writes the input and the output of a face, frame by frame:
///
/// - PLACE.csv: the input, as marker CSV, or as a table of weights and angles
/// - PLACE.out.csv: the output, as `mien solve` writes it: the shapes, or without a character the
///   templates
/// - PLACE.neutral.csv: the frames that the neutral face was learned from, if it was from the stream
/// - PLACE.events.csv: `time,event`, once there is one
///
/// Each row is handed to the operating system before the next frame. If the process is killed, the files are
/// readable; only the last row may be incomplete. Numbers have the fewest digits that read back as the same
/// doubles, so a causal solve of PLACE.csv with the same settings reproduces PLACE.out.csv byte for byte.
class LiveRecording {
public:
  /// Starts the recording. `learned_from` may be null. Throws InputError if a file exists or cannot be
  /// written, and for names that a table cannot hold.
  LiveRecording(const std::string& place, const LiveSource& source, const AnimationLayout& layout,
                const Take* learned_from);

  /// What the solve got; `usable` are the markers that it could use.
  void In(const LiveInput& input, std::int64_t frame, double time_s);
  void Out(const LiveOutput& output);

  /// At the time of a frame.
  void Event(double time_s, std::string_view label);

  const std::string& Place() const { return place_; }

  /// Whether everything was written. After a failure, such as a full disk, nothing more is written.
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
