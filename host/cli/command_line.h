#pragma once

namespace mien {

/// The `mien` command. Answers its exit code: 0 done, 1 an input is at fault, 2 the command line is.
int RunCommandLine(int argc, const char* const* argv);

} // namespace mien
