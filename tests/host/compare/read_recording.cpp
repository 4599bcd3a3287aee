#include "host/compare/read_recording.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using mien::RecordingContentOf;
using mien::RecordingKind;
using testing::HasSubstr;

namespace {

std::string ContentOf(const std::string& text) {
  const mien::RecordingContent content = RecordingContentOf(text, "f");
  return (content.kind == RecordingKind::Take ? "take, " : "animation, ") + content.format;
}

} // namespace

TEST(ReadRecording, TheContentDecidesWhatAFileIs) {
  EXPECT_EQ(ContentOf("frame,time,Mouth.Open\n1,0,0\n"), "animation, score CSV");
  EXPECT_EQ(ContentOf("frame,time,Chin.x,Chin.y,Chin.z\n1,0,0,0,0\n"), "take, marker CSV");
  EXPECT_EQ(ContentOf("frame,time,Chin_x,Chin_y,Chin_z\n1,0,0,0,0\n"), "take, marker CSV");
  EXPECT_EQ(ContentOf("Timecode,BlendShapeCount,EyeBlinkLeft\n"), "animation, phone CSV");
  EXPECT_EQ(ContentOf("{\"format\": \"mien animation 1\", \"frames\": []}"), "animation, animation JSON");
  EXPECT_EQ(ContentOf("{\"faceBlendshapes\": []}"), "animation, score JSON");
  EXPECT_EQ(ContentOf("{\"faceLandmarks\": [], \"faceBlendshapes\": []}"), "take, mesh JSON");
  EXPECT_EQ(ContentOf("PathFileType\t4\n"), "take, TRC");
}

TEST(ReadRecording, WhatIsNeitherIsAnErrorWithItsReason) {
  EXPECT_EQ(ProblemOf([] { RecordingContentOf("", "f"); }), "empty at no place");
  EXPECT_EQ(ProblemOf([] { RecordingContentOf("PK\003\004abcdefgh", "f"); }), "unsupported at no place");
  EXPECT_THAT(InputErrorOf([] { RecordingContentOf("some text\n", "f"); }),
              HasSubstr("f: this is neither an animation nor a take"));
}

TEST(ReadRecording, OptionsOfAFaceMeshAreForTakes) {
  mien::ReadOptions options;
  options.mesh.mirrored = true;
  EXPECT_EQ(ProblemOf([&] { mien::ReadRecording("frame,time,Mouth.Open\n1,0,0\n", "f", options); }),
            "usage at no place");
}

TEST(ReadRecording, TemplatesAndShapesAreDifferentGroupsOfWeights) {
  EXPECT_EQ(mien::ReadRecording("frame,time,Mouth.Open\n1,0,0\n", "f").curves[0].group, "Templates");
  EXPECT_EQ(mien::ReadRecording("frame,time,jawOpen\n1,0,0\n", "f").curves[0].group, "Shapes");
}

TEST(ReadRecording, OfMarkersOfOneNameTheFirstIsCompared) {
  mien::Take take({"A", "A"});
  take.AddFrame(1, 0);
  take.Set(0, 0, {1, 2, 3});
  const mien::Recording recording = RecordingOf(take);
  ASSERT_EQ(recording.curves.size(), 1U);
  EXPECT_THAT(recording.curves[0].values, testing::ElementsAre(1, 2, 3));
}
