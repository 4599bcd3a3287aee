// What the interface does to the heap: nothing for a frame, and an error where it is exhausted.

#include "host/files/read_file.h"
#include "tests/failing_heap.h"
#include "tests/host/c_interface/handles.h"

#include <filesystem>

using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

/// Frames 0 to 199 of a take, of some of its markers, one after another.
std::vector<std::vector<double>> FramesOf(const TakeHandle& take, const std::vector<std::string>& markers) {
  std::vector<std::vector<double>> frames(200);
  for (const std::string& name : markers)
    for (std::size_t c = 0; c < mien_take_marker_count(take.get()); ++c)
      if (name == mien_take_marker(take.get(), c))
        for (std::size_t f = 0; f < frames.size(); ++f) {
          const std::vector<double> all = ValuesOf(FrameOf(ArrayOf(take, MIEN_TAKE_POSITIONS), f));
          frames[f].insert(frames[f].end(), all.begin() + static_cast<std::ptrdiff_t>(3 * c),
                           all.begin() + static_cast<std::ptrdiff_t>(3 * c + 3));
        }
  return frames;
}

/// Calls `solve(frame)` twice for each frame, and expects that the second time nothing is allocated: then
/// every set of visible head markers has occurred.
template <class SolveFrame>
void ExpectNoAllocations(const std::vector<std::vector<double>>& frames, const SolveFrame& solve) {
  for (const std::vector<double>& frame : frames) ASSERT_EQ(solve(frame), MIEN_OK);
  const int before = tests::blocks;
  std::size_t solved = 0;
  for (const std::vector<double>& frame : frames) {
    tests::grants_left = 0;
    tests::has_failed = false;
    const mien_status status = solve(frame);
    tests::grants_left = -1;
    ASSERT_EQ(status, MIEN_OK);
    ASSERT_FALSE(tests::has_failed);
    ++solved;
  }
  EXPECT_EQ(solved, 200u);
  EXPECT_EQ(tests::blocks, before);
}

} // namespace

TEST(CHeap, AFrameOfASolverAllocatesNothing) {
  const TakeHandle take = ReadTake(kSamples / "markers.csv");
  const PerformerHandle performer = LoadPerformer(kSamples / "markers.performer.json");
  const CharacterHandle character = LoadCharacter(kSamples / "puppet.character.json");
  Errors errors;
  const FrameSolverHandle solver(
      mien_frame_solver_new(performer.get(), take.get(), character.get(), nullptr, errors));
  ASSERT_TRUE(solver) << errors.AllText();
  std::vector<std::string> markers;
  for (std::size_t m = 0; m < mien_frame_solver_marker_count(solver.get()); ++m)
    markers.emplace_back(mien_frame_solver_marker(solver.get(), m));
  const auto frames = FramesOf(take, markers);
  ASSERT_EQ(frames[0].size(), 3 * markers.size());
  const mien_array weights = ArrayOf(solver, MIEN_FRAME_WEIGHTS),
                   clusters = ArrayOf(solver, MIEN_FRAME_GLOBAL_SCALES);
  double time = 0;
  ExpectNoAllocations(frames, [&](const std::vector<double>& frame) {
    return mien_frame_solver_solve(solver.get(), frame.data(), markers.size(), time += 0.01, nullptr);
  });
  EXPECT_EQ(ArrayOf(solver, MIEN_FRAME_WEIGHTS).data, weights.data); // they do not move
  EXPECT_EQ(ArrayOf(solver, MIEN_FRAME_GLOBAL_SCALES).data, clusters.data);
}

TEST(CHeap, AFrameOfALiveFaceAllocatesNothing) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const CharacterHandle character = LoadCharacter("arkit52");
  for (const char* const solver : {"parts", "fit"}) {
    const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {{"solver", solver}, {"output-rate", "100"}});
    std::vector<std::string> markers;
    std::vector<const char*> names;
    for (std::size_t m = 0; m < mien_take_marker_count(take.get()); ++m) {
      markers.emplace_back(mien_take_marker(take.get(), m));
      names.push_back(mien_take_marker(take.get(), m));
    }
    Errors errors;
    const LiveHandle live(mien_live_new(errors));
    mien_live_face face = {};
    face.struct_size = sizeof face;
    face.kind = MIEN_LIVE_MARKERS;
    face.names = names.data();
    face.name_count = names.size();
    face.performer = performer.get();
    face.take = take.get();
    face.character = character.get();
    face.settings = settings.get();
    mien_live_frame input = {};
    input.struct_size = sizeof input;
    ASSERT_EQ(mien_live_add(live.get(), &face, &input.face, errors), MIEN_OK) << errors.AllText();
    const auto frames = FramesOf(take, markers);
    ASSERT_EQ(frames[0].size(), 3 * markers.size());
    std::size_t results = 0;
    ExpectNoAllocations(frames, [&](const std::vector<double>& frame) {
      input.time = input.arrival += 0.03;
      input.values = frame.data();
      input.value_count = frame.size();
      const mien_status status = mien_live_feed(live.get(), &input, nullptr, nullptr);
      results += mien_live_result_count(live.get());
      return status;
    });
    EXPECT_GT(results, 1000u);
  }
}

TEST(CHeap, ThatIsExhaustedIsAnError) {
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
