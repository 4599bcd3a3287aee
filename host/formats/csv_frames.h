#pragma once

#include "host/formats/csv.h"
#include "host/takes/take.h"

#include <cstddef>
#include <optional>

namespace mien {

/// The frame and time columns of a CSV table, which give a take its frames and, by their times, its rate (frame_times.h).
/// What is wrong in them throws InputError with its line and column.
class CsvFrames {
public:
  /// Without a frame column the rows are numbered from 1. Times are seconds.
  CsvFrames(std::optional<std::size_t> frame_column, std::size_t time_column)
      : frame_column_(frame_column), time_column_(time_column) {}

  /// Appends the current row's frame to the take and returns its index.
  std::size_t AddFrame(CsvReader& csv, Take& take);

  /// After the last row.
  void SetRate(const CsvReader& csv, Take& take) const;

private:
  std::optional<std::size_t> frame_column_;
  std::size_t time_column_;
  int decimals_ = 0; // most that a time was written with
};

} // namespace mien
