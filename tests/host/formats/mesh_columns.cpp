#include "host/formats/mesh_columns.h"

#include "host/formats/read_take.h"
#include "tests/host/input_error.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

using mien::ParsePointColumn;
using testing::HasSubstr;
using testing::StartsWith;

TEST(MeshColumns, NamesAreFoundInEverySpelling) {
  for (const char* name :
       {"x_17", "x17", "X17", "17_x", "17x", "lm17x", "face_landmark_17_x", "lm_mp_17_x", "feat_17_x",
        "x_face_17", "landmark[17].x", "faceLandmarks 17 X", "v2_17_x", "faceX17", "x[17]", "face:17:x"}) {
    const auto column = ParsePointColumn(name);
    ASSERT_TRUE(column) << name;
    EXPECT_EQ(column->number, 17u) << name;
    EXPECT_EQ(column->axis, 0u) << name;
  }
  EXPECT_EQ(ParsePointColumn("feat_3_z")->axis, 2u);
  EXPECT_EQ(ParsePointColumn("feat_3_z")->family, ParsePointColumn("feat_12_y")->family);
}

TEST(MeshColumns, DerivedAndOtherColumnsAreNotPoints) {
  for (const char* name : {"", "x", "17", "feat_17_xdiff", "feat_17_ztot", "v17", "lm17_visibility", "max_17",
                           "x_17_mean", "x_99999999999999999999999"})
    EXPECT_FALSE(ParsePointColumn(name)) << name;
}

TEST(MeshColumns, PointsOfDifferentTablesAreDifferentFamilies) {
  EXPECT_NE(ParsePointColumn("eye_lmk_x_0")->family, ParsePointColumn("x_0")->family);
  EXPECT_NE(ParsePointColumn("X_0")->family, ParsePointColumn("x_0")->family);
  EXPECT_NE(ParsePointColumn("0_x")->family, ParsePointColumn("x_0")->family);
}

TEST(MeshColumns, ATransposedTableIsRefusedAsWhatItIs) {
  const auto error = [](const std::string& text) {
    return InputErrorOf([&] { mien::ReadTake(text, "face.csv"); });
  };
  for (const auto& [text, line] :
       {std::pair("point,0,1\nx_0,0.5,0.5\ny_0,0.4,0.4\n", 2), std::pair(",0.00,0.04\nlm0x,0.5,0.5\n", 2),
        std::pair("frame,1,2\ntime_s,0,0.04\nemotion,0,0\nx_0,0.5,0.5\n", 4),
        std::pair("x_0,0.5,0.5\ny_0,0.4,0.4\nz_0,0,0\n", 1),
        std::pair("feat_0_x,512,512\nfeat_0_y,300,300\n", 1)})
    EXPECT_THAT(error(text), StartsWith(fmt::format(
                                 "face.csv:{}: the table is transposed: the row has one coordinate of a "
                                 "point in all frames, and a row per frame is expected",
                                 line)))
        << text;
  EXPECT_THAT(error("a,b\n1,2\n"), HasSubstr("not a take of a known format"));
}

TEST(MeshColumns, AMissingPointIsNamedWithWhatIsExpected) {
  const auto error = [](const std::function<bool(std::size_t point, std::size_t axis)>& is_left_out) {
    std::string header = "frame", row = "1";
    for (std::size_t i = 0; i < 478 * 3; ++i)
      if (!is_left_out(i / 3, i % 3)) {
        header += fmt::format(",{}_{}", "xyz"[i % 3], i / 3);
        row += ",0.5";
      }
    return InputErrorOf([&] { mien::ReadTake(header + "\n" + row + "\n", "face.csv"); });
  };
  EXPECT_EQ(error([](std::size_t point, std::size_t) { return point == 200; }),
            "face.csv:1: of the 478 points from 0 to 477, one is missing: 200; x, y and z of each point are "
            "expected, as of point 0 (\"x_0\"); write every point with all its coordinates");
  EXPECT_THAT(error([](std::size_t point, std::size_t) { return point == 200 || point == 300; }),
              HasSubstr("2 are missing: 200, 300; x, y and z"));
  EXPECT_EQ(error([](std::size_t point, std::size_t axis) { return point == 17 && axis == 2; }),
            "face.csv:1: point 17 has no z; x, y and z of each point are expected, as of point 0 (\"x_0\"); "
            "write every point with all its coordinates");
  EXPECT_THAT(error([](std::size_t point, std::size_t axis) { return axis == 2 || point + axis == 18; }),
              HasSubstr("point 17 has no y; x and y of each point are expected, as of point 0"));
}
