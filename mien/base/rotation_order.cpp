#include "mien/base/elementary.h"
#include "mien/base/geometry.h"

#include <cmath>

using namespace mien;

// One derivation applies to all six orders. With the axes renamed to i, j, k (first, middle, last), the
// rotation is R = Rk * Rj * Ri as in the order XYZ. In an odd permutation the renamed axes are left-handed,
// which reverses every angle: its sine changes sign (`handedness`). With s and c for sine and cosine, and f,
// m, l for the three angles:
//
//            column i    column j                 column k
//   row i    cm * cl     cl * sm * sf - sl * cf   cl * sm * cf + sl * sf
//   row j    cm * sl     sl * sm * sf + cl * cf   sl * sm * cf - cl * sf
//   row k    -sm         cm * sf                  cm * cf

namespace {

struct Axes {
  int i, j, k;
  double handedness;
};

constexpr Axes kAxes[6] = {{0, 1, 2, 1},  {0, 2, 1, -1}, {1, 2, 0, 1},
                           {1, 0, 2, -1}, {2, 0, 1, 1},  {2, 1, 0, -1}}; // XYZ XZY YZX YXZ ZXY ZYX

constexpr double kRadiansPerDegree = 0.017453292519943295;

double Degrees(double radians) {
  const double degrees = radians / kRadiansPerDegree;
  return degrees <= -180 ? 180 : degrees;
}

} // namespace

void VTxRotationOrder::V2M(VgeRMatrix& out, const VgeRVector& in) const {
  const auto [i, j, k, handedness] = kAxes[mOrder];
  const double angles[3] = {in.x, in.y, in.z};
  const auto [first, cf] = SineAndCosineOfDegrees(angles[i]);
  const auto [middle, cm] = SineAndCosineOfDegrees(angles[j]);
  const auto [last, cl] = SineAndCosineOfDegrees(angles[k]);
  const double sf = handedness * first, sm = handedness * middle, sl = handedness * last;

  out.Init();
  out.m[i][i] = cm * cl;
  out.m[i][j] = cm * sl;
  out.m[i][k] = -sm;
  out.m[j][i] = cl * sm * sf - sl * cf;
  out.m[j][j] = sl * sm * sf + cl * cf;
  out.m[j][k] = cm * sf;
  out.m[k][i] = cl * sm * cf + sl * sf;
  out.m[k][j] = sl * sm * cf - cl * sf;
  out.m[k][k] = cm * cf;
}

void VTxRotationOrder::M2V(VgeRVector& out, const VgeRMatrix& in) const {
  const auto [i, j, k, handedness] = kAxes[mOrder];
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
