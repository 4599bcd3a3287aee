#include "host/formats/landmark_csv.h"

#include "host/formats/read_take.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using mien::Code;
using mien::FrameRate;
using mien::Point;
using mien::ReadTake;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// A table as a tracker writes it, of named columns, to be bent for each test.
struct Table {
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> rows;

  std::size_t Index(const std::string& column) const {
    return static_cast<std::size_t>(std::find(columns.begin(), columns.end(), column) - columns.begin());
  }
  std::string& At(std::size_t row, const std::string& column) { return rows.at(row).at(Index(column)); }
  void Drop(const std::string& column) {
    const auto i = static_cast<std::ptrdiff_t>(Index(column));
    columns.erase(columns.begin() + i);
    for (auto& row : rows) row.erase(row.begin() + i);
  }
  std::string Text(const std::string& separator = ", ", const std::string& line_end = "\n") const {
    const auto joined = [&](const std::vector<std::string>& fields) {
      std::string line;
      for (const std::string& field : fields) line += (line.empty() ? "" : separator) + field;
      return line + line_end;
    };
    std::string text = joined(columns);
    for (const auto& row : rows) text += joined(row);
    return text;
  }
};

// What the table holds for a row, axis (0 to 2) and landmark: tenths, unlike for each.
double Value(std::size_t row, std::size_t axis, std::size_t landmark) {
  return (100.0 * static_cast<double>(row + 1) + 300.0 * static_cast<double>(axis) +
          static_cast<double>(landmark)) /
         10;
}

Table Tracked(std::size_t row_count) {
  Table table;
  table.columns = {"frame", "face_id", "timestamp", "confidence", "success", "gaze_0_x", "x_0", "y_0"};
  for (const char axis : {'X', 'Y', 'Z'})
    for (int i = 0; i < 68; ++i) table.columns.push_back(fmt::format("{}_{}", axis, i));
  table.columns.push_back("AU01_r");
  for (std::size_t row = 0; row < row_count; ++row) {
    std::vector<std::string> fields = {std::to_string(row + 1),
                                       "0",
                                       fmt::format("{:.3f}", static_cast<double>(row) / 25),
                                       "0.98",
                                       "1",
                                       "-0.1",
                                       "320.5",
                                       "200.1"};
    for (std::size_t axis = 0; axis < 3; ++axis)
      for (std::size_t i = 0; i < 68; ++i) fields.push_back(fmt::format("{:.1f}", Value(row, axis, i)));
    fields.push_back("0.00");
    table.rows.push_back(fields);
  }
  return table;
}

// The same landmarks, but for their depth, as a tracker writes pixels.
Table Pixels(std::size_t row_count) {
  Table table = Tracked(row_count);
  for (const char* column : {"x_0", "y_0", "AU01_r"}) table.Drop(column);
  for (int i = 0; i < 68; ++i) table.Drop(fmt::format("Z_{}", i));
  for (std::string& column : table.columns)
    if (column.starts_with("X_") || column.starts_with("Y_"))
      column[0] = static_cast<char>(column[0] - 'X' + 'x');
  return table;
}

void ExpectTracked(const Take& take, std::size_t frame, std::size_t row) {
  for (std::size_t i = 0; i < 68; ++i) {
    const Point* p = take.At(frame, i);
    ASSERT_NE(p, nullptr) << "frame " << frame << " landmark " << i;
    EXPECT_EQ(p->x, Value(row, 0, i));
    EXPECT_EQ(p->y, -Value(row, 1, i));
    EXPECT_EQ(p->z, -Value(row, 2, i));
  }
}

void ExpectAllGaps(const Take& take, std::size_t frame) {
  for (std::size_t i = 0; i < take.MarkerCount(); ++i)
    EXPECT_EQ(take.At(frame, i), nullptr) << "landmark " << i;
}

std::string ReadError(const std::string& text) {
  return InputErrorOf([&] { ReadTake(text, "face.csv"); });
}

} // namespace

TEST(LandmarkCsv, ReadsLandmarksIntoAFrameWithYUpAndZTowardsTheCamera) {
  const Take take = ReadTake(Tracked(3).Text(), "takes/face.csv");
  EXPECT_EQ(take.name, "face");
  EXPECT_EQ(take.format, "landmark CSV");
  EXPECT_EQ(take.unit, "mm");
  EXPECT_EQ(take.rate.Hz(), 25);
  ASSERT_EQ(take.MarkerCount(), 68u);
  EXPECT_EQ(take.markers.front(), "lm0");
  EXPECT_EQ(take.markers.back(), "lm67");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08));
  for (std::size_t frame = 0; frame < 3; ++frame) ExpectTracked(take, frame, frame);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(LandmarkCsv, ColumnsCountByNameWhateverTheirOrder) {
  Table table = Tracked(2);
  std::reverse(table.columns.begin(), table.columns.end());
  for (auto& row : table.rows) std::reverse(row.begin(), row.end());
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2));
  ExpectTracked(take, 1, 1);
}

TEST(LandmarkCsv, ReadsEveryShapeOfTextThatHoldsTheSameTable) {
  const Table table = Tracked(3);
  const std::string plain = table.Text();
  const std::string no_last_line_end = plain.substr(0, plain.size() - 1);
  for (const std::string& text :
       {table.Text(","), table.Text(" ,\t"), table.Text(", ", "\r\n"), table.Text(", ", ",\n"),
        "\xEF\xBB\xBF" + plain, no_last_line_end, plain + "\n\n \r\n", "\n" + plain}) {
    const Take take = ReadTake(text, "face.csv");
    ASSERT_EQ(take.FrameCount(), 3u) << text.substr(0, 40);
    for (std::size_t frame = 0; frame < 3; ++frame) ExpectTracked(take, frame, frame);
  }
}

TEST(LandmarkCsv, FrameWithoutSuccessIsAGapWhateverItsCellsHold) {
  Table table = Tracked(3);
  table.At(1, "success") = "0";
  for (std::size_t column = table.Index("X_0"); column <= table.Index("Z_67"); ++column)
    table.rows[1][column] = "-nan(ind)";
  const Take take = ReadTake(table.Text(), "face.csv");
  ASSERT_EQ(take.FrameCount(), 3u);
  ExpectTracked(take, 0, 0);
  ExpectAllGaps(take, 1);
  ExpectTracked(take, 2, 2);
}

TEST(LandmarkCsv, LandmarkAtTheCameraItselfIsAGap) {
  Table table = Tracked(2);
  for (const char* column : {"X_7", "Y_7", "Z_7"}) table.At(0, column) = "0.0";
  for (const char* column : {"X_8", "Y_8"})
    table.At(0, column) = "0.0"; // on the camera's axis, but before it
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(take.At(0, 7), nullptr);
  ASSERT_NE(take.At(0, 8), nullptr);
  EXPECT_EQ(take.At(0, 8)->z, -Value(0, 2, 8));
  EXPECT_NE(take.At(1, 7), nullptr);
}

TEST(LandmarkCsv, ColumnsThatTrackersLeaveOutAreNotNeeded) {
  Table table = Tracked(3);
  for (const char* column : {"face_id", "confidence", "success", "gaze_0_x", "x_0", "y_0", "AU01_r"})
    table.Drop(column);
  const Take take = ReadTake(table.Text(), "face.csv");
  for (std::size_t frame = 0; frame < 3; ++frame) ExpectTracked(take, frame, frame);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(LandmarkCsv, RowsWithoutFrameColumnAreNumberedFromOneAndNoted) {
  Table table = Tracked(3);
  table.Drop("frame");
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.notes, ElementsAre("no column \"frame\"; the rows are numbered from 1"));
}

TEST(LandmarkCsv, OfSeveralFacesTheFirstIsReadAndTheRestNoted) {
  Table table = Tracked(6);
  const char* const faces[] = {"3", "0", "3", "1", "0", "3"};
  const char* const frames[] = {"1", "1", "2", "2", "2", "3"};
  const char* const times[] = {"0.00", "0.00", "0.04", "0.04", "0.04", "0.08"};
  for (std::size_t row = 0; row < 6; ++row) {
    table.At(row, "face_id") = faces[row];
    table.At(row, "frame") = frames[row];
    table.At(row, "timestamp") = times[row];
  }
  table.At(1, "X_5") = "broken"; // in a face that is not read
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08));
  ExpectTracked(take, 0, 0);
  ExpectTracked(take, 1, 2);
  ExpectTracked(take, 2, 5);
  EXPECT_THAT(take.notes, ElementsAre("3 faces in the file; read face_id 3, left out 3 rows of the others"));
}

TEST(LandmarkCsv, AFaceIsChosenByItsNumber) {
  Table table = Tracked(6);
  for (std::size_t row = 0; row < 6; ++row) { // two faces interleaved, the first of them lost in between
    table.At(row, "face_id") = row % 2 == 0 ? "7" : "-3";
    table.At(row, "frame") = std::to_string(row / 2 + 1);
    table.At(row, "timestamp") = fmt::format("{:.2f}", static_cast<double>(row / 2) / 25);
  }
  table.At(2, "success") = "0";
  for (const auto& [face, first_row] : {std::pair<std::int64_t, std::size_t>(7, 0), {-3, 1}}) {
    const Take take = ReadTake(table.Text(), "face.csv", {.face = face});
    EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
    ExpectTracked(take, 0, first_row);
    if (face == 7)
      ExpectAllGaps(take, 1);
    else
      ExpectTracked(take, 1, 3);
    ExpectTracked(take, 2, first_row + 4);
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(LandmarkCsv, AMissingFaceIsReportedWithThoseThatAreThere) {
  Table table = Tracked(13);
  for (std::size_t row = 0; row < 13; ++row) table.At(row, "face_id") = row % 2 == 0 ? "4" : "2";
  EXPECT_EQ(InputErrorOf([&] { ReadTake(table.Text(), "face.csv", {.face = 3}); }),
            "face.csv: there is no face_id 3; those in the file are 2, 4");
  for (std::size_t row = 0; row < 13; ++row) table.At(row, "face_id") = std::to_string(20 - row);
  EXPECT_EQ(InputErrorOf([&] { ReadTake(table.Text(), "face.csv", {.face = 3}); }),
            "face.csv: there is no face_id 3; those in the file are 8, 9, 10, 11, 12, 13, 14, 15, 16, 17 and "
            "3 more");
  EXPECT_THAT(InputErrorOf([&] { ReadTake(Tracked(0).Text(), "face.csv", {.face = 3}); }),
              HasSubstr("there are no frames, only a header"));
  table.Drop("face_id");
  EXPECT_EQ(InputErrorOf([&] { ReadTake(table.Text(), "face.csv", {.face = 0}); }),
            "face.csv:1: there is no column \"face_id\" to choose a face by; read the file without choosing "
            "a face");
}

TEST(LandmarkCsv, PixelsAloneAreReadWithoutDepthAndNoted) {
  const Table table = Pixels(3);
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(take.unit, "px");
  EXPECT_EQ(take.rate.Hz(), 25);
  ASSERT_EQ(take.MarkerCount(), 68u);
  EXPECT_EQ(take.markers.back(), "lm67");
  for (std::size_t frame = 0; frame < 3; ++frame)
    for (std::size_t i = 0; i < 68; ++i) {
      const Point* p = take.At(frame, i);
      ASSERT_NE(p, nullptr);
      EXPECT_EQ(p->x, Value(frame, 0, i));
      EXPECT_EQ(p->y, -Value(frame, 1, i));
      EXPECT_EQ(p->z, 0);
      EXPECT_FALSE(std::signbit(p->z));
    }
  EXPECT_THAT(take.notes,
              ElementsAre("the landmarks are in pixels, of unknown depth: turns of the head will show up "
                          "as expression"));
}

TEST(LandmarkCsv, PixelInTheImagesCornerAndLostFacesAreGaps) {
  Table table = Pixels(3);
  table.At(0, "x_9") = table.At(0, "y_9") = "0.0";
  table.At(0, "x_10") = "0";
  table.At(1, "success") = "0";
  table.At(1, "x_3") = "-nan";
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(take.At(0, 9), nullptr);
  EXPECT_NE(take.At(0, 10), nullptr);
  ExpectAllGaps(take, 1);
  table.At(2, "y_3") = "?";
  EXPECT_EQ(ReadError(table.Text()),
            "face.csv:4: column \"y_3\": \"?\" is not a number; write pixels, such as 12.5, "
            "or success 0 if the face was lost");
}

TEST(LandmarkCsv, MillimetresAreTakenBeforePixels) {
  Table table = Pixels(2);
  const Table millimetres = Tracked(2);
  for (std::size_t column = millimetres.Index("X_0"); column <= millimetres.Index("Z_67"); ++column) {
    table.columns.push_back(millimetres.columns[column]);
    for (std::size_t row = 0; row < 2; ++row) table.rows[row].push_back(millimetres.rows[row][column]);
  }
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(take.unit, "mm");
  ExpectTracked(take, 1, 1);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(LandmarkCsv, LandmarksInPartNameTheColumnThatIsMissing) {
  const std::string fix =
      "; let the tracker write its landmarks in 3D (X_0 to Z_67, in millimetres), or at least in "
      "2D (x_0 to y_67)";
  EXPECT_EQ(ReadError("frame, face_id, timestamp, confidence, success, x_0, x_1\n1, 0, 0, 0.98, 1, 5, 5\n"),
            "face.csv:1: the column \"x_2\" is missing" + fix);
  for (const char* column : {"X_0", "Y_41", "Z_67"}) {
    Table table = Tracked(1);
    table.Drop(column);
    EXPECT_EQ(ReadError(table.Text()), fmt::format("face.csv:1: the column \"{}\" is missing", column) + fix);
  }
  // Nothing else of a tracker's output replaces landmarks.
  EXPECT_EQ(ReadError("frame, timestamp, confidence, success, AU01_r\n1, 0, 0.98, 1, 0.5\n"),
            "face.csv:1: the table holds no landmarks" + fix);
}

TEST(LandmarkCsv, WithoutSuccessLowConfidenceIsAGapAndNoted) {
  Table table = Tracked(4);
  table.At(1, "confidence") = "0.49";
  table.At(1, "X_0") = "-nan(ind)";
  table.At(2, "confidence") = "0.5";
  table.Drop("success");
  const Take take = ReadTake(table.Text(), "face.csv");
  ExpectTracked(take, 0, 0);
  ExpectAllGaps(take, 1);
  ExpectTracked(take, 2, 2);
  EXPECT_THAT(take.notes, ElementsAre("no column \"success\"; 1 row with a confidence below 0.5 is a gap"));
}

TEST(LandmarkCsv, SuccessOutweighsConfidence) {
  Table table = Tracked(2);
  table.At(1, "confidence") = "0.02";
  const Take take = ReadTake(table.Text(), "face.csv");
  ExpectTracked(take, 1, 1);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(LandmarkCsv, ColumnsThatAreNotNeededAreNotRead) {
  Table table = Tracked(2);
  for (const char* column : {"gaze_0_x", "x_0", "y_0", "AU01_r", "confidence"})
    for (std::size_t row = 0; row < 2; ++row) table.At(row, column) = "1.#IND";
  ExpectTracked(ReadTake(table.Text(), "face.csv"), 1, 1);
}

TEST(LandmarkCsv, SingleImagesHaveNoTimes) {
  Table table = Tracked(1);
  for (const char* column : {"frame", "timestamp", "success"}) table.Drop(column);
  table.columns[table.Index("face_id")] = "face";
  EXPECT_EQ(ReadError(table.Text()),
            "face.csv:1: the rows are the faces of single images: there is no column "
            "\"timestamp\"; let the tracker process the recording as a video, or add the "
            "column in seconds");
}

TEST(LandmarkCsv, WithoutTimesTheRateIsAssumedOrNamed) {
  Table table = Tracked(3);
  table.Drop("timestamp");
  const Take assumed = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(assumed.rate, (FrameRate{30, 1}));
  EXPECT_THAT(assumed.times, ElementsAre(0, 1 / 30.0, 2 / 30.0));
  EXPECT_THAT(assumed.notes, ElementsAre("no times; taken as 30 Hz (--input-rate)"));
  const Take named = ReadTake(table.Text(), "face.csv", {.input_rate = FrameRate{25, 1}});
  EXPECT_THAT(named.times, ElementsAre(0, 0.04, 0.08));
  EXPECT_THAT(named.notes, IsEmpty());
  ExpectTracked(named, 2, 2);
  EXPECT_EQ(ProblemOf([] {
              ReadTake(Tracked(3).Text(), "face.csv", {.input_rate = FrameRate{25, 1}});
            }),
            "usage at no place");
}

TEST(LandmarkCsv, FramesAndTimesMayHaveOtherNames) {
  Table table = Tracked(3);
  table.columns[table.Index("frame")] = "Frame#";
  table.columns[table.Index("timestamp")] = "time_ms";
  for (std::size_t row = 0; row < 3; ++row) table.At(row, "time_ms") = std::to_string(40 * row);
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08));
  EXPECT_EQ(take.rate.Hz(), 25);
  EXPECT_THAT(take.notes, ElementsAre("line 1: column names corrected: column 3 from \"time_ms\" to "
                                      "\"timestamp\" (in milliseconds) and 1 more"));
}

TEST(LandmarkCsv, RatesThatNoVideoHasAreNoted) {
  for (const auto& [per_second, note] : std::vector<std::pair<double, std::string>>{
           {1000, "the times give a rate of 1000 Hz; check their unit"},
           {480, "the times give a rate of 480 Hz; check their unit"},
           {240, ""},
           {25, ""},
           {0.03, "the times give a rate of 0.03 Hz; check their unit"}}) {
    Table table = Tracked(4);
    for (std::size_t row = 0; row < 4; ++row)
      table.At(row, "timestamp") = fmt::format("{:.6f}", static_cast<double>(row) / per_second);
    const Take take = ReadTake(table.Text(), "face.csv");
    if (note.empty())
      EXPECT_THAT(take.notes, IsEmpty()) << per_second;
    else
      EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Doubtful, "", note)));
  }
}

TEST(LandmarkCsv, TablesOfOtherSchemesAreRefusedWithTheirNumberOfLandmarks) {
  const auto table = [](std::size_t count, const std::string& axes) {
    std::string header = "frame,timestamp,success", row = "\n1,0,1";
    for (const char axis : axes)
      for (std::size_t i = 0; i < count; ++i) {
        header += fmt::format(",{}_{}", axis, i);
        row += ",1.5";
      }
    return header + row + row + "\n";
  };
  for (const std::size_t count : {69u, 70u, 98u, 106u, 194u})
    for (const char* axes : {"XYZ", "xyz", "xy"})
      EXPECT_EQ(
          ReadError(table(count, axes)),
          fmt::format(
              "face.csv:1: the table has {} landmarks, 0 to {}, and only the scheme of 68 is known, 0 to "
              "67; let the tracker write 68 landmarks, or write those that you need as marker CSV",
              count, count - 1))
          << axes;
  EXPECT_EQ(ProblemOf([&] { ReadTake(table(98, "XYZ"), "face.csv"); }), "unsupported at 1");
  // The axes that are read decide: millimetres of 68 beside pixels of 478.
  Table both = Tracked(2);
  for (int i = 68; i < 478; ++i) {
    both.columns.push_back(fmt::format("x_{}", i));
    for (auto& row : both.rows) row.push_back("1");
  }
  EXPECT_EQ(ReadTake(both.Text(), "face.csv").MarkerCount(), 68u);
  // What only looks like a landmark.
  Table others = Tracked(2);
  for (const char* name : {"X_68b", "X_-1", "X_", "X_99999999999999999999", "eye_lmk_X_70"}) {
    others.columns.push_back(name);
    for (auto& row : others.rows) row.push_back("1");
  }
  EXPECT_EQ(ReadTake(others.Text(), "face.csv").MarkerCount(), 68u);
}

TEST(LandmarkCsv, CellsThatAreEmptyNanOrInfiniteAreGapsAndNoted) {
  for (const char* cell : {"", " ", "nan", "NaN", "-inf", "1e999", "-1.#IND"}) {
    Table table = Tracked(3);
    table.At(1, "Z_12") = cell;
    const Take take = ReadTake(table.Text(), "face.csv");
    EXPECT_EQ(take.At(1, 12), nullptr) << cell;
    EXPECT_NE(take.At(1, 11), nullptr);
    EXPECT_NE(take.At(1, 13), nullptr);
    ExpectTracked(take, 2, 2);
    EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::InvalidValue, "",
                                               "1 cell is empty, NaN or infinite and makes a "
                                               "gap, the first: line 3, column \"Z_12\"")));
  }
  Table table = Pixels(3);
  table.At(0, "x_3") = table.At(0, "y_3") = table.At(2, "y_67") = "";
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_EQ(take.At(0, 3), nullptr);
  EXPECT_EQ(take.At(2, 67), nullptr);
  EXPECT_NE(take.At(2, 3), nullptr);
  EXPECT_THAT(take.notes,
              testing::Contains("3 cells are empty, NaN or infinite and make gaps, the first: line 2, column "
                                "\"x_3\""));
}

TEST(LandmarkCsv, AFaceWithoutAWordOnItsSuccessIsLost) {
  for (const char* column : {"success", "confidence"})
    for (const char* cell : {"", "NaN"}) {
      Table table = Tracked(3);
      if (column == std::string("confidence")) table.Drop("success");
      table.At(1, column) = cell;
      const Take take = ReadTake(table.Text(), "face.csv");
      ExpectTracked(take, 0, 0);
      ExpectAllGaps(take, 1);
      EXPECT_THAT(take.notes,
                  testing::Contains(fmt::format("1 cell is empty, NaN or infinite and makes a gap, the "
                                                "first: line 3, column \"{}\"",
                                                column)));
    }
}

TEST(LandmarkCsv, SemicolonsQuotesAndDoubledCarriageReturnsAreRead) {
  Table table = Tracked(3);
  std::string commas = table.Text(";");
  std::replace(commas.begin(), commas.end(), '.', ',');
  std::string quoted = "\"" + table.Text("\",\"", "\"\n\"");
  quoted.pop_back();
  for (const std::string& text :
       {commas, table.Text(";"), table.Text("\t"), quoted, table.Text(", ", "\r\r\n")}) {
    const Take take = ReadTake(text, "face.csv");
    ASSERT_EQ(take.FrameCount(), 3u) << text.substr(0, 40);
    EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08));
    for (std::size_t frame = 0; frame < 3; ++frame) ExpectTracked(take, frame, frame);
  }
  EXPECT_THAT(ReadTake(commas, "face.csv").notes,
              ElementsAre("line 1: the columns are separated by semicolons",
                          "line 2: decimal commas, as in \"0,000\""));
}

TEST(LandmarkCsv, RowsAreSortedByTimeWithANote) {
  Table table = Tracked(4);
  std::swap(table.rows[1], table.rows[3]);
  table.At(1, "success") = "0";
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(take.times, ElementsAre(0, 0.04, 0.08, 0.12));
  for (const std::size_t frame : {0u, 1u, 2u}) ExpectTracked(take, frame, frame);
  ExpectAllGaps(take, 3);
  EXPECT_THAT(take.notes,
              ElementsAre("line 4: the time 0.08 s comes after 0.12 s; the rows are sorted by time"));
}

TEST(LandmarkCsv, AFrameColumnThatNeverChangesIsReplacedByACount) {
  Table table = Tracked(3);
  for (std::size_t row = 0; row < 3; ++row) table.At(row, "frame") = "0";
  const Take take = ReadTake(table.Text(), "face.csv");
  EXPECT_THAT(take.frames, ElementsAre(1, 2, 3));
  EXPECT_THAT(take.notes, ElementsAre("column \"frame\": 0 in every row; the rows are numbered from 1"));
}

TEST(LandmarkCsv, ACutLastRowIsLeftOutAndNoted) {
  const std::string text = Tracked(3).Text();
  const std::size_t row = text.rfind('\n', text.size() - 2) + 1;
  for (std::size_t length = row + 1; length < text.rfind(','); ++length) {
    const Take take = ReadTake(text.substr(0, length), "face.csv");
    ASSERT_THAT(take.frames, ElementsAre(1, 2)) << length;
    EXPECT_THAT(take.notes, ElementsAre("line 4: the file ends inside the row, which is left out")) << length;
  }
}

TEST(LandmarkCsv, TwoColumnsOfOneNameAreRefused) {
  Table table = Tracked(1);
  table.columns[table.Index("X_3")] = "X_2";
  EXPECT_EQ(ReadError(table.Text()), "face.csv:1: the column \"X_2\" occurs twice; keep the right one");
}

TEST(LandmarkCsv, BadCoordinateNamesLineAndColumn) {
  for (const char* cell : {"abc", "1.2.3"}) {
    Table table = Tracked(3);
    table.At(1, "Z_12") = cell;
    EXPECT_EQ(ReadError(table.Text()),
              fmt::format(
                  "face.csv:3: column \"Z_12\": \"{}\" is not a number; write millimetres, such as 12.5, or "
                  "success 0 if the face was lost",
                  cell));
  }
}

TEST(LandmarkCsv, BadControlCellNamesLineAndColumn) {
  for (const auto& [column, fault] : std::vector<std::pair<std::string, std::string>>{
           {"frame", "column \"frame\": \"x\" is not a number; write a whole number"},
           {"face_id", "column \"face_id\": \"x\" is not a number; write a whole number"},
           {"timestamp", "column \"timestamp\": \"x\" is not a number; write a plain number, such as 12.5"},
           {"success", "column \"success\": \"x\" is not a number; write a plain number, such as 12.5"},
       }) {
    Table table = Tracked(3);
    table.At(2, column) = "x";
    EXPECT_EQ(ReadError(table.Text()), "face.csv:4: " + fault);
  }
}

TEST(LandmarkCsv, RowsOfWrongLengthAreRefusedEvenIfTheFaceWasLost) {
  for (const char* success : {"0", "1"}) {
    Table table = Tracked(3);
    table.At(1, "success") = success;
    table.rows[1].pop_back();
    EXPECT_EQ(ReadError(table.Text()),
              "face.csv:3: column \"AU01_r\": the row is cut short: it has 212 fields and the "
              "header 213; complete the row or remove it");
    table.rows[1].insert(table.rows[1].end(), {"1", "2"});
    EXPECT_EQ(ReadError(table.Text()),
              "face.csv:3: the row has 214 fields and the header 213; write one field per column, "
              "with decimal points and not commas");
  }
}

TEST(LandmarkCsv, RepeatedAndReversedRowsAreRefused) {
  Table table = Tracked(3);
  table.rows[2] = table.rows[1];
  EXPECT_THAT(ReadError(table.Text()),
              HasSubstr("face.csv:4: column \"frame\": frame 2 comes after frame 2"));
  table = Tracked(3);
  table.At(2, "timestamp") = "0.020";
  EXPECT_THAT(ReadError(table.Text()),
              HasSubstr("face.csv:4: column \"timestamp\": the time 0.02 s comes after 0.04 s"));
}

TEST(LandmarkCsv, HeaderAloneIsNotATake) {
  EXPECT_EQ(ReadError(Tracked(0).Text()),
            "face.csv:1: there are no frames, only a header; export the take again with its rows");
}

TEST(LandmarkCsv, EveryTruncationIsReadOrRefused) {
  const std::string text = Tracked(3).Text();
  std::size_t read = 0;
  for (std::size_t length = 0; length < text.size(); ++length) {
    const std::string cut = text.substr(0, length); // its own memory, so that reading past the end shows
    try {
      const Take take = ReadTake(cut, "face.csv");
      EXPECT_LE(take.FrameCount(), 3u);
      ++read;
    } catch (const mien::InputError&) {}
  }
  // From the first row on all: the first whole, with or without its line end or cut within the last column,
  // which is not read (five ways to cut ", 0.00" that leave its comma), and the others whole, cut so, or left
  // out.
  const std::size_t first_row = text.find('\n') + 1;
  EXPECT_EQ(read, text.size() - text.find('\n', first_row) + 5);
}

TEST(LandmarkCsv, EveryTruncationOfPixelsIsReadOrRefused) {
  const std::string text = Pixels(2).Text();
  std::size_t read = 0;
  for (std::size_t length = 0; length < text.size(); ++length) {
    const std::string cut = text.substr(0, length);
    try {
      EXPECT_LE(ReadTake(cut, "face.csv").FrameCount(), 2u);
      ++read;
    } catch (const mien::InputError&) {}
  }
  // From the first row on all: the first whole, with or without its line end or cut within its last number
  // (none to three characters of "46.7", which leaves a gap or another number), and the second whole, cut so,
  // or left out.
  const std::size_t first_row = text.find('\n') + 1;
  EXPECT_EQ(read, text.size() - text.find('\n', first_row) + std::string_view(", 46.").size());
}

TEST(LandmarkCsv, EveryFlippedByteOfTheHeaderIsReadOrRefused) {
  const std::string text = Tracked(2).Text();
  const std::size_t header = text.find('\n') + 1;
  std::size_t read = 0, refused = 0;
  for (std::size_t i = 0; i < header; ++i)
    for (const int flip : {0x01, 0x06, 0x20, 0x80, 0xFF}) {
      std::string flipped = text;
      flipped[i] = static_cast<char>(flipped[i] ^ flip);
      try {
        EXPECT_LE(ReadTake(flipped, "face.csv").FrameCount(), 2u) << i;
        ++read;
      } catch (const mien::InputError& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("face.csv:"));
        ++refused;
      }
    }
  EXPECT_GT(read, 100u);     // the names of columns that are not needed
  EXPECT_GT(refused, 2000u); // those of the landmarks
}

TEST(LandmarkCsv, WrittenTakeReadsBackToTheChosenDecimals) {
  std::vector<std::string> names;
  for (int i = 67; i >= 0; --i) names.push_back(fmt::format("lm{}", i)); // by name, not by order
  names.push_back("extra");
  Take take(names);
  for (int frame = 0; frame < 4; ++frame) {
    take.AddFrame(frame + 5, frame / 50.0);
    if (frame == 2) continue;
    for (std::size_t m = 0; m < names.size(); ++m)
      if (frame != 3 || m != 10)
        take.Set(static_cast<std::size_t>(frame), m,
                 {frame + static_cast<double>(m) / 16, -1.0 / 3, -400 - 0.125});
  }
  for (const int decimals : {1, 4}) {
    std::ostringstream out;
    mien::WriteLandmarkCsv(take, out, decimals);
    const Take back = ReadTake(out.str(), "back.csv");
    EXPECT_EQ(back.format, "landmark CSV");
    EXPECT_EQ(back.rate.Hz(), 50);
    EXPECT_EQ(back.frames, take.frames);
    const double half_unit =
        0.5 * std::pow(10, -decimals) * (1 + 1e-9); // and the rounding of the doubles themselves
    for (std::size_t frame = 0; frame < 4; ++frame)
      for (std::size_t i = 0; i < 68; ++i) {
        const Point* was = take.At(frame, 67 - i);
        const Point* is = back.At(frame, i);
        ASSERT_EQ(was != nullptr, is != nullptr) << "frame " << frame << " landmark " << i;
        if (!was) continue;
        EXPECT_NEAR(is->x, was->x, half_unit);
        EXPECT_NEAR(is->y, was->y, half_unit);
        EXPECT_NEAR(is->z, was->z, half_unit);
      }
  }
}

TEST(LandmarkCsv, IsWrittenAsTrackersWriteIt) {
  std::vector<std::string> names;
  for (int i = 0; i < 68; ++i) names.push_back(fmt::format("lm{}", i));
  Take take(names);
  take.AddFrame(1, 0);
  take.AddFrame(2, 1 / 30.0);
  for (std::size_t i = 0; i < 68; ++i) take.Set(1, i, {-1.25, 2.5, -300});
  const DecimalComma germany;
  std::ostringstream out;
  mien::WriteLandmarkCsv(take, out);
  const std::string text = out.str();
  EXPECT_EQ(text.substr(0, 51), "frame, timestamp, confidence, success, X_0, X_1, X_");
  EXPECT_THAT(text, HasSubstr(", X_67, Y_0, "));
  EXPECT_THAT(text, HasSubstr(", Z_67\n1, 0.000, 0.00, 0, 0.0, 0.0, "));
  EXPECT_THAT(text, HasSubstr("\n2, 0.033, 0.98, 1, -1.2, -1.2, ")); // -1.25 rounds to even
  EXPECT_THAT(text, testing::EndsWith(", 300.0, 300.0\n"));
  ExpectAllGaps(ReadTake(text, "t.csv"), 0);
  EXPECT_EQ(ReadTake(text, "t.csv").At(1, 0)->y, 2.5);
}

TEST(LandmarkCsv, TakeWithoutALandmarkIsNotWritten) {
  Take take({"lm0", "lm1"});
  take.name = "short";
  std::ostringstream out;
  EXPECT_EQ(InputErrorOf([&] { mien::WriteLandmarkCsv(take, out); }),
            "short: the take has no marker lm2; landmark CSV needs the markers lm0 to lm67; write marker CSV "
            "instead");
  EXPECT_EQ(out.str(), "");
}

TEST(LandmarkCsv, NumbersDoNotFollowTheLocale) {
  const std::string text = Tracked(2).Text();
  const DecimalComma germany;
  ExpectTracked(ReadTake(text, "face.csv"), 1, 1);
}

TEST(LandmarkCsv, NotesAndFaultsHaveCodes) {
  Table table = Tracked(4);
  for (std::size_t row = 0; row < 4; ++row) {
    table.At(row, "face_id") = row % 2 == 0 ? "4" : "2";
    table.At(row, "confidence") = row == 2 ? "0.2" : "0.9";
  }
  table.Drop("frame");
  table.Drop("success");
  EXPECT_THAT(ReadTake(table.Text(), "face.csv").notes,
              ElementsAre(IsNote(Code::Ignored, "", "2 faces in the file"),
                          IsNote(Code::Doubtful, "", "no column \"success\""),
                          IsNote(Code::Assumed, "", "no column \"frame\"")));
  EXPECT_THAT(ReadTake(Pixels(3).Text(), "face.csv").notes,
              ElementsAre(IsNote(Code::Missing, "", "the landmarks are in pixels")));
  EXPECT_EQ(ProblemOf([&] { ReadTake(table.Text(), "face.csv", {.face = 3}); }), "not-found at no place");
  table.Drop("timestamp");
  table.columns[table.Index("face_id")] = "face";
  EXPECT_EQ(ProblemOf([&] { ReadTake(table.Text(), "face.csv"); }), "missing at 1");
}
