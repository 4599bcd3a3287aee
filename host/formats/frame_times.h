#pragma once

#include "host/formats/csv.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>

namespace mien {

/// Turns the frame and time columns of a table into a take's frames and, from these, its rate.
class FrameTimes {
public:
  /// Without a frame column the rows are numbered from 1. Times are seconds.
  FrameTimes(std::optional<std::size_t> frame_column, std::size_t time_column)
      : frame_column_(frame_column), time_column_(time_column) {}

  /// Appends the row's frame to the take and returns its index. Numbers and times must rise.
  std::size_t AddFrame(CsvReader& row, Take& take);

  /// After the last row: sets the take's rate, and notes what is missing. Throws InputError when there is no
  /// frame or the times give no rate.
  ///
  /// The rate is frames over seconds from the first frame to the last, jumps in time left out. Where the
  /// decimals that the times were written with leave room for it, it is made a usual rate, a whole one, or an
  /// NTSC one (k * 1000/1001).
  void Finish(const CsvReader& table, Take& take) const;

private:
  std::optional<std::size_t> frame_column_;
  std::size_t time_column_;
  int decimals_ = 0; // most that a time was written with
};

} // namespace mien
