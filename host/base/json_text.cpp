#include "host/base/json_text.h"

#include "host/base/number_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <cmath>

namespace mien {

namespace {

void AppendNumberOrNull(std::string& text, double number) {
  if (std::isfinite(number))
    AppendNumber(text, number);
  else
    text += "null";
}

std::vector<std::string> Texts(const std::vector<JsonValue>& values) {
  std::vector<std::string> texts;
  for (const JsonValue& value : values) texts.push_back(value.Text());
  return texts;
}

std::vector<std::string> Texts(const std::vector<JsonMember>& members) {
  std::vector<std::string> texts;
  for (const auto& [key, value] : members)
    texts.push_back(fmt::format("{}: {}", JsonValue(key).Text(), value.Text()));
  return texts;
}

/// A line for each item. A line feed in an item ends one of its own lines, which go further in with it: in strings line
/// feeds are escaped.
JsonValue OnLines(char opening, const std::vector<std::string>& items, char closing) {
  std::string text(1, opening);
  for (const std::string& item : items) {
    text += text.size() == 1 ? "\n  " : ",\n  ";
    for (const char c : item) {
      text += c;
      if (c == '\n') text += "  ";
    }
  }
  if (!items.empty()) text += '\n';
  return JsonValue::Written(text + closing);
}

} // namespace

JsonValue::JsonValue(double number) { AppendNumberOrNull(text_, number); }

JsonValue::JsonValue(std::string_view text)
    : text_(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)) {}

JsonValue::JsonValue(const Point& point) : JsonValue(JsonList({point.x, point.y, point.z})) {}

JsonValue JsonDecimal(double number) { return JsonValue::Written(nlohmann::json(number).dump()); }

JsonValue JsonList(const std::vector<JsonValue>& values) {
  return JsonValue::Written(fmt::format("[{}]", fmt::join(Texts(values), ", ")));
}

JsonValue JsonTightList(const std::vector<JsonValue>& values) {
  return JsonValue::Written(fmt::format("[{}]", fmt::join(Texts(values), ",")));
}

JsonValue JsonListOnLines(const std::vector<JsonValue>& values) { return OnLines('[', Texts(values), ']'); }

JsonValue JsonObject(const std::vector<JsonMember>& members) {
  return JsonValue::Written(members.empty() ? "{}"
                                            : fmt::format("{{ {} }}", fmt::join(Texts(members), ", ")));
}

JsonValue JsonObjectOnLines(const std::vector<JsonMember>& members) {
  return OnLines('{', Texts(members), '}');
}

void AppendJsonNumbers(std::string& text, std::span<const double> numbers) {
  text += '[';
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i > 0) text += ',';
    AppendNumberOrNull(text, numbers[i]);
  }
  text += ']';
}

} // namespace mien
