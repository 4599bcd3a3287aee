#include "host/solve/solve_report.h"

namespace mien {

std::vector<std::string> SolveReport::RestingParts() const {
  std::vector<std::string> names;
  for (const Part& part : parts)
    if (part.markers == 0) names.push_back(part.name);
  return names;
}

} // namespace mien
