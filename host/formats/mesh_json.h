#pragma once

#include "host/formats/mesh_space.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Results of a web-camera face tracker as JSON: objects with `faceLandmarks` (or `face_landmarks`,
/// `multiFaceLandmarks`, `multi_face_landmarks`), a list of faces, each a list of points {"x", "y", "z"} or
/// [x, y, z]. The file is one result, an array of results, an object that has such an array, or one result
/// after the other, as in JSON lines. A result may be a member of an object that has the frame's number and
/// time.
///
/// Numbers and times are recognised by their keys as in csv_frames.h; `timestamp` and `time` without a unit
/// are milliseconds if they rise by more than 5 a frame. An empty list, an empty face and null are gaps, as is
/// a point with null or NaN. Weights and matrices are read past.
bool IsMeshJson(std::string_view bytes);

/// Whether such results have points, rather than weights alone.
bool HasFacePoints(std::string_view bytes);

/// Of several faces, reads the one at `face` in the list, from 0; without it the first. `input_rate` is for
/// results without times. A file that is cut short loses its last result, with a note. Besides the take,
/// it needs memory for one face. Throws InputError for other numbers of points, and for results that have
/// weights alone.
Take ReadMeshJson(std::string_view bytes, const std::string& file,
                  std::optional<std::int64_t> face = std::nullopt,
                  const std::optional<FrameRate>& input_rate = std::nullopt, const MeshOptions& options = {});

} // namespace mien
