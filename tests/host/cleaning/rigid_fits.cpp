#include "host/cleaning/rigid_fits.h"

#include "host/cleaning/rigid_fit.h"
#include "tests/host/plain_face.h"
#include "tests/host/same_bits.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <vector>

using mien::Point;
using mien::RigidBody;
using mien::RigidFit;
using mien::RigidFits;
using tests::AnyMotion;
using tests::Carried;

namespace {

RigidBody Body(double noise) {
  tests::Random random(1);
  RigidBody body;
  for (int i = 0; i < 6; ++i) {
    const double x = random.Between(-80, 80), y = random.Between(-80, 80), z = random.Between(-80, 80);
    body.places.emplace_back(Point{x, y, z});
  }
  body.spread_mm.assign(6, 0.3);
  body.noise_mm = noise;
  return body;
}

/// Every third frame has a point that is far off, every fifth does not show the body.
std::vector<RigidBody::Points> Frames(std::size_t count) {
  tests::Random random(2);
  std::vector<RigidBody::Points> frames;
  for (std::size_t f = 0; f < count; ++f) {
    RigidBody::Points& seen = frames.emplace_back();
    const VgeAMatrix motion = AnyMotion(random);
    for (const auto& place : Body(1).places) seen.emplace_back(Carried(motion, *place));
    if (f % 3 == 1) seen[f % 6]->y += 20;
    if (f % 5 == 3) seen.assign(6, std::nullopt);
  }
  return frames;
}

} // namespace

TEST(RigidFits, FindForEveryFrameWhatRigidFitFinds) {
  for (const double noise : {0.3, std::numeric_limits<double>::infinity()})
    for (std::size_t count = 0; count <= 40; ++count) {
      const std::vector<RigidBody::Points> frames = Frames(count);
      RigidFit one(Body(noise));
      std::map<std::size_t, std::optional<VgeAMatrix>> found;
      RigidFits fits(Body(noise), [&](std::size_t f, const std::optional<VgeAMatrix>& motion) {
        EXPECT_TRUE(found.emplace(f, motion).second) << "found twice: " << f;
      });
      for (std::size_t f = 0; f < count; ++f) fits.Add(100 + 2 * f, frames[f]);
      fits.Finish();
      ASSERT_EQ(found.size(), count);
      for (std::size_t f = 0; f < count; ++f) {
        const auto expected = one.Solve(frames[f]);
        EXPECT_EQ(expected.has_value(), f % 5 != 3);
        EXPECT_TRUE(tests::SameBits(found.at(100 + 2 * f), expected)) << f << " of " << count;
      }
    }
}

TEST(RigidFits, WorkOnAfterFinish) {
  const std::vector<RigidBody::Points> frames = Frames(5);
  std::size_t found = 0;
  RigidFits fits(Body(0.3), [&](std::size_t, const std::optional<VgeAMatrix>&) { ++found; });
  fits.Finish();
  EXPECT_EQ(found, 0u);
  for (std::size_t round = 1; round <= 3; ++round) {
    for (std::size_t f = 0; f < 5; ++f) fits.Add(f, frames[f]);
    fits.Finish();
    EXPECT_EQ(found, 5 * round);
  }
}
