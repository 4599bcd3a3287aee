#include "host/character/arkit_names.h"

#include "host/base/text.h"

#include <algorithm>
#include <string>
#include <vector>

namespace mien {

namespace {

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLetter(char c) { return IsLower(c) || IsUpper(c); }

/// A name's letters in lower case, without the characters between them.
struct Folded {
  explicit Folded(std::string_view name) {
    for (std::size_t i = 0; i < name.size(); ++i) {
      if (!IsLetter(name[i])) continue;
      letters.push_back(ToLower(name[i]));
      places.push_back(i);
      begins_word.push_back(i == 0 || !IsLetter(name[i - 1]));
    }
  }

  std::string letters;
  std::vector<std::size_t> places; ///< the position of each letter in the name
  std::vector<bool> begins_word;   ///< whether the character before it, if any, is not a letter
};

/// One of the 52 at the end of a name, and the length of its prefix. None of the 52 names ends with another
/// one.
struct NameAtEnd {
  std::size_t name;
  std::size_t prefix;
};

std::optional<NameAtEnd> FindAtEnd(const Folded& folded) {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const std::string_view name : kArkitNames) names.push_back(Folded(name).letters);
    return names;
  }();
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (!folded.letters.ends_with(kNames[i])) continue;
    const std::size_t start = folded.letters.size() - kNames[i].size();
    if (folded.begins_word[start]) return NameAtEnd{i, folded.places[start]};
  }
  return std::nullopt;
}

/// The meaning of a name by its end, and the length of its prefix.
struct MeaningAtEnd {
  ArkitMatch match;
  std::size_t prefix;
};

std::optional<MeaningAtEnd> FindMeaningAtEnd(std::string_view name) {
  using Half = ArkitMatch::Half;
  while (!name.empty() && !IsLetter(name.back())) name.remove_suffix(1);
  if (const auto whole = FindAtEnd(Folded(name)))
    return MeaningAtEnd{{whole->name, Half::Both}, whole->prefix};

  for (const auto& [side, half] : {std::pair("left", Half::Left), std::pair("right", Half::Right)}) {
    Folded folded(name);
    const std::size_t last = name.size() - 1;
    std::size_t written = 0;
    if (folded.letters.ends_with(side))
      written = std::string_view(side).size();
    else if (folded.letters.ends_with(side[0]) &&
             last > 0 && // a separate word, or a capital after a small letter
             (!IsLetter(name[last - 1]) || (IsLower(name[last - 1]) && IsUpper(name[last]))))
      written = 1;
    if (written == 0) continue;
    folded.letters.resize(folded.letters.size() - written);
    if (const auto halved = FindAtEnd(folded);
        halved && (kArkitNames[halved->name] == "browInnerUp" || kArkitNames[halved->name] == "cheekPuff"))
      return MeaningAtEnd{{halved->name, half}, halved->prefix};
    folded.letters += side;
    if (const auto sided = FindAtEnd(folded)) return MeaningAtEnd{{sided->name, Half::Both}, sided->prefix};
  }
  return std::nullopt;
}

} // namespace

std::optional<ArkitMatch> FindArkitName(std::string_view name) {
  constexpr std::size_t kLongest =
      1 << 20; // bytes; matching takes ten times as many, and a file may have any
  if (name.size() > kLongest) return std::nullopt;
  const auto found = FindMeaningAtEnd(name);
  // If the prefix is also one of the 52, the target is a corrective for both, and means neither.
  if (!found || FindMeaningAtEnd(name.substr(0, found->prefix))) return std::nullopt;
  return found->match;
}

} // namespace mien
