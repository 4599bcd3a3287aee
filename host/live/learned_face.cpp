#include "host/live/learned_face.h"

#include "host/performer/local_anchors.h"
#include "host/solve/head_track.h"
#include "host/solve/solve_take.h"
#include "mien/base/affine.h"

#include <utility>
#include <variant>

namespace mien {

namespace {

/// What a solve of the whole take measures brows and eyes against.
std::vector<LearnedFace::PartAnchors> AnchorsOfTake(const Take& take, const SolvedTake& solved,
                                                    const NeutralPose& neutral) {
  const HeadTrack track = {
      .heads = solved.animation.heads, .known = solved.head_known, .slipped = {}, .fills = {}};
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(solved.animation.layout.neutral_head);
  std::vector<LearnedFace::PartAnchors> learned;
  for (const SolveReport::AnchoredPart& part : solved.report.anchored) {
    LearnedFace::PartAnchors& anchors = learned.emplace_back();
    anchors.part = part.part;
    anchors.markers = part.anchors;
    std::vector<Point> rest;
    for (const std::string& marker : part.anchors) {
      const Point& p = neutral.at(marker);
      const VgeTVector p_head = TransformPoint(to_head, {p.x, p.y, p.z});
      rest.push_back({p_head.x, p_head.y, p_head.z});
      anchors.rest.push_back({p_head.x, p_head.y, p_head.z});
    }
    const LocalAnchors local(Stabilise(take, track, part.anchors), rest);
    anchors.own = local.Own();
    anchors.gain = local.Gain();
  }
  return learned;
}

SolveOptions OptionsOf(const CausalSettings& settings) {
  SolveOptions options;
  options.head_fit = settings.head_fit;
  options.brows = settings.brows;
  options.solver = settings.solver;
  return options;
}

/// The rigid head as the pose has it.
std::optional<RigidHead> RigidHeadOfPose(const Performer& performer, const NeutralPose& pose) {
  constexpr double kSpread_mm = 1; // of good markers: half a millimetre; of landmarks: one to three
  constexpr std::size_t kFewest = 4;
  RigidHead head;
  for (const std::string& marker : performer.rigid)
    if (const auto place = pose.find(marker); place != pose.end()) {
      head.markers.push_back(marker);
      head.body.places.emplace_back(place->second);
    }
  if (head.markers.size() < kFewest) return std::nullopt;
  head.body.spread_mm.assign(head.markers.size(), kSpread_mm);
  head.body.noise_mm = kSpread_mm;
  return head;
}

LearnedFace Learn(const Take& take, const Performer& performer, const CausalSettings& settings,
                  const ShapeBasis* basis, Neutral neutral, std::optional<RigidHead> rigid) {
  LearnedFace face;
  face.neutral = std::move(neutral);
  face.rigid = std::move(rigid);
  const SolveOptions options = OptionsOf(settings);
  const SolvedTake solved =
      SolveTake(take, performer, face.neutral.pose, options, face.rigid ? &*face.rigid : nullptr);
  face.anchors = AnchorsOfTake(take, solved, face.neutral.pose);
  if (settings.solver == ShapeSolver::Fit)
    face.fit = LearnShapeFit(solved, take, performer, face.neutral, options, basis);
  return face;
}

} // namespace

LearnedFace LearnFace(const Take& take, const Performer& performer, const std::optional<FrameRange>& neutral,
                      const CausalSettings& settings, const ShapeBasis* basis) {
  std::optional<RigidHead> rigid =
      settings.head_fit == HeadFit::Take ? LearnRigidHead(take, performer) : std::nullopt;
  Neutral found = FindNeutral(take, performer, neutral, rigid ? &*rigid : nullptr);
  return Learn(take, performer, settings, basis, std::move(found), std::move(rigid));
}

LearnedFace LearnFaceOfPose(const Performer& performer, const CausalSettings& settings,
                            const ShapeBasis* basis) {
  Take take(performer.Markers()); // of the pose alone
  take.file = performer.file;
  take.rate = {30, 1};
  take.AddFrame(1, 0);
  const auto& pose = std::get<NeutralPose>(performer.neutral);
  for (std::size_t m = 0; m < take.MarkerCount(); ++m)
    if (const auto place = pose.find(take.markers[m]); place != pose.end()) take.Set(0, m, place->second);
  Neutral neutral = FindNeutral(take, performer, std::nullopt);
  std::optional<RigidHead> rigid =
      settings.head_fit == HeadFit::Take ? RigidHeadOfPose(performer, pose) : std::nullopt;
  LearnedFace face = Learn(take, performer, settings, basis, std::move(neutral), std::move(rigid));
  face.anchors.clear(); // a single frame does not show their noise
  return face;
}

} // namespace mien
