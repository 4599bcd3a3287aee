#pragma once

#include "mien/face/face.h"
#include "mien/face/face_state.h"
#include "mien/face/template_state.h"

namespace mien {

/// How the weights of the brows are found.
enum class BrowMethod {
  Fit, ///< FitBrows
  Core ///< the library's: by closeness to each template
};

/// Gives the brows of `weights` the two weights that together give back the brow's points best, in least squares: each from 0
/// to 2, beyond which no brow goes. NaN for a brow with a point that is not finite. All other weights stay.
///
/// The library measures each brow template by closeness: both leave 0 whichever way the brow goes, and the raising of a brow
/// shows in the one by what it leaves to the other. Here a raised brow has `Up` alone.
void FitBrows(const VFace& face, const VFaceState& solved, VFaceTemplateState& weights);

} // namespace mien
