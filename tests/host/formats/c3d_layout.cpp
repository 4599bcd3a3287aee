#include "host/formats/c3d_layout.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using mien::Code;
using mien::Origin;
using mien::ReadTake;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tests::C3dBuilder;
using tests::Cell;
using tests::Cells;
using tests::ErrorOf;
using tests::kCells;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(C3dLayout, GapsBetweenParametersAndDataAreSkipped) {
  C3dBuilder file;
  file.data_block = 20;
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dLayout, DataStartThatDisagreesWithTheHeaderIsDecidedByTheFilesSize) {
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
  for (const int wrong : {2, 9}) { // a block within the parameters fits worse than one behind them
    C3dBuilder file;
    file.header[9] = wrong;
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, ElementsAre(Says(HasSubstr("3 is taken, with which the data fill the file"))));
  }
}

TEST(C3dLayout, DataDoNotBeginWithinTheParametersWhereTheyCanBeginBehind) {
  C3dBuilder file;
  file.behind = std::string(2048, '\1'); // so that nothing fills the file
  file.Words("POINT", "DATA_START", {2});
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes,
              Contains("the data's first block: 2 by POINT:DATA_START, 3 by the header; 3 is taken"));
}

TEST(C3dLayout, WithoutAFirstBlockTheDataFollowTheParameters) {
  C3dBuilder file;
  file.header[9] = 0;
  file.Remove("POINT", "DATA_START");
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, Contains(Says(HasSubstr("taken as block 3, which follows the parameters"))));
}

TEST(C3dLayout, AnalogSamplesAreSkippedByTheirTrueSize) {
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

TEST(C3dLayout, AnalogCountThatDisagreesIsDecidedByTheFilesSize) {
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

TEST(C3dLayout, AnalogCountOfTheHeaderIsTakenWhereItFits) {
  C3dBuilder file;
  file.Frames(200, 2);
  file.analog = std::vector<double>(15, 3.0);
  file.Words("ANALOG", "USED", {30});
  file.Reals("ANALOG", "RATE", {500});
  EXPECT_EQ(Cells(Read(file)), std::vector<Cell>(400, Cell(Origin::Measured, 1, 2, 3, 0, 1)));
}

TEST(C3dLayout, PointCountThatDisagreesIsDecidedByTheFilesSize) {
  C3dBuilder file;
  file.Frames(200, 3);
  file.Words("POINT", "USED", {7});
  const Take take = Read(file);
  EXPECT_EQ(take.MarkerCount(), 3u);
  EXPECT_THAT(take.notes,
              Contains("points per frame: 7 by POINT:USED, 3 by the header; 3 is taken, with which "
                       "the data fill the file"));
}

TEST(C3dLayout, ScaleWhoseSignDisagreesIsDecidedByTheFilesSize) {
  C3dBuilder file;
  file.Frames(200, 3);
  file.Reals("POINT", "SCALE", {0.5});
  const Take take = Read(file);
  EXPECT_EQ(take.flavour, "Intel, float");
  EXPECT_THAT(take.notes,
              Contains(Says(HasSubstr("the data are taken as floats, with which they fill the file"))));
}

TEST(C3dLayout, WithoutAScaleFloatsThatFillTheFileAreRead) {
  for (const double no_scale : {0.0, kNan}) {
    C3dBuilder file;
    file.Reals("POINT", "SCALE", {no_scale});
    file.header_reals[7] = no_scale;
    const Take take = Read(file);
    EXPECT_FALSE(take.HasSightings());
    EXPECT_EQ(take.At(0, 0)->x, 1);
    EXPECT_THAT(take.notes, ElementsAre(Says(StartsWith("POINT:SCALE is 0 or not a number"))));
    file.behind = std::string(1024, '\0');
    EXPECT_THAT(ErrorOf(file), HasSubstr("POINT:SCALE is 0 or not a number"));
  }
}

TEST(C3dLayout, HeaderStandsInForParametersThatAreMissing) {
  C3dBuilder file;
  for (const char* const name : {"USED", "FRAMES", "SCALE", "DATA_START", "RATE"}) file.Remove("POINT", name);
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_EQ(take.residual_mm, 0.5);
  EXPECT_EQ(take.rate, (mien::FrameRate{100, 1}));
  EXPECT_THAT(take.notes, ElementsAre("missing, so the header's values are taken: POINT:USED, POINT:FRAMES, "
                                      "POINT:SCALE, POINT:DATA_START",
                                      "POINT:RATE is missing or not a rate; taken as the header's 100 Hz"));
}

TEST(C3dLayout, WithoutAnyParametersTheHeaderAloneIsRead) {
  C3dBuilder file;
  file.parameters.clear();
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
  EXPECT_THAT(
      take.notes,
      ElementsAre("there are no parameters: markers are numbered, positions are taken as millimetres, "
                  "and the rest comes from the header"));
}

// Frame counts for a signed 16-bit word, for an unsigned one, and beyond.
TEST(C3dLayout, FrameCountsOfEverySize) {
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

TEST(C3dLayout, FrameCountThatOverflowedItsWordIsSeenByTheFilesSize) {
  C3dBuilder file;
  file.Frames(70000);
  file.Words("POINT", "FRAMES", {70000 - 65536});
  file.Words("TRIAL", "ACTUAL_START_FIELD", {1, 0});
  file.Words("TRIAL", "ACTUAL_END_FIELD", {70000 - 65536, 1});
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 70000u);
  EXPECT_THAT(take.notes, Contains(Says(StartsWith("frames: 4464 by POINT:FRAMES, 70000 by TRIAL"))));
}

TEST(C3dLayout, FrameCountThatIsTheMostOfAWordYieldsToTheFile) {
  C3dBuilder file;
  file.Frames(70000);
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 70000u);
  EXPECT_THAT(take.notes, Contains(Says(HasSubstr("the most that POINT:FRAMES can hold"))));
}

TEST(C3dLayout, FrameCountAsAnArrayOfFloats) {
  C3dBuilder file;
  file.Set("POINT", "FRAMES", {4, {1}, {3}, ""});
  file.Set("POINT", "USED", {2, {1}, {2}, ""});
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dLayout, FileThatIsCutShortGivesTheFramesThatItHas) {
  C3dBuilder file;
  file.Frames(1149, 54);
  std::string bytes = file.Bytes();
  bytes.resize(bytes.size() - 1120 * 54 * 16 + 5);
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(take.FrameCount(), 29u);
  EXPECT_THAT(take.notes, Contains("1149 frames are declared, and the file has 29: it is cut short"));
}

namespace {

std::vector<std::string> Labels(int count) {
  std::vector<std::string> labels;
  for (int i = 0; i < count; ++i) labels.push_back(fmt::format("M{}", i));
  return labels;
}

/// 498 frames from number 2 on, by a program that writes the last frame's number as POINT:FRAMES.
C3dBuilder FileWithLastNumberAsCount(int points = 1) {
  C3dBuilder file;
  file.Frames(498, points);
  file.Texts("POINT", "LABELS", Labels(points));
  file.header[4] = 2;
  file.header[5] = 499;
  file.Words("POINT", "FRAMES", {499});
  return file;
}

} // namespace

TEST(C3dLayout, FrameCountOfTheHeaderIsTakenWhereItAloneFillsTheFile) {
  const Take take = Read(FileWithLastNumberAsCount());
  EXPECT_EQ(take.FrameCount(), 498u);
  EXPECT_EQ(take.frames.front(), 2);
  EXPECT_EQ(take.frames.back(), 499);
  EXPECT_THAT(take.notes,
              ElementsAre("frames: 499 by POINT:FRAMES, 498 by the header (frames 2 to 499); 498 is "
                          "taken, with which the data fill the file"));
}

TEST(C3dLayout, FrameCountOfTheHeaderIsTakenWhereTheFurtherFramesWouldBePadding) {
  C3dBuilder file = FileWithLastNumberAsCount();
  file.behind = std::string(512 - 498 * 16 % 512, '\0');
  ASSERT_GE(file.behind.size(), 16u) << "room for a frame";
  EXPECT_EQ(Read(file).FrameCount(), 498u);
  file.behind.back() = '\1'; // then it can be a frame
  EXPECT_EQ(Read(file).FrameCount(), 499u);
}

TEST(C3dLayout, FrameCountOfTheTrialIsTakenWhereItAloneFillsTheFile) {
  C3dBuilder file = FileWithLastNumberAsCount();
  file.header[4] = file.header[5] = 0;
  file.Words("TRIAL", "ACTUAL_START_FIELD", {2, 0});
  file.Words("TRIAL", "ACTUAL_END_FIELD", {499, 0});
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 498u);
  EXPECT_THAT(take.notes,
              ElementsAre(Says(StartsWith("frames: 499 by POINT:FRAMES, 498 by TRIAL:ACTUAL_START_FIELD"))));
}

TEST(C3dLayout, MoreFramesThanDeclaredAreReadWhereTheHeaderCountsThemAndTheyFillTheFile) {
  C3dBuilder file = FileWithLastNumberAsCount();
  file.Words("POINT", "FRAMES", {400});
  EXPECT_EQ(Read(file).FrameCount(), 498u);
}

TEST(C3dLayout, FrameCountOfTheHeaderIsNotAskedWherePointFramesFillsTheFile) {
  C3dBuilder file = FileWithLastNumberAsCount();
  file.Words("POINT", "FRAMES", {498});
  file.header[5] = 300;
  const Take take = Read(file);
  EXPECT_EQ(take.FrameCount(), 498u);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dLayout, AFileThatIsShorterThanEveryCountIsCutShort) {
  std::string bytes = FileWithLastNumberAsCount().Bytes();
  bytes.resize(bytes.size() - 1);
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(take.FrameCount(), 497u);
  EXPECT_THAT(take.notes, ElementsAre("499 frames are declared, and the file has 497: it is cut short"));
}

TEST(C3dLayout, LastFrameThatLacksAByteIsNotRead) {
  std::string bytes = C3dBuilder().Bytes();
  bytes.pop_back();
  const Take take = ReadTake(bytes, "t");
  EXPECT_EQ(take.FrameCount(), 2u);
  EXPECT_THAT(take.notes, ElementsAre("3 frames are declared, and the file has 2: it is cut short"));
}

TEST(C3dLayout, WhatFollowsTheDeclaredFramesIsNotRead) {
  C3dBuilder file;
  file.behind = std::string(511, '\1'); // filling a block
  EXPECT_THAT(Read(file).notes, IsEmpty());
  file.behind = std::string(512, '\1');
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes,
              ElementsAre("3 frames are declared, and the file has room for 19: the rest is ignored"));
}

TEST(C3dLayout, NoPointsAndNoFramesAreErrors) {
  C3dBuilder file;
  file.header[2] = 0;
  file.Words("POINT", "USED", {0});
  EXPECT_THAT(ErrorOf(file), HasSubstr("there are no markers: the number of points is 0"));
  file = {};
  file.header[4] = file.header[5] = 0;
  file.Words("POINT", "FRAMES", {0});
  EXPECT_THAT(ErrorOf(file), HasSubstr("there are no frames: their number is 0"));
}

TEST(C3dLayout, WrongSizesAreLimitedByTheFile) {
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
  EXPECT_EQ(Cells(Read(file)), kCells); // the header says 0, which fits
  file = {};
  file.header[9] = 65535;
  file.Words("POINT", "DATA_START", {65535});
  EXPECT_THAT(ErrorOf(file), HasSubstr("ends before its first frame does"));
}

namespace {

std::vector<mien::Note> NotesWith(const std::function<void(C3dBuilder&)>& change) {
  C3dBuilder file;
  change(file);
  return Read(file).notes;
}

} // namespace

TEST(C3dLayout, NotesHaveCodes) {
  EXPECT_THAT(NotesWith([](C3dBuilder& file) { file.Words("POINT", "USED", {7}); }),
              Contains(IsNote(Code::Contradiction, "", "points per frame: 7 by POINT:USED")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) { file.Remove("POINT", "USED"); }),
              ElementsAre(IsNote(Code::Missing, "", "missing, so the header's values")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) { file.parameters.clear(); }),
              Contains(IsNote(Code::Missing, "", "there are no parameters")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) {
                file.header[9] = 0;
                file.Remove("POINT", "DATA_START");
              }),
              Contains(IsNote(Code::Assumed, "", "the data's first block is missing")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) { file.Reals("POINT", "SCALE", {0.5}); }),
              ElementsAre(IsNote(Code::Contradiction, "", "POINT:SCALE is 0.5")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) {
                file.header_reals[7] = 0;
                file.Reals("POINT", "SCALE", {0});
              }),
              ElementsAre(IsNote(Code::Assumed, "", "POINT:SCALE is 0 or not a number")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) {
                file.frames.pop_back();
                file.header[5] = 3;
              }),
              Contains(IsNote(Code::Truncated, "", "3 frames are declared, and the file has 2")));
  EXPECT_THAT(NotesWith([](C3dBuilder& file) { file.behind = std::string(2048, '\1'); }),
              ElementsAre(IsNote(Code::Ignored, "", "3 frames are declared, and the file has room for")));
}

TEST(C3dLayout, ErrorsHaveCodes) {
  const auto problem = [](const C3dBuilder& file) { return ProblemOf([&] { Read(file); }); };
  C3dBuilder file;
  file.header[2] = 0;
  file.Words("POINT", "USED", {0});
  EXPECT_EQ(problem(file), "empty at no place");
  file = {};
  file.frames.clear();
  EXPECT_EQ(problem(file), "truncated at no place");
}
