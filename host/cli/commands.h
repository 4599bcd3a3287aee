#pragma once

#include <CLI/CLI.hpp>

namespace mien {

// Each adds one command, which does its work when the command line has been parsed.
void AddCharacterCommand(CLI::App& app);
void AddInfoCommand(CLI::App& app);
void AddPerformerCommand(CLI::App& app);
void AddSolveCommand(CLI::App& app);

} // namespace mien
