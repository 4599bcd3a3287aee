#include "host/formats/trc.h"

#include "host/formats/read_take.h"
#include "tests/host/cpu_seconds.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/random.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using mien::Code;
using mien::FrameRate;
using mien::InputError;
using mien::IsTrc;
using mien::Point;
using mien::ReadTrc;
using mien::Take;
using mien::WriteTrc;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// A file that keeps the format; each test changes one thing.
struct File {
  std::string path_line = "PathFileType\t4\t(X/Y/Z)\tC:\\My takes\\smile one.trc\n";
  std::string keys =
      "DataRate\tCameraRate\tNumFrames\tNumMarkers\tUnits\tOrigDataRate\tOrigDataStartFrame\tOrigNumFrames\n";
  std::string values = "50.00\t50.00\t2\t2\tmm\t50.00\t1\t2\n";
  std::string names = "Frame#\tTime\tChin\t\t\tL brow\t\t\n";
  std::string labels = "\t\tX1\tY1\tZ1\tX2\tY2\tZ2\n";
  std::string blank = "\n";
  std::string rows = "1\t0.000\t1.5\t-2\t3e1\t\t\t\n2\t0.020\t4\t5\t6\t7\t8\t9\n";

  std::string Text() const { return path_line + keys + values + names + labels + blank + rows; }
};

Take Read(const std::string& text) { return ReadTrc(text, "t.trc"); }
Take Read(const File& file) { return Read(file.Text()); }

std::string ErrorOf(const File& file) {
  return InputErrorOf([&] { Read(file); });
}

File WithRows(const std::string& rows) {
  File file;
  file.rows = rows;
  return file;
}

std::string Replaced(std::string text, std::string_view old, std::string_view with) {
  for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += with.size())
    text.replace(at, old.size(), with);
  return text;
}

std::string Written(const Take& take) {
  std::ostringstream out;
  WriteTrc(take, out);
  return out.str();
}

// "1.5 -2 30", or "gap".
std::string At(const Take& take, std::size_t frame, std::size_t marker) {
  const Point* p = take.At(frame, marker);
  return p ? fmt::format("{} {} {}", p->x, p->y, p->z) : "gap";
}

std::vector<std::string> Positions(const Take& take) {
  std::vector<std::string> positions;
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < take.MarkerCount(); ++marker)
      positions.push_back(At(take, frame, marker));
  return positions;
}

void ExpectSame(const Take& a, const Take& b) {
  EXPECT_EQ(a.markers, b.markers);
  EXPECT_EQ(a.frames, b.frames);
  EXPECT_EQ(a.rate, b.rate);
  ASSERT_EQ(a.FrameCount(), b.FrameCount());
  ASSERT_EQ(a.MarkerCount(), b.MarkerCount());
  for (std::size_t frame = 0; frame < a.FrameCount(); ++frame)
    for (std::size_t marker = 0; marker < a.MarkerCount(); ++marker) {
      const Point *p = a.At(frame, marker), *q = b.At(frame, marker);
      ASSERT_EQ(p == nullptr, q == nullptr) << "frame " << frame << " marker " << marker;
      if (!p) continue;
      // As bits, so that -0.0 is not 0.0.
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->x), std::bit_cast<std::uint64_t>(q->x));
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->y), std::bit_cast<std::uint64_t>(q->y));
      EXPECT_EQ(std::bit_cast<std::uint64_t>(p->z), std::bit_cast<std::uint64_t>(q->z));
    }
}

// A take of one marker A with these frames and times, which is at (frame, 0, 1).
Take OneMarker(const std::vector<std::int64_t>& frames, const FrameRate& rate) {
  Take take({"A"});
  take.name = "one";
  take.rate = rate;
  for (const std::int64_t number : frames)
    take.Set(take.AddFrame(number, rate.Seconds(number - frames[0])), 0, {static_cast<double>(number), 0, 1});
  return take;
}

} // namespace

// --- Missing cells

// Behind the missing cell each marker would have its neighbour's coordinates.
TEST(Trc, ARowThatLacksACellSomewhereIsAGapOfAllMarkers) {
  const Take take =
      Read(WithRows("1\t0.000\t1\t2\t3\t4\t5\t6\n2\t0.020\t1\t3\t4\t5\t6\n3\t0.040\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(Positions(take), ElementsAre("1 2 3", "4 5 6", "gap", "gap", "1 2 3", "4 5 6"));
  EXPECT_THAT(take.notes, testing::Contains(Says(HasSubstr(
                              "the row ends within marker 2 of 2: a cell is missing somewhere in it"))));
}

TEST(Trc, EveryRowThatLacksACellIsAMissingColumn) {
  EXPECT_THAT(ErrorOf(WithRows("1\t0.000\t1\t2\t3\t4\t5\n2\t0.020\t1\t3\t4\t5\t6\n")),
              testing::HasSubstr("a column is missing: every row ends within a marker's three"));
}

// Programs often cut trailing tabs, where nothing is missing.
TEST(Trc, ARowThatEndsInEmptyCellsIsShortAndNoMore) {
  const Take take = Read(WithRows("1\t0.000\t1\t2\t3\t\n2\t0.020\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(Positions(take), ElementsAre("1 2 3", "gap", "1 2 3", "4 5 6"));
}

// --- Files that keep the format

TEST(Trc, ReadsAFileThatKeepsTheFormatWithoutANote) {
  const Take take = Read(File());
  EXPECT_THAT(take.notes, IsEmpty());
  EXPECT_THAT(take.markers, ElementsAre("Chin", "L brow"));
  EXPECT_THAT(take.frames, ElementsAre(1, 2));
  EXPECT_THAT(take.times, ElementsAre(0, 0.02));
  EXPECT_EQ(take.rate, (FrameRate{50, 1}));
  EXPECT_EQ(take.unit, "mm");
  EXPECT_THAT(Positions(take), ElementsAre("1.5 -2 30", "gap", "4 5 6", "7 8 9"));
  EXPECT_EQ(take.OriginAt(0, 0), mien::Origin::Measured);
}

TEST(Trc, IsKnownByItsFirstLineOrItsKeys) {
  const File file;
  EXPECT_TRUE(IsTrc(file.Text()));
  EXPECT_TRUE(IsTrc("\xEF\xBB\xBF \r\n pathfiletype\t4"));
  EXPECT_TRUE(IsTrc(file.keys + file.values));
  EXPECT_TRUE(IsTrc("smile.trc\n" + file.keys));
  EXPECT_TRUE(IsTrc("1\n2\n" + file.keys));
  EXPECT_TRUE(IsTrc("datarate NumFrames\n"));
  EXPECT_FALSE(IsTrc(""));
  EXPECT_FALSE(IsTrc("frame,time,A.x,A.y,A.z\n"));
  EXPECT_FALSE(IsTrc("DataRate\tof a report\n"));
  EXPECT_FALSE(IsTrc("\n1\n2\n3\n" + file.keys)); // too far down
}

TEST(Trc, IsReadAsATakeWhateverTheFilesEnding) {
  const Take take = mien::ReadTake(File().Text(), "folder/smile.txt");
  EXPECT_EQ(take.format, "TRC");
  EXPECT_EQ(take.name, "smile");
}

TEST(Trc, NotesAreErrorsWhenStrict) {
  File file;
  file.blank = "";
  EXPECT_THAT(InputErrorOf([&] { mien::ReadTake(file.Text(), "t.trc", {.strict = true, .face = {}}); }),
              StartsWith("t.trc:6: the blank line before the first row is missing; "));
}

// What programs do differently, without a note.
TEST(Trc, ReadsEveryShapeOfTextThatHoldsTheSameTable) {
  const File plain;
  const Take expected = Read(plain);
  File trailing_tabs = plain, padded = plain, lower = plain, nan = plain, blank_lines = plain;
  trailing_tabs.keys = Replaced(plain.keys, "\n", "\t\n");
  trailing_tabs.values = Replaced(plain.values, "\n", "\t\n");
  trailing_tabs.names = Replaced(plain.names, "\n", "\t\t\n");
  trailing_tabs.labels = Replaced(plain.labels, "\n", "\t\n");
  trailing_tabs.rows = Replaced(plain.rows, "\n", "\t\t\t \n");
  padded.values = Replaced(plain.values, "\t", "   \t     ");
  padded.names = Replaced(plain.names, "\t", " \t ");
  padded.rows = Replaced(plain.rows, "\t", "  \t   ");
  lower.keys =
      "datarate\tCAMERARATE\tnumFrames\tnummarkers\tunits\torigdatarate\torigdatastartframe\tOrignumframes\n";
  lower.labels = "\t\tx1\ty1\tz1\tx2\ty2\tz2\n";
  nan.rows = Replaced(plain.rows, "\t\t\t\n", "\tNaN\tnan\t-1.#IND00\n");
  blank_lines.blank = "\n\t\t\n\n";
  blank_lines.rows = Replaced(plain.rows, "\n", "\n\n \t\n");
  for (const std::string& text :
       {Replaced(plain.Text(), "\n", "\r\n"), Replaced(plain.Text(), "\n", "\r"),
        "\xEF\xBB\xBF" + plain.Text(), plain.Text().substr(0, plain.Text().size() - 1), trailing_tabs.Text(),
        padded.Text(), lower.Text(), nan.Text(), blank_lines.Text()}) {
    SCOPED_TRACE(text);
    const Take take = Read(text);
    EXPECT_THAT(take.notes, IsEmpty());
    ExpectSame(take, expected);
  }
}

// --- What is read with a note

TEST(Trc, NoPathLine) {
  File file;
  file.path_line = "";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 1: the line PathFileType before the keys is missing"));
  ExpectSame(take, Read(File()));
}

TEST(Trc, SevenKeysAreFoundByTheirNames) {
  File file;
  file.keys = "CameraRate\tDataRate\tNumFrames\tNumMarkers\tUnits\tOrigDataStartFrame\tOrigNumFrames\n";
  file.values = "200\t50\t2\t2\tmm\t1\t2\n";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 2: 7 keys instead of 8"));
  EXPECT_EQ(take.rate, (FrameRate{50, 1}));
}

TEST(Trc, UnknownAndRepeatedKeys) {
  File file;
  file.keys = Replaced(file.keys, "CameraRate", "Studio");
  EXPECT_THAT(Read(file).notes, ElementsAre("line 2: the key \"Studio\" is unknown and ignored"));
  file.keys = Replaced(file.keys, "Studio", "DataRate");
  file.values = "50\t60\t2\t2\tmm\t50\t1\t2\n";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 2: the key \"DataRate\" is repeated; the first counts"));
  EXPECT_EQ(take.rate.Hz(), 50);
}

TEST(Trc, NoBlankLine) {
  File file;
  file.blank = "";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 6: the blank line before the first row is missing"));
  ExpectSame(take, Read(File()));
}

TEST(Trc, OddLabels) {
  File file;
  file.labels = "\t\tX1\tY1\tZ1\tX5\tY5\tZ5\n";
  EXPECT_THAT(Read(file).notes,
              ElementsAre("line 5: the label is \"X5\" instead of X2; likewise 2 more labels"));
  file.labels = "X1\tY1\tZ1\n";
  EXPECT_THAT(Read(file).notes, ElementsAre("line 5: 3 labels for 2 names"));
}

TEST(Trc, NoLabels) {
  File file;
  file.labels = "";
  const Take take = Read(file);
  EXPECT_THAT(
      take.notes,
      ElementsAre("line 6: the labels X1, Y1, Z1, ... and the blank line before the first row are missing"));
  ExpectSame(take, Read(File()));
}

TEST(Trc, BlanksInsteadOfTabs) {
  File file;
  file.names = Replaced(file.names, "L brow", "L_brow");
  file.rows = "1\t0.000\t1.5\t-2\t3e1\tNaN\tNaN\tNaN\n2\t0.020\t4\t5\t6\t7\t8\t9\n";
  const Take expected = Read(file);
  const Take take = Read(Replaced(file.Text(), "\t", "  "));
  EXPECT_THAT(take.notes, ElementsAre("line 2: blanks instead of tabs", "line 4: blanks instead of tabs",
                                      "line 5: blanks instead of tabs",
                                      "line 7: blanks instead of tabs; likewise 1 more line"));
  ExpectSame(take, expected);
}

TEST(Trc, RowsSplitAtBlanksMustBeComplete) {
  File file;
  file.rows = Replaced(file.rows, "\t", " ");
  EXPECT_THAT(ErrorOf(file), StartsWith("t.trc:7: 5 numbers, separated by blanks, where 2 markers need 8; "));
  file = {};
  file.names = "Frame# Time Chin L brow\n"; // two names or three?
  EXPECT_THAT(ErrorOf(file), StartsWith("t.trc:4: 3 names, separated by blanks, for columns of 2 markers; "));
}

TEST(Trc, NumMarkersThatIsWrong) {
  File file;
  file.values = "50\t50\t2\t0\tmm\t50\t1\t2\n";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 3: NumMarkers is 0; the file has 2 markers"));
  ExpectSame(take, Read(File()));
}

TEST(Trc, NumFramesThatIsWrong) {
  for (const auto& [value, shown] : {std::pair("900", "900"), {"1", "1"}, {"", "empty"}, {"2.5", "2.5"}}) {
    File file;
    file.values = fmt::format("50\t50\t{}\t2\tmm\t50\t1\t2\n", value);
    const Take take = Read(file);
    EXPECT_THAT(take.notes,
                ElementsAre(fmt::format("line 3: NumFrames is {}; the file has 2 frames", shown)));
    ExpectSame(take, Read(File()));
  }
}

TEST(Trc, RowsThatEndBeforeTheLastMarkers) {
  const Take take = Read(WithRows("1\t0\t1\t2\t3\n2\t0.02\t4\t5\t6\t\t\t\n"));
  EXPECT_THAT(take.notes,
              ElementsAre("line 7: the row is too short for \"L brow\", marker 2 of 2, and those after it"));
  EXPECT_THAT(Positions(take), ElementsAre("1 2 3", "gap", "4 5 6", "gap"));
  EXPECT_THAT(Read(WithRows("1\t0\n2\t0.02\n")).notes,
              ElementsAre("line 7: the row is too short for \"Chin\", marker 1 of 2, and those after it; "
                          "likewise 1 more line"));
}

TEST(Trc, TwoOfThreeValuesAreAGapAndNeverGuessed) {
  const Take take = Read(WithRows("1\t0\t1\t\t3\t4\t5\t6\n2\t0.02\t4\t5\t6\t\t\tnan\n"));
  EXPECT_THAT(take.notes, ElementsAre("line 7: \"Chin\" has 2 of its 3 values; taken as a gap"));
  EXPECT_THAT(Positions(take), ElementsAre("gap", "4 5 6", "4 5 6", "gap"));
}

TEST(Trc, InfiniteValuesAreAGap) {
  for (const std::string value : {"inf", "-INF", "1e999", "1.#INF00"}) {
    const Take take = Read(WithRows("1\t0\t1\t2\t" + value + "\t4\t5\t6\n2\t0.02\t4\t5\t6\t7\t8\t9\n"));
    EXPECT_THAT(take.notes, ElementsAre("line 7: \"Chin\" has a value that is infinite; taken as a gap"));
    EXPECT_THAT(Positions(take), ElementsAre("gap", "4 5 6", "4 5 6", "7 8 9"));
  }
  File metres = WithRows("1\t0\t1e307\t2\t3\t4\t5\t6\n"); // finite until it is in millimetres
  metres.values = "50\t50\t1\t2\tm\t50\t1\t1\n";
  EXPECT_THAT(Positions(Read(metres)), ElementsAre("gap", "4000 5000 6000"));
}

TEST(Trc, ZeroZeroZeroIsAGapOfAMarkerThatIsFarFromThere) {
  const Take take = Read(WithRows("1\t0\t0.000\t-0.000\t0\t4\t5\t6\n2\t0.02\t1\t0\t0\t7\t8\t9\n"));
  EXPECT_THAT(take.notes, ElementsAre("\"Chin\" is at 0 0 0 in 1 frame; taken as a gap"));
  EXPECT_THAT(Positions(take), ElementsAre("gap", "4 5 6", "1 0 0", "7 8 9"));
}

// Positions relative to the marker's rest start at 0 0 0.
TEST(Trc, ZeroZeroZeroIsAPositionOfAMarkerThatMovesThroughThere) {
  const Take take = Read(WithRows("1\t0\t0\t0\t0\t4\t5\t6\n2\t0.02\t0.6\t0.6\t0\t7\t8\t9\n"));
  EXPECT_THAT(take.notes, IsEmpty());
  EXPECT_EQ(At(take, 0, 0), "0 0 0");
}

TEST(Trc, ZeroZeroZeroInAllFramesIsKeptWithANote) {
  const Take take = Read(WithRows("1\t0\t0\t0\t0\t4\t5\t6\n2\t0.02\t0\t0\t0\t7\t8\t9\n"));
  EXPECT_THAT(take.notes, ElementsAre("\"Chin\" is at 0 0 0 in all its frames"));
  EXPECT_EQ(At(take, 1, 0), "0 0 0");
}

TEST(Trc, NamesKeepTheirInnerBlanksOnly) {
  File file;
  file.names = "Frame#\tTime\t  Chin  mid \t\t\t*Unnamed_2 \t\t\n";
  EXPECT_THAT(Read(file).markers, ElementsAre("Chin  mid", "*Unnamed_2"));
}

TEST(Trc, BlankNames) {
  File file;
  file.names = "Frame#\tTime\t \t\t\tBrow\t\t\n";
  Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 4: marker 1 has no name; called \"marker 1\""));
  EXPECT_THAT(take.markers, ElementsAre("marker 1", "Brow"));
  file.names = "Frame#\tTime\t\t\t\tmarker 1\t\t\n";
  take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 4: marker 1 has no name; called \"marker 1 (2)\""));
  EXPECT_THAT(take.markers, ElementsAre("marker 1 (2)", "marker 1"));
}

TEST(Trc, DuplicateNames) {
  File file;
  file.names = "Frame#\tTime\tA\t\t\tA\t\t\tA (2)\t\t\tA\t\t\ta\t\t\n";
  file.labels = "\t\tX1\tY1\tZ1\tX2\tY2\tZ2\tX3\tY3\tZ3\tX4\tY4\tZ4\tX5\tY5\tZ5\n";
  file.values = "50\t50\t1\t5\tmm\t50\t1\t1\n";
  file.rows = "1\t0\t1\t1\t1\t2\t2\t2\t3\t3\t3\t4\t4\t4\t5\t5\t5\n";
  const Take take = Read(file);
  EXPECT_THAT(take.notes,
              ElementsAre("line 4: the name \"A\" is repeated; the second marker is called \"A (3)\"; "
                          "likewise 1 more name"));
  EXPECT_THAT(take.markers, ElementsAre("A", "A (3)", "A (2)", "A (4)", "a"));
  EXPECT_THAT(Positions(take), ElementsAre("1 1 1", "2 2 2", "3 3 3", "4 4 4", "5 5 5"));
}

TEST(Trc, NamesBeyondTheColumns) {
  File file;
  file.names = "Frame#\tTime\tChin\t\t\tL brow\t\t\tNose\t\t\n";
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("Chin", "L brow", "Nose"));
  EXPECT_THAT(take.notes,
              ElementsAre("line 5: 6 labels for 3 names", "line 3: NumMarkers is 2; the file has 3 markers",
                          "line 7: the row is too short for \"Nose\", marker 3 of 3, and those after it; "
                          "likewise 1 more line"));
  EXPECT_EQ(At(take, 1, 2), "gap");
}

// One program counts unlabelled points in NumMarkers, and writes as many columns as a row has points.
TEST(Trc, ColumnsBeyondTheNames) {
  File file;
  file.names = "Frame#\tTime\tChin\t\t\t\n";
  file.labels = "\t\tX1\tY1\tZ1\t\n";
  file.rows = "1\t0\t1\t2\t3\t\n2\t0.02\t4\t5\t6\t7\t8\t9\t\t\t\t10\t11\t12\t\n";
  const Take take = Read(file);
  EXPECT_THAT(take.markers, ElementsAre("Chin", "marker 2", "marker 3", "marker 4"));
  EXPECT_THAT(
      take.notes,
      ElementsAre("line 4: names for 1 of 4 markers; the others are called \"marker 2\" and so on",
                  "line 3: NumMarkers is 2; the file has 4 markers",
                  "line 7: the row is too short for \"marker 2\", marker 2 of 4, and those after it"));
  EXPECT_THAT(Positions(take),
              ElementsAre("1 2 3", "gap", "gap", "gap", "4 5 6", "7 8 9", "gap", "10 11 12"));
}

TEST(Trc, NamesOneAColumn) {
  File file;
  file.names = "Frame#\tTime\tChin\tL brow\n";
  const Take take = Read(file);
  EXPECT_THAT(
      take.notes,
      ElementsAre("line 4: the names are not above every third column; they are taken in their order"));
  ExpectSame(take, Read(File()));
  file.names = "Frame#\tTime\tChin\tL brow\tNose\n";
  EXPECT_THAT(ErrorOf(file),
              StartsWith("t.trc:4: 3 names, not above every third column, for columns of 2 markers; "));
}

TEST(Trc, NamesThatAreNotUtf8) {
  File file;
  file.names = "Frame#\tTime\tStirn\xFC\t\t\tL brow\t\t\n";
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 4: the names are not UTF-8; read as Latin-1"));
  EXPECT_THAT(take.markers, ElementsAre("Stirn\xC3\xBC", "L brow"));
}

TEST(Trc, UnitsBecomeMillimetres) {
  for (const auto& [unit, position] : {std::pair("mm", "1.5 -2 30"),
                                       {"CM", "15 -20 300"},
                                       {"m", "1500 -2000 30000"},
                                       {"meters", "1500 -2000 30000"},
                                       {"mete", "1500 -2000 30000"},
                                       {"inches", "38.099999999999994 -50.8 762"}}) {
    File file;
    file.values = fmt::format("50\t50\t2\t2\t{}\t50\t1\t2\n", unit);
    const Take take = Read(file);
    EXPECT_THAT(take.notes, IsEmpty());
    EXPECT_EQ(take.unit, unit);
    EXPECT_EQ(At(take, 0, 0), position);
  }
}

TEST(Trc, UnitsThatAreAbsentOrUnknownAreTakenAsMillimetres) {
  for (const auto& [unit, note] : {std::pair("", "line 3: there are no Units; taken as mm"),
                                   {"px", "line 3: the unit \"px\" is unknown or ambiguous; taken as mm"},
                                   {"mi", "line 3: the unit \"mi\" is unknown or ambiguous; taken as mm"}}) {
    File file;
    file.values = fmt::format("50\t50\t2\t2\t{}\t50\t1\t2\n", unit);
    const Take take = Read(file);
    EXPECT_THAT(take.notes, ElementsAre(note));
    EXPECT_EQ(take.unit, "mm");
    ExpectSame(take, Read(File()));
  }
}

TEST(Trc, DecimalCommas) {
  File file;
  file.values = "50,00\t50,00\t2\t2\tmm\t50,00\t1\t2\n";
  file.rows = Replaced(file.rows, ".", ",");
  const Take take = Read(file);
  EXPECT_THAT(take.notes, ElementsAre("line 3: decimal commas, as in \"50,00\"",
                                      "line 7: decimal commas, as in \"0,000\"; likewise 2 more numbers"));
  ExpectSame(take, Read(File()));
}

TEST(Trc, CommasThatMaySeparateThousandsAreRefused) {
  EXPECT_THAT(ErrorOf(WithRows("1\t0\t1,234\t2\t3\t4\t5\t6\n2\t0\t1\t2\t3\t4\t5\t6\n")),
              StartsWith("t.trc:7: the commas can be decimal commas or separate thousands; "));
  EXPECT_THAT(ErrorOf(WithRows("1\t0\t123,456\t2\t3\t4\t5\t6\n2\t0\t1\t2\t3\t4\t5\t6\n")),
              StartsWith("t.trc:7: the commas can be decimal commas or separate thousands; "));
  EXPECT_EQ(At(Read(WithRows("1\t0\t1234,567\t2\t3\t4\t5\t6\n2\t0\t1\t2\t3\t4\t5\t6\n")), 0, 0),
            "1234.567 2 3")
      << "thousands are three digits at most";
  EXPECT_THAT(ErrorOf(WithRows("1\t0.00\t1\t2\t3\t4\t5\t6\n2\t0.02\t1,25\t2\t3\t4\t5\t6\n")),
              StartsWith("t.trc:8: one number has a comma, others have points; "));
  EXPECT_THAT(ErrorOf(WithRows("1\t0\t1,234.5\t2\t3\t4\t5\t6\n")),
              StartsWith("t.trc:7: column 3 (x of \"Chin\"): \"1,234.5\" is not a number; "));
}

TEST(Trc, ReadsAndWritesPointsWhereTheLocaleHasCommas) {
  const DecimalComma german;
  const Take take = Read(File());
  EXPECT_THAT(take.notes, IsEmpty());
  EXPECT_EQ(At(take, 0, 0), "1.5 -2 30");
  EXPECT_THAT(Written(take), HasSubstr("\n50.00\t50.00\t2\t2\tmm\t50.00\t1\t2\n"));
  ExpectSame(Read(Written(take)), take);
}

TEST(Trc, TextAmongTheNumbersIsRefusedWithItsPlace) {
  EXPECT_EQ(
      ErrorOf(WithRows("1\t0\t1\t2\t3\t4\t5\tlost\n")),
      "t.trc:7: column 8 (z of \"L brow\"): \"lost\" is not a number; write a plain number, such as 12.5, or "
      "leave the three cells of an unseen marker empty");
  EXPECT_THAT(ErrorOf(WithRows("1\t0\t1\t2\t3\n\nend of file\n")),
              StartsWith("t.trc:9: column 1 (Frame#): \"end\" is not a number; "));
  EXPECT_THAT(ErrorOf(WithRows("1\t0\t1 2\t3\t4\n")),
              StartsWith("t.trc:7: column 3 (x of \"Chin\"): \"1 2\" is not a number; "));
  for (const std::string bad : {"1e", "-", "+", "+-1", "0x10", "1.5mm", ",5,", "1,", "\"1\""})
    EXPECT_THAT(ErrorOf(WithRows("1\t0\t" + bad + "\t3\t4\n")), HasSubstr("is not a number")) << bad;
}

// --- Frames and times

TEST(Trc, FramesThatAreMissingAreReported) {
  File file =
      WithRows("10\t0.18\t1\t2\t3\t4\t5\t6\n11\t0.20\t1\t2\t3\t4\t5\t6\n15\t0.28\t1\t2\t3\t4\t5\t6\n");
  file.values = "50\t50\t3\t2\tmm\t50\t10\t3\n";
  const Take take = Read(file);
  EXPECT_THAT(take.frames, ElementsAre(10, 11, 15));
  EXPECT_THAT(take.times, ElementsAre(0.18, 0.18 + 0.02, 0.18 + 0.1));
  EXPECT_THAT(take.notes, ElementsAre("frames missing: 3 after frame 11"));
}

TEST(Trc, FrameNumbersThatDoNotTellTheFramesApartAreReplaced) {
  for (const auto& [numbers, note] :
       {std::pair(std::pair("7", "7"), "line 8: frame 7 comes after frame 7; the frames are numbered from 7"),
        {{"7", "3"}, "line 8: frame 3 comes after frame 7; the frames are numbered from 7"},
        {{"7", ""}, "line 8: no frame number; the frames are numbered from 7"},
        {{"", "7"}, "line 7: no frame number; the frames are numbered from 1"},
        {{"7", "7.5"}, "line 8: the frame number 7.5 is none; the frames are numbered from 7"},
        {{"7", "1e300"}, "line 8: the frame number 1e+300 is none; the frames are numbered from 7"}}) {
    const auto& [first, second] = numbers;
    const Take take =
        Read(WithRows(fmt::format("{}\t0\t1\t2\t3\t4\t5\t6\n{}\t0.02\t1\t2\t3\t4\t5\t6\n", first, second)));
    EXPECT_THAT(take.notes, ElementsAre(note));
    EXPECT_EQ(take.frames[1], take.frames[0] + 1);
    EXPECT_THAT(take.times, ElementsAre(0, 0.02));
  }
}

// Up to there the times of neighbours differ.
TEST(Trc, FrameNumbersGoUpToTenToTheTwelfth) {
  const std::string cells = "\t\t1\t2\t3\t4\t5\t6\n";
  Take take = Read(WithRows("999999999999" + cells + "1000000000000" + cells));
  EXPECT_THAT(take.frames, ElementsAre(999999999999, 1000000000000));
  take = Read(WithRows("1000000000000" + cells + "1000000000001" + cells));
  EXPECT_THAT(take.frames, ElementsAre(1000000000000, 1000000000001)) << "counted on";
  EXPECT_THAT(take.notes, testing::Contains(Says(HasSubstr("the frame number 1000000000001 is none"))));
}

TEST(Trc, FrameNumbersWrittenAsDecimalsAreWhole) {
  const Take take = Read(WithRows("1.0\t0\t1\t2\t3\t4\t5\t6\n+2.00\t0.02\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.frames, ElementsAre(1, 2));
  EXPECT_THAT(take.notes, IsEmpty());
}

// Three decimals of 1/29.97 s would let frames drift from the sound.
TEST(Trc, TimesAreCountedFromTheRateAndNotFromRoundedDecimals) {
  File file;
  file.values = "29.97\t29.97\t2\t2\tmm\t29.97\t1\t2\n";
  file.rows = "1\t2.5\t1\t2\t3\t4\t5\t6\n2\t2.533\t1\t2\t3\t4\t5\t6\n";
  const Take take = Read(file);
  EXPECT_EQ(take.rate, (FrameRate{30000, 1001}));
  EXPECT_THAT(take.times, ElementsAre(2.5, 2.5 + 1001.0 / 30000));
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(Trc, TimesHalfAFrameAstrayAreThoseOfTheColumn) {
  Take take = Read(WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.031\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.times, ElementsAre(0, 0.031));
  EXPECT_THAT(take.notes,
              ElementsAre("frame 2 has the time 0.031 s where 50 Hz give 0.02 s; the times are those of "
                          "the column Time"));
  take = Read(WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.029\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.times, ElementsAre(0, 0.02));
  EXPECT_THAT(take.notes, IsEmpty());
}

// At 64 Hz these times are exact.
TEST(Trc, ATimeThatIsAstrayByJustHalfAFrameIsCountedFromTheRate) {
  File file = WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.0234375\t1\t2\t3\t4\t5\t6\n");
  file.values = "64\t64\t2\t2\tmm\t64\t1\t2\n";
  EXPECT_THAT(Read(file).times, ElementsAre(0, 1 / 64.0));
  EXPECT_THAT(Read(file).notes, IsEmpty());
}

TEST(Trc, TimesThatDoNotRiseAreNotUsed) {
  File file = WithRows("1\t5\t1\t2\t3\t4\t5\t6\n2\t5\t1\t2\t3\t4\t5\t6\n");
  EXPECT_THAT(Read(file).times, ElementsAre(5, 5.02));
  EXPECT_THAT(
      Read(file).notes,
      ElementsAre("frame 2 has the time 5 s where 50 Hz give 5.02 s; the column Time, which does not rise in "
                  "every row, is not used"));
}

TEST(Trc, TimesThatAreMissingFollowFromTheFrameNumber) {
  Take take = Read(WithRows("1\t1\t1\t2\t3\t4\t5\t6\n2\t\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.times, ElementsAre(1, 1.02));
  EXPECT_THAT(take.notes, ElementsAre("line 8: no time; it follows from the frame number"));
  take = Read(WithRows("11\t\t1\t2\t3\t4\t5\t6\n12\tnan\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.times, ElementsAre(0.2, 0.2 + 0.02)); // OrigDataStartFrame, 1, is at 0
}

TEST(Trc, TimesTooLateToTellFramesApartStartFromZero) {
  const Take take = Read(WithRows("1\t1e20\t1\t2\t3\t4\t5\t6\n2\t1e20\t1\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.times, ElementsAre(0, 0.02));
  EXPECT_THAT(take.notes, ElementsAre("the column Time starts at 1e+20 s; the times are from 0 instead"));
}

TEST(Trc, WithoutADataRateTheColumnTimeGivesIt) {
  for (const auto& [rate, what] : {std::pair("0.00", "the DataRate \"0.00\" is none"),
                                   {"", "the DataRate \"\" is none"},
                                   {"fast", "the DataRate \"fast\" is none"},
                                   {"1,000", "the DataRate \"1,000\" is none"}}) {
    File file = WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.033\t1\t2\t3\t4\t5\t6\n3\t0.067\t1\t2\t3\t4\t5\t6\n");
    file.values = fmt::format("{}\t50\t3\t2\tmm\t50\t1\t3\n", rate);
    const Take take = Read(file);
    EXPECT_EQ(take.rate, (FrameRate{30, 1}));
    EXPECT_THAT(take.notes, ElementsAre(fmt::format("line 3: {}; 30 Hz by the column Time", what)));
  }
  File no_key;
  no_key.keys = Replaced(no_key.keys, "DataRate\tCamera", "Camera");
  no_key.values = "50\t2\t2\tmm\t50\t1\t2\n";
  EXPECT_THAT(Read(no_key).notes,
              ElementsAre("line 2: 7 keys instead of 8", "line 3: no DataRate; 50 Hz by the column Time"));
}

TEST(Trc, WithoutAnyRateATakeIsRefused) {
  File file = WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0\t1\t2\t3\t4\t5\t6\n");
  file.values = "0\t50\t2\t2\tmm\t50\t1\t2\n";
  EXPECT_EQ(ErrorOf(file),
            "t.trc:3: the DataRate \"0\" is none, and the column Time does not rise in every row; write "
            "the frame rate under DataRate");
  file.rows = "1\t0\t1\t2\t3\t4\t5\t6\n2\t1e-300\t1\t2\t3\t4\t5\t6\n";
  EXPECT_THAT(ErrorOf(file), HasSubstr("and the column Time gives no rate"));
}

TEST(Trc, CarriageReturnsBeforeALineEndAreDroppedAndNoted) {
  const File file;
  const Take take = Read(Replaced(file.Text(), "\n", "\r\r\n"));
  ExpectSame(take, Read(file));
  EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Syntax, "line 1", "the line ends are CR CR LF")));
}

TEST(Trc, WithoutRateAndTimesTheRateIsAssumedOrNamed) {
  File file = WithRows("1\t\t1\t2\t3\t4\t5\t6\n2\t\t1\t2\t3\t4\t5\t6\n4\t\t1\t2\t3\t4\t5\t6\n");
  file.values = "0\t50\t3\t2\tmm\t50\t1\t3\n";
  const auto read = [&] { return mien::ReadTrc(file.Text(), "t.trc", FrameRate{25, 1}); };
  const Take named = read();
  EXPECT_EQ(named.rate, (FrameRate{25, 1}));
  EXPECT_THAT(named.times, ElementsAre(0, 0.04, 0.12));
  EXPECT_THAT(Read(file).times, ElementsAre(0, 1 / 30.0, 3 / 30.0));
  EXPECT_THAT(Read(file).notes, testing::Contains(IsNote(Code::Assumed, "",
                                                         "the DataRate \"0\" is none and no times; "
                                                         "taken as 30 Hz (--input-rate)")));
  file.values = "50\t50\t3\t2\tmm\t50\t1\t3\n";
  EXPECT_EQ(ProblemOf(read), "usage at no place") << "it has a DataRate";
  file = WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.02\t1\t2\t3\t4\t5\t6\n");
  file.values = "0\t50\t2\t2\tmm\t50\t1\t2\n";
  EXPECT_EQ(ProblemOf(read), "usage at no place") << "it has times";
}

TEST(Trc, RowsOutOfOrderAreSortedByTimeIfTheirNumbersAgree) {
  const Take take =
      Read(WithRows("12\t0.04\t3\t2\t3\t4\t5\t6\n10\t0\t1\t2\t3\t4\t5\t6\n11\t0.02\t2\t2\t3\t4\t5\t6\n"));
  EXPECT_THAT(take.frames, ElementsAre(10, 11, 12));
  EXPECT_THAT(take.times, ElementsAre(0, 0.02, 0.04));
  EXPECT_THAT(Positions(take), ElementsAre("1 2 3", "4 5 6", "2 2 3", "4 5 6", "3 2 3", "4 5 6"));
  EXPECT_THAT(take.notes,
              testing::Contains(IsNote(Code::Order, "line 8",
                                       "frame 10 comes after frame 12; the rows are sorted by time")));
  for (const char* rows :
       {"12\t0.04\t3\t2\t3\t4\t5\t6\n10\t0\t1\t2\t3\t4\t5\t6\n\t0.02\t2\t2\t3\t4\t5\t6\n",
        "12\t0.04\t3\t2\t3\t4\t5\t6\n10\t\t1\t2\t3\t4\t5\t6\n11\t0.02\t2\t2\t3\t4\t5\t6\n",
        "12\t0.02\t3\t2\t3\t4\t5\t6\n10\t0\t1\t2\t3\t4\t5\t6\n11\t0.04\t2\t2\t3\t4\t5\t6\n"})
    EXPECT_THAT(Read(WithRows(rows)).frames, ElementsAre(12, 13, 14)) << rows;
}

// --- Files that are cut, empty or hostile

TEST(Trc, HeadersThatAreCutOrMissingSayWhereAndWhat) {
  const File file;
  EXPECT_EQ(InputErrorOf([&] { Read(file.path_line); }),
            "t.trc:1: the header ends before the marker names; export the take again");
  EXPECT_THAT(InputErrorOf([&] { Read(file.path_line + "DataRate\tCameraRate\tNumF\n"); }),
              StartsWith("t.trc:2: the header ends before the marker names; "));
  EXPECT_THAT(InputErrorOf([&] { Read(file.path_line + file.values + file.names + file.rows); }),
              StartsWith("t.trc:2: the keys are missing (DataRate, CameraRate, NumFrames, ...); "));
  EXPECT_THAT(InputErrorOf([&] { Read(file.path_line + file.keys + file.names + file.rows); }),
              StartsWith("t.trc:3: the line of values below the keys is missing; "));
  EXPECT_THAT(InputErrorOf([&] { Read(file.path_line + file.keys + file.values + file.rows); }),
              StartsWith("t.trc:4: the line of marker names, which starts with Frame#, is missing; "));
  EXPECT_THAT(InputErrorOf([&] { Read(file.path_line + file.keys + file.values + "Frame#\tChin\n"); }),
              StartsWith("t.trc:4: the second column is \"Chin\" instead of Time; "));
  EXPECT_THAT(ErrorOf(WithRows("")), StartsWith("t.trc:6: there are no frames, only a header; "));
  File unnamed = WithRows("1\t0\n2\t0.02\n");
  unnamed.names = "Frame#\tTime\n";
  EXPECT_THAT(ErrorOf(unnamed), StartsWith("t.trc:4: there are no markers; "));
}

TEST(Trc, AFileThatEndsInsideARowLosesWhatItEndsWith) {
  const std::string first = "1\t0.000\t1\t2\t3\t4\t5\t6\n";
  const auto last = [&](const std::string& row) {
    const Take take = Read(WithRows(first + row));
    return std::pair(take.FrameCount() == 2 ? At(take, 1, 0) + ", " + At(take, 1, 1) : "none",
                     Message(take.notes.back()));
  };
  const std::string left_out = "line 8: the file ends within this row, which is left out";
  EXPECT_EQ(last("2"), std::pair(std::string("none"), left_out));
  EXPECT_EQ(last("2\t0.0"), std::pair(std::string("none"), left_out));
  EXPECT_EQ(last("2 0.02 1 2 3 4"), std::pair(std::string("none"), left_out));
  // 8.25 may be cut: six numbers are missing.
  EXPECT_EQ(
      last("2\t0.02\t7\t8\t8.25"),
      std::pair(std::string("gap, gap"),
                std::string("line 8: the file ends within this row, at \"Chin\", which is taken as a gap")));
  EXPECT_EQ(last("2\t0.02\t7\t8\t8.25\t").first, "7 8 8.25, gap");
  EXPECT_EQ(last("2\t0.02\t7\t8\t9\t1\t2").first, "7 8 9, gap");

  File file = WithRows(first + "2\t0.02\t7\t8\t9\t1\t2\t3");
  EXPECT_THAT(Read(file).notes, IsEmpty());     // complete, but for the line end
  file.values = "50\t50\t3\t2\tmm\t50\t1\t3\n"; // a frame is missing: so may be digits
  EXPECT_EQ(At(Read(file), 1, 1), "gap");
}

TEST(Trc, EveryTruncationIsATakeOrAnError) {
  const std::string text = File().Text();
  std::size_t takes = 0;
  for (std::size_t size = 0; size < text.size(); ++size) {
    try {
      const Take take = Read(text.substr(0, size));
      ++takes;
      // All values are the whole file's: none is a cut number.
      EXPECT_LE(take.FrameCount(), 2u);
      for (std::size_t frame = 0; frame < take.FrameCount(); ++frame)
        for (std::size_t m = 0; m < 2; ++m)
          if (take.At(frame, m) && size + 1 < text.size()) {
            EXPECT_EQ(At(take, frame, m), At(Read(text), frame, m)) << size;
          }
    } catch (const InputError& error) { EXPECT_THAT(error.what(), StartsWith("t.trc:")); }
  }
  EXPECT_GE(takes, 20u); // from within the first row on
}

TEST(Trc, EveryChangedByteIsATakeOrAnError) {
  const std::string text = File().Text();
  std::size_t takes = 0, errors = 0;
  for (std::size_t i = 0; i < text.size(); ++i)
    for (const int flip : {0x01, 0x10, 0x20, 0x80, 0xFF}) {
      std::string changed = text;
      changed[i] = static_cast<char>(static_cast<unsigned char>(changed[i]) ^ flip);
      try {
        const Take take = Read(changed);
        ++takes;
        ExpectSame(Read(Written(take)), take);
      } catch (const InputError& error) {
        ++errors;
        EXPECT_THAT(error.what(), StartsWith("t.trc:"));
      }
    }
  EXPECT_GT(takes, 100u);
  EXPECT_GT(errors, 100u);
}

TEST(Trc, BytesThatAreNotTextAreATakeOrAnError) {
  tests::Random random(7);
  constexpr std::string_view kPieces[] = {"\t",     " ",    "\n",       "\r\n",      "1",   "0",
                                          ".5",     ",5",   "nan",      "-",         "inf", "A",
                                          "Frame#", "Time", "DataRate", "Units\tmm", "\x01"};
  int takes = 0, errors = 0;
  for (int i = 0; i < 2000; ++i) {
    const File file;
    // Behind the keys, behind the names, and behind a whole file, where few bytes leave many takes.
    std::string text = i % 3 == 0   ? file.path_line + file.keys + file.values
                       : i % 3 == 1 ? file.path_line + file.keys + file.values + file.names
                                    : file.Text();
    for (int piece = 0; piece < (i % 3 == 2 ? 1 + i % 2 : 40); ++piece)
      text += kPieces[static_cast<std::size_t>(random.Between(0, std::size(kPieces)))];
    try {
      const Take take = Read(text);
      ExpectSame(Read(Written(take)), take);
      ++takes;
    } catch (const InputError& error) {
      EXPECT_THAT(error.what(), StartsWith("t.trc:"));
      ++errors;
    }
  }
  EXPECT_GT(takes, 50);
  EXPECT_GT(errors, 500);
}

TEST(Trc, ARowOfManyNamesAndRowsOfNothingAreRefusedBeforeTheyFillTheMemory) {
  File file;
  file.names = "Frame#\tTime";
  for (int m = 0; m < 10000; ++m) file.names += "\tm\t\t";
  file.names += '\n';
  file.rows.clear();
  for (int row = 0; row < 100000; ++row)
    file.rows += fmt::format("{}\t{}\n", row, row / 50.0); // 25 GB as a take
  EXPECT_THAT(ErrorOf(file), HasSubstr("the rows are much shorter than their 10000 markers need; "));
  file.names = "Frame#\tTime\tA\n";
  file.rows += "100000\t2000" + std::string(30000, '\t') + "1\n";
  EXPECT_THAT(ErrorOf(file), HasSubstr("the rows are much shorter than their 10000 markers need; "));
}

TEST(Trc, MoreThan65535MarkersAreRefused) {
  constexpr std::size_t kMost = 65535;
  const auto tripled = [](std::size_t markers, const std::string& cell) {
    std::string cells;
    for (std::size_t m = 0; m < markers; ++m) cells += cell;
    return cells;
  };
  File file;
  file.labels.clear();
  file.names = "Frame#\tTime" + tripled(kMost, "\tm\t\t") + "\n";
  file.rows = "1\t0" + tripled(kMost, "\t1\t2\t3") + "\n";
  EXPECT_EQ(Read(file).MarkerCount(), kMost);
  file.names = "Frame#\tTime" + tripled(kMost + 1, "\tm\t\t") + "\n";
  EXPECT_EQ(ErrorOf(file), "t.trc:4: 65536 marker names; export fewer markers: 65535 at most");
  file.names = "Frame#\tTime\tA\n";
  file.rows = "1\t0" + tripled(kMost, "\t1\t2\t3") + "\t1\n";
  EXPECT_EQ(ErrorOf(file),
            "t.trc: the widest row has columns of 65536 markers; export fewer markers: 65535 at most");
}

// Its cells are counted, but none of them becomes a marker.
TEST(Trc, AHeaderOfTabsAloneCostsLittle) {
  File file;
  file.names = "Frame#\tTime\tA" + std::string(9'000'000, '\t') + "\n";
  EXPECT_LT(CpuSecondsOf([&] { EXPECT_EQ(Read(file).MarkerCount(), 2u); }), 10);
}

// The limit is 32 times the file's size and a megabyte. A frame takes its markers' positions and origins, its
// number and its time.
TEST(Trc, MemoryIsLimitedByTheFilesSize) {
  constexpr std::size_t kMarkers = 10000, kFrame = kMarkers * (3 * 8 + 1) + 2 * 8;
  File file;
  file.names = "Frame#\tTime";
  for (std::size_t m = 0; m < kMarkers; ++m) file.names += "\tm\t\t";
  file.names += '\n';
  file.labels.clear();
  file.rows.clear();
  std::size_t frames = 0;
  const auto room = [&] { return 32 * file.Text().size() + (std::size_t{1} << 20); };
  const auto add_row = [&] {
    file.rows += fmt::format("{}\t{}\n", frames, static_cast<double>(frames) / 50);
    ++frames;
  };
  for (add_row(); (frames + 1) * kFrame <= room();) add_row();
  EXPECT_EQ(Read(file).FrameCount(), frames);
  add_row();
  ASSERT_GT(frames * kFrame, room());
  EXPECT_THAT(ErrorOf(file), HasSubstr("the rows are much shorter than their 10000 markers need; "));
}

TEST(Trc, HugeCountsInTheHeaderCostNothing) {
  File file;
  file.values = "50\t50\t999999999999\t999999999999\tmm\t50\t1\t999999999999\n";
  EXPECT_EQ(Read(file).FrameCount(), 2u);
}

// --- Codes and places

TEST(Trc, NotesHaveCodesAndPlaces) {
  File file;
  file.path_line = "";
  file.keys = "DataRate\tStudio\tDataRate\n";
  file.values = "50\t1\t60\n";
  EXPECT_THAT(Read(file).notes, ElementsAre(IsNote(Code::Missing, "line 1", "the line PathFileType"),
                                            IsNote(Code::Syntax, "line 1", "3 keys instead of 8"),
                                            IsNote(Code::Ignored, "line 1",
                                                   "the key \"Studio\" is unknown and ignored; "
                                                   "likewise 1 more key"),
                                            IsNote(Code::Assumed, "line 2", "there are no Units")));

  file = {};
  file.values = "50.00\t50.00\t9\t2\tell\t50.00\t1\t2\n";
  file.names = "Frame#\tTime\tChin\t\t\tChin\t\t\n";
  file.labels = "";
  EXPECT_THAT(Read(file).notes,
              ElementsAre(IsNote(Code::Assumed, "line 3", "the unit"),
                          IsNote(Code::Missing, "line 6", "the labels X1"),
                          IsNote(Code::Duplicate, "line 4", "the name \"Chin\" is repeated"),
                          IsNote(Code::Contradiction, "line 3", "NumFrames is 9; the file has 2 frames")));

  EXPECT_THAT(
      Read(WithRows("1\t\t1\t\t3\tinf\t5\t6\n1\t0.02\t1\t2\t3\n9\t0.04\t1\t2\t3\t4\t5\t6\n")).notes,
      ElementsAre(IsNote(Code::Contradiction, "line 3", "NumFrames"),
                  IsNote(Code::Missing, "line 8", "the row is too short"),
                  IsNote(Code::Missing, "line 7", "\"Chin\" has 2 of its 3 values"),
                  IsNote(Code::InvalidValue, "line 7", "\"L brow\" has a value that is infinite"),
                  IsNote(Code::Order, "line 8", "frame 1 comes after frame 1; the frames are numbered"),
                  IsNote(Code::Missing, "line 7", "no time")));
  EXPECT_THAT(Read(WithRows("1\t0\t1\t2\t3\t4\t5\t6\n2\t0.02\t1\t2\t3\t4\t5")).notes,
              testing::Contains(IsNote(Code::Truncated, "line 8", "the file ends within this row")));
  EXPECT_THAT(Read(WithRows("1\t0\t9\t2\t3\t4\t5\t6\n3\t0.9\t0\t0\t0\t4\t5\t6\n")).notes,
              ElementsAre(IsNote(Code::Doubtful, "", "\"Chin\" is at 0 0 0 in 1 frame"),
                          IsNote(Code::Missing, "", "frames missing: 1 after frame 1"),
                          IsNote(Code::Contradiction, "", "frame 3 has the time 0.9 s")));
}

TEST(Trc, FaultsHaveCodesAndTheirLine) {
  const auto problem = [](const File& file) { return ProblemOf([&] { Read(file); }); };
  EXPECT_EQ(problem(WithRows("1\t0\tx\t2\t3\t4\t5\t6\n")), "invalid-value at 7");
  EXPECT_EQ(problem(WithRows("1 0 1 2 3 4 5\n")), "missing at 7");
  EXPECT_EQ(problem(WithRows("")), "empty at 6");
  File file;
  file.keys = "A\tB\n";
  EXPECT_EQ(problem(file), "missing at 2");
  file = {};
  file.names = "Frame#\tZeit\tChin\n";
  EXPECT_EQ(problem(file), "syntax at 4");
  file = {};
  file.labels = file.blank = file.rows = file.names = "";
  EXPECT_EQ(problem(file), "truncated at 3");
}

// --- Writing

TEST(Trc, WritesTheFormatExactly) {
  Take take({"Chin", "L brow"});
  take.name = "smile";
  take.rate = {60, 1};
  take.AddFrame(10, 0.15);
  take.AddFrame(11, 0.15 + 1.0 / 60);
  take.Set(0, 0, {1.5, -2, 0.1});
  take.Set(1, 1, {1e-7, 2, 3});
  EXPECT_EQ(
      Written(take),
      "PathFileType\t4\t(X/Y/Z)\tsmile.trc\n"
      "DataRate\tCameraRate\tNumFrames\tNumMarkers\tUnits\tOrigDataRate\tOrigDataStartFrame\tOrigNumFrames\n"
      "60.00\t60.00\t2\t2\tmm\t60.00\t10\t2\n"
      "Frame#\tTime\tChin\t\t\tL brow\t\t\n"
      "\t\tX1\tY1\tZ1\tX2\tY2\tZ2\n"
      "\n"
      "10\t0.15\t1.5\t-2\t0.1\t\t\t\n"
      "11\t0.16666666666666666\t\t\t\t1e-07\t2\t3\n");
  EXPECT_THAT(Read(Written(take)).notes, IsEmpty());
}

TEST(Trc, WritesARateThatReadsBackToTheSameFraction) {
  for (const auto& [rate, text] : {std::pair(FrameRate{30000, 1001}, "29.97"),
                                   {{24000, 1001}, "23.98"},
                                   {{60000, 1001}, "59.94"},
                                   {{120000, 1001}, "119.88"},
                                   {{240000, 1001}, "239.76"},
                                   {{120, 1}, "120.00"},
                                   {{25, 2}, "12.50"},
                                   {{1499, 50}, "29.98"},
                                   {{100, 3}, "33.33333333"}}) {
    const std::string written = Written(OneMarker({1, 2, 3}, rate));
    EXPECT_EQ(Read(written).rate, rate);
    EXPECT_THAT(written, HasSubstr(fmt::format("\n{}\t", text)));
  }
}

TEST(Trc, ATakeWithoutARateSaysSo) {
  Take take({"A"});
  take.AddFrame(1, 0);
  take.AddFrame(2, 0.1);
  take.Set(0, 0, {1, 2, 3});
  EXPECT_THAT(Read(Written(take)).notes,
              ElementsAre("line 3: the DataRate \"0\" is none; 10 Hz by the column Time"));
}

TEST(Trc, NamesThatWouldNotReadBackAreNotWritten) {
  for (const std::string bad : {"", "a\tb", "a\nb", "a\rb", " a", "a ", "\xFC"}) {
    Take take({bad});
    take.name = "smile";
    take.rate = {50, 1};
    take.AddFrame(1, 0);
    std::ostringstream out;
    EXPECT_THAT(InputErrorOf([&] { WriteTrc(take, out); }),
                testing::AllOf(StartsWith("smile: a TRC header cannot hold the marker name \""),
                               HasSubstr("\"; rename it: ")));
    EXPECT_EQ(out.str(), "");
  }
  Take twice({"A", "A"});
  twice.AddFrame(1, 0);
  EXPECT_THAT(InputErrorOf([&] { Written(twice); }), HasSubstr("two markers have the name \"A\""));
}

TEST(Trc, ATakeOfNothingIsNotWritten) {
  EXPECT_THAT(InputErrorOf([] { Written(Take({"A"})); }), HasSubstr("the take has no frames or no markers"));
  Take no_markers;
  no_markers.AddFrame(1, 0);
  EXPECT_THAT(InputErrorOf([&] { Written(no_markers); }), HasSubstr("the take has no frames or no markers"));
}

TEST(Trc, ATakesNameCannotBreakTheFirstLine) {
  Take take = OneMarker({1}, {50, 1});
  take.name = "two\nlines";
  ExpectSame(Read(Written(take)), take);
}

TEST(Trc, WhatIsWrittenReadsBackToTheBit) {
  tests::Random random(2026);
  const auto number = [&] { // of any size up to a kilometre, -0.0 and the smallest included
    const double kind = random.Between(0, 10);
    if (kind < 1) return -0.0;
    if (kind < 2) return std::numeric_limits<double>::denorm_min();
    if (kind < 3) return random.Between(-1, 1) * std::pow(10, random.Between(-300, 6));
    return random.Between(-2000, 2000);
  };
  constexpr FrameRate kRates[] = {{24000, 1001},  {25, 1},    {30000, 1001}, {60, 1},
                                  {120000, 1001}, {1499, 50}, {100, 3},      {1000, 7}};
  for (int i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    std::vector<std::string> names;
    for (int m = static_cast<int>(random.Between(1, 9)); m > 0; --m)
      names.push_back(fmt::format("m {}{}", m, i % 3 ? "" : "\xC3\xBC"));
    Take take(names);
    take.rate = kRates[static_cast<std::size_t>(random.Between(0, std::size(kRates)))];
    std::int64_t frame_number = static_cast<std::int64_t>(random.Between(-100, 100000));
    const std::int64_t first = frame_number;
    const double start = random.Between(0, 100);
    for (int f = static_cast<int>(random.Between(1, 30)); f > 0; --f) {
      const std::size_t frame = take.AddFrame(frame_number, start + take.rate.Seconds(frame_number - first));
      for (std::size_t m = 0; m < names.size(); ++m)
        if (random.Between(0, 1) < 0.7) take.Set(frame, m, {number(), number(), random.Between(1, 2)});
      frame_number += random.Between(0, 1) < 0.9 ? 1 : static_cast<std::int64_t>(random.Between(2, 50));
    }
    const std::string text = Written(take);
    const Take again = Read(text);
    ExpectSame(again, take);
    EXPECT_EQ(again.times, take.times);
    EXPECT_EQ(Written(again), text);
    // Each row has all its cells, also where it ends in gaps.
    std::istringstream lines(text.substr(text.find("\n\n") + 2));
    for (std::string line; std::getline(lines, line);)
      EXPECT_EQ(std::count(line.begin(), line.end(), '\t'),
                static_cast<std::ptrdiff_t>(1 + 3 * names.size()));
  }
}
