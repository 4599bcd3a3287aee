#pragma once

#include "host/formats/csv.h"
#include "host/formats/csv_names.h"
#include "host/takes/frame_rate.h"
#include "host/takes/frame_times.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace mien {

/// Where a table has its frames.
struct FrameColumns {
  std::optional<std::size_t> number; ///< without it the rows are numbered from 1
  std::optional<std::size_t> time;   ///< without it times follow from a rate
  double units_per_second = 1;       ///< of the times
};

/// Whether a column is named as one of frame numbers: "frame", "Frame#", "frame_num", "Frame number".
bool NamesFrames(std::string_view column);

/// The units per second of a column that is named as one of times: 1 for "time", "timestamp", "time_s", "Time (s)", 1000 for
/// "time_ms", "timestamp_ms". Nothing for any other.
std::optional<double> UnitsPerSecond(std::string_view column);

/// The same as a remark for CorrectedNames.
std::string_view UnitRemark(double units_per_second);

/// Among any columns. `time` is how that column is meant to be called. Of several columns with times, the one of that name,
/// or else the first in seconds.
FrameColumns FindFrameColumns(const CsvReader& csv, std::string_view time, CorrectedNames& corrected);

/// The frames of a CSV table, read row by row: they give a take its frames and, by their times, its rate (frame_times.h).
/// What is wrong in them throws InputError with its line and column.
class CsvFrames {
public:
  /// `input_rate` is what the user names for a table without times. Throws InputError where the table has some.
  CsvFrames(const CsvReader& csv, const FrameColumns& columns, const std::optional<FrameRate>& input_rate);

  /// Appends the current row's frame to the take, as it stands there, and returns its index.
  std::size_t AddFrame(CsvReader& csv, Take& take);

  /// For a row that could not be read: leaves it out if the file ends in it (CsvReader::LeaveOutIfCut).
  bool LeaveOutIfCut(CsvReader& csv, Take& take);

  /// After the last row: puts the frames in the order of their times, or without times of their numbers, and sets the rate.
  /// Rows that were not in order, and numbers that are all the same, are noted. Answers where each frame stood before
  /// (size: frames); empty where all stay.
  std::vector<std::size_t> Finish(const CsvReader& csv, Take& take, double fastest_hz = kFastestMarkersHz);

  /// The line of each frame's row (size: frames).
  const std::vector<std::size_t>& Lines() const { return lines_; }

private:
  bool IsInOrder(const Take& take, std::size_t before, std::size_t after) const;
  std::vector<std::size_t> Sort(Take& take);
  void CheckOrder(const CsvReader& csv, const Take& take) const;

  FrameColumns columns_;
  std::optional<FrameRate> input_rate_;
  std::vector<std::size_t> lines_;
  bool counted_ = false; // the rows are, since their numbers do not tell them apart
  int decimals_ = 0;     // most that a time was written with
};

} // namespace mien
