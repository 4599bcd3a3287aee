#include "host/inspect/description_json.h"

#include "tests/host/inspect/sample_takes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using mien::Describe;
using mien::Take;
using mien::TakeDescription;
using mien::ToJson;
using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using tests::RichSample;
using tests::Sample;
using tests::Seen;

TEST(DescriptionJson, ReportsAllNumbersUnrounded) {
  TakeDescription d = Describe(RichSample());
  d.face = mien::FaceDirections{.left = {1, 0, 0}, .up = {0, 0, 1}, .forward = {0, -1, 0}};
  d.axes = "guess: +z up";
  d.notes = {"a note"};
  json expected = json::parse(R"({
    "format": "mien take description 1",
    "file": "rich.c3d",
    "name": "rich",
    "source": { "format": "C3D", "flavour": "Intel, float", "unit": "m" },
    "frames": { "count": 4, "first": 1, "last": 4, "missing": 0, "empty": 0 },
    "rate": { "text": "30000/1001", "numerator": 30000, "denominator": 1001, "hz": 29.97002997002997 },
    "start_s": 0,
    "timecode": { "first": "00:00:33:10", "last": "00:00:33:13.003", "rate": "30", "drop": false },
    "extents_mm": { "low": [0.1, 2, 3], "high": [1, 2, 3] },
    "axes": "guess: +z up",
    "face": { "left": [1, 0, 0], "up": [0, 0, 1], "forward": [0, -1, 0] },
    "events": [{ "time_s": 0.1, "label": "clap" }, { "time_s": 0.125, "label": "say\n\"a\"" }],
    "markers": [
      { "name": "A", "gaps": 0, "gap_runs": [], "longest_gap": null, "computed": 1, "filled": 0, "residual_mm": 0.5,
        "extents_mm": { "low": [1, 2, 3], "high": [1, 2, 3] } },
      { "name": "a", "gaps": 3, "gap_runs": [[2, 4]],
        "longest_gap": { "frames": 3, "first": 2, "last": 4, "duration_s": 0.1001 },
        "computed": 0, "filled": 1, "residual_mm": null, "extents_mm": { "low": [0.1, 2, 3], "high": [0.1, 2, 3] } }
    ],
    "like_names": [["A", "a"]],
    "notes": ["a note"]
  })");
  expected["duration_s"] = d.duration_s; // to the last bit, whatever that is
  EXPECT_EQ(json::parse(ToJson(d)), expected);
}

TEST(DescriptionJson, NamesGapsByTheFilesFrameNumbers) {
  const json d = json::parse(ToJson(Describe(Sample())));
  EXPECT_EQ(d["markers"][1]["gap_runs"], json::parse("[[11, 15], [17, 17]]"));
  EXPECT_EQ(d["markers"][1]["longest_gap"]["frames"], 4);
  EXPECT_TRUE(d["markers"][2]["extents_mm"].is_null());
  EXPECT_TRUE(d["timecode"].is_null());
  EXPECT_TRUE(d["axes"].is_null());
  EXPECT_TRUE(d["face"].is_null());
}

TEST(DescriptionJson, TakeWithoutAnyPositionHasNoExtents) {
  Take take({"A"});
  take.AddFrame(1, 0);
  EXPECT_TRUE(json::parse(ToJson(Describe(take)))["extents_mm"].is_null());
  EXPECT_TRUE(json::parse(ToJson(Describe(Take())))["extents_mm"].is_null());
  EXPECT_EQ(json::parse(ToJson(Describe(Take())))["markers"], json::array());
}

TEST(DescriptionJson, HasALineForEachMarker) {
  EXPECT_THAT(ToJson(Describe(Seen("x.x"))),
              AllOf(StartsWith("{\n  \"format\": \"mien take description 1\",\n"),
                    HasSubstr("\n  \"markers\": [\n    {\n      \"name\": \"A\",\n      \"gaps\": 1,\n"
                              "      \"gap_runs\": [[1, 1]],\n"),
                    EndsWith("\n  \"notes\": []\n}")));
}

TEST(DescriptionJson, IsJsonWhateverTheFileHolds) {
  Take take({"\xFF\"\\\n"});
  take.file = "\xC3";
  take.events = {{0, "\xFF"}};
  take.AddFrame(1, -1e308);
  take.AddFrame(2, 1e308);
  const json d = json::parse(ToJson(Describe(take)));
  EXPECT_EQ(d["markers"][0]["name"], "\xEF\xBF\xBD\"\\\n");
  EXPECT_TRUE(d["duration_s"].is_null()); // no number of seconds holds it
}
