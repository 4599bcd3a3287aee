#include "host/base/json_text.h"

#include <gtest/gtest.h>

using mien::JsonLine;
using mien::JsonLines;
using mien::JsonMember;

TEST(JsonText, KeysAreEscaped) {
  EXPECT_EQ(JsonMember("a", "1"), "\"a\": 1");
  EXPECT_EQ(JsonMember("say \"b\"\n", "[]"), "\"say \\\"b\\\"\\n\": []");
}

TEST(JsonText, AnObjectStandsOnOneLineOrOnALineForEachMember) {
  EXPECT_EQ(JsonLine({"\"a\": 1", "\"b\": 2"}), "{ \"a\": 1, \"b\": 2 }");
  EXPECT_EQ(JsonLines({"\"a\": 1", "\"b\": 2"}, "  "), "{\n    \"a\": 1,\n    \"b\": 2\n  }");
}

TEST(JsonText, AnObjectWithoutMembersIsEmpty) {
  EXPECT_EQ(JsonLine({}), "{}");
  EXPECT_EQ(JsonLines({}, "  "), "{}");
}
