#pragma once

// Weights compared to the bit, where -0.0 is not 0.0.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace tests {

/// The same bits, or both NaN: which NaN a sum of two keeps is not defined.
inline bool SameBits(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// All weights of a character's state.
using Weights = double[15][500];

inline testing::AssertionResult SameBits(const Weights& actual, const Weights& expected) {
  for (int p = 0; p < 15; ++p)
    for (int s = 0; s < 500; ++s)
      if (!SameBits(actual[p][s], expected[p][s]))
        return testing::AssertionFailure()
               << "part " << p << ", shape " << s << ": " << actual[p][s] << " instead of " << expected[p][s];
  return testing::AssertionSuccess();
}

} // namespace tests
