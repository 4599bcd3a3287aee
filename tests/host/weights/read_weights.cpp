#include "host/weights/read_weights.h"

#include "host/animation/animation_json.h"
#include "host/animation/weight_csv.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

using mien::ReadWeights;
using mien::WeightTake;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// Two frames of two weights at 10 Hz, as every layout below has them.
void ExpectTwoFrames(const WeightTake& take, const std::string& format) {
  EXPECT_EQ(take.format, format);
  ASSERT_THAT(take.names, ElementsAre("browDownLeft", "jawOpen"));
  EXPECT_THAT(take.weights, ElementsAre(0.25, 0.5, 0.75, 1.0));
  ASSERT_EQ(take.times.size(), 2U);
  EXPECT_NEAR(take.times[1] - take.times[0], 0.1, 1e-6); // times since 1970 have a double's digits
  EXPECT_EQ(take.rate, (mien::FrameRate{10, 1}));
  EXPECT_THAT(take.eyes, IsEmpty());
}

} // namespace

TEST(ReadWeights, ReadsTheSameFromEveryLayout) {
  for (const std::string text : {"frame,timestamp_ms,timestamp_sec,_neutral,browDownLeft,jawOpen,extra\n"
                                 "1,0,0,0.9,0.25,0.5,7\n2,100,0.1,0.9,0.75,1,8\n",
                                 "time_s;Brow_Down_L;A01_Jaw_Open\n0.1;0.75;1\n0;0.25;0.5\n"}) // out of order
    ExpectTwoFrames(ReadWeights(text, "w"), "score CSV");
  for (const std::string text :
       {"frame,time_s,face,name,score\n1,0,0,_neutral,1\n1,0,0,browDownLeft,0.25\n1,0,0,jawOpen,0.5\n"
        "1,0,1,jawOpen,0.9\n2,0.1,0,browDownLeft,0.75\n2,0.1,0,jawOpen,1\n",
        "score,category_name,timestamp_ms\n0.75,BrowDownLeft,100\n1,JawOpen,100\n0.5,JawOpen,0\n"
        "0.25,BrowDownLeft,0\n"})
    ExpectTwoFrames(ReadWeights(text, "w"), "long score CSV");
  for (
      const std::string text : {
          R"([{"timestamp": 1700000000000, "blendshapes": [{"name":"browDownLeft","score":0.25},{"name":"jawOpen","score":0.5}]},
               {"timestamp": 1700000000100, "blendshapes": [{"name":"browDownLeft","score":0.75},{"name":"jawOpen","score":1}]}])",
          R"([{"timestampMs":0,"result":{"faceLandmarks":[[{"x":0.5,"y":0.5,"z":0}]],"faceBlendshapes":[{"categories":[
               {"index":0,"score":0.9,"categoryName":"_neutral","displayName":""},{"index":1,"score":0.25,"categoryName":"browDownLeft","displayName":""},
               {"index":25,"score":0.5,"categoryName":"jawOpen","displayName":""}],"headIndex":-1,"headName":""}]}},
              {"timestampMs":100,"result":{"faceLandmarks":[],"faceBlendshapes":[{"categories":[
               {"index":1,"score":0.75,"categoryName":"browDownLeft"},{"index":25,"score":1,"categoryName":"jawOpen"}]}]}}])",
          R"({"frame":1,"time":0,"face_blendshapes":[[{"score":0.25,"category_name":"browDownLeft"},{"score":0.5,"category_name":"jawOpen"}],[{"score":9,"category_name":"jawOpen"}]]}
              {"frame":2,"time":0.1,"face_blendshapes":[[{"score":0.75,"category_name":"browDownLeft"},{"score":1,"category_name":"jawOpen"}]]})",
          R"({"Timestamp":1000,"Hotkey":-1,"BlendShapes":[{"k":"BrowDownLeft","v":0.25},{"k":"JawOpen","v":0.5}]}
              {"Timestamp":1100,"Hotkey":-1,"BlendShapes":[{"k":"BrowDownLeft","v":0.75},{"k":"JawOpen","v":1}]})",
          R"([{"time_s":0,"blendshapes":{"browDownLeft":0.25,"jawOpen":0.5}},{"time_s":0.1,"blendshapes":{"browDownLeft":0.75,"jawOpen":1}}])"})
    ExpectTwoFrames(ReadWeights(text, "w"), "score JSON");
}

// A mesh CSV may begin as what mien solve writes does.
TEST(ReadWeights, LandmarksThatBeginWithFrameAndTimeAreNotWeights) {
  std::string header = "frame,time", row = "1,0";
  for (int i = 0; i < 468; ++i) {
    for (const char axis : {'x', 'y', 'z'}) header += ',' + std::string(1, axis) + '_' + std::to_string(i);
    row += ",0.5,0.5,0.1";
  }
  const std::string mesh = header + '\n' + row + '\n';
  EXPECT_EQ(InputErrorOf([&] { ReadWeights(mesh, "w"); }),
            "w: the file has points (mesh CSV) and no weights; solve them with mien solve, whose output mien "
            "retarget reads; mien calibrate needs --performer");
  EXPECT_EQ(mien::WeightLayoutNameOf(mesh), std::nullopt);
  EXPECT_EQ(ReadWeights("frame,time,Content,Stern\n1,0,0.5,1\n", "w").names.size(), 2U)
      << "the shapes of any character";
}

TEST(ReadWeights, ChoosesAFace) {
  const std::string csv = "frame,time_s,face,name,score\n1,0,0,jawOpen,0.5\n1,0,1,jawOpen,0.75\n";
  EXPECT_THAT(ReadWeights(csv, "w", {.face = 1}).weights, ElementsAre(0.75));
  const std::string json = R"([{"time_s":0,"face_blendshapes":[[{"score":0.5,"category_name":"jawOpen"}],
                                                                [{"score":0.75,"category_name":"jawOpen"}]]}])";
  EXPECT_THAT(ReadWeights(json, "w", {.face = 1}).weights, ElementsAre(0.75));
  EXPECT_EQ(InputErrorOf([&] { ReadWeights(json, "w", {.face = 2}); }),
            "w: there is no face 2; the results have 2 faces, from 0");
  EXPECT_THAT(ReadWeights(json, "w").notes,
              Contains(IsNote(mien::Code::Ignored, "", "up to 2 faces in a result; read the first")));
}

TEST(ReadWeights, AFrameWithoutAFaceIsMissing) {
  for (const std::string text :
       {"frame,time_s,jawOpen,mouthFunnel\n1,0,0.5,0.5\n2,0.1,,NaN\n3,0.2,1,1\n",
        "frame,time_s,name,score\n1,0,jawOpen,0.5\n1,0,mouthFunnel,0.5\n2,0.1,,\n3,0.2,jawOpen,1\n3,0.2,"
        "mouthFunnel,1\n",
        R"([{"time_s":0,"blendshapes":{"jawOpen":0.5,"mouthFunnel":0.5}},{"time_s":0.1,"blendshapes":[]},
            {"time_s":0.2,"blendshapes":{"jawOpen":1,"mouthFunnel":1}}])",
        R"([{"time_s":0,"blendshapes":{"jawOpen":0.5,"mouthFunnel":0.5}},{"time_s":0.1,"blendshapes":null},
            {"time_s":0.2,"blendshapes":{"jawOpen":1,"mouthFunnel":1}}])"}) {
    const WeightTake take = ReadWeights(text, "w");
    ASSERT_EQ(take.frames.size(), 3U) << text;
    for (const std::size_t name : {0U, 1U}) {
      EXPECT_EQ(take.Weight(0, name), 0.5) << text;
      EXPECT_TRUE(std::isnan(take.Weight(1, name))) << text;
      EXPECT_EQ(take.Weight(2, name), 1) << text;
    }
  }
}

TEST(ReadWeights, ReadsWhatSolveWritesBitByBit) {
  mien::Animation animation;
  animation.layout.character = "puppet";
  animation.layout.shapes = {"smile", "jawOpen"};
  animation.layout.rate = {30, 1};
  animation.layout.timecode = mien::ParseTimecode("10:02:59:29", {30, 1});
  for (int f = 0; f < 3; ++f) {
    animation.frames.push_back(f + 5);
    animation.times.push_back(f / 30.0);
    for (const double weight : {f / 7.0, 1.1}) animation.shape_weights.push_back(weight);
    animation.eyes.push_back({mien::EyeAngles{0.1, 0.2}, mien::EyeAngles{0.3, 0.4}});
  }
  animation.heads.resize(3);
  animation.heads[2].m[3][1] = 12.5;
  animation.weights.resize(3 * animation.layout.templates.size());

  std::ostringstream json, csv, templates;
  mien::WriteAnimationJson(animation, json);
  mien::WeightCsvWriter shape_writer(animation.layout, mien::WeightKind::Shapes, csv);
  Write(animation, shape_writer);
  for (const std::string& text : {json.str(), csv.str()}) {
    const WeightTake take = ReadWeights(text, "w");
    EXPECT_THAT(take.names, ElementsAre("smile", "jawOpen")) << take.format;
    EXPECT_EQ(take.weights, animation.shape_weights) << take.format;
    EXPECT_EQ(take.frames, animation.frames) << take.format;
    EXPECT_EQ(take.times, animation.times) << take.format;
    EXPECT_EQ(take.timecode, animation.layout.timecode) << take.format;
    EXPECT_EQ(take.rate, animation.layout.rate) << take.format;
  }
  EXPECT_EQ(ReadWeights(json.str(), "w").eyes, animation.eyes);
  EXPECT_EQ(ReadWeights(json.str(), "w").head_places[2].y, 12.5);

  mien::WeightCsvWriter template_writer(animation.layout, mien::WeightKind::Templates, templates);
  Write(animation, template_writer);
  EXPECT_EQ(ReadWeights(templates.str(), "w").names,
            animation.layout.WeightNames(mien::WeightKind::Templates));
}

TEST(ReadWeights, UnknownNamesAndUnlikelyValuesAreNoted) {
  const std::string text = "time_s,jawOpen,confidence,mouthFunnel,_neutral\n0,50,1,20,0\n0.1,40,1,30,0\n";
  EXPECT_THAT(ReadWeights(text, "w").notes,
              testing::IsSupersetOf(
                  {IsNote(mien::Code::Unmatched, "", "none of the 52, and ignored: \"confidence\""),
                   IsNote(mien::Code::Missing, "", "2 of the 52 shapes; missing: eyeBlinkLeft"),
                   IsNote(mien::Code::Doubtful, "", "weights go up to 50, and 0 to 1 is expected")}));
}

TEST(ReadWeights, TimesInAnotherUnitAreNoted) {
  EXPECT_THAT(ReadWeights("time_s,jawOpen\n0,0\n40,0\n80,0\n", "w").notes,
              Contains(Says(HasSubstr("expected to be in seconds, and its values rise by 40 a frame"))));
}

TEST(ReadWeights, WeightsWithoutNamesAreRefused) {
  const auto table = [](const std::string& front, const std::string& name, int count) {
    std::string header = front, row = front.empty() ? "" : "1,0,";
    for (int i = 0; i < count; ++i) {
      const char* const comma = i + 1 < count ? "," : "\n";
      header += (name.empty() ? "0.1" : name + std::to_string(i)) + comma;
      row += std::string("0.1") + comma;
    }
    return header + row;
  };
  std::string numbers = "[0.1", indices;
  for (int i = 1; i < 52; ++i) numbers += ",0.1";
  for (int i = 0; i < 52; ++i) indices += std::string(i > 0 ? "," : "") + R"({"index":1,"score":0.1})";
  const std::pair<std::string, int> files[] = {{table("", "", 51), 51},
                                               {table("frame,time,", "bs_", 52), 52},
                                               {"frame,time,0,1\n1,0,0.5,1\n", 2},
                                               {table("frame,timestamp,", "blendshape", 52), 52},
                                               {R"([{"timestamp":0,"blendshapes":)" + numbers + "]}]", 52},
                                               {R"([{"timestamp":0,"blendshapes":[)" + indices + "]}]", 52}};
  for (const auto& [text, count] : files)
    EXPECT_THAT(
        InputErrorOf([&, &bytes = text] { ReadWeights(bytes, "w"); }),
        testing::StartsWith("w: the file has " + std::to_string(count) + " weights a frame without names"))
        << text;
  EXPECT_THAT(InputErrorOf([] { ReadWeights("frame,time_s,face,index,score\n0,0,0,1,0.5\n", "w"); }),
              HasSubstr("the rows number their weights in \"index\""));
}

TEST(ReadWeights, WeightsMayBeFarBehindPointsWithoutWeights) {
  std::string text = "[";
  for (int f = 0; f < 40'000; ++f)
    text += R"({"timestampMs":)" + std::to_string(f) + R"(,"faceLandmarks":[[]]},)" + "\n";
  ASSERT_GT(text.size(), 1U << 20);
  text += R"({"timestampMs":40000,"face_blendshapes" : [[{"score":0.25,"category_name":"jawOpen"}]]}])";
  EXPECT_THAT(ReadWeights(text, "w").weights, ElementsAre(0.25));
  // A value is not a key.
  EXPECT_THAT(InputErrorOf([] {
                ReadWeights(R"([{"faceLandmarks":[[{"x":0.5,"y":0.5,"z":0}]],"what":"blendshapes"}])", "w");
              }),
              HasSubstr("the file has points (mesh JSON)"));
}

TEST(ReadWeights, SaysInWhichUnitAnglesAre) {
  const std::string head = "time_s,jawOpen,HeadYaw,HeadPitch,HeadRoll\n";
  const WeightTake radians = ReadWeights(head + "0,0,0.25,-0.5,0\n", "w");
  EXPECT_EQ(radians.angles, "radians (largest 0.5)");
  EXPECT_EQ(radians.heads[0].pitch, -0.5);
  const WeightTake degrees = ReadWeights(head + "0,0,45,-22.5,0\n", "w");
  EXPECT_EQ(degrees.angles, "degrees (largest 45)");
  EXPECT_NEAR(degrees.heads[0].yaw, 0.7853981633974483, 1e-15);
  EXPECT_EQ(ReadWeights("time_s,jawOpen\n0,0\n", "w").angles, "");
}

TEST(ReadWeights, FilesOfPointsNameTheCommandThatSolvesThem) {
  for (const std::string text :
       {"frame,time,A.x,A.y,A.z\n1,0,1,2,3\n", "frame,time_s,face,landmark,x,y,z\n1,0,0,0,0.5,0.5,0\n",
        R"([{"faceLandmarks":[[{"x":0.5,"y":0.5,"z":0}]]}])"})
    EXPECT_THAT(InputErrorOf([&] { ReadWeights(text, "w"); }),
                testing::AllOf(HasSubstr("the file has points ("), HasSubstr("mien solve")))
        << text;
  EXPECT_THAT(
      InputErrorOf([&] { ReadWeights("hello\n", "w"); }),
      HasSubstr("these are not weights of a known layout; the layouts that can be read are phone CSV"));
  EXPECT_THAT(InputErrorOf([&] { ReadWeights(" \n", "w"); }), HasSubstr("the file is empty"));
}

TEST(ReadWeights, StrictTurnsNotesIntoErrors) {
  EXPECT_EQ(ProblemOf([&] { ReadWeights("time_s,jawOpen\n0,0\n0.1,0\n", "w", {.strict = true}); }),
            "assumed at no place"); // no column "frame"
}

TEST(ReadWeights, EveryTruncationIsReadOrRefused) {
  for (
      const std::string text :
      {"frame,time_s,face,name,score\n1,0,0,jawOpen,0.5\n2,0.1,0,jawOpen,0.75\n",
       "frame,time_s,jawOpen,mouthFunnel\n1,0,0.5,0.5\n2,0.1,0.25,0.125\n",
       R"([{"time_s":0,"blendshapes":{"jawOpen":0.5}},{"time_s":0.1,"face_blendshapes":[[{"score":1,"category_name":"jawOpen"}]]}])",
       R"({"format": "mien animation 1", "rate": 10, "frames": [1,2], "times": [0,0.1],
            "head": {"rotation": [[0,0,0,1],[0,0,0,1]], "translation": [[0,0,0],[0,0,0]]},
            "templates": {"names": ["Mouth.Open"], "weights": [[0.5],[1]]}})"})
    for (std::size_t length = 0; length <= text.size(); ++length) {
      try {
        const WeightTake take = ReadWeights(text.substr(0, length), "w");
        EXPECT_EQ(take.weights.size(), take.frames.size() * take.names.size()) << text << length;
        EXPECT_EQ(take.times.size(), take.frames.size()) << text << length;
      } catch (const mien::InputError&) { EXPECT_LT(length, text.size()) << text; }
    }
}
