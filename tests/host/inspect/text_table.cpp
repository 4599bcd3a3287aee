#include "host/inspect/text_table.h"

#include <gtest/gtest.h>

using mien::Columns;
using mien::Padded;
using mien::Shortened;
using mien::Table;

TEST(TextTable, ColumnsAreCharactersAndNotBytes) {
  EXPECT_EQ(Columns(""), 0u);
  EXPECT_EQ(Columns("abc"), 3u);
  EXPECT_EQ(Columns("\xC3\xA4\xE7\x9C\x89\xF0\x9F\x98\x80"), 3u);
}

TEST(TextTable, PaddedTextFillsItsColumns) {
  EXPECT_EQ(Padded("\xC3\xA4", 3), "\xC3\xA4  ");
  EXPECT_EQ(Padded("abcd", 3), "abcd");
}

TEST(TextTable, ShortenedTextEndsInTwoDots) {
  EXPECT_EQ(Shortened("abcde", 5), "abcde");
  EXPECT_EQ(Shortened("abcdef", 5), "abc..");
  EXPECT_EQ(Shortened("\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4", 3), "\xC3\xA4..") << "between characters";
}

TEST(TextTable, TheFirstColumnIsFlushLeftAndTheOthersFlushRight) {
  EXPECT_EQ(Table({{"name", "gaps", "x"}, {"\xC3\xA4", "12345", "1"}, {"abcdef", "1", "200"}}),
            "  name     gaps    x\n"
            "  \xC3\xA4       12345    1\n"
            "  abcdef      1  200\n");
}

TEST(TextTable, ARowMayBeShort) {
  EXPECT_EQ(Table({{"name", "a", "b"}, {"x"}, {"y", "never"}}), "  name      a  b\n  x\n  y     never\n");
  EXPECT_EQ(Table({}), "");
}
