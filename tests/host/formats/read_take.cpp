#include "host/formats/read_take.h"

#include "tests/host/formats/c3d_builder.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"
#include "tests/host/temporary_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using mien::ReadTake;
using mien::Take;
using testing::StartsWith;

namespace {

const std::string kTake = "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,4,5,6\n";
const std::string kKnownFormats =
    "; the formats that can be read are C3D (optical capture, .c3d), TRC "
    "(tab-separated text that starts with "
    "PathFileType), mesh CSV (columns x_0, y_0, z_0, ... of 468 or 478 landmarks), "
    "long mesh CSV (columns frame, time_s, face, landmark, x, y, z), mesh JSON "
    "(results with faceLandmarks), "
    "landmark CSV (columns frame, timestamp, X_0, ... Z_67), "
    "marker CSV (columns frame,time,NAME.x,NAME.y,NAME.z,...)";

class ReadTakeFile : public TemporaryFolder {};

std::string MemoryError(const std::string& bytes) {
  return InputErrorOf([&] { ReadTake(bytes, "t"); });
}

const std::string kShapeFix = ", and no markers to solve; name the take of markers, or put the weights onto "
                              "a character with mien retarget";

std::string ShapeRow(int counts) { // from one second before midnight, 60 a second
  const int count = (24 * 3600 * 60 - 60 + counts) % (24 * 3600 * 60);
  const int second = count / 60;
  return fmt::format("{:02}:{:02}:{:02}:{:02}.473,2,0.1,1.05\n", second / 3600, second / 60 % 60, second % 60,
                     count % 60);
}

std::string ShapeError(const std::string& text) {
  return InputErrorOf([&] { ReadTake(text, "w.csv"); });
}

} // namespace

TEST_F(ReadTakeFile, FindsTheFormatByContentAndNotByEnding) {
  const Take take = ReadTake(Write("smile.c3d", kTake));
  EXPECT_EQ(take.name, "smile");
  EXPECT_EQ(take.format, "marker CSV");
  EXPECT_EQ(take.FrameCount(), 2u);
}

TEST_F(ReadTakeFile, ErrorsNameTheFileAsItWasGiven) {
  const std::filesystem::path path = Write("bad.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,b\n");
  EXPECT_THAT(InputErrorOf([&] { ReadTake(path); }),
              StartsWith(path.string() + ":2: column \"A.z\": \"b\" is not a number"));
}

TEST_F(ReadTakeFile, EmptyFileIsNamed) {
  const std::filesystem::path path = Write("empty.csv", "");
  EXPECT_EQ(InputErrorOf([&] { ReadTake(path); }),
            path.string() + ": the file is empty; export the take again");
}

TEST_F(ReadTakeFile, MissingFileIsNamed) {
  const std::filesystem::path path = folder_ / "none.csv";
  EXPECT_EQ(InputErrorOf([&] { ReadTake(path); }), path.string() + ": there is no such file; check the path");
}

TEST(ReadTake, TakesAnyBytesAsInput) {
  EXPECT_EQ(MemoryError(" \r\n\t\n"), "t: the file is empty; export the take again");
  EXPECT_EQ(MemoryError("hello"), "t: this is not a take of a known format" + kKnownFormats);
  EXPECT_EQ(MemoryError(std::string("\x02\x50\0\0,\0\n", 7)),
            "t: this is not a take of a known format" + kKnownFormats);
  EXPECT_EQ(MemoryError("1,0,1,2,3\n"), "t: this is not a take of a known format" + kKnownFormats);
}

TEST(ReadTake, FilesGivenByMistakeAreNamed) {
  EXPECT_EQ(MemoryError("\x1F\x8B\x08"),
            "t: this is a gzip archive, not a take; unpack it and name the file in it");
  EXPECT_EQ(MemoryError("PK\x03\x04"),
            "t: this is a zip archive, not a take; unpack it and name the file in it, or "
            "save a spreadsheet as CSV");
  EXPECT_EQ(MemoryError("<!DOCTYPE html>\n<html>"),
            "t: this is a web page, not a take; download the file itself: this "
            "page was saved in its place");
  EXPECT_EQ(MemoryError("version https://git-lfs.github.com/spec/v1\noid sha256:0\nsize 9\n"),
            "t: this is a Git LFS pointer, which stands for the file, not a take; fetch the file with git "
            "lfs pull");
  EXPECT_EQ(MemoryError("%PDF-1.7"), "t: this is a PDF, not a take; export the take as C3D, TRC or CSV");
}

TEST(ReadTake, NamesTheEncodingOfUtf16AndUtf32) {
  EXPECT_EQ(MemoryError("\xFF\xFE"
                        "f"),
            "t: this is UTF-16 text, not a take; save it as UTF-8");
  EXPECT_EQ(MemoryError(std::string("\xFE\xFF\0f", 4)),
            "t: this is UTF-16 text, not a take; save it as UTF-8");
  EXPECT_EQ(MemoryError(std::string("\xFF\xFE\0\0f\0\0\0", 8)),
            "t: this is UTF-32 text, not a take; save it as UTF-8");
  EXPECT_EQ(MemoryError(std::string("\0\0\xFE\xFF\0\0\0f", 8)),
            "t: this is UTF-32 text, not a take; save it as UTF-8");
}

TEST(ReadTake, KnowsTablesByAnySeparator) {
  EXPECT_EQ(ReadTake("frame;time;A.x;A.y;A.z\n1;0;1,5;2;3\n2;0,5;1;2;3\n", "t").format, "marker CSV");
  EXPECT_EQ(ReadTake("frame\ttime\tA.x\tA.y\tA.z\n1\t0\t1\t2\t3\n", "t").format, "marker CSV");
  EXPECT_THAT(MemoryError("frame; timestamp; X_0\n1;0;1\n"),
              StartsWith("t:1: the column \"X_1\" is missing;"));
}

TEST(ReadTake, PositionsBeyondAKilometreAreGapsInEveryFormat) {
  const std::string note = "positions beyond a kilometre, taken as gaps: 1, the first: \"A\" in line ";
  const Take csv = ReadTake("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,4,5,-1e155\n", "t");
  EXPECT_NE(csv.At(0, 0), nullptr);
  EXPECT_EQ(csv.At(1, 0), nullptr);
  EXPECT_THAT(csv.notes, testing::ElementsAre(note + "3"));
  const Take trc =
      ReadTake("PathFileType\t4\t(X/Y/Z)\tt.trc\nDataRate\tCameraRate\tNumFrames\tNumMarkers\tUnits\t"
               "OrigDataRate\tOrigDataStartFrame\tOrigNumFrames\n30\t30\t2\t1\tm\t30\t1\t2\n"
               "Frame#\tTime\tA\t\t\n\t\tX1\tY1\tZ1\n\n1\t0\t1\t2\t3\n2\t0.0333\t1001\t0\t0\n",
               "t");
  EXPECT_NE(trc.At(0, 0), nullptr);
  EXPECT_EQ(trc.At(1, 0), nullptr);
  EXPECT_THAT(trc.notes, testing::ElementsAre(note + "8"));
  tests::C3dBuilder builder; // of two markers and three frames
  builder.frames[1][0] = {0, 2e6, 0, 1};
  const Take c3d = ReadTake(builder.Bytes(), "t");
  EXPECT_EQ(c3d.At(1, 0), nullptr);
  EXPECT_NE(c3d.At(0, 0), nullptr);
  EXPECT_THAT(
      c3d.notes,
      testing::Contains("positions beyond a kilometre, taken as gaps: 1, the first: \"LipU\" in frame 2"));
}

TEST(ReadTake, ARateIsForFilesWithoutTimes) {
  const mien::ReadOptions options = {.input_rate = mien::FrameRate{25, 1}};
  EXPECT_EQ(ReadTake("frame,A.x,A.y,A.z\n1,1,2,3\n2,4,5,6\n", "t", options).times[1], 0.04);
  EXPECT_EQ(ProblemOf([&] { ReadTake(kTake, "t", options); }), "usage at no place");
  EXPECT_EQ(InputErrorOf([&] { ReadTake(kTake, "t", options); }),
            "t: the file has times or a rate of its own; leave out --input-rate, which is for files without");
}

TEST(ReadTake, AFaceIsChosenOfLandmarksOnly) {
  EXPECT_EQ(InputErrorOf([] { ReadTake(kTake, "t.csv", {.strict = false, .face = 1}); }),
            "t.csv: marker CSV has no faces to choose from; leave out --face, which is for landmarks of "
            "several faces");
}

TEST(ReadTake, StrictlyEveryNoteIsAnErrorWithTheFilesName) {
  const std::string gappy = "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,4,5,6\n4,1.5,4,5,6\n9,4,4,5,6\n";
  const Take take = ReadTake(gappy, "t.csv");
  ASSERT_EQ(take.notes.size(), 1u);
  EXPECT_EQ(InputErrorOf([&] { ReadTake(gappy, "t.csv", {.strict = true, .face = {}}); }),
            "t.csv: " + Message(take.notes[0]) + "; fix the file, or read it without --strict");
  EXPECT_EQ(ReadTake(kTake, "t.csv", {.strict = true, .face = {}}).FrameCount(), 2u);
}

TEST(ReadTake, StrictlyANotesCodeAndPlaceAreTheProblems) {
  const auto strict = [](const std::string& text) {
    return ProblemOf([&] { ReadTake(text, "t", {.strict = true, .face = {}}); });
  };
  EXPECT_EQ(strict("Frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,4,5,6\n"),
            "syntax at 1"); // as lines stand in errors
  EXPECT_EQ(strict("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n3,0.5,4,5,6\n"), "missing at no place");
  EXPECT_EQ(strict("frame,time,timecode@25,A.x,A.y,A.z\n1,0,,1,2,3\n2,1,,1,2,3\n"),
            "missing at column \"timecode@25\"");
}

// --- Tables of shape weights, which are not takes.

TEST(ReadTakeOfShapeWeights, AreNamedWithTheirRowsTimeAndDropsAcrossMidnight) {
  for (const char* header :
       {"Timecode,BlendShapeCount,EyeBlinkLeft,JawOpen\n", "Timecode,BlendshapeCount,A,B\r\n",
        "\xEF\xBB\xBFtimecode , blendShapeCount,A,B\n"}) {
    std::string text = header;
    for (int row = 0; row < 100; ++row)
      if (row != 20 && row != 50 && row != 51) text += ShapeRow(2 * row);
    EXPECT_EQ(ShapeError(text),
              "w.csv: these are shape weights of a face-capture app (97 rows over 3.3 s, 3 frames "
              "dropped)" +
                  kShapeFix);
  }
}

TEST(ReadTakeOfShapeWeights, AreNamedWithoutTimesTooWhereNoneCanBeRead) {
  const std::string header = "Timecode,BlendShapeCount,EyeBlinkLeft\n";
  const std::string start = "w.csv: these are shape weights of a face-capture app (";
  EXPECT_EQ(ShapeError(header), start + "0 rows)" + kShapeFix);
  EXPECT_EQ(ShapeError("Timecode,BlendShapeCount"), start + "0 rows)" + kShapeFix);
  EXPECT_EQ(ShapeError(header + ShapeRow(0)), start + "1 rows)" + kShapeFix);
  EXPECT_EQ(ShapeError(header + "x,1,2\n\n,,\ny\n"), start + "2 rows)" + kShapeFix);
  EXPECT_EQ(ShapeError(header + ShapeRow(0) + ShapeRow(0) + ShapeRow(0)),
            start + "3 rows over 0.0 s, 0 frames dropped)" + kShapeFix);
}

TEST(ReadTakeOfShapeWeights, EveryTruncationIsRefused) {
  const std::string text = "Timecode,BlendShapeCount,EyeBlinkLeft,JawOpen\n" + ShapeRow(0) + ShapeRow(1);
  for (std::size_t length = 0; length <= text.size(); ++length)
    EXPECT_NE(ShapeError(text.substr(0, length)), "no InputError") << length;
}
