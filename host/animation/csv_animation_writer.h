#pragma once

#include "host/animation/animation_writer.h"

#include <fmt/format.h>

#include <ostream>

namespace mien {

/// The common part of the CSV writers: a row is built in a buffer and written at once. The buffer is reused,
/// so that a frame allocates nothing if an earlier row was at least as long.
class CsvAnimationWriter : public AnimationWriter {
public:
  /// Flushes the stream.
  void End() override;

protected:
  /// `out` must outlive this.
  explicit CsvAnimationWriter(std::ostream& out) : out_(out) {}

  /// Appends to the current row.
  fmt::appender Row() { return fmt::appender(row_); }

  /// Appends a comma and WriteNumber's text.
  void AppendNumber(double number);

  /// Appends a comma and WriteTenDecimals's text.
  void AppendTenDecimals(double number);

  void EndRow();

private:
  std::ostream& out_;
  fmt::memory_buffer row_;
};

} // namespace mien
