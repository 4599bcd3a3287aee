#include "host/fit/check_basis.h"

#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>

using mien::CheckBasis;
using mien::Point;
using mien::ShapeBasis;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

ShapeBasis Basis() {
  ShapeBasis basis = LoadBasis(mien::BuiltInBasis::OneHead);
  basis.name = "b.csv";
  return basis;
}

std::size_t Shape(const ShapeBasis& basis, const std::string& name) {
  return static_cast<std::size_t>(std::find(basis.shapes.begin(), basis.shapes.end(), name) -
                                  basis.shapes.begin());
}

Point& Moved(ShapeBasis& basis, std::size_t point, const std::string& shape) {
  return basis.moved[point * basis.shapes.size() + Shape(basis, shape)];
}

std::string Error(ShapeBasis basis) {
  return InputErrorOf([&] { CheckBasis(basis); });
}

} // namespace

TEST(CheckBasis, ABasisThatComesWithTheCommandStaysAsItIs) {
  const ShapeBasis before = Basis();
  ShapeBasis basis = before;
  CheckBasis(basis);
  EXPECT_EQ(basis.shapes, before.shapes);
  EXPECT_EQ(basis.moved.size(), before.moved.size());
  EXPECT_THAT(basis.notes, IsEmpty());
}

TEST(CheckBasis, ShapesThatMoveNothingAreLeftOut) {
  ShapeBasis basis = Basis();
  for (std::size_t p = 0; p < basis.points.size(); ++p) Moved(basis, p, "jawForward") = {0, 0, 0.001};
  const Point before = Moved(basis, 8, "jawOpen");
  CheckBasis(basis);
  EXPECT_EQ(basis.shapes.size(), 50u);
  EXPECT_THAT(basis.shapes, Not(Contains("jawForward")));
  EXPECT_EQ(Moved(basis, 8, "jawOpen").y, before.y) << "the others move what they moved";
  EXPECT_THAT(basis.notes, ElementsAre("left out, since they do not move the face: jawForward"));
}

TEST(CheckBasis, ShapesThatMoveTheFaceInTheSameWayAreLeftOut) {
  ShapeBasis basis = Basis();
  for (std::size_t p = 0; p < basis.points.size(); ++p) {
    const Point& smile = Moved(basis, p, "mouthSmileLeft");
    Moved(basis, p, "mouthSmileRight") = {smile.x / 2, smile.y / 2, smile.z / 2};
  }
  CheckBasis(basis);
  EXPECT_EQ(basis.shapes.size(), 49u);
  EXPECT_THAT(basis.notes, ElementsAre("left out, since they move the face in the same way: mouthSmileLeft, "
                                       "mouthSmileRight"));
}

TEST(CheckBasis, ShapesOfOtherNamesAreLeftOut) {
  ShapeBasis basis = Basis();
  basis.shapes[Shape(basis, "jawOpen")] = "JawOpen";
  CheckBasis(basis);
  EXPECT_EQ(basis.shapes.size(), 50u);
  EXPECT_THAT(basis.notes, ElementsAre("left out, since their names are none of the 52: \"JawOpen\""));
}

TEST(CheckBasis, RefusesABasisWithoutShapes) {
  ShapeBasis basis = Basis();
  std::fill(basis.moved.begin(), basis.moved.end(), Point{0, 0, 0});
  EXPECT_THAT(Error(basis), HasSubstr("b.csv: no shape is left that moves the face in a way of its own; left "
                                      "out, since they do not move the face: eyeBlinkLeft"));
}

TEST(CheckBasis, RefusesABasisWithoutTheLandmarksOfAFace) {
  ShapeBasis basis = Basis();
  basis.points[8] = "chin", basis.points[0] = "ear";
  EXPECT_EQ(Error(basis), "b.csv: landmarks are missing among the points: lm8; add a row for lm8 and each of "
                          "lm17 to lm67");
  basis = Basis();
  for (Point& p : basis.rest) p = {p.x / 1000, p.y / 1000, p.z / 1000};
  EXPECT_EQ(Error(basis),
            "b.csv: the outer corners of the eyes, lm36 and lm45, are 0.08918 mm apart; write millimetres");
  for (const int turn : {0, 1, 2}) {
    basis = Basis();
    for (Point& p : basis.rest)
      p = turn == 0 ? Point{-p.x, p.y, p.z} : turn == 1 ? Point{p.x, p.z, -p.y} : Point{-p.x, p.y, -p.z};
    EXPECT_THAT(Error(basis), HasSubstr("not those of a face whose left is at +x")) << turn;
  }
}
