#include "host/files/read_file.h"
#include "host/jobs/convert_job.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <cmath>
#include <filesystem>
#include <limits>

using mien::ReadFile;
using namespace tests;

namespace {

const std::filesystem::path kSamples = MIEN_SAMPLES_FOLDER;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Three frames of two markers at 30 Hz.
struct Arrays {
  const char* names[2] = {"a", "b"};
  double positions[12 + 6] = {1, 2, 3, 4, 5, 6, 7, 8, 9, kNaN, 11, 12, 13, 14, 15, 16, 17, 18};
  mien_take_arrays arrays = {};

  Arrays() {
    arrays.struct_size = sizeof arrays;
    arrays.markers = names;
    arrays.marker_count = 2;
    arrays.frame_count = 3;
    arrays.positions = positions;
    arrays.rate_numerator = 30;
    arrays.rate_denominator = 1;
  }
};

} // namespace

class CTake : public TemporaryFolder {};

TEST_F(CTake, HasThePositionsOfTheFileAndNaNInGaps) {
  const std::string file = Write("t.csv", "frame,time,a.x,a.y,a.z,b.x,b.y,b.z\n"
                                          "7,0,1,2,3,4,5,6\n"
                                          "8,0.04,,,,7,8,9\n"
                                          "10,0.12,1.5,2,3,4,5,6\n");
  const TakeHandle take = ReadTake(file);
  const mien_array positions = ArrayOf(take, MIEN_TAKE_POSITIONS), origins = ArrayOf(take, MIEN_TAKE_ORIGINS),
                   frames = ArrayOf(take, MIEN_TAKE_FRAMES), times = ArrayOf(take, MIEN_TAKE_TIMES);
  ASSERT_EQ(ShapeOf(positions), (std::vector<std::size_t>{3, 2, 3}));
  EXPECT_EQ(positions.type, MIEN_DOUBLE);
  EXPECT_EQ(positions.strides[2], 8);
  EXPECT_EQ(At<double>(positions, {0, 1, 2}), 6);
  EXPECT_EQ(At<double>(positions, {2, 0, 0}), 1.5);
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_TRUE(std::isnan(At<double>(positions, {1, 0, axis})));
  EXPECT_EQ(origins.type, MIEN_UINT8);
  EXPECT_EQ(At<std::uint8_t>(origins, {1, 0}), 0);
  EXPECT_EQ(At<std::uint8_t>(origins, {1, 1}), 1);
  EXPECT_EQ(frames.type, MIEN_INT64);
  EXPECT_EQ(At<std::int64_t>(frames, {2}), 10);
  EXPECT_EQ(At<double>(times, {1}), 0.04);
  EXPECT_STREQ(mien_take_marker(take.get(), 1), "b");
  EXPECT_EQ(mien_take_marker(take.get(), 2), nullptr);
  EXPECT_STREQ(mien_take_get_text(take.get(), MIEN_TAKE_NAME), "t");
  EXPECT_STREQ(mien_take_get_text(take.get(), MIEN_TAKE_FILE), file.c_str());
  EXPECT_STREQ(mien_take_get_text(take.get(), MIEN_TAKE_FORMAT), "marker CSV");
  EXPECT_STREQ(mien_take_get_text(take.get(), MIEN_TAKE_TIMECODE), "");
  std::int64_t numerator = 0, denominator = 0;
  EXPECT_EQ(mien_take_rate(take.get(), &numerator, &denominator), MIEN_OK);
  EXPECT_EQ(numerator, 25);
  EXPECT_EQ(denominator, 1);
  EXPECT_EQ(mien_messages_status(mien_take_notes(take.get())), MIEN_OK);
  EXPECT_THAT(mien_messages_text(mien_take_notes(take.get())), testing::HasSubstr("missing"));
}

TEST_F(CTake, FromMemoryIsTheTakeOfTheFile) {
  const std::string path = kSamples / "markers.csv", bytes = ReadFile(path);
  const TakeHandle of_file = ReadTake(path);
  Errors errors;
  const TakeHandle of_memory(
      mien_take_read_memory(bytes.data(), bytes.size(), "markers.csv", nullptr, nullptr, errors));
  ASSERT_TRUE(of_memory) << errors.AllText();
  const mien_array a = ArrayOf(of_file, MIEN_TAKE_POSITIONS), b = ArrayOf(of_memory, MIEN_TAKE_POSITIONS);
  ASSERT_EQ(ShapeOf(a), ShapeOf(b));
  EXPECT_EQ(std::memcmp(a.data, b.data, a.shape[0] * a.shape[1] * 24), 0); // gaps are NaNs of the same bits
  EXPECT_STREQ(mien_take_get_text(of_memory.get(), MIEN_TAKE_NAME), "markers");
}

TEST_F(CTake, ThatCannotBeReadSaysWhereAndWhy) {
  const std::string file = Write("t.csv", "frame,time,a.x,a.y,a.z\n1,0,1,2,3\n2,0.04,1,x,3\n");
  Errors errors;
  EXPECT_FALSE(mien_take_read(file.c_str(), nullptr, nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT);
  const mien_message message = errors.At(0);
  EXPECT_STREQ(message.file, file.c_str());
  EXPECT_STREQ(message.place, "3");
  EXPECT_STRNE(message.what, "");
  EXPECT_THAT(message.text, testing::HasSubstr(message.what));
  EXPECT_FALSE(mien_take_read((folder_ / "no.csv").c_str(), nullptr, nullptr, errors));
}

TEST_F(CTake, IsReadWithTheOptionsOfTheCommand) {
  const std::string file = Write("t.csv", "frame,a.x,a.y,a.z\n1,1,2,3\n2,1,2,3\n");
  Errors errors;
  const TakeHandle take(mien_take_read(
      file.c_str(), SettingsOf(MIEN_STEP_READ, {{"input-rate", "29.97"}}).get(), nullptr, errors));
  ASSERT_TRUE(take) << errors.AllText();
  std::int64_t numerator = 0, denominator = 0;
  mien_take_rate(take.get(), &numerator, &denominator);
  EXPECT_EQ(numerator, 30000);
  EXPECT_EQ(denominator, 1001);
}

TEST_F(CTake, IsWrittenAsTheCommandConvertsIt) {
  const TakeHandle take = ReadTake(kSamples / "markers.csv");
  for (const std::string ending : {".c3d", ".trc", ".csv"}) {
    Errors errors;
    const std::string path = folder_ / ("t" + ending);
    const Settings settings =
        SettingsOf(MIEN_STEP_CONVERT, {{"frames", "10-40"}, {"timecode", "10:02:59:29@30"}});
    mien_messages* lost = nullptr;
    ASSERT_EQ(mien_take_write(take.get(), path.c_str(), settings.get(), nullptr, &lost, errors), MIEN_OK)
        << errors.AllText();
    const Messages own(lost);
    mien::ConvertJob job;
    job.take = kSamples / "markers.csv";
    job.output = folder_ / ("job" + ending);
    job.frames = mien::FrameRange{10, 40};
    job.timecode = "10:02:59:29@30";
    const mien::ConvertResult converted = mien::Run(job);
    EXPECT_TRUE(ReadFile(path) == ReadFile(job.output)) << ending;
    ASSERT_EQ(mien_messages_count(lost), converted.lost.size()) << ending;
    for (std::size_t i = 0; i < converted.lost.size(); ++i)
      EXPECT_THAT(mien_messages_text(lost), testing::HasSubstr(converted.lost[i].what));
    const TakeHandle again = ReadTake(path);
    EXPECT_EQ(mien_take_frame_count(again.get()), 31u);
    const Text bytes(mien_take_write_memory(take.get(), ending.c_str(), settings.get(), nullptr, errors));
    EXPECT_TRUE(std::string(mien_text_data(bytes.get()), mien_text_size(bytes.get())) == ReadFile(path));
  }
}

TEST(CTakeArrays, BecomeATake) {
  const Arrays own;
  Errors errors;
  const TakeHandle take(mien_take_from_arrays(&own.arrays, errors));
  ASSERT_TRUE(take) << errors.AllText();
  const mien_array positions = ArrayOf(take, MIEN_TAKE_POSITIONS);
  ASSERT_EQ(ShapeOf(positions), (std::vector<std::size_t>{3, 2, 3}));
  EXPECT_EQ(At<double>(positions, {0, 1, 0}), 4);
  EXPECT_TRUE(std::isnan(At<double>(positions, {1, 1, 2}))); // one NaN makes a gap
  EXPECT_EQ(At<std::uint8_t>(ArrayOf(take, MIEN_TAKE_ORIGINS), {1, 1}), 0);
  EXPECT_EQ(At<std::int64_t>(ArrayOf(take, MIEN_TAKE_FRAMES), {0}), 1);
  EXPECT_EQ(At<double>(ArrayOf(take, MIEN_TAKE_TIMES), {0}), 0);
  EXPECT_EQ(At<double>(ArrayOf(take, MIEN_TAKE_TIMES), {2}), 2.0 / 30);
}

TEST(CTakeArrays, AreReadByTheirStrides) {
  Arrays own;
  // Axis by axis: all x of a frame, all y, all z; and the frames backwards.
  const double positions[] = {7, 70, 8, 80, 9, 90, 4, 40, 5, 50, 6, 60, 1, 10, 2, 20, 3, 30};
  own.arrays.positions = positions + 12;
  own.arrays.frame_stride = -6 * 8;
  own.arrays.marker_stride = 8;
  own.arrays.axis_stride = 2 * 8;
  Errors errors;
  const TakeHandle take(mien_take_from_arrays(&own.arrays, errors));
  ASSERT_TRUE(take) << errors.AllText();
  const mien_array read = ArrayOf(take, MIEN_TAKE_POSITIONS);
  for (std::size_t f = 0; f < 3; ++f)
    for (std::size_t m = 0; m < 2; ++m)
      for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_EQ(At<double>(read, {f, m, axis}), static_cast<double>(3 * f + axis + 1) * (m == 0 ? 1 : 10));
}

TEST(CTakeArrays, OfAReadTakeSolveToTheSameBits) {
  const TakeHandle read = ReadTake(kSamples / "markers.csv");
  const mien_array positions = ArrayOf(read, MIEN_TAKE_POSITIONS);
  std::vector<const char*> markers;
  for (std::size_t m = 0; m < positions.shape[1]; ++m) markers.push_back(mien_take_marker(read.get(), m));
  mien_take_arrays arrays = {};
  arrays.struct_size = sizeof arrays;
  arrays.markers = markers.data();
  arrays.marker_count = markers.size();
  arrays.frame_count = positions.shape[0];
  arrays.positions = static_cast<const double*>(positions.data);
  mien_take_rate(read.get(), &arrays.rate_numerator, &arrays.rate_denominator);
  arrays.frame_numbers = static_cast<const std::int64_t*>(ArrayOf(read, MIEN_TAKE_FRAMES).data);
  arrays.times = static_cast<const double*>(ArrayOf(read, MIEN_TAKE_TIMES).data);
  Errors errors;
  const TakeHandle made(mien_take_from_arrays(&arrays, errors));
  ASSERT_TRUE(made) << errors.AllText();
  const PerformerHandle performer = LoadPerformer(kSamples / "markers.performer.json");
  const AnimationHandle a = Solve(read, performer), b = Solve(made, performer);
  const mien_array of_file = ArrayOf(a, MIEN_ANIMATION_WEIGHTS),
                   of_arrays = ArrayOf(b, MIEN_ANIMATION_WEIGHTS);
  ASSERT_EQ(ShapeOf(of_file), ShapeOf(of_arrays));
  EXPECT_EQ(std::memcmp(of_file.data, of_arrays.data, of_file.shape[0] * of_file.shape[1] * 8), 0);
}

TEST(CTakeArrays, ThatMakeNoTakeAreRefused) {
  const auto refused = [](void (*spoil)(Arrays&), mien_status status, const std::string& place) {
    Arrays own;
    spoil(own);
    Errors errors;
    EXPECT_FALSE(mien_take_from_arrays(&own.arrays, errors));
    EXPECT_EQ(errors.Status(), status) << place;
    EXPECT_EQ(errors.At(0).place, place) << errors.AllText();
  };
  refused([](Arrays& a) { a.arrays.struct_size = 8; }, MIEN_USAGE, "arrays");
  refused([](Arrays& a) { a.arrays.positions = nullptr; }, MIEN_USAGE, "positions");
  refused([](Arrays& a) { a.arrays.markers = nullptr; }, MIEN_USAGE, "markers");
  refused([](Arrays& a) { a.names[1] = "a"; }, MIEN_USAGE, "markers");
  refused([](Arrays& a) { a.names[1] = ""; }, MIEN_USAGE, "markers");
  refused([](Arrays& a) { a.names[1] = nullptr; }, MIEN_USAGE, "markers");
  refused([](Arrays& a) { a.names[1] = "\xff"; }, MIEN_USAGE, "markers");
  refused([](Arrays& a) { a.arrays.frame_count = 0; }, MIEN_USAGE, "frame_count");
  refused([](Arrays& a) { a.arrays.frame_count = SIZE_MAX / 2; }, MIEN_USAGE, "marker_count");
  refused([](Arrays& a) { a.arrays.rate_numerator = 0; }, MIEN_USAGE, "rate_numerator");
  refused([](Arrays& a) { a.arrays.rate_denominator = 0; }, MIEN_USAGE, "rate_numerator");
  refused([](Arrays& a) { a.arrays.rate_numerator = -30; }, MIEN_USAGE, "rate_numerator");
  refused([](Arrays& a) { a.arrays.timecode = "noon"; }, MIEN_USAGE, "timecode");
  static const std::int64_t falling[] = {1, 3, 2};
  refused([](Arrays& a) { a.arrays.frame_numbers = falling; }, MIEN_INPUT, "frame index 2");
  static const double stopped[] = {0, 0.5, 0.5}, unknown[] = {0, kNaN, 1};
  refused([](Arrays& a) { a.arrays.times = stopped; }, MIEN_INPUT, "frame index 2");
  refused([](Arrays& a) { a.arrays.times = unknown; }, MIEN_INPUT, "frame index 1");
}

TEST(CTakeArrays, BeyondAKilometreAreGapsWithANote) {
  Arrays own;
  own.positions[0] = 2e6;
  own.positions[3] = std::numeric_limits<double>::infinity();
  Errors errors;
  const TakeHandle take(mien_take_from_arrays(&own.arrays, errors));
  ASSERT_TRUE(take) << errors.AllText();
  EXPECT_TRUE(std::isnan(At<double>(ArrayOf(take, MIEN_TAKE_POSITIONS), {0, 0, 1})));
  EXPECT_TRUE(std::isnan(At<double>(ArrayOf(take, MIEN_TAKE_POSITIONS), {0, 1, 1})));
  EXPECT_EQ(mien_messages_count(mien_take_notes(take.get())), 1u);
}
