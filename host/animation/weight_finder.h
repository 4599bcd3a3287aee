#pragma once

#include "host/character/arkit_names.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// Finds the weights of an animation that drive a head, by the names of what they drive.
class WeightFinder {
public:
  explicit WeightFinder(std::vector<std::string> names);

  /// The names of all weights, in the animation's order.
  const std::vector<std::string>& All() const { return names_; }

  /// The weight of this name. Of equal ones the first; so for the functions below.
  std::optional<std::size_t> Named(const std::string& name) const;

  /// The weight of this name in any letter case.
  std::optional<std::size_t> NamedInAnyCase(std::string_view name) const;

  /// A weight with this meaning; one of both halves stands for each of them.
  std::optional<std::size_t> Meaning(const ArkitMatch& meaning) const;

private:
  std::vector<std::string> names_;
  std::map<std::string, std::size_t> by_name_, by_lower_case_;
  std::map<std::pair<std::size_t, ArkitMatch::Half>, std::size_t> by_meaning_;
};

} // namespace mien
