#include "host/base/face_parts.h"
#include "host/character/character_file.h"
#include "host/files/read_file.h"
#include "host/formats/read_take.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/performer/rigid_head.h"
#include "host/solve/brow_fit.h"
#include "host/solve/character_solver.h"
#include "host/solve/solve_take.h"
#include "mien/face/face.h"
#include "samples/synthetic_performance.h"
#include "tests/character/same_bits.h"
#include "tests/host/global_face_solve.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using mien::Animation;
using mien::Performer;
using mien::Point;
using mien::SolveOptions;
using mien::Take;
using mien::samples::Head;
using testing::UnorderedElementsAre;

namespace {

const std::filesystem::path kFolder = MIEN_SAMPLES_FOLDER;

/// What `mien solve` does by default, and with --head-fit markers --brows core.
const SolveOptions kByDefault;
const SolveOptions kByCore = [] {
  SolveOptions options;
  options.head_fit = mien::HeadFit::Markers, options.brows = mien::BrowMethod::Core;
  return options;
}();
const SolveOptions* const kBoth[] = {&kByDefault, &kByCore};

mien::SolvedTake SolveWhole(const Take& take, const Performer& performer, const SolveOptions& options) {
  CheckMarkers(performer, take);
  std::optional<mien::RigidHead> rigid;
  if (options.head_fit == mien::HeadFit::Take) rigid = LearnRigidHead(take, performer);
  const mien::RigidHead* const head = rigid ? &*rigid : nullptr;
  return SolveTake(take, performer, FindNeutral(take, performer, {}, head).pose, options, head);
}

Animation Solve(const Take& take, const Performer& performer, const SolveOptions& options = kByDefault) {
  return SolveWhole(take, performer, options).animation;
}

Performer Landmarks68() { return mien::LoadPerformer("landmarks68"); }
Performer Synthetic() { return mien::LoadPerformer(kFolder / "markers.performer.json"); }
Take Landmarks() { return mien::ReadTake(kFolder / "landmarks.csv"); }
Take Markers() { return mien::ReadTake(kFolder / "markers.csv"); }

Take Changed(const Take& take, const std::function<Point(const Point&)>& change) {
  Take changed = take;
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (const Point* p = take.At(f, m)) changed.Set(f, m, change(*p));
  return changed;
}

Take WithMarkersInReverse(const Take& take) {
  Take reversed({take.markers.rbegin(), take.markers.rend()});
  reversed.rate = take.rate;
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    reversed.AddFrame(take.frames[f], take.times[f]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (const Point* p = take.At(f, m)) reversed.Set(f, take.MarkerCount() - 1 - m, *p);
  }
  return reversed;
}

Point MirrorImage(const Point& p) { return {-p.x, p.y, p.z}; }

/// The mirrored performer: left becomes right.
Performer MirrorImage(Performer performer) {
  auto& [mouth, left_brow, right_brow, left_eye, right_eye, left_cheek, right_cheek, left_nostril,
         right_nostril] = performer.holders;
  std::swap(mouth[0], mouth[3]); // the corners
  std::swap(left_brow, right_brow), std::swap(left_eye, right_eye);
  std::swap(left_cheek, right_cheek), std::swap(left_nostril, right_nostril);
  for (const auto& [left, right] :
       {std::pair(mien::kLeftBrow, mien::kRightBrow), std::pair(mien::kLeftEye, mien::kRightEye)})
    std::swap(performer.anchors[left], performer.anchors[right]);
  return performer;
}

/// The animation with the columns of left and right exchanged.
Animation MirrorImage(const Animation& animation) {
  const auto other = [](std::string name) {
    if (name.starts_with("Left")) return "Right" + name.substr(4);
    if (name.starts_with("Right")) return "Left" + name.substr(5);
    if (name.starts_with("Mouth.Corners")) name.back() = name.back() == 'L' ? 'R' : 'L';
    return name;
  };
  Animation mirrored = animation;
  for (std::size_t c = 0; c < animation.layout.templates.size(); ++c)
    for (std::size_t d = 0; d < animation.layout.templates.size(); ++d)
      if (animation.layout.templates[d].name == other(animation.layout.templates[c].name))
        for (std::size_t f = 0; f < animation.frames.size(); ++f)
          mirrored.weights[f * animation.layout.templates.size() + c] = animation.Weight(f, d);
  return mirrored;
}

/// What is measured on the points at their exact positions for the known weights:
/// the best possible result of any take. It differs from the known weights where templates share motion.
Animation MeasuredOnExactPoints(const Performer& performer, const SolveOptions& options) {
  Animation measured = mien::samples::KnownWeights();
  constexpr int kMouth = 0, kChinHolder = 4;
  for (std::size_t f = 0; f < measured.frames.size(); ++f) {
    const auto weight = [&](std::size_t c) -> double& {
      return measured.weights[f * measured.layout.templates.size() + c];
    };
    VFaceTemplateState weights;
    for (std::size_t c = 0; c < measured.layout.templates.size(); ++c)
      weights.mParts[measured.layout.templates[c].part].mWeights[measured.layout.templates[c].slot] =
          weight(c);
    VFaceState face;
    GetGlobalFace()->Template2FaceSolve(&face, &weights);
    face.mValid = !performer.holders[kMouth][kChinHolder].empty();
    GetGlobalFace()->Face2TemplateSolve(&weights, &face);
    double* const of_frame = &measured.weights[f * measured.layout.templates.size()];
    for (std::size_t c = 0; c < measured.layout.templates.size(); ++c)
      weight(c) =
          weights.mParts[measured.layout.templates[c].part].mWeights[measured.layout.templates[c].slot];
    if (options.brows == mien::BrowMethod::Fit)
      mien::BrowFit(*GetGlobalFace()).Fit(1, {&face.mParts[0].mPoints[0].x, 0, 4}, {of_frame});
    for (std::size_t c = 0; c < measured.layout.templates.size(); ++c) {
      const int part = measured.layout.templates[c].part;
      const auto& holders = performer.holders[static_cast<std::size_t>(part)];
      const bool at_rest =
          std::all_of(holders.begin(), holders.end(), [](const auto& h) { return h.empty(); });
      if (at_rest) weight(c) = 0;
    }
  }
  return measured;
}

/// "LeftEye.Close" -> "Eye.Close".
std::string WithoutSide(const std::string& column) {
  for (const std::string side : {"Left", "Right"})
    if (column.starts_with(side)) return column.substr(side.size());
  return column;
}

struct Tolerance {
  double most, rms;
};
using Tolerances = std::map<std::string, Tolerance>; // by template, without sides

/// The tolerances with some of them replaced or added.
Tolerances With(Tolerances tolerances, const Tolerances& others) {
  for (const auto& [name, tolerance] : others) tolerances[name] = tolerance;
  return tolerances;
}

/// Compares the columns in `tolerances`, named without sides, over the frames for which `use` is true.
template <class Use>
void ExpectNear(const Animation& solved, const Animation& expected, const Tolerances& tolerances, Use use) {
  ASSERT_EQ(solved.frames, expected.frames);
  std::size_t compared = 0;
  for (std::size_t c = 0; c < solved.layout.templates.size(); ++c) {
    const auto tolerance = tolerances.find(WithoutSide(solved.layout.templates[c].name));
    if (tolerance == tolerances.end()) continue;
    double most = 0, squares = 0;
    std::size_t frames = 0, worst = 0;
    for (std::size_t f = 0; f < solved.frames.size(); ++f) {
      if (!use(f)) continue;
      const double error = std::fabs(solved.Weight(f, c) - expected.Weight(f, c));
      if (!(error <= most)) most = error, worst = f;
      squares += error * error;
      ++frames;
    }
    ASSERT_GT(frames, 0u);
    const double rms = std::sqrt(squares / static_cast<double>(frames));
    EXPECT_LE(most, tolerance->second.most)
        << solved.layout.templates[c].name << " is " << solved.Weight(worst, c) << ", not "
        << expected.Weight(worst, c) << ", in frame " << solved.frames[worst];
    EXPECT_LE(rms, tolerance->second.rms) << solved.layout.templates[c].name;
    ++compared;
  }
  EXPECT_GE(compared, tolerances.size());
}

const auto kAllFrames = [](std::size_t) { return true; };

bool AtRest(const Animation& known, std::size_t frame) {
  for (std::size_t c = 0; c < known.layout.templates.size(); ++c)
    if (known.Weight(frame, c) != 0) return false;
  return true;
}

bool Sneers(const Animation& known, std::size_t frame) {
  for (std::size_t c = 0; c < known.layout.templates.size(); ++c)
    if (WithoutSide(known.layout.templates[c].name) == "Nostril.Up" && known.Weight(frame, c) != 0)
      return true;
  return false;
}

/// The largest angle, in degrees, between the face's forward direction and that of the first frame.
double LargestTurn(const Animation& animation) {
  double smallest_cosine = 1;
  for (const VgeAMatrix& head : animation.heads) {
    double cosine = 0;
    for (int i = 0; i < 3; ++i) cosine += head.m[2][i] * animation.heads[0].m[2][i];
    smallest_cosine = std::min(smallest_cosine, cosine);
  }
  return std::acos(smallest_cosine) * 57.29577951308232;
}

} // namespace

TEST(Samples, AreWhatTheGeneratorWrites) {
  std::vector<std::string> data;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kFolder))
    if (const auto type = entry.path().extension();
        type == ".csv" || type == ".json" || type == ".glb" || type == ".vrm")
      data.push_back(entry.path().lexically_relative(kFolder).generic_string());
  const auto files = mien::samples::SampleFiles();
  EXPECT_THAT(data, UnorderedElementsAre(
                        "avatar.vrm", "avatar0.vrm", "head.glb", "known_head.csv", "known_weights.csv",
                        "landmarks.csv", "markers.csv", "markers.performer.json", "mesh/action_units.csv",
                        "mesh/long.csv", "mesh/planar_pixels.csv", "mesh/result_lines.json",
                        "mesh/results.json", "mesh/talk_phone.csv", "mesh/weights.csv",
                        "mesh/weights_long.csv", "mesh/weights_phone.csv", "mesh/weights_recorded.json",
                        "mesh/wide.csv", "mesh/with_body.csv", "puppet.character.json"));
  ASSERT_EQ(files.size(), data.size() - 1) << "the puppet alone is written by hand";
  for (const auto& [name, bytes] : files)
    EXPECT_TRUE(mien::ReadFile(kFolder / name) == bytes)
        << name << ": run mien_make_samples " << kFolder.string();
}

TEST(Samples, PerformEveryTemplateFirstOneAfterTheOther) {
  const Animation known = mien::samples::KnownWeights();
  for (std::size_t c = 0; c < known.layout.templates.size(); ++c) {
    double most = 0;
    for (std::size_t f = 0; f < known.frames.size(); ++f) most = std::max(most, known.Weight(f, c));
    EXPECT_GE(most, 0.4) << known.layout.templates[c].name;
  }
  constexpr std::int64_t kTalkBegins = 263;
  for (std::size_t f = 0; known.frames[f] < kTalkBegins; ++f) {
    std::set<std::string> performed;
    for (std::size_t c = 0; c < known.layout.templates.size(); ++c)
      if (known.Weight(f, c) != 0) performed.insert(WithoutSide(known.layout.templates[c].name));
    EXPECT_LE(performed.size(), 1u) << "frame " << known.frames[f];
  }
}

// --- How well the solve recovers the performance. The cameras' noise of 0.07 mm has more effect the less a
// template moves: Open moves 33 mm, Close 11, Squint 4, WideOpen 3. In a part's unit of 7 to 11 mm it is 0.01
// per marker, plus the noise of the head.

// Templates measured by motion that no other template shares give the known weight.
TEST(Samples, MarkersReturnTheKnownWeights) {
  const Tolerances tolerances = {
      {"Mouth.Open", {0.015, 0.004}},
      {"Mouth.Square", {0.03, 0.01}},
      {"Mouth.CornersUpR", {0.06, 0.02}},
      {"Mouth.CornersUpL", {0.06, 0.02}},
      {"Brow.Up", {0.05, 0.015}},
      {"Brow.Down", {0.05, 0.015}},
      {"Eye.Close", {0.04, 0.01}},
      {"Eye.Squint", {0.08, 0.02}},
      {"Eye.WideOpen", {0.1, 0.025}},
      {"Nostril.Up", {0.05, 0.01}},
      {"Cheek.Up", {0.025, 0.007}},
      {"Cheek.Out", {0.12, 0.02}}, // a cheek raised by 0.7 reads a seventh as puffed: Up also moves it out
      // Lowered corners are measured by the stroke of Up, which is 7 % shorter. And the mouth's width is
      // measured from the left corner to the right upper lip: a right corner pulled down narrows it and reads
      // as Whistle.
      {"Mouth.CornersDownR", {0.13, 0.02}},
      {"Mouth.CornersDownL", {0.1, 0.02}},
      {"Mouth.Whistle", {0.15, 0.03}}};
  const Animation known = mien::samples::KnownWeights();
  ExpectNear(Solve(Markers(), Synthetic()), known, tolerances, kAllFrames);

  Tolerances by_core = With(tolerances, {{"Mouth.Open", {0.02, 0.005}},
                                         {"Eye.WideOpen", {0.1, 0.03}},
                                         {"Nostril.Up", {0.05, 0.015}},
                                         {"Cheek.Up", {0.04, 0.01}}});
  // By closeness a lowered brow reads 1.5 Down and 0.5 Up.
  by_core.erase("Brow.Up"), by_core.erase("Brow.Down");
  ExpectNear(Solve(Markers(), Synthetic(), kByCore), known, by_core, kAllFrames);
}

// The mouth's templates share motion: what is measured on points without noise or motion of the head is
// closer than what was performed.
TEST(Samples, MarkersReturnWhatIsMeasuredOnExactPoints) {
  const Tolerances tolerances = {
      {"Mouth.Open", {0.015, 0.004}},
      {"Mouth.Whistle",
       {0.07, 0.015}}, // the marker in the middle of the lip does not move in: 5 % are missing
      {"Mouth.CornersUpR", {0.06, 0.02}},
      {"Mouth.CornersUpL", {0.06, 0.02}},
      {"Mouth.CornersDownR", {0.06, 0.02}},
      {"Mouth.CornersDownL", {0.06, 0.02}},
      {"Mouth.Square", {0.03, 0.01}},
      {"Brow.Up", {0.05, 0.015}},
      {"Brow.Down", {0.05, 0.015}},
      {"Eye.Close", {0.04, 0.01}},
      {"Eye.Squint", {0.08, 0.02}},
      {"Eye.WideOpen", {0.1, 0.025}},
      {"Cheek.Up", {0.025, 0.007}},
      {"Cheek.Out", {0.02, 0.005}},
      {"Nostril.Up", {0.05, 0.01}}};
  const Tolerances by_core =
      With(tolerances,
           {{"Mouth.Open", {0.02, 0.005}},
            {"Brow.Up",
             {0.15, 0.05}}, // three points' noise adds up, in units of 2 mm of height, and never cancels
            {"Brow.Down", {0.15, 0.06}},
            {"Eye.WideOpen", {0.1, 0.03}},
            {"Cheek.Up", {0.04, 0.01}},
            {"Nostril.Up", {0.05, 0.015}}});
  // While the middle of the lip is hidden and the mouth changes, a curve replaces it: half a millimetre off,
  // which affects the corners.
  Tolerances with_filled_lip;
  for (const std::string corner : {"UpR", "UpL", "DownR", "DownL"})
    with_filled_lip["Mouth.Corners" + corner] = {0.08, 0.04};
  for (const std::string other : {"Open", "Whistle", "Square"})
    with_filled_lip["Mouth." + other] = tolerances.at("Mouth." + other);
  const Performer performer = Synthetic();
  const Take take = Markers();
  const std::size_t lip = take.FindMarker("LipUpperMid").value();
  for (const SolveOptions* const options : kBoth) {
    const Animation solved = Solve(take, performer, *options),
                    exact = MeasuredOnExactPoints(performer, *options);
    ExpectNear(solved, exact, options == &kByCore ? by_core : tolerances,
               [&](std::size_t f) { return take.At(f, lip) != nullptr; });
    ExpectNear(solved, exact, with_filled_lip, [&](std::size_t f) { return take.At(f, lip) == nullptr; });
  }
}

// Including lost frames, which are filled.
TEST(Samples, LandmarksReturnWhatIsMeasuredOnExactPoints) {
  const Tolerances tolerances = {
      {"Mouth.Open", {0.01, 0.003}},
      // The inner contour is below the face's upper lip points. Its three landmarks are almost equally near
      // to them, so each lip point takes a part of the others' motion, and inward motion cancels: a fifth is
      // lost.
      {"Mouth.Whistle", {0.22, 0.04}},
      {"Mouth.CornersUpR", {0.1, 0.02}}, // a pursed mouth measured too wide moves the corners
      {"Mouth.CornersUpL", {0.1, 0.02}},
      {"Mouth.CornersDownR", {0.08, 0.02}},
      {"Mouth.CornersDownL", {0.08, 0.02}},
      {"Mouth.Square", {0.02, 0.005}},
      {"Brow.Up", {0.05, 0.015}},
      {"Brow.Down", {0.05, 0.015}},
      {"Eye.Close", {0.03, 0.008}},
      {"Eye.Squint", {0.06, 0.017}},
      {"Eye.WideOpen", {0.09, 0.025}},
      {"Cheek.Up", {0, 0}}, // no landmarks, no motion
      {"Cheek.Out", {0, 0}},
      {"Nostril.Up", {0.04, 0.01}}};
  const Performer performer = Landmarks68();
  const Animation known = mien::samples::KnownWeights();
  ExpectNear(Solve(Landmarks(), performer), MeasuredOnExactPoints(performer, kByDefault), tolerances,
             kAllFrames);

  const Tolerances by_core = With(tolerances, {{"Mouth.Open", {0.02, 0.005}},
                                               {"Mouth.Square", {0.03, 0.01}},
                                               {"Brow.Up", {0.15, 0.05}},
                                               {"Brow.Down", {0.15, 0.06}},
                                               {"Eye.Close", {0.04, 0.01}},
                                               {"Eye.Squint", {0.08, 0.02}},
                                               {"Eye.WideOpen", {0.1, 0.03}}});
  // The wings of the nose are head landmarks as well. By the head landmarks alone a sneer tilts the head's
  // frame, which takes a third off the sneer and affects everything else, the brows most of all.
  const Tolerances in_sneers = {
      {"Mouth.Open", {0.04, 0.02}}, {"Mouth.Square", {0.03, 0.01}}, {"Mouth.Whistle", {0.1, 0.03}},
      {"Brow.Up", {0.4, 0.2}},      {"Brow.Down", {0.65, 0.3}},     {"Eye.Close", {0.18, 0.07}},
      {"Eye.Squint", {0.08, 0.03}}, {"Eye.WideOpen", {0.16, 0.05}}, {"Nostril.Up", {0.18, 0.09}}};
  const Animation solved = Solve(Landmarks(), performer, kByCore),
                  exact = MeasuredOnExactPoints(performer, kByCore);
  ExpectNear(solved, exact, by_core, [&](std::size_t f) { return !Sneers(known, f); });
  ExpectNear(solved, exact, in_sneers, [&](std::size_t f) { return Sneers(known, f); });
}

TEST(Samples, TheMeshReturnsWhatIsMeasuredOnExactPoints) {
  const Tolerances tolerances = {
      {"Mouth.Open", {0.01, 0.003}},
      // As on the 68 landmarks: the inner contour is below the face's upper lip points.
      {"Mouth.Whistle", {0.22, 0.04}},
      {"Mouth.CornersUpR", {0.12, 0.02}},
      {"Mouth.CornersUpL", {0.12, 0.02}},
      {"Mouth.CornersDownR", {0.08, 0.02}},
      {"Mouth.CornersDownL", {0.08, 0.02}},
      {"Mouth.Square", {0.02, 0.005}},
      // landmarks478 has only the middle half of the brows: of the whole brow's poses, whose ends move less
      // or more, it reads 0.7 to 1.25.
      {"Brow.Up", {0.25, 0.035}},
      {"Brow.Down", {0.25, 0.035}},
      {"Eye.Close", {0.03, 0.008}},
      {"Eye.Squint", {0.06, 0.017}},
      {"Eye.WideOpen", {0.09, 0.025}},
      {"Cheek.Up", {0.05, 0.01}},
      {"Cheek.Out", {0.05, 0.01}},
      {"Nostril.Up", {0.05, 0.01}}};
  const Performer performer = mien::LoadPerformer("landmarks478");
  ExpectNear(Solve(mien::samples::FilmMesh(), performer), MeasuredOnExactPoints(performer, kByDefault),
             tolerances, kAllFrames);
}

// Points as parts of the image have five decimals, pixels two: that moves a point by up to 0.003 mm, and the
// scale, which follows from two of them, by 0.00006 of the up to 480 mm to the image's edge.
TEST(Samples, EveryLayoutOfTheMeshIsTheSameTake) {
  mien::ReadOptions options;
  options.mesh.image = {1280, 720};
  const Take wide = mien::ReadTake(kFolder / "mesh/wide.csv", options);
  ASSERT_EQ(wide.FrameCount(), 5u);
  EXPECT_EQ(wide.rate.Hz(), 4);
  std::size_t layouts = 0;
  for (const char* name :
       {"long.csv", "planar_pixels.csv", "result_lines.json", "results.json", "with_body.csv"}) {
    const Take take = mien::ReadTake(kFolder / "mesh" / name, options);
    ASSERT_EQ(take.FrameCount(), wide.FrameCount()) << name;
    const bool has_irises = std::string_view(name) != "with_body.csv";
    ASSERT_EQ(take.MarkerCount(), has_irises ? 478u : 468u) << name;
    EXPECT_EQ(take.times == wide.times, has_irises) << name; // the table with the body has no times
    double most = 0;
    for (std::size_t f = 0; f < wide.FrameCount(); ++f)
      for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
        const Point &p = *take.At(f, m), &q = *wide.At(f, m);
        for (const double difference : {p.x - q.x, p.y - q.y, p.z - q.z})
          most = std::max(most, std::fabs(difference));
      }
    EXPECT_LT(most, 0.035) << name;
    ++layouts;
  }
  EXPECT_EQ(layouts, 5u);
}

// Without a chin marker the jaw is measured by the lower lip, and square lips look like an opening jaw.
TEST(Samples, WithoutAChinASquareMouthReadsHalfAsSquareAndAQuarterAsOpen) {
  const Animation known = mien::samples::KnownWeights();
  constexpr std::size_t kOpen = 0, kSquare = 6;
  ASSERT_EQ(known.layout.templates[kOpen].name, "Mouth.Open");
  ASSERT_EQ(known.layout.templates[kSquare].name, "Mouth.Square");
  constexpr std::size_t kFrame = 49; // the peak of the square that is performed separately
  ASSERT_EQ(known.Weight(kFrame, kSquare), 1);
  ASSERT_EQ(known.Weight(kFrame, kOpen), 0);
  for (const SolveOptions* const options : kBoth) {
    const Animation landmarks = Solve(Landmarks(), Landmarks68(), *options),
                    markers = Solve(Markers(), Synthetic(), *options);
    EXPECT_NEAR(landmarks.Weight(kFrame, kOpen), 0.24, 0.02);
    EXPECT_NEAR(landmarks.Weight(kFrame, kSquare), 0.48, 0.02);
    EXPECT_NEAR(markers.Weight(kFrame, kOpen), 0, 0.02);
    EXPECT_NEAR(markers.Weight(kFrame, kSquare), 1, 0.02);
  }
}

TEST(Samples, BrowsRiseAndFallWithThePerformance) {
  const Animation known = mien::samples::KnownWeights();
  for (const Animation& solved :
       {Solve(Markers(), Synthetic()), Solve(Landmarks(), Landmarks68()),
        Solve(Markers(), Synthetic(), kByCore), Solve(Landmarks(), Landmarks68(), kByCore)}) {
    std::size_t steps = 0;
    for (std::size_t c = 0; c < known.layout.templates.size(); ++c) {
      if (!WithoutSide(known.layout.templates[c].name).starts_with("Brow.")) continue;
      for (std::size_t f = 113; f < 150; ++f) { // raised and lowered separately
        const double step = known.Weight(f, c) - known.Weight(f - 1, c);
        if (std::fabs(step) < 0.1) continue; // smaller steps are below the noise
        EXPECT_GT((solved.Weight(f, c) - solved.Weight(f - 1, c)) * step, 0)
            << known.layout.templates[c].name << ", frame " << known.frames[f];
        ++steps;
      }
    }
    EXPECT_GE(steps, 32u);
  }
}

TEST(Samples, AFaceAtRestStaysAtRest) {
  const Animation known = mien::samples::KnownWeights();
  Animation rest = known;
  std::fill(rest.weights.begin(), rest.weights.end(), 0.0);
  const Tolerances tolerances = {{"Mouth.Open", {0.01, 0.005}},
                                 {"Mouth.Whistle", {0.03, 0.01}},
                                 {"Mouth.CornersUpR", {0.04, 0.015}},
                                 {"Mouth.CornersUpL", {0.04, 0.015}},
                                 {"Mouth.CornersDownR", {0.04, 0.015}},
                                 {"Mouth.CornersDownL", {0.04, 0.015}},
                                 {"Mouth.Square", {0.02, 0.005}},
                                 {"Brow.Up", {0.05, 0.015}},
                                 {"Brow.Down", {0.05, 0.015}},
                                 {"Eye.Close", {0.03, 0.01}},
                                 {"Eye.Squint", {0.07, 0.02}},
                                 {"Eye.WideOpen", {0.08, 0.025}},
                                 {"Cheek.Up", {0.03, 0.01}},
                                 {"Cheek.Out", {0.02, 0.005}},
                                 {"Nostril.Up", {0.04, 0.012}}};
  const auto at_rest = [&known](std::size_t f) { return AtRest(known, f); };
  const Tolerances by_core = With(tolerances, {{"Brow.Up", {0.12, 0.06}},
                                               {"Brow.Down", {0.12, 0.06}},
                                               {"Eye.WideOpen", {0.1, 0.03}},
                                               {"Nostril.Up", {0.05, 0.015}}});
  const Take landmarks = Landmarks();
  for (const SolveOptions* const options : kBoth) {
    const Tolerances& most = options == &kByCore ? by_core : tolerances;
    ExpectNear(Solve(Markers(), Synthetic(), *options), rest, most, at_rest);
    ExpectNear(Solve(landmarks, Landmarks68(), *options), rest, most,
               [&](std::size_t f) { return at_rest(f) && landmarks.At(f, 0); });
  }
}

TEST(Samples, LostFramesAreFilled) {
  const Take take = Landmarks();
  const Performer performer = Landmarks68();
  for (const SolveOptions* const options : kBoth) {
    const mien::SolvedTake solved = SolveWhole(take, performer, *options);
    EXPECT_EQ(solved.report.frames_without_head, 4u);
    for (const mien::FilledMarker& fill : solved.report.face_fills) {
      EXPECT_EQ(fill.gap_frames, 4u) << fill.marker;
      EXPECT_EQ(fill.FilledFrames(), 4u) << fill.marker;
    }
    // Nothing jumps there: no step is larger than the largest visible one.
    const Animation& animation = solved.animation;
    std::size_t steps = 0;
    for (std::size_t c = 0; c < animation.layout.templates.size(); ++c) {
      double seen = 0, filled = 0;
      for (std::size_t f = 1; f < take.FrameCount(); ++f) {
        const bool lost = !take.At(f, 0) || !take.At(f - 1, 0);
        double& most = lost ? filled : seen;
        most = std::max(most, std::fabs(animation.Weight(f, c) - animation.Weight(f - 1, c)));
        steps += lost;
      }
      EXPECT_LE(filled, seen) << animation.layout.templates[c].name;
    }
    EXPECT_EQ(steps, 6 * animation.layout.templates.size()) << "into, in and out of two gaps";
  }
}

// --- Invariance.

// Every character in every frame: its expressions may be in the global face's catalogue or
// in its own catalogue.
TEST(Samples, TheCatalogueOfACharactersExpressionsMakesNoDifference) {
  std::vector<mien::Character> characters = {mien::LoadCharacter("arkit52")};
  for (const auto& entry : std::filesystem::directory_iterator(kFolder))
    if (entry.path().filename().string().ends_with(".character.json"))
      characters.push_back(mien::LoadCharacter(entry.path()));
  EXPECT_GE(characters.size(), 2u);
  const Animation animations[] = {Solve(Markers(), Synthetic()), Solve(Landmarks(), Landmarks68()),
                                  mien::samples::KnownWeights()};
  for (const mien::Character& character : characters) {
    std::vector<double> weights;
    mien::ExpressionWeights by_name;
    for (const mien::Character::Expression& expression : character.expressions) {
      weights.push_back(0.3 + 0.1 * static_cast<double>(weights.size()));
      by_name.emplace_back(expression.name, weights.back());
    }
    mien::CharacterSolver solver(character, by_name);
    tests::GlobalFaceSolve by_global_face(character, weights);
    for (const Animation& animation : animations)
      for (std::size_t f = 0; f < animation.frames.size(); ++f) {
        VFaceTemplateState templates;
        for (std::size_t t = 0; t < animation.layout.templates.size(); ++t)
          templates.mParts[animation.layout.templates[t].part].mWeights[animation.layout.templates[t].slot] =
              animation.Weight(f, t);
        ASSERT_TRUE(tests::SameBits(solver.Solve(templates).mWeights, by_global_face.Solve(templates)))
            << character.name << ", frame " << f;
      }
  }
}

// The two recordings differ by the motion and the resulting rounding of the decimals in the files: 0.01 mm
// for the markers, 0.1 mm for the landmarks, some of which are only 17 mm from the middle of the head.
TEST(Samples, TheHeadsMotionIsRemoved) {
  const auto within = [](double most, double rms) {
    Tolerances tolerances;
    for (const auto& column : mien::TemplateColumns()) tolerances[WithoutSide(column.name)] = {most, rms};
    return tolerances;
  };
  for (const SolveOptions* const options : kBoth) {
    const bool by_core = options == &kByCore;
    const Animation markers = Solve(Markers(), Synthetic(), *options);
    const Animation still_markers = Solve(mien::samples::FilmMarkers(Head::Still), Synthetic(), *options);
    EXPECT_GT(LargestTurn(markers), 15);
    EXPECT_LT(LargestTurn(still_markers), 1);
    ExpectNear(markers, still_markers, by_core ? within(0.015, 0.003) : within(0.01, 0.002), kAllFrames);

    const Animation landmarks = Solve(Landmarks(), Landmarks68(), *options);
    const Animation still_landmarks =
        Solve(mien::samples::FilmLandmarks(Head::Still), Landmarks68(), *options);
    EXPECT_GT(LargestTurn(landmarks), 15);
    EXPECT_LT(LargestTurn(still_landmarks), 1);
    ExpectNear(landmarks, still_landmarks, by_core ? within(0.08, 0.02) : within(0.06, 0.015), kAllFrames);
  }
}

// Twice the size is exact in binary, so all bits of the weights are equal.
TEST(Samples, TheSizeOfTheFaceMakesNoDifference) {
  const auto twice = [](const Point& p) { return Point{2 * p.x, 2 * p.y, 2 * p.z}; };
  for (const SolveOptions* const options : kBoth) {
    EXPECT_EQ(Solve(Changed(Markers(), twice), Synthetic(), *options).weights,
              Solve(Markers(), Synthetic(), *options).weights);
    EXPECT_EQ(Solve(Changed(Landmarks(), twice), Landmarks68(), *options).weights,
              Solve(Landmarks(), Landmarks68(), *options).weights);
  }
}

TEST(Samples, TheOrderOfTheMarkersInTheTakeMakesNoDifference) {
  for (const SolveOptions* const options : kBoth) {
    EXPECT_EQ(Solve(WithMarkersInReverse(Markers()), Synthetic(), *options).weights,
              Solve(Markers(), Synthetic(), *options).weights);
    EXPECT_EQ(Solve(WithMarkersInReverse(Landmarks()), Landmarks68(), *options).weights,
              Solve(Landmarks(), Landmarks68(), *options).weights);
  }
}

TEST(Samples, InAMirrorLeftAndRightAreExchanged) {
  constexpr double kRounding = 1e-9; // sums in another order
  Tolerances tolerances;
  for (const auto& column : mien::TemplateColumns())
    tolerances[WithoutSide(column.name)] = {kRounding, kRounding};
  // The mouth's width is measured from the left corner over the upper lip to its right point: motion of one
  // side only counts on one side. In weights this is 0.14 for a fully lowered corner, and the corners are
  // measured after a Whistle of that weight is subtracted.
  tolerances["Mouth.Whistle"] = {0.15, 0.03};
  for (const std::string corner : {"UpR", "UpL", "DownR", "DownL"})
    tolerances["Mouth.Corners" + corner] = {0.08, 0.02};

  const auto mirrored = [](const Take& take) {
    return Changed(take, [](const Point& p) { return MirrorImage(p); });
  };
  for (const SolveOptions* const options : kBoth) {
    ExpectNear(MirrorImage(Solve(mirrored(Markers()), MirrorImage(Synthetic()), *options)),
               Solve(Markers(), Synthetic(), *options), tolerances, kAllFrames);
    ExpectNear(MirrorImage(Solve(mirrored(Landmarks()), MirrorImage(Landmarks68()), *options)),
               Solve(Landmarks(), Landmarks68(), *options), tolerances, kAllFrames);
  }
}
