#include "host/solve/neutral_doubts.h"

#include "host/base/face_parts.h"
#include "host/solve/face_solver.h"
#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>

namespace mien {

namespace {

/// The weights of `pose` on a face whose neutral pose is `neutral`, both in the same axes.
std::vector<double> WeightsOf(const NeutralPose& pose, const Performer& performer, const NeutralPose& neutral,
                              BrowMethod brows) {
  FaceSolver solver(performer, neutral, brows);
  const VgeAMatrix to_head = InverseOfOrthogonalAxes(solver.NeutralHead());
  std::vector<Point> places = solver.RestPlaces();
  for (std::size_t m = 0; m < places.size(); ++m)
    if (const auto p = pose.find(solver.Markers()[m]); p != pose.end()) {
      const VgeTVector p_head = TransformPoint(to_head, {p->second.x, p->second.y, p->second.z});
      places[m] = {p_head.x, p_head.y, p_head.z};
    }
  const FaceSolver::Frame& frame = solver.Solve(places);
  std::vector<double> weights;
  for (const TemplateColumn& column : TemplateColumns())
    weights.push_back(frame.weights.mParts[column.part].mWeights[column.slot]);
  return weights;
}

} // namespace

std::vector<NeutralDoubt> NeutralDoubts(const Performer& performer, const Neutral& neutral,
                                        BrowMethod brows) {
  constexpr double kLeast = 0.1; // a tenth of a strong pose is seen
  std::vector<NeutralDoubt> doubts;
  if (neutral.stricter.empty()) return doubts;
  const auto there = WeightsOf(neutral.stricter, performer, neutral.pose, brows),
             back = WeightsOf(neutral.pose, performer, neutral.stricter, brows);
  const std::vector<TemplateColumn> columns = TemplateColumns();
  for (std::size_t t = 0; t < columns.size(); ++t)
    if (const double difference = std::max(std::fabs(there[t]), std::fabs(back[t])); difference > kLeast)
      doubts.push_back({columns[t].name, difference});
  std::stable_sort(doubts.begin(), doubts.end(),
                   [](const auto& a, const auto& b) { return a.difference > b.difference; });
  return doubts;
}

} // namespace mien
