#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A table with a row per weight: `frame,time_s,face,name,score`, in any order of rows and columns. A row
/// without a name is a frame without a face.
bool IsLongScoreCsv(const std::vector<std::string_view>& columns);

/// Of several faces, reads `face_id`; without it the first row's. `input_rate` is for a table without times.
/// Throws InputError.
WeightTake ReadLongScoreCsv(std::string_view bytes, const std::string& file,
                            std::optional<std::int64_t> face_id = std::nullopt,
                            const std::optional<FrameRate>& input_rate = std::nullopt);

} // namespace mien
