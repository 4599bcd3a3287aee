#include "host/batch/run_batch.h"

#include "tests/host/batch/short_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <vector>

using mien::Batch;
using mien::BatchLine;
using mien::LineEnd;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace {

using Ends = std::map<std::size_t, LineEnd::Kind>; // by the lines' numbers
constexpr auto kDone = LineEnd::Kind::Done;
constexpr auto kFailed = LineEnd::Kind::Failed;
constexpr auto kSkipped = LineEnd::Kind::Skipped;

class RunBatchTest : public ShortTakes {
protected:
  /// Lines with takes of different lengths; outputs are in the folder "out".
  Batch BatchOf(std::size_t takes, std::size_t threads) const {
    Batch batch = {.folder = folder_, .job_of = JobOf, .threads = threads};
    for (std::size_t i = 1; i <= takes; ++i) {
      const std::string name = std::to_string(i) + ".csv";
      WriteTake(name, 10 + i);
      batch.lines.push_back(Line(i, name, "out/" + name));
    }
    mien::MakeOutputFolders(batch.lines);
    return batch;
  }

  static Ends Run(const Batch& batch) {
    Ends ends;
    mien::RunBatch(
        batch, {.ended = [&](const BatchLine& line, const LineEnd& end) { ends[line.number] = end.kind; }});
    return ends;
  }

  std::map<std::string, std::string> Outputs() const {
    std::map<std::string, std::string> outputs;
    for (const auto& entry : fs::directory_iterator(folder_ / "out"))
      outputs[entry.path().filename()] = mien::ReadFile(entry.path());
    return outputs;
  }
};

} // namespace

TEST_F(RunBatchTest, ManyAtOnceWriteWhatOneAfterTheOtherWrites) {
  ASSERT_THAT(Run(BatchOf(12, 1)), SizeIs(12));
  const auto one_by_one = Outputs();
  EXPECT_THAT(one_by_one, SizeIs(24));
  fs::remove_all(folder_ / "out");
  for (const auto& [number, kind] : Run(BatchOf(12, 5))) EXPECT_EQ(kind, kDone) << number;
  EXPECT_EQ(Outputs(), one_by_one);
}

// Both may write each line; whoever is later skips it.
TEST_F(RunBatchTest, TwoAtOnceOverTheSameLinesLeaveWholeAndEqualOutputs) {
  Run(BatchOf(8, 2));
  const auto alone = Outputs();
  fs::remove_all(folder_ / "out");
  const Batch batch = BatchOf(8, 2);
  Ends first, second;
  std::thread other([&] { second = Run(batch); });
  first = Run(batch);
  other.join();
  for (std::size_t line = 1; line <= 8; ++line) {
    EXPECT_TRUE(first[line] == kDone || first[line] == kSkipped);
    EXPECT_TRUE(second[line] == kDone || second[line] == kSkipped);
  }
  EXPECT_EQ(Outputs(), alone);
}

TEST_F(RunBatchTest, ABadTakeDoesNotStopTheOthers) {
  const Batch batch = BatchOf(4, 2);
  Write("2.csv", "nothing\n");
  fs::remove(folder_ / "3.csv");
  EXPECT_THAT(Run(batch), ElementsAre(Pair(1, kDone), Pair(2, kFailed), Pair(3, kFailed), Pair(4, kDone)));
  EXPECT_THAT(Run(batch),
              ElementsAre(Pair(1, kSkipped), Pair(2, kFailed), Pair(3, kFailed), Pair(4, kSkipped)));
}

TEST_F(RunBatchTest, AFolderThatIsRemovedMeanwhileIsReportedAndTheNextRunMakesIt) {
  Batch batch = BatchOf(4, 1);
  Ends ends;
  mien::RunBatch(batch, {.ended = [&](const BatchLine& line, const LineEnd& end) {
                   ends[line.number] = end.kind;
                   if (line.number == 2) fs::remove_all(folder_ / "out");
                   if (end.kind == kFailed) { EXPECT_EQ(end.problems[0].code, mien::Code::Unwritable); }
                 }});
  EXPECT_THAT(ends, ElementsAre(Pair(1, kDone), Pair(2, kDone), Pair(3, kFailed), Pair(4, kFailed)));
  mien::MakeOutputFolders(batch.lines);
  EXPECT_THAT(Run(batch), ElementsAre(Pair(1, kDone), Pair(2, kDone), Pair(3, kDone), Pair(4, kDone)));
}

TEST_F(RunBatchTest, StopsWithinTheLinesThatRun) {
  const Batch batch = BatchOf(6, 1);
  std::atomic<bool> stop = false;
  Ends ends;
  mien::RunBatch(batch,
                 {.ended = [&](const BatchLine& line, const LineEnd& end) { ends[line.number] = end.kind; },
                  .progress = [&](std::size_t, const BatchLine& line, mien::JobStage, std::size_t,
                                  std::size_t) { stop = stop || line.number == 3; },
                  .stopped = [&] { return stop.load(); }});
  EXPECT_THAT(ends, ElementsAre(Pair(1, kDone), Pair(2, kDone)));
  EXPECT_FALSE(Has("out/3.csv"));
  EXPECT_THAT(Outputs(), SizeIs(4)) << "of two lines; no part files";
}
