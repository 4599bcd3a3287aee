#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A table of a landmark tracker with the intensities of action units, AU01_r to AU45_r, among any other columns.
/// They become shapes of the 52 (action_units.h). Frames in which `success` is 0, or without that column
/// `confidence` below 0.5, are missing.
bool IsActionUnitCsv(const std::vector<std::string_view>& columns);

/// Of several faces, reads `face_id`; without it the first row's. `input_rate` is for a table without times.
/// Throws InputError.
WeightTake ReadActionUnitCsv(std::string_view bytes, const std::string& file,
                             std::optional<std::int64_t> face_id = std::nullopt,
                             const std::optional<FrameRate>& input_rate = std::nullopt);

} // namespace mien
