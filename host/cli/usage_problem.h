#pragma once

#include "host/base/error.h"
#include "host/cli/command_description.h"

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace mien {

/// What is wrong with a command line that `app` could not parse: a name that does not exist, with the one
/// that was probably meant, an argument too many, a missing one or a wrong value. `mien` describes `app`.
Problem UsageProblem(const CLI::ParseError& error, const CLI::App& app, const CommandDescription& mien);

/// The command that the arguments choose, as far as they do; mien itself where they choose none.
const CommandDescription& ChosenCommand(const CLI::App& app, const CommandDescription& mien);

/// That a command stands alone that does nothing without one of its own.
Problem MissingCommand(const CommandDescription& command);

/// That a command has no command of this name.
Problem UnknownCommand(const CommandDescription& command, const std::string& name);

} // namespace mien
