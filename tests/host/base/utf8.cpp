#include "host/base/utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

using mien::FirstCharacter;
using mien::IsUtf8;

TEST(FirstCharacter, IsReadWithItsSize) {
  const std::pair<std::string_view, char32_t> characters[] = {{{"\0", 1}, 0},
                                                              {"\x7F", 0x7F},
                                                              {"\xC2\x80", 0x80},
                                                              {"\xDF\xBF", 0x7FF},
                                                              {"\xE0\xA0\x80", 0x800},
                                                              {"\xED\x9F\xBF", 0xD7FF},
                                                              {"\xEE\x80\x80", 0xE000},
                                                              {"\xEF\xBF\xBF", 0xFFFF},
                                                              {"\xF0\x90\x80\x80", 0x10000},
                                                              {"\xF4\x8F\xBF\xBF", 0x10FFFF}};
  for (const auto& [bytes, code_point] : characters) {
    const auto first = FirstCharacter(std::string(bytes) + "more");
    ASSERT_TRUE(first) << testing::PrintToString(code_point);
    EXPECT_EQ(first->code_point, code_point);
    EXPECT_EQ(first->size, bytes.size());
  }
}

TEST(FirstCharacter, IsNothingWhereTheBytesAreNotWellFormed) {
  for (const std::string_view bytes :
       {"", "\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xC2\xC0", "\xE0\x9F\xBF",
        "\xE1\x80", "\xE1\x80\x41", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF0\x90\x80",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFE", "\xFF"}) {
    EXPECT_FALSE(FirstCharacter(bytes)) << testing::PrintToString(std::string(bytes));
  }
}

TEST(IsUtf8, HoldsForTextsOfWellFormedCharactersAlone) {
  EXPECT_TRUE(IsUtf8(""));
  EXPECT_TRUE(IsUtf8("a\u00FC\u4E2D\U0001F600"));
  EXPECT_FALSE(IsUtf8("a\xFF"));
  EXPECT_FALSE(IsUtf8("a\xC3"));
}

TEST(Beginning, EndsBetweenCharacters) {
  EXPECT_EQ(mien::Beginning("", 0), "");
  EXPECT_EQ(mien::Beginning("abc", 3), "abc");
  EXPECT_EQ(mien::Beginning("abc", 2), "ab");
  const std::string_view text = "a\u4E2D\U0001F600"; // characters of 1, 3 and 4 bytes
  const std::size_t expected[] = {0, 1, 1, 1, 4, 4, 4, 4, 8};
  for (std::size_t most = 0; most <= 8; ++most)
    EXPECT_EQ(mien::Beginning(text, most), text.substr(0, expected[most])) << most;
}

TEST(FromLatin1, TurnsEachByteIntoItsCharacter) {
  EXPECT_EQ(mien::FromLatin1("aM\xFCnd\x80"), "aM\u00FCnd\u0080");
}
