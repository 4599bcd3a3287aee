#include "host/formats/mesh_long_csv.h"

#include "host/formats/read_take.h"
#include "tests/host/formats/mesh_face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
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

constexpr char kHeader[] = "frame,time_s,face,landmark,x,y,z\n";

// The face's rows, moved to the left, in an image of 640 x 360 mm.
std::string Rows(const std::string& front, double shift, std::size_t points = 478, std::size_t first = 0) {
  const std::vector<Point> face = MeshFace(478);
  std::string text;
  for (std::size_t i = 0; i < points; ++i) {
    const Point p = InImage({face[i % 478].x + shift, face[i % 478].y, face[i % 478].z});
    text += fmt::format("{},{},{},{},{}\n", front, i + first, p.x, p.y, p.z);
  }
  return text;
}

} // namespace

TEST(LongMeshCsv, ARowIsALandmark) {
  for (const std::size_t points : {468u, 478u})
    for (const std::size_t first : {0u, 1u}) {
      const Take take =
          ReadTake(kHeader + Rows("1,0,0", 0, points, first) + Rows("2,0.04,0", 1, points, first), "face.csv",
                   With640x360());
      EXPECT_EQ(take.format, "long mesh CSV");
      EXPECT_EQ(take.MarkerCount(), points);
      EXPECT_EQ(take.rate.Hz(), 25);
      ExpectFace(take, 0, 0);
      ExpectFace(take, 1, 1);
      EXPECT_THAT(take.notes, IsEmpty());
    }
}

TEST(LongMeshCsv, RowsMayBeInAnyOrder) {
  std::string header = kHeader, text = Rows("2,0.04,0", 1) + Rows("1,0,0", 0);
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
    lines.push_back(text.substr(at, text.find('\n', at) + 1 - at));
  std::string shuffled;
  for (std::size_t i = 0; i < lines.size(); ++i)
    shuffled += lines[i * 479 % lines.size()]; // 479 and 956 have no factor
  const Take take = ReadTake(header + shuffled, "face.csv", With640x360());
  ASSERT_EQ(take.FrameCount(), 2u);
  ExpectFace(take, 0, 0);
  ExpectFace(take, 1, 1);
}

TEST(LongMeshCsv, OfSeveralFacesOneIsRead) {
  const std::string text = kHeader + Rows("1,0,0", 0) + Rows("1,0,1", 50);
  EXPECT_THAT(ReadTake(text, "face.csv", With640x360()).notes,
              testing::Contains(Says(HasSubstr("2 faces in the file; read face 0"))));
  ReadOptions options = With640x360();
  options.face = 1;
  ExpectFace(ReadTake(text, "face.csv", options), 0, 50);
  std::string unnumbered = text;
  unnumbered.replace(unnumbered.find("face"), 4, "dice");
  EXPECT_THAT(InputErrorOf([&] { ReadTake(unnumbered, "face.csv"); }),
              HasSubstr("face.csv:480: column \"landmark\": landmark 0 is in its frame twice"));
}

TEST(LongMeshCsv, ALostFaceAndALostLandmarkAreGaps) {
  std::string text = kHeader + Rows("1,0,0", 0) + "2,0.04,0,,,,\n" + Rows("3,0.08,0", 2);
  const std::size_t first = text.find("1,0,0,0,") + 8;
  text.replace(first, text.find('\n', first) - first, ",,");
  const Take take = ReadTake(text, "face.csv", With640x360());
  ASSERT_EQ(take.FrameCount(), 3u);
  EXPECT_EQ(take.At(0, 0), nullptr);
  EXPECT_NE(take.At(0, 1), nullptr);
  for (std::size_t i = 0; i < 478; ++i) EXPECT_EQ(take.At(1, i), nullptr);
  ExpectFace(take, 2, 2);
  EXPECT_THAT(take.notes, IsEmpty());
}

TEST(LongMeshCsv, WhatOnlyLooksLikeItIsRefused) {
  EXPECT_THAT(InputErrorOf([] { ReadTake(kHeader + Rows("1,0,0", 0, 479), "face.csv"); }),
              HasSubstr("the table has landmarks 0 to 478; those of the face mesh are 0 to 467 or 0 to 477"));
  EXPECT_THAT(InputErrorOf([] { ReadTake(kHeader + Rows("1,0,0", 0, 68), "face.csv"); }),
              HasSubstr("the table has landmarks 0 to 67"));
  EXPECT_THAT(InputErrorOf([] { ReadTake("landmark,x,y,z\n0,0.5,0.5,0\n", "face.csv"); }),
              HasSubstr("there is no column \"frame\" that says of which frame"));
}

TEST(LongMeshCsv, WithoutDepthTheFaceIsFlatAndNoted) {
  std::string text = "frame,time_s,landmark,x,y\n";
  const std::vector<Point> face = MeshFace();
  for (std::size_t i = 0; i < face.size(); ++i)
    text += fmt::format("1,0,{},{},{}\n", i, InImage(face[i]).x, InImage(face[i]).y);
  const Take take = ReadTake(text, "face.csv", With640x360());
  for (std::size_t i = 0; i < face.size(); ++i) {
    EXPECT_NEAR(take.At(0, i)->x, 320 + face[i].x, 1e-9); // rounding of the table's decimals
    EXPECT_EQ(take.At(0, i)->z, 0);
  }
  EXPECT_THAT(take.notes, Contains(IsNote(Code::Missing, "", "x, y and z are expected, and the land")));
}

TEST(LongMeshCsv, TimesInAnotherUnitThanTheirNameAreNoted) {
  const auto notes = [](const std::string& name, const std::string& time) {
    return ReadTake("frame," + name + ",landmark,x,y,z\n" + Rows("1,0", 0) + Rows("2," + time, 1), "face.csv",
                    With640x360())
        .notes;
  };
  EXPECT_THAT(notes("time_s", "40"),
              Contains(IsNote(Code::Doubtful, "", "\"time_s\" is expected to be in seconds, and its")));
  EXPECT_THAT(notes("timestamp_ms", "0.04"),
              Contains(IsNote(Code::Doubtful, "", "\"timestamp_ms\" is expected to be in milliseconds")));
  EXPECT_THAT(notes("timestamp_ms", "40"), IsEmpty());
}

TEST(LongMeshCsv, ALastRowThatIsCutIsLeftOut) {
  std::string text = kHeader + Rows("1,0,0", 0) + Rows("2,0.04,0", 1);
  text.resize(text.rfind(',') - 4);
  const Take take = ReadTake(text, "face.csv", With640x360());
  EXPECT_EQ(take.At(1, 477), nullptr);
  EXPECT_NE(take.At(1, 476), nullptr);
  EXPECT_THAT(take.notes, ElementsAre(IsNote(Code::Truncated, "line 957", "the file ends inside the row")));
}
