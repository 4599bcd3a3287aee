#pragma once

/// @file
/// The arithmetic of RigidFit, for as many frames at once as the processor's vectors have lanes.

#include "host/cleaning/rigid_body.h"
#include "mien/base/geometry.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace mien {

/// A rigid body as the fit of a frame needs it: what does not change from frame to frame.
struct FitBody {
  struct PointOfBody {
    double x, y, z;       ///< 0 without a place
    double weight;        ///< 1 / spread²; 0 without a place
    double spread_square; ///< mm²
  };
  std::vector<PointOfBody> points;
  double noise_mm = 0;
};

FitBody FitBodyOf(const RigidBody& body);

/// Some frames of a body, one per lane, and room to work in. The sizes below are of `width` numbers each, one
/// per lane.
struct FitFrames {
  FitFrames(std::size_t points, std::size_t lanes)
      : width(lanes), seen(3 * points * lanes), weights(points * lanes), motions(12 * lanes), found(lanes),
        settled(lanes), squares(points * lanes) {
    counted.reserve(points);
  }

  std::size_t width;
  std::vector<double> seen;    ///< x, y and z of each point; 0 if it is hidden (size: 3 x points)
  std::vector<double> weights; ///< in: that of the body, or 0 if it is hidden; changed (size: points)

  std::vector<double> motions; ///< out: axes x, y, z and the translation, three numbers each (size: 12)
  std::vector<char> found;     ///< out: whether there is a motion (size: 1)
  std::vector<char> settled;   ///< out: whether more rounds would change nothing (size: 1)

  std::vector<double> squares; // of the points' distances (size: points)
  std::vector<double> counted; // those of one lane that count, in any order
};

/// Puts a frame of the body (size: points) into a lane.
void Show(const FitBody& body, const RigidBody::Points& seen, FitFrames& frames, std::size_t lane);

/// What was found in a lane.
std::optional<VgeAMatrix> MotionIn(const FitFrames& frames, std::size_t lane);

/// The most rounds of reweighting: more change the turn by less than a hundredth of a degree.
inline constexpr int kFitRounds = 6;

/// Finds the motion in each lane, with up to `rounds` of reweighting: see RigidFit. Allocates nothing.
using FitInLanes = void(const FitBody& body, FitFrames& frames, int rounds);

/// The form of one lane, which the others equal bit for bit.
FitInLanes FitInOneLane;

struct FitOfWidth {
  std::size_t width;
  FitInLanes* fit;
};

/// All forms that this processor can run, from one lane to its widest vectors.
std::span<const FitOfWidth> FitsInLanes();

} // namespace mien
