#pragma once

#include "host/cli/command.h"

#include <cstddef>

namespace mien {

/// --threads: how many threads work on one take. The default is the number of available processors, which
/// `threads` gets at once; it must outlive the parsing.
void AddThreads(Command& command, std::size_t& threads);

} // namespace mien
