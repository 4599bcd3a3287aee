#include "host/performer/rest_frames.h"

#include "host/base/face_parts.h"
#include "host/base/parallel.h"
#include "host/base/statistics.h"
#include "host/takes/marker_indices.h"
#include "mien/base/affine.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace mien {

namespace {

using Openings = std::vector<std::optional<double>>;

/// Whether a frame's opening lies between two percentiles of all.
class Usual {
public:
  Usual(const Openings& openings, double low, double high) : openings_(openings) {
    std::vector<double> measured;
    for (const auto& opening : openings)
      if (opening) measured.push_back(*opening);
    if (measured.empty()) return;
    low_ = Percentile(measured, low), high_ = Percentile(measured, high);
  }

  /// True where the opening is never measured: what nobody sees cannot be unusual.
  bool operator()(std::size_t f) const {
    if (!low_) return true;
    return openings_[f] && *openings_[f] >= *low_ && *openings_[f] <= *high_;
  }

private:
  const Openings& openings_;
  std::optional<double> low_, high_;
};

/// Which frames have the eyes and the mouth between these percentiles of the take.
struct Strictness {
  double eyes_low, eyes_high, mouth_high;
};
constexpr Strictness kUsual = {0.3, 0.8, 0.5}, kStricter = {0.55, 0.8, 0.15};

} // namespace

RestFrames::RestFrames(const StabilisedMarkers& markers, const Take& take, const Performer& performer,
                       const VgeTVector& up, std::size_t threads) {
  const auto holder = [&](std::size_t part, std::size_t h) {
    return MarkerIndices(take, performer.holders[part][h]);
  };
  const auto height = [&](std::size_t f, const std::vector<std::size_t>& of) -> std::optional<double> {
    double sum = 0, count = 0;
    for (const std::size_t m : of)
      if (const auto p = markers.At(f, m)) sum += Dot(*p, up), ++count;
    if (count == 0) return std::nullopt;
    return sum / count;
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
  Openings of_eyes(markers.FrameCount()), of_mouth(markers.FrameCount());
  ForRanges(threads, markers.FrameCount(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
    for (std::size_t f = first; f < end; ++f) {
      double sum = 0, count = 0;
      for (const Opening& eye : lids)
        if (const auto measured = opening(f, eye.upper, eye.lower)) sum += *measured, ++count;
      if (count > 0) of_eyes[f] = sum / count;
      of_mouth[f] = opening(f, lips.upper, lips.lower);
    }
  });

  const auto fill = [&](const Strictness& s, std::vector<bool>& both, std::vector<bool>* eyes_alone) {
    const Usual of_eyes_is(of_eyes, s.eyes_low, s.eyes_high), of_mouth_is(of_mouth, 0, s.mouth_high);
    for (std::size_t f = 0; f < markers.FrameCount(); ++f) {
      const bool is_at_ease = of_eyes_is(f);
      both.push_back(is_at_ease && of_mouth_is(f));
      if (eyes_alone) eyes_alone->push_back(is_at_ease);
    }
  };
  fill(kUsual, whole, &eyes);
  fill(kStricter, stricter, nullptr);
}

} // namespace mien
