#pragma once

#include "host/cli/command.h"

#include <string>
#include <vector>

namespace mien {

// Each adds one command, which does its work when the command line has been parsed.
void AddCalibrateCommand(Command& mien);
void AddCharacterCommand(Command& mien);
void AddCompareCommand(Command& mien);
void AddConvertCommand(Command& mien);
void AddHelpCommand(Command& mien);
void AddInfoCommand(Command& mien);
void AddPerformerCommand(Command& mien);
void AddRetargetCommand(Command& mien);
void AddSolveCommand(Command& mien,
                     std::vector<std::string> arguments); ///< as they were typed, for the report

} // namespace mien
