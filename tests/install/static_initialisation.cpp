#include "tests/install/static_initialisation.h"

#include <cstdio>

int main() {
  const double opening = MeasureOpening();
  const double width = MeasureMouthWidth();
  std::printf("opening %g, before main %g; mouth width %g, before main %g\n", opening, opening_before_main,
              width, mouth_width_before_main);
  if (opening == 0 || opening != opening_before_main || width == 0 || width != mouth_width_before_main)
    return 1;
  std::puts("before main as after it");
}
