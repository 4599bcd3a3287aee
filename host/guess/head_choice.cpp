#include "host/guess/head_choice.h"

#include "host/base/statistics.h"
#include "host/cleaning/rigid_fit.h"
#include "host/performer/performer.h"
#include "mien/base/affine.h"

#include <algorithm>

namespace mien {

std::vector<std::size_t> ChooseHeadMarkers(const Take& take, const std::vector<HeadCandidate>& candidates) {
  std::vector<std::size_t> markers;
  for (const HeadCandidate& candidate : candidates) markers.push_back(candidate.marker);
  if (markers.size() < 3) return markers;

  const RigidBody body = LearnRigidBody(take, markers);
  struct Rigid {
    std::size_t marker;
    VgeTVector place;
    double spread_mm;
  };
  std::vector<Rigid> rigid;
  for (std::size_t i = 0; i < markers.size(); ++i)
    if (body.places[i])
      rigid.push_back(
          {markers[i], {body.places[i]->x, body.places[i]->y, body.places[i]->z}, body.spread_mm[i]});
  std::stable_sort(rigid.begin(), rigid.end(),
                   [](const Rigid& a, const Rigid& b) { return a.spread_mm < b.spread_mm; });
  if (rigid.empty()) return {};
  // Skin moves a few times as much as a cap or a bone; the third stillest says how much bone does here.
  constexpr double kAsRigid = 2;
  const double most = kAsRigid * rigid[std::min<std::size_t>(2, rigid.size() - 1)].spread_mm;
  std::erase_if(rigid, [&](const Rigid& r) { return r.spread_mm > most; });

  std::vector<Rigid> chosen = {rigid.front()};
  while (chosen.size() < std::min(rigid.size(), Performer::kMostHeadMarkers)) {
    const Rigid* next = nullptr;
    double furthest = 0;
    for (const Rigid& r : rigid) {
      double nearest = Distance(r.place, chosen.front().place);
      for (const Rigid& c : chosen) nearest = std::min(nearest, Distance(r.place, c.place));
      if (const double apart = nearest / r.spread_mm; apart > furthest) next = &r, furthest = apart;
    }
    if (!next) break;
    chosen.push_back(*next);
  }
  std::vector<std::size_t> head;
  for (const Rigid& r : chosen) head.push_back(r.marker);
  return head;
}

} // namespace mien
