#pragma once

/// @file
/// From markers to a part's points. The scalar form is in mien/actor/solve_markers.cpp. Not installed.

#include "mien/batch/face_constants.h"
#include "mien/batch/lanes.h"
#include "mien/face/slots.h"

namespace mien::detail::batch {

/// The points of one part.
template <class T>
using Points = Vector3<T>[7];

/// What LimitEye does.
template <class T>
MIEN_LANES_INLINE void LimitEye(const EyeConstants& eye, const VgeTVector (&rest)[7], Points<T>& points) {
  using namespace detail::eye;
  const auto limit = [](const T& y, double low, double high) MIEN_LANES_INLINE_LAMBDA {
    return Select(y < T(low), T(low), Select(y < T(high), y, T(high)));
  };
  points[UpperEye] = {rest[UpperEye].x, limit(points[UpperEye].y, eye.lowest_upper, eye.highest_upper),
                      rest[UpperEye].z};
  points[LowerEye] = {rest[LowerEye].x, limit(points[LowerEye].y, -1.0, eye.highest_lower), rest[LowerEye].z};
  if (!eye.has_squint) return;
  const T t = (points[LowerEye].y + T(1)) / T(eye.highest_lower + 1);
  points[OutEye] = InAllLanes<T>(rest[OutEye]) + InAllLanes<T>(eye.travel) * t;
}

/// What EstimateChin does.
template <class T>
MIEN_LANES_INLINE void EstimateChin(const MouthConstants& mouth, const VgeTVector (&rest)[7],
                                    Points<T>& points) {
  using namespace detail::mouth;
  const Vector3<T> middle = (points[RightLowerMouth] + points[LeftLowerMouth]) / T(2);
  points[ChinCenter] = InAllLanes<T>(rest[ChinCenter]) + (middle - InAllLanes<T>(mouth.middle_of_lower_lip));
}

/// The points of part `p`, from the marker positions in `rows`.
template <class T>
MIEN_LANES_INLINE void SolvePoints(const FaceConstants& constants, int p, const Affine<T>& to_head,
                                   const BlockRows<T, const double>& rows, std::ptrdiff_t point_stride,
                                   std::ptrdiff_t axis_stride, Points<T>& points) {
  const Part& part = constants.parts[p];
  for (int j = 0; j < 7; ++j) points[j] = InAllLanes<T>(part.rest[j]);

  const Affine<T> to_volume = InAllLanes<T>(part.to_volume);
  for (std::size_t e = part.first_entry; e < part.end_of_entries; ++e) {
    const Entry& entry = constants.entries[e];
    const std::ptrdiff_t at = entry.marker * point_stride;
    Prefetch(rows, at);
    const Vector3<T> position = {Load(rows, at), Load(rows, at + axis_stride),
                                 Load(rows, at + 2 * axis_stride)};
    const Vector3<T> displacement =
        TransformPoint(to_volume, TransformPoint(to_head, position)) - InAllLanes<T>(entry.rest);
    for (std::size_t i = entry.first_pull; i < entry.end_of_pulls; ++i) {
      const Pull& pull = constants.pulls[i];
      points[pull.point] = points[pull.point] + displacement * T(pull.weight);
    }
  }

  if (p == LeftEye || p == RightEye) LimitEye(constants.eyes[p - LeftEye], part.rest, points);
  if (p == Mouth && !constants.mouth.chin_is_measured) EstimateChin(constants.mouth, part.rest, points);
}

} // namespace mien::detail::batch
