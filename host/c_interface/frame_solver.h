#pragma once

#include "host/animation/animation.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/layout_names.h"
#include "host/character/character.h"
#include "host/solve/frame_solver.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

/// Solves one frame after another, as they arrive.
struct mien_frame_solver : mien::Handle<mien_frame_solver> {
  static constexpr const char* kKind = "mien_frame_solver";
  static constexpr std::uint64_t kWord = 0x6d69656e'6672616d;

  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

  mien_frame_solver(std::unique_ptr<mien::FrameSolver> made, const mien::Performer& performer,
                    const mien::Character* character);

  const mien::AnimationLayout layout; ///< names
  const mien::LayoutNames names;
  std::vector<std::string> markers; ///< of the head and of the face, each once

  // Of the last frame, always in the same places.
  std::vector<double> weights, shape_weights;
  VgeAMatrix head, head_motion;
  mien::Eyes eyes = {{{kNaN, kNaN}, {kNaN, kNaN}}};
  std::array<double, 9> residuals_mm = {};
  std::array<std::uint8_t, 2> known = {}; ///< the head, the eyes
  std::vector<mien::ClusterTransform> local_clusters, global_clusters;
  double time = -std::numeric_limits<double>::infinity();

  /// `places` are consecutive coordinates (size: markers x 3). Allocates nothing.
  void Solve(const double* places);

private:
  void TakeOver(const mien::SolvedFrame& frame);

  std::unique_ptr<mien::FrameSolver> solver_;
  std::vector<std::size_t> shapes_of_parts_;             // of the character, how many each part has
  std::vector<std::size_t> head_markers_, face_markers_; // indices in `markers`
  mien::FrameMarkers seen_;
};
