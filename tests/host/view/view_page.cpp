#include "host/view/view_page.h"

#include "host/view/animation_side.h"
#include "host/view/take_side.h"
#include "tests/host/head_glb.h"
#include "tests/host/view/read_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using mien::Animation;
using mien::MarkerState;
using mien::Take;
using mien::ViewPage;
using mien::ViewSide;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsNan;
using testing::Not;
using testing::Pointwise;
using tests::Json;
using tests::Page;
using tests::TableOf;

namespace {

Page Written(const ViewPage& page) {
  std::ostringstream out;
  WriteViewPage(page, tests::kViewer, out);
  return tests::ReadPage(out.str());
}

/// Three frames of two markers, with a gap and a computed position.
Take TwoMarkers() {
  Take take({"a", "<img src=x onerror=alert(1)>"});
  take.name = "</script><script>alert(2)</script>";
  take.rate = {30, 1};
  take.timecode = mien::Timecode{.count = 30, .rate = {30, 1}, .drop = false};
  for (int f = 0; f < 3; ++f) take.AddFrame(5 + 2 * f, 10 + f / 30.0);
  take.Set(0, 0, {1, 2, 3});
  take.Set(0, 1, {4, 5, 6}, mien::Origin::Computed);
  take.Set(2, 0, {-1.5, 0, 1000});
  return take;
}

Animation Shapes(std::size_t frames) {
  Animation animation;
  animation.layout.take = "walk";
  animation.layout.rate = {4, 1};
  animation.layout.templates.clear();
  animation.layout.shapes = {"jawOpen", "smile"};
  for (std::size_t f = 0; f < frames; ++f) {
    animation.frames.push_back(static_cast<std::int64_t>(f));
    animation.times.push_back(static_cast<double>(f) / 4);
    animation.shape_weights.push_back(static_cast<double>(f) / 8);
    animation.shape_weights.push_back(0.5);
    animation.heads.emplace_back();
  }
  return animation;
}

} // namespace

TEST(ViewPage, ATakeHasItsMarkersStatesAndGaps) {
  const Take take = TwoMarkers();
  const Page page = Written(PageOf(take, SideOfTake(take)));
  EXPECT_EQ(page.data["format"], "mien view 1");
  EXPECT_EQ(page.data["rate"], Json({30, 1}));
  EXPECT_EQ(page.data["timecode"], "00:00:01:00@30");
  EXPECT_THAT(TableOf(page.bytes, page.data["frames"]), ElementsAre(5, 7, 9));
  const std::vector<double> times = TableOf(page.bytes, page.data["times"]);
  for (std::size_t f = 0; f < 3; ++f) EXPECT_NEAR(times[f], take.times[f], 5e-5);
  const Json& markers = page.data["sides"][0]["markers"];
  EXPECT_EQ(markers["names"], Json(take.markers));
  EXPECT_THAT(TableOf(page.bytes, markers["states"]), ElementsAre(1, 3, 0, 0, 1, 0));
  const std::vector<double> at = TableOf(page.bytes, markers["positions"]);
  const double expected[] = {1, 2, 3, 4, 5, 6};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(at[i], expected[i], 0.025);
  EXPECT_THAT(at[6], IsNan());
  EXPECT_NEAR(at[14], 1000, 0.025);
  EXPECT_EQ(page.data["sides"][0]["spans"].dump(),
            R"([{"kind":"gap","name":"a","first":1,"last":1},)"
            R"({"kind":"gap","name":"<img src=x onerror=alert(1)>","first":1,"last":2}])");
}

TEST(ViewPage, NamesNeverBecomeTags) {
  const Take take = TwoMarkers();
  std::ostringstream out;
  WriteViewPage(PageOf(take, SideOfTake(take)), tests::kViewer, out);
  const std::string inside = out.str().substr(3, out.str().find("</a><b>") - 3);
  EXPECT_THAT(inside, Not(HasSubstr("<")));
  EXPECT_THAT(inside, HasSubstr("\\u003cimg src=x"));
}

TEST(ViewPage, TheTakesOwnUpIsUp) {
  Take take = TwoMarkers();
  take.axes = "+z up";
  const Page page = Written(PageOf(take, SideOfTake(take)));
  const std::vector<double> at = TableOf(page.bytes, page.data["sides"][0]["markers"]["positions"]);
  EXPECT_NEAR(at[0], 1, 0.025);
  EXPECT_NEAR(at[1], 3, 0.025) << "z";
  EXPECT_NEAR(at[2], -2, 0.025) << "away from the viewer";
}

TEST(ViewPage, CurvesAreKeptToAThousandth) {
  const Animation animation = Shapes(3);
  const Page page = Written(PageOf(animation, SideOfAnimation(animation)));
  const Json& groups = page.data["sides"][0]["groups"];
  ASSERT_EQ(groups.size(), 1u) << "the head does not move, there are no eyes and no templates";
  EXPECT_EQ(groups[0]["name"], "Shapes");
  EXPECT_EQ(groups[0]["curves"], Json({"jawOpen", "smile"}));
  EXPECT_THAT(TableOf(page.bytes, groups[0]["values"]),
              Pointwise(testing::DoubleNear(0.0005), animation.shape_weights));
}

TEST(ViewPage, TheHeadFollowsTheCurves) {
  Animation animation = Shapes(2);
  animation.heads[1].m[3][0] = 10; // millimetres
  ViewSide side = SideOfAnimation(animation);
  const mien::Glb glb = tests::HeadOf(R"("smile","tongue","jawOpen")");
  side.head = HeadOf(AnimateHead(animation, glb, {.head = "Head", .eyes = {}}), "h.glb");
  side.head->place = {.scale = 900, .moved = {1, 2, 3}};
  const Page page = Written(PageOf(animation, std::move(side)));
  const Json& shown = page.data["sides"][0];
  EXPECT_EQ(shown["groups"].size(), 3u) << "shapes, the head's turn and position";
  const Json& head = shown["head"];
  EXPECT_EQ(head["name"], "h.glb");
  EXPECT_EQ(head["morphs"].dump(),
            R"([{"node":0,"rest":[0.0,0.0,0.0],"drivers":[["Shapes",1],null,["Shapes",0]]}])");
  EXPECT_EQ(head["head_node"], 0);
  EXPECT_EQ(head["moved"][0]["node"], 0);
  EXPECT_THAT(TableOf(page.bytes, head["moved"][0]["rotation"]), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1));
  EXPECT_EQ(head["place"].dump(), R"({"scale":900.0,"translation":[1.0,2.0,3.0]})");
  EXPECT_NEAR(TableOf(page.bytes, shown["head_motion"])[7 + 4], 0.01, 1e-9);
  std::ostringstream same;
  WriteGlb(glb, same);
  EXPECT_EQ(tests::Inflated(page.bytes, head["glb"], head["glb"]["size"].get<std::size_t>()), same.str());
}

TEST(ViewPage, TwoSidesAreComparedOnTheSameFrames) {
  const Animation animation = Shapes(2);
  ViewPage page = PageOf(animation, SideOfAnimation(animation));
  page.sides.push_back(SideOfAnimation(animation));
  page.alignment = "by frame";
  page.differences = {{"Shapes", "jawOpen", 0.25, 1, 0.125, 0.5, std::nullopt}};
  const Page written = Written(page);
  EXPECT_EQ(written.data["sides"].size(), 2u);
  EXPECT_EQ(
      written.data["comparison"].dump(),
      R"({"text":"by frame","curves":[{"group":"Shapes","name":"jawOpen","largest":0.25,"largest_frame":1,)"
      R"("rms":0.125,"correlation":0.5,"lag_frames":null}]})");
}

TEST(ViewPage, AnAvatarsMorphTargetsAreCurvesOfTheirOwn) {
  Animation animation = Shapes(2);
  animation.layout.shapes = {"aa", "happy"};
  const mien::Glb glb = tests::HeadOf(
      R"("x","y")",
      R"(,"scene":0,"scenes":[{"nodes":[0]}],"extensions":{"VRM":{"blendShapeMaster":{)"
      R"("blendShapeGroups":[{"presetName":"joy","binds":[{"mesh":0,"index":1,"weight":50}]}]}}})");
  ViewSide side = SideOfAnimation(animation);
  side.head = HeadOf(AnimateHead(animation, glb, {}), "h.vrm");
  const Page page = Written(PageOf(animation, std::move(side)));
  const Json& shown = page.data["sides"][0];
  ASSERT_EQ(shown["groups"].size(), 2u);
  EXPECT_EQ(shown["groups"][1]["name"], "Morph targets of node 0");
  EXPECT_EQ(shown["groups"][1]["curves"], Json({"x", "y"}));
  EXPECT_THAT(TableOf(page.bytes, shown["groups"][1]["values"]), ElementsAre(0, 0.25, 0, 0.25));
  EXPECT_EQ(shown["head"]["morphs"][0]["drivers"].dump(),
            R"([["Morph targets of node 0",0],["Morph targets of node 0",1]])");
  const auto size = shown["head"]["glb"]["size"].get<std::size_t>();
  const mien::Glb turned = mien::ReadGlb(tests::Inflated(page.bytes, shown["head"]["glb"], size), "turned");
  EXPECT_EQ(turned.json["scenes"][0]["nodes"], Json::array({1})) << "an avatar of VRM 0.x looks along -z";
  EXPECT_EQ(turned.json["nodes"][1]["rotation"], Json({0, 1, 0, 0}));
  EXPECT_EQ(turned.json["nodes"][1]["children"], Json::array({0}));
}
