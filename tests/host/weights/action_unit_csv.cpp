#include "host/weights/action_unit_csv.h"

#include "host/character/arkit_names.h"
#include "host/weights/action_units.h"
#include "host/weights/read_weights.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

using mien::ReadWeights;
using mien::WeightTake;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string kTable =
    "frame, face_id, timestamp, confidence, success, AU01_r, AU12_r, AU25_r, AU45_r, AU12_c\n"
    "1, 0, 0.0, 0.98, 1, 5.0, 2.5, 5.0, 0.0, 1\n"
    "2, 0, 0.1, 0.20, 0, 0.0, 0.0, 0.0, 5.0, 0\n"
    "3, 0, 0.2, 0.98, 1, 0.0, 0.0, , 5.0, 0\n";

} // namespace

TEST(ActionUnits, AreEachTheirOwnShapesOfThe52) {
  std::set<std::string_view> seen;
  for (const mien::ActionUnit& unit : mien::kActionUnits)
    for (const std::string_view shape : unit.shapes) {
      if (shape.empty()) continue;
      EXPECT_TRUE(seen.insert(shape).second) << shape;
      EXPECT_THAT(mien::kArkitNames, Contains(shape));
    }
  EXPECT_EQ(std::size(mien::kActionUnits), 17U);
  EXPECT_EQ(seen.size(), 31U);
}

TEST(ActionUnitCsv, IntensitiesOf5AreFullShapesOnBothSides) {
  const WeightTake take = ReadWeights(kTable, "au");
  EXPECT_EQ(take.format, "action unit CSV");
  EXPECT_THAT(take.names,
              ElementsAre("browInnerUp", "mouthSmileLeft", "mouthSmileRight", "mouthLowerDownLeft",
                          "mouthLowerDownRight", "eyeBlinkLeft", "eyeBlinkRight"));
  ASSERT_EQ(take.frames.size(), 3U);
  EXPECT_EQ(take.rate, (mien::FrameRate{10, 1}));
  const double first[] = {1, 0.5, 0.5, 0.5, 0.5, 0, 0};
  for (std::size_t n = 0; n < 7; ++n) {
    EXPECT_EQ(take.Weight(0, n), first[n]) << n;
    EXPECT_TRUE(std::isnan(take.Weight(1, n))) << n; // no face
  }
  EXPECT_TRUE(std::isnan(take.Weight(2, 3))); // an empty cell
  EXPECT_EQ(take.Weight(2, 5), 1);
  EXPECT_THAT(take.notes,
              Contains(IsNote(mien::Code::Assumed, "", "action units of 0 to 5 are taken as 7 shapes")));
}

TEST(ActionUnitCsv, SaysWhatIsNotUsed) {
  const WeightTake take = ReadWeights("timestamp,AU12_r,AU50_r,X_0\n0,1,1,3\n0.1,1,1,3\n", "au");
  EXPECT_THAT(take.notes, Contains(IsNote(mien::Code::Unmatched, "",
                                          "action units that no shape shows, ignored: AU50_r")));
  EXPECT_THAT(take.notes,
              Contains(Says(HasSubstr("the landmarks beside the action units; mien solve reads them"))));
}

TEST(ActionUnitCsv, RowsOutOfOrderFacesAndCutRowsAreReadAsInOtherTables) {
  const std::string rows = "frame,face_id,timestamp,AU12_r\n2,0,0.1,5\n1,0,0,2.5\n1,1,0,1\n";
  EXPECT_THAT(ReadWeights(rows, "au").weights, ElementsAre(0.5, 0.5, 1, 1));
  EXPECT_THAT(ReadWeights(rows, "au", {.face = 1}).weights, ElementsAre(0.2, 0.2));
  for (std::size_t length = 0; length <= rows.size(); ++length) {
    try {
      const WeightTake take = ReadWeights(rows.substr(0, length), "au");
      EXPECT_EQ(take.weights.size(), take.frames.size() * take.names.size()) << length;
    } catch (const mien::InputError&) { EXPECT_LT(length, rows.size()); }
  }
}
