#pragma once

#include "host/c_interface/frame_result.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/layout_names.h"
#include "host/live/live_face.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

/// Solves one frame after another, as they arrive: a live face with one source of markers.
struct mien_frame_solver : mien::Handle<mien_frame_solver> {
  static constexpr const char* kKind = "mien_frame_solver";
  static constexpr std::uint64_t kWord = 0x6d69656e'6672616d;

  /// `candidates` are the markers that there may be. The setup has a neutral face. Throws InputError as
  /// LiveFace does.
  mien_frame_solver(const std::vector<std::string>& candidates, const mien::LiveSetup& setup);

  mien::LiveFace face; ///< its layout does not change, since the neutral face is known
  const mien::LayoutNames names;
  std::vector<std::string> markers; ///< that it uses, in the order of the candidates

  mien::FrameResult result; ///< of the last frame, always in the same place
  double time = -std::numeric_limits<double>::infinity();

  /// `places` are consecutive coordinates (size: markers x 3). Allocates nothing once each set of visible
  /// head markers has occurred.
  void Solve(const double* places, double time_s);

private:
  std::vector<std::size_t> columns_; // of `markers` in the candidates
  mien::LiveInput input_;
  std::int64_t frame_ = 0;
  const std::function<void(const mien::LiveOutput&)> keep_; // made once: a frame allocates nothing
};
