#pragma once

#include "host/takes/frame_rate.h"
#include "host/weights/weight_take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Weights in results of a web-camera face tracker, in recordings of them, and in the messages of phone apps,
/// as JSON: objects with `faceBlendshapes`, `face_blendshapes` or `blendshapes`, in any letter case. Its value
/// is a list of {"categoryName", "score"}, {"category_name", "score"}, {"name", "score"} or {"k", "v"}, a
/// list of faces with such lists, or an object {"jawOpen": 0.5}.
///
/// Beside them may be matrices of the head (`facialTransformationMatrixes`) and angles of head and eyes
/// (`Rotation`, `EyeLeft`, `EyeRight`); see result_pose.h. `"FaceFound": false` is a frame without a face.
///
/// Results are found, and their frames and times read, as those of face landmarks are
/// (host/formats/mesh_json.h). An empty list and null are a frame without a face.
bool IsScoreJson(std::string_view bytes);

/// Of several faces, reads the one at `face` in the list, from 0; without it the first. `input_rate` is for
/// results without times. A file that is cut short loses its last result, with a note. Throws InputError, also for weights that have no names.
WeightTake ReadScoreJson(std::string_view bytes, const std::string& file,
                         std::optional<std::int64_t> face = std::nullopt,
                         const std::optional<FrameRate>& input_rate = std::nullopt);

} // namespace mien
