#include "host/base/json_file.h"

#include "host/base/error.h"
#include "host/base/parse_json.h"
#include "host/base/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>

namespace mien {

namespace {

/// "LINE:COLUMN" of a byte.
std::string PlaceIn(std::string_view text, std::size_t at) {
  const std::string_view before = text.substr(0, std::min(at, text.size()));
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const std::size_t line_start = before.rfind('\n') + 1; // npos + 1 is 0
  return fmt::format("{}:{}", line, before.size() - line_start + 1);
}

/// Whether somebody meant it as JSON: it begins as an object, a list, a text or a comment.
bool IsMeantAsJson(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF", kBegins = "{[\"'/";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && kBegins.find(text[first]) != std::string_view::npos;
}

} // namespace

JsonFile::JsonFile(std::string_view text, std::string file) : file_(std::move(file)) {
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw InputError(Code::Empty, file_, "", "the file is empty", "name a JSON file");
  auto [root, fault] = ParseJson(text, [this](const std::string& pointer) {
    Collect(Code::Duplicate, pointer, "this key is in the object twice", "keep one of them");
  });
  root_ = std::move(root);
  if (!fault) return;
  const std::string place = PlaceIn(text, fault->at);
  switch (fault->kind) {
  case JsonFault::Kind::Syntax:
    if (!IsMeantAsJson(text))
      throw InputError(Code::Syntax, file_, "", "this is not a JSON file: it does not begin with {",
                       "name a JSON file");
    throw InputError(Code::Syntax, file_, place, "this is not JSON from here on",
                     "look for a missing comma, quote or bracket just before");
  case JsonFault::Kind::Number:
    throw InputError(Code::InvalidValue, file_, place,
                     fmt::format("the number {} is beyond what a double holds", Quoted(fault->number)),
                     "write a smaller one");
  case JsonFault::Kind::Depth:
    throw InputError(Code::Limit, file_, place,
                     fmt::format("objects and arrays are nested more than {} deep", kDeepestJson),
                     "write the file with fewer levels");
  }
}

void JsonFile::Mistake(Code code, const Pointer& place, std::string_view what, std::string_view fix) {
  Collect(code, place.to_string(), what, fix);
}

void JsonFile::Collect(Code code, std::string_view place, std::string_view what, std::string_view fix) {
  mistakes_.push_back({code, file_, ShownPointer(place), std::string(what), std::string(fix)});
  constexpr std::size_t kMost = 100;
  if (mistakes_.size() < kMost) return;
  mistakes_.push_back({Code::Limit, file_, "", fmt::format("these are the first {} mistakes in it", kMost),
                       "correct them, then read the file again"});
  ThrowMistakes();
}

void JsonFile::CheckKeys(const Pointer& place, const Json& object,
                         const std::vector<std::string_view>& known) {
  for (const auto& [key, value] : object.items())
    if (std::find(known.begin(), known.end(), key) == known.end())
      Mistake(Code::NotFound, place / key, "this name is unknown",
              fmt::format("use one of: {}", fmt::join(known, ", ")));
}

bool JsonFile::RequireObject(const Pointer& place, const Json& json) {
  if (!json.is_object()) Mistake(Code::InvalidValue, place, "this is not an object", "write { ... }");
  return json.is_object();
}

std::string JsonFile::ReadHeading(std::string_view format, std::string_view what) {
  const Pointer here;
  if (!root_.is_object()) {
    Mistake(Code::InvalidValue, here, fmt::format("a {} is an object", what), "begin with {");
    ThrowMistakes();
  }
  if (root_.contains("format") && root_["format"].is_string()) {
    // "mien performer 1": the kind and its version.
    const auto& found = root_["format"].get_ref<const std::string&>();
    const std::string_view kind = format.substr(0, format.rfind(' ') + 1);
    const std::size_t version = found.rfind(' ') + 1;
    if (found.starts_with("mien ") && !found.starts_with(kind) && version > 6)
      throw InputError(
          Code::UnknownFormat, file_, "/format",
          fmt::format("this is a {} file", Quoted(std::string_view(found).substr(5, version - 6))),
          fmt::format("name a {} file here", what));
  }
  if (!root_.contains("format") || root_["format"] != format)
    Mistake(Code::UnknownFormat, here / "format", fmt::format("this is not a {} file of this version", what),
            fmt::format("write \"format\": \"{}\"", format));
  if (root_.contains("name") && root_["name"].is_string() && !root_["name"].get<std::string>().empty())
    return root_["name"].get<std::string>();
  Mistake(Code::Missing, here / "name", fmt::format("the {} has no name", what), "write \"name\": \"...\"");
  return {};
}

std::vector<std::string> JsonFile::ReadNames(const Pointer& place, const Json& names, std::string_view what) {
  std::vector<std::string> read;
  if (!names.is_array()) {
    Mistake(Code::InvalidValue, place, fmt::format("this is not a list of {} names", what),
            "write [\"NAME\", ...]");
    return read;
  }
  std::set<std::string_view> known;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!names[i].is_string()) {
      Mistake(Code::InvalidValue, place / i, fmt::format("this is not a {} name", what),
              "write it in quotes");
      continue;
    }
    const auto& name = names[i].get_ref<const std::string&>();
    if (!CheckName(place / i, name, what)) continue;
    if (known.insert(name).second)
      read.push_back(name);
    else
      Mistake(Code::Duplicate, place / i, fmt::format("the {} {} is already in the list", what, Quoted(name)),
              "name it once");
  }
  return read;
}

bool JsonFile::CheckName(const Pointer& place, const std::string& name, std::string_view what) {
  const bool fits = !name.empty() && name.size() <= 255;
  if (!fits)
    Mistake(Code::Limit, place, fmt::format("the {} name has {} bytes", what, name.size()), "use 1 to 255");
  const bool is_text = name.find('\0') == std::string::npos;
  if (!is_text)
    Mistake(Code::InvalidValue, place, fmt::format("the {} name has a zero byte", what),
            "use letters and digits");
  return fits && is_text;
}

void JsonFile::ThrowMistakes() const {
  if (!mistakes_.empty()) throw InputError(mistakes_);
}

} // namespace mien
