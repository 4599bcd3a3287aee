#include "mien/base/elementary.h"
#include "mien/base/euler_axes.h"
#include "mien/base/geometry.h"

#include <cmath>

using namespace mien;

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

double Degrees(double radians) {
  const double degrees = radians / kRadiansPerDegree;
  return degrees <= -180 ? 180 : degrees;
}

} // namespace

void VTxRotationOrder::V2M(VgeRMatrix& out, const VgeRVector& in) const {
  const auto [xs, xc] = SineAndCosineOfDegrees(in.x);
  const auto [ys, yc] = SineAndCosineOfDegrees(in.y);
  const auto [zs, zc] = SineAndCosineOfDegrees(in.z);
  double m[3][3];
  detail::SetRotation(m, detail::kEulerAxes[mOrder], {{xs, xc}, {ys, yc}, {zs, zc}});

  out.Init();
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) out.m[column][row] = m[column][row];
}

void VTxRotationOrder::M2V(VgeRVector& out, const VgeRMatrix& in) const {
  const auto [i, j, k, handedness] = detail::kEulerAxes[mOrder];
  const auto& m = in.m;

  // A cosine of the middle angle below this is zero with rounding errors.
  constexpr double kPole = 1e-14;
  const double cm = std::sqrt(m[i][i] * m[i][i] + m[i][j] * m[i][j]);
  const bool at_pole = cm < kPole;

  const double middle = ArcTangent2(-m[i][k], cm);
  const double first = at_pole ? ArcTangent2(-m[k][j], m[j][j]) : ArcTangent2(m[j][k], m[k][k]);
  // Near the pole `first` is uncertain, so the last angle is computed from R * Ri(-first) = Rk * Rj, whose
  // column j is (-sl, cl, 0): an error of `first` is compensated by `last`, and the pair still gives the
  // rotation back. Columns k and j contain the sine and cosine of `first` as cm * sf and cm * cf; the angle
  // does not depend on that factor.
  const double last =
      at_pole ? 0 : ArcTangent2(m[j][k] * m[k][i] - m[k][k] * m[j][i], m[k][k] * m[j][j] - m[j][k] * m[k][j]);

  double angles[3];
  angles[i] = Degrees(handedness * first);
  angles[j] = Degrees(handedness * middle);
  angles[k] = Degrees(handedness * last);
  out = VgeRVector(angles[0], angles[1], angles[2]);
}
