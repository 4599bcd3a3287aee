#include "host/formats/marker_csv.h"

#include "host/formats/read_take.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using mien::Code;
using mien::FrameRate;
using mien::ParseTimecode;
using mien::Point;
using mien::ReadTake;
using mien::Take;
using mien::WriteMarkerCsv;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kSmall = "frame,time,Chin.x,Chin.y,Chin.z,L brow.in.x,L brow.in.y,L brow.in.z\n"
                           "10,0.5,1.5,-2,3e1,,,\n"
                           "11,0.51,,,,4,5,6\n";

std::string ReadError(const std::string& text) {
  return InputErrorOf([&] { ReadTake(text, "m.csv"); });
}

std::string HeaderError(const std::string& header) { return ReadError(header + "\n1,0,1,2,3\n"); }

void ExpectSamePoints(const Take& a, const Take& b) {
  ASSERT_EQ(a.FrameCount(), b.FrameCount());
  ASSERT_EQ(a.MarkerCount(), b.MarkerCount());
  for (std::size_t frame = 0; frame < a.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < a.MarkerCount(); ++marker) {
      const Point* p = a.At(frame, marker);
      const Point* q = b.At(frame, marker);
      ASSERT_EQ(p == nullptr, q == nullptr) << "frame " << frame << " marker " << marker;
      if (!p) continue;
      // As bits, so that -0.0 is not 0.0.
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->x), std::bit_cast<std::uint64_t>(q->x));
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->y), std::bit_cast<std::uint64_t>(q->y));
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->z), std::bit_cast<std::uint64_t>(q->z));
    }
}

} // namespace

TEST(MarkerCsv, ReadsNamesWithBlanksAndDotsAndGaps) {
  const Take take = ReadTake(kSmall, "folder/my.take.csv");
  EXPECT_EQ(take.name, "my.take");
  EXPECT_EQ(take.format, "marker CSV");
  EXPECT_THAT(take.markers, ElementsAre("Chin", "L brow.in"));
  EXPECT_THAT(take.frames, ElementsAre(10, 11));
  EXPECT_THAT(take.times, ElementsAre(0.5, 0.51));
  EXPECT_EQ(take.rate.Hz(), 100);
  ASSERT_NE(take.At(0, 0), nullptr);
  EXPECT_EQ(take.At(0, 0)->x, 1.5);
  EXPECT_EQ(take.At(0, 0)->y, -2);
  EXPECT_EQ(take.At(0, 0)->z, 30);
  EXPECT_EQ(take.At(0, 1), nullptr);
  EXPECT_EQ(take.At(1, 0), nullptr);
  ASSERT_NE(take.At(1, 1), nullptr);
  EXPECT_EQ(take.At(1, 1)->z, 6);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(MarkerCsv, ReadsEveryShapeOfTextThatHoldsTheSameTable) {
  const Take plain = ReadTake(kSmall, "m.csv");
  std::string crlf;
  std::string trailing_comma;
  std::string blanks;
  for (const char c : kSmall) {
    crlf += c == '\n' ? "\r\n" : std::string(1, c);
    trailing_comma += c == '\n' ? ",\n" : std::string(1, c);
    blanks += c == ',' ? " , " : std::string(1, c);
  }
  for (const std::string& text : {crlf, trailing_comma, blanks, "\xEF\xBB\xBF" + kSmall,
                                  kSmall.substr(0, kSmall.size() - 1), kSmall + "\n\r\n,,,,\n",
                                  "\"frame\",\"time\",\"Chin.x\",\"Chin.y\",\"Chin.z\",\"L brow.in.x\",\"L "
                                  "brow.in.y\",\"L brow.in.z\"" +
                                      kSmall.substr(kSmall.find('\n'))}) {
    const Take take = ReadTake(text, "m.csv");
    EXPECT_EQ(take.markers, plain.markers);
    EXPECT_EQ(take.frames, plain.frames);
    EXPECT_EQ(take.times, plain.times);
    ExpectSamePoints(take, plain);
  }
}

TEST(MarkerCsv, APositionAtTheOriginIsNotAGap) {
  EXPECT_NE(ReadTake("frame,time,A.x,A.y,A.z\n1,0,0,0,0\n", "m.csv").At(0, 0), nullptr);
}

TEST(MarkerCsv, NamesThatDifferInCaseAreTwoMarkers) {
  EXPECT_THAT(ReadTake("frame,time,A.x,A.y,A.z,a.x,a.y,a.z\n1,0,1,2,3,4,5,6\n", "m.csv").markers,
              ElementsAre("A", "a"));
}

TEST(MarkerCsv, HeaderFaultsNameColumnAndFix) {
  const std::string fix = "; write the header as frame,time,NAME.x,NAME.y,NAME.z,...";
  const std::string none = " and not frame, time, timecode or the \".x\" of a marker" + fix;
  EXPECT_EQ(HeaderError("Frames,time,A.x,A.y,A.z"), "m.csv:1: column 1 is \"Frames\"" + none);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y,B .z"), "m.csv:1: column 5 is \"B .z\" and not \"A.z\"" + fix);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y,a.z"), "m.csv:1: column 5 is \"a.z\" and not \"A.z\"" + fix);
  EXPECT_EQ(HeaderError("frame,time,timecode"), "m.csv:1: there are no markers" + fix);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y,A.z,timecode"),
            "m.csv:1: column 6 is \"timecode\" and not the \".x\" of a marker" + fix);
  EXPECT_EQ(HeaderError("frame,time"), "m.csv:1: there are no markers" + fix);
  EXPECT_EQ(HeaderError("frame,time,time,A.x,A.y,A.z"), "m.csv:1: column 3 is \"time\"" + none);
  EXPECT_EQ(HeaderError("frame,time,Frame#,A.x,A.y,A.z"), "m.csv:1: column 3 is \"Frame#\"" + none);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.z,A.y"), "m.csv:1: column 4 is \"A.z\" and not \"A.y\"" + fix);
  EXPECT_EQ(HeaderError("frame,time,A.x,B.x,C.x"), "m.csv:1: column 4 is \"B.x\" and not \"A.y\"" + fix);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y"), "m.csv:1: the column \"A.z\" is missing" + fix);
  EXPECT_EQ(HeaderError("frame,time,A,A.y,A.z"), "m.csv:1: column 3 is \"A\"" + none);
  EXPECT_EQ(HeaderError("frame,time,.x,.y,.z"), "m.csv:1: column 3 is \".x\"" + none);
  EXPECT_EQ(HeaderError("frame,time,_x,_y,_z"), "m.csv:1: column 3 is \"_x\"" + none);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y,A.z,A.x,A.y,A.z"),
            "m.csv:1: the marker \"A\" occurs twice; give each marker its own name");
  EXPECT_EQ(HeaderError("A.x"), "m.csv:1: the column \"A.y\" is missing" + fix);
}

TEST(MarkerCsv, OtherSeparatorsInMarkerColumnsAreReadAndNoted) {
  const std::string rows = "\n1,0,1,2,3,4,5,6\n2,0.5,1,2,3,4,5,6\n";
  for (const auto& [header, first] : std::vector<std::pair<std::string, std::string>>{
           {"frame,time,Chin_x,Chin_y,Chin_z,L_brow_x,L_brow_y,L_brow_z", "\"Chin_x\""},
           {"frame,time,Chin x,Chin y,Chin z,L_brow x,L_brow y,L_brow z", "\"Chin x\""},
           {"frame,time,Chin:x,Chin:y,Chin:z,L_brow:x,L_brow:y,L_brow:z", "\"Chin:x\""},
           {"frame,time,Chin_X,Chin_Y,Chin_Z,L_brow_X,L_brow_Y,L_brow_Z", "\"Chin_X\""},
           {"frame,time,Chin x,Chin_y,Chin.z,L_brow:X,L_brow Y,L_brow_ z", "\"Chin x\""}}) {
    const Take take = ReadTake(header + rows, "m.csv");
    EXPECT_THAT(take.markers, ElementsAre("Chin", "L_brow")) << header;
    EXPECT_EQ(take.At(1, 1)->z, 6);
    ASSERT_EQ(take.notes.size(), 1u);
    EXPECT_THAT(Message(take.notes[0]), testing::StartsWith("line 1: column names corrected: column 3 from " +
                                                            first + " to \"Chin.x\" and "));
  }
  // A dot comes first: what stands before it is the name.
  EXPECT_THAT(ReadTake("frame,time,a_.x,a_.y,a_.z,s:b.x,s:b.y,s:b.z" + rows, "m.csv").markers,
              ElementsAre("a_", "s:b"));
  EXPECT_THAT(ReadTake("frame,time,a_.x,a_.y,a_.z,s:b.x,s:b.y,s:b.z" + rows, "m.csv").notes, IsEmpty());
}

TEST(MarkerCsv, IsKnownByItsFirstColumnsOrByAMarker) {
  const auto is = [](const std::vector<std::string_view>& columns) { return mien::IsMarkerCsv(columns); };
  EXPECT_TRUE(is({"frame", "time", "else"}));
  EXPECT_TRUE(is({"Frame#", "time_ms"}));
  EXPECT_TRUE(is({"A.x"}));
  EXPECT_TRUE(is({"id", "A_x", "A_y", "A_z"}));
  EXPECT_FALSE(is({"id", "A_x", "A_y", "B_z"}));
  EXPECT_FALSE(is({"id", "A_x", "A_y"}));
  EXPECT_FALSE(is({"time", "frame", "else"}));
  EXPECT_FALSE(is({}));
}

TEST(MarkerCsv, FramesAndTimesHaveAnyNameAndOrder) {
  for (const auto& [header, note] : std::vector<std::pair<std::string, std::string>>{
           {"Frame#,time_ms,A.x,A.y,A.z",
            "column 2 from \"time_ms\" to \"time\" (in milliseconds) and 1 more"},
           {"frame,Time (ms),A.x,A.y,A.z", "column 2 from \"Time (ms)\" to \"time\" (in milliseconds)"}}) {
    const Take take = ReadTake(header + "\n1,0,1,2,3\n2,40,4,5,6\n", "m.csv");
    EXPECT_THAT(take.times, ElementsAre(0, 0.04));
    EXPECT_EQ(take.rate.Hz(), 25);
    EXPECT_THAT(take.notes, ElementsAre("line 1: column names corrected: " + note));
  }
  const Take turned =
      ReadTake("timecode@25,time,frame,A.x,A.y,A.z\n10:00:00:00,0,7,1,2,3\n,0.04,8,4,5,6\n", "m.csv");
  EXPECT_THAT(turned.frames, ElementsAre(7, 8));
  EXPECT_EQ(turned.At(1, 0)->z, 6);
  EXPECT_EQ(turned.timecode, ParseTimecode("10:00:00:00@25", {1, 1}));
  EXPECT_THAT(turned.notes, IsEmpty());
}

TEST(MarkerCsv, WithoutTimesTheRateIsAssumedOrNamed) {
  const std::string rows = "frame,A.x,A.y,A.z\n1,1,2,3\n2,4,5,6\n4,7,8,9\n";
  EXPECT_THAT(ReadTake(rows, "m.csv").notes,
              ElementsAre("no times; taken as 30 Hz (--input-rate)", "frames missing: 1 after frame 2"));
  const Take take = ReadTake(rows, "m.csv", {.input_rate = FrameRate{100, 1}});
  EXPECT_THAT(take.times, ElementsAre(0, 0.01, 0.03));
  EXPECT_EQ(take.rate.Hz(), 100);
  EXPECT_THAT(take.notes, ElementsAre("frames missing: 1 after frame 2"));
  const Take bare = ReadTake("A.x,A.y,A.z\n1,2,3\n4,5,6\n", "m.csv");
  EXPECT_THAT(bare.frames, ElementsAre(1, 2));
  EXPECT_THAT(bare.notes, ElementsAre("no column \"frame\"; the rows are numbered from 1",
                                      "no times; taken as 30 Hz (--input-rate)"));
}

TEST(MarkerCsv, SemicolonsWithDecimalCommasAreReadAndNoted) {
  const Take take = ReadTake("frame;time;A.x;A.y;A.z\r\n1;0;1,5;-2;3e1\r\n2;0,04;;;\r\n", "m.csv");
  EXPECT_THAT(take.times, ElementsAre(0, 0.04));
  EXPECT_EQ(take.rate.Hz(), 25);
  EXPECT_EQ(take.At(0, 0)->x, 1.5);
  EXPECT_EQ(take.At(0, 0)->z, 30);
  EXPECT_EQ(take.At(1, 0), nullptr);
  EXPECT_THAT(take.notes, ElementsAre("line 1: the columns are separated by semicolons",
                                      "line 2: decimal commas, as in \"1,5\""));
}

TEST(MarkerCsv, QuotedFieldsAreReadWithoutANote) {
  const Take take = ReadTake("\"frame\",\"time\",\"timecode@25\",\"A.x\",\"A.y\",\"A.z\"\n"
                             "\"1\",\"0\",\"10:00:00:00\",\"1.5\",\"2\",\"3\"\n"
                             "\"2\",\"0.04\",\"10:00:00:01\",\"\",\"\",\"\"\n",
                             "m.csv");
  EXPECT_EQ(take.At(0, 0)->x, 1.5);
  EXPECT_EQ(take.At(1, 0), nullptr);
  EXPECT_EQ(take.timecode, ParseTimecode("10:00:00:00@25", {1, 1}));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(MarkerCsv, RowsAreSortedByTimeWithTheirTimecodes) {
  const std::string header = "frame,time,timecode@25,A.x,A.y,A.z\n";
  const Take take = ReadTake(
      header + "3,0.08,10:00:00:02,3,0,0\n1,0,10:00:00:00,1,0,0\n2,0.04,10:00:00:01,2,0,0\n", "m.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_EQ(take.At(0, 0)->x, 1);
  EXPECT_EQ(take.At(2, 0)->x, 3);
  EXPECT_EQ(take.timecode, ParseTimecode("10:00:00:00@25", {1, 1}));
  EXPECT_THAT(take.notes,
              ElementsAre("line 3: the time 0 s comes after 0.08 s; the rows are sorted by time"));
  // A timecode that does not follow is named with the line that it is on.
  EXPECT_THAT(
      ReadTake(header + "3,0.08,10:00:00:02,3,0,0\n1,0,10:00:00:00,1,0,0\n2,0.04,10:00:09:01,2,0,0\n",
               "m.csv")
          .notes,
      testing::Contains("column \"timecode@25\": 1 of 3 timecodes do not follow from the first: line 4 has "
                        "\"10:00:09:01\" instead of 10:00:00:01"));
}

TEST(MarkerCsv, AFrameColumnThatNeverChangesIsReplacedByACount) {
  const Take take = ReadTake("frame,time,A.x,A.y,A.z\n0,0,1,2,3\n0,0.5,4,5,6\n", "m.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2));
  EXPECT_THAT(take.notes, ElementsAre("column \"frame\": 0 in every row; the rows are numbered from 1"));
}

TEST(MarkerCsv, ACutLastRowIsLeftOutAndNoted) {
  const std::string whole =
      "frame,time,timecode@25,A.x,A.y,A.z\n1,0,10:00:00:00,1,2,3\n2,0.04,10:00:00:01,4,5,6\n";
  for (const char* end : {"3", "3,", "3,0.08,", "3,0.08,10:00:00:02,7,8", "3,0.08,10:00:00:02,7,8\n",
                          "3,0.08,10:00:00:02,7,8,-"}) {
    const Take take = ReadTake(whole + end, "m.csv");
    EXPECT_THAT(take.frames, ElementsAre(1, 2)) << end;
    EXPECT_EQ(take.At(1, 0)->z, 6);
    EXPECT_THAT(take.notes, ElementsAre("line 4: the file ends inside the row, which is left out")) << end;
  }
}

TEST(MarkerCsv, NumberedLandmarksOfAMeshAreNotMarkers) {
  const auto table = [](int count, const std::string& prefix, const char* separator) {
    std::string header = "frame,time", row = "\n1,0";
    for (int i = 0; i < count; ++i)
      for (const char* axis : {"x", "y", "z"}) {
        header += "," + prefix + std::to_string(i) + separator + axis;
        row += ",0.5";
      }
    return header + row + "\n";
  };
  for (const int count : {70, 98, 106})
    for (const char* separator : {"_", " ", ":"})
      EXPECT_EQ(
          ReadError(table(count, "face_landmark_", separator)),
          fmt::format(
              "m.csv:1: the table has {} numbered landmarks, \"face_landmark_0\" to \"face_landmark_{}\", "
              "whose places on the face are not known; write those that you need as marker CSV, in "
              "millimetres: NAME.x,NAME.y,NAME.z",
              count, count - 1));
  EXPECT_EQ(ProblemOf([&] { ReadTake(table(98, "", "_"), "m.csv"); }), "unsupported at 1");
  // Other numbers, and names as this format has them, are markers'.
  EXPECT_EQ(ReadTake(table(69, "m", "_"), "m.csv").MarkerCount(), 69u);
  EXPECT_EQ(ReadTake(table(70, "m", "."), "m.csv").MarkerCount(), 70u);
}

TEST(MarkerCsv, HalfAMarkerIsAGapAndNoted) {
  const Take take =
      ReadTake("frame,time,A.x,A.y,A.z,B.x,B.y,B.z\n1,0,1,2,3,4,5,6\n2,1,1,,3,4,5,6\n3,2,, ,3,,,\n", "m.csv");
  EXPECT_NE(take.At(0, 0), nullptr);
  EXPECT_EQ(take.At(1, 0), nullptr);
  EXPECT_NE(take.At(1, 1), nullptr);
  EXPECT_EQ(take.At(2, 0), nullptr);
  EXPECT_THAT(
      take.notes,
      ElementsAre("3 cells are empty, NaN or infinite and make gaps, the first: line 3, column \"A.y\""));
  EXPECT_THAT(
      ReadTake("frame,time,A.x,A.y,A.z\n1,0,1,,3\n2,1,1,2,3\n", "m.csv").notes,
      ElementsAre("1 cell is empty, NaN or infinite and makes a gap, the first: line 2, column \"A.y\""));
}

TEST(MarkerCsv, BadCoordinateNamesLineAndColumn) {
  const std::string fix =
      "; write millimetres, such as 12.5, or leave all three fields of an unseen marker empty";
  for (const char* cell : {"abc", "1.2.3", "12mm"})
    EXPECT_EQ(ReadError(fmt::format("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,1,{},3\n", cell)),
              fmt::format("m.csv:3: column \"A.y\": \"{}\" is not a number", cell) + fix);
}

TEST(MarkerCsv, InfiniteCoordinatesAreGapsAndNoted) {
  for (const char* cell : {"inf", "-inf", "-1e400", "1.#INF"}) {
    const Take take = ReadTake(fmt::format("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,1,{},3\n", cell), "m.csv");
    EXPECT_EQ(take.At(1, 0), nullptr);
    EXPECT_THAT(
        take.notes,
        ElementsAre("1 cell is empty, NaN or infinite and makes a gap, the first: line 3, column \"A.y\""));
  }
}

TEST(MarkerCsv, BadFrameOrTimeNamesLineAndColumn) {
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1.5,0,1,2,3\n"),
            "m.csv:2: column \"frame\": \"1.5\" is not a whole number; write a whole number, such as 12");
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0:00,1,2,3\n"),
            "m.csv:2: column \"time\": \"0:00\" is not a number; write a plain number, such as 12.5");
}

TEST(MarkerCsv, RowsOfWrongLengthAreRefused) {
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,2\n"),
            "m.csv:2: column \"A.z\": the row is cut short: it has 4 fields and the header 5; complete the "
            "row or remove it");
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,2,3,4\n"),
            "m.csv:2: the row has 6 fields and the header 5; write one field per column, with decimal points "
            "and not commas");
  // A decimal comma, as a German spreadsheet writes it.
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,5,2,3\n"),
            "m.csv:2: the row has 6 fields and the header 5; write one field per column, with decimal points "
            "and not commas");
}

TEST(MarkerCsv, EveryTruncationIsReadOrRefused) {
  std::size_t read = 0;
  for (std::size_t length = 0; length < kSmall.size(); ++length) {
    const std::string cut = kSmall.substr(0, length); // its own memory, so that reading past the end shows
    try {
      EXPECT_LE(ReadTake(cut, "m.csv").FrameCount(), 2u);
      ++read;
    } catch (const mien::InputError&) {}
  }
  // The first row without its line end and with it; the second without, and cut anywhere, which leaves it
  // out.
  EXPECT_EQ(read, 3u + std::string_view("11,0.51,,,,4,5,").size());
}

TEST(MarkerCsv, EveryFlippedByteIsReadOrRefused) {
  const std::string text =
      "frame,time,timecode@25,A.x,A.y,A.z\n1,0,10:00:00:00,1.5,-2,3e1\n2,0.04,10:00:00:01,,,\n";
  std::size_t read = 0, refused = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    for (const int flip : {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0xFF}) {
      std::string flipped = text;
      flipped[i] = static_cast<char>(flipped[i] ^ flip);
      try {
        EXPECT_LE(ReadTake(flipped, "m.csv").FrameCount(), 2u) << flipped;
        ++read;
      } catch (const mien::InputError& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("m.csv:"));
        ++refused;
      }
    }
  EXPECT_GT(read, 50u);
  EXPECT_GT(refused, 200u);
}

TEST(MarkerCsv, LetterCaseAndBlanksInTheHeaderAreReadAndNoted) {
  const std::string rows = "\n1,0,1,2,3,4,5,6\n2,0.5,1,2,3,4,5,6\n";
  for (const auto& [header, note] : std::vector<std::pair<std::string, std::string>>{
           {"Frame,TIME,Chin.X,Chin.Y,Chin.Z,L brow.x,L brow.y,L brow.z",
            "line 1: column names corrected: column 1 from \"Frame\" to \"frame\" and 4 more"},
           {"frame,time,Chin.x,Chin.y,Chin.Z,L brow.x,L brow.y,L brow.z",
            "line 1: column names corrected: column 5 from \"Chin.Z\" to \"Chin.z\""},
           {"frame,time,Chin .x,Chin.y,Chin. z,L brow.x,L brow.y,L brow.z",
            "line 1: column names corrected: column 3 from \"Chin .x\" to \"Chin.x\" and 1 more"},
       }) {
    const Take take = ReadTake(header + rows, "m.csv");
    EXPECT_THAT(take.markers, ElementsAre("Chin", "L brow"));
    EXPECT_EQ(take.At(1, 1)->z, 6);
    EXPECT_THAT(take.notes, ElementsAre(note));
  }
  // Behind blank lines the header is on a later one.
  EXPECT_THAT(ReadTake("\n\nFrame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,1,2,3\n", "m.csv").notes,
              ElementsAre("line 3: column names corrected: column 1 from \"Frame\" to \"frame\""));
}

TEST(MarkerCsv, BlankBeforeTheDotOfAllThreeBelongsToTheName) {
  const Take take =
      ReadTake("frame,time,A .x,A .y,A .z,A.x,A.y,A.z\n1,0,1,2,3,4,5,6\n2,1,1,2,3,4,5,6\n", "m.csv");
  EXPECT_THAT(take.markers, ElementsAre("A ", "A"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(MarkerCsv, NanIsAGapAndNoted) {
  const Take take = ReadTake("frame,time,A.x,A.y,A.z,B.x,B.y,B.z\n"
                             "1,0,1,2,3,4,5,6\n"
                             "2,0.1,1,NaN,3,nan, nan ,-nan(ind)\n"
                             "3,0.2,,,,NAN,,\n",
                             "m.csv");
  EXPECT_NE(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
  for (const std::size_t frame : {1u, 2u})
    for (const std::size_t marker : {0u, 1u}) EXPECT_EQ(take.At(frame, marker), nullptr);
  EXPECT_THAT(
      take.notes,
      ElementsAre("7 cells are empty, NaN or infinite and make gaps, the first: line 3, column \"A.y\""));
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,nan,1,2,3\n"),
            "m.csv:2: column \"time\": \"nan\" is not a finite number; write a plain number, such as 12.5");
}

TEST(MarkerCsv, TimecodeOfTheFirstRowIsTheTakes) {
  const Take take = ReadTake("frame,time,timecode@29.97,A.x,A.y,A.z\n"
                             "1,5,10:00:59;28,1,2,3\n"
                             "2,5.033367,10:00:59;29,4,5,6\n"
                             "3,5.066733,10:01:00;02,7,8,9\n"
                             "4,5.1001,,,,\n",
                             "m.csv");
  EXPECT_EQ(take.timecode, ParseTimecode("10:00:59;28@29.97", {1, 1}));
  ASSERT_NE(take.At(2, 0), nullptr);
  EXPECT_EQ(take.At(2, 0)->z, 9);
  EXPECT_EQ(take.At(3, 0), nullptr);
  EXPECT_THAT(take.markers, ElementsAre("A"));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(MarkerCsv, TimecodeWithoutRateCountsAtTheTakesOwnOrAWholePartOfItUpToSixty) {
  for (const auto& [seconds, text, rate] : std::vector<std::tuple<double, std::string, FrameRate>>{
           {1 / 25.0, "10:00:00:00", {25, 1}},
           {1 / 60.0, "10:00:00:59", {60, 1}},
           {1 / 120.0, "10:00:00:00", {60, 1}},
           {1001 / 120000.0, "10:00:00:00", {60000, 1001}},
           {1 / 100.0, "10:00:00:00", {50, 1}},
           {1 / 90.0, "10:00:00:00", {45, 1}},
           {1 / 240.0, "10:00:00:00", {60, 1}},
           {1001 / 60000.0, "10:00:00;00", {60000, 1001}},
           {1 / 25.0, "10:00:00;00", {30000, 1001}}, // 25 counts a second have no drop
       }) {
    const Take take =
        ReadTake(fmt::format("frame,time,timecode,A.x,A.y,A.z\n0,0,{},1,2,3\n1,{},,,,\n2,{},,,,\n", text,
                             seconds, 2 * seconds),
                 "m.csv");
    ASSERT_TRUE(take.timecode) << text;
    EXPECT_EQ(take.timecode->rate, rate) << seconds;
    EXPECT_EQ(take.timecode->At(0), text);
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(MarkerCsv, TimecodesThatDoNotFollowAreCountedInANote) {
  const auto read = [](const std::vector<std::string>& timecodes) {
    std::string text = "frame,time,timecode@25,A.x,A.y,A.z\n";
    for (std::size_t i = 0; i < timecodes.size(); ++i)
      text += fmt::format("{},{:.2f},{},1,2,3\n", i + 1, static_cast<double>(i) / 25, timecodes[i]);
    return ReadTake(text, "m.csv");
  };
  EXPECT_THAT(read({"23:59:59:23", "23:59:59:24", "00:00:00:00", "00:00:00:01"}).notes, IsEmpty());
  // One count more or less is the moment at which it was read.
  EXPECT_THAT(read({"10:00:00:05", "10:00:00:05", "10:00:00:08", "10:00:00:07"}).notes, IsEmpty());
  EXPECT_THAT(read({"10:00:00:05.750", "10:00:00:06.750", "10:00:00:07.750"}).notes, IsEmpty());
  const std::string start = "column \"timecode@25\": ";
  EXPECT_THAT(
      read({"10:00:00:00", "10:00:00:01", "10:00:00:04", "10:00:00:05"}).notes,
      ElementsAre(start +
                  "2 of 4 timecodes do not follow from the first: line 4 has \"10:00:00:04\" instead of "
                  "10:00:00:02"));
  EXPECT_THAT(read({"10:00:00:00", "-", "10:00:00:02@25", "10:00:00:03"}).notes,
              ElementsAre(start +
                          "2 of 4 timecodes do not follow from the first: line 3 has \"-\" instead of "
                          "10:00:00:01"));
  EXPECT_EQ(read({"10:00:00:00", "-"}).timecode, ParseTimecode("10:00:00:00", {25, 1}));
  const Take without = read({"", "10:00:00:01"});
  EXPECT_EQ(without.timecode, std::nullopt);
  EXPECT_THAT(without.notes, ElementsAre(start + "the first row has no timecode, so the take has none"));
}

TEST(MarkerCsv, BadTimecodesNameLineAndColumn) {
  const auto error = [](const std::string& column, const std::string& timecode) {
    return ReadError("frame,time," + column + ",A.x,A.y,A.z\n1,0," + timecode + ",1,2,3\n2,0.04,,1,2,3\n");
  };
  EXPECT_EQ(
      error("timecode@25", "10:00:00:25"),
      "m.csv:2: column \"timecode@25\": \"10:00:00:25\" is not a time of day at 25 counts per second; write "
      "HH:MM:SS:FF, with ; before FF for drop frame, and the rate in the column's name: timecode@29.97");
  for (const char* timecode : {"25:00:00:00", "10:00:00", "36000.5", "10:00:00:00@25", "x"})
    EXPECT_THAT(error("timecode", timecode),
                testing::HasSubstr(" is not a time of day at 25 counts per second"))
        << timecode;
  EXPECT_THAT(error("timecode@25", "10:00:00;00"),
              testing::HasSubstr(" is not a time of day at 25 counts per second"));
  EXPECT_EQ(error("timecode@x", "10:00:00:00"),
            "m.csv:1: column 3 is \"timecode@x\", and \"x\" is not a rate; "
            "write its counts per second behind the @, such as "
            "timecode@29.97");
}

TEST(MarkerCsv, MarkersMayBeNamedTimecode) {
  for (const std::string name : {"timecode", "timecode@25", "timecode@25.x"}) {
    const Take take =
        ReadTake(fmt::format("frame,time,{0}.x,{0}.y,{0}.z\n1,0,1,2,3\n2,1,4,5,6\n", name), "m.csv");
    EXPECT_THAT(take.markers, ElementsAre(name));
    EXPECT_EQ(take.timecode, std::nullopt);
  }
}

TEST(MarkerCsv, TimecodeIsWrittenAndReadsBack) {
  Take take({"A"});
  take.timecode = ParseTimecode("23:59:59;28@29.97", {1, 1});
  for (int frame = 0; frame < 8; ++frame)
    take.AddFrame(frame, 3 + frame * 1001 / 60000.0); // two for each count
  std::ostringstream out;
  WriteMarkerCsv(take, out);
  EXPECT_THAT(out.str(), testing::StartsWith("frame,time,timecode@30000/1001,A.x,A.y,A.z\n"
                                             "0,3,23:59:59;28,,,\n"
                                             "1,3.0166833333333334,23:59:59;28.500,,,\n"));
  EXPECT_THAT(out.str(), testing::HasSubstr(",00:00:00;00,,,\n"));
  const Take back = ReadTake(out.str(), "back.csv");
  EXPECT_EQ(back.timecode, take.timecode);
  EXPECT_EQ(back.times, take.times);
  EXPECT_THAT(back.notes, IsEmpty());
}

TEST(MarkerCsv, WrittenTakeReadsBackToTheSameBits) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::uint64_t> any;
  const auto any_number = [&] {
    for (;;) {
      const double value = std::bit_cast<double>(any(random)); // any exponent, subnormal numbers among them
      if (std::abs(value) <= 1e6) return value;
    }
  };
  Take take({"A", "b c", "d.e.x", "\xC3\xB6"});
  double time = -1.0 / 3;
  for (std::int64_t frame = -5; frame < 200; ++frame) {
    const std::size_t row = take.AddFrame(frame, time);
    time += 1.001 / 30;
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (any(random) % 4 != 0) take.Set(row, marker, {any_number(), any_number(), any_number()});
  }
  take.Set(0, 0, {-0.0, std::numeric_limits<double>::denorm_min(), 1e6});
  std::ostringstream out;
  WriteMarkerCsv(take, out);
  const Take back = ReadTake(out.str(), "back.csv");
  EXPECT_EQ(back.markers, take.markers);
  EXPECT_EQ(back.frames, take.frames);
  EXPECT_EQ(back.times, take.times);
  EXPECT_EQ(back.rate.Hz(), 30 * 1000 / 1001.0);
  ExpectSamePoints(back, take);
}

TEST(MarkerCsv, IsWrittenWithTheFewestDigits) {
  Take take({"A", "B"});
  take.AddFrame(1, 0);
  take.AddFrame(2, 0.1);
  take.Set(1, 1, {0.1, 12, -1e-7});
  std::ostringstream out;
  WriteMarkerCsv(take, out);
  EXPECT_EQ(out.str(), "frame,time,A.x,A.y,A.z,B.x,B.y,B.z\n"
                       "1,0,,,,,,\n"
                       "2,0.1,,,,0.1,12,-1e-07\n");
}

TEST(MarkerCsv, NamesThatCannotStandInAHeaderAreNotWritten) {
  for (const auto& [name, shown] : std::vector<std::pair<std::string, std::string>>{
           {"", "\"\""}, {"a,b", "\"a,b\""}, {"a\nb", "\"a?b\""}, {"a\"b", "\"a\"b\""}, {" a", "\" a\""}}) {
    Take take({"fine", name});
    take.name = "t";
    std::ostringstream out;
    EXPECT_EQ(InputErrorOf([&] { WriteMarkerCsv(take, out); }),
              "t: the marker name " + shown +
                  " cannot stand in a header; rename it, without comma, quote, line end or leading blank");
    EXPECT_EQ(out.str(), "");
  }
  Take twins({"A", "A"});
  twins.name = "t";
  std::ostringstream out;
  EXPECT_EQ(InputErrorOf([&] { WriteMarkerCsv(twins, out); }),
            "t: the marker \"A\" occurs twice; give each marker its own name");
}

TEST(MarkerCsv, NumbersDoNotFollowTheLocale) {
  const DecimalComma germany;
  const Take take = ReadTake(kSmall, "m.csv");
  EXPECT_EQ(take.At(0, 0)->x, 1.5);
  EXPECT_EQ(take.times[1], 0.51);
  Take large({"A"});
  large.AddFrame(1234567, 1.5);
  large.Set(0, 0, {1234567.5, 0, 0});
  std::ostringstream out; // made under the locale, and so with its commas
  WriteMarkerCsv(large, out);
  EXPECT_EQ(out.str(), "frame,time,A.x,A.y,A.z\n1234567,1.5,1234567.5,0,0\n");
}

TEST(MarkerCsv, FaultsHaveCodesAndTheirLine) {
  const auto problem = [](const std::string& text) { return ProblemOf([&] { ReadTake(text, "m.csv"); }); };
  EXPECT_EQ(problem("frame,time\n1,0\n"), "empty at 1");
  EXPECT_EQ(problem("frame,time,A.x,A.y\n"), "missing at 1");
  EXPECT_EQ(problem("frame,time,A.x,A.z,A.y\n"), "syntax at 1");
  EXPECT_EQ(problem("frame,time,A,A.y,A.z\n"), "syntax at 1");
  EXPECT_EQ(problem("frame,time,A.x,A.y,A.z,A.x,A.y,A.z\n"), "duplicate at 1");
  EXPECT_EQ(problem("frame,time,timecode@x,A.x,A.y,A.z\n"), "invalid-value at 1");
  EXPECT_EQ(problem("frame,time,else,A.x,A.y,A.z\n"), "syntax at 1");
}

TEST(MarkerCsv, NotesHaveCodesAndPlaces) {
  EXPECT_THAT(ReadTake("Frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,nan,,\n", "m.csv").notes,
              ElementsAre(IsNote(Code::Syntax, "line 1", "column names corrected"),
                          IsNote(Code::InvalidValue, "", "3 cells are empty, NaN or")));
  const std::string header = "frame,time,timecode@25,A.x,A.y,A.z\n", column = "column \"timecode@25\"";
  EXPECT_THAT(ReadTake(header + "1,0,,1,2,3\n2,1,,1,2,3\n", "m.csv").notes,
              ElementsAre(IsNote(Code::Missing, column, "the first row has no timecode")));
  EXPECT_THAT(ReadTake(header + "1,0,10:00:00:00,1,2,3\n2,1,10:00:00:00,1,2,3\n", "m.csv").notes,
              ElementsAre(IsNote(Code::Contradiction, column, "1 of 2 timecodes")));
}
