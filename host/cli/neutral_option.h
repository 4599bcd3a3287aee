#pragma once

#include "host/performer/performer.h"

#include <CLI/CLI.hpp>

#include <optional>

namespace mien {

/// Adds --neutral FRAME or FROM-TO, which is written into `range`; it must outlive the parsing.
void AddNeutralOption(CLI::App& command, std::optional<FrameRange>& range);

} // namespace mien
