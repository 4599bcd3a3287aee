#pragma once

#include "host/formats/mesh_space.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// A table of web-camera face mesh landmarks, 468 or 478 points, with a row per frame and face. Columns are
/// found by their names (mesh_columns.h) among any others; frames and times are those of csv_frames.h, and
/// `face_id`, `face` or `face_index` numbers the face. Points are planar or interleaved, from 0 or 1.
/// Positions become millimetres (mesh_space.h).
///
/// A point with a cell that is empty or NaN is a gap, as is one at (0, 0, 0).
bool IsMeshCsv(std::string_view bytes);

/// Of several faces, reads the one of `face_id`, or without it the first. `input_rate` is the rate of a table
/// without times. Throws InputError for a number of points that no mesh has.
Take ReadMeshCsv(std::string_view bytes, const std::string& file,
                 std::optional<std::int64_t> face_id = std::nullopt,
                 const std::optional<FrameRate>& input_rate = std::nullopt, const MeshOptions& options = {});

} // namespace mien
