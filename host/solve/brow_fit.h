#pragma once

#include "mien/face/face.h"
#include "mien/face/face_state.h"
#include "mien/face/template_state.h"

#include <string_view>

namespace mien {

/// How the weights of the brows are found.
enum class BrowMethod {
  Fit, ///< FitBrows
  Core ///< the library's: by closeness to each template
};

/// "fit" or "core"
constexpr std::string_view ToText(BrowMethod method) { return method == BrowMethod::Fit ? "fit" : "core"; }

/// Sets the brows in `weights` to the two template weights that together reproduce the brow's points best, in
/// least squares: each from 0 to 2, which no brow exceeds. NaN for a brow with a point that is not finite.
/// All other weights stay as they are.
///
/// The library measures each brow template by closeness, so that both leave 0 whichever way the brow moves.
/// Fitted, a raised brow has only `Up`.
void FitBrows(const VFace& face, const VFaceState& solved, VFaceTemplateState& weights);

} // namespace mien
