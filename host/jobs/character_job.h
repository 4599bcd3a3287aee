#pragma once

#include "host/base/error.h"
#include "host/character/character_from_head.h"

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// Writes a first character for a head, from the names of its morph targets.
struct CharacterFromHeadJob {
  std::string head;   ///< a .glb; "-" is standard input
  std::string output; ///< "-" is standard output
  std::string name;   ///< the character's; where empty, the file's name without its ending
};

struct CharacterFromHead {
  HeadMatch match;
  std::size_t morph_targets = 0; ///< of the head
  std::vector<Note> notes;       ///< on its morph targets
};

/// Throws InputError; of Code::Usage where settings do not fit each other.
CharacterFromHead Run(const CharacterFromHeadJob& job);

/// The same without writing it.
CharacterFromHead CharacterOfHead(const CharacterFromHeadJob& settings);

/// Writes a built-in character to a file, or a character file again.
struct SaveCharacterJob {
  std::string character; ///< a file, or a built-in's name; "-" is standard input
  std::string output;    ///< "-" is standard output
  std::string name;      ///< the character's, in the file; unchanged where empty
};
void Run(const SaveCharacterJob& job);

} // namespace mien
