// A library that exports what it should hide and uses what it should not.

#include <cmath>
#include <cstdio>

__attribute__((visibility("default"))) double Leak(double x) {
  std::puts("leaking");
  return std::exp(x);
}
