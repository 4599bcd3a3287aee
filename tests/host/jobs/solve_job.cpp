#include "host/jobs/solve_job.h"

#include "host/files/read_file.h"
#include "host/fit/shape_basis.h"
#include "host/formats/read_take.h"
#include "host/formats/write_take.h"
#include "host/gltf/glb.h"
#include "host/jobs/output_place.h"
#include "tests/host/basis_head.h"
#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using mien::Code;
using mien::InputError;
using mien::JobStage;
using mien::ReadFile;
using mien::SolveJob;
using mien::SolveResult;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

class SolveJobs : public TemporaryFolder {
protected:
  SolveJob Job(const std::string& output) const {
    SolveJob job;
    job.take = kSamples / "landmarks.csv";
    job.performer = "landmarks68";
    job.output = folder_ / output;
    return job;
  }

  /// A sample, several times behind itself: so long that several threads share each of its stages. Every marker is
  /// hidden now and then, for a moment or for seconds; sometimes all are.
  std::string LongTake(const std::string& sample, mien::TakeFormat format) const {
    const mien::Take take = mien::ReadTake(kSamples / sample);
    mien::Take many(take.markers);
    many.rate = take.rate;
    for (std::size_t f = 0; f < 5 * take.FrameCount(); ++f) {
      const auto number = static_cast<std::int64_t>(f + 1);
      many.AddFrame(number, take.rate.Seconds(number - 1));
      for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
        const mien::Point* const p = take.At(f % take.FrameCount(), m);
        const bool hidden = (f + 31 * m) % 401 < 1 + m % 90 || f % 700 > 690;
        if (p && !hidden) many.Set(f, m, *p);
      }
    }
    std::ostringstream bytes;
    WriteTake(many, format, bytes);
    return Write(sample + (format == mien::TakeFormat::C3d ? ".c3d" : ".csv"), bytes.str()).string();
  }

  /// The sample of landmarks as its tracker writes it, several times behind itself.
  std::string LongLandmarks() const {
    std::istringstream sample(ReadFile(kSamples / "landmarks.csv"));
    std::string header, text;
    std::getline(sample, header);
    std::vector<std::string> rows;
    for (std::string row; std::getline(sample, row);) rows.push_back(row);
    for (std::size_t f = 0; f < 5 * rows.size(); ++f) {
      const std::string& row = rows[f % rows.size()];
      const std::size_t behind_time = row.find(',', row.find(',') + 1);
      text += fmt::format("\n{}, {:.3f}{}", f + 1, static_cast<double>(f) / 30, row.substr(behind_time));
    }
    return Write("long.csv", header + text + "\n").string();
  }

  /// The code and the place of the one problem that a job ends with.
  static std::pair<Code, std::string> ProblemOf(const SolveJob& job) {
    try {
      mien::Run(job);
    } catch (const InputError& error) {
      EXPECT_EQ(error.Problems().size(), 1u) << error.what();
      return {error.Problems()[0].code, error.Problems()[0].place};
    }
    return {Code::Memory, "no problem"};
  }
};

} // namespace

TEST_F(SolveJobs, AnswersWhatWasDone) {
  SolveJob job = Job("w.csv");
  job.character = "arkit52";
  const SolveResult result = mien::Run(job);
  EXPECT_EQ(result.performer, "landmarks68");
  EXPECT_EQ(result.character, "arkit52");
  EXPECT_EQ(result.take.FrameCount(), 360u);
  EXPECT_EQ(result.report.frames, 360u);
  EXPECT_EQ(result.written.path, job.output);
  EXPECT_EQ(result.written.format, mien::AnimationFormat::ShapeCsv);
  EXPECT_EQ(result.written.frames, 360u);
  EXPECT_EQ(result.written.shapes, 52u);
  EXPECT_THAT(result.files, IsEmpty()) << "nobody asked for hashes";
  EXPECT_TRUE(std::filesystem::exists(job.output));
}

TEST_F(SolveJobs, FindTheHeadFromAllRigidMarkersOrFromTheHeadMarkers) {
  SolveJob job = Job("w.csv");
  const SolveResult by_default = mien::Run(job);
  EXPECT_EQ(by_default.report.rigid.size(), 19u);
  EXPECT_EQ(by_default.report.anchored.size(), 4u);
  const std::string fitted = ReadFile(job.output);
  job.solve.head_fit = mien::HeadFit::Markers;
  const SolveResult by_markers = mien::Run(job);
  EXPECT_THAT(by_markers.report.rigid, IsEmpty());
  EXPECT_THAT(by_markers.report.anchored, IsEmpty());
  EXPECT_NE(ReadFile(job.output), fitted);
  // The neutral face, too, is found by it.
  EXPECT_NE(by_markers.neutral.pose.at("lm37").y, by_default.neutral.pose.at("lm37").y);
}

TEST_F(SolveJobs, AtAnotherRateTheTakesOwnFramesStay) {
  using Json = nlohmann::json;
  SolveJob job = Job("own.json");
  job.character = (kSamples / "puppet.character.json").string(); // with clusters
  job.timecode = "10:00:00:00@30";
  mien::Run(job);
  const Json own = Json::parse(ReadFile(job.output));
  job.output = folder_ / "twice.json";
  job.report = folder_ / "report.json";
  job.output_rate = mien::FrameRate{60, 1};
  EXPECT_EQ(mien::Run(job).written.frames, 719U);
  const Json twice = Json::parse(ReadFile(job.output));
  EXPECT_EQ(twice["rate"], 60);
  EXPECT_EQ(twice["timecode"], own["timecode"]);
  EXPECT_EQ(Json::parse(ReadFile(job.report))["settings"]["output_rate"], "60");
  const auto every_number_near = [](const Json& a, const Json& b) {
    const Json flat_a = a.flatten(), flat_b = b.flatten();
    ASSERT_EQ(flat_a.size(), flat_b.size());
    for (const auto& [key, value] : flat_a.items())
      EXPECT_NEAR(value.get<double>(), flat_b[key].get<double>(), 1e-5) << key; // single precision
  };
  for (const std::size_t frame : {0U, 3U, 99U, 357U}) { // whose times are whole milliseconds, as in the table
    EXPECT_NEAR(twice["times"][2 * frame].get<double>(), own["times"][frame].get<double>(), 1e-3);
    for (const char* place : {"/head/rotation", "/head/translation", "/templates/weights", "/shapes/weights",
                              "/clusters/local/rotation", "/clusters/global/translation"}) {
      const Json::json_pointer list(place);
      every_number_near(twice[list][2 * frame], own[list][frame]);
    }
  }
}

TEST_F(SolveJobs, FittedShapesAreResampledAsWell) {
  SolveJob job = Job("own.csv");
  job.character = "arkit52";
  job.solve.solver = mien::ShapeSolver::Fit;
  job.output_rate = mien::FrameRate{15, 1}; // every other frame of the take
  EXPECT_EQ(mien::Run(job).written.frames, 180U);
  const auto row = [](const std::string& table, const std::string& time) {
    const std::size_t at = table.find("," + time + ",");
    return table.substr(at, table.find('\n', at) - at);
  };
  const std::string half = ReadFile(job.output);
  job.output_rate.reset();
  mien::Run(job);
  const std::string all = ReadFile(job.output);
  EXPECT_EQ(row(half, "2"), row(all, "2"));
  EXPECT_NE(row(half, "2"), row(half, "4"));
}

TEST_F(SolveJobs, HashesItsFilesWhereThatIsAskedFor) {
  SolveJob job = Job("w.csv");
  job.hash_files = true;
  std::vector<std::string> roles;
  for (const mien::ReportedFile& file : mien::Run(job).files) roles.push_back(file.role);
  EXPECT_THAT(roles, ElementsAre("take", "performer", "output"));
}

// A batch runs several at once. Each has expressions of its own, which once stood in one place for the whole
// process.
TEST_F(SolveJobs, RunAtOnceWithoutTouchingEachOther) {
  const auto job = [&](int i, const std::string& output) {
    SolveJob smiling = Job(output + std::to_string(i) + ".json");
    smiling.character = kSamples / "puppet.character.json";
    smiling.expressions = {{i % 2 == 0 ? "Content" : "Stern", 0.25 * (i + 1)}};
    return smiling;
  };
  constexpr int kJobs = 4;
  std::vector<std::string> alone;
  for (int i = 0; i < kJobs; ++i) {
    mien::Run(job(i, "alone"));
    alone.push_back(ReadFile(job(i, "alone").output));
  }
  EXPECT_NE(alone[0], alone[1]);
  std::vector<std::thread> threads;
  for (int i = 0; i < kJobs; ++i) threads.emplace_back([&, i] { mien::Run(job(i, "at once")); });
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < kJobs; ++i)
    EXPECT_EQ(ReadFile(job(i, "at once").output), alone[static_cast<std::size_t>(i)]) << i;
}

TEST_F(SolveJobs, SettingsThatDoNotFitAreUsageProblemsAtTheSetting) {
  using Change = std::function<void(SolveJob&)>;
  const std::vector<std::pair<Change, std::string>> changes = {
      {[&](SolveJob& job) { job.output = folder_ / "w.txt"; }, "output"},
      {[&](SolveJob& job) { job.output = job.take; }, "output"},
      {[&](SolveJob& job) { job.report = job.output; }, "report"},
      {[&](SolveJob& job) { job.frames_report = job.output; }, "frames-report"},
      {[&](SolveJob& job) { job.report = job.frames_report = folder_ / "r"; }, "frames-report"},
      {[&](SolveJob& job) { job.frames_report = job.take = Write("take.csv", ""); }, "frames-report"},
      {[&](SolveJob& job) { job.onto = kSamples / "head.glb"; }, "onto"},
      {[&](SolveJob& job) { job.head_node = "face"; }, "head"},
      {[&](SolveJob& job) { job.csv_style = mien::CsvStyle::LiveLink, job.only_templates = true; },
       "templates"},
      {[&](SolveJob& job) { job.csv_style = mien::CsvStyle::Plain, job.output = folder_ / "w.json"; },
       "csv-style"},
      {[&](SolveJob& job) {
         job.expressions = {{"Content", 1}};
       },
       "expression"},
      {[&](SolveJob& job) { job.timecode = "noon"; }, "timecode"},
      {[&](SolveJob& job) { job.basis = kSamples / "head.glb"; }, "basis"},
      {[&](SolveJob& job) { job.basis_landmarks = "l.csv"; }, "basis-landmarks"},
      {[&](SolveJob& job) { job.solve.solver = mien::ShapeSolver::Fit; }, "solver"},
      {[&](SolveJob& job) {
         job.solve.solver = mien::ShapeSolver::Fit, job.character = "arkit52", job.basis = "-";
         job.take = "-";
       },
       "basis"},
      {[&](SolveJob& job) {
         job.solve.solver = mien::ShapeSolver::Fit, job.character = "arkit52";
         job.basis = folder_ / "h.glb", job.report = Write("h.landmarks.csv", "landmark,x,y,z");
       },
       "report"},
      {[&](SolveJob& job) { job.solve.smooth_positions_hz = 1000; }, "smooth"},
      {[&](SolveJob& job) { job.solve.smooth_weights_hz = 1000; }, "smooth-weights"},
  };
  for (const auto& [change, setting] : changes) {
    SolveJob job = Job("w.csv");
    change(job);
    EXPECT_EQ(ProblemOf(job), std::pair(Code::Usage, setting));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "w.csv")) << setting;
  }
}

// A head is known by its content, a table by anything else; either is in the report with its hash.
TEST_F(SolveJobs, FitOnTheUsersHeadOrTable) {
  const mien::ShapeBasis face = mien::LoadBasis(mien::BuiltInBasis::TwoHeads);
  std::ostringstream head;
  mien::WriteGlb(tests::HeadOfBasis(face), head);
  SolveJob job = Job("w.csv");
  job.character = "arkit52", job.solve.solver = mien::ShapeSolver::Fit;
  job.report = folder_ / "r.json";
  job.basis = Write("h.vrm", head.str());
  EXPECT_EQ(ProblemOf(job), std::pair(Code::NotFound, std::string())) << "the landmarks";
  EXPECT_FALSE(std::filesystem::exists(job.output));
  Write("h.landmarks.csv", tests::LandmarksOfBasis(face));
  const auto roles = [](const SolveResult& result) {
    std::vector<std::string> names;
    for (const mien::ReportedFile& file : result.files)
      names.push_back(file.role + (file.sha256.size() == 64 ? " hashed" : ""));
    return names;
  };
  const SolveResult by_head = mien::Run(job);
  EXPECT_EQ(by_head.report.fit.basis, job.basis);
  EXPECT_THAT(roles(by_head), ElementsAre("take hashed", "performer", "character", "basis hashed",
                                          "basis_landmarks hashed", "output hashed"));
  std::filesystem::rename(folder_ / "h.landmarks.csv", folder_ / "l.csv");
  job.basis_landmarks = folder_ / "l.csv";
  EXPECT_THAT(mien::Run(job).report.fit.fitted, ElementsAreArray(by_head.report.fit.fitted));

  std::filesystem::copy(std::filesystem::path(MIEN_SAMPLES_FOLDER) / "../data/shape_basis/two_heads.csv",
                        folder_ / "t.csv");
  job.basis = folder_ / "t.csv";
  EXPECT_EQ(ProblemOf(job), std::pair(Code::Usage, std::string("basis-landmarks")));
  job.basis_landmarks.clear();
  const SolveResult by_table = mien::Run(job);
  EXPECT_EQ(by_table.report.fit.basis, job.basis);
  EXPECT_THAT(by_table.report.fit.fitted, UnorderedElementsAreArray(by_head.report.fit.fitted));
  EXPECT_THAT(roles(by_table),
              ElementsAre("take hashed", "performer", "character", "basis hashed", "output hashed"));
  const std::string solved = ReadFile(job.output);
  job.basis.clear();
  mien::Run(job);
  EXPECT_EQ(ReadFile(job.output), solved) << "the table is the built-in one";

  // With ".landmarks.csv", the name is longer than names may be.
  job.basis = Write(std::string(248, 'h') + ".glb", head.str());
  EXPECT_EQ(ProblemOf(job), std::pair(Code::NotFound, std::string())) << "the landmarks";

  job.basis = Write("scene.glb", "BLENDER-v300");
  EXPECT_EQ(ProblemOf(job).first, Code::Unsupported);
  job.basis = Write("notes.txt", "not a table\n");
  EXPECT_EQ(ProblemOf(job).first, Code::Syntax);
}

TEST_F(SolveJobs, FaultsOfFilesCarryTheirCodes) {
  SolveJob job = Job("w.csv");
  job.take = folder_ / "none.csv";
  EXPECT_EQ(ProblemOf(job).first, Code::NotFound);
  job.take = Write("notes.txt", "not a take");
  EXPECT_EQ(ProblemOf(job).first, Code::UnknownFormat);
  job = Job("w.csv");
  job.performer = Write("broken.json", "{");
  EXPECT_EQ(ProblemOf(job).first, Code::Syntax);
  job = Job("w.csv");
  job.character = kSamples / "puppet.character.json";
  job.output = folder_ / "w.json";
  job.expressions = {{"Smirk", 1}};
  EXPECT_EQ(ProblemOf(job), std::pair(Code::NotFound, std::string("/expressions")));
}

TEST_F(SolveJobs, AreStoppedByTheirProgressAndLeaveNothing) {
  struct Stop {};
  for (const JobStage where : {JobStage::Reading, JobStage::Solving, JobStage::Writing})
    for (const std::string output : {"w.csv", "w.json"}) {
      const auto stop = [&](JobStage stage, std::size_t done, std::size_t) {
        if (stage == where && (done >= 100 || stage == JobStage::Reading)) throw Stop();
      };
      EXPECT_THROW(mien::Run(Job(output), stop), Stop) << output;
      EXPECT_TRUE(std::filesystem::is_empty(folder_)) << output;
    }
}

TEST_F(SolveJobs, ReportHowFarEachStageIs) {
  for (const std::string output : {"w.csv", "p.csv", "w.json"}) {
    SolveJob job = Job(output);
    if (output != "w.csv") job.character = "arkit52";
    if (output == "p.csv") job.csv_style = mien::CsvStyle::LiveLink;
    std::map<JobStage, std::pair<std::size_t, std::size_t>> last;
    std::vector<JobStage> stages;
    mien::Run(job, [&](JobStage stage, std::size_t done, std::size_t total) {
      if (stages.empty() || stages.back() != stage) stages.push_back(stage);
      EXPECT_TRUE(last[stage].first == 0 || done > last[stage].first);
      last[stage] = {done, total};
    });
    EXPECT_THAT(stages,
                ElementsAre(JobStage::Reading, JobStage::Preparing, JobStage::Solving, JobStage::Writing));
    EXPECT_EQ(last[JobStage::Reading], (std::pair<std::size_t, std::size_t>()))
        << "fetched, and nobody knows";
    EXPECT_EQ(last[JobStage::Solving], std::pair(std::size_t{359}, std::size_t{360}));
    const auto [values, of] = last[JobStage::Writing];
    EXPECT_GE(values, of) << output;
    EXPECT_LT(values, of + of / 10) << output;
  }
}

TEST_F(SolveJobs, GiveTheSameBytesForAnyNumberOfThreads) {
  SolveJob markers = Job("m.csv");
  markers.take = LongTake("markers.csv", mien::TakeFormat::C3d);
  markers.performer = (kSamples / "markers.performer.json").string();
  markers.report = folder_ / "report.json";
  markers.frames_report = folder_ / "frames.csv";
  SolveJob by_head = markers;
  by_head.solve.head_fit = mien::HeadFit::Markers;
  by_head.solve.smooth_positions_hz = 6;
  SolveJob clusters = markers;
  clusters.character = (kSamples / "puppet.character.json").string();
  clusters.output = folder_ / "m.json";
  SolveJob head = clusters;
  head.output = folder_ / "m.glb";
  SolveJob landmarks = Job("l.csv");
  landmarks.take = LongLandmarks();
  landmarks.character = "arkit52";
  landmarks.csv_style = mien::CsvStyle::LiveLink;
  landmarks.timecode = "10:00:00:00@30";
  landmarks.report = folder_ / "report.json";
  SolveJob fitted = landmarks;
  fitted.take = LongTake("landmarks.csv", mien::TakeFormat::MarkerCsv);
  fitted.csv_style.reset();
  fitted.solve.solver = mien::ShapeSolver::Fit;
  for (SolveJob job : {markers, by_head, clusters, head, landmarks, fitted}) {
    SCOPED_TRACE(job.output);
    std::vector<std::string> files[3]; // by the number of threads
    constexpr std::size_t kThreads[] = {1, 2, 7};
    for (std::size_t i = 0; i < 3; ++i) {
      job.solve.threads = job.reading.threads = kThreads[i];
      mien::Run(job);
      for (const std::string& path : {job.output, job.report, job.frames_report})
        files[i].push_back(path.empty() ? "" : ReadFile(path));
    }
    EXPECT_GT(files[0][0].size(), 1000u);
    for (std::size_t i = 1; i < 3; ++i)
      for (std::size_t file = 0; file < files[0].size(); ++file)
        EXPECT_TRUE(files[i][file] == files[0][file]) << kThreads[i] << " threads, file " << file;
  }
}

// Only the calling thread reports, in order, so a program may show it or stop there.
TEST_F(SolveJobs, ReportFromTheCallingThreadHoweverManyThreadsThereAre) {
  SolveJob job = Job("w.csv");
  job.take = LongLandmarks();
  job.solve.threads = 4;
  const std::thread::id caller = std::this_thread::get_id();
  std::size_t before = 0;
  mien::Run(job, [&](JobStage stage, std::size_t done, std::size_t) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    if (stage != JobStage::Solving) return;
    EXPECT_GE(done, before);
    before = done;
  });
  struct Stop {};
  std::filesystem::remove(job.output);
  EXPECT_THROW(mien::Run(job,
                         [](JobStage stage, std::size_t, std::size_t) {
                           if (stage == JobStage::Solving) throw Stop();
                         }),
               Stop);
  EXPECT_FALSE(std::filesystem::exists(job.output));
}

TEST_F(SolveJobs, GiveTheSameFileWithProgressAndWithout) {
  mien::Run(Job("a.json"));
  mien::Run(Job("b.json"), [](JobStage, std::size_t, std::size_t) {});
  EXPECT_EQ(ReadFile(folder_ / "a.json"), ReadFile(folder_ / "b.json"));
}

// The disk is full in the middle of it.
TEST_F(SolveJobs, NoticeAFailedWriteBehindTheirProgress) {
  for (const char* path : {"/dev/full", "/dev/null"}) {
    SolveJob job = Job("");
    job.output = path;
    const auto run = [&] { mien::Run(job, [](JobStage, std::size_t, std::size_t) {}); };
    EXPECT_THAT(InputErrorOf(run), testing::StartsWith(path == std::string("/dev/full")
                                                           ? "/dev/full: cannot be written: No space left"
                                                           : "no InputError"));
  }
}

TEST_F(SolveJobs, ReadStandardInputOnce) {
  using Change = std::function<void(SolveJob&)>;
  const std::vector<std::pair<Change, std::string>> changes = {
      {[](SolveJob& job) { job.performer = "-"; }, "performer"},
      {[](SolveJob& job) { job.performer = "/dev/stdin"; }, "performer"},
      {[](SolveJob& job) { job.character = "-"; }, "character"},
      {[](SolveJob& job) { job.onto = "-", job.output += ".glb"; }, "onto"}};
  for (const auto& [change, setting] : changes) {
    SolveJob job = Job("w");
    job.output += ".csv";
    job.take = "-";
    change(job);
    EXPECT_EQ(ProblemOf(job), std::pair(Code::Usage, setting));
  }
}
