#pragma once

#include "benchmarks/eigen_character.h"
#include "benchmarks/eigen_solves.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace benchmarks {

/// The largest deviation of any number of a result, relative to the result's largest number.
class Deviation {
public:
  Deviation& Compare(double mien, double eigen) {
    const double difference = std::abs(mien - eigen);
    if (!(difference <= deviation_))
      deviation_ = difference >= 0 ? difference : kInfinity; // NaN counts as infinite
    if (std::abs(mien) > magnitude_) magnitude_ = std::abs(mien);
    return *this;
  }
  Deviation& Compare(const VgeTVector& mien, const Eigen::Vector3d& eigen) {
    return Compare(mien.x, eigen.x()).Compare(mien.y, eigen.y()).Compare(mien.z, eigen.z());
  }
  Deviation& Compare(const VgeSVector& mien, const Eigen::Array3d& eigen) {
    return Compare(mien.x, eigen.x()).Compare(mien.y, eigen.y()).Compare(mien.z, eigen.z());
  }
  Deviation& Compare(const VgeRMatrix& mien, const Eigen::Matrix3d& eigen) {
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) Compare(mien.m[column][row], eigen(row, column));
    return *this;
  }
  template <int Mode>
  Deviation& Compare(const VgeAMatrix& mien, const Eigen::Transform<double, 3, Mode>& eigen) {
    for (int column = 0; column < 4; ++column)
      for (int row = 0; row < 4; ++row) Compare(mien.m[column][row], eigen(row, column));
    return *this;
  }
  Deviation& Compare(const VFaceMarkerSetState& mien, const EigenFrame& eigen) {
    for (int k = 0; k < kMarkers; ++k) Compare(mien.mPositions[k], eigen.positions[k]);
    return *this;
  }
  Deviation& Compare(const VFaceState& mien, const EigenPose& eigen) {
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < 7; ++j) Compare(mien.mParts[p].mPoints[j], eigen.points.col(7 * p + j));
    return Compare(mien.mValid, eigen.chin_measured);
  }
  Deviation& Compare(const VFaceTemplateState& mien, const TemplateWeights& eigen) {
    for (int p = 0; p < 9; ++p)
      for (int j = 0; j < 25; ++j) Compare(mien.mParts[p].mWeights[j], eigen(j, p));
    return *this;
  }
  Deviation& Compare(const VCharacterFaceState& mien, const EigenWeights& eigen) {
    for (std::size_t p = 0, i = 0; p < eigen.shapes.size(); ++p)
      for (int s = 0; s < eigen.shapes[p]; ++s)
        Compare(mien.mWeights[p][s], eigen.weights[static_cast<Eigen::Index>(i++)]);
    return *this;
  }
  Deviation& Compare(const VCharacterFaceClusterSetState& mien, const EigenClusterSet& eigen) {
    for (int c = 0; c < mien.mClusters.GetCount(); ++c) {
      const VCharacterFaceClusterState& cluster = *mien.mClusters[c];
      const auto& [local, global] = eigen[static_cast<std::size_t>(c)];
      Compare(cluster.mLocalT, local.translation).Compare(cluster.mGlobalT, global.translation);
      Compare(cluster.mLocalR, local.rotation).Compare(cluster.mGlobalR, global.rotation);
      Compare(cluster.mLocalS, local.scaling).Compare(cluster.mGlobalS, global.scaling);
    }
    return *this;
  }
  template <std::size_t Count>
  Deviation& Compare(const std::array<double, Count>& mien, const std::array<double, Count>& eigen) {
    for (std::size_t i = 0; i < Count; ++i) Compare(mien[i], eigen[i]);
    return *this;
  }
  Deviation& Compare(const FrameOfShapes& mien, const FrameOfShapes& other) {
    for (std::size_t s = 0; s < mien.shapes.size(); ++s) Compare(mien.shapes[s], other.shapes[s]);
    return *this;
  }
  double Relative() const { return deviation_ == 0 ? 0 : deviation_ / magnitude_; }

private:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  double deviation_ = 0, magnitude_ = 0;
};

} // namespace benchmarks
