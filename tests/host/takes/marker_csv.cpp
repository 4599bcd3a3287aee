#include "host/takes/marker_csv.h"

#include "host/takes/read_take.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

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
  EXPECT_EQ(take.rate_hz, 100);
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

TEST(MarkerCsv, APositionAtTheOriginIsNoGap) {
  EXPECT_NE(ReadTake("frame,time,A.x,A.y,A.z\n1,0,0,0,0\n", "m.csv").At(0, 0), nullptr);
}

TEST(MarkerCsv, NamesThatDifferInCaseAreTwoMarkers) {
  EXPECT_THAT(ReadTake("frame,time,A.x,A.y,A.z,a.x,a.y,a.z\n1,0,1,2,3,4,5,6\n", "m.csv").markers,
              ElementsAre("A", "a"));
}

TEST(MarkerCsv, HeaderFaultsNameColumnAndMend) {
  const std::string mend = "; write the header as frame,time,NAME.x,NAME.y,NAME.z,...";
  EXPECT_EQ(HeaderError("Frame,time,A.x,A.y,A.z"), "m.csv:1: column 1 is \"Frame\" and not \"frame\"" + mend);
  EXPECT_EQ(HeaderError("frame,A.x,A.y,A.z"), "m.csv:1: column 2 is \"A.x\" and not \"time\"" + mend);
  EXPECT_EQ(HeaderError("frame,time"), "m.csv:1: there are no markers" + mend);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.z,A.y"), "m.csv:1: column 4 is \"A.z\" and not \"A.y\"" + mend);
  EXPECT_EQ(HeaderError("frame,time,A.x,B.x,C.x"), "m.csv:1: column 4 is \"B.x\" and not \"A.y\"" + mend);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y"), "m.csv:1: the column \"A.z\" is missing" + mend);
  EXPECT_EQ(HeaderError("frame,time,A,A.y,A.z"),
            "m.csv:1: column 3 is \"A\" and not the \".x\" of a marker" + mend);
  EXPECT_EQ(HeaderError("frame,time,.x,.y,.z"),
            "m.csv:1: column 3 is \".x\" and not the \".x\" of a marker" + mend);
  EXPECT_EQ(HeaderError("frame,time,A.x,A.y,A.z,A.x,A.y,A.z"),
            "m.csv:1: the marker \"A\" is there twice; give each marker its own name");
  EXPECT_EQ(HeaderError("A.x"), "m.csv:1: column 1 is \"A.x\" and not \"frame\"" + mend);
}

TEST(MarkerCsv, HalfAMarkerIsRefused) {
  const std::string mend = "; fill all three, or leave all three empty if the marker was not seen";
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,1,,3\n"),
            "m.csv:3: marker \"A\": 1 of its 3 fields is empty" + mend);
  EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,, ,3\n"),
            "m.csv:3: marker \"A\": 2 of its 3 fields are empty" + mend);
}

TEST(MarkerCsv, BadCoordinateNamesLineAndColumn) {
  const std::string mend =
      "; write millimetres, such as 12.5, or leave all three fields of an unseen marker empty";
  for (const auto& [cell, fault] : std::vector<std::pair<std::string, std::string>>{
           {"abc", "\"abc\" is not a number"},
           {"1.2.3", "\"1.2.3\" is not a number"},
           {"NaN", "\"NaN\" is not a finite number"},
           {"inf", "\"inf\" is not a finite number"},
           {"-1e400", "\"-1e400\" is beyond the range of a double"},
       })
    EXPECT_EQ(ReadError("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,1,1," + cell + ",3\n"),
              "m.csv:3: column \"A.y\": " + fault + mend);
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
            "row or take it out");
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
  // The first row without its line end and with it, and the second without.
  EXPECT_EQ(read, 3u);
}

TEST(MarkerCsv, WrittenTakeReadsBackToTheSameBits) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::uint64_t> any;
  const auto finite = [&] {
    for (;;) {
      const double value = std::bit_cast<double>(any(random)); // any exponent, subnormal numbers among them
      if (value - value == 0) return value;
    }
  };
  Take take({"A", "b c", "d.e.x", "\xC3\xB6"});
  double time = -1.0 / 3;
  for (std::int64_t frame = -5; frame < 200; ++frame) {
    const std::size_t row = take.AddFrame(frame, time);
    time += 1.001 / 30;
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      if (any(random) % 4 != 0) take.Set(row, marker, {finite(), finite(), finite()});
  }
  take.Set(0, 0, {-0.0, std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max()});
  std::ostringstream out;
  WriteMarkerCsv(take, out);
  const Take back = ReadTake(out.str(), "back.csv");
  EXPECT_EQ(back.markers, take.markers);
  EXPECT_EQ(back.frames, take.frames);
  EXPECT_EQ(back.times, take.times);
  EXPECT_EQ(back.rate_hz, 30 * 1000 / 1001.0);
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
            "t: the marker \"A\" is there twice; give each marker its own name");
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
