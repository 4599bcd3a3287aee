#pragma once

// Poses of the face for the tests of its solves, built coordinate by coordinate, without the
// operations that the solves themselves use.

#include "mien/face/face.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tests {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

inline constexpr int kMouth = 0, kLeftBrow = 1, kRightBrow = 2, kLeftEye = 3, kRightEye = 4, kLeftCheek = 5,
                     kRightCheek = 6, kLeftNostril = 7, kRightNostril = 8;

inline void SetXyz(VgeTVector& point, double x, double y, double z) { point.x = x, point.y = y, point.z = z; }

inline VFacePartState PartPose(const VgeTVector (&points)[7]) {
  VFacePartState pose;
  for (int slot = 0; slot < 7; ++slot) pose.mPoints[slot] = points[slot];
  return pose;
}

inline VFaceState RestPose(const VFace& face) {
  VFaceState pose;
  for (int part = 0; part < 9; ++part) pose.mParts[part] = PartPose(face.mParts[part].mDefaultPoints);
  return pose;
}

/// Adds weight * (template - rest) to the part of `pose`.
inline void Engage(VFaceState& pose, const VFace& face, int part, int template_index, double weight) {
  const VFacePart& definition = face.mParts[part];
  for (int slot = 0; slot < 7; ++slot) {
    const VgeTVector& target = definition.mTemplates[template_index]->mPoints[slot];
    const VgeTVector& rest = definition.mDefaultPoints[slot];
    VgeTVector& point = pose.mParts[part].mPoints[slot];
    point.x += weight * (target.x - rest.x);
    point.y += weight * (target.y - rest.y);
    point.z += weight * (target.z - rest.z);
  }
}

/// Removes the part's templates; with `keep_storage` the list keeps its storage.
inline void RemoveTemplates(VFacePart& part, bool keep_storage) {
  for (int i = 0; i < part.mTemplates.GetCount(); ++i) delete part.mTemplates[i];
  keep_storage ? part.mTemplates.Empty() : part.mTemplates.Clear();
}

/// Random coordinates and poses.
class Numbers : public Random {
public:
  using Random::Random;

  VgeTVector Point(double range) {
    const double x = Between(-range, range), y = Between(-range, range), z = Between(-range, range);
    return {x, y, z, 1};
  }
  VFacePartState PartPose(double range) {
    VFacePartState pose;
    for (VgeTVector& point : pose.mPoints) point = Point(range);
    return pose;
  }
  /// The rest pose of `face` with every coordinate moved by up to `range`.
  VFaceState PoseAround(const VFace& face, double range) {
    VFaceState pose = RestPose(face);
    for (VFacePartState& part : pose.mParts)
      for (VgeTVector& point : part.mPoints) {
        const VgeTVector offset = Point(range);
        SetXyz(point, point.x + offset.x, point.y + offset.y, point.z + offset.z);
      }
    return pose;
  }
};

/// x, y and z of all seven slots, by value.
inline testing::AssertionResult SamePoints(const VFacePartState& actual, const VFacePartState& expected,
                                           double tolerance = 0) {
  for (int slot = 0; slot < 7; ++slot) {
    const VgeTVector &a = actual.mPoints[slot], &e = expected.mPoints[slot];
    const bool same = std::abs(a.x - e.x) <= tolerance && std::abs(a.y - e.y) <= tolerance &&
                      std::abs(a.z - e.z) <= tolerance;
    if (!same)
      return testing::AssertionFailure() << "slot " << slot << ": (" << a.x << ", " << a.y << ", " << a.z
                                         << ") instead of (" << e.x << ", " << e.y << ", " << e.z << ")";
  }
  return testing::AssertionSuccess();
}

inline testing::AssertionResult SamePoints(const VFaceState& actual, const VFaceState& expected,
                                           double tolerance = 0) {
  for (int part = 0; part < 9; ++part) {
    const testing::AssertionResult same = SamePoints(actual.mParts[part], expected.mParts[part], tolerance);
    if (!same) return testing::AssertionFailure() << "part " << part << ", " << same.message();
  }
  return testing::AssertionSuccess();
}

/// A head frame that no operation writes by accident.
inline VgeAMatrix UnusualFrame() {
  VgeAMatrix frame;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row) frame.m[column][row] = 100 * column + 10 * row + 0.5;
  return frame;
}

inline void FillWeights(VFaceTemplateState& state, double weight) {
  for (VFacePartTemplateState& part : state.mParts)
    for (double& w : part.mWeights) w = weight;
}

} // namespace tests
