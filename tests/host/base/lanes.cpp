#include "host/base/lanes.h"

#include "host/base/quaternion_rotation.h"
#include "tests/host/same_bits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNumbers[] = {0.0, -0.0, 1.5, -2.25, 1e300, 5e-324, -kInfinity, kInfinity};

#if defined(__GNUC__)
using SomeLanes = mien::TwoLanes; // the wider ones are only for the processors that have them
#else
using SomeLanes = double;
#endif
constexpr std::size_t kWidth = mien::kLanes<SomeLanes>;

/// Calls `expect(number of one lane, that lane of the result of all)` for every number and every neighbour.
template <class InLanes, class Expect>
void ForEachLane(InLanes in_lanes, Expect expect) {
  for (const double a : kNumbers)
    for (const double b : kNumbers) {
      double numbers[kWidth] = {};
      for (std::size_t i = 0; i < kWidth; ++i) numbers[i] = i == 0 ? a : b;
      double results[kWidth];
      mien::Store<SomeLanes>(results, in_lanes(mien::Load<SomeLanes>(numbers)));
      for (std::size_t i = 0; i < kWidth; ++i) expect(numbers[i], results[i]);
    }
}

} // namespace

TEST(Lanes, EachHasTheBitsOfTheSameStepWithOneNumber) {
  ForEachLane([](const SomeLanes& lanes) { return mien::Magnitude(lanes); },
              [](double number, double result) { EXPECT_TRUE(tests::SameBits(result, std::fabs(number))); });
  ForEachLane([](const SomeLanes& lanes) { return mien::SquareRoot(lanes); },
              [](double number, double result) {
                if (number < 0)
                  EXPECT_TRUE(std::isnan(result));
                else
                  EXPECT_TRUE(tests::SameBits(result, std::sqrt(number))) << number;
              });
  ForEachLane(
      [](const SomeLanes& lanes) {
        return mien::Select<SomeLanes>(lanes > 1.0, lanes, mien::Broadcast<SomeLanes>(7));
      },
      [](double number, double result) { EXPECT_EQ(result, number > 1 ? number : 7); });
}

TEST(Lanes, AnyIsTrueInOne) {
  for (std::size_t lane = 0; lane < kWidth; ++lane) {
    double numbers[kWidth] = {};
    EXPECT_FALSE(mien::Any(mien::Load<SomeLanes>(numbers) > 0.0));
    numbers[lane] = 1;
    EXPECT_TRUE(mien::Any(mien::Load<SomeLanes>(numbers) > 0.0)) << lane;
  }
}

TEST(SetRotation, IsTheSameInEachLane) {
  double expected[3][3];
  mien::SetRotation<double>(expected, 0.3, -0.5, 1e-3, 0.7);
  SomeLanes columns[3][3];
  mien::SetRotation<SomeLanes>(columns, mien::Broadcast<SomeLanes>(0.3), mien::Broadcast<SomeLanes>(-0.5),
                               mien::Broadcast<SomeLanes>(1e-3), mien::Broadcast<SomeLanes>(0.7));
  for (int column = 0; column < 3; ++column)
    for (int row = 0; row < 3; ++row) {
      double results[kWidth];
      mien::Store<SomeLanes>(results, columns[column][row]);
      for (const double result : results) EXPECT_TRUE(tests::SameBits(result, expected[column][row]));
    }
}
