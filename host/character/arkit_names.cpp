#include "host/character/arkit_names.h"

#include <algorithm>
#include <string>
#include <vector>

namespace mien {

namespace {

bool IsLower(char c) { return c >= 'a' && c <= 'z'; }
bool IsUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool IsLetter(char c) { return IsLower(c) || IsUpper(c); }
char Lower(char c) { return IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

/// A name's letters in lower case, without what stands between them.
struct Folded {
  std::string letters;
  std::vector<bool>
      begins_word; ///< whether anything but a letter, or nothing, stood before it (size: letters)
};

Folded Fold(std::string_view name) {
  Folded folded;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!IsLetter(name[i])) continue;
    folded.letters.push_back(Lower(name[i]));
    folded.begins_word.push_back(i == 0 || !IsLetter(name[i - 1]));
  }
  return folded;
}

/// No name of the 52 ends with another one, so there is one at most.
std::optional<std::size_t> NameAtEndOf(const Folded& folded) {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const std::string_view name : kArkitNames) names.push_back(Fold(name).letters);
    return names;
  }();
  for (std::size_t i = 0; i < kNames.size(); ++i)
    if (folded.letters.ends_with(kNames[i]) && folded.begins_word[folded.letters.size() - kNames[i].size()])
      return i;
  return std::nullopt;
}

} // namespace

std::optional<ArkitMatch> FindArkitName(std::string_view name) {
  using Half = ArkitMatch::Half;
  while (!name.empty() && !IsLetter(name.back())) name.remove_suffix(1);
  if (const auto whole = NameAtEndOf(Fold(name))) return ArkitMatch{*whole, Half::Both};

  for (const auto& [side, half] : {std::pair("left", Half::Left), std::pair("right", Half::Right)}) {
    Folded folded = Fold(name);
    const std::size_t last = name.size() - 1;
    std::size_t written = 0;
    if (folded.letters.ends_with(side))
      written = std::string_view(side).size();
    else if (folded.letters.ends_with(side[0]) &&
             last > 0 && // a word by itself, or a capital behind a small letter
             (!IsLetter(name[last - 1]) || (IsLower(name[last - 1]) && IsUpper(name[last]))))
      written = 1;
    if (written == 0) continue;
    folded.letters.resize(folded.letters.size() - written);
    folded.begins_word.resize(folded.letters.size());
    if (const auto halved = NameAtEndOf(folded);
        halved && (kArkitNames[*halved] == "browInnerUp" || kArkitNames[*halved] == "cheekPuff"))
      return ArkitMatch{*halved, half};
    folded.letters += side;
    folded.begins_word.resize(folded.letters.size());
    if (const auto sided = NameAtEndOf(folded)) return ArkitMatch{*sided, Half::Both};
  }
  return std::nullopt;
}

} // namespace mien
