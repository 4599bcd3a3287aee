#include "host/solve/quality.h"

#include "host/base/face_parts.h"
#include "host/base/long_vector.h"
#include "host/base/parallel.h"
#include "mien/base/affine.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <span>

namespace mien {

namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();

VgeTVector Vector(const Point& p) { return {p.x, p.y, p.z}; }

std::size_t OtherSide(std::size_t part) { return part % 2 == 1 ? part + 1 : part - 1; } // not of the mouth

/// The marker's place if it was seen; null if it is a gap or was filled.
const Point* SeenAt(const Take& face, std::size_t frame, std::size_t marker) {
  return face.OriginAt(frame, marker) == Origin::Filled ? nullptr : face.At(frame, marker);
}

/// What becomes a QualityFlag: its names are still indices.
struct FoundFlag {
  FlagKind kind;
  std::size_t part;
  std::size_t weight;     // of a jump and a limit: the column
  std::size_t markers[2]; // of a swap and a mislabel
  std::size_t first, last;
  double size;
};

/// By their first frame.
using FoundFlags = LongVector<FoundFlag>;

/// Collects the flags of single frames, of each weight or marker by itself; frames that are close together become
/// one flag.
class Stretches {
public:
  Stretches(std::span<const double> times, std::size_t curves, FoundFlags& flags)
      : times_(times), flags_(flags), latest_(curves) {}

  /// `flag` is of one frame. Frames rise.
  void Add(std::size_t curve, const FoundFlag& flag) {
    // Noise moves a marker or a weight away for a frame or two.
    constexpr double kBreak_s = 0.1;
    std::optional<std::size_t>& latest = latest_[curve];
    if (latest && times_[flag.first] - times_[flags_[*latest].last] <= kBreak_s) {
      flags_[*latest].last = flag.last;
      flags_[*latest].size = std::max(flags_[*latest].size, flag.size);
    } else {
      latest = flags_.size();
      flags_.push_back(flag);
    }
  }

private:
  const std::span<const double> times_;
  FoundFlags& flags_;
  std::vector<std::optional<std::size_t>> latest_; // flag of each curve
};

QualityFlag Named(const FoundFlag& found, const Animation& solved, const FaceSolver& solver) {
  QualityFlag flag = {.kind = found.kind,
                      .part = found.part,
                      .weight = {},
                      .markers = {},
                      .first = found.first,
                      .last = found.last,
                      .size = found.size};
  if (found.kind == FlagKind::Jump || found.kind == FlagKind::Limit)
    flag.weight = solved.layout.templates[found.weight].name;
  else
    for (const std::size_t marker : found.markers) flag.markers.push_back(solver.Markers()[marker]);
  return flag;
}

// --- Jumps.

/// How far a template moves the point that it moves most, in units of the default face.
double Travel(const TemplateColumn& column) {
  const VFacePart& part = GetGlobalFace()->mParts[column.part];
  double most = 0;
  for (int i = 0; i < part.mPointCount; ++i) {
    const VgeTVector moved = Difference(part.mTemplates[column.slot]->mPoints[i], part.mDefaultPoints[i]);
    most =
        std::max(most, Length({moved.x * part.mScale.x, moved.y * part.mScale.y, moved.z * part.mScale.z}));
  }
  return most;
}

/// The largest share of the distance from open to shut that the fastest movement of a face covers in a time.
/// Blinks shut the eye in 70 to 100 ms; this is the middle of a movement of 70 ms with minimum jerk.
double LargestShareOfLid(double seconds) {
  constexpr double kFastest_s = 0.07;
  const double u = seconds / kFastest_s;
  return u < 1 ? u * (15 - u * u * (10 - 3 * u * u)) / 8 : kNever;
}

class Jumps {
public:
  Jumps(const Animation& solved, const Take& face, const FaceSolver& solver)
      : solved_(solved), face_(face), solver_(solver) {}

  void Find(FoundFlags& flags) const {
    const std::vector<TemplateColumn>& templates = solved_.layout.templates;
    const double lid = Travel({kLeftEye, 0, "LeftEye.Close"});
    std::vector<double> lids;
    for (const TemplateColumn& column : templates) lids.push_back(lid / Travel(column));
    for (std::size_t f = 1; f < solved_.frames.size(); ++f) {
      const std::span<const double> two =
          solved_.weights.subspan((f - 1) * templates.size(), 2 * templates.size());
      for (std::size_t c = 0; c < templates.size(); ++c) {
        constexpr double kLeast = 0.5; // less may be noise, and matters less
        const double change = two[templates.size() + c] - two[c];
        if (!(std::fabs(change) >= kLeast)) continue;
        if (std::fabs(change) <= lids[c] * LargestShareOfLid(solved_.times[f] - solved_.times[f - 1]))
          continue;
        const auto part = static_cast<std::size_t>(templates[c].part);
        if (Stays(f, c) && IsSeen(f - 1, part) && IsSeen(f, part))
          flags.push_back({FlagKind::Jump, part, c, {}, f - 1, f, change});
      }
    }
  }

private:
  bool IsSeen(std::size_t frame, std::size_t part) const {
    const std::vector<std::size_t>& markers = solver_.MarkersOf(part);
    return std::all_of(markers.begin(), markers.end(),
                       [&](std::size_t m) { return SeenAt(face_, frame, m) != nullptr; });
  }

  /// Whether the weight is on one side of the middle of its change from frame - 1 to `frame` before the
  /// change, and on the other after it. False if the take begins or ends in that time.
  bool Stays(std::size_t frame, std::size_t column) const {
    constexpr double kHold_s = 0.2; // after it a blink is over
    const LongVector<double>& times = solved_.times;
    const double before = solved_.Weight(frame - 1, column), after = solved_.Weight(frame, column);
    const double middle = before + (after - before) / 2;
    const auto is_after = [&](std::size_t f) {
      return (solved_.Weight(f, column) > middle) == (after > before);
    };
    for (std::size_t f = frame - 1; times[frame - 1] - times[f] < kHold_s; --f)
      if (is_after(f) || f == 0) return false;
    for (std::size_t f = frame; times[f] - times[frame] < kHold_s; ++f)
      if (!is_after(f) || f + 1 == times.size()) return false;
    return true;
  }

  const Animation& solved_;
  const Take& face_;
  const FaceSolver& solver_;
};

// --- Weights at their limit.

/// Brows and `Whistle` have no limit. They are not exactly 1 for long.
void FindLimits(const Animation& solved, FoundFlags& flags) {
  const std::vector<TemplateColumn>& templates = solved.layout.templates;
  FoundFlags stretches;
  Stretches at_limit(solved.times, templates.size(), stretches);
  for (std::size_t f = 0; f < solved.frames.size(); ++f) {
    const std::span<const double> weights = solved.weights.subspan(f * templates.size(), templates.size());
    for (std::size_t c = 0; c < templates.size(); ++c)
      if (weights[c] == 1)
        at_limit.Add(c, {FlagKind::Limit, static_cast<std::size_t>(templates[c].part), c, {}, f, f, 0});
  }
  for (FoundFlag flag : stretches) {
    // The peak of an expression touches the limit for a moment. A shut eye is at its limit, and loses
    // nothing.
    const double long_s = templates[flag.weight].name.ends_with("Eye.Close") ? 3 : 0.5;
    flag.size = solved.times[flag.last] - solved.times[flag.first];
    if (flag.size >= long_s) flags.push_back(flag);
  }
}

// --- Markers in each other's places.

class MarkerPlaces {
public:
  MarkerPlaces(const Take& face, const FaceSolver& solver, std::size_t threads) : face_(face) {
    for (const Point& p : solver.RestPlaces()) rest_.push_back(Vector(p));
    parts_.resize(rest_.size());
    for (std::size_t part = 0; part < 9; ++part)
      for (const std::size_t m : solver.MarkersOf(part)) parts_[m].push_back(part);
    neighbours_.resize(rest_.size());
    for (std::size_t m = 0; m < rest_.size(); ++m) {
      constexpr double kLeast_mm = 5; // noise could confuse markers that rest nearer to each other
      for (std::size_t n = 0; n < rest_.size(); ++n)
        if (const double apart = Distance(rest_[m], rest_[n]); apart >= kLeast_mm)
          neighbours_[m].push_back({n, apart, AreOnTwoSides(m, n)});
      std::sort(neighbours_[m].begin(), neighbours_[m].end(),
                [](const Neighbour& a, const Neighbour& b) { return a.apart < b.apart; });
      half_way_.push_back(neighbours_[m].empty() ? kNever : neighbours_[m].front().apart / 2);
    }
    stray_.resize(face.FrameCount());
    ForRanges(threads, face.FrameCount(), kFramesAtOnce, [&](std::size_t first, std::size_t end) {
      Strays strays;
      for (std::size_t f = first; f < end; ++f) stray_[f] = FindStrays(f, strays);
    });
  }

  void Find(FoundFlags& flags, std::size_t threads) const {
    Stretches stretches(face_.times, rest_.size(), flags);
    std::vector<std::vector<FoundFlag>> of_ranges(8 * std::max<std::size_t>(threads, 1));
    const std::size_t at_once = of_ranges.size() * kFramesAtOnce;
    for (std::size_t begin = 0; begin < face_.FrameCount(); begin += at_once) {
      ForRanges(threads, std::min(at_once, face_.FrameCount() - begin), kFramesAtOnce,
                [&](std::size_t first, std::size_t end) {
                  FindInFrames(begin + first, begin + end, of_ranges[first / kFramesAtOnce]);
                });
      for (std::vector<FoundFlag>& of_range : of_ranges) {
        for (const FoundFlag& flag : of_range) stretches.Add(flag.markers[0], flag);
        of_range.clear();
      }
    }
  }

private:
  struct Other {
    FlagKind kind;
    std::size_t marker;
  };

  /// A marker that rests `apart` from another.
  struct Neighbour {
    std::size_t marker;
    double apart;
    bool on_other_side;
  };

  /// By marker: where it was seen, if another place may be as near as its own; nothing for most.
  using Strays = std::vector<std::optional<VgeTVector>>;

  /// Returns whether there are any.
  bool FindStrays(std::size_t frame, Strays& strays) const {
    bool any = false;
    strays.assign(rest_.size(), std::nullopt);
    for (std::size_t m = 0; m < rest_.size(); ++m) {
      const Point* const p = face_.At(frame, m);
      if (!p) continue;
      const VgeTVector way = Difference(Vector(*p), rest_[m]);
      constexpr double kSurely = 1 - 1e-12; // saves the root
      if (Dot(way, way) <= kSurely * half_way_[m] * half_way_[m]) continue;
      if (!SeenAt(face_, frame, m)) continue;
      strays[m] = Vector(*p);
      any = true;
    }
    return any;
  }

  bool AreOnTwoSides(std::size_t m, std::size_t n) const {
    const auto drives = [&](std::size_t marker, std::size_t part) {
      return std::find(parts_[marker].begin(), parts_[marker].end(), part) != parts_[marker].end();
    };
    const auto any_of = [&](const auto& is) { return std::any_of(parts_[m].begin(), parts_[m].end(), is); };
    return any_of([&](std::size_t part) { return part != kMouth && drives(n, OtherSide(part)); }) &&
           !any_of([&](std::size_t part) { return drives(n, part); });
  }

  /// Whether markers `m`, which is nearer to the place of `n` than to its own, and `n` have exchanged places.
  /// Expressions move neighbours in the same direction, or bring them together as shutting an eye does, but
  /// not past each other by three quarters of their distance at rest.
  bool AreSwapped(const Strays& strays, std::size_t m, std::size_t n) const {
    if (!strays[n]) return false;
    const VgeTVector way = Difference(rest_[m], rest_[n]);
    return Dot(Difference(*strays[m], *strays[n]), way) < -0.75 * Dot(way, way) &&
           Distance(*strays[n], rest_[m]) < Distance(*strays[n], rest_[n]);
  }

  /// The flags of single frames, by frame and marker.
  void FindInFrames(std::size_t first, std::size_t end, std::vector<FoundFlag>& flags) const {
    Strays strays;
    for (std::size_t f = first; f < end; ++f) {
      if (!stray_[f]) continue;
      FindStrays(f, strays);
      for (std::size_t m = 0; m < rest_.size(); ++m) {
        if (!strays[m]) continue;
        const double off = Distance(*strays[m], rest_[m]);
        if (off <= half_way_[m]) continue;
        const std::optional<Other> other = InPlaceOf(strays, m, off);
        if (!other || (other->kind == FlagKind::Swap && other->marker < m)) continue; // of a swap once
        flags.push_back({other->kind, parts_[m].front(), 0, {m, other->marker}, f, f, off});
      }
    }
  }

  /// The marker whose place `m`, which is `off` its own, has: the nearest of those that it is swapped with,
  /// else the nearest of the other side. Of equally near ones the first.
  std::optional<Other> InPlaceOf(const Strays& strays, std::size_t m, double off) const {
    // Both kinds need a place that is nearer than the marker's own or a third of the way from it: no place is
    // that rests more than twice as far from the marker's own as the marker is.
    constexpr double kReach = 2.001, kSurely = 1 + 1e-12; // the sums are rounded
    for (const FlagKind kind : {FlagKind::Swap, FlagKind::Mislabel}) {
      std::optional<Other> found;
      double nearest = kind == FlagKind::Swap ? off : kNever;
      for (const auto& [n, apart, on_other_side] : neighbours_[m]) {
        if (apart > kReach * off) break;
        if (kind == FlagKind::Mislabel && !on_other_side) continue;
        const VgeTVector way = Difference(*strays[m], rest_[n]);
        if (Dot(way, way) > kSurely * nearest * nearest) continue; // most need no root
        if (kind == FlagKind::Swap && !AreSwapped(strays, m, n)) continue;
        const double to = Length(way);
        if (kind == FlagKind::Mislabel && !(to < apart / 3)) continue;
        if (to < nearest || (found && to == nearest && n < found->marker)) found = {kind, n}, nearest = to;
      }
      if (found) return found;
    }
    return std::nullopt;
  }

  const Take& face_;
  std::vector<VgeTVector> rest_;
  std::vector<std::vector<std::size_t>> parts_;    // that a marker drives
  std::vector<std::vector<Neighbour>> neighbours_; // of each marker, by how far apart they rest
  std::vector<double> half_way_;                   // to the nearest of them
  std::vector<bool> stray_;                        // the frames with strays
};

// --- Grades.

std::optional<double> EyeCorners_mm(const FaceSolver& solver) {
  const auto middle = [&](std::size_t part) -> std::optional<VgeTVector> {
    const std::vector<std::size_t>& markers = solver.MarkersOf(part);
    if (markers.empty()) return std::nullopt;
    VgeTVector sum = {0, 0, 0};
    for (const std::size_t m : markers) {
      const Point& p = solver.RestPlaces()[m];
      sum = {sum.x + p.x, sum.y + p.y, sum.z + p.z};
    }
    const auto count = static_cast<double>(markers.size());
    return VgeTVector{sum.x / count, sum.y / count, sum.z / count};
  };
  // Measured on four faces with landmarks on the corners as well: 1.34 to 1.37 for eyes, 1.39 to 1.50 for
  // brows.
  for (const auto& [left, ratio] : {std::pair(kLeftEye, 1.35), std::pair(kLeftBrow, 1.45)}) {
    const auto l = middle(left), r = middle(OtherSide(left));
    constexpr double kLeast_mm = 0.001; // in any unit, less is not a face
    if (l && r && Distance(*l, *r) >= kLeast_mm) return ratio * Distance(*l, *r);
  }
  return std::nullopt;
}

void SetGrades(const FaceSolver& solver, const std::array<double, 9>& residual_mm, Quality& quality) {
  quality.eye_corners_mm = EyeCorners_mm(solver);
  if (!quality.eye_corners_mm) return;
  for (std::size_t p = 0; p < 9; ++p) {
    if (p == kLeftEye || p == kRightEye || solver.MarkersOf(p).empty()) continue;
    const double share = residual_mm[p] / *quality.eye_corners_mm;
    quality.share[p] = share;
    quality.grades[p] = share < Quality::kGoodBelow   ? Grade::Good
                        : share > Quality::kPoorAbove ? Grade::Poor
                                                      : Grade::Fair;
    quality.grade = std::max(quality.grade, quality.grades[p]);
  }
}

} // namespace

std::string_view ToText(Grade grade) {
  switch (grade) {
  case Grade::None:
    break;
  case Grade::Good:
    return "good";
  case Grade::Fair:
    return "fair";
  case Grade::Poor:
    return "poor";
  }
  return "";
}

Quality AssessQuality(const Animation& solved, const Take& face, bool head_motion_removed,
                      const FaceSolver& solver, const std::array<double, 9>& residual_mm,
                      std::size_t threads) {
  Quality quality;
  std::array<FoundFlags, 3> flags;
  std::optional<MarkerPlaces> places;
  if (head_motion_removed) places.emplace(face, solver, threads);
  OnThreads(threads, 2, [&](std::size_t, std::size_t kind) {
    if (kind == 0) Jumps(solved, face, solver).Find(flags[0]);
    if (kind == 1) FindLimits(solved, flags[1]);
  });
  if (places) places->Find(flags[2], threads);
  std::array<std::size_t, 3> next = {};
  while (true) { // merges them: of those with one first frame, jumps come first
    std::optional<std::size_t> least;
    for (std::size_t kind = 0; kind < flags.size(); ++kind)
      if (next[kind] < flags[kind].size() &&
          (!least || flags[kind][next[kind]].first < flags[*least][next[*least]].first))
        least = kind;
    if (!least) break;
    quality.flags.push_back(Named(flags[*least][next[*least]++], solved, solver));
  }
  SetGrades(solver, residual_mm, quality);
  return quality;
}

} // namespace mien
