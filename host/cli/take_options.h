#pragma once

#include "host/formats/read_take.h"
#include "host/takes/frame_range.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// What a command's help says of TAKE.
inline constexpr char kTakeHelp[] = "The take's file: C3D, TRC, landmark CSV or marker CSV";

/// Adds what every command that reads takes has: --strict and --face. `options` must outlive the parsing.
void AddTakeOptions(CLI::App& command, ReadOptions& options);

/// Reads FRAME or FROM-TO; numbers may be negative. Nothing for anything else, and where TO comes before FROM.
std::optional<FrameRange> ParseFrameRange(std::string_view text);

/// Gives the take's first frame the timecode of --timecode, in place of its own.
void SetTimecode(Take& take, const std::string& text);

} // namespace mien
