#include "host/live/live_face.h"

#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text.h"
#include "host/performer/match_markers.h"
#include "host/solve/head_track.h"
#include "host/solve/solve_character.h"
#include "host/takes/frame_times.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <variant>

namespace mien {

namespace {

constexpr double kKilometre_mm = 1e6;
constexpr double kMostWeight = 1e6;

bool IsUsable(const Point& p) {
  return std::fabs(p.x) <= kKilometre_mm && std::fabs(p.y) <= kKilometre_mm &&
         std::fabs(p.z) <= kKilometre_mm; // false of a NaN
}

void CheckNames(const LiveSource& source) {
  if (source.names.size() > LiveFace::kMostNames)
    throw InputError(Code::Limit, "", "",
                     fmt::format("the source has {} names, and at most {} can be read", source.names.size(),
                                 LiveFace::kMostNames),
                     "send fewer markers or weights");
  for (const std::string& name : source.names)
    if (name.size() > LiveFace::kLongestName)
      throw InputError(Code::Limit, "", "",
                       fmt::format("the source has a name of {}, and at most {} can be read",
                                   Count(name.size(), "byte"), LiveFace::kLongestName),
                       "shorten it");
}

void CheckSetup(const LiveSource& source, const LiveSetup& setup) {
  CheckNames(source);
  if (source.kind == LiveKind::Markers && !setup.performer)
    throw InputError(Code::Usage, "", "performer", "markers need a performer", "name one with --performer");
  if (source.kind == LiveKind::Weights && setup.character && !setup.map)
    throw InputError(Code::Usage, "", "map", "weights drive a character through a map",
                     "name one with --map");
  if (source.kind == LiveKind::Markers && setup.causal.solver == ShapeSolver::Fit && !setup.character)
    throw InputError(Code::Usage, "", "solver", "fit computes the shapes of a character", "name one");
  if (const auto& rate = setup.causal.output_rate;
      rate && !(rate->Hz() > 0 && rate->Hz() <= LiveFace::kMostOutput_hz))
    throw InputError(
        Code::Usage, "", "rate",
        fmt::format("the output rate is not above 0 and at most {} Hz", LiveFace::kMostOutput_hz),
        "name another");
}

/// A stream's markers, without frames.
Take TakeOf(const LiveSource& source) {
  Take take(source.names);
  take.name = source.name;
  take.file = "the source";
  return take;
}

/// The performer whose irises both the stream and the take have.
Performer PerformerOf(const LiveSource& source, const LiveSetup& setup) {
  Performer performer = *setup.performer;
  const Take stream = TakeOf(source);
  CheckMarkers(performer, stream);
  LeaveOutMissingIrises(performer, stream);
  if (setup.neutral_take) {
    CheckMarkers(performer, *setup.neutral_take);
    LeaveOutMissingIrises(performer, *setup.neutral_take);
  }
  return performer;
}

} // namespace

LiveFace::LiveFace(const LiveSource& source, const LiveSetup& setup)
    : source_(source), setup_(setup), presence_(setup.causal.face_hold_s, setup.causal.face_fade_s) {
  CheckSetup(source, setup);
  layout_.take = source.name;
  if (source.kind == LiveKind::Weights) {
    const WeightSolverSetup of_weights = {.ranges = setup.weight_ranges,
                                          .swap_sides = setup.swap_sides,
                                          .map = setup.character ? setup.map.get() : nullptr};
    weights_.emplace(source.names, of_weights, setup.causal);
    usable_.weights.resize(source.names.size());
    if (!weights_->HasTemplates()) {
      layout_.templates.clear();
      layout_.shapes = weights_->ValueNames();
    }
    SetUpCharacter({});
    return;
  }
  performer_ = PerformerOf(source, setup);
  layout_.performer = performer_->name;
  usable_.markers.resize(source.names.size());
  if (setup.neutral_take) {
    SetUpMarkers(LearnFace(*setup.neutral_take, *performer_, setup.neutral, setup.causal, setup.basis.get()));
    learned_from_ = setup.neutral_take;
  } else if (std::holds_alternative<NeutralPose>(performer_->neutral)) {
    SetUpMarkers(LearnFaceOfPose(*performer_, setup.causal, setup.basis.get()));
  } else {
    Learn();
  }
}

LiveFace::~LiveFace() = default;

void LiveFace::Learn() {
  if (source_.kind == LiveKind::Markers) {
    markers_.reset();
    learned_from_ = nullptr;
    layout_.neutral_head = {};
    collected_ = std::make_unique<Take>(TakeOf(source_));
    SetUpCharacter({});
  }
  Restart();
}

void LiveFace::Restart() {
  if (markers_) markers_->Restart();
  if (weights_) weights_->Restart();
  if (collected_) collected_ = std::make_unique<Take>(TakeOf(source_));
  presence_.Restart();
  has_before_ = false;
  last_time_s_.reset();
  last_solved_s_.reset();
  first_time_s_.reset();
  next_tick_ = 0;
  SizeOutput();
}

void LiveFace::SetUpMarkers(LearnedFace learned) {
  markers_.emplace(source_.names, *performer_, std::move(learned), setup_.causal);
  layout_.neutral_head = markers_->NeutralHead();
  collected_.reset();
  SetUpCharacter(markers_->FittedNames());
}

void LiveFace::SetUpCharacter(const std::vector<std::string>& fitted) {
  if (setup_.character) {
    character_.emplace(*setup_.character, setup_.expressions);
    if (!fitted.empty()) character_->UseFitted(fitted);
    SetCharacter(layout_, *setup_.character);
  }
  SizeOutput();
}

// The numbers of a face at rest, in the sizes that they keep.
void LiveFace::SizeOutput() {
  solved_ = {};
  solved_.templates.assign(layout_.templates.size(), 0);
  solved_.values.assign(weights_   ? weights_->ValueNames().size()
                        : markers_ ? markers_->FittedNames().size()
                                   : 0,
                        0);
  solved_.head = layout_.neutral_head;
  solved_.has_eyes = markers_ ? markers_->ShowsEyes()
                              : performer_ && setup_.causal.gaze &&
                                    !(performer_->irises[0].empty() && performer_->irises[1].empty());
  now_ = before_ = between_ = solved_;
  output_.weights.assign(layout_.templates.size(), 0);
  output_.shapes.assign(layout_.shapes.size(), 0);
  output_.local.assign(layout_.clusters.size(), {});
  output_.global.assign(layout_.clusters.size(), {});
}

const LiveInput& LiveFace::Receive(const LiveInput& input) {
  usable_.face = input.face;
  usable_.arrival_s = input.arrival_s;
  if (source_.kind == LiveKind::Markers) {
    usable_.lost = !ReceiveMarkers(input);
  } else {
    ReceiveWeights(input);
    usable_.lost = !weights_->SeesFace(usable_);
  }
  return usable_;
}

// Returns whether any can be used.
bool LiveFace::ReceiveMarkers(const LiveInput& input) {
  bool any = false;
  for (std::size_t m = 0; m < usable_.markers.size(); ++m) {
    usable_.markers[m].reset();
    if (input.lost || m >= input.markers.size() || !input.markers[m]) continue;
    if (!IsUsable(*input.markers[m])) {
      ++unusable_;
      continue;
    }
    usable_.markers[m] = input.markers[m];
    any = true;
  }
  return any;
}

void LiveFace::ReceiveWeights(const LiveInput& input) {
  constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t i = 0; i < usable_.weights.size(); ++i) {
    double& weight = usable_.weights[i];
    weight = input.lost || i >= input.weights.size() ? kMissing : input.weights[i];
    if (std::fabs(weight) > kMostWeight) {
      ++unusable_;
      weight = kMissing;
    }
  }
  const auto take = [&](auto& to, const auto& from, const auto& is_usable) {
    to.reset();
    if (input.lost || !from) return;
    if (is_usable(*from))
      to = from;
    else
      ++unusable_;
  };
  // An angle beyond half a turn has another unit, or is invalid.
  constexpr double kHalfTurn = std::numbers::pi;
  const auto is_angle = [](double angle, double most) { return std::fabs(angle) <= most; };
  take(usable_.head, input.head, [&](const HeadAngles& head) {
    return is_angle(head.yaw, kHalfTurn) && is_angle(head.pitch, kHalfTurn) && is_angle(head.roll, kHalfTurn);
  });
  take(usable_.head_place, input.head_place, IsUsable);
  take(usable_.eyes, input.eyes, [&](const Eyes& eyes) {
    return std::all_of(eyes.begin(), eyes.end(), [&](const EyeAngles& eye) {
      return is_angle(eye.yaw, kHalfTurn / 2) && is_angle(eye.pitch, kHalfTurn / 2);
    });
  });
}

void LiveFace::Solve(std::int64_t frame, double time_s,
                     const std::function<void(const LiveOutput&)>& output) {
  const double elapsed_s = last_time_s_ ? time_s - *last_time_s_ : 0;
  last_time_s_ = time_s;
  const bool seen = !usable_.lost;
  const bool learning = IsLearning();
  if (learning) {
    now_ = solved_;
    if (seen) Collect(time_s, frame);
  } else {
    if (seen) {
      const double since_solved_s = last_solved_s_ ? time_s - *last_solved_s_ : 0;
      last_solved_s_ = time_s;
      if (markers_)
        markers_->Solve(usable_.markers, since_solved_s, solved_);
      else
        weights_->Solve(usable_, since_solved_s, solved_);
    }
    Fade(seen, elapsed_s);
  }
  now_.time_s = time_s;
  now_.learning = learning;
  now_.face_seen = seen;
  output_.face = usable_.face;
  output_.arrival_s = usable_.arrival_s;
  if (setup_.causal.output_rate)
    Resample(output);
  else
    SendAt(time_s, frame, now_, output);
  if (learning && collected_ && collected_->FrameCount() > 0 &&
      (time_s - collected_->times[0] >= setup_.causal.learn_s || IsCollectedFull()))
    LearnNow();
}

void LiveFace::Collect(double time_s, std::int64_t frame) {
  const std::size_t f = collected_->AddFrame(frame, time_s);
  for (std::size_t m = 0; m < usable_.markers.size(); ++m)
    if (usable_.markers[m]) collected_->Set(f, m, *usable_.markers[m]);
}

bool LiveFace::IsCollectedFull() const {
  constexpr std::size_t kMostFrames = 4000, kMostPositions = 1000000; // 24 MB
  return collected_->FrameCount() >= kMostFrames ||
         collected_->FrameCount() * source_.names.size() >= kMostPositions;
}

void LiveFace::LearnNow() {
  try {
    int decimals = 0; // as in a recording of these frames, whose rate is then the same
    for (const double time : collected_->times) {
      char text[kLongestNumber];
      decimals = std::max(decimals, DecimalsOf(std::string_view(text, WriteNumber(text, time))));
    }
    if (SetRateByTimes(*collected_, decimals)) collected_->rate = {30, 1};
    const FrameRange all = {collected_->frames.front(), collected_->frames.back()};
    LearnedFace learned = LearnFace(*collected_, *performer_, all, setup_.causal, setup_.basis.get());
    learned_from_ = std::move(collected_);
    const double before_s = before_.time_s;
    SetUpMarkers(std::move(learned));
    before_.time_s = before_s;
    before_.learning = true;
    last_solved_s_.reset();
  } catch (const InputError&) {
    ++failed_learnings_;
    collected_ = std::make_unique<Take>(TakeOf(source_));
  }
}

// The result for this frame: the last one, as far as it is still present.
void LiveFace::Fade(bool seen, double elapsed_s) {
  now_ = solved_;
  const double share = now_.presence = presence_.Step(seen, elapsed_s);
  if (!seen) {
    now_.head_known = now_.eyes_known = false;
    now_.residual_mm = {};
    now_.unseen = markers_ ? markers_->Used().size() : source_.names.size();
  }
  if (share >= 1) return;
  for (double& weight : now_.templates) weight *= share;
  for (double& weight : now_.values) weight *= share;
  for (EyeAngles& eye : now_.eyes) eye = {.yaw = share * eye.yaw, .pitch = share * eye.pitch};
  now_.head = RigidBetween(layout_.neutral_head, now_.head, share);
}

void LiveFace::Resample(const std::function<void(const LiveOutput&)>& output) {
  constexpr double kLongest_s = 1;
  const FrameRate& rate = *setup_.causal.output_rate;
  if (!first_time_s_) first_time_s_ = now_.time_s;
  const auto tick_s = [&] { return *first_time_s_ + rate.Seconds(next_tick_); };
  if (!has_before_ || now_.time_s - before_.time_s > kLongest_s) {
    // On to the first tick that is not in the past.
    const double ticks = std::ceil((now_.time_s - *first_time_s_) * rate.Hz());
    constexpr double kMostTicks = 9e15;
    next_tick_ = std::max(next_tick_, static_cast<std::int64_t>(std::min(ticks, kMostTicks)));
    if (tick_s() < now_.time_s) ++next_tick_; // the product was rounded
    before_ = now_;
  }
  for (double time_s = tick_s(); time_s <= now_.time_s; time_s = tick_s()) {
    const double whole_s = now_.time_s - before_.time_s;
    const double share = whole_s > 0 ? (time_s - before_.time_s) / whole_s : 1;
    between_ = now_;
    if (share < 1 && before_.learning == now_.learning) {
      const auto mix = [share](double a, double b) { return a + (b - a) * share; };
      for (std::size_t i = 0; i < between_.templates.size(); ++i)
        between_.templates[i] = mix(before_.templates[i], now_.templates[i]);
      for (std::size_t i = 0; i < between_.values.size(); ++i)
        between_.values[i] = mix(before_.values[i], now_.values[i]);
      for (std::size_t eye = 0; eye < 2; ++eye)
        between_.eyes[eye] = {.yaw = mix(before_.eyes[eye].yaw, now_.eyes[eye].yaw),
                              .pitch = mix(before_.eyes[eye].pitch, now_.eyes[eye].pitch)};
      between_.head = RigidBetween(before_.head, now_.head, share);
    }
    SendAt(time_s, ++next_tick_, between_, output);
  }
  std::swap(before_, now_);
  has_before_ = true;
}

void LiveFace::SendAt(double time_s, std::int64_t frame, const LiveMoment& moment,
                      const std::function<void(const LiveOutput&)>& output) {
  output_.frame = frame;
  output_.time_s = time_s;
  output_.timecode = layout_.timecode;
  output_.weights = moment.templates;
  output_.head = moment.head;
  output_.head_motion = layout_.HeadMotion(moment.head);
  output_.eyes = moment.has_eyes ? std::optional(moment.eyes) : std::nullopt;
  output_.learning = moment.learning;
  output_.face_seen = moment.face_seen;
  output_.head_known = moment.head_known;
  output_.eyes_known = moment.eyes_known;
  output_.unseen = moment.unseen;
  output_.presence = moment.presence;
  output_.residual_mm = moment.residual_mm;
  if (character_) {
    character_->SolveShapes(output_.shapes, moment.templates.data(), moment.has_eyes ? &moment.eyes : nullptr,
                            moment.values.data());
    if (!output_.local.empty()) {
      const VCharacterFaceClusterSetState* const sets = character_->SolveClusters(output_.shapes.data());
      std::size_t next = 0;
      for (std::size_t p = 0; p < setup_.character->parts.size(); ++p)
        for (int c = 0; c < sets[p].mClusters.GetCount(); ++c, ++next) {
          const VCharacterFaceClusterState& cluster = *sets[p].mClusters[c];
          output_.local[next] = {cluster.mLocalT, cluster.mLocalR, cluster.mLocalS};
          output_.global[next] = {cluster.mGlobalT, cluster.mGlobalR, cluster.mGlobalS};
        }
    }
  } else if (!moment.values.empty()) {
    output_.shapes = moment.values;
  }
  output(output_);
}

} // namespace mien
