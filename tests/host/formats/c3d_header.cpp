#include "host/formats/c3d_header.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

using mien::Code;
using mien::ReadTake;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;
using tests::C3dBuilder;
using tests::Cells;
using tests::ErrorOf;
using tests::kCells;

TEST(C3dHeader, ProcessorCountedFromOneIsRead) {
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

TEST(C3dHeader, UnknownProcessorIsAnError) {
  std::string bytes = C3dBuilder().Bytes();
  bytes[512 + 3] = 87;
  EXPECT_THAT(
      ErrorOf(bytes),
      StartsWith("take.c3d:byte 515: the processor is 87 instead of 84 (Intel), 85 (DEC) or 86 (SGI)"));
}

TEST(C3dHeader, LeadingZerosAreSkipped) {
  for (const std::size_t zeros : {1u, 3u, 512u}) {
    C3dBuilder file;
    file.zeros_before = zeros;
    const Take take = Read(file);
    EXPECT_EQ(Cells(take), kCells);
    EXPECT_THAT(take.notes, ElementsAre(fmt::format("{} zero bytes before the header are skipped", zeros)));
  }
}

TEST(C3dHeader, NotesAndErrorsHaveCodesAndPlaces) {
  C3dBuilder file;
  file.zeros_before = 3;
  EXPECT_THAT(Read(file).notes, ElementsAre(IsNote(Code::Ignored, "", "3 zero bytes")));
  std::string bytes = file.Bytes();
  bytes[3 + 512 + 3] = 1;
  EXPECT_THAT(ReadTake(bytes, "t").notes,
              Contains(IsNote(Code::InvalidValue, "byte 518", "the processor is 1")));
  const auto problem = [](const std::string& part) { return ProblemOf([&] { ReadTake(part, "t"); }); };
  bytes[3 + 512 + 3] = 9;
  EXPECT_EQ(problem(bytes), "invalid-value at byte 518");
  EXPECT_EQ(problem(bytes.substr(0, 3 + 511)), "truncated at byte 514");
  EXPECT_EQ(problem(bytes.substr(0, 3 + 512 + 3)), "truncated at byte 518");
}
