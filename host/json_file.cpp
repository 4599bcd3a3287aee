#include "host/json_file.h"

#include "host/error.h"

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

} // namespace

JsonFile::JsonFile(std::string_view text, std::string file) : file_(std::move(file)) {
  // The parser keeps the last of two equal keys without a word.
  std::vector<std::set<std::string>> keys_of_open_objects;
  const auto note_equal_keys = [&](int, Json::parse_event_t event, Json& parsed) {
    if (event == Json::parse_event_t::object_start) keys_of_open_objects.emplace_back();
    if (event == Json::parse_event_t::object_end) keys_of_open_objects.pop_back();
    if (event == Json::parse_event_t::key &&
        !keys_of_open_objects.back().insert(parsed.get<std::string>()).second)
      mistakes_.push_back(fmt::format("{}: the key {} is in one object twice; keep one of them", file_,
                                      Quoted(parsed.get<std::string>())));
    return true;
  };
  try {
    root_ = Json::parse(text.begin(), text.end(), note_equal_keys);
  } catch (const Json::parse_error& error) {
    const std::size_t at = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
    const std::string_view before = text.substr(0, at);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t line_start = before.rfind('\n') + 1; // npos + 1 is 0
    throw InputError(file_, fmt::format("{}:{}", line, at - line_start + 1), "this is not JSON from here on",
                     "look for a missing comma, quote or bracket just before");
  } catch (const Json::out_of_range& error) {
    // It quotes the number and does not say where it stands.
    const std::string_view what = error.what();
    const std::size_t quote = what.find('\'');
    const std::string_view number = what.substr(quote + 1, what.rfind('\'') - quote - 1);
    throw InputError(file_, PlaceIn(text, text.find(number)),
                     fmt::format("the number {} is beyond what a double holds", Quoted(number)),
                     "write a smaller one");
  }
}

void JsonFile::Mistake(const Pointer& place, std::string_view what, std::string_view mend) {
  mistakes_.emplace_back(InputError(file_, Printable(place.to_string()), what, mend).what());
}

void JsonFile::CheckKeys(const Pointer& place, const Json& object,
                         const std::vector<std::string_view>& known) {
  for (const auto& [key, value] : object.items())
    if (std::find(known.begin(), known.end(), key) == known.end())
      Mistake(place / key, "nothing is known by this name",
              fmt::format("use one of: {}", fmt::join(known, ", ")));
}

void JsonFile::ThrowMistakes() const {
  if (!mistakes_.empty()) throw InputError(fmt::format("{}", fmt::join(mistakes_, "\n")));
}

} // namespace mien
