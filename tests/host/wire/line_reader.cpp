#include "host/wire/line_reader.h"

#include "tests/host/wire/packets.h"

#include <fmt/format.h>

#include <numbers>

namespace mien {

namespace {

using Lines = ReadFrames<LineReader>;

/// A mesh of so many points with the corners of the eyes a quarter of the image's width apart.
std::string MeshLine(std::size_t count, const std::string& rest = "") {
  std::string line = "{\"points\":[";
  for (std::size_t i = 0; i < count; ++i)
    line += fmt::format("{}[{},0.5,0.125]", i > 0 ? "," : "", i == 33 ? 0.375 : i == 263 ? 0.625 : 0.5);
  return line + "]" + rest + "}";
}

TEST(LineReader, SixtyEightPointsNeedNoNames) {
  Lines frames;
  frames.Read(PacketOf("points.json"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  EXPECT_EQ(frames.Faults(), 0U);
  const LiveInput& input = frames.inputs[0];
  EXPECT_EQ(input.source_s, 0.25);
  EXPECT_EQ(frames.reader.Faces()[0].name, "ada");
  EXPECT_EQ(frames.reader.Faces()[0].names[67], "lm67");
  EXPECT_EQ(input.markers[5].value().z, 15);
  EXPECT_FALSE(input.markers[67]); // null
}

TEST(LineReader, NamesHoldUntilTheNextOnes) {
  Lines frames;
  frames.Read(R"({"names":["a","b"]})");
  frames.Read(R"({"unit":"m","points":[[1,2,3],{"x":0.5,"y":0,"z":-1}]})");
  frames.Read(R"({"points":[[1,2,3],null]})");
  ASSERT_EQ(frames.inputs.size(), 2U);
  EXPECT_EQ(frames.inputs[0].markers[1].value().x, 500);
  EXPECT_EQ(frames.inputs[1].markers[0].value().x, 1);
  EXPECT_FALSE(frames.inputs[1].markers[1]);
  EXPECT_EQ(frames.reader.Faces()[0].names, (std::vector<std::string>{"a", "b"}));
}

TEST(LineReader, TheMeshIsMadeMillimetresByTheCornersOfTheEyes) {
  for (const std::size_t count : {468U, 478U}) {
    Lines frames;
    frames.Read(MeshLine(count));
    const std::vector<std::optional<Point>>& markers = frames.inputs.at(0).markers;
    ASSERT_EQ(markers.size(), count);
    EXPECT_NEAR(markers[263]->x - markers[33]->x, 88.918, 1e-9);
    EXPECT_NEAR(markers[0]->z, -0.125 * 4 * 88.918, 1e-9);        // as x, towards the camera
    EXPECT_NEAR(markers[0]->y, -0.5 * 9 / 16 * 4 * 88.918, 1e-9); // up, and 16:9 is assumed
  }
}

TEST(LineReader, TheImageAndTheFacesWidthAreOptions) {
  Lines frames(MeshOptions{.image = ImageSize{640, 480}});
  frames.Read(MeshLine(478));
  EXPECT_NEAR(frames.inputs.at(0).markers[0]->y, -0.5 * 3 / 4 * 4 * 88.918, 1e-9);
}

TEST(LineReader, TheFirstFramesScaleHolds) {
  Lines frames;
  frames.Read(MeshLine(478));
  std::string nearer = MeshLine(478);
  nearer.replace(nearer.find("0.375"), 5, "0.250");
  frames.Read(nearer);
  EXPECT_NEAR(frames.inputs.at(1).markers[33]->x, 0.25 * 4 * 88.918, 1e-9);
}

TEST(LineReader, ReadsTheResultsOfWebTrackers) {
  Lines frames;
  std::string points;
  for (int i = 0; i < 478; ++i)
    points += fmt::format("{}{{\"x\":{},\"y\":0.5,\"z\":0,\"visibility\":0}}", i > 0 ? "," : "", i / 478.0);
  const std::string face = "[" + points + "]";
  frames.Read("{\"timestamp_ms\":40,\"faceLandmarks\":[" + face + "," + face + "],\"faceBlendshapes\":[{}]}");
  ASSERT_EQ(frames.inputs.size(), 2U);
  EXPECT_EQ(frames.inputs[0].source_s, 0.04);
  EXPECT_EQ(frames.reader.Faces()[1].name, "1");
}

TEST(LineReader, ReadsWeightsByNameWithTheHeadsAngles) {
  Lines frames;
  frames.Read(PacketOf("weights.json"));
  ASSERT_EQ(frames.inputs.size(), 1U);
  ExpectAllWeights(frames);
  EXPECT_EQ(frames.inputs[0].head->pitch, 20 * std::numbers::pi / 180);
  frames.Read(R"({"face":"ada","weights":{"jawOpen":0.5,"other":1}})");
  EXPECT_EQ(frames.Weight("jawOpen"), 0.5);
  EXPECT_TRUE(std::isnan(frames.Weight("mouthClose")));
  EXPECT_EQ(frames.Faults(), 1U); // "other"
}

TEST(LineReader, AFaceSaysThatItIsLost) {
  Lines frames;
  frames.Read(PacketOf("points.json"));
  frames.Read(R"({"face":"ada","time":0.5,"lost":true})");
  ASSERT_EQ(frames.inputs.size(), 2U);
  EXPECT_TRUE(frames.inputs[1].lost);
  EXPECT_EQ(frames.inputs[1].face, frames.inputs[0].face);
}

TEST(LineReader, WhatCannotBeUsedIsAFault) {
  Lines frames;
  for (const char* line :
       {"{", "[]", "{}", R"({"points":[[1,2,3]]})", R"({"unit":"image","names":["a"],"points":[[1,2,3]]})",
        R"({"weights":{}})", R"({"points":[[1,2,)", R"({"points":5})", R"({"time":"x","points":[]})",
        "nonsense"})
    frames.Read(line);
  EXPECT_TRUE(frames.inputs.empty());
  EXPECT_EQ(frames.Faults(), 10U);
  frames.Read(""); // an empty line is none
  EXPECT_EQ(frames.Faults(), 10U);
}

TEST(LineReader, NumbersOfPointsNamesAndFacesAreLimited) {
  Lines frames;
  std::string line = "{\"points\":[";
  for (int i = 0; i < 5000; ++i) line += "[1,2,3],";
  frames.Read(line + "null]}");
  EXPECT_EQ(frames.Faults(), 1U);
  Lines crowd;
  for (int i = 0; i < 100; ++i) crowd.Read(fmt::format("{{\"face\":{},\"weights\":{{\"jawOpen\":1}}}}", i));
  EXPECT_EQ(crowd.reader.Faces().size(), PacketReader::kMostFaces);
}

TEST(LineReader, DamagedLinesAreCounted) {
  ReadDamaged<LineReader>(PacketOf("points.json"));
  ReadDamaged<LineReader>(PacketOf("weights.json"));
}

} // namespace

} // namespace mien
