#include "host/gltf/json_at.h"

#include "host/base/parse_json.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace mien {

namespace {

constexpr std::string_view kExportAgain = "export the head again";

/// The JSON pointer from `root` to a value in it; nothing where it is not there. Nested no deeper than
/// kDeepestJson.
std::optional<std::string> PointerTo(const JsonAt::Json& value, const JsonAt::Json& root) {
  if (&value == &root) return "";
  if (!root.is_structured()) return std::nullopt;
  std::size_t index = 0;
  for (auto member = root.begin(); member != root.end(); ++member, ++index)
    if (const auto rest = PointerTo(value, *member)) {
      JsonAt::Json::json_pointer step;
      if (root.is_object())
        step /= member.key();
      else
        step /= index;
      return step.to_string() + *rest;
    }
  return std::nullopt;
}

} // namespace

std::optional<JsonAt> JsonAt::Find(const std::string& key) const {
  RequireObject();
  const auto member = json_->find(key);
  if (member == json_->end()) return std::nullopt;
  return JsonAt(*this, *member);
}

JsonAt JsonAt::At(const std::string& key) const {
  if (const auto member = Find(key)) return *member;
  Fail(Code::Missing, fmt::format("the member {} is missing", Quoted(key)), kExportAgain);
}

JsonAt JsonAt::Element(std::size_t index) const { return JsonAt(*this, (*json_)[index]); }

std::vector<JsonAt> JsonAt::Elements() const {
  if (!json_->is_array()) Fail(Code::InvalidValue, "this is not an array", kExportAgain);
  std::vector<JsonAt> elements;
  elements.reserve(json_->size());
  for (std::size_t i = 0; i < json_->size(); ++i) elements.push_back(Element(i));
  return elements;
}

std::vector<JsonAt> JsonAt::ElementsOf(const std::string& key) const {
  const auto member = Find(key);
  return member ? member->Elements() : std::vector<JsonAt>();
}

std::size_t JsonAt::Index(std::size_t count, std::string_view what) const {
  const bool is_index = json_->is_number_integer() && *json_ >= 0 && json_->get<std::size_t>() < count;
  if (!is_index)
    Fail(Code::InvalidValue, fmt::format("this is not the index of one of the {} {}", count, what),
         kExportAgain);
  return json_->get<std::size_t>();
}

std::string JsonAt::String() const {
  if (!json_->is_string()) Fail(Code::InvalidValue, "this is not a string", kExportAgain);
  return json_->get<std::string>();
}

std::vector<double> JsonAt::Numbers(std::size_t count) const {
  std::vector<double> numbers;
  if (json_->is_array())
    for (const Json& number : *json_)
      if (number.is_number() &&
          std::fabs(number.get<double>()) <= static_cast<double>(std::numeric_limits<float>::max()))
        numbers.push_back(number.get<double>());
  if (!json_->is_array() || numbers.size() != json_->size() || numbers.size() != count)
    Fail(Code::InvalidValue, fmt::format("this is not a list of {}", Count(count, "number")), kExportAgain);
  return numbers;
}

void JsonAt::Fail(Code code, std::string_view what, std::string_view fix) const {
  throw InputError(code, glb_->file, ShownPointer(PointerTo(*json_, glb_->json).value_or("")), what, fix);
}

void JsonAt::RequireObject() const {
  if (!json_->is_object()) Fail(Code::InvalidValue, "this is not an object", kExportAgain);
}

} // namespace mien
