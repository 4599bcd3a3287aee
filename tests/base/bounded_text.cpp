#include "mien/base/bounded_text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using mien::CopyBounded;
using mien::EqualIgnoringCase;

TEST(CopyBounded, AcceptsATextOf255Characters) {
  const std::string text(255, 'x');
  char buffer[256];
  EXPECT_TRUE(CopyBounded(buffer, text.c_str()));
  EXPECT_EQ(buffer, text);
}

TEST(CopyBounded, RejectsLongerTextsAndKeepsTheBuffer) {
  for (const std::size_t length : {256u, 257u, 100000u}) {
    char buffer[256], before[256];
    std::memset(buffer, '#', sizeof buffer);
    std::memcpy(before, buffer, sizeof buffer);
    EXPECT_FALSE(CopyBounded(buffer, std::string(length, 'x').c_str())) << length << " characters";
    EXPECT_EQ(std::memcmp(buffer, before, sizeof buffer), 0) << length << " characters";
  }
}

TEST(CopyBounded, AcceptsAnEmptyText) {
  char buffer[256] = "before";
  EXPECT_TRUE(CopyBounded(buffer, ""));
  EXPECT_STREQ(buffer, "");
}

TEST(CopyBounded, ReplacesALongerText) {
  char buffer[256] = "LeftUpperMouth";
  EXPECT_TRUE(CopyBounded(buffer, "Chin"));
  EXPECT_STREQ(buffer, "Chin");
}

TEST(CopyBounded, KeepsBytesBeyondAscii) {
  char buffer[256];
  EXPECT_TRUE(CopyBounded(buffer, "\xc3\xa4\xff"));
  EXPECT_STREQ(buffer, "\xc3\xa4\xff");
}

TEST(CopyBounded, AcceptsTheBufferItself) {
  char buffer[256] = "Smile";
  EXPECT_TRUE(CopyBounded(buffer, buffer));
  EXPECT_STREQ(buffer, "Smile");
}

TEST(EqualIgnoringCase, IgnoresTheCaseOfEveryLetter) {
  EXPECT_TRUE(EqualIgnoringCase("abcdefghijklmnopqrstuvwxyz", "ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
  EXPECT_TRUE(EqualIgnoringCase("sMiLe12", "SmIlE12"));
  EXPECT_TRUE(EqualIgnoringCase("", ""));
}

TEST(EqualIgnoringCase, DistinguishesTextsOfDifferentLength) {
  EXPECT_FALSE(EqualIgnoringCase("Smile", "Smile1"));
  EXPECT_FALSE(EqualIgnoringCase("Smile1", "Smile"));
  EXPECT_FALSE(EqualIgnoringCase("", "a"));
  EXPECT_FALSE(EqualIgnoringCase("a", ""));
}

TEST(EqualIgnoringCase, IgnoresOnlyTheCaseOfAToZ) {
  // Each pair differs in the bit that distinguishes capital and small letters, but is not a pair of ASCII
  // letters.
  EXPECT_FALSE(EqualIgnoringCase("@", "`"));
  EXPECT_FALSE(EqualIgnoringCase("[", "{"));
  EXPECT_FALSE(EqualIgnoringCase("_", "\x7f"));
  EXPECT_FALSE(EqualIgnoringCase("\xc4", "\xe4"));         // a and its capital with a diaeresis, in Latin-1
  EXPECT_FALSE(EqualIgnoringCase("\xc3\x84", "\xc3\xa4")); // and in UTF-8
}

TEST(EqualIgnoringCase, OfAllSingleBytesOnlyLettersMatch) {
  for (int i = 1; i < 256; ++i) {
    for (int j = 1; j < 256; ++j) {
      const char a[] = {static_cast<char>(i), '\0'}, b[] = {static_cast<char>(j), '\0'};
      const bool pair_of_letters =
          (i >= 'A' && i <= 'Z' && j == i + 32) || (i >= 'a' && i <= 'z' && j == i - 32);
      ASSERT_EQ(EqualIgnoringCase(a, b), i == j || pair_of_letters) << "bytes " << i << " and " << j;
    }
  }
}
