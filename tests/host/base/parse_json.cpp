#include "host/base/parse_json.h"

#include "tests/host/cpu_seconds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using mien::JsonFault;
using mien::kDeepestJson;
using mien::ParsedJson;
using mien::ParseJson;
using mien::ShownPointer;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Json = nlohmann::ordered_json;

ParsedJson Parse(std::string_view text) {
  return ParseJson(text, [&](const std::string& pointer) { ADD_FAILURE() << pointer << " is repeated"; });
}

/// The pointers of the keys that are repeated.
std::vector<std::string> RepeatedIn(std::string_view text) {
  std::vector<std::string> repeated;
  EXPECT_FALSE(ParseJson(text, [&](const std::string& pointer) { repeated.push_back(pointer); }).fault)
      << text;
  return repeated;
}

/// "syntax at 3"
std::string FaultOf(std::string_view text) {
  const ParsedJson parsed = Parse(text);
  if (!parsed.fault) return "none";
  EXPECT_TRUE(parsed.json.is_null());
  const std::string kinds[] = {"syntax", "number " + parsed.fault->number, "depth"};
  return kinds[static_cast<int>(parsed.fault->kind)] + " at " + std::to_string(parsed.fault->at);
}

std::string Times(std::size_t times, const std::string& text) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

} // namespace

TEST(ParseJson, GivesEveryValueAndTheOrderOfKeys) {
  const std::string text =
      R"({"b":[1,-2,18446744073709551615,0.1,1e-7,true,false,null,"\u00e4\"",[],{}],"a":{"":{"x":[[]]}},"":0})";
  const Json json = Parse(text).json;
  EXPECT_EQ(json, Json::parse(text));
  EXPECT_EQ(json.dump(), Json::parse(text).dump());
  EXPECT_TRUE(json["b"][2].is_number_unsigned());
  EXPECT_TRUE(json["b"][1].is_number_integer());
  for (const std::string single : {"1", "\"a\"", "null", "[]", "{}", " true "})
    EXPECT_EQ(Parse(single).json, Json::parse(single));
}

TEST(ParseJson, AFaultHasItsPlace) {
  EXPECT_EQ(FaultOf(""), "syntax at 0");
  EXPECT_EQ(FaultOf("{\"a\": ]}"), "syntax at 6");
  EXPECT_EQ(FaultOf("[1] 2"), "syntax at 4");
  EXPECT_EQ(FaultOf("[\"\xFF\"]"), "syntax at 2");
  EXPECT_EQ(FaultOf("[1, 1e999]"), "number 1e999 at 4");
  EXPECT_EQ(FaultOf("-1e999"), "number -1e999 at 0");
  EXPECT_EQ(FaultOf("[1e-999, 0]"), "none");
}

TEST(ParseJson, NestsAsDeepAsItSaysAndNoDeeper) {
  const auto arrays = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  const auto objects = [](std::size_t depth) { return Times(depth, "{\"a\":") + "1" + Times(depth, "}"); };
  EXPECT_EQ(FaultOf(arrays(kDeepestJson)), "none");
  EXPECT_EQ(FaultOf(objects(kDeepestJson)), "none");
  EXPECT_EQ(FaultOf(arrays(kDeepestJson + 1)), "depth at 256");
  EXPECT_EQ(FaultOf(objects(kDeepestJson + 1)), "depth at 1280");
  EXPECT_EQ(FaultOf("[" + arrays(kDeepestJson - 1) + "," + arrays(kDeepestJson - 1) + "]"), "none");
  // Brackets within a string do not count.
  EXPECT_EQ(FaultOf("[\"[[\\\"[{\"," + arrays(kDeepestJson) + "]"), "depth at 265");
  EXPECT_EQ(FaultOf("\"" + std::string(1000, '[') + "\""), "none");
}

// Without the limit each level takes hundreds of bytes.
TEST(ParseJson, ATextOfFiveMillionLevelsIsLeftAtTheFirstThatIsTooDeep) {
  const std::string text(5'000'000, '[');
  EXPECT_LT(CpuSecondsOf([&] { EXPECT_EQ(FaultOf(text), "depth at 256"); }), 1);
}

TEST(ParseJson, RepeatedKeysAreReportedAndTheFirstCounts) {
  EXPECT_THAT(RepeatedIn(R"({"a":1,"b":2,"a":3,"c":4,"a":5})"), ElementsAre("/a", "/a"));
  EXPECT_THAT(RepeatedIn(R"([0,{"x/~":{"b":1,"b":2}},{"c":1,"c":[]}])"), ElementsAre("/1/x~1~0/b", "/2/c"));
  EXPECT_THAT(RepeatedIn(R"({"a":{"b":1,"b":2},"a":0})"), ElementsAre("/a/b", "/a"))
      << "when their object ends";
  EXPECT_THAT(RepeatedIn(R"({"a":{"a":{"a":1}},"b":[{"a":1},{"a":1}],"A":1})"), IsEmpty());
  EXPECT_EQ(ParseJson(R"({"a":1,"b":2,"a":3,"c":4})", [](const std::string&) {}).json,
            Json::parse(R"({"a":1,"b":2,"c":4})"));
}

// The bounds are far above what a debug build takes, and far below what it takes to compare each element with
// each.
TEST(ParseJson, TakesTimeThatGrowsWithTheTextAlone) {
  constexpr std::size_t kMany = 300'000;
  constexpr double kSeconds = 20;
  std::string keys = "{\"k\":0";
  for (std::size_t i = 0; i < kMany; ++i) keys += ",\"" + std::to_string(i) + "\":[]";
  keys += "}";
  for (const std::string& text : {"[{}" + Times(kMany, ",{}") + "]", "[[]" + Times(kMany, ",[]") + "]",
                                  "[{}" + Times(kMany, ",{\"children\":[1]}") + "]", keys})
    EXPECT_LT(CpuSecondsOf([&] { EXPECT_EQ(Parse(text).json.size(), kMany + 1); }), kSeconds)
        << text.substr(0, 20);
}

TEST(ShownPointer, IsPrintable) { EXPECT_EQ(ShownPointer("/a\x1B[2J/\n"), "/a?[2J/?"); }

TEST(ShownPointer, KeepsTheEndsOfALongOne) {
  const std::string longest = "/" + std::string(149, 'a') + std::string(150, 'b');
  EXPECT_EQ(ShownPointer(longest), longest);
  EXPECT_EQ(ShownPointer(longest + "c"), "/" + std::string(149, 'a') + "..." + std::string(149, 'b') + "c");
}
