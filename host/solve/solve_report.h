#pragma once

#include "host/base/long_vector.h"
#include "host/cleaning/fill_gaps.h"
#include "host/cleaning/slipped_markers.h"
#include "host/performer/calibration.h"
#include "host/solve/fit_report.h"
#include "host/solve/gaze_report.h"
#include "host/solve/neutral_doubts.h"
#include "host/solve/quality.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// What was done to a take on its way to template weights, and how well these reproduce what was seen.
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

  /// A marker that the head's motion is found from, and its standard deviation from its place, per axis.
  struct RigidMarker {
    std::string marker;
    double spread_mm = 0;
  };
  /// A part that is measured against its own rigid neighbours; see LocalAnchors.
  struct AnchoredPart {
    std::size_t part = 0;
    std::vector<std::string> anchors;
    std::array<double, 3> gain = {};
  };

  /// One frame's quality.
  struct FrameQuality {
    /// Of each part; NaN where it rests: all its markers are gaps that were not filled, or it has none.
    std::array<double, 9> residual_mm = {};
    std::size_t filled_markers = 0; ///< of the face, whose positions FillGaps made up
    bool head_known = false;        ///< the markers determine the head
  };

  std::size_t frames = 0;
  LongVector<FrameQuality> per_frame; ///< (size: frames with SolveOptions::keep_frames, else 0)
  std::vector<RigidMarker> rigid;     ///< empty where the head markers alone determine the head's motion
  double head_calmed = 0;             ///< see CalmMotion
  std::vector<AnchoredPart> anchored;
  std::vector<NeutralDoubt> neutral_doubts;
  std::vector<Range> ranges; ///< that were applied to the weights
  bool head_motion_removed = true;
  std::size_t frames_without_head = 0;
  std::vector<std::string> left_out; ///< markers missing from the neutral pose
  SlippedMarkers slipped;
  std::vector<FilledMarker> head_fills, face_fills; ///< of every marker that is used
  std::array<Part, 9> parts;
  std::vector<Frame>
      worst_frames; ///< the largest residuals of any part, half a second apart, the worst first; at most ten
  Quality quality;
  GazeReport gaze;
  FitReport fit;

  std::vector<std::string> RestingParts() const; ///< without markers
};

} // namespace mien
