#include "mien/base/affine.h"
#include "mien/face/face.h"

#include <cmath>
#include <limits>

using mien::Difference;
using mien::Distance;
using mien::Dot;
using mien::Length;
using mien::SummedDistance;
using mien::Unit;

namespace {

/// The result of the reciprocal of a sum that is not positive.
constexpr double kCoincidentSum = 10000000.0;
/// The result of the reciprocal of a single distance that is not positive. A different number on purpose: one
/// coincident point among several has to outweigh all others.
constexpr double kCoincidentPoint = std::numeric_limits<double>::max();

double ReciprocalOfSum(double sum) { return sum > 0 ? 1.0 / sum : kCoincidentSum; }

} // namespace

// The product over the segments i -> i + 1 (and the closing chord 0 -> n - 1) of 1 + cos of the angle between
// the segment in `a` and in `b`: 2 per segment for the same direction, 1 for a right angle or a segment
// without length, 0 for opposite ones.
double VFace::Face2TemplateAIAngle(const VFacePartState* a, const VFacePartState* b, int n,
                                   bool closed) const {
  const auto agreement = [a, b](int from, int to) {
    const VgeTVector u = Unit(Difference(b->mPoints[to], b->mPoints[from]));
    const VgeTVector v = Unit(Difference(a->mPoints[to], a->mPoints[from]));
    return 1.0 + Dot(u, v);
  };
  double product = 1.0;
  for (int i = 0; i + 1 < n; ++i) product *= agreement(i, i + 1);
  if (closed) product *= agreement(0, n >= 2 ? n - 1 : 0);
  return product;
}

double VFace::Face2TemplateAIDistance(const VFacePartState* a, const VFacePartState* b, int n,
                                      bool inverse) const {
  const double sum = SummedDistance(a->mPoints, b->mPoints, n);
  return n == 0 || !inverse ? sum : ReciprocalOfSum(sum);
}

// The axis is not normalised: its length scales the result.
double VFace::Face2TemplateAIDistanceAlongAxis(const VFacePartState* a, VgeTVector origin, VgeTVector axis,
                                               int n, bool inverse) const {
  double sum = 0;
  for (int i = 0; i < n; ++i) sum += std::fabs(Dot(Difference(a->mPoints[i], origin), axis));
  return n == 0 || !inverse ? sum : ReciprocalOfSum(sum);
}

// Here `inverse` gives the sum of the reciprocals, not the reciprocal of the sum.
double VFace::Face2TemplateAIDistanceExclusive(const VFacePartState* a, const VFacePartState* b, int n,
                                               const bool* use, bool inverse) const {
  double sum = 0;
  for (int i = 0; i < n; ++i) {
    if (!use[i]) continue;
    const double distance = Distance(a->mPoints[i], b->mPoints[i]);
    if (inverse)
      sum += distance > 0 ? 1.0 / distance : kCoincidentPoint;
    else
      sum += distance;
  }
  return sum;
}

// Half the base p - q times the height of r above it. The foot of the height is computed with a single
// division by the base's length, so it is exact only for a base of length 1. Keep it so: this is part of the
// measure's definition.
double VFace::Face2TemplateTriangleArea(const VgeTVector& p, const VgeTVector& q, const VgeTVector& r) const {
  const VgeTVector base = Difference(p, q);
  const double length = Length(base);
  const double t = Dot(Difference(r, q), base) / length;
  const VgeTVector foot = {q.x + t * base.x, q.y + t * base.y, q.z + t * base.z};
  return Length(Difference(r, foot)) * length * 0.5;
}

// Closeness of the areas inside the lips. The two fans of triangles differ on purpose: that of `a` has (5, 1,
// 2) twice where that of `b` has (5, 2, 4). So the measure is not symmetric, and a pose compared with itself
// is not "coincident".
double VFace::Face2TemplateAIMouthSurface(const VFacePartState* a, const VFacePartState* b,
                                          int /*unused*/) const {
  const auto area = [this](const VFacePartState* pose, int i, int j, int k) {
    return Face2TemplateTriangleArea(pose->mPoints[i], pose->mPoints[j], pose->mPoints[k]);
  };
  const double a1 = area(a, 0, 1, 5), b1 = area(b, 0, 1, 5);
  const double a2 = area(a, 5, 1, 2), b2 = area(b, 5, 1, 2);
  const double a3 = area(a, 5, 1, 2), b3 = area(b, 5, 2, 4);
  const double a4 = area(a, 3, 2, 4), b4 = area(b, 3, 2, 4);
  return ReciprocalOfSum(std::fabs((b4 - a4) + ((b2 - a2) + (b1 - a1) + (b3 - a3))));
}
