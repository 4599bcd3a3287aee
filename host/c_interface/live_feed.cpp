#include "host/c_interface/array.h"
#include "host/c_interface/array_clock.h"
#include "host/c_interface/call.h"
#include "host/c_interface/live.h"
#include "host/c_interface/struct_size.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

using namespace mien;

namespace {

bool IsAny(const double* numbers, std::size_t count) {
  return numbers && std::none_of(numbers, numbers + count, [](double number) { return std::isnan(number); });
}

/// The clocks of a frame.
void FillTimes(LiveInput& input, const mien_live_frame& frame) {
  input.face = frame.face;
  input.arrival_s = frame.arrival;
  input.lost = frame.lost != 0;
  input.source_s.reset();
  if (!std::isnan(frame.time)) input.source_s = frame.time;
  input.timecode.reset();
  if (frame.timecode_rate_numerator == 0) return;
  input.timecode = LiveTimecode{.count = frame.timecode,
                                .fraction = frame.timecode_fraction,
                                .rate = {frame.timecode_rate_numerator, frame.timecode_rate_denominator},
                                .drop = frame.timecode_drop != 0};
}

void FillMarkers(LiveInput& input, const mien_live_frame& frame) {
  input.markers.resize(frame.value_count / 3);
  for (std::size_t m = 0; m < input.markers.size(); ++m) {
    const double* const at = frame.values + 3 * m;
    input.markers[m].reset();
    if (IsAny(at, 3)) input.markers[m] = Point{at[0], at[1], at[2]};
  }
}

void FillWeights(LiveInput& input, const mien_live_frame& frame) {
  input.weights.assign(frame.values, frame.values + frame.value_count);
  input.head.reset(), input.head_place.reset(), input.eyes.reset();
  if (const double* const head = frame.head; IsAny(head, 3))
    input.head = HeadAngles{.yaw = head[0], .pitch = head[1], .roll = head[2]};
  if (const double* const place = frame.head_place; IsAny(place, 3))
    input.head_place = Point{place[0], place[1], place[2]};
  if (const double* const eyes = frame.eyes; IsAny(eyes, 4))
    input.eyes =
        Eyes{EyeAngles{.yaw = eyes[0], .pitch = eyes[1]}, EyeAngles{.yaw = eyes[2], .pitch = eyes[3]}};
}

mien_live_verdict VerdictOf(LiveSession::Verdict verdict) {
  switch (verdict) {
  case LiveSession::Verdict::Paused:
    return MIEN_LIVE_PAUSED;
  case LiveSession::Verdict::Duplicate:
    return MIEN_LIVE_DUPLICATE;
  case LiveSession::Verdict::Late:
    return MIEN_LIVE_LATE;
  case LiveSession::Verdict::Unusable:
    return MIEN_LIVE_UNUSABLE;
  case LiveSession::Verdict::Used:
  case LiveSession::Verdict::Unknown: // RequireFace has thrown
    break;
  }
  return MIEN_LIVE_USED;
}

mien_live_verdict Feed(mien_live& live, const mien_live_frame& frame) {
  mien_live::Face& face = live.RequireFace(frame.face);
  LiveInput& input = face.input;
  FillTimes(input, frame);
  if (!input.lost) {
    if (!frame.values) throw UsageError("values", "this is NULL");
    if (frame.value_count != face.value_count)
      throw UsageError("value_count", fmt::format("the face has {} values in a frame, and not {}",
                                                  face.value_count, frame.value_count));
    if (face.kind == LiveKind::Markers)
      FillMarkers(input, frame);
    else
      FillWeights(input, frame);
  }
  live.result_count = 0;
  return VerdictOf(live.session.Feed(input));
}

} // namespace

mien_status mien_live_feed(mien_live* live, const mien_live_frame* frame, mien_live_verdict* verdict,
                           mien_messages** errors) {
  return CallStatus(errors, [&] {
    mien_live& own = Require(live, "live");
    const mien_live_verdict became = Feed(own, ReadStruct(frame, "frame"));
    if (verdict) *verdict = became;
  });
}

mien_status mien_live_advance(mien_live* live, double now, mien_messages** errors) {
  return CallStatus(errors, [&] {
    mien_live& own = Require(live, "live");
    if (!std::isfinite(now)) throw UsageError("now", "this is not a time in seconds");
    own.result_count = 0;
    own.session.Advance(now);
  });
}

size_t mien_live_result_count(const mien_live* live) { return Known(live) ? live->result_count : 0; }

mien_status mien_live_get_result(const mien_live* live, size_t index, mien_live_result* result) {
  if (!Known(live) || index >= live->result_count) return MIEN_USAGE;
  const LiveOutput& own = live->results[index].output;
  return FillStruct(result, mien_live_result{.struct_size = sizeof(mien_live_result),
                                             .face = own.face,
                                             .frame = own.frame,
                                             .time = own.time_s,
                                             .arrival = own.arrival_s,
                                             .presence = own.presence,
                                             .unseen = own.unseen,
                                             .learning = own.learning,
                                             .face_seen = own.face_seen,
                                             .head_known = own.head_known,
                                             .eyes_known = own.eyes_known});
}

mien_status mien_live_get_array(const mien_live* live, size_t index, mien_frame_array which,
                                mien_array* array, mien_messages** errors) {
  return CallStatus(errors, [&] {
    const mien_live& own = Require(live, "live");
    if (index >= own.result_count)
      throw UsageError("index", fmt::format("the last call has {} results", own.result_count));
    GiveArray(array, own.results[index].Array(which));
  });
}
