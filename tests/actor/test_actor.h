#pragma once

// Performers for tests, and the geometry with which expected values are computed. None of it uses the
// library's own arithmetic.

#include "mien/actor/actor_face.h"
#include "mien/face/face.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

namespace actor_test {

enum Part { Mouth, LeftBrow, RightBrow, LeftEye, RightEye, LeftCheek, RightCheek, LeftNostril, RightNostril };

inline constexpr int part_count = 9;
inline constexpr int group_count = 5;
inline constexpr int point_count = 7;

/// An actor that owns its group entries: VActorFace owns only the markers.
class TestActor : public VActorFace {
public:
  using VActorFace::Method3FindBoundingBox;
  using VActorFace::SetupFindVolumesMethod1;
  using VActorFace::SetupFindVolumesMethod2;
  using VActorFace::SetupFindVolumesMethod3;
  using VActorFace::SetupGetDefaultVolumesTS;
  using VActorFace::SetupGetPartCenterXYZ;
  using VActorFace::SetupWeightNormalized;
  using VActorFace::SetupWeightUnnormalized;

  TestActor() = default;
  TestActor(const TestActor&) = delete;
  TestActor& operator=(const TestActor&) = delete;

  /// A new marker in the next free slot.
  VFaceMarker* AddMarker() {
    auto* const marker = new VFaceMarker;
    marker->mIndex = mMarkers.GetCount();
    mMarkers.Add(marker);
    return marker;
  }

  VActorFacePartMarker* Assign(VFaceMarker* marker, int part, int group) {
    entries_.push_back(std::make_unique<VActorFacePartMarker>());
    VActorFacePartMarker* const entry = entries_.back().get();
    entry->mMarker = marker;
    mParts[part].mGroups[group].Add(entry);
    return entry;
  }

  /// A new marker in a group of a part.
  VActorFacePartMarker* Place(int part, int group) { return Assign(AddMarker(), part, group); }

  /// The same, at a position of `set`.
  VActorFacePartMarker* Place(int part, int group, VFaceMarkerSetState& set, const VgeTVector& position) {
    VActorFacePartMarker* const entry = Place(part, group);
    set.mPositions[entry->mMarker->mIndex] = position;
    return entry;
  }

  VgeAMatrix& Volume(int part) { return mParts[part].mMarkerSet.mTransform; }

  /// The part's own copy of an entry's marker position.
  VgeTVector& Rest(int part, const VActorFacePartMarker* entry) {
    return mParts[part].mMarkerSet.mPositions[entry->mMarker->mIndex];
  }

private:
  std::vector<std::unique_ptr<VActorFacePartMarker>> entries_;
};

/// A part of the global face that can be changed, and is restored at the end of the test: rest points,
/// placement, scale and the names of the templates.
class ChangedGlobalPart {
public:
  explicit ChangedGlobalPart(int part) : part_(GetGlobalFace()->mParts[part]) {
    for (int j = 0; j < point_count; ++j) points_[j] = part_.mDefaultPoints[j];
    for (int t = 0; t < part_.mTemplates.GetCount(); ++t) names_.push_back(part_.mTemplates[t]->mName);
  }
  ~ChangedGlobalPart() {
    for (int j = 0; j < point_count; ++j) part_.mDefaultPoints[j] = points_[j];
    part_.mCenter = center_;
    part_.mScale = scale_;
    for (int t = 0; t < part_.mTemplates.GetCount(); ++t)
      part_.mTemplates[t]->mName = names_[static_cast<std::size_t>(t)];
  }
  ChangedGlobalPart(const ChangedGlobalPart&) = delete;
  ChangedGlobalPart& operator=(const ChangedGlobalPart&) = delete;

  VFacePart* operator->() const { return &part_; }

  /// Renames the part's template of this name.
  void HideTemplate(const char* name) { part_.mTemplates[part_.TemplateIndexByName(name)]->mName = "hidden"; }

private:
  VFacePart& part_;
  VgeTVector points_[point_count];
  VgeTVector center_ = part_.mCenter;
  VgeSVector scale_ = part_.mScale;
  std::vector<const char*> names_;
};

/// The same numbers with every compiler and standard library, which the standard's distributions do not
/// guarantee.
class Random {
public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  double Between(double low, double high) {
    return low + (high - low) * (static_cast<double>(engine_() >> 11) * 0x1p-53);
  }
  VgeTVector PointBetween(double low, double high) {
    const double x = Between(low, high), y = Between(low, high), z = Between(low, high);
    return {x, y, z};
  }
  /// 0 to n - 1.
  int Below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }

private:
  std::mt19937_64 engine_;
};

inline VgeTVector Sum(const VgeTVector& a, const VgeTVector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline VgeTVector Minus(const VgeTVector& a, const VgeTVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline VgeTVector Times(double f, const VgeTVector& v) { return {f * v.x, f * v.y, f * v.z}; }

inline VgeAMatrix ScaleAndTranslation(double sx, double sy, double sz, double tx, double ty, double tz) {
  return {{{sx, 0, 0, 0}, {0, sy, 0, 0}, {0, 0, sz, 0}, {tx, ty, tz, 1}}};
}

/// A rotation about an axis of any length except zero, by Rodrigues' formula, then a translation.
inline VgeAMatrix Rigid(const VgeTVector& axis, double radians, const VgeTVector& translation) {
  const double length = std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
  const double k[3] = {axis.x / length, axis.y / length, axis.z / length};
  const double c = std::cos(radians), s = std::sin(radians);
  const double cross[3][3] = {{0, k[2], -k[1]}, {-k[2], 0, k[0]}, {k[1], -k[0], 0}}; // [column][row]
  VgeAMatrix out = ScaleAndTranslation(1, 1, 1, translation.x, translation.y, translation.z);
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      out.m[column][row] = (column == row ? c : 0.0) + s * cross[column][row] + (1 - c) * k[column] * k[row];
  return out;
}

/// `a` with its three axes lengthened.
inline VgeAMatrix WithScaledAxes(VgeAMatrix a, double sx, double sy, double sz) {
  for (int row = 0; row < 3; ++row) a.m[0][row] *= sx, a.m[1][row] *= sy, a.m[2][row] *= sz;
  return a;
}

inline VgeTVector Apply(const VgeAMatrix& a, const VgeTVector& p) {
  double out[3];
  for (int row = 0; row < 3; ++row)
    out[row] = a.m[0][row] * p.x + a.m[1][row] * p.y + a.m[2][row] * p.z + a.m[3][row];
  return {out[0], out[1], out[2]};
}

/// `b` first, then `a`.
inline VgeAMatrix Composed(const VgeAMatrix& a, const VgeAMatrix& b) {
  VgeAMatrix out;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 3; ++row) {
      out.m[column][row] = column == 3 ? a.m[3][row] : 0.0;
      for (int i = 0; i < 3; ++i) out.m[column][row] += a.m[i][row] * b.m[column][i];
    }
  return out;
}

/// The inverse of any invertible affine matrix, by cofactors: it does not require orthogonal axes.
inline VgeAMatrix Inverse(const VgeAMatrix& a) {
  const auto minor_of = [&a](int column, int row) {
    const int c1 = (column + 1) % 3, c2 = (column + 2) % 3, r1 = (row + 1) % 3, r2 = (row + 2) % 3;
    return a.m[c1][r1] * a.m[c2][r2] - a.m[c1][r2] * a.m[c2][r1];
  };
  const double determinant =
      a.m[0][0] * minor_of(0, 0) + a.m[0][1] * minor_of(0, 1) + a.m[0][2] * minor_of(0, 2);
  VgeAMatrix out;
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) out.m[column][row] = minor_of(row, column) / determinant;
  for (int row = 0; row < 3; ++row)
    out.m[3][row] = -(out.m[0][row] * a.m[3][0] + out.m[1][row] * a.m[3][1] + out.m[2][row] * a.m[3][2]);
  return out;
}

/// Compares x, y and z to the bit, except the sign of a zero. Solves do not define w.
inline ::testing::AssertionResult IsPoint(const VgeTVector& actual, const VgeTVector& expected) {
  if (actual.x == expected.x && actual.y == expected.y && actual.z == expected.z)
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << std::hexfloat << "(" << actual.x << ", " << actual.y << ", " << actual.z << ") instead of ("
         << expected.x << ", " << expected.y << ", " << expected.z << ")";
}

inline ::testing::AssertionResult IsPointNear(const VgeTVector& actual, const VgeTVector& expected,
                                              double tolerance) {
  const double error = std::sqrt((actual.x - expected.x) * (actual.x - expected.x) +
                                 (actual.y - expected.y) * (actual.y - expected.y) +
                                 (actual.z - expected.z) * (actual.z - expected.z));
  if (error <= tolerance) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << "(" << actual.x << ", " << actual.y << ", " << actual.z << ") instead of (" << expected.x << ", "
         << expected.y << ", " << expected.z << "), " << error << " away";
}

/// Compares element by element; with tolerance 0, to the bit except the sign of a zero.
inline ::testing::AssertionResult IsMatrixNear(const VgeAMatrix& actual, const VgeAMatrix& expected,
                                               double tolerance) {
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      if (!(std::abs(actual.m[column][row] - expected.m[column][row]) <= tolerance))
        return ::testing::AssertionFailure()
               << "column " << column << " row " << row << " is " << actual.m[column][row] << " instead of "
               << expected.m[column][row];
  return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult IsMatrix(const VgeAMatrix& actual, const VgeAMatrix& expected) {
  return IsMatrixNear(actual, expected, 0);
}

} // namespace actor_test
