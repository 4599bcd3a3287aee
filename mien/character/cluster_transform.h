#pragma once

/// @file
/// What the solve to clusters computes for a cluster, for one or for several at once (lanes.h). Not
/// installed.

#include "mien/base/affine.h"
#include "mien/base/elementary.h"
#include "mien/base/euler_axes.h"
#include "mien/character/cluster_state.h"

#include <cstddef>
#include <cstring>

namespace mien::detail {

/// A transform of a cluster. Number is double, Lanes or an array of lanes.
template <class Number>
struct Transform {
  Number translation[3];
  Number rotation[3][3]; ///< [column][row]
  Number scaling[3];
};

/// How a transform differs from the rest pose, or a weighted sum of such differences.
template <class Number>
struct Offset {
  Number translation[3];
  Number angles[3];     ///< Of the rotation from rest, in degrees.
  Number logarithms[3]; ///< Of the scalings' ratios to rest.
};

inline Transform<double> LocalOf(const VCharacterFaceClusterState& cluster) {
  Transform<double> local = {{cluster.mLocalT.x, cluster.mLocalT.y, cluster.mLocalT.z},
                             {},
                             {cluster.mLocalS.x, cluster.mLocalS.y, cluster.mLocalS.z}};
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) local.rotation[column][row] = cluster.mLocalR.m[column][row];
  return local;
}

/// Of `target` relative to `rest`; `from_rest` is the inverse of the rotation of rest.
inline Offset<double> OffsetOf(const VCharacterFaceClusterState& target,
                               const VCharacterFaceClusterState& rest, const VgeRMatrix& from_rest) {
  VgeRMatrix turn;
  SetProduct(turn, from_rest, target.mLocalR);
  VgeRVector angles;
  VTxRotationOrder().M2V(angles, turn);
  return {{target.mLocalT.x - rest.mLocalT.x, target.mLocalT.y - rest.mLocalT.y,
           target.mLocalT.z - rest.mLocalT.z},
          {angles.x, angles.y, angles.z},
          {Log(target.mLocalS.x / rest.mLocalS.x), Log(target.mLocalS.y / rest.mLocalS.y),
           Log(target.mLocalS.z / rest.mLocalS.z)}};
}

template <class Real>
MIEN_IN_LANES void AddWeighted(Offset<Real>& sum, const Real& weight, const Offset<Real>& offset) {
  for (int i = 0; i < 3; ++i) sum.translation[i] = sum.translation[i] + weight * offset.translation[i];
  for (int i = 0; i < 3; ++i) sum.angles[i] = sum.angles[i] + weight * offset.angles[i];
  for (int i = 0; i < 3; ++i) sum.logarithms[i] = sum.logarithms[i] + weight * offset.logarithms[i];
}

/// product = a * b
template <class Real>
MIEN_IN_LANES void Multiply(Real (&product)[3][3], const Real (&a)[3][3], const Real (&b)[3][3]) {
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row)
      product[column][row] = a[0][row] * b[column][0] + a[1][row] * b[column][1] + a[2][row] * b[column][2];
}

/// The rest pose moved by an offset. Not a loop over the axes, which compilers would not unroll: lanes of one
/// axis would wait for those of another.
template <class Real>
MIEN_IN_LANES Transform<Real> Moved(const Transform<Real>& rest, const Offset<Real>& offset) {
  const auto& [tx, ty, tz] = offset.translation;
  const auto& [ax, ay, az] = offset.angles;
  const auto& [lx, ly, lz] = offset.logarithms;
  const auto [sx, cx] = SineAndCosineOfDegrees(ax);
  const auto [sy, cy] = SineAndCosineOfDegrees(ay);
  const auto [sz, cz] = SineAndCosineOfDegrees(az);
  Real turn[3][3];
  SetRotation(turn, kEulerAxes[VTxRotationOrder().mOrder], {{sx, cx}, {sy, cy}, {sz, cz}});
  Transform<Real> moved = {{tx + rest.translation[0], ty + rest.translation[1], tz + rest.translation[2]},
                           {},
                           {Exp(lx) * rest.scaling[0], Exp(ly) * rest.scaling[1], Exp(lz) * rest.scaling[2]}};
  Multiply(moved.rotation, rest.rotation, turn);
  return moved;
}

/// The global transform of a set's root.
template <class Real>
struct Root {
  MIEN_IN_LANES explicit Root(const VCharacterFaceClusterState& root)
      : translation{root.mGlobalT.x, root.mGlobalT.y, root.mGlobalT.z}, scaling{root.mGlobalS.x,
                                                                                root.mGlobalS.y,
                                                                                root.mGlobalS.z} {
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) {
        rotation[column][row] = root.mGlobalR.m[column][row];
        axes[column][row] = rotation[column][row] * scaling[column];
      }
  }

  Real translation[3], rotation[3][3], scaling[3];
  Real axes[3][3]; ///< rotation * scaling
};

/// A cluster's global transform from its local one.
template <class Real>
MIEN_IN_LANES Transform<Real> Global(const Root<Real>& root, const Transform<Real>& local) {
  Transform<Real> global;
  const auto& [x, y, z] = local.translation;
  for (int i = 0; i < 3; ++i) {
    global.translation[i] =
        root.axes[0][i] * x + root.axes[1][i] * y + root.axes[2][i] * z + root.translation[i];
    global.scaling[i] = local.scaling[i] * root.scaling[i];
  }
  Multiply(global.rotation, root.rotation, local.rotation);
  return global;
}

/// The numbers of all lanes in memory.
template <class Real>
MIEN_IN_LANES Transform<double[kLanes<Real>]> LanesOf(const Transform<Real>& transform) {
  Transform<double[kLanes<Real>]> lanes;
  static_assert(sizeof lanes == sizeof transform);
  std::memcpy(&lanes, &transform, sizeof lanes);
  return lanes;
}

/// Of one lane. Leaves w of the translation unchanged.
template <std::size_t N>
MIEN_IN_LANES void SetLocal(VCharacterFaceClusterState& cluster, const Transform<double[N]>& local,
                            int lane) {
  const auto& [t, r, s] = local;
  SetPoint(cluster.mLocalT, {t[0][lane], t[1][lane], t[2][lane]});
  cluster.mLocalR = {{{r[0][0][lane], r[0][1][lane], r[0][2][lane], 0},
                      {r[1][0][lane], r[1][1][lane], r[1][2][lane], 0},
                      {r[2][0][lane], r[2][1][lane], r[2][2][lane], 0},
                      {0, 0, 0, 1}}};
  cluster.mLocalS = {s[0][lane], s[1][lane], s[2][lane]};
}

/// Of one lane. Leaves w of the translation, and the rotation's fourth row and column, unchanged.
template <std::size_t N>
MIEN_IN_LANES void SetGlobal(VCharacterFaceClusterState& cluster, const Transform<double[N]>& global,
                             int lane) {
  const auto& [t, r, s] = global;
  SetPoint(cluster.mGlobalT, {t[0][lane], t[1][lane], t[2][lane]});
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) cluster.mGlobalR.m[column][row] = r[column][row][lane];
  cluster.mGlobalS = {s[0][lane], s[1][lane], s[2][lane]};
}

} // namespace mien::detail
