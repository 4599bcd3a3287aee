#include "host/files/read_file.h"
#include "host/jobs/calibrate_job.h"
#include "host/jobs/guess_job.h"
#include "host/jobs/performer_job.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <nlohmann/json.hpp>

#include <filesystem>

using mien::ReadFile;
using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

std::string JsonOf(const PerformerHandle& performer) {
  Errors errors;
  const Text text(mien_performer_to_json(performer.get(), errors));
  EXPECT_TRUE(text) << errors.AllText();
  return mien_text_data(text.get());
}

} // namespace

class CPerformer : public TemporaryFolder {};

TEST_F(CPerformer, ComesFromAFileFromItsTextAndAsABuiltIn) {
  const std::string path = kSamples / "markers.performer.json", json = ReadFile(path);
  Errors errors;
  const PerformerHandle of_text(mien_performer_from_json(json.data(), json.size(), "here.json", errors));
  ASSERT_TRUE(of_text) << errors.AllText();
  EXPECT_EQ(JsonOf(of_text), JsonOf(LoadPerformer(path)));
  const PerformerHandle built_in = LoadPerformer("landmarks68");
  EXPECT_STREQ(mien_performer_name(built_in.get()), "landmarks68");
  EXPECT_GT(mien_performer_marker_count(built_in.get()), 40u);
  EXPECT_NE(mien_performer_marker(built_in.get(), 0), nullptr);
  EXPECT_EQ(mien_performer_marker(built_in.get(), mien_performer_marker_count(built_in.get())), nullptr);
}

TEST(CBuiltIns, HaveNames) {
  EXPECT_STREQ(mien_performer_built_in(0), "landmarks68");
  EXPECT_EQ(mien_performer_built_in(1000), nullptr);
  for (std::size_t i = 0; mien_character_built_in(i); ++i)
    EXPECT_TRUE(LoadCharacter(mien_character_built_in(i)));
  EXPECT_EQ(mien_character_built_in(1000), nullptr);
}

TEST(CRates, AreReadFromText) {
  std::int64_t numerator = 0, denominator = 0;
  Errors errors;
  EXPECT_EQ(mien_rate_from_text("29.97", &numerator, &denominator, errors), MIEN_OK);
  EXPECT_EQ(numerator, 30000);
  EXPECT_EQ(denominator, 1001);
  EXPECT_EQ(mien_rate_from_text("fast", &numerator, &denominator, errors), MIEN_USAGE);
  EXPECT_EQ(mien_rate_from_text(nullptr, &numerator, &denominator, errors), MIEN_USAGE);
  EXPECT_EQ(mien_rate_from_text("25", nullptr, &denominator, errors), MIEN_USAGE);
}

TEST_F(CPerformer, WithMistakesHasAMessageForEach) {
  Errors errors;
  const std::string json = R"({"format": "mien performer 1", "name": 3, "parts": {"Mouht": {}}})";
  EXPECT_FALSE(mien_performer_from_json(json.data(), json.size(), "here.json", errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT);
  EXPECT_STREQ(errors.At(0).file, "here.json");
  EXPECT_STREQ(errors.At(0).place, "/name");
  EXPECT_STREQ(errors.At(1).place, "/parts/Mouht");
}

TEST_F(CPerformer, TakesTheNeutralFaceAsTheCommandDoes) {
  mien::PerformerJob job;
  job.take = kSamples / "landmarks.csv";
  job.performer = "landmarks68";
  job.output = folder_ / "ada.json";
  job.name = "Ada";
  job.neutral = mien::FrameRange{1, 10};
  mien::Run(job);
  Errors errors;
  const PerformerHandle ada(mien_performer_with_neutral(
      LoadPerformer("landmarks68").get(), ReadTake(job.take).get(),
      SettingsOf(MIEN_STEP_CALIBRATE, {{"name", "Ada"}, {"neutral", "1-10"}}).get(), nullptr, errors));
  ASSERT_TRUE(ada) << errors.AllText();
  EXPECT_EQ(JsonOf(ada), ReadFile(job.output));
}

TEST_F(CPerformer, IsCalibratedAsByTheCommandButForTheFilesHash) {
  mien::CalibrateJob job;
  job.takes = {kSamples / "landmarks.csv"};
  job.performer = "landmarks68";
  job.output = folder_ / "ada.json";
  job.name = "Ada";
  mien::Run(job);
  const TakeHandle take = ReadTake(job.takes[0]);
  const mien_take* const takes[] = {take.get()};
  Errors errors;
  const PerformerHandle ada(mien_performer_calibrate(LoadPerformer("landmarks68").get(), takes, 1,
                                                     SettingsOf(MIEN_STEP_CALIBRATE, {{"name", "Ada"}}).get(),
                                                     nullptr, errors));
  ASSERT_TRUE(ada) << errors.AllText();
  nlohmann::json expected = nlohmann::json::parse(ReadFile(job.output)),
                 json = nlohmann::json::parse(JsonOf(ada));
  expected["calibration"].erase("takes");
  json["calibration"].erase("takes");
  EXPECT_EQ(json, expected);

  ASSERT_EQ(mien_performer_range_count(ada.get()), expected["ranges"].size());
  mien_range range = {};
  range.struct_size = sizeof range;
  ASSERT_EQ(mien_performer_range(ada.get(), 0, &range), MIEN_OK);
  EXPECT_EQ(range.high, expected["ranges"][range.name]["high"].get<double>());
  EXPECT_EQ(range.seen, expected["ranges"][range.name]["seen"].get<int>());

  // Its file can be read again.
  const std::string text = JsonOf(ada);
  const PerformerHandle again(mien_performer_from_json(text.data(), text.size(), "ada.json", errors));
  ASSERT_TRUE(again) << errors.AllText();
  EXPECT_EQ(JsonOf(again), text);
}

TEST_F(CPerformer, IsGuessedAsByTheCommand) {
  mien::GuessJob job;
  job.take = kSamples / "markers.csv";
  job.output = folder_ / "guess.json";
  mien::Run(job);
  Errors errors;
  const PerformerHandle guess(mien_performer_guess(ReadTake(job.take).get(), nullptr, nullptr, errors));
  ASSERT_TRUE(guess) << errors.AllText();
  EXPECT_EQ(JsonOf(guess), ReadFile(job.output));
  EXPECT_FALSE(mien_performer_guess(ReadTake(kSamples / "landmarks.csv").get(), nullptr, nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT); // a built-in performer has them
}
