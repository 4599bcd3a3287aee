#include "host/solve/solve_options.h"

#include <gtest/gtest.h>

// What docs/cleaning.md says is done where nothing else is asked for.
TEST(SolveOptions, UnlessAskedOtherwiseAreThoseOfTheDocuments) {
  const mien::SolveOptions options;
  EXPECT_EQ(ToText(options.head_fill), "pattern:2");
  EXPECT_EQ(ToText(options.face_fill), "cubic:0.15,pattern:0.5");
  EXPECT_EQ(options.head_tolerance_mm, 6);
  EXPECT_EQ(options.fade_s, 0.25);
  EXPECT_FALSE(options.smooth_positions_hz);
  EXPECT_FALSE(options.smooth_weights_hz);
}
