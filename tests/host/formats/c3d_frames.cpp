#include "host/formats/c3d_frames.h"

#include "host/formats/c3d_numbers.h"
#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

using mien::Code;
using mien::Origin;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::C3dBuilder;
using tests::Cell;
using tests::Cells;
using tests::kCells;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(C3dFrames, SixEncodingsOfATakeAreEqualInEveryNumber) {
  const std::map<int, std::string> processors = {
      {C3dBuilder::kIntel, "Intel"}, {C3dBuilder::kDec, "DEC"}, {C3dBuilder::kSgi, "SGI"}};
  for (const auto& [processor, name] : processors)
    for (const bool real : {false, true}) {
      C3dBuilder file;
      file.Encode(processor, real);
      const Take take = Read(file);
      EXPECT_EQ(take.flavour, name + (real ? ", float" : ", integer"));
      SCOPED_TRACE(take.flavour);
      EXPECT_EQ(Cells(take), kCells);
      EXPECT_EQ(take.residual_mm, 0.5);
      EXPECT_THAT(take.markers, ElementsAre("LipU", "Chin"));
      EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
      EXPECT_THAT(take.times, ElementsAre(0, 0.01, 0.02));
      EXPECT_EQ(take.rate, (mien::FrameRate{100, 1}));
      EXPECT_EQ(take.unit, "mm");
      EXPECT_EQ(take.format, "C3D");
      EXPECT_THAT(take.notes, IsEmpty());
    }
}

TEST(C3dFrames, DecFloatsKeepEveryBit) {
  for (const double value : {1.0, -1.0, 0.1, 9.0e5, -2.5e-30, 1.0 / 3, 0x1p-100}) {
    C3dBuilder file;
    file.Encode(C3dBuilder::kDec, true);
    file.frames = {{{value, 0, 0, 1}, {1, 1, 1, 1}}};
    file.Words("POINT", "FRAMES", {1});
    EXPECT_EQ(Read(file).At(0, 0)->x, static_cast<double>(static_cast<float>(value))) << value;
  }
}

TEST(C3dFrames, DecFloatsGoFartherThanPositionsDo) {
  for (const float value : {3.0e37f, -3.0e37f, 8.0e37f}) {
    const std::uint32_t bits =
        std::bit_cast<std::uint32_t>(value) + (2u << 23); // its exponent is larger by 2
    const auto byte = [bits](int shift) { return static_cast<char>(bits >> shift & 0xFF); };
    const char bytes[] = {byte(16), byte(24), byte(0), byte(8)};
    EXPECT_EQ(mien::c3d::RealAt(mien::c3d::Processor::Dec, bytes), static_cast<double>(value));
  }
}

TEST(C3dFrames, FourthNumberOfFloatsIsCutToAWord) {
  C3dBuilder file;
  file.points = 1;
  file.Words("POINT", "USED", {1});
  file.frames.clear();
  const std::vector<std::pair<double, Cell>> cases = {
      {0.5, {Origin::Computed, 1, 2, 3, -1, -1}},
      {-0.5, {Origin::Computed, 1, 2, 3, -1, -1}},
      {1.9, {Origin::Measured, 1, 2, 3, 0, 1}},
      {0x3E10, {Origin::Measured, 1, 2, 3, 0x3E, 16}},
      {0x3E00, {Origin::Computed, 1, 2, 3, -1, -1}}, // a residual of 0 means computed, whatever the cameras
      {32767, {Origin::Measured, 1, 2, 3, 0x7F, 255}},
      {-1, {Origin::None, 0, 0, 0, 0, 0}},
      {-3e30, {Origin::None, 0, 0, 0, 0, 0}},
      {32768, {Origin::None, 0, 0, 0, 0, 0}}, // negative as a word
      {65535, {Origin::None, 0, 0, 0, 0, 0}},
      {65536, {Origin::None, 0, 0, 0, 0, 0}},
      {kNan, {Origin::None, 0, 0, 0, 0, 0}}};
  std::vector<Cell> expected;
  for (const auto& [fourth, cell] : cases) {
    file.frames.push_back({{1, 2, 3, fourth}});
    expected.push_back(cell);
  }
  file.Words("POINT", "FRAMES", {double(cases.size())});
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), expected);
  EXPECT_THAT(take.notes, ElementsAre("positions whose residual is NaN or above 65535, taken as gaps: 2"));
}

TEST(C3dFrames, ResidualsAreMultiplesOfTheScaleInMillimetres) {
  C3dBuilder file;
  file.Reals("POINT", "SCALE", {-0.0833333358168602});
  file.frames[0][0][3] = 0x3E10;
  Take take = Read(file);
  EXPECT_NEAR(take.SightingAt(0, 0)->residual * take.residual_mm, 1.3333,
              5e-5);                                   // known to 4 decimals
  EXPECT_EQ(take.SightingAt(0, 0)->cameras, 0b111110); // 2 to 6

  file.Set("POINT", "UNITS", {-1, {2}, {}, "m "});
  take = Read(file);
  EXPECT_NEAR(take.residual_mm, 83.3333, 5e-5);
}

TEST(C3dFrames, CoordinatesThatAreNotNumbersAreGaps) {
  for (const double bad : {kNan, std::numeric_limits<double>::infinity()})
    for (std::size_t axis = 0; axis < 3; ++axis) {
      C3dBuilder file;
      file.frames[0][0][axis] = bad;
      file.frames[1][1][axis] = bad; // a gap already
      const Take take = Read(file);
      EXPECT_EQ(take.At(0, 0), nullptr);
      EXPECT_NE(take.At(0, 1), nullptr);
      EXPECT_THAT(take.notes,
                  ElementsAre("positions with coordinates that are NaN or infinite, taken as gaps: 1"));
    }
}

TEST(C3dFrames, ExactZeroIsAGap) {
  for (const bool real : {false, true})
    for (const double fourth : {0.0, 1.0, 32767.0}) {
      C3dBuilder file;
      file.Encode(C3dBuilder::kIntel, real);
      file.frames[0][0] = {0, 0, 0, fourth};
      file.frames[0][1] = {0, 0.5, 0, fourth};
      const Take take = Read(file);
      EXPECT_EQ(take.At(0, 0), nullptr);
      EXPECT_NE(take.At(0, 1), nullptr);
      EXPECT_THAT(take.notes, ElementsAre("positions at exactly (0, 0, 0), taken as gaps: 1"));
    }
}

TEST(C3dFrames, NotesHaveCodes) {
  C3dBuilder file;
  file.frames = {{{kNan, 2, 3, 1}, {4, 5, 6, kNan}}, {{0, 0, 0, 1}, {4, 5, 6, 1}}};
  file.header[5] = 2;
  file.Words("POINT", "FRAMES", {2});
  EXPECT_THAT(Read(file).notes,
              ElementsAre(IsNote(Code::InvalidValue, "", "positions with coordinates that are NaN"),
                          IsNote(Code::Doubtful, "", "positions at exactly (0, 0, 0)"),
                          IsNote(Code::InvalidValue, "", "positions whose residual is NaN")));
}

// The oddities are in different threads' frames: the first of them counts, and all are counted.
TEST(C3dFrames, AnyNumberOfThreadsReadsTheSameTake) {
  for (const bool real : {false, true}) {
    C3dBuilder file;
    file.Encode(C3dBuilder::kIntel, real);
    file.Frames(2000, 3);
    file.Texts("POINT", "LABELS", {"A", "B", "C"});
    for (std::size_t f = 0; f < 2000; ++f)
      for (std::size_t m = 0; m < 3; ++m) {
        file.frames[f][m] = {double(f), double(m + 1), 3, double((f + m) % 256)};
        if (f % 7 == m) file.frames[f][m][3] = -1;
        if (f % 501 == 500 && m == 1) file.frames[f][m] = {0, 0, 0, 1};
        if (real && f % 640 == 600) file.frames[f][m][0] = m == 0 ? kNan : 3e7;
        if (real && f % 900 == 899) file.frames[f][m][3] = kNan;
      }
    const std::string bytes = file.Bytes();
    const Take one = mien::ReadTake(bytes, "take.c3d", {.threads = 1});
    EXPECT_EQ(one.notes.size(), real ? 4u : 1u);
    for (const std::size_t threads : {2u, 7u}) {
      const Take many = mien::ReadTake(bytes, "take.c3d", {.threads = threads});
      EXPECT_EQ(Cells(many), Cells(one));
      EXPECT_EQ(many.frames, one.frames);
      EXPECT_EQ(many.times, one.times);
      ASSERT_EQ(many.notes.size(), one.notes.size());
      for (std::size_t i = 0; i < one.notes.size(); ++i) EXPECT_EQ(many.notes[i].what, one.notes[i].what);
    }
  }
}
