#include "host/animation/arkit_columns.h"

#include <algorithm>

namespace mien {

ArkitColumns::ArkitColumns(const std::vector<std::string>& shapes) : known_(shapes.size()) {
  std::array<std::vector<std::size_t>, kArkitNames.size()> halves;
  for (std::size_t s = 0; s < shapes.size(); ++s)
    if (const auto match = FindArkitName(shapes[s])) {
      (match->half == ArkitMatch::Half::Both ? columns_ : halves)[match->name].push_back(s);
      known_[s] = true;
    }
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    const auto exact = std::find_if(columns_[c].begin(), columns_[c].end(),
                                    [&](std::size_t s) { return shapes[s] == kArkitNames[c]; });
    if (exact != columns_[c].end())
      columns_[c] = {*exact};
    else if (!columns_[c].empty())
      columns_[c].resize(1);
    else
      columns_[c] = halves[c];
  }
}

double ArkitColumns::Weight(std::size_t name, std::span<const double> weights) const {
  const std::vector<std::size_t>& shapes = columns_[name];
  double sum = 0;
  for (const std::size_t s : shapes) sum += weights[s];
  return shapes.empty() ? 0 : sum / static_cast<double>(shapes.size());
}

} // namespace mien
