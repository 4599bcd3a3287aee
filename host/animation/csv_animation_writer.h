#pragma once

#include "host/animation/animation_writer.h"

#include <fmt/format.h>

#include <cstddef>
#include <ostream>

namespace mien {

/// The common part of the CSV writers: a row is built in a buffer and written at once. The buffer is reused,
/// so that a frame allocates nothing if an earlier row was at least as long.
class CsvAnimationWriter : public AnimationWriter {
public:
  /// A row, or several that follow each other.
  using Rows = fmt::memory_buffer;

  void Frame(const AnimationFrame& frame) override;

  /// All frames of an animation that has the layout, whose rows several threads build at the same time.
  void Frames(const Animation& animation, std::size_t threads);

  /// Flushes the stream.
  void End() override;

protected:
  /// `out` must outlive this.
  explicit CsvAnimationWriter(std::ostream& out) : out_(out) {}

  /// Called before the row of the first frame is built.
  virtual void Begin(const AnimationFrame& first) = 0;

  /// Appends a frame's row, without the end of the line. Any number of threads call it at the same time.
  virtual void AppendRow(Rows& rows, const AnimationFrame& frame) const = 0;

  void WriteHeader(const Rows& row);

  /// Appends a comma and WriteNumber's text.
  static void AppendNumber(Rows& rows, double number);

  /// Appends a comma and WriteTenDecimals's text.
  static void AppendTenDecimals(Rows& rows, double number);

private:
  void Write(const Rows& rows);

  std::ostream& out_;
  Rows row_;
  bool has_begun_ = false;
};

/// As Write of any writer, with the rows built by several threads. Their bytes are the same.
void Write(const Animation& animation, CsvAnimationWriter& writer, std::size_t threads);

} // namespace mien
