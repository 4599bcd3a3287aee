#pragma once

#include "host/cli/command_description.h"

#include <string>

namespace mien {

/// A script for bash that completes mien's command lines: commands, options, the words and files that options
/// take. It needs nothing but bash 4.4.
std::string BashCompletion(const CommandDescription& root);

} // namespace mien
