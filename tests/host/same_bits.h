#pragma once

// Whether results have the same bits: the choice among several NaNs is free.

#include "mien/base/geometry.h"

#include <cmath>
#include <cstring>
#include <optional>

namespace tests {

inline bool SameBits(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

/// Also if both are nothing.
inline bool SameBits(const std::optional<VgeAMatrix>& a, const std::optional<VgeAMatrix>& b) {
  if (!a || !b) return !a && !b;
  for (int column = 0; column < 4; ++column)
    for (int row = 0; row < 4; ++row)
      if (!SameBits(a->m[column][row], b->m[column][row])) return false;
  return true;
}

} // namespace tests
