#pragma once

// Writes JSON as text that people read as well: what belongs together stands on one line, anything else on
// lines of its own, indented by two blanks. JsonFile reads JSON.

#include "host/base/point.h"

#include <concepts>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// One value as it stands in JSON, made from what it is to say or by one of the functions below.
class JsonValue {
public:
  JsonValue(std::nullptr_t) : text_("null") {}
  JsonValue(std::same_as<bool> auto value) : text_(value ? "true" : "false") {}
  JsonValue(std::integral auto number) requires(!std::same_as<decltype(number), bool>)
      : text_(std::to_string(number)) {}

  /// The fewest digits that read back to the same double: 2, 0.1, 1e+16. Null where it is not finite.
  JsonValue(double number);

  /// A string. Quotes, backslashes and control characters are escaped, and bytes that are not UTF-8 become
  /// U+FFFD.
  JsonValue(std::string_view text);
  JsonValue(const std::string& text) : JsonValue(std::string_view(text)) {}
  JsonValue(const char* text) : JsonValue(std::string_view(text)) {}

  JsonValue(const Point& point); ///< [x, y, z]

  template <class T>
  JsonValue(const std::optional<T>& value) : JsonValue(value ? JsonValue(*value) : JsonValue(nullptr)) {}

  template <class T>
  JsonValue(const std::vector<T>& values); ///< a JsonList

  /// What is JSON already; not checked.
  static JsonValue Written(std::string text) {
    JsonValue value = nullptr;
    value.text_ = std::move(text);
    return value;
  }

  const std::string& Text() const { return text_; }

private:
  std::string text_;
};

struct JsonMember {
  std::string key;
  JsonValue value;
};

/// A number that always has a decimal point or an exponent: 2.0, 0.1, 1e+15. It reads back to the same
/// double; null where it is not finite.
JsonValue JsonDecimal(double number);

/// [a, b]
JsonValue JsonList(const std::vector<JsonValue>& values);

/// [a,b], as lists stand in the files of performers and characters.
JsonValue JsonTightList(const std::vector<JsonValue>& values);

/// A list with a line for each value.
JsonValue JsonListOnLines(const std::vector<JsonValue>& values);

/// { "a": 1, "b": 2 }. Keys are not checked for being there twice.
JsonValue JsonObject(const std::vector<JsonMember>& members);

/// An object with a line for each member.
JsonValue JsonObjectOnLines(const std::vector<JsonMember>& members);

/// Appends a tight list of numbers, each as JsonValue(number), for files that have many.
void AppendJsonNumbers(std::string& text, std::span<const double> numbers);

template <class T>
JsonValue::JsonValue(const std::vector<T>& values) : JsonValue(JsonList({values.begin(), values.end()})) {}

} // namespace mien
