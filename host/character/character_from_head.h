#pragma once

#include "host/base/error.h"
#include "host/character/character.h"

#include <string>
#include <vector>

namespace mien {

/// A first character for a head, and how far it goes.
struct HeadMatch {
  Character character;
  std::vector<std::string> unmatched; ///< the head's morph targets that mean none of the 52, in its order
  std::vector<std::string> undriven;  ///< those that mean one of the 52 that arkit52 does not drive either
  std::vector<std::string> missing;   ///< of the 52 what arkit52 drives and no morph target means
  std::vector<Note> notes;
};

/// Makes the morph targets of a head the shapes of a character of this name. Those that mean one of the 52
/// (host/character/arkit_names.h) are driven as the built-in character arkit52 drives it; the halves of browInnerUp and
/// cheekPuff each by its own side of the face. Throws InputError for more targets than a character can have shapes.
HeadMatch MatchHead(const std::string& name, const std::vector<std::string>& targets);

} // namespace mien
