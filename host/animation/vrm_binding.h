#pragma once

#include "host/animation/eye_angles.h"
#include "host/animation/weight_finder.h"
#include "host/gltf/vrm.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// What an animation does to a VRM avatar, by the avatar's own tables.
class VrmBinding {
public:
  /// A weight drives the expression of its name, in any letter case, or with the same meaning of the 52
  /// (host/character/arkit_names.h). `blink` shows the mean of `blinkLeft` and `blinkRight` on an avatar that
  /// has neither. With `has_eyes`, lookUp and the like follow the eyes on an avatar that looks by expressions,
  /// and nothing on one that looks by bones.
  ///
  /// An expression that moves no morph target is not driven.
  VrmBinding(VrmAvatar avatar, const WeightFinder& weights, bool has_eyes);

  const VrmAvatar& Avatar() const { return avatar_; }

  bool IsDriven(std::size_t expression) const { return sources_[expression].kind != Kind::None; }

  /// The weights that drive an expression.
  const std::vector<std::size_t>& WeightsOf(std::size_t expression) const {
    return sources_[expression].weights;
  }

  /// How much each expression shows in a frame (size: expressions): between 0 and 1, after those that override
  /// others. `weights` are the animation's; `eyes` null where it has none.
  std::vector<double> Solve(std::span<const double> weights, const Eyes* eyes) const;

  /// How the avatar's eye bones turn to look so: within its ranges.
  Eyes TurnOf(const Eyes& eyes) const;

private:
  enum class Kind { None, Weights, Look };
  struct Source {
    Kind kind = Kind::None;
    std::vector<std::size_t> weights = {}; // it is their mean
  };

  Source SourceOf(const VrmExpression& expression, const WeightFinder& weights, bool has_eyes) const;
  double LookOf(const std::string& expression, const Eyes& eyes) const;
  bool Has(std::string_view expression) const;

  VrmAvatar avatar_;
  std::vector<Source> sources_; // (size: expressions)
};

} // namespace mien
