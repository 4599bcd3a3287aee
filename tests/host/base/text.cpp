#include "host/base/text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using mien::Printable;
using mien::PrintableJson;
using mien::PrintableLines;
using mien::Quoted;

TEST(Printable, KeepsWhatPeopleRead) {
  for (const std::string text : {"", "a ~", "\u00A0", "\u00FC", "\u05D0\u0628", "e\u0301", "\u3042", "\u4E2D",
                                 "\uE000", "\U0001F600", "\uFFFD"})
    EXPECT_EQ(Printable(text), text);
}

TEST(Printable, ReplacesControlCharacters) {
  EXPECT_EQ(Printable("\x1B[2J\x7F\n\t"), "?[2J???");
  EXPECT_EQ(Printable("a\u0080b\u009B2Jc\u009F"), "a?b?2Jc?") << "U+009B steers a terminal as ESC [ does";
}

TEST(Printable, ReplacesWhatTurnsOrHidesText) {
  for (const std::string invisible :
       {"\u00AD",     "\u034F",     "\u061C",     "\u115F",    "\u180E",     "\u200B",     "\u200D",
        "\u200E",     "\u200F",     "\u2028",     "\u2029",    "\u202A",     "\u202D",     "\u202E",
        "\u2060",     "\u2066",     "\u2069",     "\u206F",    "\u3164",     "\uFE0F",     "\uFEFF",
        "\uFFA0",     "\uFFF9",     "\uFFFB",     "\uFFFF",    "\U00013430", "\U0001BCA0", "\U0001D173",
        "\U000E0001", "\U000E007F", "\U000E01EF", "\U0010FFFF"})
    EXPECT_EQ(Printable("a" + invisible + "b"), "a?b");
}

TEST(Printable, KeepsTheNeighboursOfWhatItReplaces) {
  for (const std::string visible :
       {"\u00A0", "\u00AC", "\u00AE", "\u0350", "\u061B", "\u1161", "\u200A", "\u2010", "\u2027", "\u202F",
        "\u205F", "\u2070", "\u3163", "\uFE10", "\uFFFC", "\U0001D172", "\U000E1000", "\U0010FFFD"})
    EXPECT_EQ(Printable(visible), visible);
}

TEST(Printable, ReplacesEachByteThatIsNotUtf8) {
  EXPECT_EQ(Printable("a\xFF\xFE\x80z"), "a???z");
  EXPECT_EQ(Printable("\xC3"), "?") << "cut short";
  EXPECT_EQ(Printable("\xE2\x82z"), "??z") << "cut short";
  EXPECT_EQ(Printable("\xC0\x9B"), "??") << "an overlong ESC";
  EXPECT_EQ(Printable("\xED\xA0\x80"), "???") << "a surrogate";
}

TEST(PrintableLines, KeepsLinesAndTabs) {
  EXPECT_EQ(PrintableLines("a\tb\n\x1B[2J\u202E\xFF\r\n"), "a\tb\n?[2J???\n");
}

TEST(PrintableJson, StaysTheSameDocument) {
  const std::string document = "{\n  \"a\u202E\u009B\": \"\x7F\U000E0001\uFFFD\u00FC\"\n}";
  const std::string shown = PrintableJson(document);
  EXPECT_EQ(shown, "{\n  \"a\\u202e\\u009b\": \"\\u007f\\udb40\\udc01\uFFFD\u00FC\"\n}");
  EXPECT_EQ(nlohmann::json::parse(shown), nlohmann::json::parse(document));
}

TEST(Quoted, IsPrintable) {
  EXPECT_EQ(Quoted("\x1B[2Jred\x7F\n\u202E"), "\"?[2Jred???\"");
  EXPECT_EQ(Quoted(std::string("a\0b", 3)), "\"a?b\"");
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

TEST(LetterCase, OnlyAsciiHasIt) {
  EXPECT_EQ(mien::ToLower("aZ[\xC3\x84"), "az[\xC3\x84");
  EXPECT_TRUE(mien::EqualIgnoringCase("Time", "tIME"));
  EXPECT_FALSE(mien::EqualIgnoringCase("Time", "Times"));
  EXPECT_TRUE(mien::StartsWithIgnoringCase("Times", "tIME"));
  EXPECT_FALSE(mien::StartsWithIgnoringCase("Tim", "time"));
}

TEST(Text, AShellCommandQuotesWhatAShellWouldSplitOrExpand) {
  EXPECT_EQ(mien::ShellCommand({"mien", "solve", "my take.c3d", "-o", "it's $HOME.csv", "", "*"}),
            R"(mien solve 'my take.c3d' -o 'it'\''s $HOME.csv' '' '*')");
}

TEST(CsvField, IsQuotedWhereItHasTo) {
  EXPECT_EQ(mien::CsvField("Mouth.Open"), "Mouth.Open");
  EXPECT_EQ(mien::CsvField("a,b"), "\"a,b\"");
  EXPECT_EQ(mien::CsvField("the \"lid\"\n"), "\"the \"\"lid\"\"\n\"");
}
