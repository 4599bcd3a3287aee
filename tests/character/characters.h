#pragma once

// Characters for the tests: parts built shape by shape, weights with special values, and temporary
// expressions in the global face's catalogue.

#include "mien/character/character_face.h"
#include "mien/face/face.h"
#include "tests/random.h"

#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>

namespace tests {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Expressions of the global face for one test: they are removed with this object.
class CatalogueOnLoan {
public:
  CatalogueOnLoan() = default;
  CatalogueOnLoan(const CatalogueOnLoan&) = delete;
  CatalogueOnLoan& operator=(const CatalogueOnLoan&) = delete;
  ~CatalogueOnLoan() {
    auto& expressions = GetGlobalFace()->mExpressions;
    while (expressions.GetCount() > mBefore) delete expressions.RemoveLast();
  }

  /// The template weights of a new expression, all 0.
  VFaceTemplateState& Add() {
    VFace& face = *GetGlobalFace();
    return face.mExpressions[face.CreateExpression("Expression")]->mTemplateState;
  }

private:
  const int mBefore = GetGlobalFace()->mExpressions.GetCount();
};

inline void AddShapes(VCharacterFacePart& part, int count) {
  for (int s = 0; s < count; ++s) part.mShapes.Add(new VCharacterFaceShape);
}

inline VCharacterFacePart& AddPart(VCharacterFace& character, int shapes, const char* name = "Part") {
  auto part = std::make_unique<VCharacterFacePart>(name);
  AddShapes(*part, shapes);
  character.mParts.Add(part.get());
  return *part.release();
}

/// A cluster part that is solved; all its shapes drive all clusters, with new poses.
inline VCharacterFacePartCluster& AddClusterPart(VCharacterFace& character, int shapes, int clusters) {
  auto part = std::make_unique<VCharacterFacePartCluster>("Clusters");
  AddShapes(*part, shapes);
  for (int s = 0; s < shapes; ++s) {
    part->mShapes[s]->mDrivesClusters = true;
    part->mShapeClusters.Add(new VCharacterFaceClusterSetState(clusters));
  }
  for (int c = 0; c < clusters; ++c) part->mRestClusters.mClusters.Add(new VCharacterFaceClusterState);
  part->mClusterSolveEnabled = true;
  character.mParts.Add(part.get());
  return *part.release();
}

inline void FillWeights(VCharacterFaceState& state, double weight) {
  for (auto& row : state.mWeights)
    for (double& w : row) w = weight;
}

/// Fills everything for which there is no shape: the rows beyond the parts and the columns beyond each part's
/// shapes.
inline void FillBeyondShapes(const VCharacterFace& character, VCharacterFaceState& state, double weight) {
  for (int p = 0; p < 15; ++p)
    for (int s = p < character.mParts.GetCount() ? character.mParts[p]->mShapes.GetCount() : 0; s < 500; ++s)
      state.mWeights[p][s] = weight;
}

/// Weights of which one in `one_in` is a special value.
class HardNumbers : public Random {
public:
  HardNumbers(std::uint64_t seed, int one_in) : Random(seed), mOneIn(one_in) {}

  int Below(int limit) { return static_cast<int>(Between(0, limit)); }

  double Weight() {
    static constexpr double kHard[] = {
        0.0,    -0.0, kNaN, kInfinity, -kInfinity, 5e-324, -5e-324,   3e-310,  1e16, -1e16, 1e308,
        -1e308, 1.0,  -1.0, 0x1p-53,   1e-200,     0.1,    1.0 / 3.0, -1e-323, 0.0,  0.0,   0.0};
    if (mOneIn > 0 && Below(mOneIn) == 0) return kHard[Below(static_cast<int>(std::size(kHard)))];
    return Between(-1, 2);
  }

private:
  int mOneIn;
};

} // namespace tests
