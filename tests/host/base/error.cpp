#include "host/base/error.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <vector>

using mien::InputError;

TEST(InputError, NamesFilePlaceFaultAndFix) {
  EXPECT_STREQ(
      InputError(mien::Code::Syntax, "take.csv", "12", "the field is empty", "write a number").what(),
      "take.csv:12: the field is empty; write a number");
}

TEST(InputError, LeavesOutThePlaceWhenTheWholeFileIsMeant) {
  EXPECT_STREQ(InputError(mien::Code::Syntax, "take.csv", "", "the file is empty", "export it again").what(),
               "take.csv: the file is empty; export it again");
}

TEST(InputError, LeavesOutWhatIsEmpty) {
  EXPECT_STREQ(InputError(mien::Code::Usage, "", "onto", "this is for .glb", "").what(),
               "onto: this is for .glb");
  EXPECT_STREQ(InputError(mien::Code::Memory, "", "", "memory ran out", "cut the take").what(),
               "memory ran out; cut the take");
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

// Programs rely on the names.
TEST(Code, EachHasANameOfItsOwn) {
  std::set<std::string_view> names;
  for (int code = 0; code <= static_cast<int>(mien::Code::Memory); ++code)
    names.insert(ToText(static_cast<mien::Code>(code)));
  EXPECT_EQ(names.size(), static_cast<std::size_t>(mien::Code::Memory) + 1);
  EXPECT_FALSE(names.contains(""));
}
