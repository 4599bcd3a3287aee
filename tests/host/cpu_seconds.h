#pragma once

#include <ctime>

/// The processor time that a call takes, in seconds: what else the machine does, does not count. For work
/// that a mistake would make quadratic, against a bound that is far from both.
template <typename Call>
double CpuSecondsOf(const Call& call) {
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}
