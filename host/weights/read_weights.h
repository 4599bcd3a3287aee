#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

struct WeightReadOptions {
  bool strict = false;                   ///< throw for everything that would be a note
  std::optional<std::int64_t> face = {}; ///< of several faces in a file, the one to read; the first without
  std::optional<FrameRate> input_rate = {}; ///< for a file without times
};

/// Reads a recording of weights. The content decides the layout, not the file's ending. Throws InputError when
/// the file has no weights, or breaks the rules of its layout; for one that has points instead, the message
/// names the command that solves them. `name` is the file's name as messages show it.
WeightTake ReadWeights(std::string_view bytes, const std::string& name,
                       const WeightReadOptions& options = {});

/// Whether a file is of a layout that ReadWeights reads, and has weights of known names in it.
bool HasKnownWeights(std::string_view bytes);

/// The layout that ReadWeights would read these bytes as; nothing for none.
std::optional<std::string_view> WeightLayoutNameOf(std::string_view bytes);

} // namespace mien
