#include "host/files/foreign_file.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace mien {

namespace {

struct Kind {
  std::string_view beginning;
  std::string_view what;
  std::string_view fix; // empty where it depends on what was wanted
};

constexpr std::string_view kUnpack = "unpack it and name the file in it";
constexpr std::string_view kSaveAsUtf8 = "save it as UTF-8";
constexpr std::string_view kDownload = "download the file itself: this page was saved in its place";

// The first that fits counts: little-endian UTF-32 begins as UTF-16 does.
constexpr Kind kKinds[] = {
    {"\x1F\x8B", "a gzip archive", kUnpack},
    {"PK\x03\x04", "a zip archive", "unpack it and name the file in it, or save a spreadsheet as CSV"},
    {"7z\xBC\xAF\x27\x1C", "a 7z archive", kUnpack},
    {{"\xFD\x37zXZ\0", 6}, "an xz archive", kUnpack},
    {"BZh", "a bzip2 archive", kUnpack},
    {"\x28\xB5\x2F\xFD", "a zstd archive", kUnpack},
    {"version https://git-lfs", "a Git LFS pointer, which stands for the file",
     "fetch the file with git lfs pull"},
    {{"\xFF\xFE\0\0", 4}, "UTF-32 text", kSaveAsUtf8},
    {{"\0\0\xFE\xFF", 4}, "UTF-32 text", kSaveAsUtf8},
    {"\xFF\xFE", "UTF-16 text", kSaveAsUtf8},
    {"\xFE\xFF", "UTF-16 text", kSaveAsUtf8},
    {"glTF", "a .glb", ""},
    {"Kaydara FBX Binary", "an FBX file", ""},
    {"; FBX", "an FBX file", ""},
    {"BLENDER", "a Blender file", ""},
    {"#usda", "a USD file", ""},
    {"PXR-USDC", "a USD file", ""},
    {"%PDF-", "a PDF", ""},
    {"RIFF", "an AVI or WAV file", ""},
    {"\x1A\x45\xDF\xA3", "a video", ""},
};

/// MP4 and QuickTime: a length, of which the first byte is 0, then a name.
bool IsVideo(std::string_view bytes) {
  return bytes.starts_with('\0') && bytes.substr(std::min<std::size_t>(4, bytes.size())).starts_with("ftyp");
}

/// HTML may begin with blanks, an XML declaration and comments.
bool IsWebPage(std::string_view bytes) {
  constexpr std::size_t kFar = 1024;
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  bytes.remove_prefix(std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size()));
  if (!bytes.starts_with('<')) return false;
  const std::string beginning = ToLower(bytes.substr(0, kFar));
  return beginning.find("<!doctype html") != std::string::npos ||
         beginning.find("<html") != std::string::npos;
}

} // namespace

void RefuseForeignFile(std::string_view bytes, const std::string& file, std::string_view wanted,
                       std::string_view fix) {
  const auto refuse = [&](std::string_view what, std::string_view own_fix) {
    throw InputError(Code::Unsupported, file, "", fmt::format("this is {}, not {}", what, wanted),
                     own_fix.empty() ? fix : own_fix);
  };
  for (const Kind& kind : kKinds)
    if (bytes.starts_with(kind.beginning)) refuse(kind.what, kind.fix);
  if (IsVideo(bytes)) refuse("a video", "");
  if (IsWebPage(bytes)) refuse("a web page", kDownload);
}

} // namespace mien
