#include "host/solve/solve_report_json.h"

#include "host/solve/solve_take.h"
#include "tests/host/decimal_comma.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using mien::FillMethod;
using mien::SolveRecord;
using mien::SolveReport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

using Json = nlohmann::ordered_json;

/// All that a report is written from, every number of it another one.
struct Solved {
  Solved() {
    take = mien::Take({"A", "B", "C"});
    take.file = "takes/smile.c3d", take.name = "smile", take.format = "C3D", take.flavour = "Intel, float";
    take.rate = {30000, 1001};
    take.timecode = mien::Timecode{18, {30, 1}, false};
    take.notes = {{mien::Code::Missing, "", "frames missing: 1 after frame 57"}};
    for (int f = 0; f < 8; ++f) take.AddFrame(50 + 3 * f, 0.1 * f);
    neutral.how = "the median of 92 rest frames";
    neutral.notes = {{mien::Code::Assumed, "", "few frames are at rest"}};
    neutral.frames = {50, 53, 71};
    neutral.spread_mm = {0.5, 0, 0, 1.25};
    options.head_tolerance_mm = 4.5;
    options.fade_s = 0.125;
    options.smooth_positions_hz = 6.25;

    SolveReport& report = solved.report;
    report.frames = 8;
    report.frames_without_head = 11;
    report.left_out = {"NoseL", "H2"};
    report.rigid = {{"H1", 0.25}, {"ear", 0.1}};
    report.head_calmed = 0.875;
    report.anchored = {{3, {"EyeInL", "EyeOutL"}, {0.5, 0.75, 0}}};
    report.neutral_doubts = {{"Mouth.Open", 0.21}, {"LeftEye.Close", 0.125}};
    report.slipped.doubtful_frames = 13;
    report.slipped.markers = {{"H1", 17, 53, 19.125}, {"H3", 23, 71, 0.1}};
    report.head_fills = {{"H1", 2, 40, 30, {0, 0, 0, 0, 31}}};
    report.face_fills = {{"Chin", 5, 90, 41, {0, 1, 2, 3, 4}}, {"LipUp", 0, 0, 0, {}}};
    const char* const names[] = {"Mouth",     "LeftBrow",   "RightBrow",   "LeftEye",     "RightEye",
                                 "LeftCheek", "RightCheek", "LeftNostril", "RightNostril"};
    for (std::size_t p = 0; p < 9; ++p)
      report.parts[p] = {
          names[p],   p + 1, p + 20, p + 30, static_cast<double>(p) / 7, static_cast<double>(p) / 3,
          (p * 5) % 8};
    report.parts[8].markers = 0;
    report.worst_frames = {{5, 2, 7.1}, {0, 4, 1 / 3.0}};
    report.quality.flags = {{mien::FlagKind::Swap, 3, "", {"A", "C"}, 1, 4, 32.5},
                            {mien::FlagKind::Jump, 4, "RightEye.Close", {}, 6, 7, -0.75}};
    report.quality.eye_corners_mm = 91.5;
    report.quality.grade = mien::Grade::Poor;
    for (const std::size_t p : {0u, 2u}) {
      report.quality.share[p] = static_cast<double>(p) / 9;
      report.quality.grades[p] = p == 0 ? mien::Grade::Good : mien::Grade::Poor;
    }
  }

  SolveRecord Record() const {
    return {
        {"solve", "takes/smile.c3d", "-o", "a b.csv"},
        {{"take", "takes/smile.c3d", "00ff"}, {"performer", "landmarks68", ""}, {"output", "a b.csv", "11"}},
        &take,
        &neutral,
        &options,
        &solved.report};
  }
  std::string Written() const {
    std::ostringstream out;
    WriteSolveReport(Record(), out);
    return out.str();
  }
  Json Parsed() const { return Json::parse(Written()); }

  mien::Take take;
  mien::Neutral neutral;
  mien::SolveOptions options;
  mien::SolvedTake solved;
};

std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

} // namespace

TEST(SolveReportJson, HasTheMembersOfItsDescription) {
  const Json json = Solved().Parsed();
  for (const char* key : {"format", "tool", "command", "files", "take", "settings", "neutral", "head",
                          "markers", "quality", "flags", "parts", "worst_frames"})
    EXPECT_TRUE(json.contains(key)) << key;
  EXPECT_EQ(Keys(json)[0], "format");
  EXPECT_EQ(json["format"], "mien report 1");
  EXPECT_THAT(json["tool"].get<std::string>(), HasSubstr("mien "));
  EXPECT_NE(json["tool"], "mien ") << "it has a version";
}

TEST(SolveReportJson, TellsTheCommandAndItsFiles) {
  const Json json = Solved().Parsed();
  EXPECT_EQ(json["command"], Json::parse(R"(["solve", "takes/smile.c3d", "-o", "a b.csv"])"));
  EXPECT_EQ(json["files"], Json::parse(R"({"take": {"name": "takes/smile.c3d", "sha256": "00ff"},
                                           "performer": {"name": "landmarks68", "sha256": "built in"},
                                           "output": {"name": "a b.csv", "sha256": "11"}})"));
}

TEST(SolveReportJson, TellsTheTake) {
  Solved solved;
  const Json json = solved.Parsed()["take"];
  EXPECT_EQ(json["format"], "C3D");
  EXPECT_EQ(json["flavour"], "Intel, float");
  EXPECT_EQ(json["frames"], 8);
  EXPECT_EQ(json["first_frame"], 50);
  EXPECT_EQ(json["last_frame"], 71);
  EXPECT_EQ(json["rate"], "30000/1001");
  EXPECT_EQ(json["timecode"], ToText(*solved.take.timecode));
  EXPECT_EQ(json["markers"], 3);
  EXPECT_EQ(json["notes"], Json::parse(R"(["frames missing: 1 after frame 57"])"));
  solved.take.timecode.reset(), solved.take.notes.clear();
  EXPECT_TRUE(solved.Parsed()["take"]["timecode"].is_null());
  EXPECT_EQ(solved.Parsed()["take"]["notes"], Json::array());
}

// Enough to repeat the solve: plans as the command line takes them, null for what is not done.
TEST(SolveReportJson, TellsTheSettings) {
  Solved solved;
  Json json = solved.Parsed()["settings"];
  EXPECT_EQ(json["head_fit"], "take");
  EXPECT_EQ(json["brows"], "fit");
  EXPECT_EQ(json["fill"], "cubic:0.15,pattern:0.5");
  EXPECT_EQ(json["fill_head"], "pattern:2");
  EXPECT_EQ(json["head_tolerance_mm"], 4.5);
  EXPECT_EQ(json["fade_s"], 0.125);
  EXPECT_EQ(json["smooth_hz"], 6.25);
  EXPECT_TRUE(json["smooth_weights_hz"].is_null());
  EXPECT_FALSE(json.contains("level_lids")); // only where it is asked for
  solved.options.level_lids = true;
  solved.options.head_fit = mien::HeadFit::Markers, solved.options.brows = mien::BrowMethod::Core;
  solved.options.face_fill.clear();
  solved.options.head_tolerance_mm.reset(), solved.options.smooth_positions_hz.reset();
  solved.options.smooth_weights_hz = 7;
  json = solved.Parsed()["settings"];
  EXPECT_EQ(json["head_fit"], "markers");
  EXPECT_EQ(json["brows"], "core");
  EXPECT_EQ(json["fill"], "none");
  EXPECT_TRUE(json["head_tolerance_mm"].is_null());
  EXPECT_TRUE(json["smooth_hz"].is_null());
  EXPECT_EQ(json["smooth_weights_hz"], 7);
  EXPECT_EQ(json["level_lids"], true);
}

TEST(SolveReportJson, ListsTheRangesThatWereApplied) {
  Solved solved;
  EXPECT_FALSE(solved.Parsed().contains("ranges")); // only where there are any
  solved.solved.report.ranges = {{"LeftEye.Close", 0.01, 0.5, 9, true, "9 blinks"}};
  EXPECT_EQ(solved.Parsed()["ranges"],
            Json::parse(R"([{ "template": "LeftEye.Close", "low": 0.01, "high": 0.5 }])"));
}

TEST(SolveReportJson, TellsTheNeutralPose) {
  EXPECT_EQ(Solved().Parsed()["neutral"], Json::parse(R"({
    "from": "the median of 92 rest frames", "frames": [50, 53, 71],
    "spread": [{"part": "Mouth", "spread_mm": 0.5}, {"part": "LeftEye", "spread_mm": 1.25}],
    "doubts": [{"template": "Mouth.Open", "difference": 0.21}, {"template": "LeftEye.Close", "difference": 0.125}],
    "notes": ["few frames are at rest"]})"));
}

TEST(SolveReportJson, TellsTheHead) {
  const Json json = Solved().Parsed()["head"];
  EXPECT_EQ(json["motion_removed"], true);
  EXPECT_EQ(json["fit"], "take");
  EXPECT_EQ(json["rigid_markers"],
            Json::parse(R"([{"marker": "H1", "spread_mm": 0.25}, {"marker": "ear", "spread_mm": 0.1}])"));
  EXPECT_EQ(json["calmed"], 0.875);
  EXPECT_EQ(
      json["anchored_parts"],
      Json::parse(R"([{"part": "LeftEye", "anchors": ["EyeInL", "EyeOutL"], "gain": [0.5, 0.75, 0]}])"));
  EXPECT_EQ(json["frames_without_head"], 11);
  EXPECT_EQ(json["doubtful_frames"], 13);
  ASSERT_THAT(json["slipped"], SizeIs(2));
  EXPECT_EQ(json["slipped"][0],
            Json::parse(R"({"marker": "H1", "frames": 17, "first_frame": 53, "furthest_mm": 19.125})"));
  EXPECT_EQ(json["slipped"][1]["furthest_mm"].get<double>(), 0.1);
  EXPECT_EQ(json["markers"], Json::parse(R"([{"marker": "H1", "gaps": 2, "gap_frames": 40, "longest_gap": 30,
                                              "filled_frames": {"pattern": 31}, "empty_frames": 9}])"));
}

TEST(SolveReportJson, TellsThatTheHeadMarkersAloneFoundTheHead) {
  Solved solved;
  solved.solved.report.rigid.clear(), solved.solved.report.anchored.clear();
  const Json json = solved.Parsed()["head"];
  EXPECT_EQ(json["fit"], "markers");
  EXPECT_EQ(json["rigid_markers"], Json::array());
  EXPECT_EQ(json["anchored_parts"], Json::array());
}

TEST(SolveReportJson, TellsEachMarkersGaps) {
  const Json json = Solved().Parsed();
  EXPECT_EQ(json["markers"],
            Json::parse(R"([{"marker": "Chin", "gaps": 5, "gap_frames": 90, "longest_gap": 41,
                             "filled_frames": {"hold": 1, "linear": 2, "cubic": 3, "pattern": 4}, "empty_frames": 80},
                            {"marker": "LipUp", "gaps": 0, "gap_frames": 0, "longest_gap": 0,
                             "filled_frames": {}, "empty_frames": 0}])"));
  EXPECT_EQ(json["left_out"], Json::parse(R"(["NoseL", "H2"])"));
}

TEST(SolveReportJson, TellsPartsAndWorstFramesByTheirNumbersInTheTake) {
  const Solved solved;
  const Json json = solved.Parsed();
  ASSERT_THAT(json["parts"], SizeIs(9));
  for (std::size_t p = 0; p < 9; ++p) {
    const SolveReport::Part& part = solved.solved.report.parts[p];
    EXPECT_EQ(json["parts"][p]["part"], part.name);
    EXPECT_EQ(json["parts"][p]["markers"], part.markers);
    EXPECT_EQ(json["parts"][p]["rest_frames"], p == 8 ? 8 : part.rest_frames)
        << "without markers it always rests";
    EXPECT_EQ(json["parts"][p]["partly_at_rest_frames"], part.partial_frames);
    EXPECT_EQ(json["parts"][p]["residual_rms_mm"].get<double>(), part.rms_mm);
    EXPECT_EQ(json["parts"][p]["residual_worst_mm"].get<double>(), part.worst_mm);
    EXPECT_EQ(json["parts"][p]["worst_frame"], 50 + 3 * part.worst_frame);
  }
  ASSERT_THAT(json["worst_frames"], SizeIs(2));
  EXPECT_EQ(json["worst_frames"][0]["frame"], 65);
  EXPECT_EQ(json["worst_frames"][0]["time"].get<double>(), solved.take.times[5]);
  EXPECT_EQ(json["worst_frames"][0]["part"], "RightBrow");
  EXPECT_EQ(json["worst_frames"][0]["residual_mm"].get<double>(), 7.1);
  EXPECT_EQ(json["worst_frames"][1]["frame"], 50);
  EXPECT_EQ(json["worst_frames"][1]["residual_mm"].get<double>(), 1 / 3.0);
}

TEST(SolveReportJson, HasTheGradesAndTheirLimits) {
  Solved solved;
  const Json json = solved.Parsed();
  EXPECT_EQ(
      json["quality"],
      Json::parse(R"({"grade": "poor", "eye_corners_mm": 91.5, "good_below": 0.03, "poor_above": 0.1})"));
  EXPECT_EQ(json["parts"][0]["grade"], "good");
  EXPECT_EQ(json["parts"][2]["grade"], "poor");
  EXPECT_EQ(json["parts"][2]["residual_share"].get<double>(), 2 / 9.0);
  EXPECT_TRUE(json["parts"][3]["grade"].is_null());
  EXPECT_TRUE(json["parts"][3]["residual_share"].is_null());
  solved.solved.report.quality = {};
  EXPECT_TRUE(solved.Parsed()["quality"]["grade"].is_null());
  EXPECT_TRUE(solved.Parsed()["quality"]["eye_corners_mm"].is_null());
  EXPECT_EQ(solved.Parsed()["flags"], Json::array());
}

TEST(SolveReportJson, HasTheFlagsByTheirFramesNumbersInTheTake) {
  EXPECT_EQ(Solved().Parsed()["flags"],
            Json::parse(R"([{"kind": "swap", "part": "LeftEye", "template": null, "markers": ["A", "C"],
                             "first_frame": 53, "last_frame": 62, "size": 32.5},
                            {"kind": "jump", "part": "RightEye", "template": "RightEye.Close", "markers": [],
                             "first_frame": 68, "last_frame": 71, "size": -0.75}])"));
}

TEST(SolveReportJson, IsOfARealSolveWhatItSays) {
  Solved record;
  record.take = tests::EmptyTake();
  for (int f = 0; f < 40; ++f)
    tests::Film(record.take, tests::PlainFace(), tests::Motion({}, {1.0 * f, 0, 0}));
  for (std::size_t f = 10; f < 12; ++f) tests::Hide(record.take, f, {"Chin", "H1"});
  record.options = {};
  record.solved = SolveTake(record.take, tests::PlainPerformer(), tests::PlainFace(), record.options);
  const Json json = record.Parsed();
  EXPECT_EQ(json["head"]["markers"][0]["filled_frames"], Json::parse(R"({"pattern": 2})"));
  EXPECT_THAT(json["markers"], SizeIs(tests::PlainPerformer().FaceMarkers().size()));
  EXPECT_EQ(json["worst_frames"].size(), record.solved.report.worst_frames.size());
  for (const Json& frame : json["worst_frames"]) {
    EXPECT_GE(frame["frame"], 1);
    EXPECT_LE(frame["frame"], 40);
  }
}

// --- What must not spoil the file.

TEST(SolveReportJson, NumbersThatAreNoneDoNotSpoilIt) {
  Solved solved;
  solved.solved.report.parts[0].rms_mm = std::numeric_limits<double>::quiet_NaN();
  solved.solved.report.parts[0].worst_mm = std::numeric_limits<double>::infinity();
  solved.solved.report.worst_frames[0].residual_mm = -std::numeric_limits<double>::quiet_NaN();
  solved.solved.report.slipped.markers[0].furthest_mm = -std::numeric_limits<double>::infinity();
  const Json json = solved.Parsed();
  EXPECT_TRUE(json["parts"][0]["residual_rms_mm"].is_null());
  EXPECT_TRUE(json["parts"][0]["residual_worst_mm"].is_null());
  EXPECT_TRUE(json["worst_frames"][0]["residual_mm"].is_null());
  EXPECT_TRUE(json["head"]["slipped"][0]["furthest_mm"].is_null());
  EXPECT_EQ(json["parts"][1]["residual_rms_mm"].get<double>(), 1 / 7.0);
}

TEST(SolveReportJson, NamesThatAreNoUtf8AreShownAllTheSame) {
  Solved solved;
  solved.solved.report.face_fills[0].marker = "Kinn \xe4 \"x\"\n\x01";
  solved.solved.report.left_out = {std::string("a\0b", 3), "\xff\xfe", "眉"};
  solved.take.notes = {{mien::Code::Doubtful, "", "caf\xe9"}};
  solved.neutral.how = "\xc3";
  SolveRecord record = solved.Record();
  record.command = {"\x80"};
  record.files[0].name = "takes/\xe4.c3d";
  std::ostringstream out;
  WriteSolveReport(record, out);
  const Json json = Json::parse(out.str());
  EXPECT_EQ(json["markers"][0]["marker"], "Kinn \uFFFD \"x\"\n\x01");
  EXPECT_EQ(json["left_out"][0], std::string("a\0b", 3));
  EXPECT_EQ(json["left_out"][2], "眉");
  EXPECT_EQ(json["files"]["take"]["name"], "takes/\uFFFD.c3d");
  EXPECT_EQ(json["command"][0], "\uFFFD");
}

TEST(SolveReportJson, IsTheSameInAnyLanguage) {
  const std::string here = Solved().Written();
  const DecimalComma german;
  EXPECT_EQ(Solved().Written(), here);
}

TEST(SolveReportJson, EndsWithTheEndOfALine) {
  const std::string written = Solved().Written();
  EXPECT_EQ(written.back(), '\n');
  EXPECT_NE(written[written.size() - 2], '\n');
  EXPECT_THAT(written, Not(HasSubstr("\r")));
}
