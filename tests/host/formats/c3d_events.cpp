#include "host/formats/c3d_events.h"

#include "tests/host/formats/read_c3d.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

using mien::Code;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::C3dBuilder;

TEST(C3dEvents, EventsOfTheGroupHaveContextsAndMinutes) {
  C3dBuilder file;
  file.Words("EVENT", "USED", {3});
  file.Texts("EVENT", "CONTEXTS", {"Right", "Left", ""});
  file.Texts("EVENT", "LABELS", {"Foot Strike", "Foot Off", "Clap"});
  file.Set("EVENT", "TIMES", {4, {2, 3}, {1, 2.5, 0, 0.25, 0, 0.5}, ""});
  file.header[4] = 11; // their times count from frame 1 nevertheless
  const Take take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[0].label, "Left Foot Off");
  EXPECT_EQ(take.events[0].time, 0.25);
  EXPECT_EQ(take.events[1].label, "Clap");
  EXPECT_EQ(take.events[1].time, 0.5);
  EXPECT_EQ(take.events[2].label, "Right Foot Strike");
  EXPECT_EQ(take.events[2].time, 62.5);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(C3dEvents, EventsOfTheHeaderCountFromTheFirstFrame) {
  C3dBuilder file;
  file.header = {{4, 11}, {150, 0x3039}, {151, 3}};
  file.header_reals = {{153, 0.5}, {155, 0.25}, {157, 0.75}};
  file.header_texts = {{199, "RHS LTO RTO "}};
  Take take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[0].label, "LTO");
  EXPECT_EQ(take.events[0].time, 0.35);
  EXPECT_EQ(take.events[1].label, "RHS");
  EXPECT_EQ(take.events[2].label, "RTO");

  file.Words("EVENT", "USED", {1}); // the same as the header's first
  file.Texts("EVENT", "LABELS", {"Foot Strike"});
  file.Reals("EVENT", "TIMES", {0, 0.603});
  take = Read(file);
  ASSERT_EQ(take.events.size(), 3u);
  EXPECT_EQ(take.events[1].label, "Foot Strike");

  file.Remove("EVENT", "USED");
  file.header[150] = 0; // without the key the words mean something else
  EXPECT_THAT(Read(file).events, IsEmpty());
}

TEST(C3dEvents, EventTimesThatAreNotPairsAreNotRead) {
  C3dBuilder file;
  file.Words("EVENT", "USED", {8});
  file.Reals("EVENT", "TIMES", std::vector<double>(8, 0));
  const Take take = Read(file);
  EXPECT_THAT(take.events, IsEmpty());
  EXPECT_THAT(take.notes, ElementsAre(Says(HasSubstr("8 numbers instead of two for each of 8 events"))));
}

TEST(C3dEvents, NotesHaveCodes) {
  C3dBuilder file;
  file.Words("EVENT", "USED", {8});
  file.Reals("EVENT", "TIMES", std::vector<double>(8, 0));
  file.header = {{150, 0x3039}, {151, 19}};
  file.header_reals = {{153, std::numeric_limits<double>::quiet_NaN()}};
  EXPECT_THAT(Read(file).notes,
              ElementsAre(IsNote(Code::Missing, "", "EVENT:TIMES has 8 numbers"),
                          IsNote(Code::InvalidValue, "", "the header declares 19 events"),
                          IsNote(Code::InvalidValue, "",
                                 "events with a time that is not a number, which are ignored: 1")));
}

// An event of the header within half a frame of one of the group is the same event.
TEST(C3dEvents, AnEventInBothPlacesWithinHalfAFrameIsReadOnce) {
  for (const auto& [seconds, events] : {std::pair(0.504, 1u), {0.506, 2u}}) {
    C3dBuilder file; // at 100 Hz
    file.header = {{150, 0x3039}, {151, 1}};
    file.header_reals = {{153, 0.5}};
    file.header_texts = {{199, "RHS "}};
    file.Words("EVENT", "USED", {1});
    file.Texts("EVENT", "LABELS", {"Foot Strike"});
    file.Reals("EVENT", "TIMES", {0, seconds});
    EXPECT_EQ(Read(file).events.size(), events) << seconds;
  }
}

TEST(C3dEvents, TheHeaderHasRoomForEighteenEvents) {
  for (const int count : {18, 19}) {
    C3dBuilder file;
    file.header = {{150, 0x3039}, {151, count}};
    for (int i = 0; i < 18; ++i) file.header_reals[153 + 2 * i] = 1 + i;
    const Take take = Read(file);
    ASSERT_EQ(take.events.size(), 18u);
    EXPECT_EQ(take.events.back().time, 18);
    if (count == 18)
      EXPECT_THAT(take.notes, IsEmpty());
    else
      EXPECT_THAT(take.notes, ElementsAre("the header declares 19 events and has room for 18"));
  }
}
