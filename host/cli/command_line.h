#pragma once

#include "host/cli/command_description.h"

namespace mien {

/// The `mien` command. Returns its exit code (output.h).
int RunCommandLine(int argc, const char* const* argv);

/// What the command and its commands are called, take and do.
CommandDescription DescribeCommandLine();

} // namespace mien
