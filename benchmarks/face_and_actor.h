#pragma once

#include "benchmarks/forms.h"

namespace benchmarks {

/// The solves from markers to template weights. The comparison computes the heads of the frames, which the
/// solves need.
void CompareFaceAndActor(Mien& mien, Plain& plain);

} // namespace benchmarks
