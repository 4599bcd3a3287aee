#include "host/formats/c3d.h"

#include "host/formats/read_take.h"
#include "tests/host/formats/c3d_builder.h"
#include "tests/host/input_error.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <tuple>
#include <vector>

using mien::Origin;
using mien::Point;
using mien::ReadTake;
using mien::Take;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tests::C3dBuilder;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

Take Read(const C3dBuilder& file) { return ReadTake(file.Bytes(), "take.c3d"); }
std::string ErrorOf(const std::string& bytes) {
  return InputErrorOf([&] { ReadTake(bytes, "take.c3d"); });
}
std::string ErrorOf(const C3dBuilder& file) { return ErrorOf(file.Bytes()); }

// All that a take says of its positions.
using Cell = std::tuple<Origin, double, double, double, int, int>;
Cell CellOf(const Take& take, std::size_t frame, std::size_t marker) {
  const Point* const p = take.At(frame, marker);
  if (!p) return {Origin::None, 0, 0, 0, 0, 0};
  const auto sighting = take.SightingAt(frame, marker);
  return {take.OriginAt(frame, marker),      p->x, p->y, p->z, sighting ? sighting->cameras : -1,
          sighting ? sighting->residual : -1};
}
std::vector<Cell> Cells(const Take& take) {
  std::vector<Cell> cells;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      cells.push_back(CellOf(take, frame, marker));
  return cells;
}
// Of the builder's own take, whose multiples of the scale integers and floats say alike.
const std::vector<Cell> kCells = {
    {Origin::Measured, 1, 2, 3, 3, 2},          {Origin::Measured, 4, 5, 6, 1, 1},
    {Origin::Measured, 1.5, 2.5, 3.5, 0x7F, 1}, {Origin::None, 0, 0, 0, 0, 0},
    {Origin::Computed, -8, -16.5, 300, -1, -1}, {Origin::Measured, 7, 8, 9, 0, 255}};

} // namespace

TEST(ReadC3d, SixEncodingsOfATakeAreEqualInEveryNumber) {
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

TEST(ReadC3d, DecFloatsKeepEveryBitOverTheirRange) {
  for (const double value : {1.0, -1.0, 0.1, 3.0e37, -2.5e-30, 1.0 / 3, 0x1p-100}) {
    C3dBuilder file;
    file.Encode(C3dBuilder::kDec, true);
    file.frames = {{{value, 0, 0, 1}, {1, 1, 1, 1}}};
    file.Words("POINT", "FRAMES", {1});
    EXPECT_EQ(Read(file).At(0, 0)->x, static_cast<double>(static_cast<float>(value))) << value;
  }
}

TEST(ReadC3d, ProcessorCountedFromOneIsRead) {
  for (int processor = C3dBuilder::kIntel; processor <= C3dBuilder::kSgi; ++processor) {
    C3dBuilder file;
    file.Encode(processor, true);
    std::string bytes = file.Bytes();
    bytes[512 + 3] = static_cast<char>(processor - 83);
    const Take take = ReadTake(bytes, "t");
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, ElementsAre(fmt::format("byte 515: the processor is {}; taken as {}",
                                                    processor - 83, processor)));
  }
}

TEST(ReadC3d, UnknownProcessorIsSaid) {
  std::string bytes = C3dBuilder().Bytes();
  bytes[512 + 3] = 87;
  EXPECT_THAT(ErrorOf(bytes), StartsWith("take.c3d:byte 515: the processor is 87, which is none of"));
}

TEST(ReadC3d, LeadingZerosAreSkipped) {
  for (const std::size_t zeros : {1u, 3u, 512u}) {
    C3dBuilder file;
    file.zeros_before = zeros;
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, ElementsAre(fmt::format("{} zero bytes before the header, skipped", zeros)));
  }
  C3dBuilder file;
  file.zeros_before = 513;
  EXPECT_FALSE(mien::IsC3d(file.Bytes()));
}

TEST(ReadC3d, TextAndOtherBinariesAreNotClaimed) {
  const std::string rest(2000, ' ');
  EXPECT_FALSE(mien::IsC3d("XPos,YPos\n1,2\n" + rest));
  EXPECT_FALSE(mien::IsC3d("\nPathFileType\t4\t(X/Y/Z)\tt.trc\n" + rest));
  EXPECT_FALSE(
      mien::IsC3d(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x10", 20) + std::string(600, '\0')));
  EXPECT_FALSE(mien::IsC3d(std::string(3000, '\0')));
  EXPECT_FALSE(mien::IsC3d(""));
  EXPECT_FALSE(mien::IsC3d("\x02P"));
}

TEST(ReadC3d, ParametersAreFoundWhereTheHeaderSays) {
  for (const int block : {3, 11, 40}) {
    C3dBuilder file;
    file.parameter_block = block;
    EXPECT_EQ(Cells(Read(file)), kCells) << block;
  }
}

TEST(ReadC3d, GapsBetweenParametersAndDataAreSkipped) {
  C3dBuilder file;
  file.data_block = 20;
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, DataStartThatDisagreesWithTheHeaderIsDecidedByTheFilesSize) {
  for (const int wrong : {4, 5}) { // behind the data's block, so that the last frame does not fit
    C3dBuilder file;
    file.Words("POINT", "DATA_START", {double(wrong)});
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes,
                ElementsAre(fmt::format("the data's first block: {} by POINT:DATA_START, 3 by the header; 3 "
                                        "is taken, with which the data fill the file",
                                        wrong)));
  }
  for (const int wrong : {2, 9}) { // the one in the parameters fits less well than the one behind them
    C3dBuilder file;
    file.header[9] = wrong;
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, ElementsAre(HasSubstr("3 is taken, with which the data fill the file")));
  }
}

TEST(ReadC3d, DataDoNotBeginWithinTheParametersWhereTheyCanBeginBehind) {
  C3dBuilder file;
  file.behind = std::string(2048, '\1'); // so that nothing fills the file
  file.Words("POINT", "DATA_START", {2});
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, testing::Contains(
                              "the data's first block: 2 by POINT:DATA_START, 3 by the header; 3 is taken"));
}

TEST(ReadC3d, WhereNobodySaysTheDataBeginTheyAreBehindTheParameters) {
  C3dBuilder file;
  file.header[9] = 0;
  file.Remove("POINT", "DATA_START");
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, testing::Contains(HasSubstr("taken as block 3, the one behind the parameters")));
}

TEST(ReadC3d, AnalogSamplesAreSkippedByTheirTrueSize) {
  for (const bool real : {false, true}) {
    C3dBuilder file;
    file.Encode(C3dBuilder::kIntel, real);
    file.analog = {1, 2, 3, 4, 5, 6}; // 3 channels, 2 samples
    file.header[10] = 2;
    file.Words("ANALOG", "USED", {3});
    file.Reals("ANALOG", "RATE", {200});
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(ReadC3d, AnalogCountThatDisagreesIsDecidedByTheFilesSize) {
  C3dBuilder file;
  file.Frames(200, 2);
  file.analog = std::vector<double>(15, 3.0);
  file.Words("ANALOG", "USED", {3});
  file.Reals("ANALOG", "RATE", {500});
  file.header[3] = 3; // the channels alone
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 200u);
  EXPECT_EQ(Cells(take), std::vector<Cell>(400, Cell(Origin::Measured, 1, 2, 3, 0, 1)));
  EXPECT_THAT(take.notes,
              ElementsAre("analog numbers per frame: 15 by ANALOG:USED and RATE, 3 by ANALOG:USED and the "
                          "header's samples; 15 is taken, with which the data fill the file"));
}

TEST(ReadC3d, AnalogCountOfTheHeaderIsTakenWhereItFits) {
  C3dBuilder file;
  file.Frames(200, 2);
  file.analog = std::vector<double>(15, 3.0);
  file.Words("ANALOG", "USED", {30});
  file.Reals("ANALOG", "RATE", {500});
  EXPECT_EQ(Cells(Read(file)), std::vector<Cell>(400, Cell(Origin::Measured, 1, 2, 3, 0, 1)));
}

TEST(ReadC3d, PointCountThatDisagreesIsDecidedByTheFilesSize) {
  C3dBuilder file;
  file.Frames(200, 3);
  file.Words("POINT", "USED", {7});
  const Take take = Read(file);
  EXPECT_EQ(take.MarkerCount(), 3u);
  EXPECT_THAT(take.notes,
              testing::Contains("points per frame: 7 by POINT:USED, 3 by the header; 3 is taken, with which "
                                "the data fill the file"));
}

TEST(ReadC3d, ScaleWhoseSignDisagreesIsDecidedByTheFilesSize) {
  C3dBuilder file;
  file.Frames(200, 3);
  file.Reals("POINT", "SCALE", {0.5});
  const Take take = Read(file);
  EXPECT_EQ(take.flavour, "Intel, float");
  EXPECT_THAT(take.notes,
              testing::Contains(HasSubstr("the data are taken as floats, with which they fill the file")));
}

TEST(ReadC3d, WithoutAScaleFloatsThatFillTheFileAreRead) {
  for (const double no_scale : {0.0, kNan}) {
    C3dBuilder file;
    file.Reals("POINT", "SCALE", {no_scale});
    file.header_reals[7] = no_scale;
    const Take take = Read(file);
    EXPECT_FALSE(take.HasSightings());
    EXPECT_EQ(take.At(0, 0)->x, 1);
    EXPECT_THAT(take.notes, ElementsAre(StartsWith("POINT:SCALE is 0 or no number")));
    file.behind = std::string(1024, '\0');
    EXPECT_THAT(ErrorOf(file), HasSubstr("POINT:SCALE is 0 or no number"));
  }
}

TEST(ReadC3d, HeaderStandsInForParametersThatAreMissing) {
  C3dBuilder file;
  for (const char* const name : {"USED", "FRAMES", "SCALE", "DATA_START", "RATE"}) file.Remove("POINT", name);
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_EQ(take.residual_mm, 0.5);
  EXPECT_EQ(take.rate, (mien::FrameRate{100, 1}));
  EXPECT_THAT(take.notes,
              ElementsAre("missing, so that the header's values are taken: POINT:USED, POINT:FRAMES, "
                          "POINT:SCALE, POINT:DATA_START",
                          "POINT:RATE is missing or no rate; taken as the header's 100 Hz"));
}

TEST(ReadC3d, WithoutAnyParametersTheHeaderAloneIsRead) {
  C3dBuilder file;
  file.parameters.clear();
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
  EXPECT_THAT(take.notes,
              ElementsAre("there are no parameters: markers are numbered, positions taken as millimetres, "
                          "the rest is what the header says"));
}

// Frame counts that a 16-bit word with a sign, one without, or no word can hold.
TEST(ReadC3d, FrameCountsOfEverySize) {
  for (const int count : {32767, 32768, 65534, 65535, 65536, 70000}) {
    SCOPED_TRACE(count);
    C3dBuilder file;
    file.Frames(count);
    file.Encode(C3dBuilder::kIntel, false);
    file.Words("TRIAL", "ACTUAL_START_FIELD", {1, 0});
    file.Words("TRIAL", "ACTUAL_END_FIELD", {double(count & 0xFFFF), double(count >> 16)});
    const Take take = Read(file);
    EXPECT_EQ(take.FrameCount(), static_cast<std::size_t>(count));
    EXPECT_EQ(take.frames.back(), count);
    EXPECT_EQ(take.times.back(), (count - 1) / 100.0);
    EXPECT_NE(take.At(static_cast<std::size_t>(count) - 1, 0), nullptr);

    file.Remove("TRIAL", "ACTUAL_START_FIELD");
    file.Reals("POINT", "LONG_FRAMES", {double(count)});
    EXPECT_EQ(Read(file).FrameCount(), static_cast<std::size_t>(count));

    file.Remove("POINT", "LONG_FRAMES");
    file.Reals("POINT", "FRAMES", {double(count)});
    EXPECT_EQ(Read(file).FrameCount(), static_cast<std::size_t>(count));
  }
}

TEST(ReadC3d, FrameCountThatOverflowedItsWordIsSeenByTheFilesSize) {
  C3dBuilder file;
  file.Frames(70000);
  file.Words("POINT", "FRAMES", {70000 - 65536});
  file.Words("TRIAL", "ACTUAL_START_FIELD", {1, 0});
  file.Words("TRIAL", "ACTUAL_END_FIELD", {70000 - 65536, 1});
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 70000u);
  EXPECT_THAT(take.notes, testing::Contains(StartsWith("frames: 4464 by POINT:FRAMES, 70000 by TRIAL")));
}

TEST(ReadC3d, FrameCountThatIsTheMostOfAWordIsNotBelievedAgainstTheFile) {
  C3dBuilder file;
  file.Frames(70000);
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 70000u);
  EXPECT_THAT(take.notes, testing::Contains(HasSubstr("the most that POINT:FRAMES can say")));
}

TEST(ReadC3d, FrameCountAsAnArrayOfFloats) {
  C3dBuilder file;
  file.Set("POINT", "FRAMES", {4, {1}, {3}, ""});
  file.Set("POINT", "USED", {2, {1}, {2}, ""});
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, FileThatIsCutShortGivesTheFramesThatItHas) {
  C3dBuilder file;
  file.Frames(1149, 54);
  std::string bytes = file.Bytes();
  bytes.resize(bytes.size() - 1120 * 54 * 16 + 5);
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(take.FrameCount(), 29u);
  EXPECT_THAT(take.notes, testing::Contains("1149 frames declared, 29 in the file: it is cut short"));
}

TEST(ReadC3d, LastFrameThatLacksAByteIsNotRead) {
  std::string bytes = C3dBuilder().Bytes();
  bytes.pop_back();
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(take.FrameCount(), 2u);
  EXPECT_THAT(take.notes, ElementsAre("3 frames declared, 2 in the file: it is cut short"));
}

TEST(ReadC3d, WhatFollowsTheDeclaredFramesIsNotRead) {
  C3dBuilder file;
  file.behind = std::string(511, '\1'); // filling a block
  EXPECT_THAT(Read(file).notes, IsEmpty());
  file.behind = std::string(512, '\1');
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes,
              ElementsAre("3 frames declared, and room for 19 in the file: the rest is not read"));
}

TEST(ReadC3d, FirstFrameKeepsItsNumberAndTime) {
  C3dBuilder file;
  file.header[4] = 91;
  file.header[5] = 93;
  Take take = Read(file);
  EXPECT_THAT(take.frames, ElementsAre(91, 92, 93));
  EXPECT_THAT(take.times, ElementsAre(0.90, 0.91, 0.92));

  file.header[4] = 65535;
  EXPECT_EQ(Read(file).frames.front(), 65535);

  file.Words("TRIAL", "ACTUAL_START_FIELD", {4464, 1});
  take = Read(file);
  EXPECT_EQ(take.frames.front(), 70000);
  EXPECT_EQ(take.times.front(), 699.99);

  file.header[4] = 0;
  file.Words("TRIAL", "ACTUAL_START_FIELD", {0, 0});
  EXPECT_THAT(Read(file).frames, ElementsAre(1, 2, 3));
}

TEST(ReadC3d, FourthNumberOfFloatsIsCutToAWord) {
  C3dBuilder file;
  file.points = 1;
  file.Words("POINT", "USED", {1});
  file.frames.clear();
  const std::vector<std::pair<double, Cell>> cases = {
      {0.5, {Origin::Computed, 1, 2, 3, -1, -1}},
      {-0.5, {Origin::Computed, 1, 2, 3, -1, -1}},
      {1.9, {Origin::Measured, 1, 2, 3, 0, 1}},
      {0x3E10, {Origin::Measured, 1, 2, 3, 0x3E, 16}},
      {0x3E00, {Origin::Computed, 1, 2, 3, -1, -1}}, // whichever cameras: a residual of 0 says processed
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

TEST(ReadC3d, ResidualsAreMultiplesOfTheScaleInMillimetres) {
  C3dBuilder file;
  file.Reals("POINT", "SCALE", {-0.0833333358168602});
  file.frames[0][0][3] = 0x3E10;
  Take take = Read(file);
  EXPECT_NEAR(take.SightingAt(0, 0)->residual * take.residual_mm, 1.3333,
              5e-5);                                   // what is known of it, to 4 decimals
  EXPECT_EQ(take.SightingAt(0, 0)->cameras, 0b111110); // 2 to 6

  file.Set("POINT", "UNITS", {-1, {2}, {}, "m "});
  take = Read(file);
  EXPECT_NEAR(take.residual_mm, 83.3333, 5e-5);
}

TEST(ReadC3d, CoordinatesThatAreNoNumbersAreGaps) {
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

TEST(ReadC3d, ExactZeroIsAGap) {
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

TEST(ReadC3d, UnitsBecomeMillimetres) {
  const std::map<std::string, double> units = {{"mm", 1},    {"  MM", 1},  {"cm", 10},       {"m", 1000},
                                               {"M ", 1000}, {"in", 25.4}, {"Inches", 25.4}, {"ft", 304.8}};
  for (const auto& [unit, millimetres] : units)
    for (const bool real : {false, true}) {
      C3dBuilder file;
      file.Encode(C3dBuilder::kIntel, real);
      file.Set("POINT", "UNITS", {-1, {static_cast<int>(unit.size())}, {}, unit});
      const Take take = Read(file);
      EXPECT_DOUBLE_EQ(take.At(0, 0)->y, 2 * millimetres) << unit;
      EXPECT_EQ(take.residual_mm, 0.5 * millimetres);
      EXPECT_THAT(take.notes, IsEmpty());
    }
  C3dBuilder file;
  file.Set("POINT", "UNITS", {-1, {4}, {}, "elle"});
  Take take = Read(file);
  EXPECT_EQ(take.At(0, 0)->y, 2);
  EXPECT_EQ(take.unit, "mm");
  EXPECT_THAT(take.notes, ElementsAre("the unit \"elle\" is not known; positions are taken as millimetres"));
  file.Set("POINT", "UNITS", {-1, {4}, {}, "    "});
  take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("no unit is given; positions are taken as millimetres"));
}

TEST(ReadC3d, RatesAreFractionsWhereTheyAreKnownOnes) {
  C3dBuilder file;
  file.Reals("POINT", "RATE", {59.94});
  file.header_reals[11] = 59.94;
  EXPECT_EQ(Read(file).rate, (mien::FrameRate{60000, 1001}));

  file.header_reals[11] = 25;
  const Take take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{60000, 1001}));
  EXPECT_THAT(take.notes, ElementsAre(HasSubstr("the header's 25 Hz; the first is taken")));
}

TEST(ReadC3d, RateThatIsMissingIsSaid) {
  for (const double none : {0.0, -5.0, kNan, std::numeric_limits<double>::infinity()}) {
    C3dBuilder file;
    file.Reals("POINT", "RATE", {none});
    file.header_reals[11] = none;
    const Take take = Read(file);
    EXPECT_EQ(take.rate, (mien::FrameRate{100, 1}));
    EXPECT_THAT(take.notes,
                ElementsAre("the file gives no frame rate; taken as 100 Hz, so that times may be wrong"));
  }
}

TEST(ReadC3d, ExactRateAndTimecodeOfOurOwn) {
  C3dBuilder file;
  file.Reals("POINT", "RATE", {29.97});
  file.Texts("MIEN", "RATE", {"2997/100"});
  file.Texts("MIEN", "TIMECODE", {"10:02:59:29@30"});
  file.header_reals[11] = 29.97;
  Take take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{2997, 100}));
  EXPECT_EQ(ToText(*take.timecode), "10:02:59:29@30");
  EXPECT_THAT(take.notes, IsEmpty());

  file.Texts("MIEN", "RATE", {"120/1"});
  file.Texts("MIEN", "TIMECODE", {"noon"});
  take = Read(file);
  EXPECT_EQ(take.rate, (mien::FrameRate{30000, 1001}));
  EXPECT_FALSE(take.timecode);
  EXPECT_THAT(take.notes, ElementsAre("MIEN:RATE is \"120/1\", which POINT:RATE does not bear out; ignored",
                                      "MIEN:TIMECODE is \"noon\", which is no timecode; ignored"));
}

// More labels than a byte counts stand in LABELS2, LABELS3 ...
TEST(ReadC3d, LabelsBeyond255AreContinued) {
  for (const int count : {254, 255, 256, 510, 511}) {
    C3dBuilder file;
    file.Frames(2, count);
    std::vector<std::string> expected;
    for (int first = 0, part = 1; first < count; first += 255, ++part) {
      std::vector<std::string> labels;
      for (int i = first; i < std::min(first + 255, count); ++i) labels.push_back(fmt::format("M{}", i + 1));
      file.Texts("POINT", part == 1 ? "LABELS" : fmt::format("LABELS{}", part), labels);
      expected.insert(expected.end(), labels.begin(), labels.end());
    }
    const Take take = Read(file);
    EXPECT_EQ(take.markers, expected) << count;
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(ReadC3d, LabelsThatAreMissingBlankTwiceOrTooManyAreNamed) {
  C3dBuilder file;
  file.Frames(2, 5);
  file.Texts("POINT", "LABELS", {"A", "A", "", "A"});
  Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("A", "A (2)", "point 3", "A (3)", "point 5"));
  EXPECT_THAT(take.notes,
              ElementsAre("4 labels for 5 points: the others are numbered, \"point 5\" ...",
                          "blank label: named \"point 3\"",
                          "label that is there before, so that it got a number: \"A\" and 1 more"));

  file.Texts("POINT", "LABELS", {"A", "B", "C", "D", "E", "F"});
  take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("A", "B", "C", "D", "E"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, LabelsLoseBlanksAndWhatFollowsANul) {
  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {4, 2}, {}, std::string(" A\0xB  \0", 8)});
  EXPECT_THAT(Read(file).markers, ElementsAre("A", "B"));
}

TEST(ReadC3d, LabelsThatAreNotUtf8AreLatin1) {
  C3dBuilder file;
  file.Set("POINT", "LABELS",
           {-1,
            {4, 2},
            {},
            "Br\xFC "
            "\xC3\xBC  "});
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("Br\xC3\xBC", "\xC3\xBC"));
  EXPECT_THAT(take.notes, ElementsAre("label that is not UTF-8, read as Latin-1: \"Br\xC3\xBC\""));
}

TEST(ReadC3d, LockedParametersAndLowerCaseAreRead) {
  C3dBuilder file;
  file.locked = true;
  for (C3dBuilder::Parameter& p : file.parameters) p.group = "Point";
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, GroupsOfOneNameAreOne) {
  C3dBuilder file;
  file.group_for_each = true;
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.markers, ElementsAre("LipU", "Chin"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, DimensionsWhoseProductOverflowsAreBounded) {
  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {255, 255, 255, 255, 255, 255, 255}, {}, "LipU"});
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
  EXPECT_THAT(take.notes, testing::Contains(HasSubstr("the first is \"LABELS\"")));
}

TEST(ReadC3d, RecordChainThatBreaksKeepsWhatCameBefore) {
  const C3dBuilder file;
  const std::string bytes = file.Bytes();
  const std::size_t units = bytes.find("UNITS");
  const std::size_t link = units + 5;
  for (const auto& [step, note] : std::map<int, std::string>{
           {0, ""}, // says that it is the last
           {1, "is ignored"},
           {2, ""}, // so that what follows is read from its own middle: whatever comes of it
           {0x7FFF, "would begin beyond the parameters' end"},
           {0xFFF0, "would begin beyond the parameters' end"}}) { // backwards, for who reads it with a sign
    SCOPED_TRACE(step);
    std::string broken = bytes;
    broken[link] = static_cast<char>(step & 0xFF);
    broken[link + 1] = static_cast<char>(step >> 8);
    const Take take = ReadTake(broken, "t");
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
    if (!note.empty()) { EXPECT_THAT(take.notes, testing::Contains(HasSubstr(note))); }
  }
}

TEST(ReadC3d, ParametersThatRunIntoTheDataAreIgnored) {
  C3dBuilder file;
  std::vector<std::string> labels(40, std::string(16, 'x'));
  file.Frames(60, 2);
  file.Texts("EVENT", "LABELS", labels);
  std::string bytes = file.Bytes();
  // The data overwrite all but the first block of parameters.
  C3dBuilder short_file = file;
  short_file.Remove("EVENT", "LABELS");
  const std::string data = short_file.Bytes().substr(1024);
  bytes.resize(1024);
  bytes += data;
  bytes[16] = 3;
  const std::size_t start = bytes.find("DATA_START") + 10 + 4;
  bytes[start] = 3;
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(Cells(take), std::vector<Cell>(120, Cell(Origin::Measured, 1, 2, 3, 0, 1)));
  EXPECT_THAT(take.notes, testing::Contains(HasSubstr("byte 1024: the data begin within the parameters")));
}

TEST(ReadC3d, SectionOfZeroBlocksIsReadUpToTheData) {
  C3dBuilder file;
  file.declared_blocks = 0;
  EXPECT_EQ(Cells(Read(file)), kCells);
  EXPECT_THAT(Read(file).markers, ElementsAre("LipU", "Chin"));
}

TEST(ReadC3d, EventsOfTheGroupHaveContextsAndMinutes) {
  C3dBuilder file;
  file.Words("EVENT", "USED", {3});
  file.Texts("EVENT", "CONTEXTS", {"Right", "Left", ""});
  file.Texts("EVENT", "LABELS", {"Foot Strike", "Foot Off", "Clap"});
  file.Set("EVENT", "TIMES", {4, {2, 3}, {1, 2.5, 0, 0.25, 0, 0.5}, ""});
  file.header[4] = 11; // their times count from frame 1 all the same
  const Take take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[0].label, "Left Foot Off");
  EXPECT_EQ(take.events[0].time, 0.25);
  EXPECT_EQ(take.events[1].label, "Clap");
  EXPECT_EQ(take.events[1].time, 0.5);
  EXPECT_EQ(take.events[2].label, "Right Foot Strike");
  EXPECT_EQ(take.events[2].time, 62.5);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(ReadC3d, EventsOfTheHeaderCountFromTheFirstFrame) {
  C3dBuilder file;
  file.header = {{4, 11}, {150, 0x3039}, {151, 3}};
  file.header_reals = {{153, 0.5}, {155, 0.25}, {157, 0.75}};
  file.header_texts = {{199, "RHS LTO RTO "}};
  Take take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[0].label, "LTO");
  EXPECT_EQ(take.events[0].time, 0.35);
  EXPECT_EQ(take.events[1].label, "RHS");
  EXPECT_EQ(take.events[2].label, "RTO");

  file.Words("EVENT", "USED", {1}); // the same as the header's first
  file.Texts("EVENT", "LABELS", {"Foot Strike"});
  file.Reals("EVENT", "TIMES", {0, 0.603});
  take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[1].label, "Foot Strike");

  file.Remove("EVENT", "USED");
  file.header[150] = 0; // without the key it is anything
  EXPECT_THAT(Read(file).events, IsEmpty());
}

TEST(ReadC3d, EventTimesThatAreNoPairsAreNotRead) {
  C3dBuilder file;
  file.Words("EVENT", "USED", {8});
  file.Reals("EVENT", "TIMES", std::vector<double>(8, 0));
  const Take take = Read(file);
  EXPECT_THAT(take.events, IsEmpty());
  EXPECT_THAT(take.notes, ElementsAre(HasSubstr("8 numbers and not two for each of 8 events")));
}

TEST(ReadC3d, NoPointsAndNoFramesAreErrors) {
  C3dBuilder file;
  file.header[2] = 0;
  file.Words("POINT", "USED", {0});
  EXPECT_THAT(ErrorOf(file), HasSubstr("there are no markers in the file"));
  file = {};
  file.header[4] = file.header[5] = 0;
  file.Words("POINT", "FRAMES", {0});
  EXPECT_THAT(ErrorOf(file), HasSubstr("there are no frames in the file"));
}

TEST(ReadC3d, SizesThatLieAreBoundedByTheFile) {
  C3dBuilder file;
  file.header[2] = 65535;
  file.Words("POINT", "USED", {65535});
  EXPECT_THAT(ErrorOf(file), HasSubstr("ends before its first frame does"));
  file = {};
  file.Reals("POINT", "LONG_FRAMES", {4e9});
  file.Words("POINT", "FRAMES", {65535});
  EXPECT_EQ(Read(file).FrameCount(), 3u);
  file = {};
  file.Reals("ANALOG", "USED", {4e9});
  file.Reals("ANALOG", "RATE", {6e6});
  EXPECT_EQ(Cells(Read(file)), kCells); // the header says that there are none, and that fits
  file = {};
  file.header[9] = 65535;
  file.Words("POINT", "DATA_START", {65535});
  EXPECT_THAT(ErrorOf(file), HasSubstr("ends before its first frame does"));
}

namespace {

// The file is at fault or it is not: nothing else happens, and a take is a take.
void ExpectTakeOrError(const std::string& bytes) {
  try {
    const Take take = ReadTake(bytes, "t");
    ASSERT_GT(take.FrameCount(), 0u);
    ASSERT_LE(take.FrameCount(), bytes.size());
    ASSERT_GT(take.MarkerCount(), 0u);
    ASSERT_LE(take.MarkerCount(), bytes.size());
    for (const Cell& cell : Cells(take))
      ASSERT_TRUE(std::isfinite(std::get<1>(cell)) && std::isfinite(std::get<2>(cell)) &&
                  std::isfinite(std::get<3>(cell)));
  } catch (const mien::InputError& error) { ASSERT_THAT(error.what(), StartsWith("t:")); }
}

C3dBuilder FileWithEverything(int processor, bool real) {
  C3dBuilder file;
  file.Encode(processor, real);
  file.analog = {1, 2};
  file.header = {{10, 2}, {150, 0x3039}, {151, 2}};
  file.header_texts = {{199, "RHS LTO "}};
  file.Words("ANALOG", "USED", {1});
  file.Reals("ANALOG", "RATE", {200});
  file.Words("TRIAL", "ACTUAL_START_FIELD", {1, 0});
  file.Words("TRIAL", "ACTUAL_END_FIELD", {3, 0});
  file.Words("EVENT", "USED", {1});
  file.Texts("EVENT", "LABELS", {"Clap"});
  file.Reals("EVENT", "TIMES", {0, 0.01});
  file.Texts("MIEN", "TIMECODE", {"10:02:59:29@30"});
  return file;
}

} // namespace

TEST(ReadC3d, EveryTruncationGivesATakeOrAnError) {
  for (int processor = C3dBuilder::kIntel; processor <= C3dBuilder::kSgi; ++processor)
    for (const bool real : {false, true}) {
      const std::string bytes = FileWithEverything(processor, real).Bytes();
      for (std::size_t size = 0; size < bytes.size(); ++size) ExpectTakeOrError(bytes.substr(0, size));
    }
}

TEST(ReadC3d, EveryFlippedBitGivesATakeOrAnError) {
  for (const bool real : {false, true}) {
    const std::string bytes = FileWithEverything(C3dBuilder::kIntel, real).Bytes();
    for (std::size_t i = 0; i < bytes.size(); ++i)
      for (int bit = 0; bit < 8; ++bit) {
        std::string flipped = bytes;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
        ExpectTakeOrError(flipped);
      }
  }
}
