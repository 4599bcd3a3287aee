#include "host/gltf/glb_data.h"

#include "host/gltf/accessors.h"
#include "tests/host/glb_binary.h"
#include "tests/host/glb_curves.h"
#include "tests/host/head_glb.h"
#include "tests/host/input_error.h"
#include "tests/host/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using mien::AppendColours;
using mien::AppendFloats;
using mien::AppendIndices;
using mien::AppendPacked;
using mien::AppendSparse;
using mien::AppendSparseIndices;
using mien::AppendTo;
using mien::Bounds;
using mien::CheckAppendable;
using mien::Code;
using mien::ElementType;
using mien::Glb;
using mien::Note;
using mien::Packed;
using mien::SparseIndices;
using mien::ViewTarget;
using testing::ElementsAre;
using testing::SizeIs;
using tests::Floats;
using tests::HeadOf;
using tests::Json;

namespace {

/// What names an accessor, for a reader of its numbers.
mien::JsonAt IndexOf(Glb& glb, std::size_t accessor) {
  glb.json["extras"]["indices"].push_back(accessor);
  return mien::JsonAt(glb).At("extras").At("indices").Elements().back();
}

std::string Error(const Glb& glb) {
  return InputErrorOf([&] { CheckAppendable(glb); });
}

} // namespace

TEST(GlbData, AnElementGoesToTheEndOfItsList) {
  Glb glb;
  glb.json = {{"nodes", {{{"name", "a"}}}}};
  EXPECT_EQ(AppendTo(glb, "nodes", {{"name", "b"}}), 1u);
  EXPECT_EQ(AppendTo(glb, "materials", {{"name", "m"}}), 0u) << "a list that was missing";
  EXPECT_EQ(glb.json.dump(), R"({"nodes":[{"name":"a"},{"name":"b"}],"materials":[{"name":"m"}]})");
}

// Behind three bytes of data: floats start at multiples of 4.
TEST(GlbData, FloatsAreLittleEndianBehindWhatWasThere) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> values = {1.f, -2.f};
  EXPECT_EQ(AppendFloats(glb, values, ElementType::Scalar, Bounds::Without), 0u);
  EXPECT_EQ(tests::BinaryOf(glb), std::string("abc\0\0\0\x80\x3F\0\0\0\xC0", 12));
  EXPECT_EQ(glb.json["buffers"][0].dump(), R"({"byteLength":12,"name":"b"})");
  EXPECT_EQ(glb.json["bufferViews"].dump(), R"([{"buffer":0,"byteOffset":4,"byteLength":8}])");
  EXPECT_EQ(glb.json["accessors"].dump(),
            R"([{"bufferView":0,"componentType":5126,"count":2,"type":"SCALAR"}])");
}

TEST(GlbData, NormalisedIntegersAreRoundedAndAlignedToFourBytes) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> values = {1.F, -1.F, 0.5F, 0.F, 2.F, -0.1F};
  EXPECT_EQ(AppendPacked(glb, values, Packed::Byte, Bounds::With), 0u);
  EXPECT_EQ(tests::BinaryOf(glb), std::string("abc\0\x7F\x81\x40\0\0\x7F\xF3\0", 12)) << "2 is limited to 1";
  EXPECT_EQ(glb.json["bufferViews"][0].dump(),
            R"({"buffer":0,"byteOffset":4,"byteLength":8,"byteStride":4,"target":34962})");
  EXPECT_EQ(glb.json["accessors"][0].dump(),
            R"({"componentType":5120,"normalized":true,"count":2,"type":"VEC3","bufferView":0,)"
            R"("min":[0,-127,-13],"max":[127,127,64]})");
  EXPECT_EQ(AppendPacked(glb, values, Packed::Short, Bounds::Without), 1u);
  EXPECT_EQ(glb.json["bufferViews"][1]["byteStride"], 8);
  const std::vector<double> read = mien::Accessors(glb).Numbers(IndexOf(glb, 1), 3);
  ASSERT_EQ(read.size(), 6u);
  EXPECT_EQ(read[0], 1);
  EXPECT_EQ(read[1], -1);
  EXPECT_NEAR(read[2], 0.5, 0.5 / 32767);
  EXPECT_NEAR(read[5], -0.1, 0.5 / 32767);
}

TEST(GlbData, ColoursAreFourBytesAVertex) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<std::uint8_t> rgba = {255, 0, 51, 255, 1, 2, 3, 255};
  AppendColours(glb, rgba);
  EXPECT_EQ(tests::BinaryOf(glb), std::string("abc\0\xFF\0\x33\xFF\1\2\3\xFF", 12));
  EXPECT_EQ(glb.json["accessors"][0].dump(),
            R"({"bufferView":0,"componentType":5121,"normalized":true,"count":2,"type":"VEC4"})");
}

TEST(GlbData, SparseAccessorsHoldOnlyTheirElementsAndShareIndices) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> values = {9.F, 9.F, 9.F, 0.25F, -1.F, 1.F, 9.F, 9.F, 9.F, 0.F, 0.F, 0.5F};
  const SparseIndices elements = AppendSparseIndices(glb, {1, 3});
  for (const Packed packed : {Packed::Short, Packed::Byte})
    AppendSparse(glb, values, elements, packed, Bounds::With);
  ASSERT_THAT(glb.json["bufferViews"], SizeIs(3)) << "the indices once";
  EXPECT_EQ(glb.json["bufferViews"][2]["byteLength"], 6) << "values are not padded";
  EXPECT_EQ(glb.json["accessors"][1]["min"], Json::array({0, -127, 0})) << "of the zeros as well";
  for (const std::size_t accessor : {0u, 1u}) {
    const std::vector<double> read = mien::Accessors(glb).Numbers(IndexOf(glb, accessor), 3, 4);
    const std::vector<double> expected = {0, 0, 0, 0.25, -1, 1, 0, 0, 0, 0, 0, 0.5};
    ASSERT_EQ(read.size(), expected.size());
    for (std::size_t i = 0; i < read.size(); ++i) EXPECT_NEAR(read[i], expected[i], 0.5 / 127) << i;
  }
}

TEST(GlbData, ASparseAccessorWithoutElementsHasNoData) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> zeros(6, 0.F);
  AppendSparse(glb, zeros, AppendSparseIndices(glb, {}), Packed::Short, Bounds::With);
  EXPECT_FALSE(glb.json.contains("bufferViews"));
  EXPECT_EQ(
      glb.json["accessors"][0].dump(),
      R"({"componentType":5122,"normalized":true,"count":2,"type":"VEC3","min":[0,0,0],"max":[0,0,0]})");
}

TEST(GlbData, BoundsAreOfEachComponent) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> values = {1, -2, 0.1f, -3, 5, 0.25f};
  AppendFloats(glb, values, ElementType::Vec3, Bounds::With, ViewTarget::Vertices);
  const Json& accessor = glb.json["accessors"][0];
  EXPECT_EQ(accessor["count"], 2);
  EXPECT_EQ(accessor["type"], "VEC3");
  EXPECT_THAT(accessor["min"].get<std::vector<float>>(), ElementsAre(-3, -2, 0.1f));
  EXPECT_THAT(accessor["max"].get<std::vector<float>>(), ElementsAre(1, 5, 0.25f));
  EXPECT_EQ(glb.json["bufferViews"][0]["target"], 34962);
}

TEST(GlbData, QuaternionsHaveFourComponents) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<float> values = {0, 0, 0, 1, 1, 0, 0, 0};
  const std::size_t accessor = AppendFloats(glb, values, ElementType::Vec4, Bounds::Without);
  EXPECT_EQ(glb.json["accessors"][accessor]["type"], "VEC4");
  EXPECT_EQ(glb.json["accessors"][accessor]["count"], 2);
  EXPECT_EQ(Floats(glb, accessor), values);
}

TEST(GlbData, IndicesAreTwoBytesEach) {
  Glb glb = HeadOf(R"("a")");
  const std::vector<std::uint16_t> indices = {0, 1, 0xABCD};
  EXPECT_EQ(AppendIndices(glb, indices), 0u);
  EXPECT_EQ(tests::BinaryOf(glb), std::string("abc\0\0\0\1\0\xCD\xAB", 10));
  EXPECT_EQ(glb.json["accessors"].dump(),
            R"([{"bufferView":0,"componentType":5123,"count":3,"type":"SCALAR"}])");
  EXPECT_EQ(glb.json["bufferViews"].dump(), R"([{"buffer":0,"byteOffset":4,"byteLength":6,"target":34963}])");
  const std::vector<float> more = {1};
  EXPECT_EQ(AppendFloats(glb, more, ElementType::Scalar, Bounds::Without), 1u);
  EXPECT_EQ(glb.json["bufferViews"][1]["byteOffset"], 12) << "floats behind them start at a multiple of 4";
}

TEST(GlbData, WhatCanBeAppendedTo) { EXPECT_EQ(Error(HeadOf(R"("a")")), "no InputError"); }

TEST(GlbData, DataOutsideTheFileIsAnError) {
  Glb head = HeadOf(R"("a")");
  head.json["buffers"][0]["uri"] = "head.bin";
  EXPECT_EQ(Error(head),
            "h.glb:/buffers/0/uri: the head's data is not in this file; export it again as one .glb");
  head = HeadOf(R"("a")");
  head.binary.clear();
  EXPECT_EQ(Error(head), "h.glb: the head's data is not in this file; export it again as one .glb");
  head = HeadOf(R"("a")");
  head.json["buffers"].clear();
  EXPECT_EQ(Error(head), "h.glb: the head's data is not in this file; export it again as one .glb");
  for (const Json& length : {Json(5), Json(-1), Json("4"), Json(1.5)}) {
    head = HeadOf(R"("a")");
    head.json["buffers"][0]["byteLength"] = length;
    EXPECT_EQ(Error(head), "h.glb:/buffers/0/byteLength: this is not a length within the 3 bytes "
                           "that the file has for the buffer; export it again as one .glb")
        << length;
  }
}

TEST(GlbData, DataOutsideTheFileHasItsCode) {
  const auto problem = [](const char* key, const Json& value) {
    Glb head = HeadOf(R"("a")");
    head.json["buffers"][0][key] = value;
    return ProblemOf([&] { CheckAppendable(head); });
  };
  EXPECT_EQ(problem("uri", "head.bin"), "unsupported at /buffers/0/uri");
  EXPECT_EQ(problem("byteLength", 5), "contradiction at /buffers/0/byteLength");
}

TEST(GlbData, ListsThatAreNotArraysAreErrors) {
  for (const std::string list : {"accessors", "bufferViews", "animations", "buffers"}) {
    Glb head = HeadOf(R"("a")");
    head.json[list] = "text";
    EXPECT_EQ(Error(head), "h.glb:/" + list + ": this is not an array; export the head again");
  }
}

TEST(GlbData, FilesBesideAreNoted) {
  Glb glb = HeadOf(R"("a")",
                   R"(,"images":[{"uri":"skin.png"},{"uri":"data:image/png;base64,AA"},{"bufferView":0}])");
  EXPECT_EQ(
      mien::NoteOnFilesBeside(glb),
      (Note{Code::Missing, "", "the head refers to \"skin.png\" beside it: keep it beside the output too"}));
  glb.json["buffers"].push_back({{"uri", "more.bin"}, {"byteLength", 7}});
  EXPECT_EQ(
      mien::NoteOnFilesBeside(glb),
      (Note{Code::Missing, "",
            "the head refers to \"more.bin\", \"skin.png\" beside it: keep them beside the output too"}));
  EXPECT_EQ(mien::NoteOnFilesBeside(HeadOf(R"("a")")), std::nullopt);
}
