#include "host/fit/head_landmarks.h"

#include "host/fit/shape_basis.h"
#include "tests/host/basis_head.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::HeadLandmarks;
using mien::ReadHeadLandmarks;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string& All() {
  static const std::string all = tests::LandmarksOfBasis(LoadBasis(mien::BuiltInBasis::OneHead));
  return all;
}

std::string Without(const std::string& landmark) {
  std::string text = All();
  const std::size_t at = text.find("\n" + landmark + ",");
  return text.erase(at, text.find('\n', at + 1) - at);
}

std::string Error(const std::string& text) {
  return InputErrorOf([&] { ReadHeadLandmarks(text, "h.landmarks.csv"); });
}

} // namespace

TEST(HeadLandmarks, ARowSaysWhereALandmarkIs) {
  const HeadLandmarks read = ReadHeadLandmarks(Without("lm36") + "36,-0.5,1.5,0.25\n", "h.landmarks.csv");
  ASSERT_TRUE(read.landmarks[36]);
  EXPECT_EQ(read.landmarks[36]->place.x, -0.5);
  EXPECT_EQ(read.landmarks[36]->place.y, 1.5);
  EXPECT_EQ(read.landmarks[36]->place.z, 0.25);
  EXPECT_EQ(read.landmarks[36]->line, 69u);
  EXPECT_EQ(read.landmarks[0]->line, 2u);
  EXPECT_THAT(read.notes, IsEmpty());
}

TEST(HeadLandmarks, OfTheJawOnlyTheChinIsNeeded) {
  EXPECT_FALSE(ReadHeadLandmarks(Without("lm7"), "h.landmarks.csv").landmarks[7]);
  EXPECT_EQ(Error(Without("lm8")),
            "h.landmarks.csv: a landmark is missing: lm8; write a row for lm8 and each of lm17 to lm67");
  EXPECT_THAT(Error("landmark,x,y,z\nlm8,1,2,3\nlm17,1,2,3\n"),
              HasSubstr("50 landmarks are missing: lm18, lm19"));
}

TEST(HeadLandmarks, OtherTablesAreRefused) {
  EXPECT_THAT(Error("point,x,y,z\nlm8,1,2,3\n"),
              HasSubstr("is not a table of a head's landmarks; write the columns"));
  EXPECT_THAT(Error(All() + "lm68,1,2,3\n"),
              HasSubstr(":70: column \"landmark\": \"lm68\" is not one of the 68"));
  EXPECT_THAT(Error(All() + "nose,1,2,3\n"), HasSubstr("\"nose\" is not one of the 68"));
  EXPECT_THAT(Error(All() + "8,1,2,3\n"), HasSubstr("lm8 is in line 10 already"));
  EXPECT_THAT(Error(Without("lm8") + "lm8,1,,3\n"), HasSubstr(":69"));
  EXPECT_THAT(Error("glTF\2\0\0\0"), HasSubstr("h.landmarks.csv"));
}
