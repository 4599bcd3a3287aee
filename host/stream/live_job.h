#pragma once

#include "host/base/error.h"
#include "host/formats/read_take.h"
#include "host/jobs/causal_job.h"
#include "host/solve/character_solver.h"
#include "host/solve/solve_options.h"
#include "host/stream/stream_address.h"
#include "host/takes/frame_range.h"
#include "host/takes/frame_rate.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// Live faces from sources to sinks, as the command line describes them.
struct LiveJob {
  std::vector<StreamSource> sources; ///< at least one
  std::vector<StreamSink> sinks;
  std::string listen = "127.0.0.1"; ///< the address of this machine to listen on

  /// Files, or names of built-in ones, for faces with markers. The first is used until SwitchPerformer
  /// selects another. Empty: landmarks68 or landmarks478, by the names of the markers.
  std::vector<std::string> performers;
  std::string character;        ///< likewise. Empty: arkit52 for markers, if a sink needs shapes
  std::string map = "arkit52";  ///< from weights to templates, where there is a character
  std::string ranges;           ///< of weights; may be empty
  bool performer_ranges = true; ///< apply those of a calibrated performer
  bool swap_sides = false;      ///< of weights
  ExpressionWeights expressions;

  CausalJob causal;
  ShapeSolver solver = ShapeSolver::Parts;
  HeadFit head_fit = HeadFit::Take;
  std::optional<FrameRange> neutral; ///< of the take causal.neutral_take
  std::optional<FrameRate> output_rate;
  ReadOptions reading; ///< of replayed files; its mesh options are for landmarks in lines too

  std::optional<std::uint16_t> control_port; ///< for OSC; empty: none
  std::optional<double> for_s;               ///< after which it stops; empty: when the sources end
};

} // namespace mien
