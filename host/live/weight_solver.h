#pragma once

#include "host/live/causal_settings.h"
#include "host/live/live_input.h"
#include "host/live/live_moment.h"
#include "host/live/one_euro.h"
#include "host/live/presence.h"
#include "host/performer/calibration.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/weight_map.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// What is done to a source's weights.
struct WeightSolverSetup {
  std::vector<Range> ranges;      ///< by the names of the weights; those that are not trusted are not applied
  bool swap_sides = false;        ///< exchange left and right
  const WeightMap* map = nullptr; ///< from weights to templates; null: they keep their names
};

/// Makes templates, or shapes, of the weights of a stream, frame by frame, in the order of a retargeted
/// recording: the performer's ranges, sides, missing weights (Presence), smoothing, the eyes, the map. A
/// frame allocates nothing.
///
/// The eyes follow the source's angles, or its eight eyeLook shapes (if it has all of them) until the first
/// angles arrive.
class WeightSolver {
public:
  /// `names` are those of the stream's weights. Throws InputError where the map uses none of them.
  WeightSolver(const std::vector<std::string>& names, const WeightSolverSetup& setup,
               const CausalSettings& settings);

  /// Of the moment's values: the 52 in their usual spelling, others as they are. Empty where the templates
  /// are set instead.
  const std::vector<std::string>& ValueNames() const { return value_names_; }
  bool HasTemplates() const { return has_templates_; }

  /// Names that the map does not use.
  const std::vector<std::string>& Unused() const { return unused_; }

  /// Whether a frame has any weight.
  bool SeesFace(const LiveInput& input) const;

  /// Solves the next frame, `elapsed_s` after the one before. Sets everything of the moment but its time and
  /// the presence of the face. A weight that is NaN is missing; angles are finite.
  void Solve(const LiveInput& input, double elapsed_s, LiveMoment& moment);

  /// Forgets all frames before.
  void Restart();

private:
  struct KeptWeight {
    std::size_t column = 0; // in the stream
    Presence presence;
    double last = 0;
    std::optional<Range> range;
  };

  void TurnHead(const LiveInput& input, LiveMoment& moment);
  void TurnEyes(const LiveInput& input, double elapsed_s, LiveMoment& moment);

  bool swap_sides_, has_templates_ = false;
  std::vector<KeptWeight> kept_;
  std::vector<std::string> names_, value_names_, unused_;
  std::vector<double> weights_; // of the frame (size: names_)
  std::optional<MappedTemplates> map_;
  std::vector<std::size_t> direct_; // the template of each weight, where the source has templates
  std::optional<EyesOfShapes> eyes_of_shapes_;
  bool has_angles_ = false;
  Presence looking_;
  Eyes last_eyes_;
  VgeAMatrix head_;
  std::optional<OneEuroFilters> smooth_weights_, smooth_eyes_;
};

} // namespace mien
