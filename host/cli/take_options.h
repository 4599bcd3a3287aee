#pragma once

#include "host/cli/command.h"
#include "host/formats/mesh_space.h"
#include "host/formats/read_take.h"
#include "host/takes/frame_range.h"

#include <cstdint>
#include <optional>

namespace mien {

/// What a command's help says of TAKE.
inline constexpr char kTakeHelp[] = "The take's file: C3D, TRC, landmarks as CSV, or marker CSV";

// Options of every command that reads takes. What they are read into must outlive the parsing.

/// --strict, --face, --input-rate, and those of 478 landmarks: --image, --face-width, --mirrored.
void AddTakeOptions(Command& command, ReadOptions& options);

/// --strict, --face and --input-rate alone.
void AddReadingOptions(Command& command, bool& strict, std::optional<std::int64_t>& face,
                       std::optional<FrameRate>& input_rate);

/// --image, --face-width and --mirrored, of 478 landmarks.
void AddMeshOptions(Command& command, MeshOptions& options);

/// An option that takes a rate in hertz.
void AddRate(Command& command, const Command::Option& option, std::optional<FrameRate>& rate);

/// --neutral FRAME or FROM-TO.
void AddNeutralOption(Command& command, std::optional<FrameRange>& range);

/// An option that takes FRAME or FROM-TO.
void AddFrameRange(Command& command, const Command::Option& option, std::optional<FrameRange>& range);

} // namespace mien
