#include "host/base/parse_json.h"
#include "host/files/read_file.h"
#include "host/jobs/solve_job.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <filesystem>
#include <sstream>
#include <string_view>

using mien::ReadFile;
using mien::SolveJob;
using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

/// One solve as a job of the command, and the same in handles.
struct Case {
  const char* take;
  const char* performer;
  const char* character;
  std::vector<std::pair<std::string, std::string>> solving;
  void (*in_job)(SolveJob&);
};

const Case kCases[] = {
    {"landmarks.csv", "landmarks68", "", {}, [](SolveJob&) {}},
    {"landmarks.csv",
     "landmarks68",
     "arkit52",
     {{"timecode", "10:02:59:29@30"}},
     [](SolveJob& job) { job.timecode = "10:02:59:29@30"; }},
    {"landmarks.csv",
     "landmarks68",
     "arkit52",
     {{"solver", "fit"}},
     [](SolveJob& job) { job.solve.solver = mien::ShapeSolver::Fit; }},
    {"markers.csv",
     "markers.performer.json",
     "puppet.character.json",
     {{"smooth", "8"}, {"smooth-weights", "6.5"}, {"neutral", "1-10"}},
     [](SolveJob& job) {
       job.solve.smooth_positions_hz = 8;
       job.solve.smooth_weights_hz = 6.5;
       job.neutral = mien::FrameRange{1, 10};
     }},
    {"markers.csv",
     "markers.performer.json",
     "puppet.character.json",
     {{"output-rate", "25"}, {"no-ranges", "true"}, {"head-fit", "markers"}, {"fill", "none"}},
     [](SolveJob& job) {
       job.output_rate = mien::FrameRate{25, 1};
       job.ranges = false;
       job.solve.head_fit = mien::HeadFit::Markers;
       job.solve.face_fill = {};
     }},
};

std::string Sample(const std::string& name) {
  const std::filesystem::path path = kSamples / name;
  return std::filesystem::exists(path) ? path.string() : name;
}

AnimationHandle SolveCase(const Case& c) {
  return Solve(ReadTake(Sample(c.take)), LoadPerformer(Sample(c.performer)),
               *c.character ? LoadCharacter(Sample(c.character)) : nullptr,
               SettingsOf(MIEN_STEP_SOLVE, c.solving));
}

SolveJob JobOf(const Case& c, const std::string& output) {
  SolveJob job;
  job.take = Sample(c.take);
  job.performer = Sample(c.performer);
  job.character = *c.character ? Sample(c.character) : "";
  job.output = output;
  c.in_job(job);
  return job;
}

std::string Written(const AnimationHandle& animation, const std::string& path,
                    const Settings& settings = nullptr) {
  Errors errors;
  EXPECT_EQ(mien_animation_write(animation.get(), path.c_str(), settings.get(), nullptr, nullptr, errors),
            MIEN_OK)
      << errors.AllText();
  return ReadFile(path);
}

/// The rows of a CSV file behind its header, as doubles; NaN for a timecode.
std::vector<std::vector<double>> Rows(const std::string& bytes) {
  std::vector<std::vector<double>> rows;
  std::istringstream lines(bytes);
  std::string line, cell;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    std::istringstream cells(line);
    std::vector<double>& row = rows.emplace_back();
    while (std::getline(cells, cell, ',')) {
      double value = 0;
      const auto end = std::from_chars(cell.data(), cell.data() + cell.size(), value).ptr;
      row.push_back(end == cell.data() + cell.size() ? value : std::nan(""));
    }
  }
  return rows;
}

} // namespace

class CSolve : public TemporaryFolder {};

TEST_F(CSolve, WritesTheBytesOfTheCommand) {
  std::size_t formats = 0;
  for (const Case& c : kCases) {
    const AnimationHandle animation = SolveCase(c);
    for (const std::string ending : {".csv", formats % 4 == 0 ? ".glb" : ".json"}) {
      SCOPED_TRACE(std::string(c.take) + " " + c.character + ending);
      mien::Run(JobOf(c, folder_ / ("job" + ending)));
      EXPECT_TRUE(Written(animation, folder_ / ("c" + ending)) == ReadFile(folder_ / ("job" + ending)));
      ++formats;
    }
  }
}

TEST_F(CSolve, WritesToMemoryWhatItWritesToAFile) {
  const AnimationHandle animation = SolveCase(kCases[1]);
  for (const std::string ending : {".csv", ".json", ".glb", ".vrma"}) {
    Errors errors;
    const Text text(mien_animation_write_memory(animation.get(), ending.c_str(), nullptr, nullptr, errors));
    ASSERT_TRUE(text) << errors.AllText();
    EXPECT_TRUE(std::string(mien_text_data(text.get()), mien_text_size(text.get())) ==
                Written(animation, folder_ / ("a" + ending)))
        << ending;
  }
}

TEST_F(CSolve, WritesOntoAHeadInAnyStyleOfTheCommand) {
  const AnimationHandle animation = SolveCase(kCases[1]);
  SolveJob job = JobOf(kCases[1], folder_ / "job.glb");
  job.onto = Sample("head.glb");
  job.head_node = "face";
  mien::Run(job);
  EXPECT_TRUE(Written(animation, folder_ / "c.glb",
                      SettingsOf(MIEN_STEP_WRITE, {{"onto", Sample("head.glb")}, {"head", "face"}})) ==
              ReadFile(job.output));
  job = JobOf(kCases[1], folder_ / "job.csv");
  job.csv_style = mien::CsvStyle::LiveLink;
  mien::Run(job);
  EXPECT_TRUE(Written(animation, folder_ / "c.csv",
                      SettingsOf(MIEN_STEP_WRITE, {{"csv-style", "livelink"}})) == ReadFile(job.output));
  job = JobOf(kCases[1], folder_ / "templates.csv");
  job.only_templates = true;
  mien::Run(job);
  EXPECT_TRUE(Written(animation, folder_ / "t.csv", SettingsOf(MIEN_STEP_WRITE, {{"templates", "true"}})) ==
              ReadFile(job.output));
}

TEST_F(CSolve, HasTheNumbersOfTheCommandsFilesToTheBit) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(c.take) + " " + c.character);
    mien::Run(JobOf(c, folder_ / "job.csv"));
    const AnimationHandle animation = SolveCase(c);
    const std::vector<std::vector<double>> rows = Rows(ReadFile(folder_ / "job.csv"));
    const bool has_shapes = *c.character;
    const mien_array numbers = ArrayOf(animation, MIEN_ANIMATION_FRAMES),
                     times = ArrayOf(animation, MIEN_ANIMATION_TIMES),
                     weights = ArrayOf(animation,
                                       has_shapes ? MIEN_ANIMATION_SHAPE_WEIGHTS : MIEN_ANIMATION_WEIGHTS);
    ASSERT_EQ(mien_animation_frame_count(animation.get()), rows.size());
    const std::size_t columns = weights.shape[1];
    EXPECT_EQ(mien_animation_name_count(animation.get(), has_shapes ? MIEN_SHAPE_NAMES : MIEN_TEMPLATE_NAMES),
              columns);
    std::size_t compared = 0;
    for (std::size_t f = 0; f < rows.size(); ++f) {
      ASSERT_GE(rows[f].size(), columns + 2);
      EXPECT_EQ(static_cast<double>(At<std::int64_t>(numbers, {f})), rows[f][0]);
      EXPECT_EQ(At<double>(times, {f}), rows[f][1]);
      const std::size_t first = rows[f].size() - columns; // behind a timecode, if there is one
      for (std::size_t i = 0; i < columns; ++i, ++compared)
        ASSERT_EQ(At<double>(weights, {f, i}), rows[f][first + i]) << f << " " << i;
    }
    EXPECT_GT(compared, 1000u);
  }
}

TEST_F(CSolve, HasTheHeadAndTheClustersOfTheCommandsFile) {
  mien::Run(JobOf(kCases[3], folder_ / "job.json"));
  const nlohmann::json file = nlohmann::json::parse(ReadFile(folder_ / "job.json"));
  const AnimationHandle animation = SolveCase(kCases[3]);
  const mien_array motion = ArrayOf(animation, MIEN_ANIMATION_HEAD_MOTION);
  const nlohmann::json& translation = file["head"]["translation"];
  ASSERT_EQ(ShapeOf(motion), (std::vector<std::size_t>{translation.size(), 4, 4}));
  for (std::size_t f = 0; f < translation.size(); ++f) {
    for (std::size_t axis = 0; axis < 3; ++axis)
      EXPECT_EQ(At<double>(motion, {f, axis, 3}), translation[f][axis].get<double>());
    EXPECT_EQ(At<double>(motion, {f, 3, 3}), 1);
  }
  const nlohmann::json& local = file["clusters"]["local"];
  const std::size_t clusters = file["clusters"]["names"].size();
  ASSERT_GT(clusters, 0u);
  const mien_array places = ArrayOf(animation, MIEN_ANIMATION_LOCAL_TRANSLATIONS),
                   rotations = ArrayOf(animation, MIEN_ANIMATION_LOCAL_ROTATIONS),
                   scales = ArrayOf(animation, MIEN_ANIMATION_LOCAL_SCALES);
  ASSERT_EQ(ShapeOf(places), (std::vector<std::size_t>{translation.size(), clusters, 3}));
  for (std::size_t f = 0; f < translation.size(); ++f)
    for (std::size_t c = 0; c < clusters; ++c)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(At<double>(places, {f, c, axis}), local["translation"][f][c][axis].get<double>());
        EXPECT_EQ(At<double>(scales, {f, c, axis}), local["scale"][f][c][axis].get<double>());
        // From the quaternion: the image of the x axis is column 0.
        const nlohmann::json& q = local["rotation"][f][c];
        const double x = q[0], y = q[1], z = q[2], w = q[3];
        const double image[] = {1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)};
        EXPECT_NEAR(At<double>(rotations, {f, c, axis, 0}), image[axis], 1e-12);
      }
  EXPECT_STREQ(mien_animation_name(animation.get(), MIEN_CLUSTER_NAMES, 0),
               file["clusters"]["names"][0]["cluster"].get<std::string>().c_str());
  EXPECT_STREQ(mien_animation_name(animation.get(), MIEN_CLUSTER_PART_NAMES, 0),
               file["clusters"]["names"][0]["part"].get<std::string>().c_str());
}

TEST_F(CSolve, ReportsWhatTheCommandReports) {
  SolveJob job = JobOf(kCases[3], folder_ / "job.csv");
  job.report = folder_ / "job.report.json";
  mien::Run(job);
  nlohmann::json expected = nlohmann::json::parse(ReadFile(job.report)),
                 report = nlohmann::json::parse(
                     mien_animation_get_text(SolveCase(kCases[3]).get(), MIEN_ANIMATION_REPORT));
  for (const char* of_the_command : {"command", "files"}) {
    ASSERT_TRUE(expected.contains(of_the_command));
    expected.erase(of_the_command);
    report.erase(of_the_command);
  }
  EXPECT_EQ(report, expected);
}

TEST_F(CSolve, HasTheQualityOfEachFrameOfTheTake) {
  SolveJob job = JobOf(kCases[4], folder_ / "job.csv"); // at another rate
  job.frames_report = folder_ / "frames.csv";
  const mien::SolveResult result = mien::Run(job);
  const AnimationHandle animation = SolveCase(kCases[4]);
  const mien_array residuals = ArrayOf(animation, MIEN_ANIMATION_RESIDUALS),
                   known = ArrayOf(animation, MIEN_ANIMATION_HEAD_KNOWN);
  ASSERT_EQ(ShapeOf(residuals), (std::vector<std::size_t>{result.report.per_frame.size(), 9}));
  ASSERT_NE(result.report.per_frame.size(), result.animation.frames.size());
  for (std::size_t f = 0; f < result.report.per_frame.size(); ++f) {
    EXPECT_EQ(At<std::uint8_t>(known, {f}), result.report.per_frame[f].head_known ? 1 : 0);
    for (std::size_t p = 0; p < 9; ++p) {
      const double residual = result.report.per_frame[f].residual_mm[p];
      if (std::isnan(residual))
        EXPECT_TRUE(std::isnan(At<double>(residuals, {f, p})));
      else
        EXPECT_EQ(At<double>(residuals, {f, p}), residual);
    }
  }
  EXPECT_STREQ(mien_animation_name(animation.get(), MIEN_FACE_PART_NAMES, 0), "Mouth");
  EXPECT_EQ(mien_animation_name_count(animation.get(), MIEN_FACE_PART_NAMES), 9u);
}

TEST(CSolveSettings, ThatDoNotFitAreRefused) {
  const TakeHandle take = ReadTake(Sample("landmarks.csv"));
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const std::pair<std::pair<std::string, std::string>, const char*> wrong[] = {
      {{"solver", "fit"}, "solver"},  // without a character
      {{"smooth", "1000"}, "smooth"}, // above half the rate
      {{"basis", "x.csv"}, "basis"},  // without fit
      {{"expression", "Smile=1"}, "expression"},
      {{"timecode", "25:00:00:00"}, "timecode"}};
  for (const auto& [option, place] : wrong) {
    Errors errors;
    EXPECT_FALSE(mien_solve(take.get(), performer.get(), nullptr, SettingsOf(MIEN_STEP_SOLVE, {option}).get(),
                            nullptr, errors));
    EXPECT_EQ(errors.Status(), MIEN_USAGE);
    EXPECT_STREQ(errors.At(0).place, place) << errors.AllText();
  }
}

TEST(CSolveProgress, IsReportedAndStopsTheSolve) {
  const TakeHandle take = ReadTake(Sample("landmarks.csv"));
  const PerformerHandle performer = LoadPerformer("landmarks68");
  struct Seen {
    std::vector<std::pair<mien_stage, std::size_t>> reports;
    std::size_t stop_after = 1000000;
  };
  mien_progress progress = {};
  progress.struct_size = sizeof progress;
  progress.report = [](void* user, mien_stage stage, std::size_t done, std::size_t) {
    Seen& seen = *static_cast<Seen*>(user);
    seen.reports.push_back({stage, done});
    return seen.reports.size() > seen.stop_after ? 1 : 0;
  };
  Seen all;
  progress.user = &all;
  Errors errors;
  AnimationHandle animation(mien_solve(take.get(), performer.get(), nullptr, nullptr, &progress, errors));
  ASSERT_TRUE(animation) << errors.AllText();
  EXPECT_EQ(all.reports.front().first, MIEN_PREPARING);
  EXPECT_EQ(all.reports.back().first, MIEN_SOLVING);
  EXPECT_GT(all.reports.size(), 50u);
  EXPECT_LT(all.reports.size(), 500u);

  Seen some;
  some.stop_after = 20;
  progress.user = &some;
  animation.reset(mien_solve(take.get(), performer.get(), nullptr, nullptr, &progress, errors));
  EXPECT_FALSE(animation);
  EXPECT_EQ(errors.Status(), MIEN_CANCELLED);
  EXPECT_STREQ(errors.At(0).code, "cancelled");
  EXPECT_EQ(some.reports.size(), 21u);
}
