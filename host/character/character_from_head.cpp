#include "host/character/character_from_head.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/character/character_file.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

using Half = ArkitMatch::Half;

/// The side of a part of the face; Both for a part in the middle.
Half SideOfPart(std::size_t part) {
  const std::string_view name = GetGlobalFace()->mParts[part].mName;
  return name.starts_with("Left") ? Half::Left : name.starts_with("Right") ? Half::Right : Half::Both;
}

/// The factor for a morph target on the weight that a part's template gives to the name that it means. The
/// templates of the two sides add up to a whole name, so a half gets the full sum from its own side.
double Share(Half target, Half part) {
  if (target == Half::Both || part == Half::Both) return 1;
  return target == part ? 2 : 0;
}

/// The morph targets that mean one of the 52, each with its meaning.
using Meanings = std::vector<std::pair<std::string, ArkitMatch>>;

/// Makes a shape of each target, in parts of the largest possible size.
Meanings AddShapes(HeadMatch& match, const std::vector<std::string>& targets) {
  constexpr std::size_t kMost = Character::kMostParts * Character::kMostShapesInAPart;
  Meanings meanings;
  std::set<std::string_view> known;
  std::size_t unnamed = 0;
  for (const std::string& target : targets) {
    if (target.empty() || target.find('\0') != std::string::npos) {
      ++unnamed;
      continue;
    }
    if (!known.insert(target).second) continue;
    if (target.size() > Character::kLongestName) {
      match.notes.push_back(
          {Code::Limit, "",
           fmt::format("the morph target {} is left out: its name has {} bytes, the limit is {}",
                       Quoted(target), target.size(), Character::kLongestName)});
      continue;
    }
    auto& parts = match.character.parts;
    if (parts.empty() || parts.back().shapes.size() == Character::kMostShapesInAPart) {
      if (parts.size() == Character::kMostParts)
        throw InputError(Code::Limit, match.character.name, "",
                         fmt::format("the head has more than {} morph targets", kMost),
                         "export fewer of its shape keys");
      Character::Part& part = parts.emplace_back();
      part.name = parts.size() == 1 ? "head" : fmt::format("head {}", parts.size());
    }
    parts.back().shapes.push_back(target);
    if (const auto meaning = FindArkitName(target))
      meanings.emplace_back(target, *meaning);
    else
      match.unmatched.push_back(target);
  }
  if (unnamed > 0)
    match.notes.push_back(
        {Code::Ignored, "",
         fmt::format("{} left out: {} no name",
                     unnamed == 1 ? "a morph target is" : fmt::format("{} morph targets are", unnamed),
                     unnamed == 1 ? "it has" : "they have")});
  return meanings;
}

/// Makes the templates drive the targets as they drive the shapes of arkit52.
void DriveAsArkit(HeadMatch& match, const Meanings& meanings, const Character& arkit) {
  match.character.range = arkit.range;
  std::set<std::string_view> driven;
  for (std::size_t p = 0; p < arkit.templates.size(); ++p) {
    match.character.templates[p].resize(arkit.templates[p].size());
    for (std::size_t t = 0; t < arkit.templates[p].size(); ++t)
      for (const auto& [shape, weight] : arkit.templates[p][t]) {
        driven.insert(shape);
        for (const auto& [target, meaning] : meanings)
          if (const double share = Share(meaning.half, SideOfPart(p));
              kArkitNames[meaning.name] == shape && share != 0)
            match.character.templates[p][t].emplace_back(target, share * weight);
      }
  }
  for (const auto& [target, meaning] : meanings)
    if (!driven.contains(kArkitNames[meaning.name])) match.undriven.push_back(target);
  for (const auto& [target, meaning] : meanings) driven.erase(kArkitNames[meaning.name]);
  for (const std::string_view shape : kArkitNames)
    if (driven.contains(shape)) match.missing.emplace_back(shape);
}

/// Targets of the same meaning are normal on different meshes.
void NoteEqualMeanings(HeadMatch& match, const Meanings& meanings) {
  for (std::size_t n = 0; n < kArkitNames.size(); ++n)
    for (const Half half : {Half::Both, Half::Left, Half::Right}) {
      std::vector<std::string> same;
      for (const auto& [target, meaning] : meanings)
        if (meaning == ArkitMatch{n, half}) same.push_back(target);
      if (same.size() > 1)
        match.notes.push_back(
            {Code::Duplicate, "",
             fmt::format("{} mean the same: if they are on one mesh, remove all but one from \"templates\"",
                         SomeQuoted(same))});
    }
}

} // namespace

HeadMatch MatchHead(const std::string& name, const std::vector<std::string>& targets) {
  HeadMatch match;
  match.character.name = name;
  match.character.file = name;
  const Meanings meanings = AddShapes(match, targets);
  DriveAsArkit(match, meanings, LoadCharacter("arkit52"));
  NoteEqualMeanings(match, meanings);
  return match;
}

} // namespace mien
