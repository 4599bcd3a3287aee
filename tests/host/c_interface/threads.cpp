// Several threads with handles of their own, and with one take, performer and character between them.

#include "tests/host/c_interface/handles.h"

#include <filesystem>
#include <thread>

using namespace tests;

TEST(CThreads, SolveTheSameBitsAtOnce) {
  const std::filesystem::path samples = MIEN_SAMPLES_FOLDER;
  const TakeHandle take = ReadTake(samples / "markers.csv");
  const PerformerHandle performer = LoadPerformer(samples / "markers.performer.json");
  const CharacterHandle character = LoadCharacter(samples / "puppet.character.json");
  constexpr std::size_t kThreads = 4;
  std::vector<std::string> written(kThreads);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {{"smooth", "8"}});
      const AnimationHandle animation = Solve(take, performer, character, settings);
      mien_messages* errors = nullptr;
      EXPECT_EQ(mien_take_read("no such file", nullptr, nullptr, &errors), nullptr);
      EXPECT_EQ(mien_messages_status(errors), MIEN_INPUT);
      mien_messages_free(errors);
      const Text text(mien_animation_write_memory(animation.get(), ".json", nullptr, nullptr, nullptr));
      written[t] = mien_text_data(text.get());
    });
  for (std::thread& thread : threads) thread.join();
  for (const std::string& text : written) EXPECT_TRUE(text == written[0]);
  EXPECT_GT(written[0].size(), 10000u);
}
