#include "host/formats/c3d_parameters.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <map>
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
using tests::C3dBuilder;
using tests::Cell;
using tests::Cells;
using tests::kCells;

TEST(C3dParameters, ParametersAreFoundWhereTheHeaderSays) {
  for (const int block : {3, 11, 40}) {
    C3dBuilder file;
    file.parameter_block = block;
    EXPECT_EQ(Cells(Read(file)), kCells) << block;
  }
}

TEST(C3dParameters, LabelsLoseBlanksAndWhatFollowsANul) {
  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {4, 2}, {}, std::string(" A\0xB  \0", 8)});
  EXPECT_THAT(Read(file).markers, ElementsAre("A", "B"));
}

TEST(C3dParameters, LockedParametersAndLowerCaseAreRead) {
  C3dBuilder file;
  file.locked = true;
  for (C3dBuilder::Parameter& p : file.parameters) p.group = "Point";
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dParameters, GroupsOfOneNameAreOne) {
  C3dBuilder file;
  file.group_for_each = true;
  const Take take = Read(file);
  EXPECT_EQ(Cells(take), kCells);
  EXPECT_THAT(take.markers, ElementsAre("LipU", "Chin"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dParameters, DimensionsWhoseProductOverflowsAreBounded) {
  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {255, 255, 255, 255, 255, 255, 255}, {}, "LipU"});
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
  EXPECT_THAT(take.notes, Contains(Says(HasSubstr("the first is \"LABELS\""))));
}

TEST(C3dParameters, RecordChainThatBreaksKeepsWhatCameBefore) {
  const C3dBuilder file;
  const std::string bytes = file.Bytes();
  const std::size_t units = bytes.find("UNITS");
  const std::size_t link = units + 5;
  for (const auto& [step, note] : std::map<int, std::string>{
           {0, ""}, // marks the last one
           {1, "is ignored"},
           {2, ""}, // so that the next is read from its middle
           {0x7FFF, "would begin behind the end of the parameters"},
           {0xFFF0, "would begin behind the end of the parameters"}}) { // negative, if read with a sign
    SCOPED_TRACE(step);
    std::string broken = bytes;
    broken[link] = static_cast<char>(step & 0xFF);
    broken[link + 1] = static_cast<char>(step >> 8);
    const Take take = ReadTake(broken, "t");
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.markers, ElementsAre("point 1", "point 2"));
    if (!note.empty()) { EXPECT_THAT(take.notes, Contains(Says(HasSubstr(note)))); }
  }
}

TEST(C3dParameters, ParametersThatRunIntoTheDataAreIgnored) {
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
  EXPECT_THAT(take.notes, Contains(Says(HasSubstr("byte 1024: the data begin within the parameters"))));
}

TEST(C3dParameters, SectionOfZeroBlocksIsReadUpToTheData) {
  C3dBuilder file;
  file.declared_blocks = 0;
  EXPECT_EQ(Cells(Read(file)), kCells);
  EXPECT_THAT(Read(file).markers, ElementsAre("LipU", "Chin"));
}

TEST(C3dParameters, NotesHaveCodesAndPlaces) {
  const std::string bytes = C3dBuilder().Bytes();
  const std::size_t units = bytes.find("UNITS");
  const std::string place = fmt::format("byte {}", units - 2);
  for (const auto& [step, code] : std::map<int, Code>{{1, Code::Syntax}, {0x7FFF, Code::Syntax}}) {
    std::string broken = bytes;
    broken[units + 5] = static_cast<char>(step & 0xFF);
    broken[units + 6] = static_cast<char>(step >> 8);
    EXPECT_THAT(ReadTake(broken, "t").notes, Contains(IsNote(code, place, "th"))) << step;
  }
  std::string broken = bytes;
  broken[units - 2] = 127; // a name that goes beyond the section
  EXPECT_THAT(ReadTake(broken, "t").notes, Contains(IsNote(Code::Syntax, place, "this is not a parameter")));

  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {4, 200}, {}, "LipU"});
  EXPECT_THAT(Read(file).notes, Contains(IsNote(Code::Syntax, "", "1 parameter is shorter than declared")));
}

TEST(C3dParameters, ParametersHaveUpToSevenDimensions) {
  C3dBuilder file;
  file.Set("POINT", "LABELS", {-1, {4, 2, 1, 1, 1, 1, 1}, {}, "LipUChin"});
  EXPECT_THAT(Read(file).markers, ElementsAre("LipU", "Chin"));
  EXPECT_THAT(Read(file).notes, IsEmpty());
  file.Set("POINT", "LABELS", {-1, {4, 2, 1, 1, 1, 1, 1, 1}, {}, "LipUChin"});
  EXPECT_THAT(Read(file).markers, ElementsAre("point 1", "point 2"));
}

// A byte counts them. The labels are in the last block.
TEST(C3dParameters, ParametersFillUpTo255Blocks) {
  C3dBuilder file;
  const std::string text(255 * 255, 'x');
  for (const char* name : {"TEXT", "TEXT2"})
    file.parameters.insert(file.parameters.begin(), {"OTHER", name, {-1, {255, 255}, {}, text}});
  const std::string bytes = file.Bytes();
  ASSERT_EQ(static_cast<unsigned char>(bytes[512 + 2]), 255);
  ASSERT_GT(bytes.find("LipUChin"), 512u * (1 + 254));
  EXPECT_THAT(ReadTake(bytes, "t").markers, ElementsAre("LipU", "Chin"));
  EXPECT_THAT(ReadTake(bytes, "t").notes, IsEmpty());
}
