#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Whether a table has the shape weights that go with the face mesh and no landmarks: columns such as
/// "jawOpen", or "name" and "score" with a row per shape.
bool IsMeshWeightsCsv(const std::vector<std::string_view>& columns);

/// Throws the InputError for a file that has weights alone, in a table or in results.
[[noreturn]] void FailMeshWeights(const std::string& file);

} // namespace mien
