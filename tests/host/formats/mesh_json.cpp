#include "host/formats/mesh_json.h"

#include "host/formats/read_take.h"
#include "tests/host/formats/mesh_face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using mien::Code;
using mien::Point;
using mien::ReadOptions;
using mien::ReadTake;
using mien::Take;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// The face, moved to the left, in an image of 640 x 360 mm: a list of points.
std::string Face(double shift, bool as_lists = false, std::size_t points = 478) {
  const std::vector<Point> face = MeshFace(478);
  std::string text;
  for (std::size_t i = 0; i < points; ++i) {
    const Point p = InImage({face[i % 478].x + shift, face[i % 478].y, face[i % 478].z});
    text += i > 0 ? "," : "";
    text += as_lists ? fmt::format("[{},{},{}]", p.x, p.y, p.z)
                     : fmt::format("{{\"x\":{},\"y\":{},\"z\":{},\"visibility\":0}}", p.x, p.y, p.z);
  }
  return "[" + text + "]";
}

std::string Result(double shift) {
  return "\"faceLandmarks\":[" + Face(shift) +
         "],\"faceBlendshapes\":[{\"categories\":[{\"index\":0,\"score\":0.5,\"categoryName\":\"_neutral\"}],"
         "\"headIndex\":-1,\"headName\":\"\"}],\"facialTransformationMatrixes\":[{\"rows\":4,\"columns\":4,"
         "\"data\":"
         "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,-50,1]}]";
}

std::string PythonResult(double shift) {
  return "\"face_landmarks\":[" + Face(shift) +
         "],\"face_blendshapes\":[[{\"index\":0,\"score\":0.5,\"category_name\":\"_neutral\"}]],"
         "\"facial_transformation_matrixes\":[[[1,0,0,0],[0,1,0,0],[0,0,1,-50],[0,0,0,1]]]";
}

} // namespace

TEST(MeshJson, EveryFormOfResultsIsTheSameTake) {
  const auto timed = [](const std::string& result, int frame) {
    return fmt::format("{{\"frame\":{},\"timestampMs\":{},{}}}", frame, 40 * frame, result);
  };
  const std::string first = timed(Result(0), 1), second = timed(Result(1), 2);
  const std::vector<std::string> texts = {
      "[" + first + "," + second + "]",
      first + "\n" + second + "\n",
      first + "\r\n\r\n" + second,
      first + second,
      "{\"fps\":25,\"frames\":[" + first + ",\n" + second + "]}",
      "[" + timed(PythonResult(0), 1) + "," + timed(PythonResult(1), 2) + "]",
      timed(PythonResult(0), 1) + "\n" + timed(PythonResult(1), 2) + "\n",
      "[" + timed("\"result\":{" + Result(0) + "}", 1) + "," + timed("\"result\":{" + Result(1) + "}", 2) +
          "]",
      "[{" + Result(0) + ",\"time_s\":0.04,\"frame\":1},{" + Result(1) + ",\"frame\":2,\"time_s\":0.08}]",
      "[" + timed("\"face_landmarks\":[" + Face(0, true) + "]", 1) + "," +
          timed("\"face_landmarks\":[" + Face(1, true) + "]", 2) + "]",
      "[" + timed("\"faceLandmarks\":" + Face(0), 1) + "," + timed("\"faceLandmarks\":" + Face(1), 2) + "]",
      "[" + timed("\"multiFaceLandmarks\":[{\"landmark\":" + Face(0) + "}]", 1) + "," +
          timed("\"multiFaceLandmarks\":[{\"landmark\":" + Face(1) + "}]", 2) + "]",
  };
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 80));
    const Take take = ReadTake(text, "face.json", With640x360());
    EXPECT_EQ(take.format, "mesh JSON");
    ASSERT_EQ(take.MarkerCount(), 478u);
    EXPECT_EQ(take.frames, (std::vector<std::int64_t>{1, 2}));
    EXPECT_EQ(take.rate.Hz(), 25);
    ExpectFace(take, 0, 0);
    ExpectFace(take, 1, 1);
    EXPECT_THAT(take.notes, IsEmpty());
  }
}

TEST(MeshJson, OneResultIsATakeOfOneFrame) {
  ReadOptions options = With640x360();
  options.input_rate = {30, 1};
  const Take take = ReadTake("{" + Result(0) + "}", "face.json", options);
  ASSERT_EQ(take.FrameCount(), 1u);
  ExpectFace(take, 0, 0);
}

TEST(MeshJson, LostFacesAreGapsAlsoInFront) {
  const auto at = [](int frame, const std::string& landmarks) {
    return fmt::format("{{\"frame\":{},\"time_s\":{},\"faceLandmarks\":{}}}", frame, 0.04 * frame, landmarks);
  };
  std::string half = Face(4);
  half.replace(half.find(':') + 1, half.find(',') - half.find(':') - 1, "null"); // x of point 0
  const Take take = ReadTake("[" + at(0, "[]") + "," + at(1, "null") + "," + at(2, "[[]]") + "," +
                                 at(3, "[" + Face(3) + "]") + "," + at(4, "[" + half + "]") + "]",
                             "face.json", With640x360());
  ASSERT_EQ(take.FrameCount(), 5u);
  for (std::size_t frame = 0; frame < 3; ++frame)
    for (std::size_t i = 0; i < 478; ++i) EXPECT_EQ(take.At(frame, i), nullptr);
  ExpectFace(take, 3, 3);
  EXPECT_EQ(take.At(4, 0), nullptr);
  EXPECT_NE(take.At(4, 1), nullptr);
}

TEST(MeshJson, NanIsANumberThatIsMissing) {
  std::string nan = Face(0);
  nan.replace(nan.find(':') + 1, nan.find(',') - nan.find(':') - 1, "NaN"); // x of point 0
  const Take take = ReadTake("[{\"time_s\":0,\"name\":\"NaN \\\" NaN\",\"face_landmarks\":[" + nan +
                                 "]},\n{\"time_s\":NaN,\"time_ms\":40,\"face_landmarks\":[" + Face(1) + "]}]",
                             "face.json", With640x360());
  ASSERT_EQ(take.FrameCount(), 2u);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
  ExpectFace(take, 1, 1);
  EXPECT_THAT(InputErrorOf([&] { ReadTake("{\"face_landmarks\":[[[NaN,Na,1]]]}", "face.json"); }),
              HasSubstr("face.json:1: this is not JSON from here on"));
}

TEST(MeshJson, WithoutDepthTheFaceIsFlatAndNoted) {
  std::string points;
  for (const Point& p : MeshFace())
    points += fmt::format("{}{{\"x\":{},\"y\":{}}}", points.empty() ? "" : ",", InImage(p).x, InImage(p).y);
  const Take take =
      ReadTake("{\"time_s\":0,\"faceLandmarks\":[[" + points + "]]}", "face.json", With640x360());
  EXPECT_EQ(take.At(0, 1)->z, 0);
  EXPECT_THAT(take.notes, Contains(IsNote(Code::Missing, "",
                                          "x, y and z are expected, and the landmarks have no depth")));
}

TEST(MeshJson, MatricesAndWeightsAreReadPast) {
  const auto with = [](const std::string& matrix) {
    return ReadTake("[{\"time_s\":0,\"facialTransformationMatrixes\":" + matrix + "," + Result(0) +
                        "},{\"time_s\":0.04," + Result(1) + ",\"facial_transformation_matrixes\":" + matrix +
                        "}]",
                    "face.json", With640x360());
  };
  for (const char* matrix : {"[{\"rows\":4,\"columns\":4,\"data\":[0,1,0,0,-1,0,0,0,0,0,1,0,3,4,-50,1]}]",
                             "[[[0,-1,0,3],[1,0,0,4],[0,0,1,-50],[0,0,0,1]]]", "[]", "null"}) {
    const Take take = with(matrix);
    ASSERT_EQ(take.FrameCount(), 2u) << matrix;
    ExpectFace(take, 0, 0);
    ExpectFace(take, 1, 1);
    EXPECT_THAT(take.notes, IsEmpty()) << matrix;
  }
}

TEST(MeshJson, OfSeveralFacesOneIsRead) {
  const std::string text = "{\"time_s\":0,\"faceLandmarks\":[" + Face(0) + "," + Face(50) + "]}";
  const Take first = ReadTake(text, "face.json", With640x360());
  ExpectFace(first, 0, 0);
  EXPECT_THAT(first.notes, Contains(IsNote(Code::Ignored, "", "up to 2 faces in a result; read the first")));
  ReadOptions options = With640x360();
  options.face = 1;
  ExpectFace(ReadTake(text, "face.json", options), 0, 50);
  for (const std::int64_t face : {2, -1}) {
    options.face = face;
    EXPECT_THAT(InputErrorOf([&] { ReadTake(text, "face.json", options); }),
                HasSubstr(fmt::format("there is no face {}", face)));
  }
}

TEST(MeshJson, TimestampsWithoutUnitAreJudgedByTheirSteps) {
  const auto take = [](const char* key, double step) {
    std::string text;
    for (int i = 0; i < 3; ++i) text += fmt::format("{{\"{}\":{},{}}}\n", key, 1.7e9 + step * i, Result(i));
    return ReadTake(text, "face.json", With640x360());
  };
  EXPECT_EQ(take("timestamp", 40).rate.Hz(), 25);
  EXPECT_THAT(take("timestamp", 40).notes,
              ElementsAre(IsNote(Code::Assumed, "", "\"timestamp\" has no unit; taken as milliseconds")));
  EXPECT_EQ(take("timestamp", 0.5).rate.Hz(), 2);
  EXPECT_THAT(take("timestamp", 0.5).notes, IsEmpty());
  EXPECT_THAT(take("timestampMs", 0.04).notes,
              Contains(IsNote(Code::Doubtful, "", "\"timestampMs\" is expected to be in milliseconds")));
  EXPECT_THAT(take("time_s", 40).notes,
              Contains(IsNote(Code::Doubtful, "", "\"time_s\" is expected to be in sec")));
}

TEST(MeshJson, UnsortedResultsAreSortedAndEqualTimesRefused) {
  const auto at = [](double time, double shift) {
    return fmt::format("{{\"time_s\":{},{}}}\n", time, Result(shift));
  };
  const Take take = ReadTake(at(0.04, 1) + at(0, 0), "face.json", With640x360());
  ExpectFace(take, 0, 0);
  ExpectFace(take, 1, 1);
  EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Order, "", "the results are not in order")));
  EXPECT_THAT(InputErrorOf([&] { ReadTake(at(1, 0) + at(1, 0), "face.json"); }),
              HasSubstr("two results have the time 1 s"));
}

TEST(MeshJson, AFileThatIsCutLosesItsLastResult) {
  const std::string first = "{\"time_s\":0," + Result(0) + "}",
                    second = ",\n{\"time_s\":1," + Result(1) + "}]";
  for (const std::size_t cut : {std::size_t{2}, std::size_t{100}, second.size() - 10}) {
    const Take take =
        ReadTake("[" + first + second.substr(0, second.size() - cut), "face.json", With640x360());
    ASSERT_EQ(take.FrameCount(), 1u);
    ExpectFace(take, 0, 0);
    EXPECT_THAT(take.notes, Contains(IsNote(Code::Truncated, "line 2", "the file ends inside a result")));
  }
}

TEST(MeshJson, WhatIsNotAResultIsRefusedAtItsLine) {
  const auto error = [](const std::string& text) {
    return InputErrorOf([&] { ReadTake(text, "face.json"); });
  };
  const std::string good = "{\"time_s\":0," + Result(0) + "}\n";
  EXPECT_THAT(error(good + "{\"time_s\":x}\n" + good),
              HasSubstr("face.json:2: this is not JSON from here on"));
  EXPECT_THAT(error(good + "{\"time_s\":1e999}\n"),
              HasSubstr("face.json:2: a number is beyond what a double holds"));
  EXPECT_THAT(error(good + std::string(300, '[')),
              HasSubstr("face.json:2: objects and arrays are nested more than"));
  EXPECT_THAT(error("{\"faceLandmarks\":[" + Face(0, false, 479) + "]}"),
              HasSubstr("the face has 479 landmarks; the face mesh has 468 or 478"));
  EXPECT_THAT(error(good + "{\"time_s\":1,\"faceLandmarks\":[" + Face(0, false, 468) + "]}"),
              HasSubstr("face.json:2: the face has 468 landmarks, and those before have 478"));
  EXPECT_THAT(error("{\"a\":1,\"b\":\"faceLandmarks\"}"),
              HasSubstr("the JSON has no results with faceLandmarks"));
  EXPECT_THAT(error(good + "{" + Result(0) + "}"), HasSubstr("1 of 2 results have a time"));
}
