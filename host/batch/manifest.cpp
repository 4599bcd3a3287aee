#include "host/batch/manifest.h"

#include "host/base/error.h"
#include "host/base/parse_json.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <glob.h>
#include <memory>
#include <new>
#include <optional>
#include <system_error>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Throws where no column is one of a manifest: the first row is data, a comment or another table's.
void RequireHeader(const CsvReader& table, const std::string& file) {
  constexpr std::string_view kUsual[] = {"take", "output", "command", "performer", "character"};
  for (const std::string_view column : table.Columns())
    for (const std::string_view usual : kUsual)
      if (EqualIgnoringCase(column, usual)) return;
  throw InputError(
      Code::Missing, file, fmt::format("{}", table.Line()), "no column is named take",
      "name the columns in the first row, such as take,performer,output; to solve takes without a "
      "manifest, name them with --glob");
}

/// Of columns the number counts, from 1: "7:2" is the second field of line 7.
void ReadTable(std::string_view bytes, Manifest& manifest) {
  CsvReader table(bytes, manifest.file);
  const std::vector<std::string_view>& columns = table.Columns();
  RequireHeader(table, manifest.file);
  for (std::size_t c = 0; c < columns.size(); ++c) {
    const ManifestColumn& column = manifest.columns.emplace_back(
        ManifestColumn{std::string(columns[c]), fmt::format("{}:{}", table.Line(), c + 1)});
    if (column.name.empty())
      throw InputError(Code::Missing, manifest.file, column.place, "this column has no name",
                       "name it, such as take or output");
    static_cast<void>(table.Column(columns[c])); // throws if there are two
  }
  while (table.Next()) {
    ManifestLine& line = manifest.lines.emplace_back();
    line.number = table.Line();
    for (std::size_t c = 0; c < columns.size(); ++c)
      if (const std::string_view text = table.Text(c); !text.empty())
        line.values.push_back(
            {std::string(columns[c]), {std::string(text)}, fmt::format("{}:{}", line.number, c + 1)});
  }
  std::vector<Note> notes;
  table.Finish(notes);
  for (const Note& note : notes)
    if (note.code == Code::Truncated)
      throw InputError(Code::Truncated, manifest.file, note.place, "the file ends inside this row",
                       "complete the row or remove it");
}

/// One line of JSON lines.
class JsonLine {
public:
  JsonLine(std::string_view text, const Manifest& manifest, std::size_t number)
      : text_(text), file_(manifest.file), number_(number) {}

  ManifestLine Read() const {
    const auto [json, fault] = ParseJson(text_, [this](const std::string& pointer) {
      Fail(PlaceOf(pointer.substr(1)), Code::Duplicate, "this name is in the line twice", "keep one of them");
    });
    if (fault)
      Fail(fmt::format("{}:{}", number_, fault->at + 1), Code::Syntax, "this is not JSON from here on",
           "write one object in each line");
    if (!json.is_object())
      Fail(fmt::format("{}:1", number_), Code::InvalidValue, "this is not an object",
           "write {\"take\": ..., \"output\": ...}");
    ManifestLine line = {.number = number_, .values = {}};
    for (const auto& [name, value] : json.items())
      if (!value.is_null()) line.values.push_back({name, TextsOf(name, value), PlaceOf(name)});
    return line;
  }

private:
  std::vector<std::string> TextsOf(const std::string& name, const Json& value) const {
    std::vector<std::string> texts;
    const auto add = [&](const Json& one) {
      if (one.is_string()) return texts.push_back(one.get<std::string>()), true;
      if (one.is_number()) return texts.push_back(one.dump()), true;
      return false;
    };
    bool fits = true;
    if (value.is_boolean())
      texts.emplace_back(value.get<bool>() ? "true" : "false");
    else if (value.is_array())
      fits = !value.empty() && std::all_of(value.begin(), value.end(), add);
    else
      fits = add(value);
    if (!fits)
      Fail(PlaceOf(name), Code::InvalidValue,
           fmt::format("{} is neither a text, a number, true, false nor a list of texts", Quoted(name)),
           "write one of them, or leave it out");
    return texts;
  }

  /// Where a name stands in the line; the line alone if it is written with escapes.
  std::string PlaceOf(const std::string& name) const {
    const std::size_t at = text_.find('"' + name + '"');
    return at == std::string_view::npos ? fmt::format("{}", number_) : fmt::format("{}:{}", number_, at + 1);
  }

  [[noreturn]] void Fail(const std::string& place, Code code, std::string_view what,
                         std::string_view fix) const {
    throw InputError(code, file_, place, what, fix);
  }

  std::string_view text_;
  const std::string& file_;
  std::size_t number_;
};

void ReadJsonLines(std::string_view bytes, Manifest& manifest) {
  for (std::size_t number = 1; !bytes.empty(); ++number) {
    const std::size_t length = std::min(bytes.find('\n'), bytes.size());
    const std::string_view line = bytes.substr(0, length);
    bytes.remove_prefix(std::min(length + 1, bytes.size()));
    if (line.find_first_not_of(" \t\r") != std::string_view::npos)
      manifest.lines.push_back(JsonLine(line, manifest, number).Read());
  }
}

} // namespace

Manifest ReadManifest(std::string_view bytes, const std::string& file) {
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  if (!IsUtf8(bytes))
    throw InputError(Code::Unsupported, file, "", "the manifest is not UTF-8 text", "save it as UTF-8");
  Manifest manifest;
  manifest.file = file;
  manifest.folder = std::filesystem::path(file).parent_path();
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos && bytes[first] == '[')
    throw InputError(Code::Unsupported, file, "", "the manifest is one JSON array",
                     "write an object in each line, without brackets around them and commas between them");
  if (first != std::string_view::npos && bytes[first] == '{')
    ReadJsonLines(bytes, manifest);
  else
    ReadTable(bytes, manifest);
  if (manifest.lines.empty())
    throw InputError(Code::Empty, file, "", "the manifest has no line", "write a line for each take");
  return manifest;
}

Manifest FindTakes(const std::string& pattern) {
  glob_t found{};
  const int failed = glob(pattern.c_str(), GLOB_TILDE, nullptr, &found);
  const std::unique_ptr<glob_t, decltype(&globfree)> frees(&found, globfree);
  if (failed == GLOB_NOSPACE) throw std::bad_alloc();
  std::vector<std::string> takes;
  for (std::size_t i = 0; failed == 0 && i < found.gl_pathc; ++i)
    if (std::error_code gone; !std::filesystem::is_directory(found.gl_pathv[i], gone))
      takes.emplace_back(found.gl_pathv[i]);
  std::error_code not_there;
  if (takes.empty() && std::filesystem::is_directory(pattern, not_there))
    throw InputError(
        Code::NotFound, pattern, "", "this is a folder",
        fmt::format("name the files in it: '{}'", (std::filesystem::path(pattern) / "*").string()));
  if (takes.empty())
    throw InputError(Code::NotFound, pattern, "", "no file has such a name",
                     "check the pattern, and put it in quotes: 'takes/*.c3d'");
  std::sort(takes.begin(), takes.end()); // whatever the locale
  Manifest manifest;
  for (const std::string& take : takes)
    manifest.lines.push_back({.number = manifest.lines.size() + 1, .values = {{"take", {take}, ""}}});
  return manifest;
}

} // namespace mien
