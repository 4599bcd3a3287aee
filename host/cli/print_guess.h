#pragma once

#include "host/base/json_text.h"
#include "host/guess/guess_performer.h"

#include <string>

namespace mien {

/// What was proposed, for people: the head, the markers of each part, pairs, unused markers, doubts.
std::string ToText(const PerformerGuess& guess);

/// The same for programs, as members of a result: "head", "parts", "pairs", "unused", "doubts".
std::vector<JsonMember> MembersOf(const PerformerGuess& guess);

} // namespace mien
