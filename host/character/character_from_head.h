#pragma once

#include "host/base/error.h"
#include "host/character/character.h"

#include <string>
#include <vector>

namespace mien {

/// A first character for a head, and how complete it is.
struct HeadMatch {
  Character character;
  std::vector<std::string> unmatched; ///< the head's morph targets that mean none of the 52, in its order
  std::vector<std::string> undriven;  ///< those that mean one of the 52 that arkit52 does not drive
  std::vector<std::string> missing;   ///< those of the 52 that arkit52 drives and no morph target means
  std::vector<Note> notes;
};

/// Makes a character of this name with a head's morph targets as its shapes. Targets that mean one of the 52
/// (host/character/arkit_names.h) are driven as the built-in character arkit52 drives it, each half of
/// browInnerUp and cheekPuff by its own side of the face. Throws InputError if there are more targets than a
/// character can have shapes.
HeadMatch MatchHead(const std::string& name, const std::vector<std::string>& targets);

} // namespace mien
