#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace mien {

// Each adds one command, which does its work when the command line has been parsed.
void AddCharacterCommand(CLI::App& app);
void AddConvertCommand(CLI::App& app);
void AddInfoCommand(CLI::App& app);
void AddPerformerCommand(CLI::App& app);
void AddSolveCommand(CLI::App& app,
                     std::vector<std::string> arguments); ///< as they were typed, for the report

} // namespace mien
