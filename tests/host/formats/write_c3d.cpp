#include "host/formats/c3d.h"
#include "host/formats/read_take.h"
#include "host/formats/write_take.h"
#include "tests/host/formats/read_c3d.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/random.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using mien::FrameRate;
using mien::Origin;
using mien::Point;
using mien::ReadTake;
using mien::Sighting;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string Written(const Take& take) {
  std::ostringstream out;
  mien::WriteC3d(take, out);
  return out.str();
}
Take WrittenAndRead(const Take& take) {
  return ReadTake(Written(take), "t.c3d", {.strict = true, .face = {}}); // that is, without a note
}

double Single(double number) { return static_cast<double>(static_cast<float>(number)); }

int Word(const std::string& bytes, std::size_t number) { // of the header, from 1
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes.at(2 * (number - 1) + i)); };
  return byte(1) << 8 | byte(0);
}
double RealAt(const std::string& bytes, std::size_t at) {
  std::uint32_t bits = 0;
  for (std::size_t i = 4; i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes.at(at + i));
  return static_cast<double>(std::bit_cast<float>(bits));
}
// The bytes of a parameter's value, behind its name, offset, type and dimensions.
std::size_t ValueAt(const std::string& bytes, const std::string& name, std::size_t dimensions) {
  const std::size_t at = bytes.find(name);
  EXPECT_NE(at, std::string::npos) << name;
  return at + name.size() + 2 + 2 + dimensions;
}

// One marker at (1, 2, 3) in frames of these numbers.
Take Frames(const std::vector<std::int64_t>& numbers, FrameRate rate = {100, 1}) {
  Take take({"Chin"});
  take.file = "take.csv";
  take.rate = rate;
  for (const std::int64_t number : numbers)
    take.Set(take.AddFrame(number, rate.Seconds(number - 1)), 0, {1, 2, 3});
  return take;
}
Take FrameRun(std::int64_t first, std::int64_t count) {
  std::vector<std::int64_t> numbers;
  for (std::int64_t i = 0; i < count; ++i) numbers.push_back(first + i);
  return Frames(numbers);
}

} // namespace

TEST(WriteC3d, TakesReadBackAsTheyWere) {
  const std::vector<FrameRate> kRates = {{120, 1}, {30000, 1001}, {25, 1}, {29983, 1000}, {2997, 100}};
  tests::Random random(7);
  const auto whole = [&](int most) { return static_cast<int>(random.Between(0, most)); };
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    std::vector<std::string> names;
    for (int i = 0, count = 1 + whole(12); i < count; ++i)
      names.push_back(fmt::format("M{}:\xC3\xA4{}", whole(9), i));
    Take take(names);
    take.rate = kRates[static_cast<std::size_t>(whole(5))];
    if (round % 2 == 0) take.residual_mm = random.Between(0.01, 2);
    if (round % 3 == 0) take.timecode = mien::ParseTimecode("23:59:58:29", {30, 1});
    const double size = std::pow(10, random.Between(-3, 5));
    std::int64_t number = whole(3) == 0 ? whole(200000) - 1000 : 1;
    for (int i = 0, count = 1 + whole(40); i < count; ++i, number += whole(8) == 0 ? 3 : 1) {
      const std::size_t frame = take.AddFrame(number, take.rate.Seconds(number - 1));
      for (std::size_t m = 0; m < names.size(); ++m) {
        const auto coordinate = [&] { return random.Between(-size, size); };
        const auto origin = static_cast<Origin>(whole(4));
        if (origin == Origin::None) continue;
        take.Set(frame, m, {coordinate(), coordinate(), coordinate()}, origin);
        if (take.HasSightings())
          take.RowOf(frame).sightings[m] = {static_cast<std::uint8_t>(whole(128)),
                                            static_cast<std::uint8_t>(1 + whole(255))};
      }
    }
    const Take back = WrittenAndRead(take);
    ASSERT_EQ(back.markers, take.markers);
    ASSERT_EQ(back.rate, take.rate);
    ASSERT_EQ(back.timecode, take.timecode);
    ASSERT_EQ(back.frames.front(), take.frames.front());
    ASSERT_EQ(back.frames.back(), take.frames.back());
    ASSERT_EQ(static_cast<std::int64_t>(back.FrameCount()), take.frames.back() - take.frames.front() + 1);
    std::size_t frame = 0;
    for (std::size_t b = 0; b < back.FrameCount(); ++b) {
      const bool lacks = take.frames[frame] != back.frames[b];
      for (std::size_t m = 0; m < names.size(); ++m) {
        const Point* const p = lacks ? nullptr : take.At(frame, m);
        const Point* const q = back.At(b, m);
        ASSERT_EQ(q == nullptr, p == nullptr);
        if (!p) continue;
        ASSERT_EQ(q->x, Single(p->x));
        ASSERT_EQ(q->y, Single(p->y));
        ASSERT_EQ(q->z, Single(p->z));
        const bool measured = take.OriginAt(frame, m) == Origin::Measured;
        ASSERT_EQ(back.OriginAt(b, m), measured ? Origin::Measured : Origin::Computed);
        ASSERT_EQ(back.CamerasAt(b, m), take.CamerasAt(frame, m));
        if (!measured) continue;
        const std::optional<Sighting> seen = take.SightingAt(frame, m), again = back.SightingAt(b, m);
        ASSERT_EQ(again->cameras, seen ? seen->cameras : 0);
        if (!seen) {
          ASSERT_EQ(again->residual, 1);
          continue;
        }
        const double mm = seen->residual * take.residual_mm, step = back.residual_mm;
        ASSERT_GE(again->residual, 1);
        // Half a step, and what the step lost in single precision, 255 times.
        ASSERT_LE(std::abs(again->residual * step - std::max(mm, step)), 0.5001 * step);
      }
      if (!lacks) ++frame;
    }
    ASSERT_EQ(frame, take.FrameCount());
  }
}

TEST(WriteC3d, HeaderAndScaleAreAsTheFormatAsks) {
  Take take = Frames({1, 2});
  take.Set(1, 0, {1, -1600, 3});
  const std::string bytes = Written(take);
  EXPECT_EQ(bytes.size() % 512, 0u);
  EXPECT_EQ(Word(bytes, 1), 0x5002);
  EXPECT_EQ(Word(bytes, 2), 1); // points
  EXPECT_EQ(Word(bytes, 3), 0); // analog
  EXPECT_EQ(Word(bytes, 4), 1); // frames
  EXPECT_EQ(Word(bytes, 5), 2);
  EXPECT_EQ(RealAt(bytes, 12), Single(-0.05)); // 1600 / 32000
  EXPECT_EQ(Word(bytes, 9), 3);
  EXPECT_EQ(RealAt(bytes, 20), 100);
  EXPECT_EQ(RealAt(bytes, ValueAt(bytes, "SCALE", 0)), Single(-0.05));
  EXPECT_EQ(bytes.substr(512, 4), "\x01\x50\x01\x54");
  EXPECT_EQ(RealAt(bytes, 1024), 1); // the first position's x, and its fourth number
  EXPECT_EQ(RealAt(bytes, 1024 + 12), 1);
  EXPECT_EQ(bytes.find("MIEN"), std::string::npos); // as C3D has a place for everything
}

TEST(WriteC3d, GapsAreMinusOneAtZero) {
  Take take = Frames({1, 3});
  take.Clear(1, 0);
  const std::string bytes = Written(take);
  for (std::size_t frame : {1u, 2u})
    for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(RealAt(bytes, 1024 + frame * 16 + 4 * k), k == 3 ? -1 : 0);
  const Take back = WrittenAndRead(take);
  EXPECT_THAT(back.frames, ElementsAre(1, 2, 3));
  EXPECT_NE(back.At(0, 0), nullptr);
  EXPECT_EQ(back.At(1, 0), nullptr);
  EXPECT_EQ(back.At(2, 0), nullptr);
}

TEST(WriteC3d, OriginStaysAPosition) {
  for (const Origin origin : {Origin::Measured, Origin::Computed, Origin::Filled}) {
    Take take = Frames({1});
    take.Set(0, 0, {0, 0, 0}, origin);
    const Take back = WrittenAndRead(take);
    ASSERT_NE(back.At(0, 0), nullptr);
    EXPECT_NEAR(back.At(0, 0)->x, 0, 2e-38); // the smallest normal single
    EXPECT_EQ(back.At(0, 0)->y, 0);
  }
}

TEST(WriteC3d, AComputedPositionKeepsItsCamerasAndItsResidualOfZero) {
  tests::C3dBuilder file;
  file.frames = {{{1, 2, 3, 0x3E00}, {4, 5, 6, 0x0302}}};
  file.Words("POINT", "FRAMES", {1});
  const Take take = Read(file), back = WrittenAndRead(take);
  EXPECT_EQ(back.OriginAt(0, 0), Origin::Computed);
  EXPECT_EQ(back.CamerasAt(0, 0), 0x3E);
  EXPECT_FALSE(back.SightingAt(0, 0));
  EXPECT_THAT(mien::WhatWasLost(take, back),
              ElementsAre(Says(testing::StartsWith("residuals are rounded")))); // the other position's
}

TEST(WriteC3d, LargestResidualFitsAndMillimetresStay) {
  Take take({"Chin"});
  take.rate = {100, 1};
  take.residual_mm = 1;
  take.AddFrame(1, 0);
  take.Set(0, 0, {1, 2, 3}); // whose own step would be a ten-thousandth of a millimetre
  take.RowOf(0).sightings[0] = {0x7F, 200};
  take.AddFrame(2, 0.01);
  take.Set(1, 0, {1, 2, 3});
  take.RowOf(1).sightings[0] = {0xFF, 3}; // the eighth camera has no bit
  const Take back = WrittenAndRead(take);
  // Half a step of 200/255 mm.
  EXPECT_NEAR(back.SightingAt(0, 0)->residual * back.residual_mm, 200, 0.4);
  EXPECT_NEAR(back.SightingAt(1, 0)->residual * back.residual_mm, 3, 0.4);
  EXPECT_EQ(back.SightingAt(0, 0)->cameras, 0x7F);
  EXPECT_EQ(back.SightingAt(1, 0)->cameras, 0x7F);
}

TEST(WriteC3d, FrameCountsOfEverySize) {
  for (const int count : {65534, 65535, 65536, 70000}) {
    SCOPED_TRACE(count);
    const std::string bytes = Written(FrameRun(1, count));
    EXPECT_EQ(Word(bytes, 5), std::min(count, 65535));
    EXPECT_EQ(bytes.find("LONG_FRAMES") != std::string::npos, count >= 65535);
    const Take back = ReadTake(bytes, "t", {.strict = true, .face = {}});
    EXPECT_EQ(back.FrameCount(), static_cast<std::size_t>(count));
    EXPECT_EQ(back.frames.back(), count);
  }
}

TEST(WriteC3d, FirstFrameKeepsItsNumber) {
  constexpr std::int64_t kTwoWords = 0xFFFFFFFF;
  for (const std::int64_t first :
       std::vector<std::int64_t>{1, 2, 91, 65534, 65535, 65536, 70000, kTwoWords - 1, kTwoWords,
                                 kTwoWords + 1, 0, -1, -70000, std::int64_t{1} << 40}) {
    SCOPED_TRACE(first);
    const std::string bytes = Written(Frames({first, first + 1}));
    const bool plain = first >= 1 && first + 1 <= kTwoWords;
    EXPECT_EQ(bytes.find("FIRST_FRAME") == std::string::npos, plain);
    EXPECT_EQ(Word(bytes, 4), plain ? std::min<std::int64_t>(first, 65535) : 1);
    const Take back = ReadTake(bytes, "t", {.strict = true, .face = {}});
    EXPECT_THAT(back.frames, ElementsAre(first, first + 1));
    EXPECT_EQ(back.times.front(), (FrameRate{100, 1}.Seconds(first - 1)));
  }
}

TEST(WriteC3d, LabelsBeyond255AreContinued) {
  for (const int count : {255, 256, 511, 3000}) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) names.push_back(fmt::format("Marker{}", i + 1));
    Take take(names);
    take.rate = {100, 1};
    take.AddFrame(1, 0);
    const std::string bytes = Written(take);
    EXPECT_EQ(bytes.find("LABELS2") != std::string::npos, count > 255);
    EXPECT_EQ(bytes.find("LABELS3") != std::string::npos, count > 510);
    EXPECT_EQ(ReadTake(bytes, "t", {.strict = true, .face = {}}).markers, names);
  }
}

TEST(WriteC3d, EventsKeepLabelsAndTimes) {
  Take take = Frames({11, 12});
  take.events = {{0.25, "Left Foot Strike"}, {0.5, "Clap"}, {61.5, "Right"}, {3600.125, "General Take 2"}};
  Take back = WrittenAndRead(take);
  ASSERT_EQ(back.events.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(back.events[i].label, take.events[i].label);
    EXPECT_EQ(back.events[i].time, take.events[i].time); // binary fractions
  }
  const std::string bytes = Written(take);
  EXPECT_EQ(bytes.substr(ValueAt(bytes, "CONTEXTS", 2), 14), "Left          ");

  take.events.clear();
  for (int i = 0; i < 600; ++i) take.events.push_back({i + 0.1, "Clap"});
  back = WrittenAndRead(take);
  ASSERT_EQ(back.events.size(), 600u);
  for (std::size_t i = 0; i < 600; ++i)
    EXPECT_NEAR(back.events[i].time, take.events[i].time, 2e-6); // seconds of a minute in single precision
}

TEST(WriteC3d, ExactRateAndTimecodeAreKept) {
  for (const FrameRate rate : {FrameRate{30000, 1001}, {2997, 100}, {29983, 1000}, {1, 3}, {355, 113}}) {
    Take take = Frames({1, 2}, rate);
    take.timecode = mien::ParseTimecode("10:02:59;29", {30, 1});
    const Take back = WrittenAndRead(take);
    EXPECT_EQ(back.rate, rate);
    EXPECT_EQ(back.timecode, take.timecode);
  }
}

TEST(WriteC3d, NamesHaveUpTo255Bytes) {
  Take take = Frames({1});
  take.markers[0] = std::string(255, 'm');
  take.events = {{0, std::string(255, 'e')}};
  const Take back = WrittenAndRead(take);
  EXPECT_THAT(back.markers, ElementsAre(take.markers[0]));
  ASSERT_EQ(back.events.size(), 1u);
  EXPECT_EQ(back.events[0].label, take.events[0].label);
}

// The bytes themselves would be 268 million.
TEST(WriteC3d, FramesGoUpTo2ToThe24thWithoutTheLast) {
  constexpr std::int64_t kLast = (1 << 24) - 1;
  std::vector<std::int64_t> numbers;
  for (std::int64_t number = 1; number < kLast; number += 11)
    numbers.push_back(number); // which lacks ten times as many
  numbers.push_back(kLast);
  std::ostream nowhere(nullptr);
  EXPECT_EQ(InputErrorOf([&] { mien::WriteC3d(Frames(numbers), nowhere); }), "no InputError");
}

TEST(WriteC3d, AFewFramesWithWildNumbersDoNotBecomeAGigabyte) {
  const auto error = [](const std::vector<std::int64_t>& numbers) {
    std::ostream nowhere(nullptr);
    return InputErrorOf([&] { mien::WriteC3d(Frames(numbers), nowhere); });
  };
  EXPECT_EQ(error({1, 10'000'000}), "take.csv: 2 frames numbered from 1 to 10000000: a C3D file would hold "
                                    "9999998 empty frames in between; "
                                    "correct the frame numbers, or write a part of the take (--frames)");
  // Ten thousand may be missing, or ten times as many as there are.
  EXPECT_EQ(error({1, 10'002}), "no InputError");
  EXPECT_THAT(error({1, 10'003}), HasSubstr("10001 empty frames"));
  std::vector<std::int64_t> numbers(2000);
  std::iota(numbers.begin(), numbers.end(), std::int64_t{1});
  numbers.push_back(2001 + 20'010);
  EXPECT_EQ(error(numbers), "no InputError");
  ++numbers.back();
  EXPECT_THAT(error(numbers), HasSubstr("20011 empty frames"));
}

TEST(WriteC3d, WhatDoesNotFitIsRefusedBeforeAnythingIsWritten) {
  const auto refused = [](const Take& take, const std::string& what, const char* code = "limit") {
    std::ostringstream out;
    EXPECT_EQ(ProblemOf([&] { mien::WriteC3d(take, out); }), code + std::string(" at no place"));
    EXPECT_THAT(InputErrorOf([&] { mien::WriteC3d(take, out); }), HasSubstr(what));
    EXPECT_EQ(out.str(), "");
  };
  Take take = Frames({1});
  take.markers[0] = std::string(256, 'x');
  refused(take, "has 256 bytes, and in a C3D file at most 255");

  take = Take(std::vector<std::string>(65536, "x"));
  take.rate = {100, 1};
  take.AddFrame(1, 0);
  refused(take, "65536 markers");

  take = Take(std::vector<std::string>(65535, "x")); // few enough, but their names are too long together
  take.rate = {100, 1};
  take.AddFrame(1, 0);
  refused(take, "too long for a C3D file");

  take = Take(std::vector<std::string>(200, std::string(200, 'x'))); // 40000 bytes in one record
  take.rate = {100, 1};
  take.AddFrame(1, 0);
  refused(take, "too long for a C3D file");

  take = Take(std::vector<std::string>(1000, std::string(200, 'x')));
  take.rate = {100, 1};
  take.AddFrame(1, 0);
  refused(take, "too long for a C3D file");

  take = Take(std::vector<std::string>());
  take.rate = {100, 1};
  take.AddFrame(1, 0);
  refused(take, "no markers", "empty");

  take = Take({"Chin"});
  take.rate = {100, 1};
  refused(take, "no frames", "empty");

  take = Frames({1});
  take.rate = {};
  refused(take, "no frame rate", "missing");

  take = Frames({1, 1 << 24});
  refused(take, "numbered from 1 to 16777216");
  take = Frames({std::int64_t{1} << 60});
  refused(take, "number them from 1");

  take = Frames({1});
  take.Set(0, 0, {0, 1e39, 0});
  refused(take, "frame 1: marker \"Chin\" is 1e+39 mm from the origin");

  take = Frames({1});
  take.events = {{0, std::string(256, 'x')}};
  refused(take, "the event");
}
