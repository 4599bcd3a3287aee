#include "host/compare/differences.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace mien {

namespace {

/// Values that belong together, and what their correlation needs.
class Pairs {
public:
  void Clear() { a_.clear(), b_.clear(); }
  void Add(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return;
    a_.push_back(a);
    b_.push_back(b);
  }
  std::size_t Count() const { return a_.size(); }

  std::optional<double> Correlation() const {
    if (IsConstant(a_) || IsConstant(b_)) return std::nullopt;
    const double mean_a = Mean(a_), mean_b = Mean(b_);
    double aa = 0, bb = 0, ab = 0;
    for (std::size_t i = 0; i < a_.size(); ++i) {
      const double a = a_[i] - mean_a, b = b_[i] - mean_b;
      aa += a * a, bb += b * b, ab += a * b;
    }
    if (!(aa * bb > 0)) return std::nullopt; // as small as to underflow
    return std::clamp(ab / std::sqrt(aa * bb), -1.0, 1.0);
  }

private:
  static bool IsConstant(const std::vector<double>& values) {
    return std::all_of(values.begin(), values.end(), [&](double value) { return value == values[0]; });
  }
  static double Mean(const std::vector<double>& values) {
    double sum = 0;
    for (const double value : values) sum += value;
    return sum / static_cast<double>(values.size());
  }

  std::vector<double> a_, b_;
};

/// The correlation of A with B so many frames later, for each lag from -most to most; 0 where there is none,
/// or where too few frames overlap.
std::vector<double> Correlations(const Curve& a, const Curve& b, const LongVector<std::int64_t>& frames,
                                 std::int64_t most, std::size_t fewest) {
  std::vector<double> correlations;
  Pairs pairs;
  for (std::int64_t lag = -most; lag <= most; ++lag) {
    pairs.Clear();
    std::size_t later = 0;
    for (std::size_t f = 0; f < frames.size(); ++f) {
      while (later < frames.size() && frames[later] < frames[f] + lag) ++later;
      if (later == frames.size()) break;
      if (frames[later] == frames[f] + lag) pairs.Add(a.values[f], b.values[later]);
    }
    correlations.push_back(pairs.Count() < fewest ? 0 : pairs.Correlation().value_or(0));
  }
  return correlations;
}

/// The place of the one clear peak; see CurveDifference::lag_frames.
std::optional<double> PeakOf(const std::vector<double>& correlations) {
  constexpr double kLowest = 0.5, kFall = 0.01, kApart = 0.02, kExact = 1e-12;
  const auto peak = std::max_element(correlations.begin(), correlations.end());
  if (peak == correlations.begin() || peak == correlations.end() - 1 || *peak < kLowest) return std::nullopt;
  if (*std::min_element(correlations.begin(), peak) > *peak - kFall ||
      *std::min_element(peak, correlations.end()) > *peak - kFall)
    return std::nullopt;
  for (auto other = correlations.begin(); other != correlations.end(); ++other) {
    const bool is_peak = (other == correlations.begin() || other[-1] <= *other) &&
                         (other == correlations.end() - 1 || other[1] <= *other);
    if (other != peak && is_peak && *other > *peak - kApart) return std::nullopt;
  }
  const auto most = static_cast<std::ptrdiff_t>(correlations.size() / 2); // the lag of the last one
  const auto lag = static_cast<double>(peak - correlations.begin() - most);
  if (*peak > 1 - kExact) return lag;              // the two are copies
  const double before = peak[-1], after = peak[1]; // of the parabola through the three, the top
  return lag + (before - after) / (2 * (before - 2 * *peak + after));
}

/// The distance of two values in a frame; NaN where one is missing.
double Distance(const Curve& a, const Curve& b, std::size_t frame, std::size_t frames) {
  if (a.IsMarker())
    return std::hypot(b.values[frame] - a.values[frame], b.values[frames + frame] - a.values[frames + frame],
                      b.values[2 * frames + frame] - a.values[2 * frames + frame]);
  constexpr double kTurn = 360; // degrees
  const double difference = b.values[frame] - a.values[frame];
  return std::abs(a.unit == "deg" ? std::remainder(difference, kTurn) : difference);
}

} // namespace

CurveDifference Difference(const Curve& a, const Curve& b, const LongVector<std::int64_t>& frames,
                           const FrameRate& rate) {
  CurveDifference difference;
  double squares = 0;
  Pairs pairs;
  for (std::size_t f = 0; f < frames.size(); ++f) {
    const bool has_a = !std::isnan(a.values[f]), has_b = !std::isnan(b.values[f]);
    if (has_a != has_b) ++(has_a ? difference.only_a : difference.only_b);
    if (!has_a || !has_b) continue;
    const double distance = Distance(a, b, f, frames.size());
    if (difference.compared == 0 || distance > difference.largest)
      difference.largest = distance, difference.largest_frame = f;
    ++difference.compared;
    squares += distance * distance;
    if (!a.IsMarker()) pairs.Add(a.values[f], b.values[f]);
  }
  if (difference.compared == 0) return difference;
  difference.rms = std::sqrt(squares / static_cast<double>(difference.compared));
  if (a.IsMarker()) return difference;
  difference.correlation = pairs.Correlation();
  if (!difference.correlation) return difference;

  constexpr double kLongest_s = 0.5, kRounding = 1e-9;
  constexpr std::size_t kFewest = 8; // pairs of values
  const std::size_t fewest = std::max(kFewest, difference.compared / 2);
  if (difference.compared <= fewest) return difference;
  const double most = std::min(std::floor(kLongest_s * rate.Hz() + kRounding),
                               static_cast<double>(difference.compared - fewest));
  difference.lag_frames = PeakOf(Correlations(a, b, frames, std::llround(most), fewest));
  return difference;
}

double Size(const Curve& curve, double difference) {
  return curve.unit == "deg" ? difference * std::numbers::pi / 180 : difference;
}

} // namespace mien
