#include "samples/synthetic_performance.h"

#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "host/read_file.h"
#include "host/solve/solve_take.h"
#include "host/takes/read_take.h"
#include "mien/face/face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::Performer;
using mien::Point;
using mien::Take;
using mien::samples::Head;
using testing::UnorderedElementsAre;

namespace {

const std::filesystem::path kFolder = MIEN_SAMPLES_FOLDER;

Animation Solve(const Take& take, const Performer& performer) {
  CheckMarkers(performer, take);
  return SolveTake(take, performer, FindNeutral(take, performer, {}).pose).animation;
}

Performer Landmarks68() { return mien::FindPerformer("landmarks68"); }
Performer Synthetic() { return mien::FindPerformer(kFolder / "markers.performer.json"); }
Take Landmarks() { return mien::ReadTake(kFolder / "landmarks.csv"); }
Take Markers() { return mien::ReadTake(kFolder / "markers.csv"); }

/// What the library measures on the points themselves when they stand exactly where the known weights put them:
/// the best that any take can give. It differs from the known weights where templates share motion.
Animation MeasuredOnExactPoints(const Performer& performer) {
  Animation measured = mien::samples::KnownWeights();
  constexpr int kMouth = 0, kChinHolder = 4;
  for (std::size_t f = 0; f < measured.frames.size(); ++f) {
    const auto weight = [&](std::size_t c) -> double& { return measured.weights[f * measured.templates.size() + c]; };
    VFaceTemplateState weights;
    for (std::size_t c = 0; c < measured.templates.size(); ++c)
      weights.mParts[measured.templates[c].part].mWeights[measured.templates[c].slot] = weight(c);
    VFaceState face;
    GetGlobalFace()->Template2FaceSolve(&face, &weights);
    face.mValid = !performer.holders[kMouth][kChinHolder].empty();
    GetGlobalFace()->Face2TemplateSolve(&weights, &face);
    for (std::size_t c = 0; c < measured.templates.size(); ++c) {
      const auto& [part, slot, name] = measured.templates[c];
      const auto& holders = performer.holders[static_cast<std::size_t>(part)];
      const bool at_rest = std::all_of(holders.begin(), holders.end(), [](const auto& h) { return h.empty(); });
      weight(c) = at_rest ? 0 : weights.mParts[part].mWeights[slot];
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

/// Compares the columns that `tolerances` names, without sides, over the frames for which `use` is true.
template <class Use>
void ExpectNear(const Animation& solved, const Animation& expected, const std::map<std::string, Tolerance>& tolerances,
                Use use) {
  ASSERT_EQ(solved.frames, expected.frames);
  std::size_t compared = 0;
  for (std::size_t c = 0; c < solved.templates.size(); ++c) {
    const auto tolerance = tolerances.find(WithoutSide(solved.templates[c].name));
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
        << solved.templates[c].name << " is " << solved.Weight(worst, c) << ", not " << expected.Weight(worst, c)
        << ", in frame " << solved.frames[worst];
    EXPECT_LE(rms, tolerance->second.rms) << solved.templates[c].name;
    ++compared;
  }
  EXPECT_GE(compared, tolerances.size());
}

} // namespace

TEST(Samples, PrintFigures) {
  const auto known = mien::samples::KnownWeights();
  const auto lm = Landmarks(), mk = Markers();
  const auto pl = Landmarks68(), pm = Synthetic();
  const auto sl = Solve(lm, pl), sm = Solve(mk, pm);
  const auto slh = Solve(mien::samples::FilmLandmarks(Head::Still), pl), smh = Solve(mien::samples::FilmMarkers(Head::Still), pm);
  const auto el = MeasuredOnExactPoints(pl), em = MeasuredOnExactPoints(pm);
  const auto fig = [&](const Animation& a, const Animation& b, std::size_t c, const Take& t, bool sneer) {
    double most = 0, sq = 0; std::size_t n = 0, w = 0;
    for (std::size_t f = 0; f < a.frames.size(); ++f) {
      if (!t.At(f, 0)) continue;
      if (sneer != (known.Weight(f, 21) > 0 || known.Weight(f, 22) > 0)) continue;
      double e = std::fabs(a.Weight(f, c) - b.Weight(f, c)); if (e > most) most = e, w = f; sq += e * e; ++n;
    }
    printf(" %.3f@%-3zu %.3f |", most, w + 1, std::sqrt(sq / (double)n));
  };
  printf("%-20s | markers: vs known, vs exact, sneer vs exact, head still | same for landmarks\n", "");
  for (std::size_t c = 0; c < known.templates.size(); ++c) {
    printf("%-20s |", known.templates[c].name.c_str());
    fig(sm, known, c, mk, false); fig(sm, em, c, mk, false); fig(sm, em, c, mk, true); fig(sm, smh, c, mk, false);
    fig(sl, known, c, lm, false); fig(sl, el, c, lm, false); fig(sl, el, c, lm, true); fig(sl, slh, c, lm, false);
    puts("");
  }
}
