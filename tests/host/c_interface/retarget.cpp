#include "host/files/read_file.h"
#include "host/jobs/retarget_job.h"
#include "tests/host/c_interface/handles.h"
#include "tests/host/temporary_folder.h"

#include <cmath>
#include <limits>

using mien::ReadFile;
using mien::RetargetJob;
using namespace tests;

namespace {

constexpr char kWeights[] = "frame,time,jawOpen,eyeBlinkLeft\n"
                            "1,0,0,0.5\n2,0.04,0.25,\n3,0.08,0.5,0.75\n4,0.12,1,1\n";

class CRetarget : public TemporaryFolder {
protected:
  std::string Written(const AnimationHandle& animation, const std::string& name) const {
    Errors errors;
    const std::string path = folder_ / name;
    EXPECT_EQ(mien_animation_write(animation.get(), path.c_str(), nullptr, nullptr, nullptr, errors), MIEN_OK)
        << errors.AllText();
    return ReadFile(path);
  }
};

} // namespace

TEST_F(CRetarget, WritesTheBytesOfTheCommand) {
  RetargetJob job;
  job.weights = Write("w.csv", kWeights);
  for (const std::string character : {"", "arkit52"})
    for (const std::string ending : {".csv", ".json", ".glb"}) {
      SCOPED_TRACE(character + ending);
      job.character = character;
      job.output = folder_ / ("job" + ending);
      job.swap_sides = true;
      mien::Run(job);
      Errors errors;
      const AnimationHandle animation(
          mien_retarget(job.weights.c_str(), LoadCharacter(character).get(),
                        SettingsOf(MIEN_STEP_RETARGET, {{"swap-sides", "true"}}).get(), nullptr, errors));
      ASSERT_TRUE(animation) << errors.AllText();
      EXPECT_TRUE(Written(animation, "c" + ending) == ReadFile(job.output));
    }
}

TEST_F(CRetarget, TakesAFileBytesOrArrays) {
  const std::string path = Write("w.csv", kWeights);
  Errors errors;
  const AnimationHandle of_file(mien_retarget(path.c_str(), nullptr, nullptr, nullptr, errors));
  const AnimationHandle of_bytes(
      mien_retarget_memory(kWeights, sizeof kWeights - 1, "w.csv", nullptr, nullptr, nullptr, errors));
  const char* const names[] = {"jawOpen", "EyeBlink_L"}; // another spelling
  const double weights[] = {0, 0.5, 0.25, std::numeric_limits<double>::quiet_NaN(), 0.5, 0.75, 1, 1},
               times[] = {0, 0.04, 0.08, 0.12};
  mien_weight_arrays arrays = {};
  arrays.struct_size = sizeof arrays;
  arrays.name = "w";
  arrays.names = names;
  arrays.name_count = 2;
  arrays.frame_count = 4;
  arrays.weights = weights;
  arrays.times = times;
  const AnimationHandle of_arrays(mien_retarget_arrays(&arrays, nullptr, nullptr, nullptr, errors));
  ASSERT_TRUE(of_file && of_bytes && of_arrays) << errors.AllText();
  const std::string expected = Written(of_file, "a.json");
  EXPECT_TRUE(Written(of_bytes, "b.json") == expected);
  EXPECT_TRUE(Written(of_arrays, "c.json") == expected);
  const mien_array shapes = ArrayOf(of_arrays, MIEN_ANIMATION_SHAPE_WEIGHTS);
  ASSERT_EQ(ShapeOf(shapes), (std::vector<std::size_t>{4, 2}));
  EXPECT_EQ(At<double>(shapes, {2, 1}), 0.75);
  EXPECT_FALSE(std::isnan(At<double>(shapes, {1, 1}))); // filled
  EXPECT_EQ(ArrayOf(of_arrays, MIEN_ANIMATION_EYES).data, nullptr);
  EXPECT_THAT(mien_animation_get_text(of_arrays.get(), MIEN_ANIMATION_REPORT),
              testing::HasSubstr("\"missing_frames\": 1"));
}

TEST_F(CRetarget, RefusesArraysThatMakeNoWeights) {
  const char* const twice[] = {"eyeBlinkLeft", "EyeBlink_L"};
  const double weights[] = {0, 1};
  mien_weight_arrays arrays = {};
  arrays.struct_size = sizeof arrays;
  arrays.names = twice;
  arrays.name_count = 2;
  arrays.frame_count = 1;
  arrays.weights = weights;
  arrays.rate_numerator = 30;
  arrays.rate_denominator = 1;
  Errors errors;
  EXPECT_FALSE(mien_retarget_arrays(&arrays, nullptr, nullptr, nullptr, errors)); // two names of one shape
  EXPECT_EQ(errors.Status(), MIEN_USAGE);
  EXPECT_STREQ(errors.At(0).place, "names");
  const char* const names[] = {"jawOpen", "mouthPucker"};
  arrays.names = names;
  const double infinite[] = {0, std::numeric_limits<double>::infinity()};
  arrays.weights = infinite;
  EXPECT_FALSE(mien_retarget_arrays(&arrays, nullptr, nullptr, nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_INPUT);
  arrays.weights = nullptr;
  EXPECT_FALSE(mien_retarget_arrays(&arrays, nullptr, nullptr, nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_USAGE);
}
