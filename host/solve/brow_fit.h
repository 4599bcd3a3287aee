#pragma once

#include "mien/base/geometry.h"
#include "mien/batch/face_batch.h"
#include "mien/face/face.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace mien {

/// How the weights of the brows are found.
enum class BrowMethod {
  Fit, ///< BrowFit
  Core ///< the library's: by closeness to each template
};

/// "fit" or "core"
constexpr std::string_view ToText(BrowMethod method) { return method == BrowMethod::Fit ? "fit" : "core"; }

/// Finds the two weights of each brow that together reproduce the brow's points best, in least squares: each
/// from 0 to 2, which no brow exceeds. NaN for a brow with a point that is not finite.
///
/// The library measures each brow template by closeness, so that both leave 0 whichever way the brow moves.
/// Fitted, a raised brow has only `Up`.
class BrowFit {
public:
  /// Copies what it needs of the face.
  explicit BrowFit(const VFace& face);

  /// Replaces the weights of the brows. All others stay as they are. `points` and `weights` are as in
  /// FaceBatchOutput.
  void Fit(std::size_t frames, const FramePoints<const double>& points,
           const FrameColumns<double>& weights) const;

private:
  struct Brow {
    int first_point, first_column;          // in points and weights
    std::vector<VgeTVector> rest, up, down; // the ways of the points to the templates (size: points)
    double uu = 0, ud = 0, dd = 0;          // the products of these ways
  };
  std::array<Brow, 2> brows_;
};

} // namespace mien
