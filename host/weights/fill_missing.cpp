#include "host/weights/fill_missing.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <vector>

namespace mien {
namespace {

// One weight or angle over time, which `value(frame)` refers to.
template <class Value>
void Fill(std::span<const double> times, double fade_s, const Value& value) {
  constexpr double kNever = std::numeric_limits<double>::infinity();
  const std::size_t count = times.size();
  for (std::size_t first = 0; first < count; ++first) {
    if (!std::isnan(value(first))) continue;
    std::size_t end = first;
    while (end < count && std::isnan(value(end))) ++end;
    const bool has_before = first > 0, has_after = end < count;
    const double before = has_before ? value(first - 1) : 0, after = has_after ? value(end) : 0;
    for (std::size_t f = first; f < end; ++f) {
      const double since = has_before ? times[f] - times[first - 1] : kNever;
      const double until = has_after ? times[end] - times[f] : kNever;
      const double faded = std::min(std::min(since, until) / fade_s, 1.0);
      const double on_way = !has_before  ? after
                            : !has_after ? before
                                         : before + (after - before) * (since / (since + until));
      value(f) = on_way * (1 - faded * faded * (3 - 2 * faded));
    }
    first = end;
  }
}

// Lets an angle that goes across half a turn continue beyond it, so that nothing between two frames turns back.
template <class Value>
void Unwrap(std::size_t count, const Value& value) {
  constexpr double kTurn = 2 * std::numbers::pi;
  double last = 0;
  for (std::size_t f = 0; f < count; ++f) {
    if (std::isnan(value(f))) continue;
    if (std::fabs(value(f) - last) > kTurn / 2) value(f) = last + std::remainder(value(f) - last, kTurn);
    last = value(f);
  }
}

} // namespace

std::size_t FillMissing(WeightTake& take, double fade_s) {
  const std::size_t names = take.names.size();
  std::size_t frames = 0;
  for (std::size_t f = 0; f < take.frames.size(); ++f) {
    const auto row = take.weights.subspan(f * names, names);
    if (std::any_of(row.begin(), row.end(), [](double weight) { return std::isnan(weight); })) ++frames;
  }
  for (std::size_t n = 0; n < names && frames > 0; ++n)
    Fill(take.times, fade_s, [&](std::size_t f) -> double& { return take.weights[f * names + n]; });
  for (const auto angle : {&EyeAngles::yaw, &EyeAngles::pitch})
    for (const std::size_t eye : {0U, 1U})
      if (!take.eyes.empty())
        Fill(take.times, fade_s, [&](std::size_t f) -> double& { return take.eyes[f][eye].*angle; });
  for (const auto angle : {&HeadAngles::yaw, &HeadAngles::pitch, &HeadAngles::roll})
    if (!take.heads.empty()) {
      const auto value = [&](std::size_t f) -> double& { return take.heads[f].*angle; };
      if (angle != &HeadAngles::pitch) Unwrap(take.frames.size(), value);
      Fill(take.times, fade_s, value);
    }
  for (const auto axis : {&Point::x, &Point::y, &Point::z})
    if (!take.head_places.empty())
      Fill(take.times, fade_s, [&](std::size_t f) -> double& { return take.head_places[f].*axis; });
  return frames;
}

} // namespace mien
