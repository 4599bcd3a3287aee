#pragma once

#include "host/formats/mesh_space.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// A table of web-camera face mesh landmarks with a row per landmark: `frame,time_s,face,landmark,x,y,z`, in
/// any order and among any others; z may be missing. Frames and times are those of csv_frames.h; of the two one is enough.
/// `landmark` may be `landmark_id`, `landmark_index` or `point`, from 0 or 1. Rows may be in any order. A row
/// without landmark is a frame whose face was lost.
bool IsLongMeshCsv(const std::vector<std::string_view>& columns);

/// Parameters as in ReadMeshCsv. Throws InputError for other landmarks than those of a mesh, and for a
/// landmark that is in a frame twice.
Take ReadLongMeshCsv(std::string_view bytes, const std::string& file,
                     std::optional<std::int64_t> face_id = std::nullopt,
                     const std::optional<FrameRate>& input_rate = std::nullopt,
                     const MeshOptions& options = {});

} // namespace mien
