#include "host/animation/weight_finder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using mien::FindArkitName;
using mien::WeightFinder;
using testing::Optional;

TEST(WeightFinder, FindsByNameCaseAndMeaning) {
  const WeightFinder weights({"Happy", "happy", "eye_blink_L", "browInnerUp"});
  EXPECT_THAT(weights.Named("happy"), Optional(1u));
  EXPECT_EQ(weights.Named("HAPPY"), std::nullopt);
  EXPECT_THAT(weights.NamedInAnyCase("HAPPY"), Optional(0u)) << "the first";
  EXPECT_EQ(weights.NamedInAnyCase("sad"), std::nullopt);
  EXPECT_THAT(weights.Meaning(*FindArkitName("eyeBlinkLeft")), Optional(2u));
  EXPECT_EQ(weights.Meaning(*FindArkitName("eyeBlinkRight")), std::nullopt);
  EXPECT_THAT(weights.Meaning(*FindArkitName("browInnerUp_L")), Optional(3u)) << "both halves stand for one";
}
