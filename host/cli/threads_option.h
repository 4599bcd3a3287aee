#pragma once

#include "host/cli/command.h"

#include <cstddef>

namespace mien {

/// --threads: how many of them work on one take. By default as many as there are processors that may be used;
/// `threads`, which must outlive the parsing, gets that number at once.
void AddThreads(Command& command, std::size_t& threads);

} // namespace mien
