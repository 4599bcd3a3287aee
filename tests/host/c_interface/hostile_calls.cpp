// Calls that make no sense return errors: null, handles of another kind, handles that were freed,
// wrong sizes.

#include "tests/host/c_interface/handles.h"

#include <cmath>
#include <filesystem>

#if defined(__SANITIZE_ADDRESS__) // GCC's
#define TESTS_HAVE_ADDRESS_SANITIZER
#elif defined(__has_feature) // Clang's
#if __has_feature(address_sanitizer)
#define TESTS_HAVE_ADDRESS_SANITIZER
#endif
#endif

using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;

/// A call that returns null and names the argument at fault.
template <class Call>
void ExpectNull(const char* place, Call call) {
  Errors errors;
  EXPECT_EQ(call(static_cast<mien_messages**>(errors)), nullptr) << place;
  EXPECT_EQ(errors.Status(), MIEN_USAGE) << place;
  EXPECT_STREQ(errors.At(0).place, place) << errors.AllText();
  EXPECT_EQ(call(nullptr), nullptr); // nobody has to ask why
}

template <class Call>
void ExpectUsage(const char* place, Call call) {
  Errors errors;
  EXPECT_EQ(call(static_cast<mien_messages**>(errors)), MIEN_USAGE) << place;
  EXPECT_EQ(errors.Status(), MIEN_USAGE) << place;
  EXPECT_STREQ(errors.At(0).place, place) << errors.AllText();
  EXPECT_EQ(call(nullptr), MIEN_USAGE);
}

} // namespace

TEST(CHostileCalls, WithNullAreErrors) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  mien_take* const t = take.get();
  mien_performer* const p = performer.get();
  ExpectNull("path", [](mien_messages** e) { return mien_take_read(nullptr, nullptr, nullptr, e); });
  ExpectNull("path", [](mien_messages** e) { return mien_take_read("", nullptr, nullptr, e); });
  ExpectNull("path", [](mien_messages** e) { return mien_take_read("-", nullptr, nullptr, e); });
  ExpectNull("path", [](mien_messages** e) { return mien_take_read("/dev/stdin", nullptr, nullptr, e); });
  ExpectNull("bytes",
             [](mien_messages** e) { return mien_take_read_memory(nullptr, 5, "x", nullptr, nullptr, e); });
  ExpectNull("name",
             [](mien_messages** e) { return mien_take_read_memory("abc", 3, nullptr, nullptr, nullptr, e); });
  ExpectNull("arrays", [](mien_messages** e) { return mien_take_from_arrays(nullptr, e); });
  ExpectNull("name_or_path", [](mien_messages** e) { return mien_performer_load(nullptr, e); });
  ExpectNull("json", [](mien_messages** e) { return mien_performer_from_json(nullptr, 3, "x", e); });
  ExpectNull("performer",
             [&](mien_messages** e) { return mien_performer_with_neutral(nullptr, t, nullptr, nullptr, e); });
  ExpectNull("take",
             [&](mien_messages** e) { return mien_performer_with_neutral(p, nullptr, nullptr, nullptr, e); });
  ExpectNull("take", [&](mien_messages** e) { return mien_performer_guess(nullptr, nullptr, nullptr, e); });
  ExpectNull("takes",
             [&](mien_messages** e) { return mien_performer_calibrate(p, nullptr, 1, nullptr, nullptr, e); });
  ExpectNull("takes", [&](mien_messages** e) {
    const mien_take* const takes[] = {t, nullptr};
    return mien_performer_calibrate(p, takes, 2, nullptr, nullptr, e);
  });
  ExpectNull("performer", [](mien_messages** e) { return mien_performer_to_json(nullptr, e); });
  ExpectNull("name_or_path", [](mien_messages** e) { return mien_character_load(nullptr, e); });
  ExpectNull("json", [](mien_messages** e) { return mien_character_from_json(nullptr, 0, "x", e); });
  ExpectNull("path", [](mien_messages** e) { return mien_character_from_head(nullptr, nullptr, e); });
  ExpectNull("shapes", [](mien_messages** e) { return mien_character_from_shapes(nullptr, 2, "x", e); });
  ExpectNull("character", [](mien_messages** e) { return mien_character_to_json(nullptr, e); });
  ExpectNull("take", [&](mien_messages** e) { return mien_solve(nullptr, p, nullptr, nullptr, nullptr, e); });
  ExpectNull("performer",
             [&](mien_messages** e) { return mien_solve(t, nullptr, nullptr, nullptr, nullptr, e); });
  ExpectNull("path", [](mien_messages** e) { return mien_retarget(nullptr, nullptr, nullptr, nullptr, e); });
  ExpectNull("bytes", [](mien_messages** e) {
    return mien_retarget_memory(nullptr, 1, "x", nullptr, nullptr, nullptr, e);
  });
  ExpectNull("arrays",
             [](mien_messages** e) { return mien_retarget_arrays(nullptr, nullptr, nullptr, nullptr, e); });
  ExpectNull("performer",
             [](mien_messages** e) { return mien_frame_solver_new(nullptr, nullptr, nullptr, nullptr, e); });
  ExpectNull("animation", [](mien_messages** e) {
    return mien_animation_write_memory(nullptr, ".csv", nullptr, nullptr, e);
  });
  ExpectNull("take",
             [](mien_messages** e) { return mien_take_write_memory(nullptr, ".csv", nullptr, nullptr, e); });
  ExpectUsage("settings", [](mien_messages** e) { return mien_settings_set(nullptr, "smooth", "6", e); });
  ExpectUsage("settings", [](mien_messages** e) { return mien_settings_add(nullptr, "smooth", "6", e); });
  ExpectUsage("take", [](mien_messages** e) {
    return mien_take_write(nullptr, "x.csv", nullptr, nullptr, nullptr, e);
  });
  ExpectUsage("path",
              [&](mien_messages** e) { return mien_take_write(t, nullptr, nullptr, nullptr, nullptr, e); });
  ExpectUsage("path",
              [&](mien_messages** e) { return mien_take_write(t, "-", nullptr, nullptr, nullptr, e); });
  ExpectUsage("animation", [](mien_messages** e) {
    return mien_animation_write(nullptr, "x.csv", nullptr, nullptr, nullptr, e);
  });
  ExpectUsage("solver", [](mien_messages** e) { return mien_frame_solver_solve(nullptr, nullptr, 0, 0, e); });
  mien_array array = EmptyArray();
  ExpectUsage("take",
              [&](mien_messages** e) { return mien_take_get_array(nullptr, MIEN_TAKE_TIMES, &array, e); });
  ExpectUsage("animation", [&](mien_messages** e) {
    return mien_animation_get_array(nullptr, MIEN_ANIMATION_TIMES, &array, e);
  });
  ExpectUsage("solver", [&](mien_messages** e) {
    return mien_frame_solver_get_array(nullptr, MIEN_FRAME_HEAD, &array, e);
  });
  ExpectUsage("array",
              [&](mien_messages** e) { return mien_take_get_array(t, MIEN_TAKE_TIMES, nullptr, e); });
}

TEST(CHostileCalls, OfFunctionsWithoutErrorsAnswerNothing) {
  EXPECT_EQ(mien_take_frame_count(nullptr), 0u);
  EXPECT_EQ(mien_take_marker_count(nullptr), 0u);
  EXPECT_EQ(mien_take_marker(nullptr, 0), nullptr);
  EXPECT_EQ(mien_take_get_text(nullptr, MIEN_TAKE_NAME), nullptr);
  EXPECT_EQ(mien_take_notes(nullptr), nullptr);
  EXPECT_EQ(mien_take_event_count(nullptr), 0u);
  EXPECT_EQ(mien_take_event(nullptr, 0, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_take_rate(nullptr, nullptr, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_performer_name(nullptr), nullptr);
  EXPECT_EQ(mien_performer_marker_count(nullptr), 0u);
  EXPECT_EQ(mien_performer_marker(nullptr, 0), nullptr);
  EXPECT_EQ(mien_performer_notes(nullptr), nullptr);
  EXPECT_EQ(mien_performer_range_count(nullptr), 0u);
  EXPECT_EQ(mien_performer_range(nullptr, 0, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_character_name(nullptr), nullptr);
  EXPECT_EQ(mien_character_shape_count(nullptr), 0u);
  EXPECT_EQ(mien_character_shape(nullptr, 0), nullptr);
  EXPECT_EQ(mien_character_notes(nullptr), nullptr);
  EXPECT_EQ(mien_animation_frame_count(nullptr), 0u);
  EXPECT_EQ(mien_animation_name_count(nullptr, MIEN_SHAPE_NAMES), 0u);
  EXPECT_EQ(mien_animation_name(nullptr, MIEN_SHAPE_NAMES, 0), nullptr);
  EXPECT_EQ(mien_animation_get_text(nullptr, MIEN_ANIMATION_TAKE), nullptr);
  EXPECT_EQ(mien_animation_rate(nullptr, nullptr, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_animation_notes(nullptr), nullptr);
  EXPECT_EQ(mien_frame_solver_marker_count(nullptr), 0u);
  EXPECT_EQ(mien_frame_solver_marker(nullptr, 0), nullptr);
  EXPECT_EQ(mien_frame_solver_name_count(nullptr, MIEN_SHAPE_NAMES), 0u);
  EXPECT_EQ(mien_frame_solver_name(nullptr, MIEN_SHAPE_NAMES, 0), nullptr);
  EXPECT_EQ(mien_settings_option_count(nullptr), 0u);
  EXPECT_EQ(mien_settings_option(nullptr, 0, nullptr), MIEN_USAGE);
  EXPECT_EQ(mien_text_data(nullptr), nullptr);
  EXPECT_EQ(mien_text_size(nullptr), 0u);
  EXPECT_EQ(mien_messages_count(nullptr), 0u);
  EXPECT_EQ(mien_messages_get(nullptr, 0, nullptr), MIEN_USAGE);
  EXPECT_STREQ(mien_messages_text(nullptr), "");
}

TEST(CHostileCalls, FreeingNullDoesNothing) {
  EXPECT_EQ(mien_messages_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_text_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_settings_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_take_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_performer_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_character_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_animation_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_frame_solver_free(nullptr), MIEN_OK);
  EXPECT_EQ(mien_live_free(nullptr), MIEN_OK);
}

// What a cast, or a language without types, can do.
TEST(CHostileCalls, WithHandlesOfAnotherKindAreErrors) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const auto* const take_as_performer = reinterpret_cast<const mien_performer*>(take.get());
  const auto* const performer_as_take = reinterpret_cast<const mien_take*>(performer.get());
  ExpectNull("take", [&](mien_messages** e) {
    return mien_solve(performer_as_take, performer.get(), nullptr, nullptr, nullptr, e);
  });
  ExpectNull("performer", [&](mien_messages** e) {
    return mien_solve(take.get(), take_as_performer, nullptr, nullptr, nullptr, e);
  });
  ExpectNull("character", [&](mien_messages** e) {
    return mien_solve(take.get(), performer.get(), reinterpret_cast<const mien_character*>(take.get()),
                      nullptr, nullptr, e);
  });
  ExpectNull("settings", [&](mien_messages** e) {
    return mien_solve(take.get(), performer.get(), nullptr,
                      reinterpret_cast<const mien_settings*>(take.get()), nullptr, e);
  });
  EXPECT_EQ(mien_take_free(reinterpret_cast<mien_take*>(performer.get())), MIEN_USAGE); // it stays
  EXPECT_EQ(mien_performer_free(reinterpret_cast<mien_performer*>(take.get())), MIEN_USAGE);
  EXPECT_EQ(mien_take_frame_count(performer_as_take), 0u);
  EXPECT_EQ(mien_live_free(reinterpret_cast<mien_live*>(take.get())), MIEN_USAGE);
  EXPECT_EQ(mien_live_result_count(reinterpret_cast<const mien_live*>(take.get())), 0u);
  EXPECT_STREQ(mien_performer_name(performer.get()), "landmarks68");
}

TEST(CHostileCalls, OnFreedHandlesAreErrorsAsFarAsTheirMemoryShows) {
  mien_performer* const performer = LoadPerformer("landmarks68").release();
  EXPECT_EQ(mien_performer_free(performer), MIEN_OK);
#ifdef TESTS_HAVE_ADDRESS_SANITIZER
  EXPECT_DEATH(mien_performer_free(performer), "heap-use-after-free"); // it sees them all
#else
  EXPECT_EQ(mien_performer_free(performer), MIEN_USAGE);
  EXPECT_EQ(mien_performer_name(performer), nullptr);
#endif
}

TEST(CHostileCalls, WithWrongSizesAndIndicesAreErrors) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  mien_array array = {};
  Errors errors;
  EXPECT_EQ(mien_take_get_array(take.get(), MIEN_TAKE_TIMES, &array, errors), MIEN_USAGE); // struct_size 0
  array.struct_size = sizeof array;
  EXPECT_EQ(mien_take_get_array(take.get(), 77, &array, errors), MIEN_USAGE);
  EXPECT_EQ(mien_take_get_text(take.get(), -1), nullptr);
  mien_event event = {};
  event.struct_size = sizeof event;
  EXPECT_EQ(mien_take_event(take.get(), 0, &event), MIEN_USAGE); // it has none
  mien_progress progress = {};
  ExpectNull("progress", [&](mien_messages** e) {
    return mien_solve(take.get(), LoadPerformer("landmarks68").get(), nullptr, nullptr, &progress, e);
  });
  const AnimationHandle animation = Solve(take, LoadPerformer("landmarks68"));
  EXPECT_EQ(mien_animation_get_array(animation.get(), 99, &array, errors), MIEN_USAGE);
  EXPECT_EQ(mien_animation_name(animation.get(), 9, 0), nullptr);
  EXPECT_EQ(mien_animation_name(animation.get(), MIEN_TEMPLATE_NAMES, 100000), nullptr);
  EXPECT_EQ(mien_animation_get_text(animation.get(), 9), nullptr);
  ExpectUsage("output", [&](mien_messages** e) {
    return mien_animation_write(animation.get(), "weights.txt", nullptr, nullptr, nullptr, e);
  });
  ExpectUsage("csv-style", [&](mien_messages** e) { // without shapes
    return mien_animation_write(animation.get(), "x.csv",
                                SettingsOf(MIEN_STEP_WRITE, {{"csv-style", "livelink"}}).get(), nullptr,
                                nullptr, e);
  });
}

// A caller that was compiled with a newer header has larger structs.
TEST(CHostileCalls, FromNewerCallersFillWhatIsKnown) {
  const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
  struct {
    mien_array array;
    double later[2];
  } newer = {};
  newer.array.struct_size = sizeof newer;
  newer.later[1] = 7;
  EXPECT_EQ(mien_take_get_array(take.get(), MIEN_TAKE_TIMES, &newer.array, nullptr), MIEN_OK);
  EXPECT_EQ(newer.array.shape[0], mien_take_frame_count(take.get()));
  EXPECT_EQ(newer.array.struct_size, sizeof newer);
  EXPECT_EQ(newer.later[1], 0);
  struct {
    mien_progress progress;
    double later;
  } told = {};
  told.progress.struct_size = sizeof told;
  told.progress.report = [](void*, mien_stage, std::size_t, std::size_t) { return 0; };
  const PerformerHandle performer = LoadPerformer("landmarks68");
  const AnimationHandle fine(
      mien_solve(take.get(), performer.get(), nullptr, nullptr, &told.progress, nullptr));
  EXPECT_TRUE(fine);
  told.later = 1; // which this library cannot do
  ExpectNull("progress", [&](mien_messages** e) {
    return mien_solve(take.get(), performer.get(), nullptr, nullptr, &told.progress, e);
  });
}

TEST(CHostileCalls, OutliveWhatTheirResultsCameFrom) {
  AnimationHandle animation;
  {
    const TakeHandle take = ReadTake(kSamples / "landmarks.csv");
    animation = Solve(take, LoadPerformer("landmarks68"), LoadCharacter("arkit52"),
                      SettingsOf(MIEN_STEP_SOLVE, {{"smooth", "8"}}));
  }
  Errors errors;
  const Text glb(mien_animation_write_memory(animation.get(), ".glb", nullptr, nullptr, errors));
  ASSERT_TRUE(glb) << errors.AllText();
  EXPECT_EQ(std::string(mien_text_data(glb.get()), 4), "glTF");
}

TEST(CVersion, IsThatOfTheHeader) {
  EXPECT_EQ(mien_host_version(), static_cast<std::uint32_t>(MIEN_HOST_VERSION));
  EXPECT_STRNE(mien_version(), "");
}
