#pragma once

#include <optional>
#include <string_view>

namespace mien {

/// Millimetres of a unit of length as people and programs write it: symbols, British and American spelling,
/// singular and plural, any letter case, with blanks, dots and brackets around it. Programs cut words: the
/// beginning of one counts as the word where all units that begin so have one length, as "mete" and "centim".
/// Nothing for a beginning of several ("mi"), and for what is not a unit known here.
std::optional<double> MillimetresOf(std::string_view unit);

} // namespace mien
