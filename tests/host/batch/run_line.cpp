#include "host/batch/run_line.h"

#include "host/batch/line_state.h"
#include "tests/host/batch/short_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <string>

using mien::BatchLine;
using mien::CheckLine;
using mien::JobStage;
using mien::LineCheck;
using mien::LineEnd;
using mien::LineState;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

class RunLineTest : public ShortTakes {
protected:
  RunLineTest() { WriteTake("a.csv", 30); }

  LineEnd Run(const mien::JobProgress& progress = nullptr) const { return Run(line_, progress); }
  LineEnd Run(const BatchLine& line, const mien::JobProgress& progress = nullptr) const {
    return mien::RunLine(line, folder_, JobOf, progress);
  }

  LineState Look(const BatchLine& line) const { return CheckLine(line, folder_, LineCheck::Hashes); }

  /// Calls `act` once, when the job is in this stage.
  static mien::JobProgress At(JobStage stage, std::function<void()> act) {
    return [stage, act = std::move(act)](JobStage now, std::size_t, std::size_t) mutable {
      if (now == stage && act) std::exchange(act, nullptr)();
    };
  }

  const BatchLine line_ = Line(1, "a.csv", "a.out.csv");
};

} // namespace

TEST_F(RunLineTest, IsDoneOnceAndThenSkipped) {
  const LineEnd first = Run();
  EXPECT_EQ(first.kind, LineEnd::Kind::Done);
  EXPECT_EQ(first.frames, 30u);
  EXPECT_EQ(first.why, "there is no report");
  EXPECT_NE(first.grade, mien::Grade::None);
  const std::string output = Saved("a.out.csv"), report = Saved("a.out.csv.report.json");
  const fs::file_time_type written = fs::last_write_time(folder_ / "a.out.csv");
  const LineEnd second = Run();
  EXPECT_EQ(second.kind, LineEnd::Kind::Skipped);
  EXPECT_EQ(second.grade, first.grade) << "by the report";
  EXPECT_EQ(fs::last_write_time(folder_ / "a.out.csv"), written);
  EXPECT_THAT(Files(), UnorderedElementsAre("a.csv", "a.out.csv", "a.out.csv.report.json"));

  fs::remove(folder_ / "a.out.csv.report.json");
  EXPECT_EQ(Run().kind, LineEnd::Kind::Done);
  EXPECT_EQ(Saved("a.out.csv"), output);
  EXPECT_EQ(Saved("a.out.csv.report.json"), report) << "the same whatever happened before";
}

TEST_F(RunLineTest, WhateverIsNoLongerAsTheReportSaysIsDoneAgain) {
  ASSERT_EQ(Run().kind, LineEnd::Kind::Done);
  const std::string take = Saved("a.csv"), output = Saved("a.out.csv"),
                    report = Saved("a.out.csv.report.json");

  WriteTake("a.csv", 31);
  EXPECT_EQ(Look(line_).why, "\"a.csv\" has changed");
  Write("a.csv", take);
  fs::remove(folder_ / "a.out.csv");
  EXPECT_EQ(Look(line_).why, "\"a.out.csv\" is not there");
  Write("a.out.csv", output + ' ');
  EXPECT_EQ(Look(line_).why, "\"a.out.csv\" differs from what was written");
  Write("a.out.csv", output);
  EXPECT_EQ(Look(line_).kind, LineState::Kind::Done);

  BatchLine other = line_;
  other.command.push_back("--smooth=6");
  EXPECT_EQ(Look(other).why, "\"--smooth=6\" is new");
  other.command = {"mien", "solve", "a.csv", "--output=a.out.csv"};
  EXPECT_EQ(Look(other).why, "\"--performer=landmarks68\" is gone");

  std::string older = report;
  const std::size_t version = older.find("\"mien ", older.find("\"tool\"")) + 6;
  older.insert(version, "0.");
  Write("a.out.csv.report.json", older);
  EXPECT_THAT(Look(line_).why, HasSubstr("made by \"mien 0."));
  EXPECT_EQ(Run().kind, LineEnd::Kind::Done);
  EXPECT_EQ(Saved("a.out.csv.report.json"), report);
}

// A report is a file, which may hold anything.
TEST_F(RunLineTest, ADamagedReportIsDoneAgain) {
  ASSERT_EQ(Run().kind, LineEnd::Kind::Done);
  const std::string report = Saved("a.out.csv.report.json");
  for (std::size_t size = 0; size + 2 < report.size(); size += 7) {
    Write("a.out.csv.report.json", report.substr(0, size));
    EXPECT_EQ(Look(line_).kind, LineState::Kind::Missing) << size;
  }
  for (const std::string text : {"[]", "{}", "{\"tool\": 1}", "{\"files\": []}"}) {
    Write("a.out.csv.report.json", text);
    EXPECT_NE(Look(line_).kind, LineState::Kind::Done) << text;
  }
  fs::remove(folder_ / "a.out.csv.report.json");
  fs::create_directory(folder_ / "a.out.csv.report.json");
  EXPECT_EQ(Look(line_).kind, LineState::Kind::Missing);
  EXPECT_EQ(Run().kind, LineEnd::Kind::Failed) << "the report cannot be written";
}

TEST_F(RunLineTest, AFailureIsKeptInAFileUntilTheLineIsDone) {
  Write("a.csv", "nothing\n");
  const LineEnd end = Run();
  ASSERT_EQ(end.kind, LineEnd::Kind::Failed);
  ASSERT_EQ(end.problems.size(), 1u);
  EXPECT_EQ(end.problems[0].code, mien::Code::UnknownFormat);
  EXPECT_THAT(Files(), UnorderedElementsAre("a.csv", "a.out.csv.error.json"));
  EXPECT_THAT(Saved("a.out.csv.error.json"), HasSubstr("\"format\": \"mien batch error 1\""));
  const LineState state = CheckLine(line_, folder_, LineCheck::Report);
  EXPECT_EQ(state.kind, LineState::Kind::Failed);
  ASSERT_EQ(state.problems.size(), 1u);
  EXPECT_EQ(state.problems[0].code, mien::Code::UnknownFormat);
  EXPECT_EQ(state.problems[0].file, "a.csv") << "as the manifest has it";
  EXPECT_EQ(state.problems[0].what, end.problems[0].what);

  WriteTake("a.csv", 30);
  EXPECT_EQ(Run().kind, LineEnd::Kind::Done);
  EXPECT_THAT(Files(), UnorderedElementsAre("a.csv", "a.out.csv", "a.out.csv.report.json"));
}

TEST_F(RunLineTest, AFailureLeavesTheFormerOutput) {
  ASSERT_EQ(Run().kind, LineEnd::Kind::Done);
  const std::string output = Saved("a.out.csv"), report = Saved("a.out.csv.report.json"),
                    take = Saved("a.csv");
  fs::remove(folder_ / "a.csv");
  EXPECT_EQ(Run().kind, LineEnd::Kind::Failed);
  EXPECT_EQ(Saved("a.out.csv"), output);
  EXPECT_EQ(Saved("a.out.csv.report.json"), report);
  Write("a.csv", take);
  EXPECT_EQ(Run().kind, LineEnd::Kind::Skipped);
  EXPECT_FALSE(Has("a.out.csv.error.json"));
}

TEST_F(RunLineTest, StoppedLeavesNothing) {
  for (const JobStage stage :
       {JobStage::Reading, JobStage::Preparing, JobStage::Solving, JobStage::Writing}) {
    const LineEnd end = Run(At(stage, [] { throw mien::BatchStopped(); }));
    EXPECT_EQ(end.kind, LineEnd::Kind::Stopped);
    EXPECT_THAT(Files(), ElementsAre("a.csv"));
  }
}

TEST_F(RunLineTest, MemoryThatRunsOutAndADefectAreFailuresOfTheLine) {
  LineEnd end = Run(At(JobStage::Solving, [] { throw std::bad_alloc(); }));
  ASSERT_EQ(end.kind, LineEnd::Kind::Failed);
  EXPECT_EQ(end.problems[0].code, mien::Code::Memory);
  end = Run(At(JobStage::Writing, [] { throw std::runtime_error("surprise"); }));
  ASSERT_EQ(end.kind, LineEnd::Kind::Failed);
  EXPECT_EQ(end.problems[0].what, "surprise");
  EXPECT_THAT(Files(), UnorderedElementsAre("a.csv", "a.out.csv.error.json"));
}

// Each change comes when the take has been opened; the first while it is being read.
TEST_F(RunLineTest, ATakeThatChangesMeanwhileIsAFailureAndTheNextRunDoesIt) {
  const std::string take = Saved("a.csv");
  const std::function<void()> changes[] = {
      [&] { std::ofstream(folder_ / "a.csv", std::ios::app) << "1,2\n"; },
      [&] { fs::resize_file(folder_ / "a.csv", 100); }, [&] { fs::resize_file(folder_ / "a.csv", 0); },
      [&] { fs::remove(folder_ / "a.csv"); },
      [&] { // the same length, other content
        std::fstream(folder_ / "a.csv", std::ios::in | std::ios::out).seekp(-3, std::ios::end) << '7';
      }};
  for (const auto& change : changes)
    for (const JobStage stage : {JobStage::Reading, JobStage::Preparing, JobStage::Solving}) {
      Write("a.csv", take);
      // Longer ago than the clock of any file system can miss.
      fs::last_write_time(folder_ / "a.csv", fs::file_time_type::clock::now() - std::chrono::seconds(10));
      const LineEnd end = Run(At(stage, change));
      ASSERT_EQ(end.kind, LineEnd::Kind::Failed);
      EXPECT_EQ(end.problems[0].code, mien::Code::Unreadable);
      EXPECT_EQ(end.problems[0].what, "the file was changed while it was used");
      EXPECT_FALSE(Has("a.out.csv.report.json"));
      Write("a.csv", take);
      EXPECT_EQ(Run().kind, LineEnd::Kind::Done);
      fs::remove(folder_ / "a.out.csv.report.json");
    }
}

TEST_F(RunLineTest, AnotherInputThatChangesMeanwhileIsAFailure) {
  const std::string performer =
      Write("ada.json", mien::ReadFile(MIEN_SAMPLES_FOLDER "/markers.performer.json"));
  const std::string take = Write("m.csv", mien::ReadFile(MIEN_SAMPLES_FOLDER "/markers.csv"));
  const BatchLine line = Line(1, "m.csv", "m.out.csv");
  const auto job_of = [&](const BatchLine& of) {
    mien::SolveJob job;
    job.take = of.take, job.output = of.output, job.performer = performer;
    return job;
  };
  const LineEnd end = mien::RunLine(
      line, folder_, job_of, At(JobStage::Solving, [&] { std::ofstream(performer, std::ios::app) << '\n'; }));
  ASSERT_EQ(end.kind, LineEnd::Kind::Failed);
  EXPECT_EQ(end.problems[0].file, performer);
  EXPECT_EQ(end.problems[0].what, "the file was changed while it was used");
  ASSERT_EQ(mien::RunLine(line, folder_, job_of, nullptr).kind, LineEnd::Kind::Done);
  std::ofstream(performer, std::ios::app) << '\n';
  EXPECT_EQ(Look(line).why, "\"ada.json\" has changed");
}

TEST_F(RunLineTest, AllOutputsOfALineAreHashed) {
  const auto job_of = [&](const BatchLine& of) {
    mien::SolveJob job = std::get<mien::SolveJob>(JobOf(of));
    job.frames_report = folder_ / "frames.csv";
    job.report = folder_ / "own.json";
    return job;
  };
  ASSERT_EQ(mien::RunLine(line_, folder_, job_of, nullptr).kind, LineEnd::Kind::Done);
  EXPECT_EQ(Look(line_).kind, LineState::Kind::Done);
  for (const std::string name : {"frames.csv", "own.json"}) {
    const std::string bytes = Saved(name);
    Write(name, "x");
    EXPECT_EQ(Look(line_).why, '"' + name + "\" differs from what was written");
    Write(name, bytes);
  }
}

TEST_F(RunLineTest, RecordedWeightsAreRetargetedTheSameWay) {
  Write("w.csv", mien::ReadFile(MIEN_SAMPLES_FOLDER "/mesh/weights.csv"));
  const BatchLine line = {.number = 1,
                          .take = folder_ / "w.csv",
                          .output = folder_ / "w.json",
                          .command = {"mien", "retarget", "w.csv", "--output=w.json"}};
  const auto job_of = [](const BatchLine& of) {
    mien::RetargetJob job;
    job.weights = of.take, job.output = of.output;
    return job;
  };
  const LineEnd end = mien::RunLine(line, folder_, job_of, nullptr);
  EXPECT_EQ(end.kind, LineEnd::Kind::Done);
  EXPECT_EQ(end.frames, 5u);
  EXPECT_EQ(end.grade, mien::Grade::None);
  EXPECT_EQ(mien::RunLine(line, folder_, job_of, nullptr).kind, LineEnd::Kind::Skipped);
  EXPECT_EQ(mien::RunLine(line, folder_, job_of, nullptr).grade, mien::Grade::None);
}
