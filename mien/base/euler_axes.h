#pragma once

/// @file
/// The rotation of three Euler angles in any order, for one rotation or for several at once (lanes.h). Not
/// installed.
///
/// One derivation applies to all six orders. With the axes renamed to i, j, k (first, middle, last), the
/// rotation is R = Rk * Rj * Ri as in the order XYZ. In an odd permutation the renamed axes are left-handed,
/// which reverses every angle: its sine changes sign (`handedness`). With s and c for sine and cosine, and f,
/// m, l for the three angles:
///
///            column i    column j                 column k
///   row i    cm * cl     cl * sm * sf - sl * cf   cl * sm * cf + sl * sf
///   row j    cm * sl     sl * sm * sf + cl * cf   sl * sm * cf - cl * sf
///   row k    -sm         cm * sf                  cm * cf

#include "mien/base/elementary_formulas.h"

namespace mien::detail {

struct EulerAxes {
  int i, j, k;
  double handedness;
};

/// By the code of VTxRotationOrder.
inline constexpr EulerAxes kEulerAxes[6] = {{0, 1, 2, 1}, {0, 2, 1, -1}, {1, 2, 0, 1}, {1, 0, 2, -1},
                                            {2, 0, 1, 1}, {2, 1, 0, -1}}; // XYZ XZY YZX YXZ ZXY ZYX

/// m[column][row] from the sines and cosines of the angles about x, y and z.
template <class Real>
MIEN_IN_LANES void SetRotation(Real (&m)[3][3], const EulerAxes& axes,
                               const SineAndCosineIn<Real> (&angles)[3]) {
  const auto [i, j, k, handedness] = axes;
  const Real cf = angles[i].cosine, cm = angles[j].cosine, cl = angles[k].cosine;
  const Real sf = handedness * angles[i].sine, sm = handedness * angles[j].sine,
             sl = handedness * angles[k].sine;
  m[i][i] = cm * cl;
  m[i][j] = cm * sl;
  m[i][k] = -sm;
  m[j][i] = cl * sm * sf - sl * cf;
  m[j][j] = sl * sm * sf + cl * cf;
  m[j][k] = cm * sf;
  m[k][i] = cl * sm * cf + sl * sf;
  m[k][j] = sl * sm * cf - cl * sf;
  m[k][k] = cm * cf;
}

} // namespace mien::detail
