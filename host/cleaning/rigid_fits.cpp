#include "host/cleaning/rigid_fits.h"

#include <algorithm>
#include <utility>

namespace mien {

namespace {

void Copy(std::vector<double>& to, std::size_t to_lane, const std::vector<double>& from,
          std::size_t from_lane, std::size_t width) {
  for (std::size_t i = 0; i < to.size(); i += width) to[i + to_lane] = from[i + from_lane];
}

} // namespace

RigidFits::RigidFits(const RigidBody& body, Found found)
    : body_(FitBodyOf(body)), found_(std::move(found)),
      widest_(FitsInLanes().back()), first_{{body.places.size(), widest_.width}, {}}, hard_(first_) {}

void RigidFits::Add(std::size_t frame, const RigidBody::Points& seen) {
  Show(body_, seen, first_.lanes, first_.frames.size());
  first_.frames.push_back(frame);
  if (first_.frames.size() == widest_.width) FitFirst();
}

void RigidFits::Finish() {
  FitFirst();
  FitHard();
}

void RigidFits::FitFirst() {
  Hide(first_);
  widest_.fit(body_, first_.lanes, 0);
  for (std::size_t lane = 0; lane < first_.frames.size(); ++lane) {
    if (first_.lanes.settled[lane]) {
      found_(first_.frames[lane], MotionIn(first_.lanes, lane));
      continue;
    }
    Copy(hard_.lanes.seen, hard_.frames.size(), first_.lanes.seen, lane, widest_.width);
    Copy(hard_.lanes.weights, hard_.frames.size(), first_.lanes.weights, lane, widest_.width);
    hard_.frames.push_back(first_.frames[lane]);
    if (hard_.frames.size() == widest_.width) FitHard();
  }
  first_.frames.clear();
}

void RigidFits::FitHard() {
  Hide(hard_);
  widest_.fit(body_, hard_.lanes, kFitRounds);
  for (std::size_t lane = 0; lane < hard_.frames.size(); ++lane)
    found_(hard_.frames[lane], MotionIn(hard_.lanes, lane));
  hard_.frames.clear();
}

/// Lanes without a frame see nothing.
void RigidFits::Hide(Batch& batch) const {
  for (std::size_t i = 0; i < batch.lanes.weights.size(); i += widest_.width)
    std::fill(batch.lanes.weights.begin() + static_cast<std::ptrdiff_t>(i + batch.frames.size()),
              batch.lanes.weights.begin() + static_cast<std::ptrdiff_t>(i + widest_.width), 0.0);
}

} // namespace mien
