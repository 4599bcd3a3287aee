// What `mien solve` does to a take before it is solved, and what it reports: cleaning, clocks and the report
// file.

#include "host/cli/command_line.h"
#include "host/fit/shape_basis.h"
#include "host/gltf/glb.h"
#include "tests/host/basis_head.h"
#include "tests/host/cli/run_mien.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

using mien::ReadFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

using Arguments = std::vector<std::string>;
using Json = nlohmann::ordered_json;

const fs::path kSamples = MIEN_SAMPLES_FOLDER;

Arguments With(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
  if (text.ends_with(separator) && separator == ',') parts.emplace_back(); // an empty field at the end
  return parts;
}

/// A CSV file, to be changed by a column's name.
struct Table {
  std::vector<std::string> names;
  std::vector<std::vector<std::string>> rows;

  explicit Table(const std::string& text) {
    for (const std::string& line : Split(text, '\n')) rows.push_back(Split(line, ','));
    names = rows.front();
    rows.erase(rows.begin());
  }

  std::string Text() const {
    std::string text = fmt::format("{}\n", fmt::join(names, ","));
    for (const auto& row : rows) text += fmt::format("{}\n", fmt::join(row, ","));
    return text;
  }
  std::size_t Column(const std::string& name) const {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) throw std::out_of_range(name);
    return static_cast<std::size_t>(found - names.begin());
  }
  std::string& At(std::size_t row, const std::string& column) { return rows.at(row).at(Column(column)); }
  double Number(std::size_t row, std::size_t column) const { return std::stod(rows.at(row).at(column)); }
};

/// The largest difference between two solves in a column whose name starts like this, in these rows.
double LargestDifference(const Table& a, const Table& b, const std::string& start = "", std::size_t first = 0,
                         std::size_t end = 360) {
  double most = 0;
  for (std::size_t c = 2; c < a.names.size(); ++c)
    if (a.names[c].starts_with(start))
      for (std::size_t f = first; f < end; ++f)
        most = std::max(most, std::fabs(a.Number(f, c) - b.Number(f, c)));
  return most;
}

/// The largest change from a frame to the next.
double LargestStep(const Table& weights, const std::string& start) {
  double most = 0;
  for (std::size_t c = 2; c < weights.names.size(); ++c)
    if (weights.names[c].starts_with(start))
      for (std::size_t f = 1; f < weights.rows.size(); ++f)
        most = std::max(most, std::fabs(weights.Number(f, c) - weights.Number(f - 1, c)));
  return most;
}

/// Solves in a folder of the test's own, which holds the sample markers as markers.csv and their performer.
class SolveCommand : public MienTest {
protected:
  SolveCommand() {
    for (const char* name : {"markers.csv", "markers.performer.json"})
      fs::copy_file(kSamples / name, folder_ / name);
  }

  static Arguments Solve(const std::string& take, const std::string& output, const Arguments& more = {}) {
    return With({"solve", take, "-p", "markers.performer.json", "-o", output}, more);
  }

  Table Markers() const { return Table(Saved("markers.csv")); }

  /// The template weights of a take, and what was printed about it.
  std::pair<Table, std::string> Solved(const std::string& take, const Arguments& more = {}) const {
    const Ran ran = Run(Solve(take, "weights.csv", more));
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    return {Table(Saved("weights.csv")), ran.err};
  }
  Table Weights(const std::string& take, const Arguments& more = {}) const {
    return Solved(take, more).first;
  }

  Json Report(const std::string& take, const Arguments& more = {}) const {
    Solved(take, With(more, {"--report", "report.json"}));
    return Json::parse(Saved("report.json"));
  }

  std::string Sha256Sum(const std::string& name) const {
    const std::string line =
        "cd '" + folder_.string() + "' && sha256sum '" + name + "' | cut -d ' ' -f 1 > .sum";
    EXPECT_EQ(std::system(line.c_str()), 0);
    const std::string sum = Saved(".sum");
    fs::remove(folder_ / ".sum");
    return sum.substr(0, sum.find('\n'));
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  /// The sample as a camera at 30000/1001 Hz would have it, whose first frame is number 1000, 5 s after its
  /// start.
  void WriteNtsc() const {
    Table take = Markers();
    for (std::size_t f = 0; f < take.rows.size(); ++f) {
      take.rows[f][0] = std::to_string(1000 + f);
      take.rows[f][1] = fmt::format("{:.6f}", 5 + static_cast<double>(f) * 1001 / 30000);
    }
    Write("ntsc.csv", take.Text());
  }
};

const Json& Member(const Json& list, const std::string& key, const std::string& name) {
  for (const Json& entry : list)
    if (entry.at(key) == name) return entry;
  throw std::out_of_range(name);
}

} // namespace

// --- The options' forms.

TEST_F(SolveCommand, WhatCannotBeIsRefusedWithTheOptionsNameAndARightForm) {
  struct Case {
    std::string option;
    std::vector<std::string> values;
    std::string form;
  };
  const std::vector<std::string> no_plans = {
      "",          "cubicx",         "Cubic",           "cubic:",     "cubic:-1",
      "cubic:nan", "cubic:0.1s",     "cubic:0.1:2",     "none,cubic", "cubic,none",
      ",",         "cubic,pattern,", "cubic:0.1,,hold", "cubic 0.1",  " cubic",
      "cubic:0,5"};
  const std::vector<std::string> no_numbers = {"",      "0",    "-0", "-1",  "nan", "inf",
                                               "1e999", "many", "1x", "1,5", " 1"};
  const Case cases[] = {
      {"--fill", no_plans, "such as cubic:0.2,pattern:1"},
      {"--fill-head", no_plans, "such as cubic:0.2,pattern:1"},
      {"--head-fit", {"", "Take", "tak", "markers ", "take,markers", "1"}, "is not take or markers"},
      {"--brows", {"", "Fit", "fits", "fit,core", "0"}, "is not fit or core"},
      {"--head-tolerance", no_numbers, "is not a number of MM above 0, such as 6"},
      {"--fade", no_numbers, "is not a number of S above 0, such as 0.25"},
      {"--smooth", no_numbers, "is not a number of HZ above 0, such as 10"},
      {"--smooth-weights", no_numbers, "is not a number of HZ above 0, such as 10"},
      {"--smooth", {"15", "15.5", "1e300"}, "Hz is not below half the take's rate of 30 Hz"},
      {"--smooth-weights", {"15", "15.5", "1e300"}, "Hz is not below half the take's rate of 30 Hz"},
      {"--timecode",
       {"", "10", "10:00:00", "24:00:00:00", "10:60:00:00", "10:00:60:00", "10:00:00:30", "10:00:00:-1",
        "10:00:00:00@", "10:00:00:00@0", "10:00:00:30@30", "10:01:00;00", "10:00:00:00 ", "noon"},
       "is not a timecode; write HH:MM:SS:FF with FF below its rate, which is the take's (30) unless it "
       "follows: "
       "10:02:59:29@30"},
      {"--report", {""}, "the name is empty"},
  };
  const std::vector<std::string> before = Files();
  for (const auto& [option, values, form] : cases)
    for (const std::string& value : values) {
      SCOPED_TRACE(option + " \"" + value + '"');
      const Ran ran = Run(Solve("markers.csv", "w.csv", {option, value}));
      EXPECT_EQ(ran.exit_code, 2);
      EXPECT_THAT(ran.out, IsEmpty());
      EXPECT_THAT(ran.err, AllOf(StartsWith("mien: " + option + ": "), HasSubstr(form),
                                 EndsWith("mien: see mien solve --help\n")));
      EXPECT_THAT(ran.err, testing::AnyOf(HasSubstr('"' + value + '"'), HasSubstr(" Hz is not"),
                                          HasSubstr("the name is empty")));
    }
  EXPECT_EQ(Files(), before);
}

TEST_F(SolveCommand, ToleranceAndKeepingAllContradictEachOther) {
  for (const Arguments& both : {Arguments{"--keep-slipped", "--head-tolerance", "3"},
                                Arguments{"--head-tolerance", "3", "--keep-slipped"}}) {
    const Ran ran = Run(Solve("markers.csv", "w.csv", both));
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, AllOf(HasSubstr("--head-tolerance"), HasSubstr("--keep-slipped")));
  }
}

TEST_F(SolveCommand, ThePerformersNeutralIsFoundByTheHeadFitThatIsAskedFor) {
  const auto save = [&](const std::string& fit) {
    return Run(
        {"performer", "markers.csv", "-p", "markers.performer.json", "--head-fit", fit, "-o", fit + ".json"});
  };
  for (const char* fit : {"take", "markers"}) EXPECT_EQ(save(fit).exit_code, 0) << fit;
  EXPECT_NE(Saved("take.json"), Saved("markers.json"));
  const Ran ran = save("head");
  EXPECT_EQ(ran.exit_code, 2);
  EXPECT_THAT(ran.err, AllOf(StartsWith("mien: --head-fit: "), HasSubstr("\"head\" is not take or markers")));
}

TEST_F(SolveCommand, SettingsAreInTheReportAsGiven) {
  EXPECT_EQ(
      Report("markers.csv")["settings"],
      Json::parse(
          R"({"head_fit": "take", "brows": "fit", "fill": "cubic:0.15,pattern:0.5", "fill_head": "pattern:2", "head_tolerance_mm": 6,
                            "fade_s": 0.25, "smooth_hz": null, "smooth_weights_hz": null})"));
  EXPECT_EQ(
      Report("markers.csv",
             {"--fill", "hold,linear:0.2,cubic:3e-1", "--fill-head", "none", "--head-tolerance", "4.5",
              "--fade", "1", "--smooth", "14.9", "--smooth-weights", "1e-3", "--head-fit", "markers",
              "--brows", "core", "--no-gaze", "--smooth-gaze", "5"})["settings"],
      Json::parse(
          R"({"head_fit": "markers", "brows": "core", "fill": "hold:0.05,linear:0.2,cubic:0.3", "fill_head": "none", "head_tolerance_mm": 4.5,
                            "fade_s": 1, "smooth_hz": 14.9, "smooth_weights_hz": 0.001, "gaze": false, "smooth_gaze_hz": 5})"));
  EXPECT_EQ(Report("markers.csv", {"--keep-slipped"})["settings"]["head_tolerance_mm"], nullptr);
}

// --- Gaze

TEST_F(SolveCommand, TheFramesReportAgreesWithTheReport) {
  const Ran ran = Run({"solve", kSamples / "landmarks.csv", "-p", "landmarks68", "-o", "w.csv", "--report",
                       "r.json", "--frames-report", "f.csv"});
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("wrote      f.csv\n"));
  const Json report = Json::parse(Saved("r.json"));
  Table table(Saved("f.csv"));
  ASSERT_THAT(table.rows, SizeIs(360));
  std::size_t without_head = 0, worst = 0;
  double largest = 0;
  for (std::size_t f = 0; f < table.rows.size(); ++f) {
    EXPECT_EQ(table.At(f, "frame"), std::to_string(f + 1));
    EXPECT_EQ(table.At(f, "residual_mm.LeftCheek"), ""); // no landmarks are on the cheeks
    EXPECT_THAT(table.At(f, "resting"), HasSubstr("LeftCheek"));
    without_head += table.At(f, "head_known") == "0";
    const std::string& mouth = table.At(f, "residual_mm.Mouth");
    EXPECT_EQ(mouth.empty(), table.At(f, "resting").starts_with("Mouth"));
    if (!mouth.empty() && std::stod(mouth) > largest) largest = std::stod(mouth), worst = f;
  }
  EXPECT_EQ(without_head, report["head"]["frames_without_head"]);
  const Json& part = report["parts"][0];
  EXPECT_EQ(part["part"], "Mouth");
  EXPECT_EQ(part["residual_worst_mm"], largest);
  EXPECT_EQ(part["worst_frame"], worst + 1);
}

TEST_F(SolveCommand, WhereTheEyesLookIsReportedAndDrivesTheCharacter) {
  Table table(Saved("markers.csv"));
  table.names.insert(table.names.end(), {"gaze_angle_x", "gaze_angle_y"});
  for (std::size_t f = 0; f < table.rows.size(); ++f)
    table.rows[f].insert(table.rows[f].end(), {f % 60 < 30 ? "0" : "0.3", "0"});
  std::ofstream(folder_ / "looking.csv") << table.Text();
  const Json report = Report("looking.csv");
  EXPECT_EQ(report["gaze"]["from"], "gaze columns");
  EXPECT_EQ(report["gaze"]["rest_frames"], 0);
  EXPECT_EQ(Report("markers.csv")["gaze"], nullptr);
  EXPECT_EQ(Report("looking.csv", {"--no-gaze"})["gaze"], nullptr);
}

// --- The basis of a fit.

TEST_F(SolveCommand, TheShapesAreFittedOnTheUsersHead) {
  mien::ShapeBasis face = mien::LoadBasis(mien::BuiltInBasis::OneHead);
  face.shapes[static_cast<std::size_t>(std::find(face.shapes.begin(), face.shapes.end(), "cheekPuff") -
                                       face.shapes.begin())] = "muzzle";
  for (std::size_t p = 0; p < face.points.size(); ++p) face.moved[p * face.shapes.size()] = {0, 0, 0};
  std::ofstream head(folder_ / "me.glb", std::ios::binary);
  mien::WriteGlb(tests::HeadOfBasis(face), head);
  head.close();
  const Arguments options = {"--character", "arkit52", "--solver", "fit", "--basis", "me.glb"};
  const Ran without = Run(Solve("markers.csv", "w.csv", options));
  EXPECT_EQ(without.exit_code, 1);
  EXPECT_EQ(without.err,
            "mien: me.landmarks.csv: this table says where the landmarks are on the head, and is "
            "missing; write it, with the columns landmark,x,y,z, or name another with "
            "--basis-landmarks\n");
  EXPECT_FALSE(Has("w.csv"));
  Write("me.landmarks.csv", tests::LandmarksOfBasis(face));
  const auto [weights, printed] = Solved("markers.csv", options);
  EXPECT_THAT(printed, AllOf(HasSubstr(" markers on me.glb, which is "),
                             HasSubstr("left out, since they do not move the face: eyeBlinkLeft")));
  const Json report = Report("markers.csv", options);
  EXPECT_EQ(report["fit"]["basis"], "me.glb");
  EXPECT_EQ(report["fit"]["notes"],
            Json::parse(R"(["left out, since they do not move the face: eyeBlinkLeft"])"));
  EXPECT_EQ(report["files"]["basis"]["sha256"], Sha256Sum("me.glb"));
  EXPECT_EQ(report["files"]["basis_landmarks"]["sha256"], Sha256Sum("me.landmarks.csv"));
  // The rest moves as on the built-in face, which the head is made of.
  const Table built_in = Weights("markers.csv", {"--character", "arkit52", "--solver", "fit"});
  EXPECT_LT(LargestDifference(weights, built_in, "jawOpen"), 0.05);
  EXPECT_LT(LargestDifference(weights, built_in, "browInnerUp"), 0.05);
}

// --- Filling.

TEST_F(SolveCommand, GapsAreFilledByTheFirstMethodThatMay) {
  // At 30 Hz LidLowerOutL is gone for 4 frames (0.133 s), LipUpperMid for 7 (0.233 s), BrowMidOutR for 18
  // (0.6 s), CheekLowOutL for 36 (1.2 s).
  struct Case {
    std::string plan, lid, lip, brow, cheek;
  };
  const Case cases[] = {
      {"none", "{}", "{}", "{}", "{}"},
      {"hold:10", R"({"hold": 4})", R"({"hold": 7})", R"({"hold": 18})", R"({"hold": 36})"},
      {"linear:0.22", R"({"linear": 4})", "{}", "{}", "{}"},
      {"linear:0.24", R"({"linear": 4})", R"({"linear": 7})", "{}", "{}"},
      {"cubic:0.2,pattern:0.3,linear:1", R"({"cubic": 4})", R"({"pattern": 7})", R"({"linear": 18})", "{}"},
      {"linear:1e3,cubic:1e3", R"({"linear": 4})", R"({"linear": 7})", R"({"linear": 18})",
       R"({"linear": 36})"},
  };
  for (const auto& [plan, lid, lip, brow, cheek] : cases) {
    const Json markers = Report("markers.csv", {"--fill", plan})["markers"];
    const auto filled = [&](const char* marker) {
      return Member(markers, "marker", marker)["filled_frames"];
    };
    EXPECT_EQ(filled("LidLowerOutL"), Json::parse(lid)) << plan;
    EXPECT_EQ(filled("LipUpperMid"), Json::parse(lip)) << plan;
    EXPECT_EQ(filled("BrowMidOutR"), Json::parse(brow)) << plan;
    EXPECT_EQ(filled("CheekLowOutL"), Json::parse(cheek)) << plan;
  }
}

TEST_F(SolveCommand, HeadMarkersHaveAFillingOfTheirOwn) {
  const auto [filled, printed] = Solved("markers.csv", {"--head-fit", "markers"});
  EXPECT_THAT(printed, HasSubstr("head gaps  26 positions missing, 26 filled (pattern:2)\n"));
  const auto [empty, printed_empty] = Solved("markers.csv", {"--head-fit", "markers", "--fill-head", "none"});
  EXPECT_THAT(printed_empty,
              AllOf(HasSubstr("head gaps  26 positions missing, 0 filled (filling is off)\n"),
                    HasSubstr("in HeadBack (26)\n"), HasSubstr("65 positions missing, 11 filled"),
                    HasSubstr("found in every frame"))); // by the four others
  EXPECT_EQ(LargestDifference(filled, empty, "", 0, 169), 0);
}

// The noise of all rigid markers, filled ones included, decides how far the whole take's head is calmed.
TEST_F(SolveCommand, FillingTheHeadMarkersOfAFittedHeadChangesTheRestOfTheTakeByLittle) {
  const auto [filled, printed] = Solved("markers.csv");
  EXPECT_THAT(printed, HasSubstr("head gaps  26 positions missing, 26 filled (pattern:2)\n"));
  const Table empty = Weights("markers.csv", {"--fill-head", "none"});
  EXPECT_LT(LargestDifference(filled, empty, "", 0, 169), 0.005);
}

// --- Rest.

TEST_F(SolveCommand, APartWithoutMarkersRestsIsReportedAndDoesNotJump) {
  Table take = Markers();
  constexpr std::size_t kFirst = 269, kEnd = 330; // two seconds
  for (const char* marker : {"BrowInL", "BrowInMidL", "BrowMidL", "BrowMidOutL", "BrowOutL"})
    for (const char* axis : {".x", ".y", ".z"})
      for (std::size_t f = kFirst; f < kEnd; ++f) take.At(f, std::string(marker) + axis).clear();
  Write("gap.csv", take.Text());

  const Table whole = Weights("markers.csv");
  const auto [gap, printed] = Solved("gap.csv", {"--report", "report.json"});
  EXPECT_THAT(printed, AllOf(HasSubstr("LeftBrow (61 frames)"), HasSubstr("faded over 0.25 s")));
  const Json report = Json::parse(Saved("report.json"));
  EXPECT_EQ(Member(report["parts"], "part", "LeftBrow")["rest_frames"], 61);
  EXPECT_EQ(Member(report["parts"], "part", "LeftBrow")["partly_at_rest_frames"], 0);
  EXPECT_EQ(Member(report["markers"], "marker", "BrowOutL")["empty_frames"], 61);

  // 0.25 s are 7.5 frames; in between the brow is at rest. The mouth is as it was but for the neutral pose,
  // from which the frames of the gap are missing.
  for (std::size_t c = 0; c < gap.names.size(); ++c)
    for (std::size_t f = kFirst + 8; f < kEnd - 8 && gap.names[c].starts_with("LeftBrow."); ++f)
      EXPECT_NEAR(gap.Number(f, c), 0, 1e-9) << f;
  EXPECT_GT(LargestDifference(whole, gap, "LeftBrow.", kFirst, kEnd), 0.1) << "the brow should have moved";
  EXPECT_LT(LargestDifference(whole, gap, "Mouth."), 1e-3);
  EXPECT_LE(LargestStep(gap, "LeftBrow."), LargestStep(whole, "LeftBrow.") + 1e-3);

  // A longer fade takes longer: eight frames into the gap the brow is not yet at rest.
  const Table slow = Weights("gap.csv", {"--fade", "1"});
  EXPECT_LT(LargestStep(slow, "LeftBrow."), LargestStep(whole, "LeftBrow.") + 1e-3);
  EXPECT_GT(LargestDifference(gap, slow, "LeftBrow.", kFirst + 8, kEnd - 8), 0.01);
}

// --- Slipped head markers.

TEST_F(SolveCommand, ASlippedHeadMarkerIsNamedAndDoesNotTipTheFace) {
  Table take = Markers();
  for (std::size_t f = 99; f < 119; ++f)
    take.At(f, "HeadL.y") = fmt::format("{}", std::stod(take.At(f, "HeadL.y")) + 30);
  Write("slipped.csv", take.Text());

  const Arguments neutral = {"--neutral", "1-8", "--head-fit", "markers"}; // in which nothing has slipped
  const Table right = Weights("markers.csv", neutral);
  const auto [solved, printed] = Solved("slipped.csv", With(neutral, {"--report", "report.json"}));
  EXPECT_THAT(
      printed,
      HasSubstr("HeadL was up to 30.1 mm away from its place and was ignored in 20 frames, first in 100\n"));
  const Json head = Json::parse(Saved("report.json"))["head"];
  ASSERT_THAT(head["slipped"], SizeIs(1));
  EXPECT_EQ(head["slipped"][0]["marker"], "HeadL");
  EXPECT_EQ(head["slipped"][0]["frames"], 20);
  EXPECT_EQ(head["slipped"][0]["first_frame"], 100);
  EXPECT_NEAR(head["slipped"][0]["furthest_mm"].get<double>(), 30, 0.5); // the take's noise is 0.07 mm
  EXPECT_EQ(Member(head["markers"], "marker", "HeadL")["filled_frames"], Json::parse(R"({"pattern": 20})"));
  // Four markers instead of five hold the head, each with its noise.
  EXPECT_LT(LargestDifference(right, solved), 0.1);
  EXPECT_EQ(LargestDifference(right, solved, "", 0, 90), 0);

  const auto [kept, printed_kept] = Solved("slipped.csv", With(neutral, {"--keep-slipped"}));
  EXPECT_THAT(printed_kept, Not(HasSubstr("away from its place")));
  EXPECT_GT(LargestDifference(right, kept), 0.5);
  const auto [tolerated, printed_tolerated] =
      Solved("slipped.csv", With(neutral, {"--head-tolerance", "100"}));
  EXPECT_THAT(printed_tolerated, Not(HasSubstr("away from its place")));
  EXPECT_EQ(LargestDifference(kept, tolerated), 0);
}

TEST_F(SolveCommand, AFittedHeadIsNotTippedByASlippedMarkerEvenIfItIsKept) {
  Table take = Markers();
  for (std::size_t f = 99; f < 119; ++f)
    take.At(f, "HeadL.y") = fmt::format("{}", std::stod(take.At(f, "HeadL.y")) + 30);
  Write("slipped.csv", take.Text());
  const Table right = Weights("markers.csv", {"--neutral", "1-8"});
  const auto [solved, printed] = Solved("slipped.csv", {"--neutral", "1-8"});
  EXPECT_THAT(printed, HasSubstr("HeadL was up to 30.1 mm away from its place"));
  EXPECT_LT(LargestDifference(right, solved), 0.05);
  EXPECT_LT(LargestDifference(right, Weights("slipped.csv", {"--neutral", "1-8", "--keep-slipped"})), 0.05);
}

TEST_F(SolveCommand, AToleranceThatNothingMeetsLeavesAllInAndSaysSo) {
  EXPECT_THAT(Solved("markers.csv", {"--head-tolerance", "0.001"}).second,
              HasSubstr("are not within 0.001 mm of their places, and which of them are wrong is unclear\n"));
}

// --- Smoothing.

TEST_F(SolveCommand, SmoothingMakesStepsSmallerAndIsReported) {
  const Table rough = Weights("markers.csv");
  for (const std::string option : {"--smooth", "--smooth-weights"}) {
    const auto [smooth, printed] = Solved("markers.csv", {option, "3"});
    EXPECT_THAT(printed, HasSubstr(option == "--smooth" ? "smoothed   positions, below 3 Hz\n"
                                                        : "smoothed   template weights, below 3 Hz\n"));
    EXPECT_LT(LargestStep(smooth, "LeftEye."), 0.7 * LargestStep(rough, "LeftEye.")) << option;
    EXPECT_GT(LargestStep(smooth, "LeftEye."), 0.1) << option;
  }
}

TEST_F(SolveCommand, SmoothingAlmostEverythingAwayEndsWell) {
  for (const std::string hz : {"1e-9", "1e-300", "1e-320"}) {
    const Table still = Weights("markers.csv", {"--smooth-weights", hz});
    for (std::size_t c = 2; c < still.names.size(); ++c)
      for (std::size_t f = 0; f < still.rows.size(); ++f)
        ASSERT_TRUE(std::isfinite(still.Number(f, c))) << hz;
  }
}

// --- Reading.

TEST_F(SolveCommand, StrictTurnsANoteIntoAnError) {
  Table take = Markers();
  take.rows.erase(take.rows.begin() + 30, take.rows.begin() + 33);
  Write("dropped.csv", take.Text());
  EXPECT_THAT(Solved("dropped.csv").second, HasSubstr("frames missing: 3 after frame 30\n"));
  const Ran ran = Run(Solve("dropped.csv", "strict.csv", {"--strict"}));
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, StartsWith("mien: dropped.csv: frames missing: 3 after frame 30; "));
  EXPECT_FALSE(Has("strict.csv"));
  EXPECT_EQ(Run(Solve("markers.csv", "strict.csv", {"--strict"})).exit_code, 0) << "a take without notes";
}

TEST_F(SolveCommand, ReadsTheFaceThatIsAskedFor) {
  Table two(ReadFile(kSamples / "landmarks.csv"));
  two.rows.resize(60);
  Table other = two;
  std::reverse(other.rows.begin(), other.rows.end());
  for (std::size_t f = 0; f < 60; ++f)
    std::copy_n(two.rows[f].begin(), 2, other.rows[f].begin()); // frame and time
  Write("face0.csv", two.Text());
  Write("face7.csv", other.Text());
  Table both = two;
  both.names.insert(both.names.begin() + 1, " face_id");
  both.rows.clear();
  for (std::size_t f = 0; f < 60; ++f)
    for (const auto& [table, id] : {std::pair(&two, "0"), std::pair(&other, "7")}) {
      both.rows.push_back(table->rows[f]);
      both.rows.back().insert(both.rows.back().begin() + 1, id);
    }
  Write("both.csv", both.Text());

  const auto solve = [&](const std::string& take, const Arguments& more = {}) {
    return Run(With({"solve", take, "-p", "landmarks68", "-o", "w.csv"}, more));
  };
  EXPECT_EQ(solve("face0.csv").exit_code, 0);
  const std::string face0 = Saved("w.csv");
  EXPECT_EQ(solve("face7.csv").exit_code, 0);
  const std::string face7 = Saved("w.csv");
  EXPECT_NE(face0, face7);
  EXPECT_THAT(solve("both.csv").err, HasSubstr("2 faces in the file; read face_id 0, left out 60 rows"));
  EXPECT_EQ(Saved("w.csv"), face0);
  EXPECT_THAT(solve("both.csv", {"--face", "7"}).err, Not(HasSubstr("2 faces")));
  EXPECT_EQ(Saved("w.csv"), face7);
  const Ran none = solve("both.csv", {"--face", "1"});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_EQ(none.err, "mien: both.csv: there is no face_id 1; those in the file are 0, 7\n");
  EXPECT_EQ(solve("both.csv", {"--strict"}).exit_code, 1);
  EXPECT_EQ(solve("both.csv", {"--strict", "--face", "0"}).exit_code, 0);
}

// --- Clocks.

TEST_F(SolveCommand, OfPointsAndWeightsThePointsAreSolvedAndWeightsAloneAreRefused) {
  for (const char* file :
       {"results.json", "result_lines.json", "wide.csv", "long.csv", "planar_pixels.csv"}) {
    const Ran ran = Run({"solve", kSamples / "mesh" / file, "-p", "landmarks478", "--image", "1280x720",
                         "--neutral", file == std::string("long.csv") ? "0" : "1", "-o", "mesh.csv"});
    ASSERT_EQ(ran.exit_code, 0) << file << ran.err;
    const Table solved(Saved("mesh.csv"));
    const std::size_t open = solved.Column("Mouth.Open");
    ASSERT_EQ(solved.rows.size(), 5u) << file;
    for (const char* side : {"Left", "Right"}) { // a blink of 0.96 in the second frame
      const std::size_t close = solved.Column(side + std::string("Eye.Close"));
      EXPECT_NEAR(solved.Number(1, close), 0.96, 0.03) << file;
      for (const std::size_t row : {0u, 2u, 3u, 4u}) EXPECT_NEAR(solved.Number(row, close), 0, 0.03) << file;
    }
    for (const std::size_t row : {0u, 1u, 2u, 4u}) EXPECT_NEAR(solved.Number(row, open), 0, 0.03) << file;
    EXPECT_NEAR(solved.Number(3, open), 1, 0.03) << file;
  }
  const Ran weights = Run({"solve", kSamples / "mesh/weights.csv", "-p", "landmarks478", "-o", "none.csv"});
  EXPECT_EQ(weights.exit_code, 1);
  EXPECT_THAT(weights.err, HasSubstr("shape weights (scores) and no landmarks"));
  EXPECT_FALSE(Has("none.csv"));
}

TEST_F(SolveCommand, RateFirstFrameAndTimecodeReachEveryOutput) {
  WriteNtsc();
  ASSERT_EQ(Run({"convert", "ntsc.csv", "ntsc.trc"}).exit_code, 0);
  EXPECT_THAT(Saved("ntsc.trc"), HasSubstr("\n29.97\t"));
  ASSERT_EQ(Run({"convert", "ntsc.csv", "ntsc.c3d"}).exit_code, 0);
  for (const std::string take : {"ntsc.csv", "ntsc.trc", "ntsc.c3d"}) {
    SCOPED_TRACE(take);
    const Arguments timecode = {"--timecode", "10:02:59;29"};
    const auto solve = [&](const std::string& output, const Arguments& more) {
      const Ran ran = Run(Solve(take, output, With(timecode, more)));
      EXPECT_EQ(ran.exit_code, 0) << ran.err;
      return Saved(output);
    };
    const Table csv(solve("w.csv", {"--report", "report.json"}));
    EXPECT_THAT(std::vector(csv.names.begin(), csv.names.begin() + 4),
                ElementsAre("frame", "time", "timecode", "Mouth.Open"));
    EXPECT_EQ(csv.rows[0][0], "1000");
    EXPECT_EQ(csv.rows[0][2], "10:02:59;29");
    EXPECT_EQ(csv.rows[1][2], "10:03:00;02"); // 00 and 01 are not numbers of this minute
    EXPECT_EQ(csv.rows[359][0], "1359");

    const Json report = Json::parse(Saved("report.json"))["take"];
    EXPECT_EQ(report["first_frame"], 1000);
    EXPECT_EQ(report["last_frame"], 1359);
    EXPECT_EQ(report["rate"], "30000/1001");
    EXPECT_EQ(report["timecode"], "10:02:59;29@30000/1001");

    const Json json = Json::parse(solve("w.json", {}));
    EXPECT_EQ(json["timecode"], "10:02:59;29@30000/1001");
    EXPECT_EQ(json["rate_fraction"], Json({30000, 1001}));
    EXPECT_EQ(json["rate"], 30000 / 1001.0);
    EXPECT_EQ(json["frames"].front(), 1000);
    EXPECT_EQ(json["frames"].back(), 1359);

    const Json glb = mien::ReadGlb(solve("w.glb", {}), "w.glb").json;
    EXPECT_EQ(
        glb["animations"][0]["extras"],
        Json::parse(R"({"first_frame": 1000, "rate": "30000/1001", "timecode": "10:02:59;29@30000/1001"})"));

    // This format counts sixty a second.
    const Table livelink(solve("l.csv", {"--csv-style", "livelink"}));
    EXPECT_EQ(livelink.rows[0][0], "10:02:59:58.000");
    EXPECT_EQ(livelink.rows[1][0], "10:03:00:00.002");
  }
}

TEST_F(SolveCommand, WithoutATimecodeNoOutputHasOne) {
  WriteNtsc();
  EXPECT_EQ(Weights("ntsc.csv").names[2], "Mouth.Open");
  EXPECT_EQ(Report("ntsc.csv")["take"]["timecode"], nullptr);
  ASSERT_EQ(Run(Solve("ntsc.csv", "w.json")).exit_code, 0);
  EXPECT_FALSE(Json::parse(Saved("w.json")).contains("timecode"));
  ASSERT_EQ(Run(Solve("ntsc.csv", "w.glb")).exit_code, 0);
  EXPECT_EQ(mien::ReadGlb(Saved("w.glb"), "w.glb").json["animations"][0]["extras"],
            Json::parse(R"({"first_frame": 1000, "rate": "30000/1001"})"));
  ASSERT_EQ(Run(Solve("ntsc.csv", "l.csv", {"--csv-style", "livelink"})).exit_code, 0);
  EXPECT_EQ(Table(Saved("l.csv")).rows[0][0], "00:00:05:00.000");
}

TEST_F(SolveCommand, ATimecodeTakesThePlaceOfTheTakesOwn) {
  ASSERT_EQ(Run({"convert", "markers.csv", "own.c3d", "--timecode", "01:00:00:00@25"}).exit_code, 0);
  EXPECT_EQ(Report("own.c3d")["take"]["timecode"], "01:00:00:00@25");
  EXPECT_EQ(Report("own.c3d", {"--timecode", "02:00:00:00"})["take"]["timecode"], "02:00:00:00@30");
}

// --- The report.

TEST_F(SolveCommand, TheReportNamesTheCommandAndEveryFile) {
  for (const char* name : {"head.glb", "puppet.character.json"})
    fs::copy_file(kSamples / name, folder_ / name);
  const Arguments arguments = Solve("markers.csv", "a b.glb",
                                    {"--character", "puppet.character.json", "--onto", "head.glb", "--head",
                                     "face", "--report", "r.json", "--fade=0.5"});
  const Ran ran = Run(arguments);
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, EndsWith("wrote      r.json\n"));
  const Json report = Json::parse(Saved("r.json"));
  EXPECT_EQ(report["format"], "mien report 1");
  EXPECT_EQ(report["tool"].get<std::string>() + "\n", Run({"--version"}).out);
  EXPECT_EQ(report["command"], Json(With({"mien"}, arguments)));
  const Json& files = report["files"];
  EXPECT_THAT(files, SizeIs(5));
  for (const auto& [role, name] : {std::pair("take", "markers.csv"),
                                   {"performer", "markers.performer.json"},
                                   {"character", "puppet.character.json"},
                                   {"head", "head.glb"},
                                   {"output", "a b.glb"}}) {
    EXPECT_EQ(files[role]["name"], name);
    EXPECT_EQ(files[role]["sha256"], Sha256Sum(name)) << name;
  }
}

TEST_F(SolveCommand, TheReportNamesWhatIsBuiltIn) {
  const std::string take = kSamples / "landmarks.csv";
  ASSERT_EQ(Run({"solve", take, "-p", "landmarks68", "-o", "w.csv", "--csv-style", "livelink", "--report",
                 "r.json"})
                .exit_code,
            0);
  const Json files = Json::parse(Saved("r.json"))["files"];
  EXPECT_EQ(files["performer"], Json::parse(R"({"name": "landmarks68", "sha256": "built in"})"));
  EXPECT_EQ(files["character"], Json::parse(R"({"name": "arkit52", "sha256": "built in"})"));
}

TEST_F(SolveCommand, TheReportAndWhatIsPrintedAgree) {
  const std::string printed = Solved("markers.csv", {"--report", "report.json"}).second;
  const Json report = Json::parse(Saved("report.json"));
  EXPECT_EQ(report["take"]["frames"], 360);
  EXPECT_THAT(printed, HasSubstr("360 frames at " + report["take"]["rate"].get<std::string>() + " Hz, " +
                                 std::to_string(report["take"]["markers"].get<int>()) + " markers\n"));
  EXPECT_THAT(printed, HasSubstr("neutral    " + report["neutral"]["from"].get<std::string>() + "\n"));
  EXPECT_EQ(report["take"]["notes"], Json::array());

  const auto reported_of = [&](const char* title, const Json& markers, const Json& plan) {
    int missing = 0, empty = 0;
    for (const Json& marker : markers) {
      missing += marker["gap_frames"].get<int>(), empty += marker["empty_frames"].get<int>();
      int filled = 0;
      for (const auto& [method, frames] : marker["filled_frames"].items()) filled += frames.get<int>();
      EXPECT_EQ(filled + marker["empty_frames"].get<int>(), marker["gap_frames"]);
    }
    EXPECT_THAT(printed, HasSubstr(fmt::format("{:<10} {} positions missing, {} filled ({})\n", title,
                                               missing, missing - empty, plan.get<std::string>())));
  };
  reported_of("head gaps", report["head"]["markers"], report["settings"]["fill_head"]);
  reported_of("gaps", report["markers"], report["settings"]["fill"]);
  EXPECT_THAT(report["markers"], SizeIs(45));
  EXPECT_THAT(report["head"]["markers"], SizeIs(5));
  ASSERT_THAT(report["parts"], SizeIs(9));
  for (const Json& part : report["parts"])
    EXPECT_THAT(printed, HasSubstr(fmt::format("{} {:.2f}", part["part"].get<std::string>(),
                                               part["residual_rms_mm"].get<double>())));
  const Json& worst = report["worst_frames"];
  ASSERT_THAT(worst, SizeIs(10));
  EXPECT_THAT(printed, HasSubstr(fmt::format(
                           "the worst frames are {} ({} {:.1f} mm), ", worst[0]["frame"].get<int>(),
                           worst[0]["part"].get<std::string>(), worst[0]["residual_mm"].get<double>())));
}

// A tracking program that takes one eye's markers for the other's.
TEST_F(SolveCommand, SwappedLidsAreNamedInTheReportAndWhatIsPrinted) {
  EXPECT_THAT(Solved("markers.csv").second,
              AllOf(HasSubstr("grade      good: "), HasSubstr("flags      none\n")));
  Table take(Saved("markers.csv"));
  for (std::size_t f = 100; f < 168; ++f)
    for (const std::string lid : {"LidUpperIn", "LidUpperOut"})
      for (const char* axis : {".x", ".y", ".z"})
        std::swap(take.At(f, lid + "L" + axis), take.At(f, lid + "R" + axis));
  Write("swapped.csv", take.Text());
  const std::string told = Solved("swapped.csv", {"--report", "report.json"}).second;
  EXPECT_THAT(told, HasSubstr("flags      LidUpperInL and LidUpperInR are swapped, frames 101-168\n"
                              "           LidUpperOutL and LidUpperOutR are swapped, frames 101-168\n"));
  const Json report = Json::parse(Saved("report.json"));
  ASSERT_THAT(report["flags"], SizeIs(2));
  EXPECT_EQ(report["flags"][0]["kind"], "swap");
  EXPECT_EQ(report["flags"][0]["part"], "LeftEye");
  EXPECT_EQ(report["flags"][0]["markers"], Json::parse(R"(["LidUpperInL", "LidUpperInR"])"));
  EXPECT_EQ(report["flags"][0]["first_frame"], 101);
  EXPECT_EQ(report["flags"][0]["last_frame"], 168);
  EXPECT_THAT(told, HasSubstr("grade      " + report["quality"]["grade"].get<std::string>() + ": "));
}

TEST_F(SolveCommand, NothingThatIsPrintedOrReportedIsInfiniteOrNoNumber) {
  Run({"performer", "markers.csv", "-p", "markers.performer.json", "-o", "posed.json"});
  const Json posed = Json::parse(Saved("posed.json"));
  const auto expect_numbers = [&](const std::string& what) {
    const Ran ran = Run({"solve", "far.csv", "-p", "far.json", "-o", "w.csv", "--report", "r.json"});
    EXPECT_LE(ran.exit_code, 1) << what;
    EXPECT_THAT(ran.err, Not(testing::ContainsRegex("[^a-z](inf|nan)[^a-z]"))) << what;
    EXPECT_THAT(ran.err, Not(testing::ContainsRegex("[0-9]{12}"))) << what;
    if (ran.exit_code != 0) return;
    const Json report = Json::parse(Saved("r.json"));
    for (const Json& part : report["parts"]) EXPECT_TRUE(part["residual_rms_mm"].is_number()) << what;
  };
  for (const char* far : {"1e155", "-1e300", "1e30", "999999"})
    for (const std::string marker : {"NoseWingL", "HeadL"}) {
      Table take(Saved("markers.csv"));
      take.At(100, marker + ".x") = far;
      Write("far.csv", take.Text()), Write("far.json", posed.dump());
      expect_numbers(marker + " in the take at " + far);
      Json performer = posed;
      performer["neutral"]["positions"][marker][1] = std::stod(far);
      Write("far.csv", Saved("markers.csv")), Write("far.json", performer.dump());
      expect_numbers(marker + " in the neutral pose at " + far);
    }
}

TEST_F(SolveCommand, TheReportIsNeverAnInputNorTheOutput) {
  for (const char* name : {"head.glb", "puppet.character.json"})
    fs::copy_file(kSamples / name, folder_ / name);
  fs::create_symlink("markers.csv", folder_ / "link.csv");
  fs::create_directory(folder_ / "sub");
  Write("there.csv", "former");
  const std::vector<std::string> before = Files();
  const auto report = [&](const std::string& output, const std::string& place, const Arguments& more = {}) {
    return Run(Solve("markers.csv", output, With({"--report", place}, more)));
  };
  const std::string folder = folder_.string();
  const Arguments character = {"-c", "puppet.character.json"}, onto = {"-c", "arkit52", "--onto", "head.glb"};
  const std::pair<Ran, std::string> cases[] = {
      {report("w.csv", "markers.csv"), "the take"},
      {report("w.csv", "./markers.csv"), "the take"},
      {report("w.csv", "link.csv"), "the take"},
      {report("w.csv", folder + "/markers.performer.json"), "the performer file"},
      {report("w.csv", "./puppet.character.json", character), "the character file"},
      {report("w.glb", "./head.glb", onto), "the head"},
      {report("w.csv", "w.csv"), "the output"},
      {report("w.csv", "./w.csv"), "the output"},
      {report("w.csv", "sub/../w.csv"), "the output"},
      {report("./w.csv", folder + "/w.csv"), "the output"},
      {report("there.csv", folder + "/there.csv"), "the output"},
      {report("-", "-"), "the output"},
      {report("/dev/stdout", "-"), "the output"},
  };
  for (const auto& [ran, what] : cases) {
    EXPECT_EQ(ran.exit_code, 2) << what;
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, StartsWith("mien: --report: this is " + what + " itself\n"));
  }
  EXPECT_EQ(Files(), before);
  EXPECT_EQ(Saved("there.csv"), "former");
}

TEST_F(SolveCommand, TheReportGoesToStandardOutputAsWell) {
  const Ran ran = Run(Solve("markers.csv", "w.csv", {"--report", "-"}));
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, EndsWith("wrote      w.csv: 360 frames, 23 templates\n"));
  EXPECT_EQ(Json::parse(ran.out)["files"]["output"]["sha256"], Sha256Sum("w.csv"));
  // Of weights that go there, nobody can read the hash again.
  const Ran weights = Run(Solve("markers.csv", "-", {"--report", "r.json"}));
  EXPECT_EQ(weights.out, Saved("w.csv"));
  EXPECT_FALSE(Json::parse(Saved("r.json"))["files"].contains("output"));
}

TEST_F(SolveCommand, TheReportIsWrittenWithoutAWordWhereQuiet) {
  const Ran ran = Run(Solve("markers.csv", "w.csv", {"--report", "r.json", "-q"}));
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out + ran.err, IsEmpty());
  EXPECT_TRUE(Has("r.json"));
}

// A pipe gives its bytes once: what was read of it is what counts.
TEST_F(SolveCommand, FilesFromPipesAreReported) {
  ASSERT_EQ(mkfifo((folder_ / "take").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo((folder_ / "performer").c_str(), 0600), 0);
  Process take([&] { return Write("take", Saved("markers.csv")).empty(); });
  Process performer([&] { return Write("performer", Saved("markers.performer.json")).empty(); });
  const Ran ran = Run({"solve", "take", "-p", "performer", "-o", "piped.csv", "--report", "r.json"});
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  const Json files = Json::parse(Saved("r.json"))["files"];
  EXPECT_EQ(files["take"]["sha256"], Sha256Sum("markers.csv"));
  EXPECT_EQ(files["performer"]["sha256"], "read from a pipe");
  Weights("markers.csv");
  EXPECT_EQ(Saved("piped.csv"), Saved("weights.csv"));
}

// --- Places that cannot be written to.

TEST_F(SolveCommand, AReportThatCannotBeWrittenIsRefusedBeforeTheTakeIsRead) {
  fs::create_directory(folder_ / "folder.json");
  const std::vector<std::string> before = Files();
  for (const std::string report : {"none/r.json", "folder.json", "markers.csv/r.json", "/proc/r.json"}) {
    const Ran ran = Run(Solve("none.csv", "w.csv", {"--report", report}));
    EXPECT_EQ(ran.exit_code, 1);
    EXPECT_THAT(ran.err, AllOf(StartsWith("mien: " + report + ": "), HasSubstr("; ")));
  }
  EXPECT_EQ(Files(), before);
}

TEST_F(SolveCommand, AFullDiskIsReportedAndWhatIsWholeStays) {
  const Ran report = Run(Solve("markers.csv", "w.csv", {"--report", "/dev/full"}));
  EXPECT_EQ(report.exit_code, 1);
  EXPECT_THAT(report.err, StartsWith("mien: /dev/full: cannot be written: No space left on device; "));
  EXPECT_THAT(Table(Saved("w.csv")).rows, SizeIs(360));
  const Ran output = Run(Solve("markers.csv", "/dev/full", {"--report", "r.json"}));
  EXPECT_EQ(output.exit_code, 1);
  EXPECT_THAT(output.err, StartsWith("mien: /dev/full: cannot be written: No space left on device; "));
  EXPECT_THAT(Files(), ElementsAre("markers.csv", "markers.performer.json", "w.csv"));
}

TEST_F(SolveCommand, AFolderThatMayNotBeWrittenToIsReportedAndStaysAsItIs) {
  fs::create_directory(folder_ / "closed");
  Write("closed/w.csv", "former");
  fs::permissions(folder_ / "closed", fs::perms(0555));
  fs::permissions(folder_ / "closed/w.csv", fs::perms(0444));
  // In this process' child, for an ordinary user may not be let in to where the command is.
  const auto solve = [&](const Arguments& arguments) {
    Process process([&] {
      constexpr uid_t kNobody = 65534;
      std::vector<const char*> argv = {"mien"};
      for (const std::string& argument : arguments) argv.push_back(argument.c_str());
      if (chdir(folder_.c_str()) != 0 || !freopen("err", "w", stderr)) return 127;
      if (geteuid() == 0 && setuid(kNobody) != 0) return 127;
      const int exit_code = mien::RunCommandLine(static_cast<int>(argv.size()), argv.data());
      return std::fflush(stderr) == 0 ? exit_code : 127;
    });
    return process.Wait().exit_code;
  };
  for (const auto& [output, report] :
       {std::pair("closed/w.csv", "-"), {"closed/new.csv", "-"}, {"/dev/null", "closed/r.json"}}) {
    EXPECT_EQ(solve(Solve("markers.csv", output, {"--report", report})), 1);
    const std::string place = report == std::string("-") ? output : report;
    EXPECT_THAT(Saved("err"), StartsWith("mien: " + place + ": cannot be written: Permission denied; "));
  }
  EXPECT_EQ(Saved("closed/w.csv"), "former");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "closed"), fs::directory_iterator()), 1);
  fs::permissions(folder_ / "closed", fs::perms::owner_all);
}

// --- What happens meanwhile. The command has solved the take, and writes more weights into a pipe than fit in it.

namespace {

class SolveIntoAPipe : public SolveCommand {
protected:
  /// What becomes of the command where `meanwhile` happens after the solve, and what it printed.
  std::pair<ProcessEnd, std::string> End(const std::function<void(const Process&)>& meanwhile) const {
    const fs::path pipe = folder_ / "pipe.csv";
    if (mkfifo(pipe.c_str(), 0600) != 0) return {};
    Process process([&] {
      std::signal(SIGINT, SIG_DFL); // whatever this test was started with
      if (chdir(folder_.c_str()) != 0 || !freopen("err", "w", stderr)) return 127;
      execl(MIEN_COMMAND, "mien", "solve", "markers.csv", "-p", "markers.performer.json", "-o", "pipe.csv",
            "--report", "r.json", static_cast<char*>(nullptr));
      return 127;
    });
    std::ifstream weights(pipe, std::ios::binary); // waits for the command to open it
    meanwhile(process);
    std::string rest((std::istreambuf_iterator<char>(weights)), {});
    const ProcessEnd end = process.Wait();
    fs::remove(pipe);
    const std::string printed = Saved("err");
    fs::remove(folder_ / "err");
    return {end, printed};
  }
};

} // namespace

TEST_F(SolveIntoAPipe, AnUndisturbedSolveReportsInTheEnd) {
  const auto [end, printed] = End([](const Process&) {});
  EXPECT_EQ(end.exit_code, 0) << printed;
  EXPECT_FALSE(Json::parse(Saved("r.json"))["files"].contains("output"));
}

TEST_F(SolveIntoAPipe, AnInterruptionLeavesTheFormerReportAndNoLitter) {
  Write("r.json", "former");
  const auto [end, printed] = End([](const Process& process) { process.Send(SIGINT); });
  EXPECT_EQ(end.signal, SIGINT);
  EXPECT_EQ(Saved("r.json"), "former");
  EXPECT_THAT(Files(), ElementsAre("markers.csv", "markers.performer.json", "r.json"));
}

// Before the report is written, the take must still be what was solved.
TEST_F(SolveIntoAPipe, ATakeCutShortMeanwhileIsTheInputsFault) {
  Write("r.json", "former");
  const auto [end, printed] = End([&](const Process&) { fs::resize_file(folder_ / "markers.csv", 0); });
  EXPECT_EQ(end.signal, 0);
  EXPECT_EQ(end.exit_code, 1);
  EXPECT_EQ(
      printed,
      "mien: markers.csv: the file was changed while it was used; try again when nothing writes to it\n");
  EXPECT_EQ(Saved("r.json"), "former");
  EXPECT_THAT(Files(), ElementsAre("markers.csv", "markers.performer.json", "r.json"));
}
