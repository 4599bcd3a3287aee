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

/// For a command that needs one of its own commands after it.
Problem MissingCommand(const CommandDescription& command);

/// For a name that is not a command of `command`.
Problem UnknownCommand(const CommandDescription& command, const std::string& name);

} // namespace mien
