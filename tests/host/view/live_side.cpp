#include "host/view/live_side.h"

#include "host/character/character_file.h"
#include "tests/host/view/read_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

using mien::AnimationFrame;
using mien::AnimationLayout;
using mien::Character;
using mien::ClusterTransform;
using mien::Eyes;
using mien::LiveSide;
using mien::LiveSideSetup;
using mien::Point;
using mien::ViewPage;
using testing::Each;
using testing::HasSubstr;
using testing::IsNan;
using tests::Json;
using tests::Page;
using tests::TableOf;

namespace {

constexpr std::size_t kRows = 40;

/// Two markers of a face that is turned by a quarter to its left (about y), the character's shapes and bones, eyes.
struct Stream {
  Character character = mien::LoadCharacter(MIEN_SAMPLES_FOLDER "/puppet.character.json");
  LiveSideSetup setup;

  Stream() {
    AnimationLayout& layout = setup.layout;
    layout.rate = {60, 1};
    layout.shapes = character.Shapes();
    for (const Character::Part& part : character.parts)
      for (const Character::Cluster& cluster : part.clusters) {
        layout.clusters.push_back({part.name, cluster.name});
        layout.rest_clusters.push_back(cluster.rest);
      }
    const double turned[4][4] = {{0, 0, -1, 0}, {0, 1, 0, 0}, {1, 0, 0, 0}, {100, 0, 0, 1}};
    for (int c = 0; c < 4; ++c)
      for (int r = 0; r < 4; ++r) layout.neutral_head.m[c][r] = turned[c][r];
    setup.name = "Ada";
    setup.has_eyes = true;
    setup.character = &character;
    setup.markers = {"lip", "</script>"};
  }

  ViewPage PageWith(const LiveSide& side) const {
    const LiveSide* const sides[] = {&side};
    return mien::LivePageOf("stream", {60, 1}, kRows, "events", sides);
  }
};

Page Written(const ViewPage& page) {
  std::ostringstream out;
  WriteViewPage(page, tests::kViewer, out);
  return tests::ReadPage(out.str());
}

} // namespace

// It waits for the first face: its script needs the list, also without any side in it.
TEST(LiveSide, APageBeforeTheFirstFaceHasAnEmptyListOfSides) {
  const Page page = Written(mien::LivePageOf("stream", {60, 1}, kRows, "events", {}));
  EXPECT_EQ(page.data["live"]["events"], "events");
  EXPECT_EQ(page.data["sides"], Json::array());
}

TEST(LiveSide, APageOfAStreamHasEverythingButNumbers) {
  const Stream stream;
  const LiveSide side(stream.setup);
  const Page page = Written(stream.PageWith(side));
  EXPECT_EQ(page.data["live"]["events"], "events");
  EXPECT_EQ(TableOf(page.bytes, page.data["frames"]).size(), kRows);
  const Json& shown = page.data["sides"][0];
  std::vector<std::string> groups;
  for (const Json& group : shown["groups"]) {
    groups.push_back(group["name"]);
    EXPECT_THAT(TableOf(page.bytes, group["values"]), Each(IsNan()));
  }
  EXPECT_THAT(groups, testing::ElementsAre("Templates", "Shapes", "Head", "Head position", "Eyes"));
  EXPECT_THAT(TableOf(page.bytes, shown["markers"]["positions"]), Each(IsNan()));
  EXPECT_EQ(shown["markers"]["names"], Json({"lip", "</script>"}));
  EXPECT_GT(shown["head"]["moved"].size(), 0u) << "the puppet's bones";
}

TEST(LiveSide, AFrameHasANumberForEachColumnOfThePage) {
  const Stream stream;
  LiveSide side(stream.setup);
  const Page page = Written(stream.PageWith(side));
  const Json& shown = page.data["sides"][0];

  const AnimationLayout& layout = stream.setup.layout;
  std::vector<double> weights(layout.templates.size()), shapes(layout.shapes.size());
  for (std::size_t i = 0; i < weights.size(); ++i) weights[i] = 0.01 * static_cast<double>(i);
  shapes[1] = std::numeric_limits<double>::quiet_NaN();
  std::vector<ClusterTransform> clusters = layout.rest_clusters;
  const Eyes eyes = {};
  const AnimationFrame frame = {.number = 12,
                                .time = 0.2,
                                .head = layout.neutral_head,
                                .weights = weights,
                                .shape_weights = shapes,
                                .eyes = &eyes,
                                .local_clusters = clusters,
                                .global_clusters = clusters};
  const std::optional<Point> markers[] = {Point{100, 20, -5}, std::nullopt};
  const std::string text = side.FrameEvent(3, "10:00\n\xff\"", frame, markers);
  EXPECT_EQ(text.find('\n'), text.npos) << "a line break would end the event";
  const Json event = Json::parse(text);
  EXPECT_EQ(event["side"], 3);
  EXPECT_EQ(event["number"], 12);
  EXPECT_EQ(event["time"], 0.2);
  ASSERT_EQ(event["groups"].size(), shown["groups"].size());
  for (std::size_t g = 0; g < event["groups"].size(); ++g)
    EXPECT_EQ(event["groups"][g].size(), shown["groups"][g]["curves"].size()) << shown["groups"][g]["name"];
  EXPECT_DOUBLE_EQ(event["groups"][0][7].get<double>(), 0.07);
  EXPECT_TRUE(event["groups"][1][1].is_null()) << "JSON has no NaN";
  EXPECT_EQ(event["moved"].size(), shown["head"]["moved"].size());
  // The face looks along the source's +x: 5 mm to the source's -z are 5 mm to its left.
  EXPECT_EQ(event["positions"], Json::parse("[5,20,0,null,null,null]"));
  EXPECT_EQ(event["head_motion"], Json::parse("[0,0,0,1,0,0,0]"));
}

TEST(LiveSide, AFrameMovesTheHeadAndTheBones) {
  const Stream stream;
  LiveSide side(stream.setup);
  const AnimationLayout& layout = stream.setup.layout;
  const std::vector<double> weights(layout.templates.size()), shapes(layout.shapes.size());
  std::vector<ClusterTransform> clusters = layout.rest_clusters;
  AnimationFrame frame = {.number = 1,
                          .time = 0,
                          .head = layout.neutral_head,
                          .weights = weights,
                          .shape_weights = shapes,
                          .eyes = nullptr,
                          .local_clusters = clusters,
                          .global_clusters = clusters};
  const Json rest = Json::parse(side.FrameEvent(0, "", frame, {}));
  frame.head.m[3][1] += 250; // up
  clusters[0].translation.y += 3;
  const Json moved = Json::parse(side.FrameEvent(0, "", frame, {}));
  EXPECT_DOUBLE_EQ(moved["head_motion"][5].get<double>(), 0.25) << "metres";
  EXPECT_NE(moved["moved"], rest["moved"]);
  EXPECT_EQ(moved["positions"], Json::parse("[null,null,null,null,null,null]")) << "no markers were seen";
}

TEST(LiveSide, OnlyAPageOfAStreamMayAskItsServer) {
  const std::string viewer = "connect-src blob:;" + std::string(tests::kViewer);
  const Stream stream;
  const LiveSide side(stream.setup);
  ViewPage page = stream.PageWith(side);
  std::ostringstream live, whole;
  WriteViewPage(page, viewer, live);
  EXPECT_TRUE(live.str().starts_with("connect-src blob: 'self';"));
  page.events.clear();
  WriteViewPage(page, viewer, whole);
  EXPECT_TRUE(whole.str().starts_with("connect-src blob:;"));
}
