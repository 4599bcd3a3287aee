#include "host/compare/comparison.h"

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/monotone_cubic.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>
#include <unordered_map>
#include <utility>

namespace mien {

namespace {

using Moments = LongVector<Alignment::Moment>;

/// The part of A that B has as well.
void KeepFrames(Recording& a, const Moments& moments) {
  const std::size_t old_frames = a.frames.size();
  if (moments.size() == old_frames) return;
  for (Curve& curve : a.curves) {
    LongVector<double> kept;
    for (std::size_t from = 0; from < curve.values.size(); from += old_frames)
      for (const Alignment::Moment& moment : moments) kept.push_back(curve.values[from + moment.a]);
    curve.values = std::move(kept);
  }
  LongVector<std::int64_t> frames;
  LongVector<double> times;
  for (const Alignment::Moment& moment : moments) {
    frames.push_back(a.frames[moment.a]);
    times.push_back(a.times[moment.a]);
  }
  a.timecode_offset_s += times[0] - a.times[0];
  a.frames = std::move(frames);
  a.times = std::move(times);
}

/// The values of B at A's moments, one coordinate of a marker or one curve.
std::vector<double> ReadAt(const Alignment& alignment, std::vector<double> values, bool straight) {
  const LongVector<double>& at = alignment.positions_b;
  std::vector<double> read;
  read.reserve(alignment.moments.size());
  const auto exact = [&](const Alignment::Moment& moment) { read.push_back(values[moment.b]); };
  if (alignment.interpolated == 0) {
    for (const Alignment::Moment& moment : alignment.moments) exact(moment);
  } else if (straight) {
    for (const Alignment::Moment& moment : alignment.moments) {
      if (moment.exact) {
        exact(moment);
        continue;
      }
      const double before = values[moment.b], after = values[moment.b + 1];
      const double part =
          (alignment.positions_a[moment.a] - at[moment.b]) / (at[moment.b + 1] - at[moment.b]);
      read.push_back(before + part * (after - before));
    }
  } else {
    const MonotoneCubic curve(at, values);
    for (const Alignment::Moment& moment : alignment.moments) {
      if (moment.exact)
        exact(moment);
      else
        read.push_back(curve.At(alignment.positions_a[moment.a], moment.b));
    }
  }
  return read;
}

/// B at A's moments; `a` has these already.
void BringOnto(Recording& b, const Recording& a, const Alignment& alignment) {
  const std::size_t old_frames = b.frames.size();
  for (Curve& curve : b.curves) {
    LongVector<double> all;
    for (std::size_t from = 0; from < curve.values.size(); from += old_frames) {
      const std::span<const double> values = std::as_const(curve.values).subspan(from, old_frames);
      all.append(ReadAt(alignment, {values.begin(), values.end()}, curve.IsMarker()));
    }
    curve.values = std::move(all);
  }
  const double hz = a.rate.Hz(); // positions are frames of A
  b.timecode_offset_s += (alignment.positions_a[alignment.moments[0].a] - alignment.positions_b[0]) / hz;
  b.frames = a.frames;
  b.times = a.times;
}

/// Weights are found by their names alone.
std::string KeyOf(const Curve& curve) { return (curve.unit.empty() ? "" : curve.group) + '\n' + curve.name; }

void PairCurves(Comparison& comparison) {
  std::unordered_map<std::string, std::size_t> of_b;
  for (std::size_t c = 0; c < comparison.b.curves.size(); ++c) of_b[KeyOf(comparison.b.curves[c])] = c;
  std::vector<bool> paired(comparison.b.curves.size());
  for (std::size_t c = 0; c < comparison.a.curves.size(); ++c) {
    const auto found = of_b.find(KeyOf(comparison.a.curves[c]));
    if (found == of_b.end()) {
      comparison.only_a.push_back(FullName(comparison.a.curves[c]));
    } else {
      comparison.pairs.push_back({c, found->second, {}});
      paired[found->second] = true;
    }
  }
  for (std::size_t c = 0; c < paired.size(); ++c)
    if (!paired[c]) comparison.only_b.push_back(FullName(comparison.b.curves[c]));
  if (comparison.pairs.empty())
    throw InputError(Code::Unmatched, comparison.b.file, "",
                     fmt::format("no {} is in both: A has {}, B {}",
                                 comparison.a.kind == RecordingKind::Take ? "marker" : "curve",
                                 Some(comparison.only_a, 3), Some(comparison.only_b, 3)),
                     "name two files with the same names");
}

void NoteReadings(Comparison& comparison) {
  const std::size_t interpolated = comparison.alignment.interpolated;
  if (interpolated == 0) return;
  const bool rates_differ = comparison.a.rate != comparison.b.rate;
  comparison.notes.push_back(
      {Code::Assumed, "",
       fmt::format("{}B is read between its frames in {} of {}: {}",
                   rates_differ ? fmt::format("A is at {} Hz, B at {} Hz; ", ToText(comparison.a.rate),
                                              ToText(comparison.b.rate))
                                : "",
                   interpolated, Count(comparison.a.frames.size(), "frame"),
                   comparison.a.kind == RecordingKind::Take ? "markers on a straight line"
                                                            : "curves on a monotone cubic")});
}

} // namespace

std::string FullName(const Curve& curve) {
  return curve.unit == "deg" ? fmt::format("{}.{}", curve.group, curve.name) : curve.name;
}

Comparison Compare(Recording a, Recording b, const AlignOptions& options) {
  Comparison comparison;
  comparison.alignment = Align(a, b, options);
  comparison.frames_a = a.frames.size();
  comparison.frames_b = b.frames.size();
  comparison.a = std::move(a);
  comparison.b = std::move(b);
  PairCurves(comparison);
  KeepFrames(comparison.a, comparison.alignment.moments);
  BringOnto(comparison.b, comparison.a, comparison.alignment);
  NoteReadings(comparison);
  for (Comparison::Pair& pair : comparison.pairs)
    pair.difference = Difference(comparison.a.curves[pair.a], comparison.b.curves[pair.b],
                                 comparison.a.frames, comparison.a.rate);
  const auto size = [&](const Comparison::Pair& pair) {
    return pair.difference.compared == 0 ? -1 : Size(comparison.a.curves[pair.a], pair.difference.largest);
  };
  std::stable_sort(comparison.pairs.begin(), comparison.pairs.end(),
                   [&](const auto& x, const auto& y) { return size(x) > size(y); });
  return comparison;
}

} // namespace mien
