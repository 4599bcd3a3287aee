#pragma once

#include "host/animation/animation.h"
#include "host/animation/weight_csv.h"
#include "host/base/error.h"
#include "host/files/row_file.h"
#include "host/live/live_input.h"
#include "host/live/live_output.h"
#include "host/takes/take.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <sstream>
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
///
/// If a row cannot be written, such as on a full disk, all files end with their last whole row, and nothing
/// more is written.
class LiveRecording {
public:
  /// Throws InputError if one of the files exists.
  static void CheckFree(const std::string& place);

  /// Starts the recording. `learned_from` may be null. Throws InputError if a file exists or cannot be
  /// written, and for names that a table cannot hold; then it leaves no file.
  LiveRecording(const std::string& place, const LiveSource& source, const AnimationLayout& layout,
                const Take* learned_from);

  /// What the solve got; `usable` are the markers that it could use.
  void In(const LiveInput& input, std::int64_t frame, double time_s);
  void Out(const LiveOutput& output);

  /// At the time of a frame. The label is cut after 200 bytes; control characters become spaces.
  void Event(double time_s, std::string_view label);

  const std::string& Place() const { return place_; }

  /// Which file cannot be written, and why; empty while all is well.
  const std::optional<Problem>& Fault() const { return fault_; }

private:
  void Begin(double time_s);
  void WriteRow();
  void WriteWeights(const LiveInput& input);
  void Append(RowFile& file, std::string_view rows);

  std::string place_;
  LiveSource source_;
  AnimationLayout layout_; // its timecode is of the first frame that is recorded
  std::optional<RowFile> in_, out_, events_;
  std::ostringstream out_rows_; // that writer_ has written, and out_ has not
  std::optional<WeightCsvWriter> writer_;
  fmt::memory_buffer row_;
  std::optional<double> first_time_s_;
  double fraction_ = 0; // of a count, that the timecode leaves out
  std::optional<Problem> fault_;
};

} // namespace mien
