#include "host/weights/result_pose.h"

#include "host/base/rotation.h"
#include "host/weights/read_weights.h"
#include "tests/host/note.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

using mien::HeadAngles;
using mien::ReadWeights;
using mien::WeightTake;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr double kDegree = std::numbers::pi / 180;
const HeadAngles kHead = {.yaw = 20 * kDegree, .pitch = 10 * kDegree, .roll = -5 * kDegree};

/// A head's 16 elements by columns.
std::vector<double> Columns(const HeadAngles& head, const std::vector<double>& place_cm, double scale = 1) {
  const VgeAMatrix turn = RotationBy(head);
  std::vector<double> elements;
  for (const auto& column : turn.m) {
    for (int row = 0; row < 3; ++row) elements.push_back(scale * column[row]);
    elements.push_back(0);
  }
  for (std::size_t i = 0; i < 3; ++i) elements[12 + i] = place_cm[i];
  elements[15] = 1;
  return elements;
}

std::vector<double> Transposed(const std::vector<double>& elements) {
  std::vector<double> transposed;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column) transposed.push_back(elements[4 * column + row]);
  return transposed;
}

std::string Flat(const std::vector<double>& elements) {
  return fmt::format("[{}]", fmt::join(elements, ","));
}

std::string Nested(const std::vector<double>& elements) {
  std::string text;
  for (std::size_t row = 0; row < 4; ++row)
    text += fmt::format("{}[{},{},{},{}]", row > 0 ? "," : "", elements[4 * row], elements[4 * row + 1],
                        elements[4 * row + 2], elements[4 * row + 3]);
  return "[" + text + "]";
}

WeightTake Read(const std::vector<std::string>& matrices,
                const std::string& key = "facialTransformationMatrixes") {
  std::string text;
  for (std::size_t f = 0; f < matrices.size(); ++f)
    text += fmt::format(
        R"({{"timestampMs":{},"faceBlendshapes":[[{{"score":0.5,"category_name":"jawOpen"}}]],"{}":{}}})"
        "\n",
        40 * f, key, matrices[f]);
  return ReadWeights(text, "w");
}

void ExpectHead(const WeightTake& take, std::size_t frame, const HeadAngles& head, double tolerance = 1e-12) {
  ASSERT_GT(take.heads.size(), frame);
  EXPECT_NEAR(take.heads[frame].yaw, head.yaw, tolerance);
  EXPECT_NEAR(take.heads[frame].pitch, head.pitch, tolerance);
  EXPECT_NEAR(take.heads[frame].roll, head.roll, tolerance);
}

} // namespace

TEST(ResultPose, MatricesAreReadInEveryForm) {
  const std::vector<double> columns = Columns(kHead, {1, 2, -50}), still = Columns(kHead, {0, 0, 0});
  for (const std::string& matrix :
       {R"([{"rows":4,"columns":4,"data":)" + Flat(columns) + "}]", "[" + Flat(columns) + "]", Flat(columns),
        "[" + Nested(Transposed(columns)) + "]", Nested(Transposed(columns)),
        "[" + Flat(Transposed(columns)) + "]", // its last row shows that it is by rows
        "[" + Flat(columns) + "," + Flat(Columns({}, {9, 9, 9})) + "]", // the first of two faces
        "[" + Flat(Columns(kHead, {1, 2, -50}, 1.03)) + "]", "[" + Nested(Transposed(still)) + "]",
        "[" + Flat(still) + "]"}) {
    const WeightTake take = Read({matrix});
    ExpectHead(take, 0, kHead);
    EXPECT_EQ(take.weights, std::vector<double>{0.5}) << matrix;
  }
  ExpectHead(Read({Nested(Transposed(columns))}, "facial_transformation_matrix"), 0, kHead);
  EXPECT_THAT(Read({"[]"}).heads, IsEmpty());
}

TEST(ResultPose, TheHeadsPlaceIsInMillimetresFromTheFirst) {
  const WeightTake take = Read(
      {"[" + Flat(Columns({}, {1, 2, -50})) + "]", "[]", "[" + Flat(Columns(kHead, {2, 2, -47.5})) + "]"});
  ASSERT_EQ(take.head_places.size(), 3U);
  EXPECT_EQ(take.head_places[0].z, 0);
  EXPECT_TRUE(std::isnan(take.head_places[1].x) && std::isnan(take.heads[1].yaw));
  EXPECT_DOUBLE_EQ(take.head_places[2].x, 10);
  EXPECT_DOUBLE_EQ(take.head_places[2].y, 0);
  EXPECT_DOUBLE_EQ(take.head_places[2].z, 25);
  EXPECT_EQ(take.angles,
            "of the head from matrices (largest 20 degrees), its place in mm from the first frame's");
}

TEST(ResultPose, WhatIsNotARotationIsIgnored) {
  std::vector<double> skewed = Columns(kHead, {0, 0, -50}), mirrored = skewed, perspective = skewed;
  skewed[4] = 2;
  for (int i = 0; i < 3; ++i) mirrored[static_cast<std::size_t>(i)] *= -1;
  perspective[3] = 0.5;
  for (const std::vector<double>& elements : {skewed, mirrored, perspective, std::vector<double>(16)}) {
    const WeightTake take = Read({"[" + Flat(elements) + "]"});
    EXPECT_THAT(take.heads, IsEmpty());
    EXPECT_THAT(take.notes, Contains(IsNote(mien::Code::InvalidValue, "",
                                            "in 1 frame the head's matrix is not a rotation")));
  }
}

TEST(ResultPose, AnglesOfPhonesAreInDegrees) {
  const auto message = [](int time, bool found) {
    return fmt::format(
        R"({{"Timestamp":{},"FaceFound":{},"Rotation":{{"x":10,"y":20,"z":-5}},"Position":{{"x":1,"y":2,"z":3}},)"
        R"("EyeLeft":{{"x":5,"y":-3,"z":0}},"EyeRight":{{"x":6,"y":-4,"z":0}},)"
        R"("BlendShapes":[{{"k":"JawOpen","v":0.25}}]}})"
        "\n",
        time, found);
  };
  const WeightTake take = ReadWeights(message(0, true) + message(33, false), "w");
  ExpectHead(take, 0, kHead);
  ASSERT_EQ(take.eyes.size(), 2U);
  EXPECT_NEAR(take.eyes[0][0].yaw, -3 * kDegree, 1e-15);
  EXPECT_NEAR(take.eyes[0][1].pitch, 6 * kDegree, 1e-15);
  EXPECT_EQ(take.angles, "degrees (largest 20)");
  EXPECT_THAT(take.notes,
              Contains(Says(HasSubstr("x is taken as pitch downward, y as yaw to the performer's left"))));
  EXPECT_THAT(take.notes,
              Contains(IsNote(mien::Code::Ignored, "", "the head's Position, whose unit is not known")));
  EXPECT_EQ(take.weights[0], 0.25);
  EXPECT_TRUE(std::isnan(take.weights[1]) && std::isnan(take.heads[1].yaw)); // no face
}
