#pragma once

#include "host/cli/command.h"

#include <string>
#include <vector>

namespace mien {

// Each adds one command, which does its work when the command line has been parsed.
void AddBatchCommand(Command& mien);
void AddCalibrateCommand(Command& mien);
void AddCharacterCommand(Command& mien);
void AddCompareCommand(Command& mien, std::vector<std::string> arguments); ///< for the page
void AddConvertCommand(Command& mien);
void AddHelpCommand(Command& mien);
void AddInfoCommand(Command& mien);
void AddLiveCommand(Command& mien);
void AddPerformerCommand(Command& mien);
// `arguments` are those that were typed, for the report.
void AddRetargetCommand(Command& mien, std::vector<std::string> arguments);
void AddSolveCommand(Command& mien, std::vector<std::string> arguments);
void AddViewCommand(Command& mien, std::vector<std::string> arguments); ///< likewise, for the page

} // namespace mien
