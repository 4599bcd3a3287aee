#pragma once

#include "host/character/arkit_names.h"

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// Which of a character's shapes are the 52 of kArkitNames: of several spellings of one the name itself,
/// otherwise the first; where there is none, its two halves.
class ArkitColumns {
public:
  explicit ArkitColumns(const std::vector<std::string>& shapes);

  bool Has(std::size_t name) const { return !columns_[name].empty(); }

  /// The weight of a name, of halves their mean, 0 where the character lacks it. (size of `weights`: shapes)
  double Weight(std::size_t name, std::span<const double> weights) const;

  /// Whether a shape is one of the 52, or a half.
  bool Means(std::size_t shape) const { return known_[shape]; }

private:
  std::array<std::vector<std::size_t>, kArkitNames.size()> columns_;
  std::vector<bool> known_; // (size: shapes)
};

} // namespace mien
