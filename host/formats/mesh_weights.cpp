#include "host/formats/mesh_weights.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <algorithm>

namespace mien {

bool IsMeshWeightsCsv(const std::vector<std::string_view>& columns) {
  const auto has = [&](std::string_view name) {
    return std::any_of(columns.begin(), columns.end(),
                       [name](std::string_view column) { return EqualIgnoringCase(column, name); });
  };
  return (has("jawOpen") && has("mouthFunnel")) || (has("score") && (has("name") || has("category_name")));
}

void FailMeshWeights(const std::string& file) {
  throw InputError(
      Code::Unsupported, file, "",
      "the file has shape weights (scores) and no landmarks, which are what is solved",
      "put the weights onto a character with mien retarget, or store the landmarks (faceLandmarks) as "
      "well");
}

} // namespace mien
