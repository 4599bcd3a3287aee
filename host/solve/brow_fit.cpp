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

BrowFit::BrowFit(const VFace& face) {
  constexpr int kUp = 0, kDown = 1;
  for (const int p : {kLeftBrow, kRightBrow}) {
    const VFacePart& part = face.mParts[p];
    Brow& brow = brows_[p == kLeftBrow ? 0 : 1];
    brow.first_point = 7 * p;
    brow.first_column = FaceBatch::kFirstTemplate[p];
    for (int j = 0; j < part.mPointCount; ++j) {
      const VgeTVector& rest = part.mDefaultPoints[j];
      const VgeTVector up = Difference(part.mTemplates[kUp]->mPoints[j], rest),
                       down = Difference(part.mTemplates[kDown]->mPoints[j], rest);
      brow.uu += Dot(up, up), brow.ud += Dot(up, down), brow.dd += Dot(down, down);
      brow.rest.push_back(rest), brow.up.push_back(up), brow.down.push_back(down);
    }
  }
}

void BrowFit::Fit(std::size_t frames, const FramePoints<const double>& points,
                  const FrameColumns<double>& weights) const {
  for (const Brow& brow : brows_) {
    const double* first_point = points.first + brow.first_point * points.point_stride;
    double* up = weights.first + brow.first_column * weights.column_stride;
    for (std::size_t f = 0; f < frames; ++f) {
      double wu = 0, wd = 0;
      const double* point = first_point;
      for (std::size_t j = 0; j < brow.rest.size(); ++j, point += points.point_stride) {
        const VgeTVector at = {point[0], point[points.axis_stride], point[2 * points.axis_stride]};
        const VgeTVector way = Difference(at, brow.rest[j]);
        wu += Dot(way, brow.up[j]), wd += Dot(way, brow.down[j]);
      }
      const Weights best = BestOf(brow.uu, brow.ud, brow.dd, wu, wd);
      up[0] = best.up;
      up[weights.column_stride] = best.down;
      first_point += points.frame_stride, up += weights.frame_stride;
    }
  }
}

} // namespace mien
