#include "tests/host/c_interface/handles.h"

#include <cmath>
#include <filesystem>
#include <limits>

using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Options = std::vector<std::pair<std::string, std::string>>;

/// A take of the samples, and a solver of its frames.
struct Stream {
  TakeHandle take;
  PerformerHandle performer;
  CharacterHandle character;
  FrameSolverHandle solver;
  std::vector<std::size_t> columns; ///< of the solver's markers in the take
  std::vector<double> frame;

  Stream()
      : Stream("markers.csv", LoadPerformer(kSamples / "markers.performer.json"),
               LoadCharacter(kSamples / "puppet.character.json"), {}) {}

  /// Learns from the take itself, or else has the performer's neutral face.
  Stream(const std::string& name, PerformerHandle of, CharacterHandle onto, const Options& options,
         bool learns = true)
      : take(ReadTake(kSamples / name)), performer(std::move(of)), character(std::move(onto)) {
    Errors errors;
    solver.reset(mien_frame_solver_new(performer.get(), learns ? take.get() : nullptr, character.get(),
                                       SettingsOf(MIEN_STEP_SOLVE, options).get(), errors));
    EXPECT_TRUE(solver) << errors.AllText();
    for (std::size_t m = 0; m < mien_frame_solver_marker_count(solver.get()); ++m)
      for (std::size_t c = 0; c < mien_take_marker_count(take.get()); ++c)
        if (std::string(mien_take_marker(take.get(), c)) == mien_frame_solver_marker(solver.get(), m))
          columns.push_back(c);
    EXPECT_EQ(columns.size(), mien_frame_solver_marker_count(solver.get()));
    frame.resize(3 * columns.size());
  }

  double TimeOf(std::size_t f) const { return At<double>(ArrayOf(take, MIEN_TAKE_TIMES), {f}); }

  mien_status Solve(std::size_t f, mien_messages** errors = nullptr) {
    const mien_array positions = ArrayOf(take, MIEN_TAKE_POSITIONS);
    const double* const row = static_cast<const double*>(positions.data) + f * positions.shape[1] * 3;
    for (std::size_t m = 0; m < columns.size(); ++m)
      for (std::size_t axis = 0; axis < 3; ++axis) frame[3 * m + axis] = row[3 * columns[m] + axis];
    return mien_frame_solver_solve(solver.get(), frame.data(), columns.size(), TimeOf(f), errors);
  }

  /// How many numbers of the solver's frames are, to the bit, those of a causal solve of the take.
  std::size_t ExpectFramesOf(const AnimationHandle& animation) {
    std::size_t compared = 0;
    for (std::size_t f = 0; f < mien_take_frame_count(take.get()); ++f) {
      EXPECT_EQ(Solve(f), MIEN_OK);
      for (const auto& [own, whole] : tests::kFrameArrays) {
        const mien_array all = ArrayOf(animation, whole);
        if (!all.data) continue;
        const std::vector<double> expected = ValuesOf(FrameOf(all, f)), got = ValuesOf(ArrayOf(solver, own));
        EXPECT_EQ(got.size(), expected.size()) << own;
        const bool same = std::memcmp(got.data(), expected.data(), sizeof(double) * expected.size()) == 0;
        EXPECT_TRUE(same) << "array " << own << " of frame " << f;
        if (!same) return 0;
        compared += expected.size();
      }
    }
    return compared;
  }
};

/// What `mien solve --causal` writes, learned from the same take.
AnimationHandle CausalSolve(const Stream& stream, const std::string& name, Options options,
                            bool learns = true) {
  options.emplace_back("causal", "true");
  if (learns) options.emplace_back("neutral-take", kSamples / name);
  return Solve(stream.take, stream.performer, stream.character, SettingsOf(MIEN_STEP_SOLVE, options));
}

} // namespace

TEST(CFrameSolver, GivesToTheBitWhatACausalSolveOfTheTakeGives) {
  for (const Options& options : {Options{}, Options{{"expression", "Content=0.5"}}}) {
    Stream stream("markers.csv", LoadPerformer(kSamples / "markers.performer.json"),
                  LoadCharacter(kSamples / "puppet.character.json"), options); // with gaps and clusters
    EXPECT_GT(stream.ExpectFramesOf(CausalSolve(stream, "markers.csv", options)), 10000u);
  }
}

TEST(CFrameSolver, GivesToTheBitWhatACausalSolveGivesWithItsSettings) {
  const std::vector<Options> settings = {
      {},
      {{"solver", "fit"}},
      {{"solver", "fit"}, {"one-euro", "3:1"}, {"hold", "0.05"}, {"fade", "0.1"}},
      {{"head-fit", "markers"}, {"face-hold", "0.2"}, {"face-fade", "0.1"}},
      {{"neutral", "1-10"}, {"brows", "core"}}};
  for (const Options& options : settings) {
    Stream stream("landmarks.csv", LoadPerformer("landmarks68"), LoadCharacter("arkit52"), options);
    EXPECT_GT(stream.ExpectFramesOf(CausalSolve(stream, "landmarks.csv", options)), 10000u);
  }
}

TEST(CFrameSolver, FollowsTheEyes) {
  Stream stream("mesh/wide.csv", LoadPerformer("landmarks478"), LoadCharacter("arkit52"), {});
  const AnimationHandle animation = CausalSolve(stream, "mesh/wide.csv", {});
  ASSERT_GT(ArrayOf(animation, MIEN_ANIMATION_EYES).shape[0], 0u);
  EXPECT_GT(stream.ExpectFramesOf(animation), 500u);
  EXPECT_EQ(At<std::uint8_t>(ArrayOf(stream.solver, MIEN_FRAME_KNOWN), {1}), 1);
  const std::vector<double> last = ValuesOf(ArrayOf(stream.solver, MIEN_FRAME_EYES));
  EXPECT_NE(last, std::vector<double>(4, 0));
  for (std::size_t m = 0; m < stream.columns.size(); ++m)
    if (stream.columns[m] >= 468) stream.frame[3 * m] = kNaN; // the irises
  const double after = stream.TimeOf(mien_take_frame_count(stream.take.get()) - 1) + 0.4;
  ASSERT_EQ(mien_frame_solver_solve(stream.solver.get(), stream.frame.data(), stream.columns.size(), after,
                                    nullptr),
            MIEN_OK);
  EXPECT_EQ(At<std::uint8_t>(ArrayOf(stream.solver, MIEN_FRAME_KNOWN), {0}), 1);
  EXPECT_EQ(At<std::uint8_t>(ArrayOf(stream.solver, MIEN_FRAME_KNOWN), {1}), 0);
  EXPECT_EQ(ValuesOf(ArrayOf(stream.solver, MIEN_FRAME_EYES)), last); // kept for half a second
  Stream without("mesh/wide.csv", LoadPerformer("landmarks478"), nullptr, {{"no-gaze", "true"}});
  EXPECT_EQ(without.Solve(0), MIEN_OK);
  EXPECT_TRUE(std::isnan(At<double>(ArrayOf(without.solver, MIEN_FRAME_EYES), {0, 0})));
}

TEST(CFrameSolver, UsesTheNeutralFaceAndTheRangesOfACalibratedPerformer) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const mien_take* const takes[] = {take.get()};
  for (const Options& options : {Options{}, Options{{"no-ranges", "true"}}}) {
    Errors errors;
    PerformerHandle ada(
        mien_performer_calibrate(LoadPerformer("landmarks68").get(), takes, 1, nullptr, nullptr, errors));
    ASSERT_TRUE(ada) << errors.AllText();
    ASSERT_GT(mien_performer_range_count(ada.get()), 0u);
    Stream stream("landmarks.csv", std::move(ada), LoadCharacter("arkit52"), options, false);
    EXPECT_GT(stream.ExpectFramesOf(CausalSolve(stream, "landmarks.csv", options, false)), 10000u);
  }
}

TEST(CFrameSolver, IgnoresWhatNeedsLaterFrames) {
  const Options options = {{"smooth", "6"},          {"fill", "none"},      {"level-lids", "true"},
                           {"keep-slipped", "true"}, {"output-rate", "25"}, {"smooth-weights", "4"}};
  Stream stream("landmarks.csv", LoadPerformer("landmarks68"), nullptr, options);
  EXPECT_GT(stream.ExpectFramesOf(CausalSolve(stream, "landmarks.csv", {})), 10000u);
}

TEST(CFrameSolver, OutlivesTheHandlesThatItWasMadeOf) {
  Stream stream, same;
  stream.performer.reset();
  stream.character.reset();
  stream.take = ReadTake(kSamples / "markers.csv"); // frees the one that the solver has learned from
  for (std::size_t f = 0; f < 60; ++f) {
    ASSERT_EQ(stream.Solve(f), MIEN_OK);
    ASSERT_EQ(same.Solve(f), MIEN_OK);
  }
  EXPECT_EQ(ValuesOf(ArrayOf(stream.solver, MIEN_FRAME_SHAPE_WEIGHTS)),
            ValuesOf(ArrayOf(same.solver, MIEN_FRAME_SHAPE_WEIGHTS)));
}

TEST(CFrameSolver, HasTheNeutralFaceBeforeTheFirstFrameAndLongAfterTheLastMarker) {
  Stream stream;
  const mien_array weights = ArrayOf(stream.solver, MIEN_FRAME_WEIGHTS),
                   known = ArrayOf(stream.solver, MIEN_FRAME_KNOWN),
                   eyes = ArrayOf(stream.solver, MIEN_FRAME_EYES);
  const auto expect_rest = [&] {
    for (const double weight : ValuesOf(weights)) EXPECT_EQ(weight, 0);
    EXPECT_EQ(At<std::uint8_t>(known, {0}), 0);
    EXPECT_EQ(At<std::uint8_t>(known, {1}), 0);
    EXPECT_TRUE(std::isnan(At<double>(eyes, {0, 0})));
  };
  expect_rest();
  ASSERT_EQ(stream.Solve(40), MIEN_OK);
  EXPECT_EQ(At<std::uint8_t>(known, {0}), 1);
  const std::vector<double> last = ValuesOf(weights), unseen(stream.frame.size(), kNaN);
  EXPECT_NE(last, std::vector<double>(last.size(), 0));
  const auto lose = [&](double seconds) {
    ASSERT_EQ(mien_frame_solver_solve(stream.solver.get(), unseen.data(), stream.columns.size(),
                                      stream.TimeOf(40) + seconds, nullptr),
              MIEN_OK);
  };
  lose(0.4); // held for half a second
  EXPECT_EQ(ValuesOf(weights), last);
  EXPECT_EQ(At<std::uint8_t>(known, {0}), 0);
  lose(0.75);
  for (std::size_t w = 0; w < last.size(); ++w) EXPECT_NEAR(At<double>(weights, {w}), last[w] / 2, 1e-12);
  lose(1.1);
  expect_rest();
}

TEST(CFrameSolver, RefusesFramesThatAreNoneAndKeepsTheLast) {
  Stream stream;
  ASSERT_EQ(stream.Solve(40), MIEN_OK);
  const mien_array weights = ArrayOf(stream.solver, MIEN_FRAME_WEIGHTS);
  std::vector<double> before;
  for (std::size_t w = 0; w < weights.shape[0]; ++w) before.push_back(At<double>(weights, {w}));
  mien_frame_solver* const solver = stream.solver.get();
  const std::size_t count = stream.columns.size();
  const auto refused = [&](const char* place, const double* markers, std::size_t marker_count, double time) {
    Errors errors;
    EXPECT_EQ(mien_frame_solver_solve(solver, markers, marker_count, time, errors), MIEN_USAGE);
    EXPECT_STREQ(errors.At(0).place, place);
  };
  refused("markers", nullptr, count, 50);
  refused("marker_count", stream.frame.data(), count - 1, 50);
  refused("time", stream.frame.data(), count, stream.TimeOf(40));
  refused("time", stream.frame.data(), count, kNaN);
  std::vector<double> far = stream.frame;
  far[4] = -std::numeric_limits<double>::infinity();
  refused("markers", far.data(), count, 50);
  for (std::size_t w = 0; w < before.size(); ++w) EXPECT_EQ(At<double>(weights, {w}), before[w]);
  EXPECT_EQ(stream.Solve(51), MIEN_OK);
}

TEST(CFrameSolver, RefusesSettingsThatDoNotFitTheCall) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const auto refused = [&](const char* place, const Options& options) {
    Errors errors;
    EXPECT_FALSE(mien_frame_solver_new(performer.get(), take.get(), nullptr,
                                       SettingsOf(MIEN_STEP_SOLVE, options).get(), errors));
    EXPECT_EQ(errors.Status(), MIEN_USAGE) << place;
    EXPECT_STREQ(errors.At(0).place, place) << errors.AllText();
  };
  refused("solver", {{"solver", "fit"}}); // without a character
  refused("expression", {{"expression", "jawOpen=1"}});
  refused("neutral-take", {{"neutral-take", kSamples / "landmarks.csv"}}); // beside the take of the call
}

TEST(CFrameSolver, NeedsANeutralFace) {
  Errors errors;
  EXPECT_FALSE(mien_frame_solver_new(LoadPerformer("landmarks68").get(), nullptr, nullptr, nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT);
  EXPECT_STREQ(errors.At(0).code, "unsolvable");
  // A performer with one needs no take.
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle ada(
      mien_performer_with_neutral(LoadPerformer("landmarks68").get(), take.get(), nullptr, nullptr, errors));
  ASSERT_TRUE(ada) << errors.AllText();
  const FrameSolverHandle solver(mien_frame_solver_new(ada.get(), nullptr, nullptr, nullptr, errors));
  EXPECT_TRUE(solver) << errors.AllText();
  EXPECT_EQ(ArrayOf(solver, MIEN_FRAME_SHAPE_WEIGHTS).data, nullptr);
}
