#include "host/files/foreign_file.h"

#include "tests/host/input_error.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

std::string Refused(const std::string& bytes) {
  return InputErrorOf([&] { mien::RefuseForeignFile(bytes, "f", "a hat", "name a hat"); });
}

constexpr const char* kUnpack = "; unpack it and name the file in it";
constexpr const char* kUtf8 = "; save it as UTF-8";
constexpr const char* kDownload = "; download the file itself: this page was saved in its place";

} // namespace

TEST(ForeignFile, ArchivesAreNamed) {
  EXPECT_EQ(Refused("\x1F\x8B\x08\x00"s), "f: this is a gzip archive, not a hat"s + kUnpack);
  EXPECT_EQ(Refused("PK\x03\x04\x14"),
            "f: this is a zip archive, not a hat"s + kUnpack + ", or save a spreadsheet as CSV");
  EXPECT_EQ(Refused("7z\xBC\xAF\x27\x1C"), "f: this is a 7z archive, not a hat"s + kUnpack);
  EXPECT_EQ(Refused("\xFD\x37zXZ\0\0"s), "f: this is an xz archive, not a hat"s + kUnpack);
  EXPECT_EQ(Refused("BZh91AY"), "f: this is a bzip2 archive, not a hat"s + kUnpack);
  EXPECT_EQ(Refused("\x28\xB5\x2F\xFD"), "f: this is a zstd archive, not a hat"s + kUnpack);
}

TEST(ForeignFile, WebPagesAreNamedWhateverTheyBeginWith) {
  for (const std::string& page : std::vector<std::string>{
           "<!DOCTYPE html>\n<html>", "<html lang=\"en\">", "\xEF\xBB\xBF \r\n\t<!doctype HTML>",
           "<?xml version=\"1.0\"?>\n<!DOCTYPE html PUBLIC", "<!-- saved -->\n<HTML>"})
    EXPECT_EQ(Refused(page), "f: this is a web page, not a hat"s + kDownload) << page;
}

TEST(ForeignFile, GitLfsPointersAreNamed) {
  EXPECT_EQ(
      Refused("version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 1\n"),
      "f: this is a Git LFS pointer, which stands for the file, not a hat; fetch the file with git lfs pull");
}

TEST(ForeignFile, Utf32IsNotTakenForUtf16) {
  EXPECT_EQ(Refused("\xFF\xFE\0\0F\0\0\0"s), "f: this is UTF-32 text, not a hat"s + kUtf8);
  EXPECT_EQ(Refused("\0\0\xFE\xFF\0\0\0F"s), "f: this is UTF-32 text, not a hat"s + kUtf8);
  EXPECT_EQ(Refused("\xFF\xFE"
                    "F\0"s),
            "f: this is UTF-16 text, not a hat"s + kUtf8);
  EXPECT_EQ(Refused("\xFE\xFF\0F"s), "f: this is UTF-16 text, not a hat"s + kUtf8);
}

TEST(ForeignFile, OfScenesAndVideosTheReaderSaysWhatToDo) {
  for (const auto& [bytes, what] : {std::pair("glTF\2\0\0\0"s, "a .glb"),
                                    {"Kaydara FBX Binary  ", "an FBX file"},
                                    {"; FBX 7.4.0", "an FBX file"},
                                    {"BLENDER-v300", "a Blender file"},
                                    {"#usda 1.0", "a USD file"},
                                    {"PXR-USDC", "a USD file"},
                                    {"%PDF-1.7", "a PDF"},
                                    {"\0\0\0 ftypmp42"s, "a video"},
                                    {"RIFF\1\2\3\4AVI LIST", "an AVI or WAV file"},
                                    {"\x1A\x45\xDF\xA3", "a video"}})
    EXPECT_EQ(Refused(bytes), "f: this is "s + what + ", not a hat; name a hat");
}

TEST(ForeignFile, EverythingElsePasses) {
  for (const std::string& bytes :
       {""s, "\x1F"s, "PK"s, "\xFF"s, "{\"format\": \"mien performer 1\"}"s, "frame,time,a.x\n"s,
        "PathFileType\t4"s, "\x02\x50\0\0"s, "<a>"s, "html,<html>\n"s, "ftyp"s, "{\"\"  ftyp"s, "\0ftyp"s,
        "version https://example.org"s, "<" + std::string(2000, ' ') + "<html>"})
    EXPECT_EQ(Refused(bytes), "no InputError") << bytes;
}
