#include "host/formats/c3d.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <tuple>

using mien::ReadTake;
using mien::Take;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using tests::C3dBuilder;
using tests::Cell;
using tests::Cells;

TEST(ReadC3d, TextAndOtherBinariesAreNotC3d) {
  const std::string rest(2000, ' ');
  EXPECT_FALSE(mien::IsC3d("XPos,YPos\n1,2\n" + rest));
  EXPECT_FALSE(mien::IsC3d("\nPathFileType\t4\t(X/Y/Z)\tt.trc\n" + rest));
  EXPECT_FALSE(
      mien::IsC3d(std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x10", 20) + std::string(600, '\0')));
  EXPECT_FALSE(mien::IsC3d(std::string(3000, '\0')));
  EXPECT_FALSE(mien::IsC3d(""));
  EXPECT_FALSE(mien::IsC3d("\x02P"));
  C3dBuilder file;
  file.zeros_before = 512;
  EXPECT_TRUE(mien::IsC3d(file.Bytes()));
  file.zeros_before = 513; // more than any program pads
  EXPECT_FALSE(mien::IsC3d(file.Bytes()));
}

TEST(ReadC3d, UnitsBecomeMillimetres) {
  const std::map<std::string, double> units = {{"mm", 1},    {"  MM", 1},      {"cm", 10},
                                               {"m", 1000},  {"M ", 1000},     {"mete", 1000},
                                               {"in", 25.4}, {"Inches", 25.4}, {"ft", 304.8}};
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
  EXPECT_THAT(take.notes,
              ElementsAre("the unit \"elle\" is unknown or ambiguous; positions are taken as millimetres"));
  file.Set("POINT", "UNITS", {-1, {4}, {}, "    "});
  take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("the file gives no unit; positions are taken as millimetres"));
}

namespace {

/// How often each happened.
struct Outcomes {
  int takes = 0, errors = 0;
};

// Every file is an InputError or a take that keeps a take's promises.
void ExpectTakeOrError(const std::string& bytes, Outcomes& outcomes) {
  try {
    const Take take = ReadTake(bytes, "t");
    ASSERT_GT(take.FrameCount(), 0u);
    ASSERT_LE(take.FrameCount(), bytes.size());
    ASSERT_GT(take.MarkerCount(), 0u);
    ASSERT_LE(take.MarkerCount(), bytes.size());
    for (const Cell& cell : Cells(take))
      ASSERT_TRUE(std::isfinite(std::get<1>(cell)) && std::isfinite(std::get<2>(cell)) &&
                  std::isfinite(std::get<3>(cell)));
    ++outcomes.takes;
  } catch (const mien::InputError& error) {
    ASSERT_THAT(error.what(), StartsWith("t:"));
    ++outcomes.errors;
  }
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
      Outcomes outcomes;
      for (std::size_t size = 0; size < bytes.size(); ++size)
        ExpectTakeOrError(bytes.substr(0, size), outcomes);
      EXPECT_GT(outcomes.takes, 10) << "from the end of the first frame on";
      EXPECT_GT(outcomes.errors, 1000) << "up to it";
    }
}

TEST(ReadC3d, EveryFlippedBitGivesATakeOrAnError) {
  for (const bool real : {false, true}) {
    const std::string bytes = FileWithEverything(C3dBuilder::kIntel, real).Bytes();
    Outcomes outcomes;
    for (std::size_t i = 0; i < bytes.size(); ++i)
      for (int bit = 0; bit < 8; ++bit) {
        std::string flipped = bytes;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << bit));
        ExpectTakeOrError(flipped, outcomes);
      }
    EXPECT_GT(outcomes.takes, 1000);
    EXPECT_GT(outcomes.errors, 5);
  }
}

// Parameters in a later block than the 31st are believed only where that block names a processor.
TEST(ReadC3d, ParametersBehindThe31stBlockNeedAProcessor) {
  for (const int block : {2, 31, 32}) {
    std::string bytes(512 * 40, '\0');
    bytes[0] = static_cast<char>(block);
    bytes[1] = 0x50;
    EXPECT_EQ(mien::IsC3d(bytes), block < 32) << block;
    bytes[static_cast<std::size_t>(block - 1) * 512 + 3] = 84;
    EXPECT_TRUE(mien::IsC3d(bytes)) << block;
  }
}
