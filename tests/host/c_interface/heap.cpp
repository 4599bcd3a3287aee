// What the interface does to the heap: nothing for a frame, and an error where it is exhausted.

#include "host/c_interface/settings.h"
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

/// Calls `call` with each of its first 200 allocations failing in turn. Returns how many of them there were.
template <class Call>
int FailEachAllocation(const Call& call) {
  int failed = 0;
  for (int failing = 0; failing < 200; ++failing) {
    tests::grants_left = failing;
    tests::has_failed = false;
    call([] { tests::grants_left = -1; });
    failed += tests::has_failed ? 1 : 0;
  }
  return failed;
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

TEST(CHeap, ThatIsExhaustedLeavesNoNamesOfBuiltIns) {
  const int failed = FailEachAllocation([](const auto& grant_all) {
    const char* const performer = mien_performer_built_in(0);
    const bool is_refused = tests::has_failed;
    grant_all();
    EXPECT_STREQ(performer, is_refused ? nullptr : "landmarks68");
  });
  EXPECT_GT(failed, 0);
}

TEST(CHeap, ThatIsExhaustedLeavesNoPartOfAnArray) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  AnimationHandle animation = Solve(take, performer);
  const int failed = FailEachAllocation([&](const auto& grant_all) {
    mien_array motion = EmptyArray();
    const mien_status status =
        mien_animation_get_array(animation.get(), MIEN_ANIMATION_HEAD_MOTION, &motion, nullptr);
    grant_all();
    EXPECT_EQ(status, tests::has_failed ? MIEN_MEMORY : MIEN_OK);
    EXPECT_EQ(ArrayOf(animation, MIEN_ANIMATION_HEAD_MOTION).shape[0], mien_take_frame_count(take.get()));
    if (tests::has_failed) animation = Solve(take, performer); // whose array is not made yet
  });
  EXPECT_GT(failed, 3);
}

TEST(CHeap, ThatIsExhaustedLeavesNoNotesOfAFailedWrite) {
  const TakeHandle take = ReadTake(kSamples / "markers.csv");
  const Settings settings = SettingsOf(MIEN_STEP_CONVERT, {{"timecode", "10:00:00:00@60"}});
  mien_messages* lost = nullptr;
  const Text written(mien_take_write_memory(take.get(), ".trc", settings.get(), &lost, nullptr));
  EXPECT_TRUE(written);
  ASSERT_NE(lost, nullptr) << "a case with notes is needed";
  mien_messages_free(lost);
  const int failed = FailEachAllocation([&](const auto& grant_all) {
    mien_text* const text = mien_take_write_memory(take.get(), ".trc", settings.get(), &lost, nullptr);
    grant_all();
    EXPECT_EQ(text != nullptr, lost != nullptr);
    EXPECT_EQ(mien_messages_free(lost), MIEN_OK);
    EXPECT_EQ(mien_text_free(text), MIEN_OK);
  });
  EXPECT_GT(failed, 10);
}

TEST(CHeap, ThatIsExhaustedLeavesSettingsAsTheyWere) {
  const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {{"smooth", "6"}, {"fill", "linear:1"}});
  const auto smooth = [&] { return settings->values.solve.solve.smooth_positions_hz; };
  ASSERT_EQ(smooth(), 6);
  const int failed = FailEachAllocation([&](const auto& grant_all) {
    const mien_status status = mien_settings_set(settings.get(), "smooth", "8", nullptr);
    grant_all();
    EXPECT_EQ(status, tests::has_failed ? MIEN_MEMORY : MIEN_OK);
    EXPECT_EQ(smooth(), tests::has_failed ? 6 : 8);
    EXPECT_EQ(settings->values.solve.solve.face_fill.size(), 1u);
    EXPECT_EQ(mien_settings_set(settings.get(), "smooth", "6", nullptr), MIEN_OK);
  });
  EXPECT_GT(failed, 10);
}
