#include "host/solve/brow_fit.h"

#include "host/base/face_parts.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace mien {

namespace {

constexpr double kMost = 2;

double Bounded(double weight) { return std::clamp(weight, 0.0, kMost); }

struct Weights {
  double up, down;
};

/// The weights that make up u + down d nearest to the brow's way, from the products of the three. `ud` may be
/// of any sign.
///
/// Of a sum of two with bounds, either both are inside, or one is at a bound and the other is best for it:
/// the error is convex, so the best of these candidates is the best of all.
Weights BestOf(double uu, double ud, double dd, double wu, double wd) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  if (!std::isfinite(wu) || !std::isfinite(wd)) return {kNaN, kNaN}; // it must not pass for a brow at rest
  const double determinant = uu * dd - ud * ud;
  if (determinant > 1e-9 * uu * dd) {
    const Weights free = {(dd * wu - ud * wd) / determinant, (uu * wd - ud * wu) / determinant};
    if (free.up >= 0 && free.up <= kMost && free.down >= 0 && free.down <= kMost) return free;
  }
  Weights best = {0, 0};
  double least = 0; // of the error, less the square of the brow's way
  for (const double bound : {0.0, kMost}) {
    const Weights candidates[] = {{bound, dd > 0 ? Bounded((wd - bound * ud) / dd) : 0},
                                  {uu > 0 ? Bounded((wu - bound * ud) / uu) : 0, bound}};
    for (const Weights& w : candidates) {
      const double error =
          w.up * w.up * uu + 2 * w.up * w.down * ud + w.down * w.down * dd - 2 * (w.up * wu + w.down * wd);
      if (error < least) best = w, least = error;
    }
  }
  return best;
}

} // namespace

void FitBrows(const VFace& face, const VFaceState& solved, VFaceTemplateState& weights) {
  constexpr int kUp = 0, kDown = 1;
  for (const int p : {kLeftBrow, kRightBrow}) {
    const VFacePart& part = face.mParts[p];
    double uu = 0, ud = 0, dd = 0, wu = 0, wd = 0;
    for (int j = 0; j < part.mPointCount; ++j) {
      const VgeTVector& rest = part.mDefaultPoints[j];
      const VgeTVector up = Difference(part.mTemplates[kUp]->mPoints[j], rest),
                       down = Difference(part.mTemplates[kDown]->mPoints[j], rest),
                       way = Difference(solved.mParts[p].mPoints[j], rest);
      uu += Dot(up, up), ud += Dot(up, down), dd += Dot(down, down);
      wu += Dot(way, up), wd += Dot(way, down);
    }
    const Weights best = BestOf(uu, ud, dd, wu, wd);
    weights.mParts[p].mWeights[kUp] = best.up;
    weights.mParts[p].mWeights[kDown] = best.down;
  }
}

} // namespace mien
