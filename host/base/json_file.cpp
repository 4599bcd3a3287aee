#include "host/base/json_file.h"

#include "host/base/error.h"
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

/// Where a number stands that is no part of a quoted text.
std::size_t FindNumber(std::string_view text, std::string_view number) {
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!quoted && text.substr(i).starts_with(number)) return i;
    if (quoted && text[i] == '\\')
      ++i; // and what it escapes
    else if (text[i] == '"')
      quoted = !quoted;
  }
  return text.size();
}

/// An object or array that the parser is in, and where in it.
struct OpenContainer {
  bool is_array;
  std::size_t index;
  std::string key;
  std::set<std::string> keys; // so far
};

/// The JSON pointer (RFC 6901) to where the parser is.
std::string PointerTo(const std::vector<OpenContainer>& open) {
  std::string pointer;
  for (const OpenContainer& container : open) {
    pointer += '/';
    if (container.is_array) pointer += std::to_string(container.index);
    for (const char c : container.key)
      if (c == '~' || c == '/')
        pointer += c == '~' ? "~0" : "~1";
      else
        pointer += c;
  }
  return pointer;
}

} // namespace

JsonFile::JsonFile(std::string_view text, std::string file) : file_(std::move(file)) {
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw InputError(Code::Empty, file_, "", "the file is empty", "name a JSON file");
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    throw InputError(Code::Unsupported, file_, "", "this is UTF-16 text", "save it as UTF-8");
  if (text.starts_with("glTF"))
    throw InputError(Code::UnknownFormat, file_, "", "this is a .glb, not JSON",
                     "mien character from-glb makes a character file of a head");

  // The parser keeps the last of two equal keys without a word.
  std::vector<OpenContainer> open;
  const auto note_equal_keys = [&](int, Json::parse_event_t event, Json& parsed) {
    using Event = Json::parse_event_t;
    if (event == Event::key) {
      OpenContainer& object = open.back();
      object.key = parsed.get<std::string>();
      if (!object.keys.insert(object.key).second)
        Collect(Code::Duplicate, PointerTo(open), "this key is in the object twice", "keep one of them");
      return true;
    }
    if (event == Event::object_end || event == Event::array_end) open.pop_back();
    if (event == Event::object_start || event == Event::array_start)
      open.push_back({.is_array = event == Event::array_start, .index = 0, .key = {}, .keys = {}});
    else if (!open.empty())
      ++open.back().index; // a value has ended
    return true;
  };
  try {
    root_ = Json::parse(text.begin(), text.end(), note_equal_keys);
  } catch (const Json::parse_error& error) {
    throw InputError(Code::Syntax, file_, PlaceIn(text, error.byte > 0 ? error.byte - 1 : 0),
                     "this is not JSON from here on",
                     "look for a missing comma, quote or bracket just before");
  } catch (const Json::out_of_range& error) {
    // It quotes the number and does not say where it stands.
    const std::string_view what = error.what();
    const std::size_t quote = what.find('\'');
    const std::string_view number = what.substr(quote + 1, what.rfind('\'') - quote - 1);
    throw InputError(Code::InvalidValue, file_, PlaceIn(text, FindNumber(text, number)),
                     fmt::format("the number {} is beyond what a double holds", Quoted(number)),
                     "write a smaller one");
  }
}

void JsonFile::Mistake(Code code, const Pointer& place, std::string_view what, std::string_view fix) {
  Collect(code, place.to_string(), what, fix);
}

void JsonFile::Collect(Code code, std::string_view place, std::string_view what, std::string_view fix) {
  constexpr std::size_t kLongest = 300; // bytes, for files that nest without end
  std::string pointer = Printable(place);
  if (pointer.size() > kLongest) { // where it begins and ends is of use
    const auto splits_character = [&](std::size_t at) {
      return (static_cast<unsigned char>(pointer[at]) & 0xC0) == 0x80; // a later byte of UTF-8
    };
    std::size_t from = kLongest / 2, to = pointer.size() - kLongest / 2;
    while (splits_character(from)) --from;
    while (to < pointer.size() && splits_character(to)) ++to;
    pointer.replace(from, to - from, "...");
  }
  mistakes_.push_back({code, file_, std::move(pointer), std::string(what), std::string(fix)});
}

void JsonFile::CheckKeys(const Pointer& place, const Json& object,
                         const std::vector<std::string_view>& known) {
  for (const auto& [key, value] : object.items())
    if (std::find(known.begin(), known.end(), key) == known.end())
      Mistake(Code::NotFound, place / key, "nothing is known by this name",
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
    Mistake(Code::UnknownFormat, here / "format",
            fmt::format("this is not known as a {} of this version", what),
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
      Mistake(Code::Duplicate, place / i, fmt::format("the {} {} is in the list already", what, Quoted(name)),
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
