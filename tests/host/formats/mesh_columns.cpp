#include "host/formats/mesh_columns.h"

#include "host/formats/read_take.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

using mien::ParsePointColumn;

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

TEST(MeshColumns, DerivedAndOtherColumnsAreNoPoints) {
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
  for (const char* text : {"point,0,1\nx_0,0.5,0.5\ny_0,0.4,0.4\n", ",0.00,0.04\nlm0x,0.5,0.5\n"})
    EXPECT_THAT(error(text), testing::HasSubstr("face.csv:2: the table is transposed"));
  EXPECT_THAT(error("a,b\n1,2\n"), testing::HasSubstr("no take of a known format"));
}
