#include "host/weights/weight_names.h"

#include "host/base/text.h"
#include "host/character/arkit_names.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien {
namespace {

// The usual spelling of what a name means; nothing for other names.
std::optional<std::string> UsualSpelling(std::string_view written) {
  using Half = ArkitMatch::Half;
  const std::optional<ArkitMatch> match = FindArkitName(written);
  if (!match) return std::nullopt;
  const std::string name(kArkitNames[match->name]);
  return name + (match->half == Half::Left ? "Left" : match->half == Half::Right ? "Right" : "");
}

bool Has(const std::vector<std::string>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

std::string UsualName(std::string_view written) {
  return UsualSpelling(written).value_or(std::string(written));
}

std::optional<std::size_t> WeightNames::Add(std::string_view written) {
  if (EqualIgnoringCase(written, "_neutral")) return std::nullopt;
  const std::optional<std::string> usual = UsualSpelling(written);
  if (!usual) {
    unknown_names_.emplace_back(written);
    if (unknown_ == Unknown::LeaveOut) return std::nullopt;
  }
  const std::string name = usual.value_or(std::string(written));
  if (Has(names_, name)) {
    repeated_.emplace_back(written);
    return std::nullopt;
  }
  if (usual) ++known_;
  names_.push_back(name);
  return names_.size() - 1;
}

void WeightNames::AppendTo(std::vector<Note>& notes) const {
  if (known_ == 0) return;
  if (!unknown_names_.empty())
    notes.push_back(
        {Code::Unmatched, "",
         fmt::format("none of the 52, and {}: {}", unknown_ == Unknown::LeaveOut ? "ignored" : "kept by name",
                     SomeQuoted(unknown_names_))});
  if (!repeated_.empty())
    notes.push_back({Code::Duplicate, "",
                     fmt::format("these mean the same as a name before them and are ignored: {}",
                                 SomeQuoted(repeated_))});
  std::vector<std::string> missing;
  for (const std::string_view name : kArkitNames)
    if (!Has(names_, name) && !Has(names_, fmt::format("{}Left", name))) missing.emplace_back(name);
  if (!missing.empty())
    notes.push_back({Code::Missing, "",
                     fmt::format("{} of the 52 shapes; missing: {}", kArkitNames.size() - missing.size(),
                                 Some(missing))});
}

void FailUnnamed(const std::string& file, std::size_t count) {
  throw InputError(
      Code::Unsupported, file, "",
      fmt::format("the file has {} a frame without names, and programs store the 52 in different "
                  "orders: the place does not say which is which",
                  Count(count, "weight")),
      "store the names as well: columns such as jawOpen in CSV, {\"jawOpen\": 0.5} or "
      "{\"categoryName\": \"jawOpen\", \"score\": 0.5} in JSON");
}

} // namespace mien
