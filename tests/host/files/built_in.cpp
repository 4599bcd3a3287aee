#include "host/files/built_in.h"

#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using mien::BuiltIn;
using mien::NamesOf;
using mien::ReadBuiltInOrFile;

namespace {

constexpr BuiltIn kHats[] = {{"bowler", "round"}, {"top hat", "high"}};

class ReadBuiltIn : public TemporaryFolder {};

} // namespace

TEST_F(ReadBuiltIn, AnswersTheTextOfTheName) {
  EXPECT_THAT(NamesOf(kHats), testing::ElementsAre("bowler", "top hat"));
  EXPECT_EQ(ReadBuiltInOrFile(kHats, "top hat", "hat"), "high");
}

TEST_F(ReadBuiltIn, OrThatOfTheFile) {
  Write("fez", "red");
  EXPECT_EQ(ReadBuiltInOrFile(kHats, (folder_ / "fez").string(), "hat"), "red");
}

TEST_F(ReadBuiltIn, SaysWhichNamesThereAre) {
  EXPECT_EQ(
      InputErrorOf([] { ReadBuiltInOrFile(kHats, "Bowler", "hat"); }),
      "Bowler: there is no hat of this name and no such file; name a hat file, or one of the built-in ones: "
      "bowler, top hat");
}
