#include "host/live/live_session.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/live/live_clock.h"
#include "host/live/live_recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace mien {

struct LiveSession::Impl {
  struct Face {
    std::size_t number = 0;
    LiveSource source;
    LiveSetup setup;
    std::unique_ptr<LiveFace> face;
    LiveClock clock;
    std::int64_t frame = 0; // the last one's number
    double last_arrival_s = 0;
    double silent_s = 0; // for which frames were inserted since then
    std::string place;   // of the recording, without the number of its part
    int part = 0;
    std::unique_ptr<LiveRecording> recording;
    std::optional<Problem> recording_fault;
    LiveStatistics statistics;
    std::function<void(const LiveOutput&)> send; // made once: a frame allocates nothing
  };

  Face* Find(std::size_t number) const {
    const auto found =
        std::find_if(faces.begin(), faces.end(), [&](const auto& face) { return face->number == number; });
    return found == faces.end() ? nullptr : found->get();
  }

  Face& Require(std::size_t number) const {
    if (Face* const face = Find(number)) return *face;
    throw InputError(Code::NotFound, "", "", fmt::format("there is no face {}", number), "name another");
  }

  void Deliver(Face& face, const LiveInput& input, double time_s) {
    const LiveInput& usable = face.face->Receive(input);
    ++face.frame;
    if (face.recording) face.recording->In(usable, face.frame, time_s);
    LiveStatistics& statistics = face.statistics;
    statistics.lost += usable.lost;
    face.face->Solve(face.frame, time_s, face.send);
    EndFaultyRecording(face);
    statistics.unusable_numbers = face.face->UnusableNumbers();
    statistics.failed_learnings = face.face->FailedLearnings();
  }

  void Send(Face& face, const LiveOutput& output) const {
    LiveStatistics& statistics = face.statistics;
    ++statistics.sent;
    if (output.face_seen) {
      statistics.head_unknown += !output.head_known && !output.learning;
      statistics.unseen += output.unseen;
      statistics.poor += std::any_of(output.residual_mm.begin(), output.residual_mm.end(),
                                     [](double mm) { return mm > LiveStatistics::kPoor_mm; });
    }
    if (face.recording) face.recording->Out(output);
    on_output(output);
  }

  // The files of the part of a recording that begins now.
  static std::unique_ptr<LiveRecording> Begin(const Face& face, const LiveFace& solved,
                                              const std::string& place, int part) {
    const Take* const learned_from = face.setup.neutral_take ? nullptr : solved.LearnedFrom();
    return std::make_unique<LiveRecording>(part == 1 ? place : fmt::format("{}-{}", place, part), face.source,
                                           solved.Layout(), learned_from);
  }

  static void EndFaultyRecording(Face& face) {
    if (!face.recording || !face.recording->Fault()) return;
    face.recording_fault = face.recording->Fault();
    face.recording.reset();
  }

  /// Continues a recording, if there is one, in the files of its next part.
  static void BeginNextPart(Face& face) {
    if (!face.recording) return;
    face.recording.reset();
    try {
      face.recording = Begin(face, *face.face, face.place, ++face.part);
    } catch (const InputError& error) { face.recording_fault = error.Problems()[0]; }
  }

  std::function<void(const LiveOutput&)> on_output;
  std::vector<std::unique_ptr<Face>> faces;
  std::size_t next_number = 0;
  bool paused = false, was_paused = false;
};

LiveSession::LiveSession(std::function<void(const LiveOutput&)> on_output) : impl_(std::make_unique<Impl>()) {
  impl_->on_output = std::move(on_output);
}

LiveSession::~LiveSession() = default;

std::size_t LiveSession::AddFace(const LiveSource& source, const LiveSetup& setup) {
  if (impl_->faces.size() >= kMostFaces)
    throw InputError(Code::Limit, "", "", fmt::format("there are {} faces already", kMostFaces),
                     "end one of them, or start another session");
  auto face = std::make_unique<Impl::Face>();
  face->number = impl_->next_number;
  face->source = source;
  face->setup = setup;
  face->face = std::make_unique<LiveFace>(source, setup);
  face->send = [impl = impl_.get(), to = face.get()](const LiveOutput& output) { impl->Send(*to, output); };
  impl_->faces.push_back(std::move(face));
  return impl_->next_number++;
}

void LiveSession::RemoveFace(std::size_t face) {
  std::erase_if(impl_->faces, [&](const auto& other) { return other->number == face; });
}

std::size_t LiveSession::FaceCount() const { return impl_->faces.size(); }

const AnimationLayout& LiveSession::Layout(std::size_t face) const {
  return impl_->Require(face).face->Layout();
}

const LiveFace& LiveSession::Face(std::size_t face) const { return *impl_->Require(face).face; }

LiveSession::Verdict LiveSession::Feed(const LiveInput& input) {
  Impl::Face* const face = impl_->Find(input.face);
  if (!face) return Verdict::Unknown;
  LiveStatistics& statistics = face->statistics;
  ++statistics.received;
  if (impl_->paused) return ++statistics.paused, Verdict::Paused;
  switch (face->clock.Take(input)) {
  case LiveClock::Order::Duplicate:
    return ++statistics.duplicates, Verdict::Duplicate;
  case LiveClock::Order::Late:
    return ++statistics.late, Verdict::Late;
  case LiveClock::Order::Unusable:
    return ++statistics.unusable, Verdict::Unusable;
  case LiveClock::Order::Next:
    break;
  }
  face->face->SetTimecode(face->clock.First());
  face->last_arrival_s = input.arrival_s;
  face->silent_s = 0;
  ++statistics.used;
  statistics.dropped = face->clock.Dropped();
  statistics.source_restarts = face->clock.Restarts();
  statistics.rate_hz = face->clock.Interval() > 0 ? 1 / face->clock.Interval() : 0;
  statistics.drift_ppm = face->clock.Drift_ppm();
  impl_->Deliver(*face, input, face->clock.Time());
  return Verdict::Used;
}

void LiveSession::Advance(double now_s) {
  if (impl_->paused) return;
  // Nobody knows how long the sources were silent during a pause.
  if (std::exchange(impl_->was_paused, false))
    for (const auto& face : impl_->faces) face->last_arrival_s = std::max(face->last_arrival_s, now_s);
  constexpr double kLeast_s = 0.25, kIntervals = 3, kShortest_s = 1.0 / 240, kLongest_s = 0.1;
  for (const auto& face : impl_->faces) {
    if (face->frame == 0) continue;
    const double interval_s = std::clamp(face->clock.Interval(), kShortest_s, kLongest_s);
    const double silence_s = now_s - face->last_arrival_s;
    if (!(silence_s > std::max(kLeast_s, kIntervals * interval_s))) continue;
    const CausalSettings& settings = face->setup.causal;
    const double faded_s = settings.face_hold_s + settings.face_fade_s + interval_s; // at rest from then on
    LiveInput lost;
    lost.face = face->number;
    lost.arrival_s = now_s;
    lost.lost = true;
    while (face->silent_s + interval_s <= std::min(silence_s, faded_s)) {
      face->silent_s += interval_s;
      face->clock.Insert(face->clock.Time() + interval_s);
      ++face->statistics.inserted;
      impl_->Deliver(*face, lost, face->clock.Time());
    }
  }
}

void LiveSession::NeutralNow(std::size_t face) {
  Impl::Face& found = impl_->Require(face);
  if (found.source.kind != LiveKind::Markers) return;
  found.face->Learn();
  found.setup.neutral_take = nullptr; // from now on from the stream
  Impl::BeginNextPart(found);
}

void LiveSession::Pause(bool paused) {
  impl_->paused = paused;
  impl_->was_paused |= paused;
}

void LiveSession::Mark(std::size_t face, const std::string& label) {
  Impl::Face& found = impl_->Require(face);
  if (found.recording) found.recording->Event(found.clock.Time(), label);
  Impl::EndFaultyRecording(found);
}

void LiveSession::SwitchPerformer(std::size_t face, const LiveSetup& setup) {
  Impl::Face& found = impl_->Require(face);
  auto other = std::make_unique<LiveFace>(found.source, setup);
  found.face = std::move(other);
  found.setup = setup;
  found.face->SetTimecode(found.clock.First());
  Impl::BeginNextPart(found);
}

void LiveSession::StartRecording(std::size_t face, const std::string& place) {
  Impl::Face& found = impl_->Require(face);
  auto recording = Impl::Begin(found, *found.face, place, 1);
  found.face->Restart();
  found.recording = std::move(recording);
  found.recording_fault.reset();
  found.place = place;
  found.part = 1;
}

void LiveSession::StopRecording(std::size_t face) { impl_->Require(face).recording.reset(); }

bool LiveSession::IsRecording(std::size_t face) const { return impl_->Require(face).recording != nullptr; }

const std::optional<Problem>& LiveSession::RecordingFault(std::size_t face) const {
  return impl_->Require(face).recording_fault;
}

const LiveStatistics& LiveSession::Statistics(std::size_t face) const {
  return impl_->Require(face).statistics;
}

void LiveSession::AddLatency(std::size_t face, double seconds) {
  if (Impl::Face* const found = impl_->Find(face)) found->statistics.latency.Add(seconds);
}

} // namespace mien
