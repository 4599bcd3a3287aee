#include "host/cli/print_guess.h"

#include "host/base/text.h"
#include "mien/face/face.h"
#include "mien/face/global_face.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstddef>
#include <string_view>

namespace mien {

namespace {

/// Calls `with` for each holder that has markers: the part's name, the holder's, the markers.
template <class With>
void ForEachHolder(const Performer& performer, const With& with) {
  for (std::size_t part = 0; part < performer.holders.size(); ++part)
    for (std::size_t holder = 0; holder < performer.holders[part].size(); ++holder)
      if (!performer.holders[part][holder].empty()) {
        const VFacePart& named = GetGlobalFace()->mParts[part];
        with(named.mName, named.mHolderNames[holder], performer.holders[part][holder]);
      }
}

} // namespace

std::string ToText(const PerformerGuess& guess) {
  std::string text;
  const auto line = [&](std::string_view title, std::string_view what) {
    text += fmt::format("{:<13} {}\n", title, what);
  };
  const auto& head = guess.performer.head;
  line("head", head.empty() ? "none" : fmt::format("{}", fmt::join(head, ", ")));
  std::string last;
  ForEachHolder(guess.performer, [&](const std::string& part, const std::string& holder,
                                     const std::vector<std::string>& markers) {
    line(part == last ? "" : part, fmt::format("{:<18} {}", holder, fmt::join(markers, ", ")));
    last = part;
  });
  std::vector<std::string> pairs;
  for (const auto& [left, right] : guess.pairs) pairs.push_back(fmt::format("{} = {}", left, right));
  line("pairs", pairs.empty() ? "none" : fmt::format("{}", fmt::join(pairs, ", ")));
  if (guess.unused.empty()) line("unused", "none");
  for (const auto& [marker, why] : guess.unused) line("unused", fmt::format("{}: {}", marker, why));
  if (guess.doubts.empty()) line("doubts", "none");
  for (const Note& doubt : guess.doubts) line("doubt", Message(doubt));
  return text;
}

std::vector<JsonMember> MembersOf(const PerformerGuess& guess) {
  std::vector<JsonMember> parts, holders;
  std::string last;
  const auto end_part = [&] {
    if (!holders.empty()) parts.push_back({last, JsonObject(holders)});
    holders.clear();
  };
  ForEachHolder(guess.performer, [&](const std::string& part, const std::string& holder,
                                     const std::vector<std::string>& markers) {
    if (part != last) end_part();
    last = part;
    holders.push_back({holder, markers});
  });
  end_part();
  std::vector<JsonValue> pairs, unused, doubts;
  for (const auto& [left, right] : guess.pairs) pairs.push_back(JsonList({left, right}));
  for (const auto& [marker, why] : guess.unused)
    unused.push_back(JsonObject({{"marker", marker}, {"why", why}}));
  for (const Note& doubt : guess.doubts)
    doubts.push_back(JsonObject({{"markers", doubt.place}, {"what", doubt.what}}));
  return {{"head", guess.performer.head},
          {"parts", JsonObjectOnLines(parts)},
          {"pairs", JsonList(pairs)},
          {"unused", JsonListOnLines(unused)},
          {"doubts", JsonListOnLines(doubts)}};
}

} // namespace mien
