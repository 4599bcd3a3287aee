#include "host/performer/rest_frames.h"

#include "host/base/face_parts.h"
#include "host/base/statistics.h"
#include "host/takes/marker_indices.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

namespace mien {

namespace {

/// The value below which the given fraction of the sorted `values` lies, interpolated between neighbours.
double Percentile(const std::vector<double>& sorted, double fraction) {
  const double at = fraction * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (at - static_cast<double>(below)) * (sorted[above] - sorted[below]);
}

/// Whether each frame's opening lies between two percentiles of all.
class Usual {
public:
  explicit Usual(std::vector<std::optional<double>> openings) : openings_(std::move(openings)) {
    for (const auto& opening : openings_)
      if (opening) sorted_.push_back(*opening);
    std::sort(sorted_.begin(), sorted_.end());
  }

  /// True where the opening is never measured: what nobody sees cannot be unusual.
  bool Between(double low, double high, std::size_t f) const {
    if (sorted_.empty()) return true;
    return openings_[f] && *openings_[f] >= Percentile(sorted_, low) &&
           *openings_[f] <= Percentile(sorted_, high);
  }

private:
  std::vector<std::optional<double>> openings_;
  std::vector<double> sorted_;
};

/// Which frames have the eyes and the mouth between these percentiles of the take.
struct Strictness {
  double eyes_low, eyes_high, mouth_high;
};
constexpr Strictness kUsual = {0.3, 0.8, 0.5}, kStricter = {0.55, 0.8, 0.15};

} // namespace

RestFrames::RestFrames(const StabilisedMarkers& markers, const Take& take, const Performer& performer,
                       const VgeTVector& up) {
  const auto holder = [&](std::size_t part, std::size_t h) {
    return MarkerIndices(take, performer.holders[part][h]);
  };
  const auto height = [&](std::size_t f, const std::vector<std::size_t>& of) -> std::optional<double> {
    std::vector<double> heights;
    for (const std::size_t m : of)
      if (const auto p = markers.At(f, m)) heights.push_back(Dot(*p, up));
    if (heights.empty()) return std::nullopt;
    return Mean(heights);
  };
  // Without markers on the lower lid, the height of the upper one has to do.
  const auto opening = [&](std::size_t f, const auto& upper, const auto& lower) -> std::optional<double> {
    const auto top = height(f, upper), bottom = lower.empty() ? std::optional<double>(0.0) : height(f, lower);
    if (!top || !bottom) return std::nullopt;
    return *top - *bottom;
  };

  struct Opening {
    std::vector<std::size_t> upper, lower;
  };
  const Opening lids[2] = {{holder(kLeftEye, kUpperEyeHolder), holder(kLeftEye, kLowerEyeHolder)},
                           {holder(kRightEye, kUpperEyeHolder), holder(kRightEye, kLowerEyeHolder)}};
  const Opening lips = {holder(kMouth, kUpperMouthHolder), holder(kMouth, kLowerMouthHolder)};
  std::vector<std::optional<double>> openings_of_eyes(markers.FrameCount()),
      openings_of_mouth(markers.FrameCount());
  for (std::size_t f = 0; f < markers.FrameCount(); ++f) {
    std::vector<double> openings;
    for (const Opening& eye : lids)
      if (const auto measured = opening(f, eye.upper, eye.lower)) openings.push_back(*measured);
    if (!openings.empty()) openings_of_eyes[f] = Mean(openings);
    openings_of_mouth[f] = opening(f, lips.upper, lips.lower);
  }

  const Usual eyes_of_take(std::move(openings_of_eyes)), mouth_of_take(std::move(openings_of_mouth));
  const auto eyes_within = [&](const Strictness& s, std::size_t f) {
    return eyes_of_take.Between(s.eyes_low, s.eyes_high, f);
  };
  const auto within = [&](const Strictness& s, std::size_t f) {
    return eyes_within(s, f) && mouth_of_take.Between(0, s.mouth_high, f);
  };
  for (std::size_t f = 0; f < markers.FrameCount(); ++f) {
    eyes.push_back(eyes_within(kUsual, f));
    whole.push_back(within(kUsual, f));
    stricter.push_back(within(kStricter, f));
  }
}

} // namespace mien
