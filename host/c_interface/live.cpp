#include "host/c_interface/live.h"

#include "host/c_interface/array_clock.h"
#include "host/c_interface/call.h"
#include "host/c_interface/character.h"
#include "host/c_interface/live_setup.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/struct_size.h"

#include <fmt/format.h>

#include <limits>
#include <optional>
#include <utility>

using namespace mien;

mien_live::mien_live()
    : session([this](const LiveOutput& output) {
        if (result_count == results.size()) results.emplace_back();
        results[result_count].TakeOver(output);
        ++result_count;
      }) {}

mien_live::Face& mien_live::RequireFace(std::size_t number) {
  const auto found = faces.find(number);
  if (found == faces.end()) throw UsageError("face", fmt::format("there is no face {}", number));
  return found->second;
}

namespace {

LiveSource SourceOf(const mien_live_face& face) {
  if (face.kind != MIEN_LIVE_MARKERS && face.kind != MIEN_LIVE_WEIGHTS)
    throw UsageError("kind", "there is no such kind");
  return {.name = face.name ? RequireText(face.name, "name") : "face",
          .kind = face.kind == MIEN_LIVE_MARKERS ? LiveKind::Markers : LiveKind::Weights,
          .names = NamesOf(face.names, face.name_count, "names")};
}

void Add(mien_live& live, const mien_live_face& face, std::size_t& number) {
  const LiveSource source = SourceOf(face);
  const mien_character* const character = RequireOrNull(face.character, "character");
  SolveJob settings;
  LiveSetup setup;
  if (source.kind == LiveKind::Markers) {
    settings = SettingsOf(face.settings, MIEN_STEP_SOLVE).solve;
    setup = SetupOfMarkers(settings, Require(face.performer, "performer"), RequireOrNull(face.take, "take"),
                           character ? character->shared : nullptr);
  } else {
    if (face.performer) throw UsageError("performer", "weights have no performer");
    if (face.take) throw UsageError("take", "weights need no neutral face");
    setup = SetupOfWeights(SettingsOf(face.settings, MIEN_STEP_RETARGET).retarget,
                           character ? character->shared : nullptr);
  }
  const std::size_t added = live.session.AddFace(source, setup);
  try {
    const std::size_t values = source.names.size() * (source.kind == LiveKind::Markers ? 3 : 1);
    live.faces.emplace(added, mien_live::Face{.kind = source.kind,
                                              .value_count = values,
                                              .names = LayoutNames(live.session.Layout(added)),
                                              .input = {},
                                              .settings = std::move(settings),
                                              .character = setup.character});
  } catch (...) {
    live.session.RemoveFace(added);
    throw;
  }
  number = added;
}

/// What a function does to one face: `body(live, number)` may throw.
template <class Body>
mien_status ForFace(mien_live* live, size_t face, mien_messages** errors, const Body& body) {
  return CallStatus(errors, [&] {
    mien_live& own = Require(live, "live");
    own.RequireFace(face);
    body(own);
  });
}

mien_live_statistics StatisticsOf(const mien_live& live, std::size_t face) {
  const LiveStatistics& own = live.session.Statistics(face);
  constexpr double kMedian = 0.5, kMost = 0.99;
  return {.struct_size = sizeof(mien_live_statistics),
          .received = own.received,
          .used = own.used,
          .duplicates = own.duplicates,
          .late = own.late,
          .unusable = own.unusable,
          .paused = own.paused,
          .dropped = own.dropped,
          .inserted = own.inserted,
          .sent = own.sent,
          .lost = own.lost,
          .head_unknown = own.head_unknown,
          .poor = own.poor,
          .unseen = own.unseen,
          .unusable_numbers = own.unusable_numbers,
          .failed_learnings = own.failed_learnings,
          .source_restarts = own.source_restarts,
          .rate = own.rate_hz,
          .drift_ppm = own.drift_ppm.value_or(std::numeric_limits<double>::quiet_NaN()),
          .latencies = own.latency.Total(),
          .latency_median = own.latency.Quantile(kMedian),
          .latency_p99 = own.latency.Quantile(kMost),
          .recording = live.session.IsRecording(face) ? 1 : 0};
}

} // namespace

mien_live* mien_live_new(mien_messages** errors) {
  return CallNew(errors, [] { return std::make_unique<mien_live>(); });
}

mien_status mien_live_add(mien_live* live, const mien_live_face* face, size_t* number,
                          mien_messages** errors) {
  return CallStatus(errors, [&] {
    mien_live& own = Require(live, "live");
    if (!number) throw UsageError("number", "this is NULL");
    Add(own, ReadStruct(face, "face"), *number);
  });
}

mien_status mien_live_remove(mien_live* live, size_t face, mien_messages** errors) {
  return ForFace(live, face, errors, [&](mien_live& own) {
    own.session.RemoveFace(face);
    own.faces.erase(face);
  });
}

mien_status mien_live_switch_performer(mien_live* live, size_t face, const mien_performer* performer,
                                       const mien_take* take, mien_messages** errors) {
  return ForFace(live, face, errors, [&](mien_live& own) {
    const mien_live::Face& found = own.RequireFace(face);
    if (found.kind != LiveKind::Markers) throw UsageError("face", "weights have no performer");
    own.session.SwitchPerformer(face, SetupOfMarkers(found.settings, Require(performer, "performer"),
                                                     RequireOrNull(take, "take"), found.character));
  });
}

size_t mien_live_name_count(const mien_live* live, size_t face, mien_names which) {
  if (!Known(live)) return 0;
  const auto found = live->faces.find(face);
  return found == live->faces.end() ? 0 : found->second.names.Count(which);
}

const char* mien_live_name(const mien_live* live, size_t face, mien_names which, size_t index) {
  if (!Known(live)) return nullptr;
  const auto found = live->faces.find(face);
  return found == live->faces.end() ? nullptr : found->second.names.At(which, index);
}

mien_status mien_live_neutral_now(mien_live* live, size_t face, mien_messages** errors) {
  return ForFace(live, face, errors, [&](mien_live& own) { own.session.NeutralNow(face); });
}

mien_status mien_live_pause(mien_live* live, int32_t paused, mien_messages** errors) {
  return CallStatus(errors, [&] { Require(live, "live").session.Pause(paused != 0); });
}

mien_status mien_live_start_recording(mien_live* live, size_t face, const char* place,
                                      mien_messages** errors) {
  return ForFace(live, face, errors,
                 [&](mien_live& own) { own.session.StartRecording(face, RequirePath(place, "place")); });
}

mien_status mien_live_stop_recording(mien_live* live, size_t face, mien_messages** errors) {
  return ForFace(live, face, errors, [&](mien_live& own) {
    own.session.StopRecording(face);
    if (const std::optional<Problem>& fault = own.session.RecordingFault(face)) throw InputError(*fault);
  });
}

mien_status mien_live_mark(mien_live* live, size_t face, const char* label, mien_messages** errors) {
  return ForFace(live, face, errors,
                 [&](mien_live& own) { own.session.Mark(face, RequireText(label, "label")); });
}

mien_status mien_live_add_latency(mien_live* live, size_t face, double seconds, mien_messages** errors) {
  return ForFace(live, face, errors, [&](mien_live& own) { own.session.AddLatency(face, seconds); });
}

mien_status mien_live_get_statistics(const mien_live* live, size_t face, mien_live_statistics* statistics) {
  if (!Known(live) || !live->faces.contains(face)) return MIEN_USAGE;
  return FillStruct(statistics, StatisticsOf(*live, face));
}

mien_status mien_live_free(mien_live* live) { return Free(live); }
