#include "host/base/error.h"

#include <gtest/gtest.h>

#include <vector>

using mien::InputError;

TEST(InputError, SaysFilePlaceFaultAndMend) {
  EXPECT_STREQ(
      InputError(mien::Code::Syntax, "take.csv", "12", "the field is empty", "write a number").what(),
      "take.csv:12: the field is empty; write a number");
}

TEST(InputError, LeavesOutThePlaceWhenTheWholeFileIsMeant) {
  EXPECT_STREQ(InputError(mien::Code::Syntax, "take.csv", "", "the file is empty", "export it again").what(),
               "take.csv: the file is empty; export it again");
}

TEST(InputError, CarriesEachProblemAsData) {
  const std::vector<mien::Problem> problems = {
      {mien::Code::Missing, "a.json", "/parts", "no part", "add one"},
      {mien::Code::Limit, "a.json", "", "too long", "cut it"}};
  const InputError error(problems);
  EXPECT_EQ(error.Problems(), problems);
  EXPECT_STREQ(error.what(), "a.json:/parts: no part; add one\na.json: too long; cut it");
}

TEST(Note, SaysThePlaceWhereThereIsOne) {
  EXPECT_EQ(Message(mien::Note{mien::Code::Assumed, "line 7", "no unit"}), "line 7: no unit");
  EXPECT_EQ(Message(mien::Note{mien::Code::Assumed, "", "no unit"}), "no unit");
}
