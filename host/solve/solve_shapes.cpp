#include "host/solve/solve_shapes.h"

#include "host/base/face_parts.h"
#include "host/base/parallel.h"
#include "host/base/statistics.h"
#include "host/cleaning/fill_gaps.h"
#include "host/fit/landmark_scheme.h"
#include "host/fit/lay_basis.h"
#include "host/fit/own_poses.h"
#include "host/fit/shape_fit.h"
#include "host/performer/guided_poses.h"
#include "host/solve/head_track.h"
#include "host/solve/smooth_weights.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

namespace mien {

namespace {

/// What the markers are, and how they are weighed.
struct Observer {
  ShapeFitSettings settings;
  Point trust;
  double contour;     ///< trust in the jaw's contour, as a factor
  bool shifts;        ///< whether eyes and mouth may be shifted
  BuiltInBasis basis; ///< unless another is given
};

Observer ObserverOf(LandmarkScheme scheme) {
  if (scheme == LandmarkScheme::None)
    return {.settings = {.damping = 30, .inertia = 120},
            .trust = {1, 1, 1},
            .contour = 1,
            .shifts = false,
            .basis = BuiltInBasis::OneHead};
  return {.settings = {.damping = 60, .inertia = 60},
          .trust = {1, 1, 0.5},
          .contour = 0.3,
          .shifts = true,
          .basis = BuiltInBasis::TwoHeads};
}

/// The frames in which the face is at rest: the neutral ones, or without them the tenth in which the
/// templates have the least weight.
std::vector<bool> RestFramesOf(const Animation& animation, const Neutral& neutral) {
  const std::size_t frames = animation.frames.size(), columns = animation.layout.templates.size();
  std::vector<bool> at_rest(frames);
  if (!neutral.frames.empty()) {
    for (std::size_t f = 0; f < frames; ++f)
      at_rest[f] = std::binary_search(neutral.frames.begin(), neutral.frames.end(), animation.frames[f]);
    return at_rest;
  }
  std::vector<double> sums;
  for (std::size_t f = 0; f < frames; ++f) {
    double sum = 0;
    for (std::size_t t = 0; t < columns; ++t) sum += std::fabs(animation.Weight(f, t));
    sums.push_back(sum);
  }
  std::vector<double> sorted = sums;
  const double most = sorted.empty() ? 0 : Quantile(sorted, 0.1);
  for (std::size_t f = 0; f < frames; ++f) at_rest[f] = sums[f] <= most;
  return at_rest;
}

/// Where the markers rest, in the head's frame: by the neutral pose, and for those that it lacks by the
/// performer's own pose of rest, or else by the median over the frames at rest.
NeutralPose RestOf(const Take& stable, const Performer& performer, const Neutral& neutral,
                   const Animation& animation) {
  NeutralPose rest;
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(animation.layout.neutral_head);
  const auto& poses = performer.calibration.poses;
  const auto own =
      std::find_if(poses.begin(), poses.end(), [](const auto& pose) { return pose.name == kRestPose; });
  const std::vector<bool> at_rest = RestFramesOf(animation, neutral);
  for (std::size_t m = 0; m < stable.MarkerCount(); ++m) {
    const std::string& name = stable.markers[m];
    if (const auto place = neutral.pose.find(name); place != neutral.pose.end()) {
      const VgeTVector p = TransformPoint(to_head, {place->second.x, place->second.y, place->second.z});
      rest[name] = {p.x, p.y, p.z};
      continue;
    }
    if (own != poses.end())
      if (const auto place = own->points.find(name); place != own->points.end()) {
        rest[name] = place->second;
        continue;
      }
    std::vector<double> x, y, z;
    for (std::size_t f = 0; f < stable.FrameCount(); ++f)
      if (const Point* const p = at_rest[f] ? stable.At(f, m) : nullptr)
        x.push_back(p->x), y.push_back(p->y), z.push_back(p->z);
    if (!x.empty()) rest[name] = {Median(x), Median(y), Median(z)};
  }
  return rest;
}

/// How much a marker's way bends in each frame, per axis: the sizes of its second differences.
class Bends {
public:
  /// The marker's position in the next frame; null for a gap.
  void Add(const Point* p) {
    if (p && seen_ >= 2) {
      const auto& [a, b] = before_;
      axes_[0].push_back(std::fabs(a.x - 2 * b.x + p->x));
      axes_[1].push_back(std::fabs(a.y - 2 * b.y + p->y));
      axes_[2].push_back(std::fabs(a.z - 2 * b.z + p->z));
    }
    seen_ = p ? seen_ + 1 : 0;
    if (p) before_ = {before_[1], *p};
  }

  /// The standard deviation of the coordinates; 0 without bends. Changes their order.
  double Deviation() {
    constexpr double kQuarter = 0.3186; // the lower quarter of |x| for a standard deviation of 1
    double squares = 0;
    for (std::vector<double>& bends : axes_) {
      const double deviation = bends.empty() ? 0 : Quantile(bends, 0.25) / (std::sqrt(6.0) * kQuarter);
      squares += deviation * deviation / 3;
    }
    return std::sqrt(squares);
  }

private:
  std::array<std::vector<double>, 3> axes_;
  std::array<Point, 2> before_ = {}; // the last one second
  std::size_t seen_ = 0;             // frames up to the last one without a gap
};

/// The standard deviation of each marker's coordinates from frame to frame (size: markers). A quarter of the
/// second differences are small in any take: in these the face hardly moves. 0 for a marker without them.
std::vector<double> NoiseOf(const Take& stable, std::size_t threads) {
  constexpr std::size_t kByAllThreads = 4; // markers, whose bends are on the heap, for one walk over the take
  const std::size_t at_once = std::max<std::size_t>(kByAllThreads / std::max<std::size_t>(threads, 1), 1);
  std::vector<double> noise(stable.MarkerCount());
  ForRanges(threads, stable.MarkerCount(), at_once, [&](std::size_t first, std::size_t end) {
    std::vector<Bends> bends(end - first);
    for (std::size_t f = 0; f < stable.FrameCount(); ++f)
      for (std::size_t m = first; m < end; ++m) bends[m - first].Add(stable.At(f, m));
    for (std::size_t m = first; m < end; ++m) noise[m] = bends[m - first].Deviation();
  });
  return noise;
}

/// A factor on the trust in a marker: below 1 for one that is more than twice as noisy as usual.
double TrustByNoise(double noise, double usual) {
  constexpr double kFree = 2; // a lid is noisier than a nose in every take
  return noise > kFree * usual ? kFree * usual / noise : 1;
}

ShapeFitPoints PointsOf(const LaidBasis& laid, const std::vector<std::size_t>& shapes,
                        const Observer& observer) {
  ShapeFitPoints points;
  points.shapes = shapes.size();
  if (observer.shifts) points.regions.resize(3);
  for (std::size_t m = 0; m < laid.markers.size(); ++m) {
    const LaidBasis::Marker& marker = laid.markers[m];
    const double factor = marker.landmark && *marker.landmark < kJawContour ? observer.contour : 1;
    points.rest.push_back(marker.rest);
    points.trust.push_back({factor * observer.trust.x, factor * observer.trust.y, factor * observer.trust.z});
    for (const std::size_t s : shapes) points.moved.push_back(laid.moved[m * laid.shapes.size() + s]);
    if (observer.shifts && marker.region != FitRegion::None)
      points.regions[marker.region == FitRegion::LeftEye    ? 0
                     : marker.region == FitRegion::RightEye ? 1
                                                            : 2]
          .push_back(m);
  }
  return points;
}

bool HasMarkers(const Performer& performer, FacePart part) {
  return std::any_of(performer.holders[part].begin(), performer.holders[part].end(),
                     [](const auto& holder) { return !holder.empty(); });
}

/// Whether the parts' templates take over a shape.
bool IsFromParts(std::string_view shape, const Performer& performer) {
  if (shape == "eyeBlinkLeft" || shape == "eyeSquintLeft") return HasMarkers(performer, kLeftEye);
  if (shape == "eyeBlinkRight" || shape == "eyeSquintRight") return HasMarkers(performer, kRightEye);
  return false;
}

/// The shapes (indices) that the points show.
std::vector<std::size_t> ShownShapes(const LaidBasis& laid, const Observer& observer, FitReport& report) {
  constexpr double kNoise_mm = 0.5; // what a good tracker and a bad optical system have
  constexpr double kMost = 0.7;     // leaves half of the variance
  std::vector<std::size_t> wanted, shown;
  for (std::size_t s = 0; s < laid.shapes.size(); ++s)
    if (!laid.shapes[s].starts_with("eyeLook")) wanted.push_back(s);
  const std::vector<double> uncertain =
      ShapeFit(PointsOf(laid, wanted, observer), observer.settings).Uncertainty(kNoise_mm);
  for (std::size_t i = 0; i < wanted.size(); ++i)
    if (uncertain[i] <= kMost)
      shown.push_back(wanted[i]);
    else
      report.left_out.emplace_back(laid.shapes[wanted[i]], uncertain[i]);
  return shown;
}

/// The fit of a take, ready for its frames.
struct FitOfTake {
  Take markers;                     ///< in the head's frame, without the gaps that can be filled
  std::vector<std::size_t> columns; ///< of the markers, those that are fitted
  LearnedShapeFit learned;
};

/// The take's markers in the head's frame.
Take StableMarkers(const SolvedTake& solved, const Take& take, const Performer& performer,
                   std::size_t threads) {
  const HeadTrack track = {
      .heads = solved.animation.heads, .known = solved.head_known, .slipped = {}, .fills = {}};
  return Stabilise(take, track, FitMarkers(take, performer), threads);
}

/// Against what damping took from each weight, up to a limit.
std::vector<double> GainsOf(const ShapeFit& fit) {
  constexpr double kMostGain = 1.5;
  std::vector<double> gains = fit.Response();
  for (double& gain : gains) gain = gain * kMostGain < 1 ? kMostGain : 1 / gain;
  return gains;
}

/// Of the fit's shapes those that it decides; the templates of the parts take over the others.
std::vector<std::size_t> DecidedShapes(const LaidBasis& laid, const std::vector<std::size_t>& shapes,
                                       const Performer& performer, std::vector<std::string>& names,
                                       FitReport& report) {
  std::vector<std::size_t> decided;
  for (std::size_t i = 0; i < shapes.size(); ++i) {
    const std::string& name = laid.shapes[shapes[i]];
    if (IsFromParts(name, performer)) {
      report.from_parts.push_back(name);
      continue;
    }
    decided.push_back(i);
    names.push_back(name);
    if (name == "mouthClose") report.unmeasured.push_back(name);
  }
  report.fitted = names;
  return decided;
}

FitOfTake SetUp(const SolvedTake& solved, const Take& take, const Performer& performer,
                const Neutral& neutral, const FillPlan& fill, std::size_t threads, const ShapeBasis* given) {
  Observer observer = ObserverOf(SchemeOf(performer));
  const ShapeBasis built_in = given ? ShapeBasis() : LoadBasis(observer.basis);
  const ShapeBasis& basis = given ? *given : built_in;
  FitReport report;
  report.basis = basis.name;
  report.notes = basis.notes;
  Take stable = StableMarkers(solved, take, performer, threads);
  std::vector<std::size_t> all(stable.MarkerCount());
  std::iota(all.begin(), all.end(), std::size_t{0});
  const std::vector<double> noise = NoiseOf(stable, threads);
  std::vector<double> sorted = noise;
  if (!sorted.empty()) report.noise_mm = Median(sorted);
  FillGaps(stable, all, fill, threads);
  const NeutralPose rest = RestOf(stable, performer, neutral, solved.animation);
  LaidBasis laid = LayBasis(basis, performer, rest);
  report.markers = laid.markers.size();
  report.own_poses = UseOwnPoses(laid, performer.calibration.poses);
  report.distance_mm = laid.distance_mm;

  const std::vector<std::size_t> shapes = ShownShapes(laid, observer, report);
  constexpr double kUsualRate = 30, kUsualNoise_mm = 0.5, kMostNoise = 4;
  const double noisier = report.noise_mm / kUsualNoise_mm;
  observer.settings.inertia *= take.rate.Hz() / kUsualRate * std::clamp(noisier * noisier, 1.0, kMostNoise);
  std::vector<std::size_t> columns;
  for (const LaidBasis::Marker& marker : laid.markers) columns.push_back(*stable.FindMarker(marker.name));
  ShapeFitPoints points = PointsOf(laid, shapes, observer);
  for (std::size_t m = 0; m < columns.size(); ++m) {
    const double factor = TrustByNoise(noise[columns[m]], report.noise_mm);
    points.trust[m].x *= factor, points.trust[m].y *= factor, points.trust[m].z *= factor;
  }
  ShapeFit fit(std::move(points), observer.settings);
  std::vector<double> gains = GainsOf(fit);
  std::vector<std::string> markers, names;
  for (const LaidBasis::Marker& marker : laid.markers) markers.push_back(marker.name);
  std::vector<std::size_t> decided = DecidedShapes(laid, shapes, performer, names, report);
  return {.markers = std::move(stable),
          .columns = std::move(columns),
          .learned = {.markers = std::move(markers),
                      .fit = std::move(fit),
                      .gains = std::move(gains),
                      .decided = std::move(decided),
                      .most = observer.settings.most,
                      .names = std::move(names),
                      .report = std::move(report)}};
}

/// Frame by frame: a frame's fit begins at the one before.
void SolveFrames(FitOfTake& of_take, FittedShapes& fitted,
                 const std::function<void(std::size_t, std::size_t)>& progress) {
  const std::size_t frames = of_take.markers.FrameCount(), names = of_take.learned.names.size();
  std::vector<std::optional<Point>> seen(of_take.columns.size());
  double squares = 0;
  fitted.weights.resize(frames * names);
  for (std::size_t f = 0; f < frames; ++f) {
    if (progress) progress(f, frames);
    for (std::size_t m = 0; m < seen.size(); ++m) {
      const Point* const p = of_take.markers.At(f, of_take.columns[m]);
      seen[m] = p ? std::optional(*p) : std::nullopt;
    }
    of_take.learned.Solve(seen, fitted.weights.subspan(f * names, names));
    const double residual = of_take.learned.fit.Residual();
    squares += residual * residual;
  }
  if (frames > 0) fitted.report.residual_mm = std::sqrt(squares / static_cast<double>(frames));
}

} // namespace

void LearnedShapeFit::Solve(std::span<const std::optional<Point>> seen, std::span<double> weights) {
  const std::vector<double>& fitted = fit.Solve(seen);
  for (std::size_t i = 0; i < decided.size(); ++i)
    weights[i] = std::min(gains[decided[i]] * fitted[decided[i]], most);
}

LearnedShapeFit LearnShapeFit(const SolvedTake& solved, const Take& take, const Performer& performer,
                              const Neutral& neutral, const SolveOptions& options, const ShapeBasis* basis) {
  return SetUp(solved, take, performer, neutral, options.face_fill, options.threads, basis).learned;
}

FittedShapes SolveShapes(const SolvedTake& solved, const Take& take, const Performer& performer,
                         const Neutral& neutral, const SolveOptions& options, const ShapeBasis* basis,
                         const std::function<void(std::size_t, std::size_t)>& progress) {
  FitOfTake of_take = SetUp(solved, take, performer, neutral, options.face_fill, options.threads, basis);
  FittedShapes fitted;
  fitted.names = of_take.learned.names;
  fitted.report = of_take.learned.report;
  SolveFrames(of_take, fitted, progress);
  if (options.smooth_weights_hz)
    SmoothWeights(fitted.weights, fitted.names.size(), take.frames, take.rate, *options.smooth_weights_hz);
  return fitted;
}

} // namespace mien
