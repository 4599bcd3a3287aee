#include "host/formats/input_rate.h"

#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

using mien::FrameRate;
using mien::InputRate;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(InputRate, IsTheUsersOrThirtyHertzWithANote) {
  std::vector<mien::Note> notes;
  EXPECT_EQ(InputRate(FrameRate{30000, 1001}, "no times", notes), (FrameRate{30000, 1001}));
  EXPECT_THAT(notes, IsEmpty());
  EXPECT_EQ(InputRate(std::nullopt, "no times", notes), (FrameRate{30, 1}));
  EXPECT_THAT(notes, ElementsAre(IsNote(mien::Code::Assumed, "", "no times; taken as 30 Hz (--input-rate)")));
}

TEST(InputRate, IsRefusedForAFileWithItsOwn) {
  EXPECT_EQ(ProblemOf([] { mien::RefuseInputRate(FrameRate{25, 1}, "t"); }), "usage at no place");
  EXPECT_EQ(ProblemOf([] { mien::RefuseInputRate(std::nullopt, "t"); }), "no InputError");
}
