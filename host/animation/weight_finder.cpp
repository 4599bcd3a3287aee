#include "host/animation/weight_finder.h"

#include "host/base/text.h"

namespace mien {

WeightFinder::WeightFinder(std::vector<std::string> names) : names_(std::move(names)) {
  for (std::size_t n = 0; n < names_.size(); ++n) {
    by_name_.emplace(names_[n], n);
    by_lower_case_.emplace(ToLower(names_[n]), n);
    if (const auto meaning = FindArkitName(names_[n]))
      by_meaning_.emplace(std::pair(meaning->name, meaning->half), n);
  }
}

std::optional<std::size_t> WeightFinder::Named(const std::string& name) const {
  const auto found = by_name_.find(name);
  return found != by_name_.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::size_t> WeightFinder::NamedInAnyCase(std::string_view name) const {
  const auto found = by_lower_case_.find(ToLower(name));
  return found != by_lower_case_.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::size_t> WeightFinder::Meaning(const ArkitMatch& meaning) const {
  for (const ArkitMatch::Half half : {meaning.half, ArkitMatch::Half::Both})
    if (const auto found = by_meaning_.find({meaning.name, half}); found != by_meaning_.end())
      return found->second;
  return std::nullopt;
}

} // namespace mien
