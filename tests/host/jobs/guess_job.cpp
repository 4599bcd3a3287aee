#include "host/jobs/guess_job.h"

#include "host/files/read_file.h"
#include "host/jobs/solve_job.h"
#include "host/performer/performer_file.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

using mien::GuessJob;
using mien::LoadPerformer;
using mien::NeutralPose;
using mien::Performer;
using mien::PerformerGuess;
using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

class GuessJobs : public TemporaryFolder {
protected:
  GuessJob Job(const std::string& take) const {
    GuessJob job;
    job.take = kSamples / take;
    job.output = folder_ / "guess.json";
    return job;
  }
};

} // namespace

TEST_F(GuessJobs, TheBundledTakeGetsTheBundledPerformer) {
  const PerformerGuess guess = mien::Run(Job("markers.csv"));
  const Performer written = LoadPerformer(folder_ / "guess.json"),
                  bundled = LoadPerformer(kSamples / "markers.performer.json");
  EXPECT_THAT(written.head, UnorderedElementsAreArray(bundled.head));
  for (std::size_t part = 0; part < written.holders.size(); ++part)
    for (std::size_t holder = 0; holder < written.holders[part].size(); ++holder)
      EXPECT_THAT(written.holders[part][holder], UnorderedElementsAreArray(bundled.holders[part][holder]));
  EXPECT_EQ(written.name, "markers");
  EXPECT_TRUE(std::holds_alternative<std::monostate>(written.neutral));
  EXPECT_TRUE(guess.doubts.empty());
}

TEST_F(GuessJobs, TheNeutralOfNamedFramesIsSaved) {
  GuessJob job = Job("markers.csv");
  job.neutral = mien::FrameRange{1, 10};
  job.name = "Ada";
  mien::Run(job);
  const Performer written = LoadPerformer(folder_ / "guess.json");
  EXPECT_EQ(written.name, "Ada");
  const auto* pose = std::get_if<NeutralPose>(&written.neutral);
  ASSERT_TRUE(pose);
  EXPECT_EQ(pose->size(), 50U);
}

TEST_F(GuessJobs, LandmarksOfTrackersHaveAPerformer) {
  EXPECT_THAT(
      InputErrorOf([&] { mien::Run(Job("landmarks.csv")); }),
      HasSubstr("landmarks.csv: its markers are those of the built-in performer landmarks68; use --performer "
                "landmarks68"));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "guess.json"));
}

TEST_F(GuessJobs, TheTakeIsNotOverwritten) {
  GuessJob job = Job("markers.csv");
  job.output = job.take;
  EXPECT_EQ(ProblemOf([&] { mien::Run(job); }), "usage at output");
}
