#include "host/gltf/glb.h"

#include "tests/host/cpu_seconds.h"
#include "tests/host/glb_binary.h"
#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

using mien::Glb;
using mien::GlbLength;
using mien::ReadGlb;
using mien::WriteGlb;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using namespace std::string_literals;

const std::string kFix = "; export the head again, as .glb (glTF 2.0 binary)";
const std::string kLeast = R"({"asset":{"version":"2.0"}})";

std::string Number(std::size_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xFF);
  return bytes;
}

std::string Chunk(const std::string& type, const std::string& data) {
  return Number(data.size()) + type + data;
}

std::string File(const std::string& chunks) {
  return "glTF" + Number(2) + Number(12 + chunks.size()) + chunks;
}

std::string JsonChunk(std::string json) {
  json.resize((json.size() + 3) / 4 * 4, ' ');
  return Chunk("JSON", json);
}

/// With everything that a file may have and that is unknown here.
std::string WholeFile() {
  return File(
      JsonChunk(
          R"({"zeta":1,"asset":{"version":"2.0","generator":"an exporter","extras":{"a":[1,-2,0.1,1e-07,null]}},)"
          R"("extensionsUsed":["VENDOR_thing"],"extensions":{"VENDOR_thing":{"b":true,"a":"\"\\\u0001é"}},)"
          R"("materials":[{"name":"2","unknown":18446744073709551615}],"alpha":{}})") +
      Chunk("BIN\0"s, "\x01\x02\x03\xFF") + Chunk("XTRA", "whatever") + Chunk("BIN\0"s, "2nd."));
}

std::string Written(const Glb& glb) {
  std::ostringstream out;
  WriteGlb(glb, out);
  return out.str();
}

std::string Error(const std::string& bytes) {
  return InputErrorOf([&] { ReadGlb(bytes, "h.glb"); });
}

} // namespace

TEST(Glb, KeepsEveryByteOfWhatItDoesNotKnow) {
  EXPECT_EQ(Written(ReadGlb(WholeFile(), "h.glb")), WholeFile());
}

TEST(Glb, HasTheJsonTheBinaryAndTheFurtherChunks) {
  const Glb glb = ReadGlb(WholeFile(), "h.glb");
  EXPECT_EQ(glb.json["asset"]["generator"], "an exporter");
  EXPECT_EQ(glb.json.begin().key(), "zeta") << "members stay in their order";
  EXPECT_EQ(tests::BinaryOf(glb), "\x01\x02\x03\xFF");
  EXPECT_EQ(glb.further_chunks, Chunk("XTRA", "whatever") + Chunk("BIN\0"s, "2nd."));
  EXPECT_EQ(glb.file, "h.glb");
}

TEST(Glb, NeedsNoBinary) {
  const std::string file = File(JsonChunk(kLeast));
  const Glb glb = ReadGlb(file, "h.glb");
  EXPECT_EQ(tests::BinaryOf(glb), "");
  EXPECT_EQ(Written(glb), file);
}

TEST(Glb, AnUnknownChunkInThePlaceOfTheBinaryIsKept) {
  const std::string file = File(JsonChunk(kLeast) + Chunk("XTRA", "1234"));
  EXPECT_EQ(tests::BinaryOf(ReadGlb(file, "h.glb")), "");
  EXPECT_EQ(Written(ReadGlb(file, "h.glb")), file);
}

TEST(Glb, FillsChunksUpToAMultipleOfFour) {
  Glb glb = ReadGlb(File(JsonChunk(kLeast)), "h.glb");
  for (const std::size_t size : {1u, 2u, 3u, 4u, 5u}) {
    glb.binary = tests::Binary(std::string(size, 'b'));
    glb.json["asset"]["extras"] = std::string(size, 'j');
    const std::string written = Written(glb);
    EXPECT_EQ(written.size() % 4, 0u);
    const Glb again = ReadGlb(written, "again");
    EXPECT_EQ(again.json, glb.json);
    EXPECT_EQ(tests::BinaryOf(again), std::string(size, 'b') + std::string((4 - size % 4) % 4, '\0'));
  }
}

TEST(Glb, ReadsWhatExportersWriteAgainstTheRules) {
  EXPECT_EQ(ReadGlb(File(Chunk("JSON", kLeast + "\0"s)), "h.glb").json["asset"]["version"], "2.0")
      << "filled up with zeros";
  EXPECT_EQ(ReadGlb(File(Chunk("JSON", kLeast)), "h.glb").json["asset"]["version"], "2.0") << "not filled up";
  EXPECT_EQ(tests::BinaryOf(ReadGlb(File(JsonChunk(kLeast) + Chunk("BIN\0"s, "12345")), "h.glb")), "12345");
  EXPECT_EQ(ReadGlb(File(JsonChunk("{\n \"asset\": { \"version\" : \"2.1\" }\n}")), "h.glb")
                .json["asset"]["version"],
            "2.1");
}

TEST(Glb, CutShortAnywhereIsAnError) {
  const std::string whole = WholeFile();
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_THAT(Error(whole.substr(0, length)), StartsWith("h.glb:")) << length;
  EXPECT_EQ(Error(whole.substr(0, 100)), "h.glb:byte 8: the heading says " + std::to_string(whole.size()) +
                                             " bytes, and the file has 100: it was cut short or extended" +
                                             kFix);
}

TEST(Glb, CutShortWithAHeadingThatFitsIsAnError) {
  const std::string whole = WholeFile();
  std::size_t whole_chunks = 0; // cuts between whole chunks
  for (std::size_t length = 12; length < whole.size(); ++length) {
    const std::string error = Error(File(whole.substr(12, length - 12)));
    if (error == "no InputError")
      ++whole_chunks;
    else
      EXPECT_THAT(error, StartsWith("h.glb:")) << length;
  }
  EXPECT_EQ(whole_chunks, 3u) << "after the JSON, the binary and the first further chunk";
}

TEST(Glb, OneByteTooManyIsAnError) {
  EXPECT_THAT(Error(WholeFile() + '\0'), HasSubstr("it was cut short or extended"));
}

TEST(Glb, OtherFilesAreNamed) {
  EXPECT_EQ(Error(""), "h.glb: the file is empty" + kFix);
  EXPECT_EQ(Error("gl"), "h.glb:byte 2: the file ends within its heading" + kFix);
  EXPECT_EQ(Error("glTF" + Number(2)), "h.glb:byte 8: the file ends within its heading" + kFix);
  EXPECT_EQ(Error("\n { \"asset\": {} }"), "h.glb: this is text, perhaps a .gltf, not a .glb" + kFix);
  EXPECT_EQ(Error("\xEF\xBB\xBF{}"), "h.glb: this is text, perhaps a .gltf, not a .glb" + kFix);
  EXPECT_EQ(Error("Kaydara FBX Binary  "), "h.glb: this is an FBX file, not a .glb" + kFix);
  EXPECT_EQ(Error("\x1F\x8B\x08"),
            "h.glb: this is a gzip archive, not a .glb; unpack it and name the file in it");
  EXPECT_THAT(Error("<!DOCTYPE html>"), StartsWith("h.glb: this is a web page, not a .glb; "));
  EXPECT_THAT(Error("version https://git-lfs.github.com/spec/v1\n"),
              StartsWith("h.glb: this is a Git LFS pointer"));
  EXPECT_EQ(Error("o h\x1B[2Jead\n"),
            "h.glb: this is not a .glb: it begins with \"o h?\" instead of \"glTF\"" + kFix);
}

TEST(Glb, SaysWhatIsWrongWithTheContainer) {
  EXPECT_EQ(Error("glTF" + Number(1) + Number(12)),
            "h.glb:byte 4: this is binary glTF version 1; only version 2 is supported" + kFix);
  EXPECT_EQ(Error(File("")), "h.glb:byte 12: the first chunk is not the JSON one" + kFix);
  EXPECT_EQ(Error(File(Chunk("BIN\0"s, "1234"))),
            "h.glb:byte 12: the first chunk is not the JSON one" + kFix);
  EXPECT_EQ(Error(File("1234567")), "h.glb:byte 12: the file ends within a chunk's heading" + kFix);
  EXPECT_EQ(Error(File(Number(0xFFFFFFFF) + "JSON{}  ")),
            "h.glb:byte 12: a chunk of 4294967295 bytes, but 4 are left" + kFix);
  EXPECT_EQ(Error(File(JsonChunk(kLeast) + Chunk("XTRA", "12345"))),
            "h.glb:byte 48: a chunk of 5 bytes, which is not a multiple of 4" + kFix);
}

TEST(Glb, SaysWhatIsWrongWithTheJson) {
  EXPECT_EQ(Error(File(JsonChunk("{\"a\": ]}"))), "h.glb:byte 26: the JSON is broken from here on" + kFix);
  EXPECT_EQ(Error(File(JsonChunk(""))), "h.glb:byte 20: the JSON is broken from here on" + kFix);
  EXPECT_EQ(Error(File(JsonChunk("{\"a\":\"\xFF\"}"))),
            "h.glb:byte 26: the JSON is broken from here on" + kFix);
  EXPECT_EQ(Error(File(JsonChunk("{\"a\":1e999}"))),
            "h.glb:byte 25: the number \"1e999\" is beyond what a double holds" + kFix);
  EXPECT_EQ(Error(File(JsonChunk(R"({"a":{"b":1,"c":2,"b":3}})"))),
            "h.glb:/a/b: this key is in the object twice" + kFix);
  EXPECT_EQ(Error(File(JsonChunk("[]"))), "h.glb: this is not an object; export the head again");
  EXPECT_EQ(Error(File(JsonChunk("{}"))), "h.glb: the member \"asset\" is missing; export the head again");
  EXPECT_EQ(Error(File(JsonChunk(R"({"asset":{}})"))),
            "h.glb:/asset: the member \"version\" is missing; export the head again");
  EXPECT_EQ(Error(File(JsonChunk(R"({"asset":{"version":2}})"))),
            "h.glb:/asset/version: this is not a string; export the head again");
  EXPECT_EQ(Error(File(JsonChunk(R"({"asset":{"version":"1.0"}})"))),
            "h.glb:/asset/version: this is glTF 1.0; only 2.0 is supported" + kFix);
}

TEST(Glb, JsonIsNestedUpTo256Deep) {
  const auto nested = [](std::size_t depth) {
    return File(JsonChunk(R"({"asset":{"version":"2.0"},"x":)" + std::string(depth, '[') +
                          std::string(depth, ']') + "}"));
  };
  EXPECT_EQ(Written(ReadGlb(nested(200), "h.glb")), nested(200));
  EXPECT_EQ(Error(nested(300)), "h.glb:byte 306: the JSON is nested more than 256 deep" + kFix);
  EXPECT_EQ(Error(nested(5'000'000)), "h.glb:byte 306: the JSON is nested more than 256 deep" + kFix);
}

TEST(Glb, TextThatIsNotUtf8IsWrittenWithReplacements) {
  Glb glb = ReadGlb(File(JsonChunk(kLeast)), "h.glb");
  glb.json["animations"][0]["name"] = "take\xFF";
  EXPECT_EQ(ReadGlb(Written(glb), "again").json["animations"][0]["name"], "take\xEF\xBF\xBD");
}

// A file of 4 MB that took a quarter of a minute in an optimised build while each node was looked for among
// all others.
TEST(Glb, AChainOf200000NodesIsReadInTimeThatGrowsWithTheFile) {
  constexpr std::size_t kNodes = 200'000;
  std::string json = R"({"asset":{"version":"2.0"},"nodes":[{})";
  for (std::size_t n = 1; n < kNodes; ++n) json += ",{\"children\":[" + std::to_string(n - 1) + "]}";
  const std::string file = File(JsonChunk(json + "]}"));
  EXPECT_LT(CpuSecondsOf([&] { EXPECT_EQ(ReadGlb(file, "h.glb").json["nodes"].size(), kNodes); }), 20);
}

TEST(Glb, DoesNotCareHowTheStreamIsSet) {
  std::ostringstream out;
  out << std::setfill('*') << std::setw(30) << std::hex;
  WriteGlb(ReadGlb(WholeFile(), "h.glb"), out);
  EXPECT_EQ(out.str(), WholeFile());
}

TEST(Glb, BeyondFourGibibytesIsRefused) {
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max() - 3; // a multiple of 4
  EXPECT_EQ(GlbLength(10, 0, 0, "h.glb"), 12u + 8 + 12);
  EXPECT_EQ(GlbLength(12, 5, 8, "h.glb"), 12u + 8 + 12 + 8 + 8 + 8);
  EXPECT_EQ(GlbLength(kMost - 20, 0, 0, "h.glb"), kMost);
  const std::string error = "h.glb: with the animation the file would exceed the 4 GiB of a .glb; "
                            "make its textures smaller, or "
                            "export less in one file";
  EXPECT_EQ(InputErrorOf([] { GlbLength(kMost - 19, 0, 0, "h.glb"); }), error);
  EXPECT_EQ(InputErrorOf([] { GlbLength(100, kMost - 100, 0, "h.glb"); }), error);
  EXPECT_EQ(InputErrorOf([] { GlbLength(100, 100, kMost, "h.glb"); }), error);
  EXPECT_EQ(InputErrorOf([] { GlbLength(1, std::numeric_limits<std::size_t>::max() - 8, 0, "h.glb"); }),
            error);
}
