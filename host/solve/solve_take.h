#pragma once

#include "host/animation/animation.h"
#include "host/cleaning/fill_gaps.h"
#include "host/cleaning/slipped_markers.h"
#include "host/performer/performer.h"
#include "host/solve/solve_options.h"
#include "host/takes/take.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mien {

/// What was done to a take on its way to template weights, and how well these tell what was seen.
struct SolveReport {
  struct Part {
    std::string name;
    std::size_t markers = 0;        ///< that drive it; 0: it stays at rest
    std::size_t rest_frames = 0;    ///< in which all of them are gaps that were not filled
    std::size_t partial_frames = 0; ///< in which some of them are
    double rms_mm = 0; ///< residual over the frames in which it does not rest; see FaceSolver::Frame
    double worst_mm = 0;
    std::size_t worst_frame = 0; ///< index of the frame with it
  };
  struct Frame {
    std::size_t frame = 0; ///< index
    std::size_t part = 0;
    double residual_mm = 0;
  };

  std::size_t frames = 0;
  bool head_motion_removed = true;
  std::size_t frames_without_head = 0;
  std::vector<std::string> left_out; ///< markers that the neutral pose lacks
  SlippedMarkers slipped;
  std::vector<FilledMarker> head_fills, face_fills; ///< of every marker that is used
  std::array<Part, 9> parts;
  std::vector<Frame>
      worst_frames; ///< the largest residuals of any part, half a second apart, the worst first; at most ten

  std::vector<std::string> RestingParts() const; ///< without markers
};

struct SolvedTake {
  Animation animation;
  SolveReport report;
};

/// Solves every frame of a take:
///
/// 1. Head markers that have slipped are taken out, the gaps of the others filled, and the head found in every frame.
/// 2. The face's markers are brought into the head's frame, where their gaps are filled.
/// 3. They are smoothed, if asked for. (So are the head's, before 1 finds the head.)
/// 4. What stays empty is at rest, with a fade.
/// 5. Each frame is solved, and the weights smoothed if asked for.
///
/// The take must have the performer's markers (CheckMarkers). `progress(done, total)` is called before each frame and may
/// throw to break off.
SolvedTake SolveTake(const Take& take, const Performer& performer, const NeutralPose& neutral,
                     const SolveOptions& options = {},
                     const std::function<void(std::size_t done, std::size_t total)>& progress = nullptr);

} // namespace mien
