#include "host/formats/mesh_space.h"

#include "tests/host/formats/mesh_face.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <vector>

using mien::Code;
using mien::MeshMarkers;
using mien::MeshOptions;
using mien::MeshToMillimetres;
using mien::Point;
using mien::Take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

Take TakeOf(const std::vector<Point>& points) {
  Take take(MeshMarkers(points.size()));
  take.AddFrame(1, 0);
  for (std::size_t i = 0; i < points.size(); ++i) take.Set(0, i, points[i]);
  return take;
}

std::vector<Point> Seen(double width = 640, double height = 360) {
  std::vector<Point> points;
  for (const Point& p : MeshFace()) points.push_back(InImage(p, width, height));
  return points;
}

// Lengths on the face are the face's; where it is does not matter.
void ExpectShape(const Take& take, const std::vector<Point>& face, double scale = 1) {
  const Point* const origin = take.At(0, 1);
  ASSERT_NE(origin, nullptr);
  for (std::size_t i = 0; i < face.size(); ++i) {
    const Point* const p = take.At(0, i);
    ASSERT_NE(p, nullptr) << i;
    constexpr double kRounding = 1e-9; // of a few operations on hundreds of millimetres
    EXPECT_NEAR(p->x - origin->x, scale * (face[i].x - face[1].x), kRounding) << i;
    EXPECT_NEAR(p->y - origin->y, scale * (face[i].y - face[1].y), kRounding) << i;
    EXPECT_NEAR(p->z - origin->z, scale * (face[i].z - face[1].z), kRounding) << i;
  }
}

} // namespace

TEST(MeshSpace, TheImagesShapeIsUndoneAndTheEyesGiveTheScale) {
  Take take = TakeOf(Seen());
  MeshToMillimetres(take, "face.csv", {.image = {{1280, 720}}});
  ExpectShape(take, MeshFace());
  EXPECT_THAT(take.notes, IsEmpty());
  EXPECT_EQ(take.axes, "+y up, along +z out of a face that looks at the camera");

  Take portrait = TakeOf(Seen(360, 640));
  MeshToMillimetres(portrait, "face.csv", {.image = {{720, 1280}}});
  ExpectShape(portrait, MeshFace());
}

TEST(MeshSpace, AnUnknownImageIsTakenAs16To9) {
  Take take = TakeOf(Seen());
  MeshToMillimetres(take, "face.csv", {});
  ExpectShape(take, MeshFace());
  EXPECT_THAT(take.notes,
              ElementsAre(IsNote(Code::Assumed, "", "the image's size is unknown; taken as 16:9")));
}

TEST(MeshSpace, TheFaceWidthGivesTheScale) {
  Take take = TakeOf(Seen());
  MeshToMillimetres(take, "face.csv", {.image = {{1280, 720}}, .face_width_mm = 304});
  ExpectShape(take, MeshFace(), 2); // points 234 and 454 are 152 mm apart
}

TEST(MeshSpace, PixelsAreRecognisedWithDepthInPixelsWidthsOrAnyUnit) {
  const auto pixels = [](double depth) {
    std::vector<Point> points = Seen();
    for (Point& p : points) p = {p.x * 1280, p.y * 720, p.z * depth};
    return points;
  };
  Take in_pixels = TakeOf(pixels(1280));
  MeshToMillimetres(in_pixels, "face.csv", {});
  ExpectShape(in_pixels, MeshFace());
  EXPECT_EQ(in_pixels.unit, "px");
  EXPECT_THAT(in_pixels.notes, IsEmpty());

  Take in_widths = TakeOf(pixels(1));
  MeshToMillimetres(in_widths, "face.csv", {.image = {{1280, 720}}});
  ExpectShape(in_widths, MeshFace());
  EXPECT_THAT(in_widths.notes, IsEmpty());

  // As deep as the canonical face: the nose 0.6466 widths in front of the sides.
  Take unknown = TakeOf(pixels(1));
  MeshToMillimetres(unknown, "face.csv", {});
  EXPECT_NEAR(unknown.At(0, 1)->z - unknown.At(0, 234)->z, 0.6466 * 152, 1e-9);
  EXPECT_THAT(unknown.notes, ElementsAre(IsNote(Code::Assumed, "", "x and y are in pixels and z is not")));
}

TEST(MeshSpace, MirroredVideoBecomesThePerformerAgain) {
  std::vector<Point> face = MeshFace();
  face[61] = {-30, -40, 50}; // the right corner of the mouth is higher
  face[291] = {30, -45, 50};
  std::vector<Point> seen(face.size()); // in a mirror the tracker takes the left side for the right one
  for (std::size_t i = 0; i < face.size(); ++i) {
    Point p = face[mien::MirroredMeshPoint(i)];
    p.x = -p.x;
    seen[i] = InImage(p);
  }
  Take take = TakeOf(seen);
  MeshToMillimetres(take, "face.csv", {.image = {{1280, 720}}, .mirrored = true});
  ExpectShape(take, face);
  Take gap = TakeOf(seen);
  gap.Clear(0, 61); // the tracker's right, the performer's left
  MeshToMillimetres(gap, "face.csv", {.image = {{1280, 720}}, .mirrored = true});
  EXPECT_EQ(gap.At(0, 291), nullptr);
  EXPECT_NE(gap.At(0, 61), nullptr);
}

TEST(MeshSpace, AxesThatPointTheOtherWayAreNoted) {
  std::vector<Point> up = Seen(), away = Seen();
  for (Point& p : up) p.y = 1 - p.y;
  for (Point& p : away) p.z = -p.z;
  const MeshOptions options = {.image = {{1280, 720}}};
  Take first = TakeOf(up), second = TakeOf(away);
  MeshToMillimetres(first, "face.csv", options);
  MeshToMillimetres(second, "face.csv", options);
  EXPECT_THAT(first.notes, ElementsAre(IsNote(Code::Doubtful, "", "the chin is above the forehead")));
  EXPECT_THAT(second.notes, ElementsAre(IsNote(Code::Doubtful, "", "the nose is behind the sides")));
}

TEST(MeshSpace, WithoutAScaleThereIsANoteOrAnError) {
  Take lost = TakeOf(Seen());
  lost.Clear(0, 33);
  MeshToMillimetres(lost, "face.csv", {.image = {{1280, 720}}});
  EXPECT_THAT(lost.notes, ElementsAre(IsNote(Code::Missing, "", "no frame has both points 33 and 263")));

  Take same = TakeOf(std::vector<Point>(478, Point{0.5, 0.5, 0}));
  EXPECT_THAT(InputErrorOf([&] { MeshToMillimetres(same, "face.csv", {}); }),
              HasSubstr("face.csv: the points 33 and 263, which give the scale, are in one place"));
}

TEST(MeshSpace, SizesAndWidthsAreParsedWhole) {
  ASSERT_TRUE(mien::ParseImageSize("1280x720"));
  EXPECT_EQ(mien::ParseImageSize("1280x720")->width, 1280);
  EXPECT_EQ(mien::ParseImageSize("1280X720")->height, 720);
  for (const char* text : {"", "1280", "1280x", "x720", "0x720", "1280x0", "-1x5", "1280x720p", "1280 x 720"})
    EXPECT_FALSE(mien::ParseImageSize(text)) << text;
  EXPECT_EQ(mien::ParseFaceWidth("145.5"), 145.5);
  for (const char* text : {"", "14.5", "49", "401", "-145", "145mm", "nan", "inf"})
    EXPECT_FALSE(mien::ParseFaceWidth(text)) << text;
}
