#pragma once

#include "host/c_interface/mien_host.h"
#include "host/live/live_output.h"

#include <array>
#include <cstdint>

namespace mien {

/// What came out for a frame, kept for a caller. Its arrays stay in place as long as their sizes are the
/// same.
struct FrameResult {
  LiveOutput output;
  Eyes eyes;                           ///< NaN where the source never shows them
  std::array<std::uint8_t, 2> known{}; ///< the head, the eyes

  /// Allocates nothing for sizes that it has had.
  void TakeOver(const LiveOutput& from);

  /// Throws a UsageError if there is no such array.
  mien_array Array(mien_frame_array which) const;
};

} // namespace mien
