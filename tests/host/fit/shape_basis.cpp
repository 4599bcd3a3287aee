#include "host/fit/shape_basis.h"

#include "host/character/arkit_names.h"
#include "tests/host/input_error.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using mien::BuiltInBasis;
using mien::LoadBasis;
using mien::Point;
using mien::ReadShapeBasis;
using mien::ShapeBasis;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string Error(const std::string& text) {
  return InputErrorOf([&] { ReadShapeBasis(text, "b.csv"); });
}

std::size_t Shape(const ShapeBasis& basis, const std::string& name) {
  return static_cast<std::size_t>(std::find(basis.shapes.begin(), basis.shapes.end(), name) -
                                  basis.shapes.begin());
}

} // namespace

TEST(ShapeBasis, ReadsARowPerPointAndThreeColumnsPerShape) {
  const ShapeBasis basis =
      ReadShapeBasis("point,x,y,z,jawOpen.x,jawOpen.y,jawOpen.z,a.b.x,a.b.y,a.b.z\nlm8,1,2,3,0,-30,-5,4,5,6\n"
                     "p68,7,8,9,0,0,0,1,1,1\n",
                     "b.csv");
  EXPECT_THAT(basis.points, ElementsAre("lm8", "p68"));
  EXPECT_THAT(basis.shapes, ElementsAre("jawOpen", "a.b"));
  EXPECT_EQ(basis.rest[1].y, 8);
  EXPECT_EQ(basis.Moved(0, 0).y, -30);
  EXPECT_EQ(basis.Moved(0, 1).z, 6);
  EXPECT_EQ(basis.Moved(1, 1).x, 1);
}

TEST(ShapeBasis, RefusesOtherTables) {
  EXPECT_THAT(Error("frame,time,A.x,A.y,A.z\n1,0,1,2,3\n"), HasSubstr("is not a table of how points move"));
  EXPECT_THAT(Error("point,x,y,z,a.x,a.y,a.z,b.x\np,1,2,3,1,1,1,1\n"), HasSubstr("not three for each shape"));
  EXPECT_THAT(Error("point,x,y,z,a.x,a.z,a.y\np,1,2,3,1,1,1\n"),
              HasSubstr("column 6 is \"a.z\" and not \"a.y\""));
  EXPECT_THAT(Error("point,x,y,z,a.x,a.y,a.z,a.x,a.y,a.z\n"), HasSubstr("the shape \"a\" occurs twice"));
  EXPECT_THAT(Error("point,x,y,z,a.x,a.y,a.z\n"), HasSubstr("no points"));
  EXPECT_THAT(Error("point,x,y,z,a.x,a.y,a.z\np,1,2,?,1,1,1\n"), HasSubstr("b.csv:2"));
}

TEST(ShapeBasis, TheBuiltInFacesHaveAll52ShapesButTheTongue) {
  for (const BuiltInBasis which : {BuiltInBasis::TwoHeads, BuiltInBasis::OneHead}) {
    const ShapeBasis basis = LoadBasis(which);
    EXPECT_EQ(basis.shapes.size(), 51u);
    for (const std::string_view name : mien::kArkitNames)
      EXPECT_EQ(Shape(basis, std::string(name)) < 51, name != "tongueOut") << name;
    for (std::size_t i = 0; i < 68; ++i) EXPECT_EQ(basis.points[i], fmt::format("lm{}", i));
  }
}

// x to the face's left, y up, z out of it, in millimetres.
TEST(ShapeBasis, TheBuiltInFacesMoveAsTheirShapesSay) {
  for (const BuiltInBasis which : {BuiltInBasis::TwoHeads, BuiltInBasis::OneHead}) {
    const ShapeBasis basis = LoadBasis(which);
    EXPECT_GT(basis.rest[54].x, 15) << "the left corner of the mouth";
    EXPECT_LT(basis.rest[48].x, -15);
    EXPECT_GT(basis.rest[27].y, basis.rest[8].y + 60) << "the nose above the chin";
    EXPECT_GT(basis.rest[30].z, basis.rest[36].z + 20) << "its tip in front of the eyes";
    EXPECT_LT(basis.Moved(8, Shape(basis, "jawOpen")).y, -15);
    EXPECT_GT(basis.Moved(54, Shape(basis, "mouthSmileLeft")).x, 2);
    EXPECT_GT(basis.Moved(54, Shape(basis, "mouthSmileLeft")).y, 2);
    EXPECT_LT(std::abs(basis.Moved(48, Shape(basis, "mouthSmileLeft")).y), 3);
    EXPECT_LT(basis.Moved(43, Shape(basis, "eyeBlinkLeft")).y, -4) << "the left upper lid";
    EXPECT_GT(basis.Moved(21, Shape(basis, "browInnerUp")).y, 2);
  }
}
