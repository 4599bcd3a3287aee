#include "host/calibrate/blinks.h"

#include "host/base/statistics.h"
#include "host/base/text.h"
#include "host/takes/frame_span.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

namespace mien {

namespace {

constexpr double kClosing_s = 0.25, kOpening_s = 0.4, kMargin_s = 0.1;
constexpr int kFewestBlinks = 4;

/// The weights of both lids in a take, and their mean over those that are measured.
struct Lids {
  std::array<std::vector<double>, 2> eyes;
  std::vector<double> mean;
  double hz = 0;

  std::size_t Frames(double seconds) const {
    return std::max<std::size_t>(1, static_cast<std::size_t>(std::lround(seconds * hz)));
  }
};

Lids LidsOf(const Animation& take, const std::array<bool, 2>& has, WeightKind kind) {
  Lids lids;
  lids.hz = take.layout.rate.Hz();
  lids.mean.assign(take.frames.size(), 0);
  const int count = (has[0] ? 1 : 0) + (has[1] ? 1 : 0);
  const std::vector<std::string> names = take.layout.WeightNames(kind);
  for (std::size_t e = 0; e < 2; ++e) {
    lids.eyes[e].assign(take.frames.size(), 0);
    if (!has[e]) continue;
    const auto column =
        static_cast<std::size_t>(std::find(names.begin(), names.end(), LidNames(kind)[e]) - names.begin());
    for (std::size_t f = 0; f < take.frames.size(); ++f) {
      lids.eyes[e][f] = take.WeightOf(kind, f, column);
      lids.mean[f] += lids.eyes[e][f] / count;
    }
  }
  return lids;
}

/// How far a curve rises to a frame and falls again, within the span: the smaller of the two.
double StrengthAt(const std::vector<double>& curve, std::size_t first, std::size_t frame, std::size_t end) {
  const auto at = [&](std::size_t f) { return curve.begin() + static_cast<std::ptrdiff_t>(f); };
  return curve[frame] -
         std::max(*std::min_element(at(first), at(frame)), *std::min_element(at(frame) + 1, at(end)));
}

/// The motions of the lids that are as quick as a blink, of any strength.
void AddQuickMotions(const Lids& lids, const std::array<bool, 2>& has, std::size_t take,
                     const FrameSpan& span, std::vector<Blink>& motions) {
  constexpr double kLeast = 0.05; // of a template: half a millimetre on an average face
  const std::size_t closing = lids.Frames(kClosing_s), opening = lids.Frames(kOpening_s),
                    margin = lids.Frames(kMargin_s);
  for (std::size_t f = span.first + 1; f + 1 < span.end; ++f) {
    const std::size_t first = f - std::min(closing, f - span.first),
                      end = std::min(f + opening + 1, span.end);
    const auto at = [&](std::size_t i) { return lids.mean.begin() + static_cast<std::ptrdiff_t>(i); };
    if (!(lids.mean[f] >= *std::max_element(at(first), at(f)) &&
          lids.mean[f] > *std::max_element(at(f) + 1, at(end))))
      continue;
    Blink blink{.take = take, .frame = f, .strength = StrengthAt(lids.mean, first, f, end)};
    if (blink.strength < kLeast) continue;
    if (has[0] && has[1]) {
      const auto [less, more] =
          std::minmax({StrengthAt(lids.eyes[0], first, f, end), StrengthAt(lids.eyes[1], first, f, end)});
      if (less < more / 2) continue; // a wink
    }
    const std::size_t from = f - std::min(margin, f - span.first), to = std::min(f + margin + 1, span.end);
    for (std::size_t e = 0; e < 2; ++e)
      blink.peaks[e] = *std::max_element(lids.eyes[e].begin() + static_cast<std::ptrdiff_t>(from),
                                         lids.eyes[e].begin() + static_cast<std::ptrdiff_t>(to));
    motions.push_back(blink);
  }
}

/// Half of what a usual blink has. Noise makes any number of motions, but weak ones: a usual blink is the
/// median of those with half of the fourth strongest, so that three artefacts do not decide it either.
double LeastStrength(const std::vector<Blink>& motions) {
  std::vector<double> strengths;
  for (const Blink& motion : motions) strengths.push_back(motion.strength);
  std::sort(strengths.rbegin(), strengths.rend());
  const double least = strengths[std::min<std::size_t>(kFewestBlinks, strengths.size()) - 1] / 2;
  std::erase_if(strengths, [&](double strength) { return strength < least; });
  return Median(strengths) / 2;
}

/// Whether each frame of a take is none of a blink's.
std::vector<bool> QuietFrames(const Lids& lids, std::size_t take, const std::vector<Blink>& blinks) {
  const std::size_t frames = lids.mean.size(), margin = lids.Frames(kMargin_s);
  std::vector<bool> quiet(frames, true);
  std::vector<double> means = lids.mean;
  const double usual = Median(means);
  for (const Blink& blink : blinks) {
    if (blink.take != take) continue;
    const double half = usual + (lids.mean[blink.frame] - usual) / 2;
    std::size_t first = blink.frame, end = blink.frame + 1;
    while (first > 0 && lids.mean[first - 1] > half) --first;
    while (end < frames && lids.mean[end] > half) ++end;
    first -= std::min(first, margin);
    end = std::min(end + margin, frames);
    for (std::size_t f = first; f < end; ++f) quiet[f] = false;
  }
  return quiet;
}

/// How far the curve is from its median over half a second around each frame, in the chosen frames.
void AddUnrest(const Lids& lids, const std::vector<double>& curve, const std::vector<bool>& chosen,
               std::vector<double>& unrest) {
  const std::size_t half = lids.Frames(0.25);
  std::vector<double> around;
  for (std::size_t f = 0; f < curve.size(); ++f) {
    if (!chosen[f]) continue;
    const std::size_t first = f - std::min(half, f), end = std::min(f + half + 1, curve.size());
    around.assign(curve.begin() + static_cast<std::ptrdiff_t>(first),
                  curve.begin() + static_cast<std::ptrdiff_t>(end));
    unrest.push_back(std::fabs(curve[f] - Median(around)));
  }
}

/// The standard error of the median of values that scatter as a normal distribution does, from their median
/// deviation, which a few artefacts do not change.
double MedianError(std::vector<double> values) {
  constexpr double kDeviation = 1.4826; // of a normal distribution / its median deviation
  constexpr double kOfMean = 1.2533;    // the error of a median / that of a mean: the root of pi / 2
  const double median = Median(values);
  for (double& value : values) value = std::fabs(value - median);
  return kOfMean * kDeviation * Median(values) / std::sqrt(static_cast<double>(values.size()));
}

/// Why a range is not to be trusted; empty if it is. `strength`: the median of the blinks'.
std::string Doubt(const Range& range, const std::vector<double>& peaks, double strength, double noise) {
  constexpr double kLeastTravel = 0.1, kLeastShare = 0.75, kMostError = 0.15, kMostNoise = 0.3;
  const double width = range.high - range.low;
  if (range.seen < kFewestBlinks)
    return fmt::format("{}, and {} are needed", Count(static_cast<std::size_t>(range.seen), "blink"),
                       kFewestBlinks);
  if (!(width >= kLeastTravel)) return fmt::format("the lid moves by {:.2f} only", width);
  if (strength < kLeastShare * width) return "the lids are lowered for longer than a blink lasts";
  if (noise > kMostNoise * width) return fmt::format("noise is {:.0f} % of it", 100 * noise / width);
  if (const double error = MedianError(peaks); error > kMostError * width)
    return fmt::format("the {} differ: their median is uncertain by {:.0f} %",
                       Count(static_cast<std::size_t>(range.seen), "blink"), 100 * error / width);
  return "";
}

} // namespace

std::array<std::string_view, 2> LidNames(WeightKind kind) {
  if (kind == WeightKind::Shapes) return {"eyeBlinkLeft", "eyeBlinkRight"};
  return {"LeftEye.Close", "RightEye.Close"};
}

std::vector<Blink> FindBlinks(const std::vector<Animation>& takes, const std::array<bool, 2>& eyes,
                              WeightKind kind) {
  std::vector<Blink> motions;
  if (!eyes[0] && !eyes[1]) return motions;
  for (std::size_t t = 0; t < takes.size(); ++t) {
    const Lids lids = LidsOf(takes[t], eyes, kind);
    for (const FrameSpan& span : UnbrokenSpans(takes[t].frames))
      AddQuickMotions(lids, eyes, t, span, motions);
  }
  if (motions.empty()) return motions;
  const double least = LeastStrength(motions);
  std::erase_if(motions, [&](const Blink& motion) { return motion.strength < least; });
  return motions;
}

std::vector<BlinkRange> BlinkRanges(const std::vector<Animation>& takes, const std::vector<Blink>& blinks,
                                    const std::array<bool, 2>& eyes, WeightKind kind) {
  std::vector<BlinkRange> ranges;
  if (blinks.empty()) return ranges;
  std::vector<double> strengths;
  for (const Blink& blink : blinks) strengths.push_back(blink.strength);
  const double strength = Median(strengths);
  std::array<std::vector<double>, 2> quiet, unrest;
  for (std::size_t t = 0; t < takes.size(); ++t) {
    const Lids lids = LidsOf(takes[t], eyes, kind);
    const std::vector<bool> is_quiet = QuietFrames(lids, t, blinks);
    for (std::size_t e = 0; e < 2; ++e) {
      for (std::size_t f = 0; f < is_quiet.size(); ++f)
        if (is_quiet[f]) quiet[e].push_back(lids.eyes[e][f]);
      AddUnrest(lids, lids.eyes[e], is_quiet, unrest[e]);
    }
  }
  for (std::size_t e = 0; e < 2; ++e) {
    if (!eyes[e] || quiet[e].empty()) continue;
    std::vector<double> peaks;
    for (const Blink& blink : blinks) peaks.push_back(blink.peaks[e]);
    Range range{.name = std::string(LidNames(kind)[e]), .seen = static_cast<int>(blinks.size())};
    range.low = Median(quiet[e]);
    range.high = Median(peaks);
    range.why = Doubt(range, peaks, strength, Quantile(unrest[e], 0.95));
    range.trusted = range.why.empty();
    if (range.trusted) range.why = Count(blinks.size(), "blink");
    const double width = range.high - range.low;
    ranges.push_back({range, width > 0 ? range.Read(Quantile(quiet[e], 0.95)) : 0});
  }
  return ranges;
}

} // namespace mien
