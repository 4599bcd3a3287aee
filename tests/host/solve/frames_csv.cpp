#include "host/solve/frames_csv.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

constexpr double kRests = std::numeric_limits<double>::quiet_NaN();

mien::SolveReport Report() {
  mien::SolveReport report;
  for (std::size_t p = 0; p < 9; ++p) report.parts[p].name = "P" + std::to_string(p);
  report.per_frame = {{{0.1, 1.0 / 3, 2, 0, 0, 0, 0, 0, 0}, 3, true},
                      {{0.2, kRests, 2, 0, 0, 0, 0, kRests, 0}, 0, false}};
  return report;
}

std::string Written(const mien::SolveReport& report, const char* timecode = nullptr) {
  mien::Take take({"A"});
  take.rate = {30, 1};
  if (timecode) take.timecode = mien::ParseTimecode(timecode, take.rate);
  take.AddFrame(5, 0.5);
  take.AddFrame(6, 0.5 + 1.0 / 30);
  std::ostringstream out;
  WriteFramesCsv(take, report, out);
  return out.str();
}

const std::string kHeader =
    "frame,time,timecode,residual_mm.P0,residual_mm.P1,residual_mm.P2,residual_mm.P3,residual_mm.P4,residual_"
    "mm.P5,"
    "residual_mm.P6,residual_mm.P7,residual_mm.P8,filled_markers,resting,flags,head_known\n";

} // namespace

TEST(FramesCsv, HasARowPerFrame) {
  EXPECT_EQ(Written(Report()), kHeader + "5,0.5,,0.1,0.3333333333333333,2,0,0,0,0,0,0,3,,,1\n"
                                         "6,0.5333333333333333,,0.2,,2,0,0,0,0,,0,0,P1 P7,,0\n");
}

TEST(FramesCsv, FlagsAreInEachOfTheirFrames) {
  mien::SolveReport report = Report();
  report.quality.flags = {{.kind = mien::FlagKind::Limit,
                           .part = 0,
                           .weight = "Mouth.Open",
                           .markers = {},
                           .first = 0,
                           .last = 1},
                          {.kind = mien::FlagKind::Swap,
                           .part = 0,
                           .weight = "",
                           .markers = {"lid, in", "lid out"},
                           .first = 1,
                           .last = 1}};
  EXPECT_EQ(Written(report, "23:59:59:29"),
            kHeader + "5,0.5,23:59:59:29,0.1,0.3333333333333333,2,0,0,0,0,0,0,3,,limit:Mouth.Open,1\n"
                      "6,0.5333333333333333,00:00:00:00,0.2,,2,0,0,0,0,,0,0,P1 P7,"
                      "\"limit:Mouth.Open swap:lid,_in/lid_out\",0\n");
}
