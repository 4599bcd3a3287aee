// Several threads with handles of their own, and with one take, performer, character and animation between
// them.

#include "tests/host/c_interface/handles.h"

#include <filesystem>
#include <functional>
#include <thread>

using namespace tests;

namespace {

constexpr std::size_t kThreads = 4;

/// What each of some threads returns, which all do the same at once.
template <class Answer>
std::vector<Answer> AtOnce(const std::function<Answer()>& work) {
  std::vector<Answer> answers(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) threads.emplace_back([&, t] { answers[t] = work(); });
  for (std::thread& thread : threads) thread.join();
  return answers;
}

/// Expects the same answer from all, and returns it.
template <class Answer>
Answer Same(const std::vector<Answer>& answers) {
  for (const Answer& answer : answers) EXPECT_TRUE(answer == answers[0]);
  return answers[0];
}

class CThreads : public testing::Test {
protected:
  const std::filesystem::path samples_ = MIEN_SAMPLES_FOLDER;
  const TakeHandle take_ = ReadTake(samples_ / "markers.csv");
  const PerformerHandle performer_ = LoadPerformer(samples_ / "markers.performer.json");
  const CharacterHandle character_ = LoadCharacter(samples_ / "puppet.character.json");

  std::vector<double> FrameOfTake(std::size_t frame) const {
    return ValuesOf(FrameOf(ArrayOf(take_, MIEN_TAKE_POSITIONS), frame));
  }
};

} // namespace

TEST_F(CThreads, SolveTheSameBitsAtOnce) {
  const std::vector<std::string> written = AtOnce<std::string>([&] {
    const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {{"smooth", "8"}});
    const AnimationHandle animation = Solve(take_, performer_, character_, settings);
    mien_messages* errors = nullptr;
    EXPECT_EQ(mien_take_read("no such file", nullptr, nullptr, &errors), nullptr);
    EXPECT_EQ(mien_messages_status(errors), MIEN_INPUT);
    mien_messages_free(errors);
    const Text text(mien_animation_write_memory(animation.get(), ".json", nullptr, nullptr, nullptr));
    return std::string(mien_text_data(text.get()));
  });
  EXPECT_GT(Same(written).size(), 10000u);
}

TEST_F(CThreads, ReadOneAnimationAtOnce) {
  const AnimationHandle animation = Solve(take_, performer_, character_);
  const std::vector<std::string> read = AtOnce<std::string>([&] {
    std::string text = mien_animation_get_text(animation.get(), MIEN_ANIMATION_REPORT); // made by the first
    const Text csv(mien_animation_write_memory(animation.get(), ".csv", nullptr, nullptr, nullptr));
    text += mien_text_data(csv.get());
    for (std::size_t m = 0; m < mien_take_marker_count(take_.get()); ++m)
      text += mien_take_marker(take_.get(), m);
    const Text json(mien_performer_to_json(performer_.get(), nullptr));
    const Text shapes(mien_character_to_json(character_.get(), nullptr));
    return text + mien_text_data(json.get()) + mien_text_data(shapes.get());
  });
  EXPECT_GT(Same(read).size(), 10000u);
}

// Each makes its own from the same handles, frees it, and so on.
TEST_F(CThreads, HaveFrameSolversOfTheirOwn) {
  const auto solved = AtOnce<std::vector<double>>([&] {
    std::vector<double> weights;
    for (int turn = 0; turn < 2; ++turn) {
      const FrameSolverHandle solver(
          mien_frame_solver_new(performer_.get(), take_.get(), character_.get(), nullptr, nullptr));
      EXPECT_TRUE(solver);
      std::vector<std::size_t> columns;
      for (std::size_t c = 0; c < mien_take_marker_count(take_.get()); ++c)
        if (const char* const next = mien_frame_solver_marker(solver.get(), columns.size());
            next && std::string(mien_take_marker(take_.get(), c)) == next)
          columns.push_back(c); // they are in the order of the take
      EXPECT_EQ(columns.size(), mien_frame_solver_marker_count(solver.get()));
      std::vector<double> frame(3 * columns.size());
      for (std::size_t f = 0; f < 60; ++f) {
        const std::vector<double> all = FrameOfTake(f);
        for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = all[3 * columns[i / 3] + i % 3];
        EXPECT_EQ(mien_frame_solver_solve(solver.get(), frame.data(), frame.size() / 3,
                                          static_cast<double>(f) / 60, nullptr),
                  MIEN_OK);
        const std::vector<double> shapes = ValuesOf(ArrayOf(solver, MIEN_FRAME_SHAPE_WEIGHTS));
        weights.insert(weights.end(), shapes.begin(), shapes.end());
      }
    }
    return weights;
  });
  EXPECT_GT(Same(solved).size(), 100u);
}

TEST_F(CThreads, HaveLiveFacesOfTheirOwn) {
  std::vector<const char*> names;
  for (std::size_t m = 0; m < mien_take_marker_count(take_.get()); ++m)
    names.push_back(mien_take_marker(take_.get(), m));
  const auto solved = AtOnce<std::vector<double>>([&] {
    const LiveHandle live(mien_live_new(nullptr));
    mien_live_face face = {};
    face.struct_size = sizeof face;
    face.kind = MIEN_LIVE_MARKERS;
    face.names = names.data();
    face.name_count = names.size();
    face.performer = performer_.get();
    face.take = take_.get();
    face.character = character_.get();
    mien_live_frame input = {};
    input.struct_size = sizeof input;
    EXPECT_EQ(mien_live_add(live.get(), &face, &input.face, nullptr), MIEN_OK);
    std::vector<double> weights;
    for (std::size_t f = 0; f < 60; ++f) {
      const std::vector<double> frame = FrameOfTake(f);
      input.time = input.arrival = static_cast<double>(f) / 60;
      input.values = frame.data();
      input.value_count = frame.size();
      EXPECT_EQ(mien_live_feed(live.get(), &input, nullptr, nullptr), MIEN_OK);
      mien_array array = EmptyArray();
      EXPECT_EQ(mien_live_get_array(live.get(), 0, MIEN_FRAME_SHAPE_WEIGHTS, &array, nullptr), MIEN_OK);
      const std::vector<double> shapes = ValuesOf(array);
      weights.insert(weights.end(), shapes.begin(), shapes.end());
    }
    return weights;
  });
  EXPECT_GT(Same(solved).size(), 100u);
}
