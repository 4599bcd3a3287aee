#pragma once

#include "host/animation/animation_writer.h"

#include <fmt/format.h>

#include <ostream>

namespace mien {

/// What the CSV writers have in common: a row is made in a buffer and written whole. The buffer is used again for the next
/// row, so that a frame allocates nothing once a row was as long as its own.
class CsvAnimationWriter : public AnimationWriter {
public:
  /// Writes out what the stream still holds back.
  void End() override;

protected:
  /// `out` must outlive this.
  explicit CsvAnimationWriter(std::ostream& out) : out_(out) {}

  /// Where the row in the making goes on.
  fmt::appender Row() { return fmt::appender(row_); }

  void EndRow();

private:
  std::ostream& out_;
  fmt::memory_buffer row_;
};

} // namespace mien
