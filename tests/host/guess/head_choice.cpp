#include "host/guess/head_choice.h"

#include "tests/host/take_along.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

using mien::ChooseHeadMarkers;
using mien::Point;
using mien::Take;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

struct Marker {
  Point place;
  double slides_mm = 0; ///< along x, with the others of the same amount
};

Take TakeOf(const std::vector<Marker>& markers) {
  tests::Random random(4);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < markers.size(); ++i) names.push_back(std::to_string(i));
  return tests::TakeAlong(names, tests::Numbers(1, 60), {30, 1}, [&](double seconds, std::size_t m) {
    const auto& [p, slides] = markers[m];
    const auto noise = [&] { return random.Between(-0.2, 0.2); };
    return Point{p.x + slides * std::sin(5 * seconds) + noise(), p.y + noise(), p.z + noise()};
  });
}

} // namespace

TEST(HeadChoice, ACapAndSkinBelowItDoNotMix) {
  const Take take = TakeOf({{{0, 100, 0}},
                            {{60, 90, -30}},
                            {{-60, 90, -30}},
                            {{30, 120, -50}},
                            {{0, 0, 20}, 3},
                            {{50, 0, 0}, 3},
                            {{-50, 0, 0}, 3.1}});
  EXPECT_THAT(ChooseHeadMarkers(take, {0, 1, 2, 3, 4, 5, 6}), UnorderedElementsAre(0, 1, 2, 3));
}

TEST(HeadChoice, OfManyFiveFarApartAreChosen) {
  const Take take = TakeOf({{{0, 100, 0}},
                            {{90, 90, -30}},
                            {{-90, 90, -30}},
                            {{0, 0, 40}},
                            {{0, 180, -90}},
                            {{5, 100, 0}},
                            {{85, 90, -30}},
                            {{-85, 92, -30}}});
  const std::vector<std::size_t> head = ChooseHeadMarkers(take, {0, 1, 2, 3, 4, 5, 6, 7});
  ASSERT_EQ(head.size(), 5U);
  const auto count = [&](std::size_t marker) { return std::count(head.begin(), head.end(), marker); };
  EXPECT_EQ(count(0) + count(5), 1);
  EXPECT_EQ(count(1) + count(6), 1);
  EXPECT_EQ(count(2) + count(7), 1);
  EXPECT_EQ(count(3), 1);
  EXPECT_EQ(count(4), 1);
}

TEST(HeadChoice, WithoutThreeRigidMarkersThereIsNone) {
  EXPECT_THAT(ChooseHeadMarkers(TakeOf({{{0, 100, 0}}, {{60, 90, -30}}}), {0, 1}), IsEmpty());
  EXPECT_THAT(ChooseHeadMarkers(TakeOf({{{0, 100, 0}}, {{60, 90, -30}}, {{-60, 90, -30}, 9}}), {0, 1, 2}),
              IsEmpty());
  EXPECT_THAT(ChooseHeadMarkers(TakeOf({{{0, 100, 0}}, {{5, 90, 0}}, {{-5, 90, 0}}}), {0, 1, 2}), IsEmpty())
      << "so close together, they show no turn";
}
