#include "host/files/read_file.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <cmath>
#include <filesystem>
#include <limits>

using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

using Options = std::vector<std::pair<std::string, std::string>>;

/// A face as a caller describes it; keeps what the description points at.
class Face {
public:
  Face(mien_live_kind kind, std::vector<std::string> names) : names_(std::move(names)) {
    for (const std::string& name : names_) texts_.push_back(name.c_str());
    face_.struct_size = sizeof face_;
    face_.kind = kind;
    face_.name = "ada";
    face_.names = texts_.data();
    face_.name_count = texts_.size();
  }
  Face& With(const PerformerHandle& performer) { return face_.performer = performer.get(), *this; }
  Face& With(const CharacterHandle& character) { return face_.character = character.get(), *this; }
  Face& LearnsFrom(const TakeHandle& take) { return face_.take = take.get(), *this; }
  Face& With(const Options& options) {
    settings_ = SettingsOf(face_.kind == MIEN_LIVE_MARKERS ? MIEN_STEP_SOLVE : MIEN_STEP_RETARGET, options);
    return face_.settings = settings_.get(), *this;
  }
  mien_live_face* operator->() { return &face_; }
  const mien_live_face* Get() const { return &face_; }

private:
  std::vector<std::string> names_;
  std::vector<const char*> texts_;
  Settings settings_;
  mien_live_face face_ = {};
};

std::vector<std::string> MarkersOf(const TakeHandle& take) {
  std::vector<std::string> names;
  for (std::size_t m = 0; m < mien_take_marker_count(take.get()); ++m)
    names.emplace_back(mien_take_marker(take.get(), m));
  return names;
}

LiveHandle NewLive() {
  Errors errors;
  LiveHandle live(mien_live_new(errors));
  EXPECT_TRUE(live) << errors.AllText();
  return live;
}

std::size_t Added(const LiveHandle& live, const Face& face) {
  Errors errors;
  std::size_t number = 99;
  EXPECT_EQ(mien_live_add(live.get(), face.Get(), &number, errors), MIEN_OK) << errors.AllText();
  return number;
}

/// A frame of a face at a time of its source, which arrives at once.
mien_live_frame FrameAt(std::size_t face, double time, const std::vector<double>& values) {
  mien_live_frame frame = {};
  frame.struct_size = sizeof frame;
  frame.face = face;
  frame.arrival = 100 + time;
  frame.time = time;
  frame.values = values.data();
  frame.value_count = values.size();
  return frame;
}

mien_live_verdict Feed(const LiveHandle& live, const mien_live_frame& frame) {
  Errors errors;
  mien_live_verdict verdict = -1;
  EXPECT_EQ(mien_live_feed(live.get(), &frame, &verdict, errors), MIEN_OK) << errors.AllText();
  return verdict;
}

std::vector<double> PositionsOf(const TakeHandle& take, std::size_t frame) {
  return ValuesOf(FrameOf(ArrayOf(take, MIEN_TAKE_POSITIONS), frame));
}

double TimeOf(const TakeHandle& take, std::size_t frame) {
  return At<double>(ArrayOf(take, MIEN_TAKE_TIMES), {frame});
}

mien_live_result ResultAt(const LiveHandle& live, std::size_t index) {
  mien_live_result result = {};
  result.struct_size = sizeof result;
  EXPECT_EQ(mien_live_get_result(live.get(), index, &result), MIEN_OK);
  return result;
}

std::vector<double> ResultOf(const LiveHandle& live, mien_frame_array which, std::size_t index = 0) {
  Errors errors;
  mien_array array = EmptyArray();
  EXPECT_EQ(mien_live_get_array(live.get(), index, which, &array, errors), MIEN_OK) << errors.AllText();
  return ValuesOf(array);
}

mien_live_statistics StatisticsOf(const LiveHandle& live, std::size_t face) {
  mien_live_statistics statistics = {};
  statistics.struct_size = sizeof statistics;
  EXPECT_EQ(mien_live_get_statistics(live.get(), face, &statistics), MIEN_OK);
  return statistics;
}

/// Expects the results so far to be frame `f` of an animation, to the bit.
void ExpectFrame(const LiveHandle& live, const AnimationHandle& animation, std::size_t f) {
  ASSERT_EQ(mien_live_result_count(live.get()), 1u);
  for (const auto& [own, whole] : tests::kFrameArrays) {
    const mien_array all = ArrayOf(animation, whole);
    if (!all.data) continue;
    const std::vector<double> expected = ValuesOf(FrameOf(all, f)), got = ResultOf(live, own);
    ASSERT_EQ(got.size(), expected.size()) << own;
    ASSERT_EQ(std::memcmp(got.data(), expected.data(), sizeof(double) * got.size()), 0) << own << " of " << f;
  }
}

class CLiveFiles : public TemporaryFolder {
protected:
  std::string Place(const std::string& name) const { return (folder_ / name).string(); }
};

} // namespace

// Each face, in whatever mixture they arrive, is what a causal solve of its take gives.
TEST(CLive, TwoFacesAreToTheBitTheCausalSolvesOfTheirTakes) {
  const TakeHandle markers = ReadTake(kSamples / "markers.csv"),
                   landmarks = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle of_markers = LoadPerformer(kSamples / "markers.performer.json"),
                        of_landmarks = LoadPerformer("landmarks68");
  const CharacterHandle puppet = LoadCharacter(kSamples / "puppet.character.json"),
                        arkit52 = LoadCharacter("arkit52");
  const Options options = {{"solver", "fit"}, {"one-euro", "4:1"}};
  const LiveHandle live = NewLive();
  const std::size_t first = Added(
      live, Face(MIEN_LIVE_MARKERS, MarkersOf(markers)).With(of_markers).With(puppet).LearnsFrom(markers));
  const std::size_t second = Added(live, Face(MIEN_LIVE_MARKERS, MarkersOf(landmarks))
                                             .With(of_landmarks)
                                             .With(arkit52)
                                             .LearnsFrom(landmarks)
                                             .With(options));
  EXPECT_NE(first, second);
  const AnimationHandle whole_first =
      Solve(markers, of_markers, puppet,
            SettingsOf(MIEN_STEP_SOLVE, {{"causal", "true"}, {"neutral-take", kSamples / "markers.csv"}}));
  Options causal = options;
  causal.insert(causal.end(), {{"causal", "true"}, {"neutral-take", kSamples / "landmarks.csv"}});
  const AnimationHandle whole_second =
      Solve(landmarks, of_landmarks, arkit52, SettingsOf(MIEN_STEP_SOLVE, causal));
  EXPECT_EQ(mien_live_name_count(live.get(), second, MIEN_SHAPE_NAMES), 52u);
  EXPECT_STREQ(mien_live_name(live.get(), second, MIEN_SHAPE_NAMES, 0),
               mien_animation_name(whole_second.get(), MIEN_SHAPE_NAMES, 0));
  const std::size_t frames =
      std::min(mien_take_frame_count(markers.get()), mien_take_frame_count(landmarks.get()));
  ASSERT_GT(frames, 200u);
  for (std::size_t f = 0; f < frames; ++f) {
    // Times count from the first frame, as they do in these takes.
    ASSERT_EQ(Feed(live, FrameAt(first, TimeOf(markers, f), PositionsOf(markers, f))), MIEN_LIVE_USED);
    ExpectFrame(live, whole_first, f);
    EXPECT_EQ(ResultAt(live, 0).face, first);
    ASSERT_EQ(Feed(live, FrameAt(second, TimeOf(landmarks, f), PositionsOf(landmarks, f))), MIEN_LIVE_USED);
    ExpectFrame(live, whole_second, f);
    EXPECT_EQ(ResultAt(live, 0).frame, static_cast<std::int64_t>(f + 1));
  }
  EXPECT_EQ(StatisticsOf(live, second).used, frames);
}

TEST(CLive, WeightsOfAPhoneDriveACharacter) {
  const std::vector<std::string> names = {"jawOpen", "eyeBlinkLeft", "eyeBlinkRight"};
  const CharacterHandle arkit52 = LoadCharacter("arkit52");
  const LiveHandle live = NewLive();
  const std::size_t own = Added(live, Face(MIEN_LIVE_WEIGHTS, names)),
                    onto = Added(live, Face(MIEN_LIVE_WEIGHTS, names).With(arkit52));
  EXPECT_EQ(mien_live_name_count(live.get(), own, MIEN_SHAPE_NAMES), 3u);
  EXPECT_EQ(mien_live_name_count(live.get(), onto, MIEN_SHAPE_NAMES), 52u);
  const double head[] = {0.1, 0.2, -0.3}, eyes[] = {0.05, 0.1, 0.06, 0.1};
  const std::vector<double> weights = {0.5, 0.25, kNaN};
  mien_live_frame frame = FrameAt(own, 0, weights);
  frame.head = head;
  frame.eyes = eyes;
  ASSERT_EQ(Feed(live, frame), MIEN_LIVE_USED);
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS), (std::vector<double>{0.5, 0.25, 0}));
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_EYES), std::vector<double>(eyes, eyes + 4));
  const mien_live_result result = ResultAt(live, 0);
  EXPECT_TRUE(result.head_known && result.eyes_known && result.face_seen && !result.learning);
  EXPECT_EQ(result.unseen, 1u);
  EXPECT_EQ(result.presence, 1);
  frame.face = onto;
  ASSERT_EQ(Feed(live, frame), MIEN_LIVE_USED);
  std::size_t jaw = 0;
  while (std::string(mien_live_name(live.get(), onto, MIEN_SHAPE_NAMES, jaw)) != "jawOpen") ++jaw;
  EXPECT_GT(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS)[jaw], 0.2);
}

TEST(CLive, LearnsTheNeutralFaceFromTheFirstSecondsAndAgain) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const LiveHandle live = NewLive();
  const std::size_t face =
      Added(live, Face(MIEN_LIVE_MARKERS, MarkersOf(take)).With(performer).With(Options{{"learn", "0.5"}}));
  ASSERT_EQ(Feed(live, FrameAt(face, 0, PositionsOf(take, 0))), MIEN_LIVE_USED);
  EXPECT_EQ(ResultAt(live, 0).learning, 1);
  const std::size_t frames = mien_take_frame_count(take.get());
  const auto play = [&](double from) {
    std::size_t learning = 0;
    for (std::size_t f = 0; f < frames; ++f) {
      EXPECT_EQ(Feed(live, FrameAt(face, from + TimeOf(take, f), PositionsOf(take, f))), MIEN_LIVE_USED);
      learning += static_cast<std::size_t>(ResultAt(live, 0).learning);
    }
    return learning;
  };
  const std::size_t learned = play(1);
  EXPECT_LT(learned, frames / 2);
  EXPECT_EQ(play(100), 0u);
  EXPECT_EQ(mien_live_neutral_now(live.get(), face, nullptr), MIEN_OK);
  EXPECT_GT(play(200), 0u);
}

TEST(CLive, ResamplesToSeveralOrNoResults) {
  const LiveHandle live = NewLive();
  const std::size_t face =
      Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}).With(Options{{"output-rate", "100"}}));
  ASSERT_EQ(Feed(live, FrameAt(face, 0, {0})), MIEN_LIVE_USED);
  EXPECT_EQ(mien_live_result_count(live.get()), 1u);
  ASSERT_EQ(Feed(live, FrameAt(face, 0.005, {0.25})), MIEN_LIVE_USED);
  EXPECT_EQ(mien_live_result_count(live.get()), 0u);
  ASSERT_EQ(Feed(live, FrameAt(face, 0.045, {0.25})), MIEN_LIVE_USED);
  ASSERT_EQ(mien_live_result_count(live.get()), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(ResultAt(live, i).time, 0.01 * (1 + static_cast<double>(i)), 1e-12);
    EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS, i), std::vector<double>{0.25});
  }
}

TEST(CLive, LeavesOutWhatIsLateDoubledAndPaused) {
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  const std::vector<double> open = {1};
  ASSERT_EQ(Feed(live, FrameAt(face, 1, open)), MIEN_LIVE_USED);
  EXPECT_EQ(Feed(live, FrameAt(face, 1, open)), MIEN_LIVE_DUPLICATE);
  EXPECT_EQ(mien_live_result_count(live.get()), 0u);
  EXPECT_EQ(Feed(live, FrameAt(face, 0.9, open)), MIEN_LIVE_LATE);
  mien_live_frame never = FrameAt(face, 2, open);
  never.arrival = kNaN;
  EXPECT_EQ(Feed(live, never), MIEN_LIVE_UNUSABLE);
  EXPECT_EQ(mien_live_pause(live.get(), 1, nullptr), MIEN_OK);
  EXPECT_EQ(Feed(live, FrameAt(face, 3, open)), MIEN_LIVE_PAUSED);
  EXPECT_EQ(mien_live_pause(live.get(), 0, nullptr), MIEN_OK);
  ASSERT_EQ(Feed(live, FrameAt(face, 4, {std::numeric_limits<double>::infinity()})), MIEN_LIVE_USED);
  EXPECT_EQ(mien_live_add_latency(live.get(), face, 0.002, nullptr), MIEN_OK);
  const mien_live_statistics statistics = StatisticsOf(live, face);
  EXPECT_EQ(statistics.received, 6u);
  EXPECT_EQ(statistics.used, 2u);
  EXPECT_EQ(statistics.duplicates, 1u);
  EXPECT_EQ(statistics.late, 1u);
  EXPECT_EQ(statistics.unusable, 1u);
  EXPECT_EQ(statistics.paused, 1u);
  EXPECT_EQ(statistics.unusable_numbers, 1u);
  EXPECT_EQ(statistics.lost, 1u);
  EXPECT_EQ(statistics.sent, 2u);
  EXPECT_TRUE(std::isnan(statistics.drift_ppm));
  EXPECT_EQ(statistics.latencies, 1u);
  EXPECT_NEAR(statistics.latency_median, 0.002, 0.0002);
  EXPECT_EQ(statistics.recording, 0);
}

TEST(CLive, CountsByTheTimecodeOfItsSource) {
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  const std::vector<double> open = {1};
  for (const std::int64_t count : {30 * 86400 - 1, 0, 3}) { // over midnight
    mien_live_frame frame = FrameAt(face, kNaN, open);
    frame.arrival = 5;
    frame.timecode = count;
    frame.timecode_rate_numerator = 30;
    frame.timecode_rate_denominator = 1;
    ASSERT_EQ(Feed(live, frame), MIEN_LIVE_USED);
  }
  EXPECT_EQ(ResultAt(live, 0).time, 4.0 / 30);
}

TEST(CLive, ASilentFaceFadesToRest) {
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  ASSERT_EQ(Feed(live, FrameAt(face, 0, {1})), MIEN_LIVE_USED);
  EXPECT_EQ(mien_live_advance(live.get(), 100.1, nullptr), MIEN_OK);
  EXPECT_EQ(mien_live_result_count(live.get()), 0u);
  EXPECT_EQ(mien_live_advance(live.get(), 102, nullptr), MIEN_OK);
  const std::size_t inserted = mien_live_result_count(live.get());
  ASSERT_GT(inserted, 10u);
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS, 0), std::vector<double>{1});
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS, inserted - 1), std::vector<double>{0});
  EXPECT_EQ(ResultAt(live, inserted - 1).face_seen, 0);
  EXPECT_EQ(ResultAt(live, inserted - 1).presence, 0);
  EXPECT_EQ(StatisticsOf(live, face).inserted, inserted);
}

TEST(CLive, SwitchesThePerformerOrKeepsTheFormer) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  Errors errors;
  const PerformerHandle ada(
      mien_performer_with_neutral(performer.get(), take.get(), nullptr, nullptr, errors));
  ASSERT_TRUE(ada) << errors.AllText();
  const LiveHandle live = NewLive();
  const std::size_t face =
      Added(live, Face(MIEN_LIVE_MARKERS, MarkersOf(take)).With(performer).LearnsFrom(take));
  const std::size_t phone = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  ASSERT_EQ(Feed(live, FrameAt(face, 1, PositionsOf(take, 180))), MIEN_LIVE_USED);
  const std::vector<double> by_take = ResultOf(live, MIEN_FRAME_WEIGHTS);
  EXPECT_EQ(mien_live_switch_performer(
                live.get(), face, LoadPerformer(kSamples / "markers.performer.json").get(), nullptr, errors),
            MIEN_INPUT); // other markers
  ASSERT_EQ(Feed(live, FrameAt(face, 2, PositionsOf(take, 180))), MIEN_LIVE_USED);
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_WEIGHTS), by_take);
  EXPECT_EQ(mien_live_switch_performer(live.get(), face, ada.get(), nullptr, errors), MIEN_OK)
      << errors.AllText();
  ASSERT_EQ(Feed(live, FrameAt(face, 3, PositionsOf(take, 180))), MIEN_LIVE_USED);
  EXPECT_NE(ResultOf(live, MIEN_FRAME_WEIGHTS), by_take); // without the take's anchors
  EXPECT_EQ(mien_live_switch_performer(live.get(), phone, ada.get(), nullptr, errors), MIEN_USAGE);
}

TEST_F(CLiveFiles, ARecordingSolvesToWhatWentOut) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const LiveHandle live = NewLive();
  const std::size_t face =
      Added(live, Face(MIEN_LIVE_MARKERS, MarkersOf(take)).With(performer).LearnsFrom(take));
  for (std::size_t f = 0; f < 30; ++f) Feed(live, FrameAt(face, TimeOf(take, f), PositionsOf(take, f)));
  Errors errors;
  ASSERT_EQ(mien_live_start_recording(live.get(), face, Place("ada").c_str(), errors), MIEN_OK)
      << errors.AllText();
  EXPECT_EQ(StatisticsOf(live, face).recording, 1);
  for (std::size_t f = 30; f < 200; ++f) Feed(live, FrameAt(face, TimeOf(take, f), PositionsOf(take, f)));
  EXPECT_EQ(mien_live_mark(live.get(), face, "here, now", errors), MIEN_OK);
  EXPECT_EQ(mien_live_stop_recording(live.get(), face, errors), MIEN_OK);
  EXPECT_EQ(StatisticsOf(live, face).recording, 0);
  EXPECT_EQ(mien_live_start_recording(live.get(), face, Place("ada").c_str(), errors), MIEN_INPUT); // exists
  EXPECT_STREQ(errors.At(0).code, "unwritable");

  const TakeHandle recorded = ReadTake(Place("ada.csv"));
  EXPECT_EQ(mien_take_frame_count(recorded.get()), 170u);
  const AnimationHandle again =
      Solve(recorded, performer, nullptr,
            SettingsOf(MIEN_STEP_SOLVE, {{"causal", "true"}, {"neutral-take", kSamples / "landmarks.csv"}}));
  ASSERT_EQ(mien_animation_write(again.get(), Place("again.csv").c_str(), nullptr, nullptr, nullptr, errors),
            MIEN_OK);
  EXPECT_TRUE(mien::ReadFile(Place("again.csv")) == mien::ReadFile(Place("ada.out.csv")));
  EXPECT_THAT(mien::ReadFile(Place("ada.events.csv")), testing::HasSubstr("\"here, now\""));
}

TEST_F(CLiveFiles, StoppingARecordingSaysWhyItEndedBefore) {
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  const std::filesystem::path folder = folder_ / "gone";
  std::filesystem::create_directory(folder);
  ASSERT_EQ(mien_live_start_recording(live.get(), face, (folder / "m").c_str(), nullptr), MIEN_OK);
  ASSERT_EQ(Feed(live, FrameAt(face, 0, {0.5})), MIEN_LIVE_USED);
  EXPECT_EQ(StatisticsOf(live, face).recording, 1);
  std::filesystem::remove_all(folder);
  EXPECT_EQ(mien_live_mark(live.get(), face, "here", nullptr), MIEN_OK);
  EXPECT_EQ(StatisticsOf(live, face).recording, 0);
  Errors errors;
  EXPECT_EQ(mien_live_stop_recording(live.get(), face, errors), MIEN_INPUT);
  EXPECT_STREQ(errors.At(0).file, (folder / "m.events.csv").c_str());
  EXPECT_EQ(Feed(live, FrameAt(face, 0.1, {0.5})), MIEN_LIVE_USED);
}

TEST_F(CLiveFiles, RemovingAFaceEndsItsRecording) {
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"})),
                    other = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  ASSERT_EQ(mien_live_start_recording(live.get(), face, Place("phone").c_str(), nullptr), MIEN_OK);
  ASSERT_EQ(Feed(live, FrameAt(face, 0, {0.5})), MIEN_LIVE_USED);
  EXPECT_EQ(mien_live_remove(live.get(), face, nullptr), MIEN_OK);
  EXPECT_THAT(mien::ReadFile(Place("phone.out.csv")), testing::HasSubstr("0.5"));
  EXPECT_EQ(mien_live_name_count(live.get(), face, MIEN_SHAPE_NAMES), 0u);
  EXPECT_EQ(mien_live_name(live.get(), face, MIEN_SHAPE_NAMES, 0), nullptr);
  EXPECT_EQ(mien_live_result_count(live.get()), 1u); // that of the last frame still can be read
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS), std::vector<double>{0.5});
  EXPECT_EQ(Feed(live, FrameAt(other, 0, {0.5})), MIEN_LIVE_USED);
  EXPECT_NE(Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"})), face);
}

TEST(CLive, WrongCallsAreErrorsAndChangeNothing) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const LiveHandle live = NewLive();
  const std::size_t face = Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen", "eyeBlinkLeft"}));
  const std::vector<double> values = {0.5, 0.25};
  ASSERT_EQ(Feed(live, FrameAt(face, 1, values)), MIEN_LIVE_USED);
  const auto refused = [](const char* place, mien_status status, const Errors& errors) {
    EXPECT_EQ(status, MIEN_USAGE) << place;
    EXPECT_STREQ(errors.At(0).place, place) << errors.AllText();
  };
  Errors errors;
  std::size_t number = 0;
  const auto add = [&](const char* place, Face of) {
    refused(place, mien_live_add(live.get(), of.Get(), &number, errors), errors);
  };
  refused("live", mien_live_add(nullptr, Face(MIEN_LIVE_WEIGHTS, {"a"}).Get(), &number, errors), errors);
  refused("face", mien_live_add(live.get(), nullptr, &number, errors), errors);
  refused("number", mien_live_add(live.get(), Face(MIEN_LIVE_WEIGHTS, {"a"}).Get(), nullptr, errors), errors);
  add("kind", Face(7, {"a"}));
  add("names", Face(MIEN_LIVE_WEIGHTS, {}));
  add("names", Face(MIEN_LIVE_WEIGHTS, {"a", "a"}));
  add("performer", Face(MIEN_LIVE_MARKERS, MarkersOf(take)));
  add("performer", std::move(Face(MIEN_LIVE_WEIGHTS, {"a"}).With(performer)));
  add("take", std::move(Face(MIEN_LIVE_WEIGHTS, {"a"}).LearnsFrom(take)));
  add("smooth",
      std::move(Face(MIEN_LIVE_MARKERS, MarkersOf(take)).With(performer).With(Options{{"smooth", "6"}})));
  add("smooth-weights", std::move(Face(MIEN_LIVE_WEIGHTS, {"a"}).With(Options{{"smooth-weights", "6"}})));
  add("solver",
      std::move(Face(MIEN_LIVE_MARKERS, MarkersOf(take)).With(performer).With(Options{{"solver", "fit"}})));
  EXPECT_EQ(mien_live_add(live.get(),
                          Face(MIEN_LIVE_WEIGHTS, std::vector<std::string>(1, std::string(300, 'x'))).Get(),
                          &number, errors),
            MIEN_LIMIT);
  EXPECT_EQ(mien_live_add(live.get(), Face(MIEN_LIVE_MARKERS, {"a"}).With(performer).Get(), &number, errors),
            MIEN_INPUT); // without the performer's markers

  mien_live_frame frame = FrameAt(face, 2, values);
  refused("live", mien_live_feed(nullptr, &frame, nullptr, errors), errors);
  refused("frame", mien_live_feed(live.get(), nullptr, nullptr, errors), errors);
  frame.face = 77;
  refused("face", mien_live_feed(live.get(), &frame, nullptr, errors), errors);
  frame.face = face;
  frame.value_count = 1;
  refused("value_count", mien_live_feed(live.get(), &frame, nullptr, errors), errors);
  frame.values = nullptr;
  refused("values", mien_live_feed(live.get(), &frame, nullptr, errors), errors);
  frame.struct_size = 3;
  refused("frame", mien_live_feed(live.get(), &frame, nullptr, errors), errors);
  refused("now", mien_live_advance(live.get(), kNaN, errors), errors);
  refused("face", mien_live_remove(live.get(), 77, errors), errors);
  refused("face", mien_live_neutral_now(live.get(), 77, errors), errors);
  refused("face", mien_live_mark(live.get(), 77, "x", errors), errors);
  refused("label", mien_live_mark(live.get(), face, nullptr, errors), errors);
  refused("place", mien_live_start_recording(live.get(), face, nullptr, errors), errors);
  refused("live", mien_live_pause(nullptr, 1, errors), errors);
  mien_array array = EmptyArray();
  refused("index", mien_live_get_array(live.get(), 1, MIEN_FRAME_WEIGHTS, &array, errors), errors);
  refused("which", mien_live_get_array(live.get(), 0, 99, &array, errors), errors);
  refused("array", mien_live_get_array(live.get(), 0, MIEN_FRAME_WEIGHTS, nullptr, errors), errors);
  mien_live_result result = {};
  EXPECT_EQ(mien_live_get_result(live.get(), 0, &result), MIEN_USAGE); // struct_size 0
  result.struct_size = sizeof result;
  EXPECT_EQ(mien_live_get_result(live.get(), 1, &result), MIEN_USAGE);
  EXPECT_EQ(mien_live_get_result(nullptr, 0, &result), MIEN_USAGE);
  EXPECT_EQ(mien_live_get_statistics(live.get(), 77, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_live_result_count(nullptr), 0u);
  EXPECT_EQ(mien_live_name(nullptr, 0, MIEN_SHAPE_NAMES, 0), nullptr);
  EXPECT_EQ(mien_live_free(nullptr), MIEN_OK);

  EXPECT_EQ(mien_live_result_count(live.get()), 1u); // of the frame before all of this
  EXPECT_EQ(ResultOf(live, MIEN_FRAME_SHAPE_WEIGHTS), values);
  EXPECT_EQ(StatisticsOf(live, face).received, 1u);
}

TEST(CLive, HoldsAtMost64Faces) {
  const LiveHandle live = NewLive();
  for (int i = 0; i < 64; ++i) Added(live, Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}));
  Errors errors;
  std::size_t number = 0;
  EXPECT_EQ(mien_live_add(live.get(), Face(MIEN_LIVE_WEIGHTS, {"jawOpen"}).Get(), &number, errors),
            MIEN_LIMIT);
}
