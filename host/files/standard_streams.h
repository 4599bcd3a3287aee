#pragma once

// Standard input and output as files that a command reads and writes: by the name "-", or by one that the
// system has for them, such as /dev/stdin.

#include <filesystem>
#include <string>

namespace mien {

bool IsStandardInput(const std::filesystem::path& path);
bool IsStandardOutput(const std::filesystem::path& path);

/// What messages call an input: "standard input" for "-", any other by its path.
std::string InputName(const std::filesystem::path& path);

/// Opens the standard streams that are closed, so that no other file gets the descriptor of one and is filled
/// with messages. Reading and writing what is opened in their place fails.
void OccupyClosedStandardStreams();

} // namespace mien
