#include "host/animation/animation_json.h"

#include "tests/host/decimal_comma.h"
#include "tests/host/plain_face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using mien::Animation;
using mien::ClusterTransform;
using mien::WriteAnimationJson;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

using Json = nlohmann::ordered_json;

std::string Written(const Animation& animation) {
  std::ostringstream out;
  WriteAnimationJson(animation, out);
  return out.str();
}

Json Parsed(const Animation& animation) { return Json::parse(Written(animation)); }

std::vector<std::string> Keys(const Json& object) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

/// Frames without a character, in which all numbers differ.
Animation Solved(std::size_t frames) {
  tests::Random random(17);
  Animation animation;
  animation.layout.take = "take 1", animation.layout.performer = "Ada", animation.layout.rate = {30000, 1001};
  animation.layout.neutral_head = tests::AnyMotion(random);
  for (std::size_t f = 0; f < frames; ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f * f) - 1);
    animation.times.push_back(static_cast<double>(f) / 29.97 - 0.1);
    animation.heads.push_back(mien::Product(animation.layout.neutral_head, tests::AnyMotion(random)));
    for (std::size_t t = 0; t < animation.layout.templates.size(); ++t)
      animation.weights.push_back(random.Between(-1, 2));
  }
  return animation;
}

ClusterTransform AnyTransform(tests::Random& random) {
  ClusterTransform transform;
  transform.translation = {random.Between(-9, 9), random.Between(-9, 9), random.Between(-9, 9)};
  VTxRotationOrder().V2M(transform.rotation,
                         {random.Between(-180, 180), random.Between(-90, 90), random.Between(-180, 180)});
  transform.scale = {random.Between(-3, 3), random.Between(-3, 3), random.Between(-3, 3)};
  return transform;
}

/// The same with three shapes and two clusters.
Animation WithCharacter(std::size_t frames) {
  tests::Random random(18);
  Animation animation = Solved(frames);
  animation.layout.character = "Robot";
  animation.layout.shapes = {"jawOpen", "say \"hi\"", "眉"};
  animation.layout.clusters = {{"jaw", "bone"}, {"a\\b", "bone"}};
  for (std::size_t f = 0; f < frames; ++f) {
    for (int s = 0; s < 3; ++s) animation.shape_weights.push_back(random.Between(-1, 2));
    for (int c = 0; c < 2; ++c) {
      animation.local_clusters.push_back(AnyTransform(random));
      animation.global_clusters.push_back(AnyTransform(random));
    }
  }
  return animation;
}

void ExpectVector(const Json& json, double x, double y, double z) {
  ASSERT_THAT(json, SizeIs(3));
  EXPECT_EQ(json[0].get<double>(), x);
  EXPECT_EQ(json[1].get<double>(), y);
  EXPECT_EQ(json[2].get<double>(), z);
}

VgeQuaternion QuaternionIn(const Json& json) {
  return {json.at(0).get<double>(), json.at(1).get<double>(), json.at(2).get<double>(),
          json.at(3).get<double>()};
}

double Dot(const VgeQuaternion& a, const VgeQuaternion& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

/// Whether it is one of the two quaternions of the rotation.
void ExpectRotation(const Json& json, const VgeRMatrix& rotation) {
  ASSERT_THAT(json, SizeIs(4));
  const VgeQuaternion q = QuaternionIn(json), expected(rotation);
  EXPECT_TRUE(q == expected || q == VgeQuaternion(-expected.x, -expected.y, -expected.z, -expected.w))
      << json;
}

} // namespace

TEST(AnimationJson, HasTheDocumentedKeysInTheirOrder) {
  const Json json = Parsed(WithCharacter(2));
  EXPECT_THAT(Keys(json), ElementsAre("format", "take", "performer", "character", "rate", "rate_fraction",
                                      "frames", "times", "head", "templates", "shapes", "clusters"));
  EXPECT_THAT(Keys(json["head"]), ElementsAre("rotation", "translation"));
  EXPECT_THAT(Keys(json["templates"]), ElementsAre("names", "weights"));
  EXPECT_THAT(Keys(json["shapes"]), ElementsAre("names", "weights"));
  EXPECT_THAT(Keys(json["clusters"]), ElementsAre("names", "local", "global"));
  for (const std::string space : {"local", "global"})
    EXPECT_THAT(Keys(json["clusters"][space]), ElementsAre("translation", "rotation", "scale"));
}

TEST(AnimationJson, WithoutACharacterItsKeysAreAbsent) {
  for (const std::size_t frames : {0u, 2u})
    EXPECT_THAT(Keys(Parsed(Solved(frames))),
                ElementsAre("format", "take", "performer", "rate", "rate_fraction", "frames", "times", "head",
                            "templates"));
}

// So that a reader need not know the kind of character.
TEST(AnimationJson, WithACharacterItsKeysArePresent) {
  const Json none_per_frame = Json::parse("[[], []]");
  Animation animation = Solved(2);
  animation.layout.character = "Shapes alone";
  animation.layout.shapes = {"a"};
  animation.shape_weights = {0, 1};
  Json json = Parsed(animation);
  EXPECT_EQ(json["shapes"]["weights"], Json::parse("[[0], [1]]"));
  EXPECT_EQ(json.at("clusters").at("names"), Json::array());
  for (const std::string space : {"local", "global"})
    for (const std::string what : {"translation", "rotation", "scale"})
      EXPECT_EQ(json["clusters"].at(space).at(what), none_per_frame);
  animation = Solved(2);
  animation.layout.character = "Clusters alone";
  animation.layout.clusters = {{"p", "c"}};
  animation.local_clusters.resize(2), animation.global_clusters.resize(2);
  json = Parsed(animation);
  EXPECT_EQ(json.at("shapes").at("names"), Json::array());
  EXPECT_EQ(json["shapes"].at("weights"), none_per_frame);
  EXPECT_EQ(json["clusters"]["local"]["scale"], Json::parse("[[[1, 1, 1]], [[1, 1, 1]]]"));
}

TEST(AnimationJson, HasNamesRateFramesAndTimes) {
  Animation animation = WithCharacter(3);
  animation.frames = {-7, 0, 9007199254740993};
  const Json json = Parsed(animation);
  EXPECT_EQ(json["format"], "mien animation 1");
  EXPECT_EQ(json["take"], "take 1");
  EXPECT_EQ(json["performer"], "Ada");
  EXPECT_EQ(json["character"], "Robot");
  EXPECT_EQ(json["rate"].get<double>(), 30000.0 / 1001);
  EXPECT_EQ(json["frames"].get<std::vector<std::int64_t>>(), animation.frames);
  EXPECT_EQ(json["times"].get<std::vector<double>>(), animation.times);
}

TEST(AnimationJson, EveryWeightReadsBackToTheSameDouble) {
  const Animation animation = WithCharacter(3);
  const Json json = Parsed(animation);
  ASSERT_THAT(json["templates"]["names"], SizeIs(23));
  EXPECT_EQ(json["templates"]["names"][0], "Mouth.Open");
  EXPECT_EQ(json["templates"]["names"][22], "RightNostril.Up");
  EXPECT_EQ(json["shapes"]["names"].get<std::vector<std::string>>(), animation.layout.shapes);
  ASSERT_THAT(json["templates"]["weights"], SizeIs(3));
  ASSERT_THAT(json["shapes"]["weights"], SizeIs(3));
  for (std::size_t f = 0; f < 3; ++f) {
    ASSERT_THAT(json["templates"]["weights"][f], SizeIs(23));
    for (std::size_t t = 0; t < 23; ++t)
      EXPECT_EQ(json["templates"]["weights"][f][t].get<double>(), animation.Weight(f, t));
    ASSERT_THAT(json["shapes"]["weights"][f], SizeIs(3));
    for (std::size_t s = 0; s < 3; ++s)
      EXPECT_EQ(json["shapes"]["weights"][f][s].get<double>(), animation.ShapeWeight(f, s));
  }
}

TEST(AnimationJson, EveryClusterReadsBackToTheSameDoubles) {
  const Animation animation = WithCharacter(3);
  const Json clusters = Parsed(animation)["clusters"];
  EXPECT_EQ(clusters["names"],
            Json::parse(R"([{ "part": "jaw", "cluster": "bone" }, { "part": "a\\b", "cluster": "bone" }])"));
  for (const std::string space : {"local", "global"}) {
    const auto& transforms = space == "local" ? animation.local_clusters : animation.global_clusters;
    for (const std::string what : {"translation", "rotation", "scale"}) {
      ASSERT_THAT(clusters[space][what], SizeIs(3));
      ASSERT_THAT(clusters[space][what], Each(SizeIs(2)));
    }
    for (std::size_t f = 0; f < 3; ++f)
      for (std::size_t c = 0; c < 2; ++c) {
        const auto& [t, r, s] = transforms[2 * f + c];
        ExpectVector(clusters[space]["translation"][f][c], t.x, t.y, t.z);
        ExpectRotation(clusters[space]["rotation"][f][c], r);
        ExpectVector(clusters[space]["scale"][f][c], s.x, s.y, s.z);
      }
  }
}

TEST(AnimationJson, HasTheHeadsMotion) {
  const Animation animation = Solved(4);
  const Json head = Parsed(animation)["head"];
  ASSERT_THAT(head["rotation"], SizeIs(4));
  ASSERT_THAT(head["translation"], SizeIs(4));
  for (std::size_t f = 0; f < 4; ++f) {
    const VgeAMatrix motion = animation.HeadMotion(f);
    ExpectVector(head["translation"][f], motion.m[3][0], motion.m[3][1], motion.m[3][2]);
    VgeRMatrix rotation;
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) rotation.m[column][row] = motion.m[column][row];
    ExpectRotation(head["rotation"][f], rotation);
  }
}

// Two full rotations: quaternions computed separately for each frame would change sign in between.
TEST(AnimationJson, QuaternionsDoNotJumpFromFrameToFrame) {
  constexpr std::size_t kFrames = 72;
  Animation animation = WithCharacter(kFrames);
  for (std::size_t f = 0; f < kFrames; ++f) {
    const double degrees = 10.0 * static_cast<double>(f);
    animation.heads[f] =
        mien::Product(animation.layout.neutral_head, tests::Motion(VgeRVector(0, 0, degrees), {0, 0, 0}));
    VTxRotationOrder().V2M(animation.local_clusters[2 * f].rotation, {degrees, 0, 0});
    VTxRotationOrder().V2M(animation.local_clusters[2 * f + 1].rotation, {0, 0, -degrees});
    VTxRotationOrder().V2M(animation.global_clusters[2 * f].rotation, {0, 0, degrees});
    VTxRotationOrder().V2M(animation.global_clusters[2 * f + 1].rotation, {-degrees, 0, 0});
  }
  const Json json = Parsed(animation);
  const auto expect_smooth = [&](const auto& at) {
    EXPECT_GE(QuaternionIn(at(0)).w, 0);
    for (std::size_t f = 1; f < kFrames; ++f)
      EXPECT_GT(Dot(QuaternionIn(at(f - 1)), QuaternionIn(at(f))), 0.99)
          << f; // half a step has a cosine of 0.996
  };
  expect_smooth([&](std::size_t f) { return json["head"]["rotation"][f]; });
  for (const std::string space : {"local", "global"})
    for (std::size_t c = 0; c < 2; ++c)
      expect_smooth([&](std::size_t f) { return json["clusters"][space]["rotation"][f][c]; });
}

TEST(AnimationJson, NumbersReadBackToTheSameDoubles) {
  Animation animation = Solved(1);
  const std::vector<double> hard = {0.1 + 0.2,
                                    std::nextafter(1.0, 2),
                                    std::numeric_limits<double>::min(),
                                    std::numeric_limits<double>::denorm_min(),
                                    std::numeric_limits<double>::max(),
                                    -std::numeric_limits<double>::max(),
                                    1e15,
                                    123456789012345680.0,
                                    1e22,
                                    0x1p63,
                                    -0x1p64,
                                    -1.0,
                                    0.0};
  for (std::size_t i = 0; i < hard.size(); ++i) animation.weights[i] = hard[i];
  const Json weights = Parsed(animation)["templates"]["weights"][0];
  for (std::size_t i = 0; i < hard.size(); ++i)
    EXPECT_EQ(std::bit_cast<std::uint64_t>(weights[i].get<double>()), std::bit_cast<std::uint64_t>(hard[i]))
        << hard[i];
  animation.weights[0] = -0.0;
  EXPECT_EQ(Parsed(animation)["templates"]["weights"][0][0].get<double>(), 0.0);
}

TEST(AnimationJson, WithoutFramesListsAreEmptyAndNamesArePresent) {
  const Json json = Parsed(WithCharacter(0));
  EXPECT_EQ(json["frames"], Json::array());
  EXPECT_EQ(json["times"], Json::array());
  EXPECT_EQ(json["head"]["rotation"], Json::array());
  EXPECT_EQ(json["head"]["translation"], Json::array());
  EXPECT_EQ(json["templates"]["weights"], Json::array());
  EXPECT_EQ(json["shapes"]["weights"], Json::array());
  EXPECT_THAT(json["shapes"]["names"], SizeIs(3));
  EXPECT_THAT(json["clusters"]["names"], SizeIs(2));
  for (const std::string space : {"local", "global"})
    for (const std::string what : {"translation", "rotation", "scale"})
      EXPECT_EQ(json["clusters"][space][what], Json::array());
}

TEST(AnimationJson, NamesCanBeAnyText) {
  Animation animation = WithCharacter(1);
  animation.layout.take = "a \"b\" \\ \n\t\x01 眉", animation.layout.performer = "</script>",
  animation.layout.character = "\xC3\xA4";
  const Json json = Parsed(animation);
  EXPECT_EQ(json["take"], animation.layout.take);
  EXPECT_EQ(json["performer"], animation.layout.performer);
  EXPECT_EQ(json["character"], animation.layout.character);
  EXPECT_EQ(json["shapes"]["names"][1], "say \"hi\"");
}

// The name of a take is its file's name, which may contain any bytes.
TEST(AnimationJson, InvalidUtf8InATakesNameIsReplaced) {
  Animation animation = WithCharacter(1);
  animation.layout.take = "caf\xE9.c3d";
  EXPECT_EQ(Parsed(animation)["take"], "caf\xEF\xBF\xBD.c3d");
  animation.layout.take = "\xFF\xFE\xC3";
  EXPECT_THAT(Parsed(animation)["take"].get<std::string>(), HasSubstr("\xEF\xBF\xBD"));
}

TEST(AnimationJson, IsReadableForPeople) {
  Animation animation;
  animation.layout.take = "take \"1\"", animation.layout.performer = "Ada",
  animation.layout.character = "Robot";
  animation.layout.rate = {30000, 1001};
  animation.frames = {1, 3};
  animation.times = {0, 0.1};
  animation.heads.resize(2);
  animation.layout.templates.resize(2);
  animation.weights = {0, 0.25, 1, 1e16};
  animation.layout.shapes = {"a", "b"};
  animation.shape_weights = {2, 3, 4, 5};
  animation.layout.clusters = {{"jaw", "bone"}, {"jaw", "chin"}};
  animation.local_clusters.resize(4), animation.global_clusters.resize(4);
  EXPECT_EQ(Written(animation), R"({
  "format": "mien animation 1",
  "take": "take \"1\"",
  "performer": "Ada",
  "character": "Robot",
  "rate": 29.97002997002997,
  "rate_fraction": [30000, 1001],
  "frames": [1,3],
  "times": [0,0.1],
  "head": {
    "rotation": [
    [0,0,0,1],
    [0,0,0,1]],
    "translation": [
    [0,0,0],
    [0,0,0]]
  },
  "templates": {
    "names": ["Mouth.Open", "Mouth.Whistle"],
    "weights": [
    [0,0.25],
    [1,1e+16]]
  },
  "shapes": {
    "names": ["a", "b"],
    "weights": [
    [2,3],
    [4,5]]
  },
  "clusters": {
    "names": [{ "part": "jaw", "cluster": "bone" }, { "part": "jaw", "cluster": "chin" }],
    "local": { "translation": [
    [[0,0,0],[0,0,0]],
    [[0,0,0],[0,0,0]]],
      "rotation": [
    [[0,0,0,1],[0,0,0,1]],
    [[0,0,0,1],[0,0,0,1]]],
      "scale": [
    [[1,1,1],[1,1,1]],
    [[1,1,1],[1,1,1]]] },
    "global": { "translation": [
    [[0,0,0],[0,0,0]],
    [[0,0,0],[0,0,0]]],
      "rotation": [
    [[0,0,0,1],[0,0,0,1]],
    [[0,0,0,1],[0,0,0,1]]],
      "scale": [
    [[1,1,1],[1,1,1]],
    [[1,1,1],[1,1,1]]] }
  }
}
)");
}

TEST(AnimationJson, HasALinePerFrameInEachList) {
  const Animation animation = WithCharacter(5);
  const std::string written = Written(animation);
  const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
  // Five more frames are five more lines in each of the ten lists: head, templates, shapes, clusters.
  EXPECT_EQ(lines(Written(WithCharacter(10))) - lines(written), 5 * (2 + 1 + 1 + 6));
  EXPECT_EQ(written.back(), '\n');
  EXPECT_THAT(written, Not(HasSubstr("\r")));
}

TEST(AnimationJson, WritesDecimalPointsInAnyLocale) {
  Animation animation = WithCharacter(2);
  animation.layout.rate = {2469, 2};
  animation.frames = {1000000, 2000000};
  const std::string written = Written(animation);
  const DecimalComma german;
  EXPECT_EQ(Written(animation), written);
}

TEST(AnimationJson, DoesNotDependOnTheStreamsFormat) {
  const Animation animation = WithCharacter(2);
  std::ostringstream out;
  out << std::hex << std::setprecision(2) << std::showpos << std::setfill('*') << std::left;
  WriteAnimationJson(animation, out);
  EXPECT_EQ(out.str(), Written(animation));
}

TEST(AnimationJson, HasTheAnglesOfTheEyesWhereTheTakeShowsThem) {
  Animation animation = WithCharacter(2);
  EXPECT_THAT(Written(animation), Not(HasSubstr("\"eyes\"")));
  animation.eyes = {{}, {{{.yaw = 0.25, .pitch = -0.5}, {.yaw = -0.125, .pitch = 0.0625}}}};
  const auto eyes = nlohmann::json::parse(Written(animation))["eyes"];
  EXPECT_EQ(eyes["left"], nlohmann::json::parse("[[0,0],[0.25,-0.5]]"));
  EXPECT_EQ(eyes["right"], nlohmann::json::parse("[[0,0],[-0.125,0.0625]]"));
}

TEST(AnimationJson, IsTheSameForAnyNumberOfThreads) {
  const Animation animation = WithCharacter(2'000);
  for (const std::size_t threads : {2u, 7u}) {
    std::ostringstream out;
    WriteAnimationJson(animation, out, threads);
    EXPECT_TRUE(out.str() == Written(animation)) << threads;
  }
}
