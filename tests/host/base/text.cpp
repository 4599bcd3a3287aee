#include "host/base/text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using mien::Printable;
using mien::Quoted;

TEST(Quoted, KeepsControlCharactersFromTheTerminal) {
  EXPECT_EQ(Quoted("\x1B[2Jred\x7F\n"), "\"?[2Jred??\"");
  EXPECT_EQ(Quoted(std::string("a\0b", 3)), "\"a?b\"");
  EXPECT_EQ(Printable("\x1B[2J"), "?[2J");
}

TEST(Quoted, CutsLongTextBetweenCharacters) {
  EXPECT_EQ(Quoted(std::string(60, 'a')), '"' + std::string(60, 'a') + '"');
  EXPECT_EQ(Quoted(std::string(61, 'a')), '"' + std::string(60, 'a') + "...\"");
  // The two bytes of the umlaut are the 60th and the 61st.
  EXPECT_EQ(Quoted(std::string(59, 'a') + "\xC3\xB6" + "b"), '"' + std::string(59, 'a') + "...\"");
}

TEST(Some, CountsTheNamesThatItDoesNotShow) {
  EXPECT_EQ(mien::Some({}), "");
  EXPECT_EQ(mien::Some({"a", "b"}, 2), "a, b");
  EXPECT_EQ(mien::Some({"a", "b", "c", "d"}, 2), "a, b and 2 more");
  EXPECT_EQ(mien::SomeQuoted({"a", "b\n", "c"}, 2), "\"a\", \"b?\" and 1 more");
}

TEST(Some, ShowsTenNamesOrFiveQuotedOnes) {
  const std::vector<std::string> eleven(11, "a");
  EXPECT_EQ(mien::Some(eleven), "a, a, a, a, a, a, a, a, a, a and 1 more");
  EXPECT_EQ(mien::SomeQuoted(eleven), "\"a\", \"a\", \"a\", \"a\", \"a\" and 6 more");
}

TEST(LetterCase, IsThatOfAsciiAlone) {
  EXPECT_EQ(mien::ToLower("aZ[\xC3\x84"), "az[\xC3\x84");
  EXPECT_TRUE(mien::EqualIgnoringCase("Time", "tIME"));
  EXPECT_FALSE(mien::EqualIgnoringCase("Time", "Times"));
  EXPECT_TRUE(mien::StartsWithIgnoringCase("Times", "tIME"));
  EXPECT_FALSE(mien::StartsWithIgnoringCase("Tim", "time"));
}
