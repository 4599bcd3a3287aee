#include "host/base/json_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

namespace mien {

std::string JsonMember(const std::string& key, std::string_view value) {
  return fmt::format("{}: {}", nlohmann::json(key).dump(), value);
}

std::string JsonLines(const std::vector<std::string>& members, std::string_view indent) {
  if (members.empty()) return "{}";
  return fmt::format("{{\n{0}  {1}\n{0}}}", indent, fmt::join(members, fmt::format(",\n{}  ", indent)));
}

std::string JsonLine(const std::vector<std::string>& members) {
  return members.empty() ? "{}" : fmt::format("{{ {} }}", fmt::join(members, ", "));
}

} // namespace mien
