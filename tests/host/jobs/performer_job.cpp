#include "host/jobs/performer_job.h"

#include "host/files/read_file.h"
#include "host/jobs/solve_job.h"
#include "host/performer/performer_file.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <variant>

using mien::HeadFit;
using mien::Neutral;
using mien::NeutralPose;
using mien::PerformerJob;
using mien::ReadFile;
using mien::SolveJob;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

class PerformerJobs : public TemporaryFolder {
protected:
  PerformerJob Job(HeadFit fit) const {
    PerformerJob job;
    job.take = kSamples / "landmarks.csv";
    job.performer = "landmarks68";
    job.output = folder_ / "saved.json";
    job.name = "Ada";
    job.head_fit = fit;
    return job;
  }

  /// The weights of the take by a performer.
  std::string Weights(const std::string& performer, HeadFit fit) const {
    SolveJob job;
    job.take = kSamples / "landmarks.csv";
    job.performer = performer;
    job.output = folder_ / "weights.csv";
    job.solve.head_fit = fit;
    mien::Run(job);
    return ReadFile(job.output);
  }
};

} // namespace

TEST_F(PerformerJobs, SavesTheMarkersAndTheNeutralThatTheyHave) {
  const Neutral neutral = mien::Run(Job(HeadFit::Take));
  const mien::Performer saved = mien::LoadPerformer(folder_ / "saved.json"),
                        built_in = mien::LoadPerformer("landmarks68");
  EXPECT_EQ(saved.name, "Ada");
  EXPECT_EQ(saved.head, built_in.head);
  EXPECT_EQ(saved.rigid, built_in.rigid);
  EXPECT_EQ(saved.anchors, built_in.anchors);
  EXPECT_EQ(saved.holders, built_in.holders);
  const auto& pose = std::get<NeutralPose>(saved.neutral);
  ASSERT_EQ(pose.size(), neutral.pose.size());
  for (const std::string& marker : built_in.rigid) EXPECT_TRUE(pose.contains(marker)) << marker;
  for (const auto& [name, p] : neutral.pose) EXPECT_EQ(pose.at(name).y, p.y) << name;
}

// All that a solve needs of the neutral is in the file, to the bit.
TEST_F(PerformerJobs, ASavedPerformerSolvesItsTakeAsTheTakeSolvesItself) {
  for (const HeadFit fit : {HeadFit::Take, HeadFit::Markers}) {
    mien::Run(Job(fit));
    EXPECT_EQ(Weights(folder_ / "saved.json", fit), Weights("landmarks68", fit));
  }
}

TEST_F(PerformerJobs, TheNeutralIsFoundByTheFitThatIsAskedFor) {
  const Neutral fitted = mien::Run(Job(HeadFit::Take)), by_markers = mien::Run(Job(HeadFit::Markers));
  EXPECT_FALSE(fitted.frames.empty());
  EXPECT_NE(fitted.pose.at("lm37").y, by_markers.pose.at("lm37").y);
}
