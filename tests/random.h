#pragma once

// Numbers for property tests: the same on every run, compiler and platform, so that a failing case can be
// reproduced.

#include <cstdint>

namespace tests {

/// A linear congruential generator of 64 bits, of which the upper 53 are used.
class Random {
public:
  explicit Random(std::uint64_t seed) : mState(seed) {}

  /// A number in [low, high).
  double Between(double low, double high) {
    mState = mState * 6364136223846793005u + 1442695040888963407u;
    return low + (high - low) * (static_cast<double>(mState >> 11) * 0x1p-53);
  }

private:
  std::uint64_t mState;
};

} // namespace tests
