#pragma once

#include "benchmarks/forms.h"

namespace benchmarks {

/// The solves from template weights to a character's shapes and clusters, and the chain from markers to
/// clusters. Gives the global face the performer's expressions.
void CompareCharacter(Mien& mien, Plain& plain);

} // namespace benchmarks
