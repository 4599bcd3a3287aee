#include "host/live/live_session.h"

#include "host/animation/weight_csv.h"
#include "host/character/character_file.h"
#include "host/files/read_file.h"
#include "host/formats/read_take.h"
#include "host/live/solve_causally.h"
#include "host/performer/performer_file.h"
#include "host/weights/read_weights.h"
#include "tests/host/input_error.h"
#include "tests/host/plain_face.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

using mien::CausallySolved;
using mien::LiveInput;
using mien::LiveKind;
using mien::LiveOutput;
using mien::LiveSession;
using mien::LiveSetup;
using mien::Take;
using testing::HasSubstr;
using Verdict = mien::LiveSession::Verdict;

namespace {

class LiveSessionFiles : public TemporaryFolder {
protected:
  std::string Place(const std::string& name) const { return (folder_ / name).string(); }
};

std::shared_ptr<const mien::Performer> PerformerAtRest() {
  mien::Performer performer = tests::PlainPerformer();
  performer.neutral = tests::PlainFace();
  return std::make_shared<const mien::Performer>(performer);
}

std::shared_ptr<const mien::Character> Arkit52() {
  return std::make_shared<const mien::Character>(mien::LoadCharacter("arkit52"));
}

Take Landmarks() {
  const std::string path = MIEN_SAMPLES_FOLDER "/landmarks.csv";
  return mien::ReadTake(mien::ReadFile(path), path);
}

void Fill(LiveInput& input, const Take& take, std::size_t frame) {
  input.markers.resize(take.MarkerCount());
  for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
    const mien::Point* const p = take.At(frame, m);
    input.markers[m] = p ? std::optional(*p) : std::nullopt;
  }
}

/// Plays frames of a take in odd portions: some late, some twice, some with fewer markers, and with silences.
void Play(LiveSession& session, std::size_t face, const Take& take, std::size_t first, std::size_t end) {
  LiveInput input, late;
  input.face = late.face = face;
  for (std::size_t f = first; f < end; ++f) {
    Fill(input, take, f);
    input.source_s = take.times[f] + 0.1 / 3;
    input.arrival_s = 1000 + take.times[f];
    if (f % 11 == 5) input.markers[f % input.markers.size()].reset();
    if (f % 31 == 7) input.markers[f % input.markers.size()] = mien::Point{0, std::nan(""), 1e300};
    if (f % 17 == 3) continue; // lost on its way
    session.Feed(input);
    if (f % 7 == 2) session.Feed(input);
    if (f % 13 == 4 && f > first + 1) {
      late = input;
      late.source_s = *input.source_s - 0.05;
      session.Feed(late);
    }
    if (f % 100 == 50)
      for (int i = 0; i < 20; ++i) session.Advance(input.arrival_s + i * 0.03);
  }
}

/// What a file of weights would have of an animation.
std::string Csv(const mien::Animation& animation, mien::WeightKind kind) {
  std::ostringstream out;
  mien::WeightCsvWriter writer(animation.layout, kind, out);
  for (std::size_t f = 0; f < animation.frames.size(); ++f) writer.Frame(animation.Frame(f));
  writer.End();
  return out.str();
}

Take ReadRecorded(const std::string& path) { return mien::ReadTake(mien::ReadFile(path), path); }

} // namespace

// The promise of a recording: solving what came in, with the same settings, gives what went out, byte by
// byte.
TEST_F(LiveSessionFiles, ARecordingSolvesCausallyToWhatWentOut) {
  const Take take = Landmarks();
  const auto performer = std::make_shared<const mien::Performer>(mien::LoadPerformer("landmarks68"));
  int tries = 0;
  for (const bool fit : {false, true})
    for (const bool resampled : {false, true}) {
      LiveSetup setup;
      setup.performer = performer;
      setup.neutral_take = std::make_shared<const Take>(take);
      setup.character = Arkit52();
      setup.causal.solver = fit ? mien::ShapeSolver::Fit : mien::ShapeSolver::Parts;
      setup.causal.smooth = mien::OneEuroSettings{.cutoff_hz = 3, .beta = 1};
      if (resampled) setup.causal.output_rate = mien::FrameRate{60000, 1001};
      std::size_t outputs = 0;
      LiveSession session([&](const LiveOutput&) { ++outputs; });
      const std::size_t face =
          session.AddFace({.name = "web", .kind = LiveKind::Markers, .names = take.markers}, setup);
      Play(session, face, take, 0, 40);
      const std::string place = Place("take" + std::to_string(++tries));
      const std::size_t before = outputs;
      session.StartRecording(face, place);
      const std::uint64_t lost_before = session.Statistics(face).lost;
      Play(session, face, take, 40, 300);
      const std::uint64_t lost = session.Statistics(face).lost - lost_before;
      session.StopRecording(face);
      Play(session, face, take, 300, 320);

      const Take recorded = ReadRecorded(place + ".csv");
      const CausallySolved solved = SolveCausally(recorded, setup);
      EXPECT_EQ(solved.lost_frames, lost) << "of the sample, and while nothing came";
      EXPECT_GT(lost, 10u);
      const std::string written = mien::ReadFile(place + ".out.csv");
      EXPECT_TRUE(written == Csv(solved.animation, mien::WeightKind::Shapes)) << fit << resampled;
      EXPECT_GT(outputs - before, 200u);
      EXPECT_GT(written.size(), 100000u);
    }
}

// Also where the neutral face was learned from the stream: before the recording, or in it.
TEST_F(LiveSessionFiles, ARecordingHasTheFramesThatTheNeutralFaceWasLearnedFrom) {
  const Take take = Landmarks();
  LiveSetup setup;
  setup.performer = std::make_shared<const mien::Performer>(mien::LoadPerformer("landmarks68"));
  setup.character = Arkit52();
  setup.causal.solver = mien::ShapeSolver::Fit;
  LiveSession session([](const LiveOutput&) {});
  const std::size_t face =
      session.AddFace({.name = "web", .kind = LiveKind::Markers, .names = take.markers}, setup);
  Play(session, face, take, 0, 100);
  session.StartRecording(face, Place("later"));
  Play(session, face, take, 100, 150);
  session.NeutralNow(face);
  Play(session, face, take, 150, 300);
  session.StopRecording(face);

  LiveSetup with_take = setup;
  const Take neutral = ReadRecorded(Place("later.neutral.csv"));
  with_take.neutral_take = std::make_shared<const Take>(neutral);
  with_take.neutral = mien::FrameRange{neutral.frames.front(), neutral.frames.back()};
  EXPECT_TRUE(
      mien::ReadFile(Place("later.out.csv")) ==
      Csv(SolveCausally(ReadRecorded(Place("later.csv")), with_take).animation, mien::WeightKind::Shapes));
  const CausallySolved second = SolveCausally(ReadRecorded(Place("later-2.csv")), setup);
  EXPECT_GT(second.learning_frames, 40u);
  EXPECT_TRUE(mien::ReadFile(Place("later-2.out.csv")) == Csv(second.animation, mien::WeightKind::Shapes));
}

TEST_F(LiveSessionFiles, ARecordingOfWeightsSolvesCausallyToWhatWentOut) {
  const std::vector<std::string> names = {"JawOpen", "eyeBlinkLeft", "eyeBlinkRight", "other one",
                                          "mouthClose"};
  LiveSetup setup;
  setup.causal.output_rate = mien::FrameRate{25, 1};
  LiveSession session([](const LiveOutput&) {});
  const std::size_t face =
      session.AddFace({.name = "phone", .kind = LiveKind::Weights, .names = names}, setup);
  session.StartRecording(face, Place("phone"));
  tests::Random random(7);
  LiveInput input;
  input.face = face;
  for (int f = 0; f < 200; ++f) {
    input.arrival_s = f / 60.0;
    input.timecode = mien::LiveTimecode{.count = 1000 + f, .fraction = 0.473, .rate = {60, 1}, .drop = false};
    input.lost = f % 60 > 20 && f % 60 < 55;
    input.weights.assign(names.size(), 0);
    for (double& weight : input.weights) weight = random.Between(0, 1);
    if (f % 5 == 0) input.weights[2] = std::nan("");
    if (f % 9 == 0) input.weights[3] = -1e300;
    input.head = mien::HeadAngles{random.Between(-3, 3), 0.1, f % 8 == 0 ? 99 : -0.1};
    input.eyes.reset();
    if (f > 3)
      input.eyes = mien::Eyes{mien::EyeAngles{random.Between(-1, 1), 0.25}, mien::EyeAngles{0, -0.25}};
    EXPECT_EQ(session.Feed(input), Verdict::Used);
  }
  session.StopRecording(face);
  const mien::WeightTake recorded = mien::ReadWeights(mien::ReadFile(Place("phone.csv")), "phone.csv");
  EXPECT_TRUE(mien::ReadFile(Place("phone.out.csv")) ==
              Csv(SolveCausally(recorded, setup).animation, mien::WeightKind::Shapes));
  EXPECT_GT(session.Statistics(face).unusable_numbers, 20u);
  EXPECT_GT(session.Statistics(face).lost, 90u);
}

// What a kill leaves: rows up to any byte.
TEST_F(LiveSessionFiles, ARecordingThatIsCutShortOpens) {
  const Take take = Landmarks();
  LiveSetup setup;
  setup.performer = std::make_shared<const mien::Performer>(mien::LoadPerformer("landmarks68"));
  setup.neutral_take = std::make_shared<const Take>(take);
  LiveSession session([](const LiveOutput&) {});
  const std::size_t face =
      session.AddFace({.name = "web", .kind = LiveKind::Markers, .names = take.markers}, setup);
  session.StartRecording(face, Place("cut"));
  Play(session, face, take, 0, 6);
  // All of it is there while the recording continues.
  const std::string bytes = mien::ReadFile(Place("cut.csv"));
  const Take whole = mien::ReadTake(bytes, "cut.csv");
  EXPECT_EQ(whole.FrameCount(), 5u);
  const std::size_t last = bytes.rfind('\n', bytes.size() - 2);
  for (std::size_t size = last + 1; size < bytes.size(); size += 97)
    EXPECT_GE(mien::ReadTake(bytes.substr(0, size), "cut.csv").FrameCount(), 4u) << size;
}

TEST_F(LiveSessionFiles, ARecordingMarksEventsAndOverwritesNothing) {
  LiveSetup setup;
  LiveSession session([](const LiveOutput&) {});
  const std::size_t face =
      session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, setup);
  session.Mark(face, "before");
  session.StartRecording(face, Place("w"));
  LiveInput input;
  input.face = face;
  input.weights = {0.5};
  input.arrival_s = 3;
  session.Feed(input);
  input.arrival_s = 3.5;
  session.Feed(input);
  session.Mark(face, "clap, \"now\"\n\x1b[31m");
  session.Mark(face, std::string(199, 'x') + "\u00FC"); // cut before the character that ends at byte 201
  session.StopRecording(face);
  EXPECT_EQ(mien::ReadFile(Place("w.events.csv")),
            "time,event\n0.5,\"clap, \"\"now\"\"  [31m\"\n0.5," + std::string(199, 'x') + '\n');
  EXPECT_THAT(InputErrorOf([&] { session.StartRecording(face, Place("w")); }),
              HasSubstr("a file with this name exists"));
  EXPECT_THAT(InputErrorOf([&] { session.StartRecording(face, Place("no/folder/w")); }),
              HasSubstr("cannot be created"));
  for (const char* const name : {"a,b", "time", "HeadYaw", "x\ny", "", " a"}) {
    const std::size_t other =
        session.AddFace({.name = "v", .kind = LiveKind::Weights, .names = {name}}, setup);
    EXPECT_THAT(InputErrorOf([&] { session.StartRecording(other, Place("v")); }), HasSubstr("column"))
        << name;
  }
}

// The stream of a face is worth more than its recording.
TEST_F(LiveSessionFiles, AFaceContinuesWhenItsRecordingCannot) {
  LiveSetup setup;
  setup.performer = PerformerAtRest();
  setup.causal.learn_s = 0;
  std::size_t outputs = 0;
  LiveSession session([&](const LiveOutput&) { ++outputs; });
  const std::size_t face =
      session.AddFace({.name = "m", .kind = LiveKind::Markers, .names = tests::EmptyTake().markers}, setup);
  LiveInput input;
  input.face = face;
  for (const auto& [name, p] : tests::PlainFace()) input.markers.emplace_back(p);
  const auto feed = [&] {
    input.arrival_s += 0.02;
    return session.Feed(input);
  };

  // The next part's name is taken.
  Write("m-2.out.csv", "former");
  session.StartRecording(face, Place("m"));
  feed();
  EXPECT_TRUE(session.IsRecording(face));
  EXPECT_FALSE(session.RecordingFault(face));
  session.SwitchPerformer(face, setup);
  EXPECT_FALSE(session.IsRecording(face));
  ASSERT_TRUE(session.RecordingFault(face));
  EXPECT_EQ(session.RecordingFault(face)->file, Place("m-2.out.csv"));
  EXPECT_EQ(feed(), Verdict::Used);
  EXPECT_EQ(mien::ReadFile(Place("m-2.out.csv")), "former");
  EXPECT_FALSE(std::filesystem::exists(Place("m-2.csv"))) << "nothing is left of a part that did not begin";

  // Its folder is removed before the neutral face is learned again, and before the first mark.
  for (const bool marks : {false, true}) {
    const std::filesystem::path folder = folder_ / "gone";
    std::filesystem::create_directory(folder);
    session.StartRecording(face, (folder / "m").string());
    EXPECT_FALSE(session.RecordingFault(face)) << "the last recording's is forgotten";
    feed();
    std::filesystem::remove_all(folder);
    if (marks)
      session.Mark(face, "here");
    else
      session.NeutralNow(face);
    EXPECT_FALSE(session.IsRecording(face));
    ASSERT_TRUE(session.RecordingFault(face));
    EXPECT_EQ(session.RecordingFault(face)->file, (folder / (marks ? "m.events.csv" : "m-2.csv")).string());
    EXPECT_EQ(feed(), Verdict::Used);
  }
  EXPECT_EQ(outputs, session.Statistics(face).used);
}

// A limit on the size of files stands for a full disk.
TEST_F(LiveSessionFiles, AFullDiskEndsARecordingWithWholeRows) {
  const Take take = Landmarks();
  LiveSetup setup;
  setup.performer = std::make_shared<const mien::Performer>(mien::LoadPerformer("landmarks68"));
  setup.neutral_take = std::make_shared<const Take>(take);
  Process process([&] {
    const rlimit limit = {20000, 20000};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    std::size_t outputs = 0;
    LiveSession session([&](const LiveOutput&) { ++outputs; });
    const std::size_t face =
        session.AddFace({.name = "web", .kind = LiveKind::Markers, .names = take.markers}, setup);
    session.StartRecording(face, Place("full"));
    Play(session, face, take, 0, 60);
    const std::optional<mien::Problem>& fault = session.RecordingFault(face);
    if (session.IsRecording(face) || !fault || fault->file != Place("full.csv")) return 1;
    return outputs == session.Statistics(face).sent && outputs > 50 ? 0 : 2;
  });
  ASSERT_EQ(process.Wait().exit_code, 0);
  const std::string in = mien::ReadFile(Place("full.csv"));
  EXPECT_LE(in.size(), 20000u);
  EXPECT_EQ(in.back(), '\n');
  const std::size_t frames = ReadRecorded(Place("full.csv")).FrameCount();
  EXPECT_GT(frames, 5u);
  const std::string out = mien::ReadFile(Place("full.out.csv"));
  EXPECT_EQ(static_cast<std::size_t>(std::count(out.begin(), out.end(), '\n')), frames + 1)
      << "the frame whose input cannot be written is in neither file";
}

TEST(LiveSession, CountsWhatItLeavesOut) {
  std::vector<double> times;
  LiveSession session([&](const LiveOutput& output) { times.push_back(output.time_s); });
  const std::size_t face =
      session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
  LiveInput input;
  input.face = face;
  input.weights = {0.5};
  const auto feed = [&](double source_s) {
    input.source_s = source_s;
    input.arrival_s += 0.01;
    return session.Feed(input);
  };
  EXPECT_EQ(feed(1), Verdict::Used);
  EXPECT_EQ(feed(1.25), Verdict::Used);
  EXPECT_EQ(feed(1.25), Verdict::Duplicate);
  EXPECT_EQ(feed(1), Verdict::Late);
  session.Pause(true);
  EXPECT_EQ(feed(1.5), Verdict::Paused);
  session.Pause(false);
  EXPECT_EQ(feed(1.75), Verdict::Used);
  input.face = face + 1;
  EXPECT_EQ(feed(2), Verdict::Unknown);
  input.face = face;
  input.arrival_s = std::nan("");
  EXPECT_EQ(session.Feed(input), Verdict::Unusable);
  EXPECT_EQ(times, (std::vector<double>{0, 0.25, 0.75}));
  const mien::LiveStatistics& statistics = session.Statistics(face);
  EXPECT_EQ(statistics.received, 7u);
  EXPECT_EQ(statistics.used, 3u);
  EXPECT_EQ(statistics.duplicates, 1u);
  EXPECT_EQ(statistics.late, 1u);
  EXPECT_EQ(statistics.paused, 1u);
  EXPECT_EQ(statistics.unusable, 1u);
  EXPECT_EQ(statistics.dropped, 1u);
  EXPECT_EQ(statistics.sent, 3u);
  session.AddLatency(face, 0.001);
  EXPECT_EQ(statistics.latency.Total(), 1u);
}

TEST(LiveSession, AFaceOfWhichNothingComesFadesToRest) {
  std::vector<double> weights;
  LiveSession session([&](const LiveOutput& output) { weights.push_back(output.shapes[0]); });
  const std::size_t face =
      session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
  LiveInput input;
  input.face = face;
  input.weights = {0.5};
  for (int f = 0; f < 10; ++f) {
    input.arrival_s = f / 30.0;
    session.Feed(input);
  }
  for (int i = 0; i < 3000; ++i) session.Advance(input.arrival_s + i / 30.0);
  EXPECT_EQ(weights[9], 0.5);
  EXPECT_EQ(weights.back(), 0);
  EXPECT_LT(weights.size(), 50u) << "at rest nothing more comes out";
  EXPECT_EQ(session.Statistics(face).inserted, weights.size() - 10);
  const std::size_t before = weights.size();
  input.arrival_s += 100;
  EXPECT_EQ(session.Feed(input), Verdict::Used);
  ASSERT_EQ(weights.size(), before + 1);
  EXPECT_LT(weights.back(), 0.5) << "it fades in";
}

TEST(LiveSession, AFaceIsNotLostInAPause) {
  std::size_t outputs = 0;
  LiveSession session([&](const LiveOutput&) { ++outputs; });
  LiveInput input;
  input.face = session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
  input.weights = {0.5};
  session.Feed(input);
  session.Pause(true);
  input.arrival_s = 5;
  EXPECT_EQ(session.Feed(input), Verdict::Paused);
  session.Advance(10);
  session.Pause(false);
  session.Advance(10.1);
  session.Advance(10.2);
  EXPECT_EQ(outputs, 1u);
  session.Advance(10.6);
  EXPECT_GT(outputs, 1u) << "but when nothing comes after it";
}

TEST(LiveSession, EachFaceHasItsOwnPerformerAndClock) {
  std::vector<std::pair<std::size_t, double>> out;
  LiveSession session([&](const LiveOutput& output) { out.emplace_back(output.face, output.time_s); });
  LiveSetup setup;
  setup.performer = PerformerAtRest();
  const Take take = tests::EmptyTake();
  const std::size_t a =
      session.AddFace({.name = "a", .kind = LiveKind::Markers, .names = take.markers}, setup);
  const std::size_t b = session.AddFace({.name = "b", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
  LiveInput input;
  input.weights = {1};
  for (const auto& [name, p] : tests::PlainFace()) input.markers.emplace_back(p);
  input.face = b, input.source_s = 50, session.Feed(input);
  input.face = a, input.source_s = 7, session.Feed(input);
  input.face = b, input.source_s = 50.5, session.Feed(input);
  EXPECT_EQ(out, (std::vector<std::pair<std::size_t, double>>{{b, 0}, {a, 0}, {b, 0.5}}));
  EXPECT_EQ(session.Layout(a).performer, "plain");
  session.RemoveFace(b);
  EXPECT_EQ(session.Feed(input), Verdict::Unknown);
  EXPECT_EQ(session.FaceCount(), 1u);
}

TEST(LiveSession, HasALimitOfFaces) {
  LiveSession session([](const LiveOutput&) {});
  for (std::size_t i = 0; i < LiveSession::kMostFaces; ++i)
    session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
  EXPECT_THAT(InputErrorOf([&] {
                session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen"}}, {});
              }),
              HasSubstr("64 faces"));
}

TEST(LiveSession, SwitchingToAPerformerThatDoesNotFitChangesNothing) {
  std::size_t outputs = 0;
  LiveSession session([&](const LiveOutput&) { ++outputs; });
  LiveSetup setup;
  setup.performer = PerformerAtRest();
  const Take take = tests::EmptyTake();
  const std::size_t face =
      session.AddFace({.name = "a", .kind = LiveKind::Markers, .names = take.markers}, setup);
  LiveSetup other;
  other.performer = std::make_shared<const mien::Performer>(mien::LoadPerformer("landmarks68"));
  EXPECT_THAT(InputErrorOf([&] { session.SwitchPerformer(face, other); }), HasSubstr("lm"));
  EXPECT_EQ(session.Layout(face).performer, "plain");
  mien::Performer renamed = *PerformerAtRest();
  renamed.name = "twin";
  other.performer = std::make_shared<const mien::Performer>(renamed);
  session.SwitchPerformer(face, other);
  EXPECT_EQ(session.Layout(face).performer, "twin");
  LiveInput input;
  input.face = face;
  for (const auto& [name, p] : tests::PlainFace()) input.markers.emplace_back(p);
  EXPECT_EQ(session.Feed(input), Verdict::Used);
  EXPECT_EQ(outputs, 1u);
}

// Random numbers of every kind, from frames of every size: nothing is thrown, and what comes out is finite.
TEST(LiveSession, SurvivesAnything) {
  tests::Random random(99);
  const double kinds[] = {0,
                          -0.0,
                          1,
                          50,
                          1e6,
                          -1e6,
                          1e7,
                          1e300,
                          -1e300,
                          5e-324,
                          std::nan(""),
                          std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity()};
  const auto any = [&] {
    const double roll = random.Between(0, 2);
    return roll < 1
               ? random.Between(-200, 200)
               : kinds[static_cast<std::size_t>(random.Between(0, static_cast<double>(std::size(kinds))))];
  };
  const auto is_finite = [](const std::vector<double>& numbers) {
    for (const double number : numbers)
      if (!std::isfinite(number)) return false;
    return true;
  };
  bool finite = true;
  LiveSession session([&](const LiveOutput& output) {
    finite &= is_finite(output.weights) && is_finite(output.shapes);
    for (const auto& column : output.head.m)
      for (const double number : column) finite &= std::isfinite(number);
  });
  LiveSetup markers;
  markers.performer =
      std::make_shared<const mien::Performer>(tests::PlainPerformer()); // learns from the stream
  markers.character = Arkit52();
  markers.causal.learn_s = 0.2;
  markers.causal.smooth = mien::OneEuroSettings{.cutoff_hz = 1, .beta = 10};
  markers.causal.output_rate = mien::FrameRate{60, 1};
  LiveSetup at_rest = markers;
  at_rest.performer = PerformerAtRest();
  LiveSetup weights;
  weights.causal.output_rate = mien::FrameRate{120, 1};
  const Take take = tests::EmptyTake();
  for (const LiveSetup& setup : {markers, at_rest})
    session.AddFace({.name = "m", .kind = LiveKind::Markers, .names = take.markers}, setup);
  session.AddFace({.name = "w", .kind = LiveKind::Weights, .names = {"jawOpen", "eyeBlinkLeft"}}, weights);
  LiveInput input;
  for (int i = 0; i < 6000; ++i) {
    input.face = static_cast<std::size_t>(random.Between(0, 3.2));
    input.arrival_s = random.Between(0, 1) < 0.01 ? std::nan("") : i * 0.01;
    input.source_s.reset(), input.timecode.reset(), input.head.reset(), input.head_place.reset(),
        input.eyes.reset();
    if (random.Between(0, 1) < 0.5) input.source_s = random.Between(0, 1) < 0.1 ? any() : i * 0.01;
    if (random.Between(0, 1) < 0.2)
      input.timecode = mien::LiveTimecode{.count = static_cast<std::int64_t>(random.Between(-9e18, 9e18)),
                                          .fraction = any(),
                                          .rate = {static_cast<std::int64_t>(random.Between(-10, 200)),
                                                   static_cast<std::int64_t>(random.Between(-2, 4))},
                                          .drop = i % 2 == 0};
    input.lost = random.Between(0, 1) < 0.05;
    const double wildness = random.Between(0, 1);
    input.markers.clear();
    for (const auto& [name, p] : tests::PlainFace())
      if (wildness < 0.6)
        input.markers.emplace_back(mien::Point{p.x + random.Between(-2, 2), p.y, p.z});
      else if (wildness < 0.9)
        input.markers.emplace_back(mien::Point{any(), any(), any()});
    input.weights.resize(static_cast<std::size_t>(random.Between(0, 5)));
    for (double& weight : input.weights) weight = any();
    input.head = mien::HeadAngles{any(), any(), any()};
    input.head_place = mien::Point{any(), any(), any()};
    input.eyes = mien::Eyes{mien::EyeAngles{any(), any()}, mien::EyeAngles{any(), any()}};
    if (i % 1000 < 800) session.Feed(input); // and then two seconds of silence
    if (i % 10 == 0) session.Advance(i * 0.01);
    if (i % 500 == 499) session.NeutralNow(static_cast<std::size_t>(random.Between(0, 3)));
  }
  EXPECT_TRUE(finite);
  EXPECT_GT(session.Statistics(0).used, 500u);
  EXPECT_GT(session.Statistics(2).used, 500u);
  EXPECT_GT(session.Statistics(0).failed_learnings + session.Statistics(0).unusable_numbers, 0u);
}
