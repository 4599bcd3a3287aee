#pragma once

#include "host/cleaning/rigid_body.h"
#include "host/cleaning/rigid_fit_lanes.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace mien {

/// Fits a rigid body to many frames, several at once in the lanes of the processor's vectors. Each frame by
/// itself, with the bits that RigidFit::Solve gives. Frames can be divided among several of these, each on
/// its own thread.
class RigidFits {
public:
  /// Called once for each frame, in any order, with what RigidFit::Solve returns.
  using Found = std::function<void(std::size_t frame, const std::optional<VgeAMatrix>& motion)>;

  RigidFits(const RigidBody& body, Found found);

  /// `seen`: as for RigidFit::Solve; copied.
  void Add(std::size_t frame, const RigidBody::Points& seen);

  /// After the last Add: what is still missing is found.
  void Finish();

private:
  struct Batch {
    FitFrames lanes;
    std::vector<std::size_t> frames; // of the lanes from the first on
  };
  void FitFirst();
  void FitHard();
  void Hide(Batch& batch) const;

  FitBody body_;
  Found found_;
  FitOfWidth widest_;
  Batch first_; // most frames need a single round
  Batch hard_;  // those that need more wait here until there are as many as lanes
};

} // namespace mien
