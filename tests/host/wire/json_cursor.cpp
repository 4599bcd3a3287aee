#include "host/wire/json_cursor.h"

#include "host/base/parse_json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace mien {

namespace {

std::string TextIn(const char* json) {
  JsonCursor cursor(json);
  std::string text;
  cursor.Text(text);
  return cursor.IsAtEnd() ? text : "failed";
}

TEST(JsonCursor, ReadsNumbersAsTheyAre) {
  for (const auto& [json, number] : {std::pair("0.1", 0.1), {"-1e-3", -1e-3}, {" 12 ", 12.0}, {"1E5", 1e5}}) {
    JsonCursor cursor(json);
    EXPECT_EQ(cursor.Number(), number);
    EXPECT_TRUE(cursor.IsAtEnd()) << json;
  }
  for (const char* json : {"null", "NaN", "1e999"}) {
    JsonCursor cursor(json);
    EXPECT_TRUE(std::isnan(cursor.Number()));
    EXPECT_TRUE(cursor.IsAtEnd()) << json;
  }
  for (const char* json : {"", "x", "\"1\"", "inf", "+1", "-", "nul"}) {
    JsonCursor cursor(json);
    cursor.Number();
    EXPECT_TRUE(cursor.HasFailed()) << json;
  }
}

TEST(JsonCursor, ReadsEscapes) {
  EXPECT_EQ(TextIn(R"("a\"\\\/\n")"), "a\"\\/\n");
  EXPECT_EQ(TextIn(R"("\u00e9\u20ac\ud83d\ude00")"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(TextIn(R"("\ud83d!")"), "\xEF\xBF\xBD!"); // half a character
  for (const char* json : {"\"", "\"\\", "\"\\x\"", "\"\\u12\"", "\"\\u12g4\""})
    EXPECT_EQ(TextIn(json), "failed");
}

TEST(JsonCursor, SkipsAnyValueButNoneThatIsNestedTooDeep) {
  JsonCursor cursor(R"({"a":[1,{"b":[true,null,"]"]}],"c":2})");
  std::string key;
  double c = 0;
  for (cursor.BeginObject(); cursor.NextKey(key);)
    if (key == "c")
      c = cursor.Number();
    else
      cursor.Skip();
  EXPECT_EQ(c, 2);
  EXPECT_TRUE(cursor.IsAtEnd());

  const std::string deep = std::string(kDeepestJson + 1, '[') + std::string(kDeepestJson + 1, ']');
  JsonCursor too_deep(deep);
  too_deep.Skip();
  EXPECT_TRUE(too_deep.HasFailed());
}

TEST(JsonCursor, EndsAtEveryFault) {
  for (const char* json : {"{\"a\" 1}", "{\"a\":1 \"b\":2}", "{1:2}", "{\"a\":1,", "[1 2]", "[1,2"}) {
    JsonCursor cursor(json);
    std::string key;
    if (cursor.Peek() == '{')
      for (cursor.BeginObject(); cursor.NextKey(key);) cursor.Skip();
    else
      for (cursor.BeginArray(); cursor.NextElement();) cursor.Skip();
    EXPECT_TRUE(cursor.HasFailed()) << json;
  }
}

} // namespace

} // namespace mien
