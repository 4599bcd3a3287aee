#include "host/takes/gaps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using mien::FrameSpan;
using mien::GapsOf;
using mien::GapsOfAll;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A take whose markers are seen where their texts have an 'x'. Every second frame number is missing.
Take Seen(const std::vector<std::string>& markers) {
  Take take(std::vector<std::string>(markers.size(), "M"));
  for (std::size_t f = 0; f < markers[0].size(); ++f) {
    take.AddFrame(static_cast<std::int64_t>(2 * f), static_cast<double>(f));
    for (std::size_t m = 0; m < markers.size(); ++m)
      if (markers[m][f] == 'x') take.Set(f, m, {});
  }
  return take;
}

} // namespace

TEST(GapsOf, AreTheSpansWithoutTheMarker) {
  const Take take = Seen({"..x.xxxx..", "xxxxxxxxxx", ".........."});
  EXPECT_THAT(GapsOf(take, 0), ElementsAre(FrameSpan{0, 2}, FrameSpan{3, 4}, FrameSpan{8, 10}));
  EXPECT_THAT(GapsOf(take, 1), IsEmpty());
  EXPECT_THAT(GapsOf(take, 2), ElementsAre(FrameSpan{0, 10}));
}

TEST(GapsOf, ATakeWithoutFramesHasNone) { EXPECT_THAT(GapsOf(Take({"A"}), 0), IsEmpty()); }

// A marker that is cleared has a gap like one that was never there.
TEST(GapsOf, AMarkerTakenOutLeavesAGap) {
  Take take = Seen({"xxxx"});
  take.Clear(1, 0);
  EXPECT_THAT(GapsOf(take, 0), ElementsAre(FrameSpan{1, 2}));
}

TEST(GapsOfAll, AreThoseOfEachMarker) {
  const Take take = Seen({"..x.", "xxxx", "....", "x..x"});
  const auto all = GapsOfAll(take);
  ASSERT_EQ(all.size(), 4u);
  for (std::size_t m = 0; m < 4; ++m) EXPECT_EQ(all[m], GapsOf(take, m)) << m;
  EXPECT_THAT(all[3], ElementsAre(FrameSpan{1, 3}));
}

TEST(GapsOfAll, ATakeWithoutFramesOrMarkersHasNone) {
  EXPECT_THAT(GapsOfAll(Take({"A", "B"})), ElementsAre(IsEmpty(), IsEmpty()));
  EXPECT_THAT(GapsOfAll(Take()), IsEmpty());
}

TEST(GapsOfAll, OfALongTakeAreTheSameForAnyNumberOfThreads) {
  Take take({"A", "B", "C"});
  for (std::size_t f = 0; f < 20'000; ++f) {
    take.AddFrame(static_cast<std::int64_t>(f), static_cast<double>(f));
    if (f * f % 1009 < 500) take.Set(f, 0, {});
    if (f < 100 || f > 19'900) take.Set(f, 1, {}); // a gap across nearly all of it
    if (f % 4096 > 1) take.Set(f, 2, {});
  }
  for (const std::size_t threads : {1u, 2u, 7u}) {
    const auto all = GapsOfAll(take, threads);
    for (std::size_t m = 0; m < 3; ++m) EXPECT_EQ(all[m], GapsOf(take, m)) << threads << " threads, " << m;
    EXPECT_THAT(all[1], ElementsAre(FrameSpan{100, 19'901}));
  }
}
