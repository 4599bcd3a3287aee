#include "host/weights/regular_animation_file.h"

#include "host/animation/animation_json.h"
#include "host/weights/animation_file.h"
#include "tests/host/input_error.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>

using mien::ReadAnimationFile;
using mien::ReadRegularAnimationFile;
using mien::WeightTake;

namespace {

/// A file as `mien solve` writes it, with everything that it may have.
std::string Written() {
  mien::Animation animation;
  animation.layout.character = "puppet";
  animation.layout.shapes = {"smile", "jawOpen"};
  animation.layout.clusters = {{"Face", "jaw"}};
  animation.layout.rate = {30, 1};
  animation.layout.timecode = mien::ParseTimecode("10:02:59:29", {30, 1});
  animation.heads.resize(3);
  for (std::size_t f = 0; f < 3; ++f) {
    const double x = static_cast<double>(f);
    animation.frames.push_back(static_cast<std::int64_t>(f) + 5);
    animation.times.push_back(x / 30);
    for (const double weight : {x / 7, 1.1}) animation.shape_weights.push_back(weight);
    animation.eyes.push_back({mien::EyeAngles{0.1 * x, 0.2}, mien::EyeAngles{0.3, 0.4}});
    animation.heads[f].m[3][1] = 12.5 * x;
  }
  animation.weights.resize(3 * animation.layout.templates.size());
  animation.local_clusters.resize(3);
  animation.global_clusters.resize(3);
  std::ostringstream json;
  mien::WriteAnimationJson(animation, json);
  return json.str();
}

/// The first place of `what` replaced.
std::string With(std::string text, std::string_view what, std::string_view by) {
  const std::size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), by);
}

void ExpectEqual(const WeightTake& a, const WeightTake& b) {
  EXPECT_EQ(a.names, b.names);
  EXPECT_EQ(a.frames, b.frames);
  EXPECT_EQ(a.times, b.times);
  EXPECT_EQ(a.rate, b.rate);
  EXPECT_EQ(a.timecode, b.timecode);
  EXPECT_EQ(a.weights, b.weights);
  EXPECT_EQ(a.eyes, b.eyes);
  EXPECT_EQ(a.heads.size(), b.heads.size());
  for (std::size_t f = 0; f < a.heads.size() && f < b.heads.size(); ++f) {
    EXPECT_EQ(a.heads[f].yaw, b.heads[f].yaw);
    EXPECT_EQ(a.heads[f].pitch, b.heads[f].pitch);
    EXPECT_EQ(a.heads[f].roll, b.heads[f].roll);
  }
  EXPECT_EQ(a.head_places.size(), b.head_places.size());
  for (std::size_t f = 0; f < a.head_places.size() && f < b.head_places.size(); ++f)
    EXPECT_EQ(a.head_places[f].y, b.head_places[f].y);
  EXPECT_EQ(a.notes.size(), b.notes.size());
}

} // namespace

// The weights of templates are not read beside those of shapes, so what is wrong there does not matter; but the
// file is not regular.
TEST(RegularAnimationFile, GivesTheTakeThatTheReaderOfAllFilesGives) {
  const std::string text = Written(), odd = With(text, "\"weights\": [", "\"weights\": [null, ");
  const auto regular = ReadRegularAnimationFile(text);
  ASSERT_TRUE(regular);
  ASSERT_FALSE(ReadRegularAnimationFile(odd));
  EXPECT_EQ(regular->frames.size(), 3u);
  EXPECT_EQ(regular->head_places[2].y, 25);
  ExpectEqual(*regular, ReadAnimationFile(odd, "w"));
  ExpectEqual(*regular, ReadAnimationFile(text, "w"));
}

TEST(RegularAnimationFile, LeavesWhatIsWrongToTheReaderThatSaysSo) {
  const std::string text = Written();
  for (const auto& [what, by] : {std::pair("\"frames\": [5,", "\"frames\": [\"5\","),
                                 {"\"frames\": [5,", "\"frames\": ["},
                                 {"\"frames\": [5,", "\"frames\": [7,"},
                                 {"\"times\": [", "\"times\": [1e16,"},
                                 {"\"times\": [", "\"times\": [[0],"},
                                 {"\"rate\": 30", "\"rate\": -1"},
                                 {"\"rate\": 30", "\"take\": \"twice\""},
                                 {"\"names\": [\"smile\", ", "\"names\": [\"jawOpen\", "},
                                 {"\"names\": [\"smile\", ", "\"names\": [7, "},
                                 {"\"names\": [\"smile\", ", "\"names\": [\"\", "},
                                 {"\"names\": [\"smile\", ", "\"names\": ["},
                                 {"\"left\": [", "\"left\": [[1],"},
                                 {"\"left\": [", "\"elsewhere\": ["},
                                 {"\"rotation\": [\n    [", "\"rotation\": [\n    [1,"},
                                 {"\"translation\": [", "\"translation\": [[0,0,0],"},
                                 {"\"translation\": [", "\"translation\": {}, \"t\": ["}}) {
    const std::string wrong = With(text, what, by);
    EXPECT_FALSE(ReadRegularAnimationFile(wrong)) << by;
    EXPECT_NE(InputErrorOf([&] { ReadAnimationFile(wrong, "w"); }), "no InputError") << by;
  }
  for (std::size_t size = 0; size + 2 < text.size(); size += 7)
    EXPECT_FALSE(ReadRegularAnimationFile(std::string_view(text).substr(0, size))) << size;
}
