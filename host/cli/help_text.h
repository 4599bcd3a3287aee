#pragma once

#include "host/cli/command_description.h"

#include <cstddef>
#include <string>

namespace mien {

/// A command's help, for a terminal of so many columns; example lines may be longer.
std::string HelpText(const CommandDescription& command, std::size_t columns);

/// The help of a command and of all its commands.
std::string HelpTextOfAll(const CommandDescription& command, std::size_t columns);

/// How the command is called: "mien solve TAKE -p NAME|FILE -o OUT [OPTION]...".
std::string UsageOf(const CommandDescription& command);

/// How an option is called: "-o, --output OUT".
std::string CallOf(const OptionDescription& option);

} // namespace mien
