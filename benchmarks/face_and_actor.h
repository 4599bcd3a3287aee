#pragma once

#include "benchmarks/forms.h"

namespace benchmarks {

/// The solves from markers to template weights. The comparison gives the frames the heads that the solves work with.
void CompareFaceAndActor(Mien& mien, Plain& plain);

} // namespace benchmarks
