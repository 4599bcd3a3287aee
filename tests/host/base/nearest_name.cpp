#include "host/base/nearest_name.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using mien::NearestName;

namespace {

std::string Nearest(const std::string& name, const std::vector<std::string>& names) {
  return NearestName(name, names).value_or("nothing");
}

} // namespace

TEST(NearestName, IsFoundThroughLettersChangedAddedDroppedAndPrefixes) {
  for (const std::string near : {"Cheek_L2", "Chek_L1", "Cheeek_L1", "heek_L1", "Cheek-L1", "A:Cheek_L1"})
    EXPECT_EQ(Nearest("Cheek_L1", {"Nose", near, "C", "Brow_R77"}), near);
}

TEST(NearestName, IsTheOneWithTheFewestLettersToChange) {
  EXPECT_EQ(Nearest("abcdef", {"abcxyf", "abcdex", "abxxxf"}), "abcdex");
  EXPECT_EQ(Nearest("abcdef", {"abcxyf", "abcdefg", "abxxxf"}), "abcdefg");
  EXPECT_EQ(Nearest("abcdef", {"abcxyf", "abdef", "abxxxf"}), "abdef");
  EXPECT_EQ(Nearest("abcdef", {"abcdeg", "abcdef"}), "abcdef") << "the name itself";
}

TEST(NearestName, AnotherCaseOfALetterCountsATenth) {
  EXPECT_EQ(Nearest("abcdefghi", {"abcdefghx", "ABCDEFGHI"}), "ABCDEFGHI")
      << "nine of them are less than a letter";
  EXPECT_EQ(Nearest("abcdefghijk", {"ABCDEFGHIJK", "abcdefghijx"}), "abcdefghijx") << "eleven are more";
}

TEST(NearestName, IsAtMostHalfOfTheNameAway) {
  EXPECT_EQ(Nearest("abcd", {"abxy"}), "abxy");
  EXPECT_EQ(Nearest("abcd", {"axyz"}), "nothing");
  EXPECT_EQ(Nearest("abcde", {"abcxy"}), "abcxy");
  EXPECT_EQ(Nearest("abcde", {"abxyz"}), "nothing");
  EXPECT_EQ(Nearest("", {""}), "");
  EXPECT_EQ(Nearest("", {"a"}), "nothing");
  EXPECT_EQ(Nearest("a", {""}), "nothing");
}

TEST(NearestName, OfEquallyNearOnesIsTheFirst) {
  EXPECT_EQ(Nearest("Brow3", {"Nose", "Brow1", "Brow2"}), "Brow1");
  EXPECT_EQ(Nearest("ab", {"ax", "ay"}), "ax") << "half of the name away, both";
}

TEST(NearestName, OfNoNamesIsNone) { EXPECT_EQ(NearestName("Brow", {}), std::nullopt); }
