#pragma once

/// @file
/// The head's solve. The scalar form is in mien/actor/head.cpp and mien/base/rigid.h. Not installed.

#include "mien/base/rigid.h"
#include "mien/batch/face_constants.h"
#include "mien/batch/lanes.h"

namespace mien::detail::batch {

template <class T>
struct Quaternion {
  T x, y, z, w;
};

template <class T>
MIEN_LANES_INLINE Quaternion<T> operator*(const Quaternion<T>& q, const T& factor) {
  return {q.x * factor, q.y * factor, q.z * factor, q.w * factor};
}
template <class T>
MIEN_LANES_INLINE T Dot(const Quaternion<T>& a, const Quaternion<T>& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

/// See QuaternionOf: the largest component is computed first. Here the lanes choose what is under the root, so
/// that all four cases need one root and one division.
template <class T>
MIEN_LANES_INLINE Quaternion<T> QuaternionOfRotation(const Affine<T>& m) {
  const T xx = m.x.x, yy = m.y.y, zz = m.z.z, trace = xx + yy + zz;
  const auto w_largest = And(And(trace >= xx, trace >= yy), trace >= zz);
  const auto x_largest = And(xx >= yy, xx >= zz), y_largest = yy >= zz;
  const auto choose = [&](const T& w, const T& x, const T& y, const T& z) MIEN_LANES_INLINE_LAMBDA {
    return Select(w_largest, w, Select(x_largest, x, Select(y_largest, y, z)));
  };
  const T largest =
      T(0.5) * Sqrt(choose(T(1) + trace, T(1) + xx - yy - zz, T(1) + yy - xx - zz, T(1) + zz - xx - yy));
  const T f = T(0.25) / largest;
  const T yz_difference = (m.y.z - m.z.y) * f, yz_sum = (m.z.y + m.y.z) * f;
  const T zx_difference = (m.z.x - m.x.z) * f, zx_sum = (m.z.x + m.x.z) * f;
  const T xy_difference = (m.x.y - m.y.x) * f, xy_sum = (m.y.x + m.x.y) * f;
  return {choose(yz_difference, largest, xy_sum, zx_sum), choose(zx_difference, xy_sum, largest, yz_sum),
          choose(xy_difference, zx_sum, yz_sum, largest),
          choose(largest, yz_difference, zx_difference, xy_difference)};
}

/// From one head marker to a later one.
template <class T>
struct Edge {
  Vector3<T> way, unit;
  T length;
};

template <class T>
struct Head {
  Affine<T> frame;
  T triangles; ///< How many determine it; it is known if there are any.
};

/// See VActorFace::SolveRB and ReferenceFromRBMarker. Triangles share their edges, so the edges are measured
/// first.
template <class T>
MIEN_LANES_INLINE Head<T> SolveHead(const FaceConstants& constants, const Vector3<T> (&markers)[5]) {
  const int n = constants.head_markers;
  Edge<T> edges[5][5];
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j) {
      Edge<T>& edge = edges[i][j];
      edge.way = markers[j] - markers[i];
      edge.length = Length(edge.way);
      if (j < n - 1) edge.unit = Unit(edge.way, edge.length); // the last marker ends no first edge
    }

  T count(0);
  Vector3<T> translation = {T(0), T(0), T(0)};
  Quaternion<T> rotation = {T(0), T(0), T(0), T(0)};
  for (int t = 0; t < constants.triangle_count; ++t) {
    const Triangle& triangle = constants.triangles[t];
    const Edge<T>&e1 = edges[triangle.i][triangle.j], &e2 = edges[triangle.i][triangle.k],
          &e3 = edges[triangle.j][triangle.k];
    const Vector3<T> normal = Cross(e1.way, e2.way);
    const T twice_area = Length(normal);
    const T high = Max(e1.length, e2.length), low = Min(e1.length, e2.length);
    const T longest = Max(high, e3.length), middle = Max(low, Min(high, e3.length));
    // False for a triangle without area: its axes, which are not defined, go nowhere.
    const auto counts = twice_area / (longest * middle) > T(kSineOf10Degrees);

    Affine<T> current;
    current.x = e1.unit;
    current.z = Unit(normal, twice_area);
    current.y = Cross(current.z, current.x);
    current.translation = (markers[triangle.i] + markers[triangle.j] + markers[triangle.k]) / T(3);
    const Affine<T> motion = Product(current, InAllLanes<T>(triangle.inverse));

    Quaternion<T> q = QuaternionOfRotation(motion) * (twice_area / T(2));
    const auto opposite = Dot(q, rotation) < T(0);
    const auto add = [&](const T& sum, const T& component) MIEN_LANES_INLINE_LAMBDA {
      return Select(counts, sum + Select(opposite, -component, component), sum);
    };
    count = Select(counts, count + T(1), count);
    translation = Select(counts, translation + motion.translation, translation);
    rotation = {add(rotation.x, q.x), add(rotation.y, q.y), add(rotation.z, q.z), add(rotation.w, q.w)};
  }

  // See Rigid in head.cpp.
  const auto [x, y, z, w] = rotation * (T(1) / Sqrt(Dot(rotation, rotation)));
  const T one(1), two(2), zero(0);
  const Affine<T> rigid = {{one - two * (y * y + z * z), two * (x * y + w * z), two * (x * z - w * y)},
                           {two * (x * y - w * z), one - two * (x * x + z * z), two * (y * z + w * x)},
                           {two * (x * z + w * y), two * (y * z - w * x), one - two * (x * x + y * y)},
                           translation / count};
  const Affine<T> identity = {{one, zero, zero}, {zero, one, zero}, {zero, zero, one}, {zero, zero, zero}};
  const auto known = count > zero;
  const Affine<T> motion = {Select(known, rigid.x, identity.x), Select(known, rigid.y, identity.y),
                            Select(known, rigid.z, identity.z),
                            Select(known, rigid.translation, identity.translation)};
  return {Product(motion, InAllLanes<T>(constants.head_in_rigid_body)), count};
}

} // namespace mien::detail::batch
