#include "host/error.h"

#include <gtest/gtest.h>

#include <string>

using mien::InputError;
using mien::Printable;
using mien::Quoted;

TEST(InputError, SaysFilePlaceFaultAndMend) {
  EXPECT_STREQ(InputError("take.csv", "12", "the field is empty", "write a number").what(),
               "take.csv:12: the field is empty; write a number");
}

TEST(InputError, LeavesOutThePlaceWhenTheWholeFileIsMeant) {
  EXPECT_STREQ(InputError("take.csv", "", "the file is empty", "export it again").what(),
               "take.csv: the file is empty; export it again");
}

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
