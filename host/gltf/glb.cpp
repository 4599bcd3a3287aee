#include "host/gltf/glb.h"

#include "host/base/error.h"
#include "host/base/parse_json.h"
#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/gltf/json_at.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kHeading = 12, kChunkHeading = 8;
constexpr std::string_view kMagic = "glTF", kJsonChunk = "JSON", kBinaryChunk("BIN\0", 4);
constexpr std::string_view kExportAgain = "export the head again, as .glb (glTF 2.0 binary)";

std::uint32_t ReadNumber(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

std::string NumberBytes(std::uint32_t number) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(number >> shift & 0xFF));
  return bytes;
}

[[noreturn]] void FailOtherFile(std::string_view bytes, const std::string& file) {
  RefuseForeignFile(bytes, file, "a .glb", kExportAgain);
  std::string_view text = bytes;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.starts_with('{'))
    throw InputError(Code::Unsupported, file, "", "this is text, perhaps a .gltf, not a .glb", kExportAgain);
  throw InputError(Code::UnknownFormat, file, "",
                   fmt::format("this is not a .glb: it begins with {} instead of {}",
                               Quoted(bytes.substr(0, 4)), Quoted(kMagic)),
                   kExportAgain);
}

Json ParseGlbJson(std::string_view text, std::size_t first_byte, const std::string& file) {
  // Some exporters pad with zeros instead of blanks.
  while (!text.empty() && text.back() == '\0') text.remove_suffix(1);
  auto [json, fault] = ParseJson(text, [&file](const std::string& pointer) {
    throw InputError(Code::Duplicate, file, ShownPointer(pointer), "this key is in the object twice",
                     kExportAgain);
  });
  if (!fault) return std::move(json);
  const std::string place = fmt::format("byte {}", first_byte + std::min(fault->at, text.size()));
  switch (fault->kind) {
  case JsonFault::Kind::Syntax:
    break;
  case JsonFault::Kind::Number:
    throw InputError(Code::InvalidValue, file, place,
                     fmt::format("the number {} is beyond what a double holds", Quoted(fault->number)),
                     kExportAgain);
  case JsonFault::Kind::Depth:
    throw InputError(Code::Limit, file, place,
                     fmt::format("the JSON is nested more than {} deep", kDeepestJson), kExportAgain);
  }
  throw InputError(Code::Syntax, file, place, "the JSON is broken from here on", kExportAgain);
}

} // namespace

Glb ReadGlb(std::string_view bytes, const std::string& file) {
  const auto fail = [&file](std::size_t at, const std::string& what) {
    throw InputError(Code::Syntax, file, fmt::format("byte {}", at), what, kExportAgain);
  };
  if (bytes.empty()) throw InputError(Code::Empty, file, "", "the file is empty", kExportAgain);
  const std::string_view beginning = bytes.substr(0, kMagic.size());
  if (beginning != kMagic.substr(0, beginning.size())) FailOtherFile(bytes, file);
  if (bytes.size() < kHeading) fail(bytes.size(), "the file ends within its heading");
  if (const std::uint32_t version = ReadNumber(bytes, 4); version != 2)
    fail(4, fmt::format("this is binary glTF version {}; only version 2 is supported", version));
  if (const std::uint32_t length = ReadNumber(bytes, 8); length != bytes.size())
    fail(8, fmt::format("the heading says {} bytes, and the file has {}: it was cut short or extended",
                        length, bytes.size()));

  struct Chunk {
    std::size_t at; // of its heading
    std::string_view type, data;
  };
  std::vector<Chunk> chunks;
  for (std::size_t at = kHeading; at < bytes.size();) {
    if (bytes.size() - at < kChunkHeading) fail(at, "the file ends within a chunk's heading");
    const std::size_t length = ReadNumber(bytes, at), left = bytes.size() - at - kChunkHeading;
    if (length > left) fail(at, fmt::format("a chunk of {} bytes, but {} are left", length, left));
    chunks.push_back({at, bytes.substr(at + 4, 4), bytes.substr(at + kChunkHeading, length)});
    at += kChunkHeading + length;
  }
  if (chunks.empty() || chunks[0].type != kJsonChunk) fail(kHeading, "the first chunk is not the JSON one");

  Glb glb;
  glb.file = file;
  glb.json = ParseGlbJson(chunks[0].data, kHeading + kChunkHeading, file);
  std::size_t known = 1;
  if (chunks.size() > known && chunks[known].type == kBinaryChunk)
    glb.binary = LongVector<char>(std::span<const char>(chunks[known++].data));
  for (std::size_t c = known; c < chunks.size(); ++c)
    if (chunks[c].data.size() % 4 != 0)
      fail(chunks[c].at,
           fmt::format("a chunk of {} bytes, which is not a multiple of 4", chunks[c].data.size()));
  if (known < chunks.size()) glb.further_chunks = bytes.substr(chunks[known].at);

  const JsonAt root(glb);
  const std::string version = root.At("asset").At("version").String();
  if (!version.starts_with("2."))
    root.At("asset").At("version").Fail(
        Code::Unsupported, fmt::format("this is glTF {}; only 2.0 is supported", Printable(version)),
        kExportAgain);
  return glb;
}

std::uint32_t GlbLength(std::size_t json, std::size_t binary, std::size_t further_chunks,
                        const std::string& file) {
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
  std::size_t length = kHeading + kChunkHeading;
  for (const std::size_t part : {json, binary > 0 ? kChunkHeading + binary : 0, further_chunks}) {
    if (part > kMost - 3 || length + (part + 3) / 4 * 4 > kMost)
      throw InputError(Code::Limit, file, "", "with the animation the file would exceed the 4 GiB of a .glb",
                       "make its textures smaller, or export less in one file");
    length += (part + 3) / 4 * 4;
  }
  return static_cast<std::uint32_t>(length);
}

void WriteGlb(const Glb& glb, std::ostream& out) {
  // What was read is UTF-8, but a take's name may be anything.
  std::string json = glb.json.dump(-1, ' ', false, Json::error_handler_t::replace);
  const std::uint32_t length = GlbLength(json.size(), glb.binary.size(), glb.further_chunks.size(), glb.file);
  json.resize((json.size() + 3) / 4 * 4, ' ');
  const auto write = [&out](std::string_view bytes) { // whatever width the stream is set to
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  };
  write(kMagic);
  write(NumberBytes(2));
  write(NumberBytes(length));
  write(NumberBytes(static_cast<std::uint32_t>(json.size())));
  write(kJsonChunk);
  write(json);
  if (!glb.binary.empty()) {
    const std::string padding((4 - glb.binary.size() % 4) % 4, '\0');
    write(NumberBytes(static_cast<std::uint32_t>(glb.binary.size() + padding.size())));
    write(kBinaryChunk);
    constexpr std::size_t kAtOnce = std::size_t{1} << 16;
    for (std::size_t at = 0; at < glb.binary.size(); at += kAtOnce) {
      const std::span<const char> piece = glb.binary.subspan(at, std::min(kAtOnce, glb.binary.size() - at));
      write({piece.data(), piece.size()});
    }
    write(padding);
  }
  write(glb.further_chunks);
}

} // namespace mien
