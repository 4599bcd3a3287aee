#include "host/files/read_file.h"
#include "tests/failing_heap.h"
#include "tests/host/c_interface/handles.h"

#include <cmath>
#include <filesystem>
#include <limits>

using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A take of the samples, a performer with its neutral face, and a solver of its frames.
struct Stream {
  TakeHandle take = ReadTake(kSamples / "markers.csv");
  PerformerHandle performer = LoadPerformer(kSamples / "markers.performer.json");
  CharacterHandle character = LoadCharacter(kSamples / "puppet.character.json");
  FrameSolverHandle solver;
  std::vector<std::size_t> columns; ///< of the solver's markers in the take
  std::vector<double> frame;

  Stream() {
    Errors errors;
    solver.reset(mien_frame_solver_new(performer.get(), take.get(), character.get(), nullptr, errors));
    EXPECT_TRUE(solver) << errors.AllText();
    for (std::size_t m = 0; m < mien_frame_solver_marker_count(solver.get()); ++m)
      for (std::size_t c = 0; c < mien_take_marker_count(take.get()); ++c)
        if (std::string(mien_take_marker(take.get(), c)) == mien_frame_solver_marker(solver.get(), m))
          columns.push_back(c);
    EXPECT_EQ(columns.size(), mien_frame_solver_marker_count(solver.get()));
    frame.resize(3 * columns.size());
  }

  mien_status Solve(std::size_t f, mien_messages** errors = nullptr) {
    const mien_array positions = ArrayOf(take, MIEN_TAKE_POSITIONS);
    const double* const row = static_cast<const double*>(positions.data) + f * positions.shape[1] * 3;
    for (std::size_t m = 0; m < columns.size(); ++m)
      for (std::size_t axis = 0; axis < 3; ++axis) frame[3 * m + axis] = row[3 * columns[m] + axis];
    return mien_frame_solver_solve(solver.get(), frame.data(), columns.size(), static_cast<double>(f),
                                   errors);
  }
};

} // namespace

// Where nothing is cleaned, a stream gives what the take gives.
TEST(CFrameSolver, GivesTheWeightsOfTheTake) {
  Stream stream;
  const AnimationHandle animation =
      Solve(stream.take, stream.performer, stream.character,
            SettingsOf(MIEN_STEP_SOLVE, {{"fill", "none"}, {"fill-head", "none"}, {"keep-slipped", "true"}}));
  const mien_array weights = ArrayOf(animation, MIEN_ANIMATION_WEIGHTS),
                   frame_weights = ArrayOf(stream.solver, MIEN_FRAME_WEIGHTS),
                   shapes = ArrayOf(animation, MIEN_ANIMATION_SHAPE_WEIGHTS),
                   frame_shapes = ArrayOf(stream.solver, MIEN_FRAME_SHAPE_WEIGHTS),
                   frame_clusters = ArrayOf(stream.solver, MIEN_FRAME_GLOBAL_TRANSLATIONS),
                   head = ArrayOf(stream.solver, MIEN_FRAME_HEAD_MOTION),
                   heads = ArrayOf(animation, MIEN_ANIMATION_HEAD_MOTION);
  EXPECT_EQ(frame_weights.shape[0], weights.shape[1]);
  EXPECT_EQ(frame_shapes.shape[0], shapes.shape[1]);
  EXPECT_EQ(mien_frame_solver_name_count(stream.solver.get(), MIEN_SHAPE_NAMES), shapes.shape[1]);
  EXPECT_EQ(ShapeOf(head), (std::vector<std::size_t>{4, 4}));
  ASSERT_EQ(frame_clusters.shape[1], 3u);
  double worst = 0, most = 0, worst_shift = 0;
  std::size_t known = 0;
  for (std::size_t f = 0; f < weights.shape[0]; ++f) {
    ASSERT_EQ(stream.Solve(f), MIEN_OK);
    if (!At<std::uint8_t>(ArrayOf(stream.solver, MIEN_FRAME_KNOWN), {0})) continue;
    ++known;
    for (std::size_t w = 0; w < weights.shape[1]; ++w) {
      worst = std::max(worst, std::fabs(At<double>(frame_weights, {w}) - At<double>(weights, {f, w})));
      most = std::max(most, At<double>(weights, {f, w}));
    }
    for (std::size_t axis = 0; axis < 3; ++axis)
      worst_shift =
          std::max(worst_shift, std::fabs(At<double>(head, {axis, 3}) - At<double>(heads, {f, axis, 3})));
  }
  EXPECT_GT(known, weights.shape[0] / 2);
  EXPECT_GT(most, 0.5);
  EXPECT_LT(worst, 0.35) << "the take is also measured against anchors, its head is calmed and gaps fade";
  EXPECT_LT(worst_shift, 1);
}

TEST(CFrameSolver, AllocatesNothingForAFrame) {
  Stream stream;
  for (std::size_t f = 0; f < 200; ++f) ASSERT_EQ(stream.Solve(f), MIEN_OK); // every set of seen head markers
  FrameSolverHandle again = std::move(stream.solver);
  const int before = tests::blocks;
  int frames = 0;
  for (std::size_t f = 0; f < 200; ++f) {
    tests::grants_left = 0;
    tests::has_failed = false;
    const mien_status status = mien_frame_solver_solve(
        again.get(), stream.frame.data(), stream.columns.size(), 1000 + static_cast<double>(f), nullptr);
    tests::grants_left = -1;
    ASSERT_EQ(status, MIEN_OK);
    ASSERT_FALSE(tests::has_failed);
    ++frames;
  }
  EXPECT_EQ(frames, 200);
  EXPECT_EQ(tests::blocks, before);
}

TEST(CFrameSolver, HasTheNeutralFaceBeforeTheFirstFrameAndWithoutMarkers) {
  Stream stream;
  const mien_array weights = ArrayOf(stream.solver, MIEN_FRAME_WEIGHTS),
                   known = ArrayOf(stream.solver, MIEN_FRAME_KNOWN),
                   eyes = ArrayOf(stream.solver, MIEN_FRAME_EYES);
  const auto expect_rest = [&] {
    for (std::size_t w = 0; w < weights.shape[0]; ++w) EXPECT_NEAR(At<double>(weights, {w}), 0, 1e-12);
    EXPECT_EQ(At<std::uint8_t>(known, {0}), 0);
    EXPECT_EQ(At<std::uint8_t>(known, {1}), 0);
    EXPECT_TRUE(std::isnan(At<double>(eyes, {0, 0})));
  };
  expect_rest();
  ASSERT_EQ(stream.Solve(40), MIEN_OK);
  EXPECT_EQ(At<std::uint8_t>(known, {0}), 1);
  const std::vector<double> unseen(stream.frame.size(), kNaN);
  ASSERT_EQ(mien_frame_solver_solve(stream.solver.get(), unseen.data(), stream.columns.size(), 41, nullptr),
            MIEN_OK);
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
  refused("time", stream.frame.data(), count, 40);
  refused("time", stream.frame.data(), count, kNaN);
  std::vector<double> far = stream.frame;
  far[4] = -std::numeric_limits<double>::infinity();
  refused("markers", far.data(), count, 50);
  for (std::size_t w = 0; w < before.size(); ++w) EXPECT_EQ(At<double>(weights, {w}), before[w]);
  EXPECT_EQ(stream.Solve(51), MIEN_OK);
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

TEST(CCalls, ReportThatMemoryRanOut) {
  const std::string csv = mien::ReadFile(kSamples / "markers.csv");
  int failed = 0;
  for (int failing = 0; failing < 400; failing += 7) {
    Errors errors;
    tests::grants_left = failing;
    tests::has_failed = false;
    mien_take* const take = mien_take_read_memory(csv.data(), csv.size(), "m.csv", nullptr, nullptr, errors);
    tests::grants_left = -1;
    if (take) {
      EXPECT_EQ(mien_take_free(take), MIEN_OK);
      continue;
    }
    ++failed;
    EXPECT_EQ(errors.Status(), MIEN_MEMORY) << failing;
    EXPECT_STREQ(errors.At(0).code, "memory");
  }
  EXPECT_GT(failed, 10);
}
