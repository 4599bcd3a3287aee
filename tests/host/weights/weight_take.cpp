#include "host/weights/weight_take.h"

#include <gtest/gtest.h>

TEST(WeightTake, HasTemplatesWhereAllOfItsNamesAreTheirs) {
  mien::WeightTake take;
  take.names = {"Mouth.Open", "LeftEye.Close"};
  EXPECT_TRUE(take.HasTemplates());
  take.names.push_back("jawOpen");
  EXPECT_FALSE(take.HasTemplates());
}
