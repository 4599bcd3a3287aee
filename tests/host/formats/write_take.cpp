#include "host/formats/write_take.h"

#include "host/formats/read_take.h"
#include "tests/host/note.h"
#include "tests/random.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using mien::FrameRate;
using mien::Origin;
using mien::Point;
using mien::ReadTake;
using mien::Take;
using mien::TakeFormat;
using mien::TakeFormatOf;
using mien::ToText;
using mien::WhatWasLost;
using mien::WriteTake;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr TakeFormat kFormats[] = {TakeFormat::C3d, TakeFormat::Trc, TakeFormat::MarkerCsv};

Take WrittenAndRead(const Take& take, TakeFormat format) {
  std::ostringstream file;
  WriteTake(take, format, file);
  return ReadTake(file.str(), "again");
}

// Regular times, on a clock that shows 0 at frame 1; everything else is random.
Take AnyTake(tests::Random& random) {
  const auto below = [&](int end) { return static_cast<int>(random.Between(0, end)); };
  constexpr FrameRate kRates[] = {{24, 1},       {25, 1},    {30, 1},  {50, 1},        {60, 1},
                                  {100, 1},      {120, 1},   {240, 1}, {30000, 1001},  {24000, 1001},
                                  {60000, 1001}, {1499, 50}, {25, 2},  {120000, 1001}, {1000, 1}};
  std::vector<std::string> names;
  for (int m = 0, count = 1 + below(12); m < count; ++m)
    names.push_back((below(2) ? "Marker " : "root-") + std::to_string(m));
  Take take(names);
  take.file = "any";
  take.name = "any";
  take.rate = kRates[below(std::size(kRates))];

  const int gaps_in_ten = below(10), skips_in_ten = below(4);
  std::int64_t number = 1 + below(1000);
  for (int f = 0, count = 2 + below(60); f < count; ++f) {
    const std::size_t frame = take.AddFrame(number, take.rate.Seconds(number - 1));
    const bool empty = below(10) == 0;
    for (std::size_t m = 0; m < names.size(); ++m) {
      if (empty || below(10) < gaps_in_ten) continue;
      const double size = below(4) == 0 ? 1e-3 : 2000;
      const auto coordinate = [&] {
        return below(10) == 0 ? std::round(random.Between(-9, 9)) : random.Between(-size, size);
      };
      take.Set(
          frame, m,
          {coordinate() + 0.125, coordinate(), coordinate()}); // never all three 0, which many read as a gap
    }
    number += below(10) < skips_in_ten ? 1 + below(5) : 1;
  }
  return take;
}

Point InSinglePrecision(const Point& p) {
  const auto rounded = [](double value) { return static_cast<double>(static_cast<float>(value)); };
  return {rounded(p.x), rounded(p.y), rounded(p.z)};
}

// Requires that `kept` holds `take`. `floats`: a C3D file was on the way.
void ExpectHeld(const Take& take, const Take& kept, bool floats) {
  EXPECT_EQ(kept.markers, take.markers);
  EXPECT_EQ(ToText(kept.rate), ToText(take.rate));
  std::size_t k = 0;
  for (std::size_t f = 0; f < take.FrameCount(); ++f, ++k) {
    for (; floats && k < kept.FrameCount() && kept.frames[k] < take.frames[f]; ++k)
      for (std::size_t m = 0; m < take.MarkerCount(); ++m)
        ASSERT_EQ(kept.At(k, m), nullptr) << kept.frames[k];
    ASSERT_LT(k, kept.FrameCount());
    ASSERT_EQ(kept.frames[k], take.frames[f]);
    ASSERT_NEAR(kept.times[k], take.times[f], 1e-9); // counted from frames in different ways
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point *const was = take.At(f, m), *const is = kept.At(k, m);
      ASSERT_EQ(is != nullptr, was != nullptr) << take.markers[m] << " in frame " << take.frames[f];
      if (!was) continue;
      const Point expected = floats ? InSinglePrecision(*was) : *was;
      ASSERT_EQ(is->x, expected.x);
      ASSERT_EQ(is->y, expected.y);
      ASSERT_EQ(is->z, expected.z);
    }
  }
  EXPECT_EQ(k, kept.FrameCount());
}

// Two markers in four frames, with everything that a take can have.
Take Full() {
  Take take({"A", "B"});
  take.rate = {100, 1};
  take.timecode = mien::Timecode{1000, {25, 1}, false};
  take.residual_mm = 0.5;
  take.events = {{0.01, "clap"}, {0.02, "end"}};
  for (int f = 0; f < 4; ++f) {
    const std::size_t frame = take.AddFrame(f + 1, f / 100.0);
    const auto row = take.RowOf(frame);
    for (std::size_t m = 0; m < 2; ++m) {
      row.positions[m] = {1.0 + f, 2, 3};
      row.origins[m] = Origin::Measured;
      row.sightings[m] = {.cameras = 3, .residual = 2};
    }
  }
  take.Clear(1, 1);
  take.Set(2, 0, {1, 2, 3}, Origin::Computed);
  take.Set(2, 1, {1, 2, 3}, Origin::Filled);
  return take;
}

// What a change to a take is reported as.
std::vector<mien::Note> Lost(const std::function<void(Take&)>& change) {
  Take changed = Full();
  change(changed);
  return WhatWasLost(Full(), changed);
}

} // namespace

TEST(WriteTake, TheEndingSelectsTheFormat) {
  EXPECT_EQ(TakeFormatOf("a.c3d"), TakeFormat::C3d);
  EXPECT_EQ(TakeFormatOf("folder.csv/A.B.TRC"), TakeFormat::Trc);
  EXPECT_EQ(TakeFormatOf("a.Csv"), TakeFormat::MarkerCsv);
  for (const std::string none : {"", "c3d", "a", "a.txt", "a.csv.gz", "a.csv/b", ".csv", "a.c3d "})
    EXPECT_EQ(TakeFormatOf(none), std::nullopt) << none;
  for (const TakeFormat format : kFormats) EXPECT_EQ(WrittenAndRead(Full(), format).format, ToText(format));
}

TEST(WriteTake, EveryFormatHoldsPositionsGapsFrameNumbersAndRateFromEveryOther) {
  tests::Random random(7);
  for (int i = 0; i < 150; ++i) {
    const Take take = AnyTake(random);
    for (const TakeFormat first : kFormats) {
      const Take once = WrittenAndRead(take, first);
      for (const TakeFormat second : kFormats) {
        SCOPED_TRACE(testing::Message()
                     << "take " << i << " as " << ToText(first) << " and " << ToText(second));
        const bool once_floats = first == TakeFormat::C3d;
        ExpectHeld(take, once, once_floats);
        ExpectHeld(take, WrittenAndRead(once, second), once_floats || second == TakeFormat::C3d);
        if (HasFailure()) return;
      }
    }
  }
}

TEST(WhatWasLost, IsNothingForEqualTakes) { EXPECT_THAT(WhatWasLost(Full(), Full()), IsEmpty()); }

TEST(WhatWasLost, IgnoresFileAndFormat) {
  EXPECT_THAT(Lost([](Take& take) {
                take.file = take.name = take.format = take.flavour = take.unit = "other";
                take.notes = {{mien::Code::Doubtful, "", "a note"}};
              }),
              IsEmpty());
}

TEST(WhatWasLost, IsLossy) {
  EXPECT_THAT(Lost([](Take& take) { take.markers[1] = "C"; }),
              ElementsAre(IsNote(mien::Code::Lossy, "", "1 marker is renamed")));
}

TEST(WhatWasLost, PositionsThatMoved) {
  EXPECT_THAT(Lost([](Take& take) {
                take.Set(0, 0, {1.25, 2, 3});
                take.Set(3, 1, {4, 2, 3.5});
              }),
              ElementsAre("positions are rounded, by 0.5 mm at most (\"B\" in frame 4)"));
}

TEST(WhatWasLost, LostAndAddedPositions) {
  EXPECT_THAT(Lost([](Take& take) {
                take.Clear(0, 0);
                take.Clear(0, 1);
                take.Set(1, 1, {1, 2, 3});
              }),
              ElementsAre("2 positions became gaps", "1 gap became a position"));
}

TEST(WhatWasLost, Origins) {
  EXPECT_THAT(
      Lost([](Take& take) {
        take.Set(2, 0, {1, 2, 3}, Origin::Measured);
        take.Set(2, 1, {1, 2, 3}, Origin::Measured);
      }),
      ElementsAre("1 computed position becomes a measured one", "1 filled position becomes a measured one"));
  EXPECT_THAT(Lost([](Take& take) {
                take.Set(2, 1, {1, 2, 3}, Origin::Computed);
              }),
              ElementsAre("1 filled position becomes a computed one"));
  EXPECT_THAT(
      Lost([](Take& take) {
        take.Set(0, 0, {1, 2, 3}, Origin::Computed);
      }),
      ElementsAre("1 measured position becomes a computed one", "1 position loses its cameras and residual"));
}

TEST(WhatWasLost, CamerasAndResiduals) {
  EXPECT_THAT(Lost([](Take& take) { take.residual_mm = 0; }),
              ElementsAre("6 positions lose their cameras and residuals"));
  EXPECT_THAT(Lost([](Take& take) {
                take.RowOf(0).sightings[0].cameras = 7;
                take.RowOf(0).sightings[1].residual = 3;
              }),
              ElementsAre("1 position has other cameras", "residuals are rounded, by 0.5 mm at most"));
  EXPECT_THAT(Lost([](Take& take) { take.RowOf(2).sightings[0].cameras = 7; }), // of a computed position
              ElementsAre("1 position has other cameras"));
  EXPECT_THAT(Lost([](Take& take) { take.RowOf(2).sightings[0].cameras = 0; }),
              ElementsAre("1 position loses its cameras and residual"));
}

TEST(WhatWasLost, FramesRenumberedAddedAndLost) {
  EXPECT_THAT(Lost([](Take& take) {
                for (std::int64_t& number : take.frames) number += 10;
              }),
              ElementsAre("the first frame's number is 11 instead of 1"));
  Take longer = Full();
  longer.AddFrame(5, 0.04);
  EXPECT_THAT(WhatWasLost(Full(), longer), ElementsAre("1 missing frame becomes an empty one"));
  EXPECT_THAT(WhatWasLost(longer, Full()), ElementsAre("1 frame is lost"));
  EXPECT_THAT(WhatWasLost(Full(), Take({"A", "B"})).front(), "0 frames instead of 4");
}

TEST(WhatWasLost, TimesThatShift) {
  EXPECT_THAT(Lost([](Take& take) { take.times[2] += 0.003; }),
              ElementsAre("times become multiples of the rate's period and shift by 3 ms at most (frame 3)"));
  EXPECT_THAT(Lost([](Take& take) {
                for (double& time : take.times) time += 1.5;
              }),
              ElementsAre("the first frame's time is 1.5 s instead of 0 s"));
}

// Counted from frames in two ways, times differ by less than a billionth of a second.
TEST(WhatWasLost, TimesThatShiftByLessThanANanosecondAreTheSame) {
  for (const auto& [shift, told] : {std::pair(0.5e-9, false), {2e-9, true}}) {
    EXPECT_EQ(Lost([&, by = shift](Take& take) { take.times[0] += by; }).empty(), !told) << shift;
    EXPECT_EQ(Lost([&, by = shift](Take& take) { take.times[3] += by; }).empty(), !told) << shift;
  }
}

TEST(WhatWasLost, OfManyEventsTheFirstThreeAreNamed) {
  Take take = Full(), without = Full();
  take.events.clear(), without.events.clear();
  std::string named;
  for (const char* label : {"a", "b", "c", "d", "e"}) {
    take.events.push_back({0.01, label});
    const std::size_t count = take.events.size();
    if (count <= 3) named += std::string(count == 1 ? "" : ", ") + '"' + label + '"';
    const std::string event = count == 1 ? "1 event is" : std::to_string(count) + " events are";
    EXPECT_THAT(WhatWasLost(take, without),
                ElementsAre(event + " left out: " + named +
                            (count > 3 ? " and " + std::to_string(count - 3) + " more" : "")));
  }
}

TEST(WhatWasLost, RateTimecodeEventsAndNames) {
  EXPECT_THAT(Lost([](Take& take) {
                take.rate = {30000, 1001};
              }),
              ElementsAre("the rate is 30000/1001 Hz instead of 100 Hz"));
  EXPECT_THAT(Lost([](Take& take) { take.timecode.reset(); }),
              ElementsAre("the timecode, 00:00:40:00@25, is left out"));
  EXPECT_THAT(Lost([](Take& take) { take.timecode->count = 0; }),
              ElementsAre("the timecode is 00:00:00:00@25 instead of 00:00:40:00@25"));
  EXPECT_THAT(Lost([](Take& take) {
                take.events = {{0.03, "end"}};
              }),
              ElementsAre("1 event is left out: \"clap\"", "events shift by 10 ms at most"));
  EXPECT_THAT(Lost([](Take& take) { take.markers[1] = "C"; }),
              ElementsAre("1 marker is renamed: \"B\" is now \"C\""));
  Take many = Full();
  many.events = {{0, "a"}, {0, "b"}, {0, "c"}, {0, "d"}, {0, "e"}};
  Take none = many;
  none.events.clear();
  EXPECT_THAT(WhatWasLost(many, none), ElementsAre("5 events are left out: \"a\", \"b\", \"c\" and 2 more"));
}

// The kept take has what the other lacks: nothing is lost.
TEST(WhatWasLost, IgnoresWhatIsAdded) {
  Take plain = Full();
  plain.timecode.reset();
  plain.events.clear();
  plain.residual_mm = 0;
  EXPECT_THAT(WhatWasLost(plain, Full()), IsEmpty());
}
