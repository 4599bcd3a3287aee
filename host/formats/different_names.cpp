#include "host/formats/different_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace mien {

std::vector<RenamedMarker> MakeNamesDifferent(std::vector<std::string>& names,
                                              const std::vector<bool>& made_up) {
  std::vector<std::size_t> order(names.size()); // by name; of equal names, the one that keeps it first
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    const int compared = names[a].compare(names[b]);
    return compared != 0 ? compared < 0 : std::pair(made_up[a], a) < std::pair(made_up[b], b);
  });
  const auto is_taken = [&](const std::string& name) {
    const auto found = std::lower_bound(order.begin(), order.end(), name,
                                        [&](std::size_t i, const std::string& n) { return names[i] < n; });
    return found != order.end() && names[*found] == name;
  };

  // With the new names until all are found, since the search needs the old ones in place.
  std::vector<RenamedMarker> renamed;
  for (std::size_t i = 1, copy = 1; i < order.size(); ++i) {
    const std::string& name = names[order[i]];
    if (name != names[order[i - 1]]) {
      copy = 1;
      continue;
    }
    std::string other;
    do other = fmt::format("{} ({})", name, ++copy);
    while (is_taken(other));
    renamed.push_back({order[i], std::move(other)});
  }
  for (auto& [index, name] : renamed) std::swap(names[index], name);
  std::sort(renamed.begin(), renamed.end(),
            [](const RenamedMarker& a, const RenamedMarker& b) { return a.index < b.index; });
  return renamed;
}

} // namespace mien
