#include "host/takes/marker_indices.h"

namespace mien {

std::vector<std::size_t> MarkerIndices(const Take& take, const std::vector<std::string>& names) {
  std::vector<std::size_t> indices;
  for (const std::string& name : names) indices.push_back(take.FindMarker(name).value());
  return indices;
}

} // namespace mien
