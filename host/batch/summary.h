#pragma once

#include "host/base/json_text.h"
#include "host/batch/batch_line.h"
#include "host/batch/line_state.h"
#include "host/batch/run_line.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// How the lines of a batch ended, or how they are now.
struct BatchSummary {
  std::size_t lines = 0;
  std::size_t done = 0, failed = 0;
  std::size_t skipped = 0;                ///< of a run: done before
  std::size_t stale = 0, missing = 0;     ///< of what is now
  std::array<std::size_t, 4> grades = {}; ///< by Grade; of those that are done, now or before

  void Add(const LineEnd& end);
  void Add(const LineState& state);

  /// Lines that a run did not end: it was stopped.
  std::size_t Left() const { return lines - done - failed - skipped; }

  /// How many are graded so or worse.
  std::size_t GradedFrom(Grade grade) const;
};

/// "12 done, 1 failed, 3 skipped", without what there is none of; then the grades: "; 9 good, 6 fair".
std::string RunText(const BatchSummary& summary);   ///< of a run
std::string StateText(const BatchSummary& summary); ///< of what is now

JsonValue RunAsJson(const BatchSummary& summary);
JsonValue StateAsJson(const BatchSummary& summary);

/// An event: {"line", "take", "output", "state", "frames", "grade", "why", "errors"}, without what does not
/// apply.
JsonValue EventAsJson(const BatchLine& line, const LineEnd& end);
JsonValue EventAsJson(const BatchLine& line, const LineState& state);

} // namespace mien
