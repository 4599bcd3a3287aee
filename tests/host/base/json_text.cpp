#include "host/base/json_text.h"

#include "tests/host/decimal_comma.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using mien::AppendJsonNumbers;
using mien::JsonDecimal;
using mien::JsonList;
using mien::JsonListOnLines;
using mien::JsonMember;
using mien::JsonObject;
using mien::JsonObjectOnLines;
using mien::JsonTightList;
using mien::JsonValue;

namespace {

std::string Text(const JsonValue& value) { return value.Text(); }

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// Doubles that are hard to write: of many digits, at the ends of the range, and around the changes of notation.
const std::vector<double> kHard = {0.1 + 0.2,
                                   1 / 3.0,
                                   std::nextafter(1.0, 2),
                                   std::numeric_limits<double>::min(),
                                   std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::max(),
                                   1e-5,
                                   0.0001,
                                   999999999999999.9,
                                   1e15,
                                   123456789012345680.0,
                                   9007199254740993.0,
                                   1e22,
                                   0x1p63,
                                   -0x1p64,
                                   0.0,
                                   -0.0};

} // namespace

// --- Values.

TEST(JsonValue, WordsAreNullTrueAndFalse) {
  EXPECT_EQ(Text(nullptr), "null");
  EXPECT_EQ(Text(true), "true");
  EXPECT_EQ(Text(false), "false");
}

TEST(JsonValue, IntegersAreExact) {
  EXPECT_EQ(Text(0), "0");
  EXPECT_EQ(Text(-7), "-7");
  EXPECT_EQ(Text(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(Text(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(Text(std::uint8_t{200}), "200");
}

TEST(JsonValue, NumbersHaveTheFewestDigits) {
  EXPECT_EQ(Text(2.0), "2");
  EXPECT_EQ(Text(0.1), "0.1");
  EXPECT_EQ(Text(-0.5), "-0.5");
  EXPECT_EQ(Text(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(Text(1e15), "1000000000000000");
  EXPECT_EQ(Text(1e16), "1e+16");
  EXPECT_EQ(Text(1e-5), "1e-05");
  EXPECT_EQ(Text(static_cast<double>(2.5f)), "2.5");
}

TEST(JsonDecimal, HasAPointOrAnExponent) {
  EXPECT_EQ(Text(JsonDecimal(2)), "2.0");
  EXPECT_EQ(Text(JsonDecimal(-0.0)), "-0.0");
  EXPECT_EQ(Text(JsonDecimal(0.1)), "0.1");
  EXPECT_EQ(Text(JsonDecimal(100000000000000)), "100000000000000.0");
  EXPECT_EQ(Text(JsonDecimal(1e15)), "1e+15");
  EXPECT_EQ(Text(JsonDecimal(1.5e-7)), "1.5e-07");
}

TEST(JsonValue, NumbersReadBackToTheSameDoubles) {
  for (const double number : kHard)
    for (const JsonValue& written : {JsonValue(number), JsonDecimal(number)}) {
      const auto read = nlohmann::json::parse(written.Text()).get<double>();
      EXPECT_EQ(std::bit_cast<std::uint64_t>(read == 0 ? 0 : read),
                std::bit_cast<std::uint64_t>(number == 0 ? 0 : number))
          << written.Text();
    }
}

TEST(JsonValue, NumbersThatAreNotFiniteAreNull) {
  for (const double number : {kInfinity, -kInfinity, kNan, -kNan}) {
    EXPECT_EQ(Text(number), "null");
    EXPECT_EQ(Text(JsonDecimal(number)), "null");
  }
}

TEST(JsonValue, NumbersHaveAPointWhateverTheLocale) {
  const DecimalComma german;
  EXPECT_EQ(Text(1234.5), "1234.5");
  EXPECT_EQ(Text(JsonDecimal(1234.5)), "1234.5");
  EXPECT_EQ(Text(1234567), "1234567");
}

TEST(JsonValue, TextIsEscaped) {
  EXPECT_EQ(Text("say \"b\""), R"("say \"b\"")");
  EXPECT_EQ(Text(R"(a\b)"), R"("a\\b")");
  EXPECT_EQ(Text("\b\t\n\f\r"), R"("\b\t\n\f\r")");
  EXPECT_EQ(Text(std::string_view("\0\x01\x1F", 3)), R"("\u0000\u0001\u001f")");
}

TEST(JsonValue, OtherCharactersStayAsTheyAre) {
  for (const std::string text :
       {"</script>", "\x7F", "\xC3\xA4", "\xE7\x9C\x89", "\xE2\x80\xA8", "\xF0\x9F\x98\x80", ""})
    EXPECT_EQ(Text(text), '"' + text + '"');
}

TEST(JsonValue, BytesThatAreNotUtf8AreReplaced) {
  EXPECT_EQ(Text("caf\xE9.c3d"), "\"caf\uFFFD.c3d\"");
  EXPECT_EQ(Text("\xFF\xFE"), "\"\uFFFD\uFFFD\"");
  EXPECT_EQ(Text("a\xC3"), "\"a\uFFFD\"") << "cut off";
  EXPECT_EQ(Text("\xC3\"x"), "\"\uFFFD\\\"x\"") << "what comes after it is read anew";
}

TEST(JsonValue, AnOptionalIsItsValueOrNull) {
  EXPECT_EQ(Text(std::optional(0.5)), "0.5");
  EXPECT_EQ(Text(std::optional(std::string("a"))), "\"a\"");
  EXPECT_EQ(Text(std::optional<double>()), "null");
}

TEST(JsonValue, APointIsAListOfItsCoordinates) { EXPECT_EQ(Text(mien::Point{1, 0.5, -2}), "[1, 0.5, -2]"); }

TEST(JsonValue, AVectorIsAList) {
  EXPECT_EQ(Text(std::vector<std::string>{"a", "b\n"}), R"(["a", "b\n"])");
  EXPECT_EQ(Text(std::vector<std::vector<int>>{{1, 2}, {}}), "[[1, 2], []]");
}

// --- Lists and objects.

TEST(JsonText, AListStandsOnOneLineOrOnALineForEachValue) {
  EXPECT_EQ(Text(JsonList({1, "b", nullptr})), "[1, \"b\", null]");
  EXPECT_EQ(Text(JsonTightList({1, "b", nullptr})), "[1,\"b\",null]");
  EXPECT_EQ(Text(JsonListOnLines({1, "b"})), "[\n  1,\n  \"b\"\n]");
}

TEST(JsonText, AnObjectStandsOnOneLineOrOnALineForEachMember) {
  EXPECT_EQ(Text(JsonObject({{"a", 1}, {"b", "c"}})), R"({ "a": 1, "b": "c" })");
  EXPECT_EQ(Text(JsonObjectOnLines({{"a", 1}, {"b", "c"}})), "{\n  \"a\": 1,\n  \"b\": \"c\"\n}");
}

TEST(JsonText, AMemberOfTwoTextsIsAMember) {
  EXPECT_EQ(Text(JsonObject({{"a", "b"}})), R"({ "a": "b" })");
  EXPECT_EQ(Text(JsonObject({{"a", "b"}, {"c", "d"}})), R"({ "a": "b", "c": "d" })");
}

TEST(JsonText, WhatIsEmptyHasNoLines) {
  EXPECT_EQ(Text(JsonList({})), "[]");
  EXPECT_EQ(Text(JsonTightList({})), "[]");
  EXPECT_EQ(Text(JsonListOnLines({})), "[]");
  EXPECT_EQ(Text(JsonObject({})), "{}");
  EXPECT_EQ(Text(JsonObjectOnLines({})), "{}");
}

TEST(JsonText, KeysAreEscaped) {
  EXPECT_EQ(Text(JsonObject({{"say \"b\"\n", 1}})), R"({ "say \"b\"\n": 1 })");
  EXPECT_EQ(Text(JsonObject({{"\xFF", 1}})), "{ \"\uFFFD\": 1 }");
}

TEST(JsonText, LinesInsideLinesAreIndented) {
  const JsonValue inner = JsonObjectOnLines({{"b", JsonListOnLines({1, 2})}});
  EXPECT_EQ(Text(JsonObjectOnLines({{"a", inner}, {"c", "d\ne"}})), "{\n"
                                                                    "  \"a\": {\n"
                                                                    "    \"b\": [\n"
                                                                    "      1,\n"
                                                                    "      2\n"
                                                                    "    ]\n"
                                                                    "  },\n"
                                                                    "  \"c\": \"d\\ne\"\n"
                                                                    "}");
}

TEST(JsonText, WhatIsWrittenAlreadyStaysAsItIs) {
  EXPECT_EQ(Text(JsonList({JsonValue::Written("{\"a\":1}"), 2})), "[{\"a\":1}, 2]");
}

TEST(JsonText, NumbersAreAppendedAsATightListOfValues) {
  std::string text = "x";
  AppendJsonNumbers(text, kHard);
  EXPECT_EQ(text, "x" + Text(JsonTightList({kHard.begin(), kHard.end()})));
  text.clear();
  AppendJsonNumbers(text, std::vector<double>{1, kNan});
  AppendJsonNumbers(text, {});
  EXPECT_EQ(text, "[1,null][]");
}
