#pragma once

#include "host/cli/command_description.h"

#include <string>

namespace mien {

/// The name of a command's manual page: "mien-character-save".
std::string ManualPageName(const CommandDescription& command);

/// The page of section 1, for man and groff (its macros "man"): what the help says, and what holds for every
/// command. `root` is mien itself.
std::string ManualPage(const CommandDescription& command, const CommandDescription& root);

} // namespace mien
