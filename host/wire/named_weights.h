#pragma once

#include "host/character/arkit_names.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace mien {

/// The meanings of the names that a source uses for weights. Finding one is slow, so those that have occurred
/// are remembered, up to a limit.
class NamedWeights {
public:
  /// The index in kArkitNames. Nothing for other names, for halves of one of the 52, and beyond the limit.
  std::optional<std::size_t> Find(std::string_view name) {
    text_ = name;
    auto known = known_.find(text_);
    if (known == known_.end()) {
      if (known_.size() == kMostNames || name.size() > kLongestName) return std::nullopt;
      const auto match = FindArkitName(name);
      const bool is_whole = match && match->half == ArkitMatch::Half::Both;
      known = known_.emplace(text_, is_whole ? std::optional(match->name) : std::nullopt).first;
    }
    return known->second;
  }

  /// kArkitNames, as LiveSource has them.
  static const std::vector<std::string>& Names() {
    static const std::vector<std::string> names(kArkitNames.begin(), kArkitNames.end());
    return names;
  }

private:
  static constexpr std::size_t kMostNames = 1024, kLongestName = 256; // avatars have some dozens

  std::unordered_map<std::string, std::optional<std::size_t>> known_;
  std::string text_;
};

} // namespace mien
