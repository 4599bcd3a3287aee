#include "host/batch/manifest.h"

#include "tests/host/input_error.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using mien::FindTakes;
using mien::Manifest;
using mien::ManifestLine;
using mien::ReadManifest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// "take=a.c3d@2:1 expression=A,B@2:3"
std::string Shown(const ManifestLine& line) {
  std::string shown = std::to_string(line.number) + ":";
  for (const mien::ManifestValue& value : line.values) {
    shown += ' ' + value.name + '=';
    for (const std::string& text : value.texts) shown += text + (&text == &value.texts.back() ? "" : ",");
    shown += '@' + value.place;
  }
  return shown;
}

std::vector<std::string> Shown(const Manifest& manifest) {
  std::vector<std::string> shown;
  for (const ManifestLine& line : manifest.lines) shown.push_back(Shown(line));
  return shown;
}

std::string ErrorOf(const std::string& text) {
  return InputErrorOf([&] { ReadManifest(text, "m"); });
}

class ManifestTest : public TemporaryFolder {};

} // namespace

TEST_F(ManifestTest, ATableNamesItsColumnsAndAnEmptyFieldGivesNothing) {
  const Manifest manifest = ReadManifest("take,performer,\"fill\"\n"
                                         "a.c3d,ada.json,\"cubic:0.2,pattern:1\"\n"
                                         "\n"
                                         "my take.c3d,,\n",
                                         "lists/m.csv");
  EXPECT_THAT(Shown(manifest),
              ElementsAre("2: take=a.c3d@2:1 performer=ada.json@2:2 fill=cubic:0.2,pattern:1@2:3",
                          "4: take=my take.c3d@4:1"));
  EXPECT_EQ(manifest.folder, "lists");
  ASSERT_EQ(manifest.columns.size(), 3u);
  EXPECT_EQ(manifest.columns[2].place, "1:3");
}

TEST_F(ManifestTest, SpreadsheetsMayWriteItWithSemicolonsAndAByteOrderMark) {
  EXPECT_THAT(Shown(ReadManifest("\xEF\xBB\xBFtake;output\r\na.c3d;a.csv\r\n", "m")),
              ElementsAre("2: take=a.c3d@2:1 output=a.csv@2:2"));
}

TEST_F(ManifestTest, JsonLinesHaveTextsNumbersFlagsAndLists) {
  EXPECT_THAT(Shown(ReadManifest(
                  "{\"take\": \"a.c3d\", \"smooth\": 6, \"fade\": 0.25, \"strict\": true, \"fill\": null}\n"
                  "\n"
                  "  {\"take\":\"b.c3d\",\"expression\":[\"A=1\",\"B=0.5\"]}",
                  "m")),
              ElementsAre("1: take=a.c3d@1:2 smooth=6@1:19 fade=0.25@1:32 strict=true@1:46",
                          "3: take=b.c3d@3:4 expression=A=1,B=0.5@3:19"));
}

TEST_F(ManifestTest, ProblemsHaveLineAndColumn) {
  EXPECT_EQ(ErrorOf("take,,output\n"), "m:1:2: this column has no name; name it, such as take or output");
  EXPECT_EQ(ErrorOf("take,take\na,b\n"), "m:1: the column \"take\" occurs twice; keep the right one");
  EXPECT_EQ(ErrorOf("take,output\na,b\nc,\"d\n"),
            "m:line 3: the file ends inside this row; complete the row or remove it");
  EXPECT_EQ(ErrorOf("{\"take\": \"a\"}\n{\"take\" \"a\"}"),
            "m:2:11: this is not JSON from here on; write one object in each line");
  EXPECT_EQ(ErrorOf("{\"take\": \"a\"}\n[1]"),
            "m:2:1: this is not an object; write {\"take\": ..., \"output\": ...}");
  EXPECT_EQ(ErrorOf("{\"take\": \"a\", \"take\": \"b\"}"),
            "m:1:2: this name is in the line twice; keep one of them");
  for (const std::string value : {"{\"x\": 1}", "[]", "[true]", "[[\"a\"]]"})
    EXPECT_EQ(
        ErrorOf("{\"fill\": " + value + "}"),
        "m:1:2: \"fill\" is neither a text, a number, true, false nor a list of texts; write one of them, or "
        "leave it out");
}

TEST_F(ManifestTest, AFileThatIsNotAManifestIsNamedForWhatItIs) {
  const std::string no_take =
      "m:1: no column is named take; name the columns in the first row, such as "
      "take,performer,output; to solve takes without a manifest, name them with --glob";
  EXPECT_EQ(ErrorOf("takes/a.csv,landmarks68,out/a.csv\n"), no_take);
  EXPECT_EQ(ErrorOf("# my takes\ntake,output\na,b\n"), no_take);
  EXPECT_EQ(ErrorOf("hello\n"), no_take);
  for (const std::string array : {"[{\"take\": \"a\"}]", "\n[\n{\"take\": \"a\"},\n{\"take\": \"b\"}\n]\n"})
    EXPECT_EQ(ErrorOf(array),
              "m: the manifest is one JSON array; write an object in each line, without brackets "
              "around them and commas between them");
}

TEST_F(ManifestTest, WithoutALineIsAnError) {
  EXPECT_EQ(ErrorOf("take,output\n"), "m: the manifest has no line; write a line for each take");
  EXPECT_EQ(ErrorOf(""), "m: the table is empty; name the columns in the first row");
  EXPECT_EQ(ErrorOf("take\n\xFF\n"), "m: the manifest is not UTF-8 text; save it as UTF-8");
}

// Whatever it holds: an answer or an InputError.
TEST_F(ManifestTest, EveryBeginningIsReadOrRefused) {
  for (const std::string text :
       {"{\"take\": \"a\\u00e4\", \"expression\": [\"A=1\", 2.5e3], \"strict\": false}\n{\"take\": null}\n",
        "take,output,\"a \"\"b\"\"\"\na,b,c\n\"d\",\"e,f\",\n"})
    for (std::size_t size = 0; size <= text.size(); ++size) try {
        for (const ManifestLine& line : ReadManifest(text.substr(0, size), "m").lines)
          for (const mien::ManifestValue& value : line.values) EXPECT_FALSE(value.texts.empty());
      } catch (const mien::InputError& error) { EXPECT_FALSE(error.Problems().empty()); }
}

TEST_F(ManifestTest, APatternFindsFilesByName) {
  for (const std::string name : {"b.c3d", "a.c3d", "Z.c3d", "c.csv"}) Write(name, "");
  std::filesystem::create_directory(folder_ / "folder.c3d");
  const std::string folder = folder_.string() + '/';
  const Manifest manifest = FindTakes(folder + "*.c3d");
  EXPECT_THAT(Shown(manifest), ElementsAre("1: take=" + folder + "Z.c3d@", "2: take=" + folder + "a.c3d@",
                                           "3: take=" + folder + "b.c3d@"));
  EXPECT_THAT(manifest.file, IsEmpty());
  EXPECT_EQ(InputErrorOf([&] { FindTakes(folder + "*.trc"); }),
            folder +
                "*.trc: no file has such a name; check the pattern, and put it in quotes: 'takes/*.c3d'");
  const std::string takes = folder_ / "folder.c3d";
  EXPECT_EQ(InputErrorOf([&] { FindTakes(takes); }),
            takes + ": this is a folder; name the files in it: '" + takes + "/*'");
}
