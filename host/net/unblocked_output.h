#pragma once

#include "host/net/event_loop.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace mien {

/// Writes lines to a descriptor, such as standard output, and never makes the loop wait: what a slow reader
/// does not take is kept up to a limit, beyond which whole lines are dropped and counted.
class UnblockedOutput {
public:
  static constexpr std::size_t kMostKept = std::size_t{1} << 20; ///< bytes

  /// The descriptor stays open, and both it and the loop must outlive this and the loop's runs.
  UnblockedOutput(EventLoop& loop, int descriptor);
  UnblockedOutput(const UnblockedOutput&) = delete;
  UnblockedOutput& operator=(const UnblockedOutput&) = delete;

  /// `line` includes its line end.
  void Write(std::string_view line);

  bool IsBusy() const { return kept_.size() > kMostKept / 4; } ///< a sender that can wait should
  std::uint64_t Dropped() const { return dropped_; }

  /// The number of the error after which nothing is written; 0 if there was none.
  int Error() const { return error_; }

  /// Writes what is kept. A reader that takes nothing for a second gets no more: the lines that are left, the
  /// first of them perhaps written in part, count as dropped.
  void Finish();

private:
  void WriteSome();

  const int descriptor_;
  std::string kept_;
  std::size_t written_ = 0; // of it
  std::uint64_t dropped_ = 0;
  int error_ = 0;
};

} // namespace mien
