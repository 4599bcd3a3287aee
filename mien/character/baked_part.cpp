#include "mien/character/baked_part.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace mien::detail {

namespace {

/// The numbers of one cluster among eight.
void Put(Eight (&eight)[3], std::size_t lane, const double (&of_cluster)[3]) {
  for (int i = 0; i < 3; ++i) eight[i].lanes[lane] = of_cluster[i];
}

/// From one of eight clusters on, as many as Real has lanes.
template <class Real>
MIEN_IN_LANES void Read(Real (&numbers)[3], const Eight (&eight)[3], std::size_t lane) {
  for (int i = 0; i < 3; ++i) numbers[i] = Load<Real>(eight[i].lanes + lane);
}

template <class Real>
MIEN_IN_LANES Transform<Real> Read(const Transform<Eight>& eight, std::size_t lane) {
  Transform<Real> transform;
  Read(transform.translation, eight.translation, lane);
  for (int column = 0; column < 3; ++column) Read(transform.rotation[column], eight.rotation[column], lane);
  Read(transform.scaling, eight.scaling, lane);
  return transform;
}

template <class Real>
MIEN_IN_LANES Offset<Real> Read(const Offset<Eight>& eight, std::size_t lane) {
  Offset<Real> offset;
  Read(offset.translation, eight.translation, lane);
  Read(offset.angles, eight.angles, lane);
  Read(offset.logarithms, eight.logarithms, lane);
  return offset;
}

bool IsFinite(const Offset<double>& offset) {
  const auto all = [](const double(&three)[3]) {
    return std::isfinite(three[0]) && std::isfinite(three[1]) && std::isfinite(three[2]);
  };
  return all(offset.translation) && all(offset.angles) && all(offset.logarithms);
}

/// The shapes of which a frame's sums consist.
struct DrivingShapes {
  DrivingShapes(const BakedPart& part, const double* shape_weights) {
    for (std::size_t k = 0; k < part.shapes.size(); ++k) {
      const double weight = shape_weights[part.shapes[k]];
      // 0 times a finite offset: adding it to sums that start from 0.0 changes nothing.
      if (weight == 0 && part.is_finite[k]) continue;
      indices[count] = k;
      weights[count] = weight;
      ++count;
    }
  }

  std::size_t indices[500];
  double weights[500];
  int count = 0;
};

template <class Real>
MIEN_IN_LANES void Blend(const BakedPart& part, VCharacterFaceClusterSetState& set, const double* weights) {
  const int clusters = set.mClusters.GetCount();
  if (clusters == 0) return;
  const DrivingShapes shapes(part, weights);
  const Root<Real> root(set.mRoot);
  constexpr int kWidth = static_cast<int>(kLanes<Real>);
  for (int c = 0; c < clusters; c += kWidth) {
    const std::size_t eight = static_cast<std::size_t>(c) / 8, lane = static_cast<std::size_t>(c) % 8;
    const Offset<Eight>* const offsets = part.offsets.data() + eight * part.shapes.size();
    Offset<Real> sum = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
    for (int k = 0; k < shapes.count; ++k)
      AddWeighted(sum, Real(shapes.weights[k]), Read<Real>(offsets[shapes.indices[k]], lane));
    const Transform<Real> local = Moved(Read<Real>(part.rest[eight], lane), sum);
    const auto locals = LanesOf(local), globals = LanesOf(Global(root, local));
    for (int i = 0; i < std::min(kWidth, clusters - c); ++i) {
      SetLocal(*set.mClusters[c + i], locals, i);
      SetGlobal(*set.mClusters[c + i], globals, i);
    }
  }
}

void BlendByOne(const BakedPart& part, VCharacterFaceClusterSetState& set, const double* weights) {
  Blend<double>(part, set, weights);
}

#if defined(__GNUC__)

void BlendByTwo(const BakedPart& part, VCharacterFaceClusterSetState& set, const double* weights) {
  Blend<Lanes<2>>(part, set, weights);
}

#if defined(__x86_64__)

[[gnu::target("avx2")]] void BlendByFour(const BakedPart& part, VCharacterFaceClusterSetState& set,
                                         const double* weights) {
  Blend<Lanes<4>>(part, set, weights);
}

[[gnu::target("avx512f")]] void BlendByEight(const BakedPart& part, VCharacterFaceClusterSetState& set,
                                             const double* weights) {
  Blend<Lanes<8>>(part, set, weights);
}

#endif
#endif

} // namespace

BakedPart::BakedPart(const VCharacterFacePartCluster& part) : is_enabled(true) {
  // As many clusters as every pose has.
  int clusters = part.mRestClusters.mClusters.GetCount();
  for (int s = 0; s < part.mShapes.GetCount(); ++s) {
    if (!part.mShapes[s]->mDrivesClusters) continue;
    shapes.push_back(s);
    const bool has_pose = s < part.mShapeClusters.GetCount();
    clusters = std::min(clusters, has_pose ? part.mShapeClusters[s]->mClusters.GetCount() : 0);
  }
  const std::size_t eights = (static_cast<std::size_t>(clusters) + 7) / 8;
  is_finite.assign(shapes.size(), true);
  rest.resize(eights);
  offsets.resize(eights * shapes.size());
  for (int c = 0; c < clusters; ++c) {
    const std::size_t eight = static_cast<std::size_t>(c) / 8, lane = static_cast<std::size_t>(c) % 8;
    const VCharacterFaceClusterState& at_rest = *part.mRestClusters.mClusters[c];
    const VgeRMatrix from_rest = Transposed(at_rest.mLocalR);
    const Transform<double> local = LocalOf(at_rest);
    Put(rest[eight].translation, lane, local.translation);
    for (int column = 0; column < 3; ++column)
      Put(rest[eight].rotation[column], lane, local.rotation[column]);
    Put(rest[eight].scaling, lane, local.scaling);
    for (std::size_t k = 0; k < shapes.size(); ++k) {
      const Offset<double> offset =
          OffsetOf(*part.mShapeClusters[shapes[k]]->mClusters[c], at_rest, from_rest);
      Offset<Eight>& to = offsets[eight * shapes.size() + k];
      Put(to.translation, lane, offset.translation);
      Put(to.angles, lane, offset.angles);
      Put(to.logarithms, lane, offset.logarithms);
      if (!IsFinite(offset)) is_finite[k] = false;
    }
  }
}

std::span<ClusterBlend* const> ClusterBlends() {
  static constexpr ClusterBlend* kBlends[] = {
    BlendByOne,
#if defined(__GNUC__)
    BlendByTwo,
#if defined(__x86_64__)
    BlendByFour,
    BlendByEight,
#endif
#endif
  };
  return Runnable(kBlends);
}

void BlendClusters(const BakedPart& part, VCharacterFaceClusterSetState& set, const double* weights) {
  static ClusterBlend* const widest = ClusterBlends().back();
  widest(part, set, weights);
}

} // namespace mien::detail
