#pragma once

#include "host/base/error.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A JSON file that people write, and what is wrong with it: mistakes are collected, so that the user sees
/// all of them at once, each by its JSON pointer. The 100th is the last: it throws them.
class JsonFile {
public:
  using Json = nlohmann::ordered_json;
  using Pointer = Json::json_pointer;

  /// Parses `text`. Throws InputError, with line and column, where it is not JSON, has a number beyond
  /// doubles, or is nested deeper than kDeepestJson; a key that an object has twice is collected as a
  /// mistake. `file` is the name for messages.
  JsonFile(std::string_view text, std::string file);

  const Json& Root() const { return root_; }

  void Mistake(Code code, const Pointer& place, std::string_view what, std::string_view fix);

  /// Collects a mistake for each key of the object that is not one of `known`.
  void CheckKeys(const Pointer& place, const Json& object, const std::vector<std::string_view>& known);

  /// Whether this is an object; collects a mistake if not.
  bool RequireObject(const Pointer& place, const Json& json);

  /// Answers the root's "name", and collects a mistake unless its "format" is `format`. `what` the file is,
  /// for messages: "performer". Throws where the root is not an object, and where the format is another one
  /// of ours.
  std::string ReadHeading(std::string_view format, std::string_view what);

  /// A list of names, each once. `what` they are, for messages: "marker".
  std::vector<std::string> ReadNames(const Pointer& place, const Json& names, std::string_view what);

  /// Whether this can be a name: 1 to 255 bytes, none of them 0; collects a mistake if not.
  bool CheckName(const Pointer& place, const std::string& name, std::string_view what);

  /// Throws InputError with all mistakes if there are any.
  void ThrowMistakes() const;

private:
  void Collect(Code code, std::string_view place, std::string_view what, std::string_view fix);

  std::string file_;
  Json root_;
  std::vector<Problem> mistakes_;
};

} // namespace mien
