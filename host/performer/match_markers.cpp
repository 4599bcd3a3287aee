#include "host/performer/match_markers.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "mien/face/face.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <numeric>

namespace mien {

namespace {

/// How many letters to change, add or drop to make one name of the other, the case of letters counting a tenth.
double EditDistance(const std::string& a, const std::string& b) {
  std::vector<double> row(b.size() + 1);
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

std::string Fix(const std::string& name, const Take& take) {
  double nearest = static_cast<double>(name.size()) / 2; // what is further away is another name
  const std::string* meant = nullptr;
  for (const std::string& marker : take.markers) {
    const double distance = EditDistance(name, marker);
    if (distance > nearest || (distance == nearest && meant)) continue;
    nearest = distance;
    meant = &marker;
  }
  if (meant) return fmt::format("did you mean {}?", Quoted(*meant));
  return "`mien info` lists the markers that it has";
}

} // namespace

void CheckMarkers(const Performer& performer, const Take& take) {
  // A performer for another marker set lacks nearly all: the first few tell that as well.
  constexpr std::size_t kMostShown = 5;
  std::vector<Problem> mistakes;
  std::size_t more = 0;
  const auto check = [&](const std::string& place, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (take.FindMarker(names[i])) continue;
      if (mistakes.size() == kMostShown) {
        ++more;
        continue;
      }
      mistakes.push_back({Code::Missing, performer.file, fmt::format("{}/{}", place, i),
                          fmt::format("the take {} has no marker {}", Quoted(take.name), Quoted(names[i])),
                          Fix(names[i], take)});
    }
  };
  check("/head", performer.head);
  for (std::size_t p = 0; p < performer.holders.size(); ++p)
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h) {
      const VFacePart& part = GetGlobalFace()->mParts[p];
      check(fmt::format("/parts/{}/{}", part.mName, part.mHolderNames[h]), performer.holders[p][h]);
    }

  if (more > 0)
    mistakes.push_back({Code::Missing, performer.file, "",
                        fmt::format("{} more of its markers are missing", more),
                        "is this performer meant for this take?"});
  if (!mistakes.empty()) throw InputError(std::move(mistakes));
}

} // namespace mien
