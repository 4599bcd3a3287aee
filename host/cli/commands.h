#pragma once

#include "host/cli/command.h"

#include <string>
#include <vector>

namespace mien {

// Each adds one command, which does its work when the command line has been parsed.
void AddCharacterCommand(Command& app);
void AddConvertCommand(Command& app);
void AddInfoCommand(Command& app);
void AddPerformerCommand(Command& app);
void AddSolveCommand(Command& app,
                     std::vector<std::string> arguments); ///< as they were typed, for the report

} // namespace mien
