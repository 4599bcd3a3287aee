#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A JSON file that people write, and what is wrong with it: mistakes are collected, so that the user hears
/// of all of them at once, each by its JSON pointer
/// (a key that an object has twice by its name).
class JsonFile {
public:
  using Json = nlohmann::ordered_json;
  using Pointer = Json::json_pointer;

  /// Parses `text`. Throws InputError, naming line and column, where it is not JSON; a key that an object has
  /// twice is collected as a mistake. `file` is the name for messages.
  JsonFile(std::string_view text, std::string file);

  const Json& Root() const { return root_; }

  void Mistake(const Pointer& place, std::string_view what, std::string_view mend);

  /// Collects a mistake for each key of the object that is not one of `known`.
  void CheckKeys(const Pointer& place, const Json& object, const std::vector<std::string_view>& known);

  /// Throws InputError with every mistake, one a line, if there is any.
  void ThrowMistakes() const;

private:
  std::string file_;
  Json root_;
  std::vector<std::string> mistakes_;
};

} // namespace mien
