#include "host/base/nearest_name.h"

#include "host/base/text.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace mien {

namespace {

double EditDistance(std::string_view a, std::string_view b) {
  std::vector<double> row(b.size() + 1); // from the letters of `a` so far to the first letters of `b`
  std::iota(row.begin(), row.end(), 0.0);
  for (const char in_a : a) {
    double diagonal = row[0];
    row[0] += 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const double change = in_a == b[j] ? 0 : ToLower(in_a) == ToLower(b[j]) ? 0.1 : 1;
      const double best = std::min({diagonal + change, row[j] + 1, row[j + 1] + 1});
      diagonal = row[j + 1];
      row[j + 1] = best;
    }
  }
  return row.back();
}

} // namespace

std::optional<std::string> NearestName(std::string_view name, const std::vector<std::string>& names) {
  double least = static_cast<double>(name.size()) / 2;
  const std::string* nearest = nullptr;
  for (const std::string& candidate : names) {
    const double distance = EditDistance(name, candidate);
    if (distance > least || (distance == least && nearest)) continue;
    least = distance;
    nearest = &candidate;
  }
  return nearest ? std::optional(*nearest) : std::nullopt;
}

} // namespace mien
