#include "host/formats/different_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

using mien::MakeNamesDifferent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

// Makes the names different. Answers the changes: index and former name.
std::vector<std::pair<std::size_t, std::string>> Change(std::vector<std::string>& names,
                                                        const std::vector<bool>& made_up) {
  std::vector<std::pair<std::size_t, std::string>> changed;
  for (const auto& [index, before] : MakeNamesDifferent(names, made_up)) changed.emplace_back(index, before);
  return changed;
}

} // namespace

TEST(DifferentNames, StayWhatTheyAre) {
  std::vector<std::string> names = {"b", "A", "a", ""};
  EXPECT_THAT(Change(names, std::vector<bool>(4)), IsEmpty());
  EXPECT_THAT(names, ElementsAre("b", "A", "a", ""));
  names.clear();
  EXPECT_THAT(Change(names, {}), IsEmpty());
}

TEST(DifferentNames, OfEqualNamesTheFirstKeepsIts) {
  std::vector<std::string> names = {"b", "a", "b", "a", "b"};
  EXPECT_THAT(Change(names, std::vector<bool>(5)), ElementsAre(Pair(2, "b"), Pair(3, "a"), Pair(4, "b")));
  EXPECT_THAT(names, ElementsAre("b", "a", "b (2)", "a (2)", "b (3)"));
}

TEST(DifferentNames, ANumberedNameThatIsThereIsPassedOver) {
  std::vector<std::string> names = {"a", "a", "a (2)", "a", "a (2)"};
  Change(names, std::vector<bool>(5));
  EXPECT_THAT(names, ElementsAre("a", "a (3)", "a (2)", "a (4)", "a (2) (2)"));
}

TEST(DifferentNames, ANameOfTheFilesOwnComesBeforeAMadeUpOne) {
  std::vector<std::string> names = {"point 1", "point 1"};
  EXPECT_THAT(Change(names, {true, false}), ElementsAre(Pair(0, "point 1")));
  EXPECT_THAT(names, ElementsAre("point 1 (2)", "point 1"));
}

TEST(DifferentNames, ThousandsOfEqualNamesAreAllDifferent) {
  std::vector<std::string> names(65535, "x");
  EXPECT_EQ(MakeNamesDifferent(names, std::vector<bool>(names.size())).size(), 65534u);
  EXPECT_EQ(names.back(), "x (65535)");
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}
