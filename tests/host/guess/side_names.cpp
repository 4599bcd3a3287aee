#include "host/guess/side_names.h"

#include <gtest/gtest.h>

using mien::SideInName;

TEST(SideNames, AWordStatesTheSide) {
  for (const char* name : {"CheekL", "L_Cheek", "left cheek", "Cheek.Left", "brow-l-2", "LEFT1", "12L"})
    EXPECT_EQ(SideInName(name), 1) << name;
  for (const char* name : {"CheekR", "R_Cheek", "Right Cheek", "cheekRight", "brow-r-2"})
    EXPECT_EQ(SideInName(name), -1) << name;
}

TEST(SideNames, LettersInOtherWordsStateNone) {
  for (const char* name : {"", "*12", "uname*3", "Lcheek", "Chin", "Lip", "section1-2", "Land", "leftright"})
    EXPECT_EQ(SideInName(name), 0) << name;
}

TEST(SideNames, BothSidesStateNone) { EXPECT_EQ(SideInName("left_or_right"), 0); }
