#include "host/guess/marker_cloud.h"

#include "host/base/error.h"
#include "host/base/statistics.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace mien {

namespace {

constexpr std::size_t kMostSampledFrames = 100; // a median distance needs no more

/// Median distances between markers, over evenly spread frames in which both are visible.
class Distances {
public:
  Distances(const Take& take, const std::vector<std::size_t>& markers) : count_(markers.size()) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    median_mm_.assign(count_ * count_, kFar);
    const std::size_t frames = std::min(take.FrameCount(), kMostSampledFrames);
    std::vector<double> values;
    for (std::size_t i = 0; i < count_; ++i)
      for (std::size_t j = 0; j < i; ++j) {
        values.clear();
        for (std::size_t s = 0; s < frames; ++s) {
          const std::size_t f = s * take.FrameCount() / frames;
          const Point *const a = take.At(f, markers[i]), *const b = take.At(f, markers[j]);
          if (a && b) values.push_back(std::hypot(a->x - b->x, a->y - b->y, a->z - b->z));
        }
        if (!values.empty()) median_mm_[i * count_ + j] = median_mm_[j * count_ + i] = Median(values);
      }
  }

  /// The largest of two markers that are ever visible together; 0 for none.
  double Largest() const {
    double largest = 0;
    for (const double median : median_mm_)
      if (std::isfinite(median)) largest = std::max(largest, median);
    return largest;
  }

  double Between(std::size_t i, std::size_t j) const { return median_mm_[i * count_ + j]; }

private:
  std::size_t count_;
  std::vector<double> median_mm_; // count x count; infinite where two markers are never visible together
};

std::vector<double> SharesSeen(const Take& take) {
  std::vector<std::size_t> counts(take.MarkerCount(), 0);
  std::size_t frames = 0;
  for (std::size_t f = 0; f < take.FrameCount(); ++f) {
    bool any = false;
    for (std::size_t m = 0; m < take.MarkerCount(); ++m)
      if (take.At(f, m)) ++counts[m], any = true;
    if (any) ++frames;
  }
  if (frames == 0)
    throw InputError(Code::Empty, take.file, "", "no marker is visible in any frame",
                     "export the take again");
  std::vector<double> shares;
  for (const std::size_t count : counts)
    shares.push_back(static_cast<double>(count) / static_cast<double>(frames));
  return shares;
}

} // namespace

MarkerCloud FindMarkerCloud(const Take& take) {
  MarkerCloud cloud;
  cloud.seen = SharesSeen(take);

  constexpr double kOftenEnough =
      0.25; // a third of the frames in gaps is usual, three quarters are fragments
  std::vector<std::size_t> usable;
  for (std::size_t m = 0; m < take.MarkerCount(); ++m)
    if (cloud.seen[m] >= kOftenEnough)
      usable.push_back(m);
    else
      cloud.unused.push_back(
          {take.markers[m], fmt::format("visible in {:.0f} % of the frames", 100 * cloud.seen[m])});
  constexpr std::size_t kMost = 1000;
  if (usable.size() > kMost)
    throw InputError(Code::Limit, take.file, "", fmt::format("{} markers are visible often", usable.size()),
                     fmt::format("a guess takes {} at most; export the face's markers alone", kMost));

  const Distances distances(take, usable);
  constexpr double kNoFace_mm = 40; // an infant's lips alone are as wide
  if (usable.size() > 2 && distances.Largest() < kNoFace_mm)
    throw InputError(
        Code::Unsolvable, take.file, "",
        fmt::format("all markers are within {:.3g} mm; is the take in another unit?", distances.Largest()),
        "export the take again in millimetres");
  constexpr double kSamePlace_mm = 0.5; // markers have a size: two of them cannot be so close
  std::vector<bool> taken(usable.size(), false);
  for (std::size_t i = 0; i < usable.size(); ++i)
    for (std::size_t j = 0; j < i; ++j) {
      if (taken[i] || taken[j] || !(distances.Between(i, j) < kSamePlace_mm)) continue;
      const bool i_is_better = cloud.seen[usable[i]] > cloud.seen[usable[j]];
      const std::size_t kept = i_is_better ? i : j, copy = i_is_better ? j : i;
      taken[copy] = true;
      cloud.unused.push_back({take.markers[usable[copy]],
                              fmt::format("in the same place as {}", Quoted(take.markers[usable[kept]]))});
    }

  constexpr double kNeighbours_mm = 60;
  for (std::size_t first = 0; first < usable.size(); ++first) {
    if (taken[first]) continue;
    taken[first] = true;
    std::vector<std::size_t> group = {first};
    for (std::size_t next = 0; next < group.size(); ++next)
      for (std::size_t j = 0; j < usable.size(); ++j)
        if (!taken[j] && distances.Between(group[next], j) < kNeighbours_mm) {
          taken[j] = true;
          group.push_back(j);
        }
    for (std::size_t& member : group) member = usable[member];
    std::sort(group.begin(), group.end());
    cloud.groups.push_back(std::move(group));
  }
  std::stable_sort(cloud.groups.begin(), cloud.groups.end(),
                   [](const auto& a, const auto& b) { return a.size() > b.size(); });
  return cloud;
}

} // namespace mien
