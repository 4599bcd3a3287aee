#pragma once

#include "host/cli/output.h"
#include "host/compare/comparison.h"

#include <cstddef>

namespace mien {

/// The curves that a comparison lists unless all are asked for.
inline constexpr std::size_t kSomeCurves = 20;

/// The table of a comparison's curves, at most `most` of them, and what it amounts to.
std::string ToText(const Comparison& comparison, std::size_t most);

} // namespace mien
