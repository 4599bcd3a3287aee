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

/// The columns of a table that say when its frames were.
struct FrameColumns {
  std::optional<std::size_t> number; ///< without it the rows are numbered from 1
  std::optional<std::size_t> time;   ///< without it times follow from a rate
  double units_per_second = 1;       ///< of the times
};

/// Whether a name is one for frame numbers: "frame", "Frame#", "frame_num", "Frame number".
bool NamesFrames(std::string_view column);

/// For a name of times their units per second: 1 for "time", "timestamp", "time_s", "Time (s)", 1000 for
/// "time_ms", "timestamp_ms". Nothing for any other name.
std::optional<double> UnitsPerSecond(std::string_view column);

/// The same as a remark for CorrectedNames.
std::string_view UnitRemark(double units_per_second);

/// Finds them among any columns. `time` is the regular name of that column. Of several columns with times it
/// takes the one of that name, or else the first in seconds.
FrameColumns FindFrameColumns(const CsvReader& csv, std::string_view time, CorrectedNames& corrected);

/// The frames of a CSV table, read row by row, and the rate that follows from their times (frame_times.h).
/// Throws InputError with line and column for numbers and times that cannot be used.
class CsvFrames {
public:
  /// `input_rate` is the user's rate for a table without times. Throws InputError where the table has times.
  CsvFrames(const CsvReader& csv, const FrameColumns& columns, const std::optional<FrameRate>& input_rate);

  /// Appends the current row's frame to the take and returns its index.
  std::size_t AddFrame(CsvReader& csv, Take& take);

  /// For a row that could not be read: leaves it out if the file ends in it (CsvReader::LeaveOutIfCut).
  bool LeaveOutIfCut(CsvReader& csv, Take& take);

  /// After the last row: sorts the frames by time, or without times by number, and sets the rate. Notes rows
  /// that were out of order and numbers that are all equal. Returns the place of each frame before (size:
  /// frames); empty where the order did not change.
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
  bool counted_ = false; // the rows are numbered here
  int decimals_ = 0;     // most that a time was written with
};

} // namespace mien
