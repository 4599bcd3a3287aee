#pragma once

/// @file
/// From a part's points to its template weights, and back. The scalar forms are in mien/face/solve_mouth.cpp,
/// solve_brow.cpp, solve_eye.cpp, solve_cheek.cpp, solve_nostril.cpp, template_to_face.cpp and limits.h. Not
/// installed.

#include "mien/batch/face_constants.h"
#include "mien/batch/lanes.h"
#include "mien/batch/points.h"
#include "mien/face/slots.h"

namespace mien::detail::batch {

// --- Limits. A condition with a NaN is false, so the order of the tests decides what a NaN becomes.

template <class T>
MIEN_LANES_INLINE T Clamp01NanToOne(const T& x) {
  const T at_most_one = Select(x < T(1), x, T(1));
  return Select(at_most_one > T(0), at_most_one, T(0));
}

template <class T>
MIEN_LANES_INLINE T Clamp01NanToZero(const T& x) {
  const T at_least_zero = Select(x > T(0), x, T(0));
  return Select(at_least_zero < T(1), at_least_zero, T(1));
}

template <class T>
MIEN_LANES_INLINE T NanToZero(const T& x) {
  return Select(x > T(0), x, T(0));
}

template <class T>
MIEN_LANES_INLINE T RampUp(const T& s, double rest, double full) {
  const T fraction = Clamp01NanToOne((s - T(rest)) / T(full - rest));
  return Select(s > T(rest), Select(s > T(full), T(1), fraction), T(0));
}

// --- The mouth.

/// See ProjectedFraction.
template <class T>
MIEN_LANES_INLINE T FractionOf(const Way& way, const Vector3<T>& moved) {
  return way.length == 0 ? T(0) : Dot(InAllLanes<T>(way.direction), moved) / T(way.length);
}

template <class T>
MIEN_LANES_INLINE T OpenAmount(const MouthConstants& mouth, const VgeTVector (&rest)[7],
                               const Points<T>& points) {
  using namespace detail::mouth;
  const auto fraction = [&](const Way& way, Point point) MIEN_LANES_INLINE_LAMBDA {
    return FractionOf(way, points[point] - InAllLanes<T>(rest[point]));
  };
  return NanToZero(mouth.chin_is_measured ? fraction(mouth.open_chin, ChinCenter)
                                          : T(0.5) * (fraction(mouth.open_left, LeftLowerMouth) +
                                                      fraction(mouth.open_right, RightLowerMouth)));
}

template <class T>
MIEN_LANES_INLINE T SquareAmount(const MouthConstants& mouth, const Points<T>& points) {
  using namespace detail::mouth;
  const auto amount = [&](const MouthConstants::Side& side, Point upper, Point lower)
                          MIEN_LANES_INLINE_LAMBDA {
                            const T gap = points[upper].y - points[lower].y - T(side.rest_gap);
                            return NanToZero(FractionOf(side.way, Vector3<T>{T(0), gap, T(0)}));
                          };
  return Clamp01NanToZero(T(0.5) * (amount(mouth.square_left, LeftUpperMouth, LeftLowerMouth) +
                                    amount(mouth.square_right, RightUpperMouth, RightLowerMouth)));
}

template <class T>
MIEN_LANES_INLINE T WhistleAmount(const MouthConstants& mouth, const Points<T>& points) {
  using namespace detail::mouth;
  const T width = Abs(points[LeftMouth].x - points[LeftUpperMouth].x) +
                  Abs(points[LeftUpperMouth].x - points[RightUpperMouth].x);
  const T narrowed = T(1) - (width - T(mouth.whistle_width)) / T(mouth.rest_width - mouth.whistle_width);
  return Select(T(mouth.rest_width) > width, narrowed, T(0));
}

template <class T>
MIEN_LANES_INLINE void SolveMouth(const FaceConstants& constants, const Points<T>& points, T* weights) {
  using namespace detail::mouth;
  const MouthConstants& mouth = constants.mouth;
  Points<T> left; // the part of the pose that is not yet explained
  for (int j = 0; j < 7; ++j) left[j] = points[j];
  const auto take_out = [&](Template j, const T& amount) MIEN_LANES_INLINE_LAMBDA {
    for (int i = 0; i < 7; ++i) left[i] = left[i] + InAllLanes<T>(constants.deltas[j][i]) * -amount;
  };

  const T open = OpenAmount(mouth, constants.parts[Mouth].rest, points);
  weights[Open] = Clamp01NanToZero(open);
  take_out(Open, open);
  weights[Square] = SquareAmount(mouth, left);
  take_out(Square, weights[Square]);
  weights[Whistle] = WhistleAmount(mouth, left);
  take_out(Whistle, weights[Whistle]);

  const auto raised = [&](const MouthConstants::Corner& corner, Point point, Point lip)
                          MIEN_LANES_INLINE_LAMBDA {
                            return (left[point].y - left[lip].y - T(corner.base)) / T(corner.span);
                          };
  const T right_raised = raised(mouth.right, RightMouth, RightUpperMouth),
          left_raised = raised(mouth.left, LeftMouth, LeftUpperMouth);
  weights[CornersUpR] = Clamp01NanToZero(right_raised);
  weights[CornersDownR] = Clamp01NanToZero(-right_raised);
  weights[CornersUpL] = Clamp01NanToZero(left_raised);
  weights[CornersDownL] = Clamp01NanToZero(-left_raised);
}

// --- The other parts.

template <class T>
MIEN_LANES_INLINE void SolveBrow(const Part& part, const BrowConstants& brow, const Points<T>& points,
                                 T* weights) {
  using namespace detail::brow;
  T from_rest(0);
  for (int j = 0; j < part.point_count; ++j)
    from_rest = from_rest + Length(InAllLanes<T>(part.rest[j]) - points[j]);
  const T up = from_rest / (from_rest + Length(InAllLanes<T>(brow.up_middle) - points[MidBrow]));
  const T down = from_rest / (from_rest + Length(InAllLanes<T>(brow.down_inner) - points[InBrow]));
  const T difference = Abs(up - down), gap = difference * T(2.25) * T(0.5);
  weights[Up] = up;
  weights[Down] = Select(difference > T(0), down + Select(up > down, -gap, gap), down);
}

template <class T>
MIEN_LANES_INLINE void SolveEye(const Part& part, const EyeConstants& eye, const Points<T>& points,
                                T* weights) {
  using namespace detail::eye;
  const T upper = points[UpperEye].y, lower = points[LowerEye].y;
  const double upper_rest = part.rest[UpperEye].y, lower_rest = part.rest[LowerEye].y;
  const T closed = Clamp01NanToOne((upper - T(upper_rest)) / T(eye.closed - upper_rest));
  weights[Close] = Select(upper < T(upper_rest), Select(T(eye.closed) > upper, T(1), closed), T(0));
  weights[WideOpen] = RampUp(upper, upper_rest, eye.wide_open);
  weights[Squint] = Clamp01NanToOne((lower - T(lower_rest)) / T(eye.squinted - lower_rest));
}

/// The weights of part `p`, in the order of its templates.
template <class T>
MIEN_LANES_INLINE void SolveTemplates(const FaceConstants& constants, int p, const Points<T>& points,
                                      T* weights) {
  const auto ramp = [](const RampConstants& constant, const T& s)
                        MIEN_LANES_INLINE_LAMBDA { return RampUp(s, constant.rest, constant.full); };
  const int side = p == Mouth ? 0 : (p - 1) % 2;
  switch (p) {
  case Mouth:
    SolveMouth(constants, points, weights);
    break;
  case LeftBrow:
  case RightBrow:
    SolveBrow(constants.parts[p], constants.brows[side], points, weights);
    break;
  case LeftEye:
  case RightEye:
    SolveEye(constants.parts[p], constants.eyes[side], points, weights);
    break;
  case LeftCheek:
  case RightCheek:
    weights[cheek::Up] = ramp(constants.cheeks_up[side], points[cheek::InUpperCheek].y);
    weights[cheek::Out] = ramp(constants.cheeks_out[side], points[cheek::MidLowerCheek].z);
    break;
  default:
    weights[nostril::Up] = ramp(constants.nostrils_up[side], points[nostril::Nostril].y);
  }
}

/// The points that the weights of a part give: see VFace::Template2FaceSolve.
template <class T>
MIEN_LANES_INLINE void PointsOfTemplates(const Part& part, const VgeTVector (*deltas)[7], const T* weights,
                                         int templates, Points<T>& points) {
  for (int i = 0; i < 7; ++i) points[i] = InAllLanes<T>(part.rest[i]);
  for (int j = 0; j < templates; ++j)
    for (int i = 0; i < 7; ++i) points[i] = points[i] + InAllLanes<T>(deltas[j][i]) * weights[j];
}

} // namespace mien::detail::batch
