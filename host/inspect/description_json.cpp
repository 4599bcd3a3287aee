#include "host/inspect/description_json.h"

#include "host/base/json_text.h"

#include <vector>

namespace mien {

namespace {

JsonValue Json(const std::optional<Extents>& extents) {
  if (!extents) return nullptr;
  return JsonObject({{"low", extents->low}, {"high", extents->high}});
}

JsonValue Frames(const TakeDescription& d) {
  return JsonObject({{"count", d.frames},
                     {"first", d.first_frame},
                     {"last", d.last_frame},
                     {"missing", d.missing_frames},
                     {"empty", d.empty_frames}});
}

JsonValue Rate(const FrameRate& rate) {
  return JsonObject({{"text", ToText(rate)},
                     {"numerator", rate.numerator},
                     {"denominator", rate.denominator},
                     {"hz", rate.Hz()}});
}

JsonValue TimecodeOf(const TakeDescription& d) {
  if (!d.timecode) return nullptr;
  return JsonObject({{"first", d.timecode->At(0)},
                     {"last", d.last_timecode},
                     {"rate", ToText(d.timecode->rate)},
                     {"drop", d.timecode->drop}});
}

JsonValue Face(const std::optional<FaceDirections>& face) {
  if (!face) return nullptr;
  return JsonObject({{"left", face->left}, {"up", face->up}, {"forward", face->forward}});
}

JsonValue Events(const std::vector<TakeEvent>& events) {
  std::vector<JsonValue> list;
  for (const auto& [time, label] : events) list.push_back(JsonObject({{"time_s", time}, {"label", label}}));
  return JsonList(list);
}

JsonValue Marker(const MarkerDescription& m, const std::vector<std::int64_t>& numbers) {
  std::vector<JsonValue> gaps;
  for (const auto& [first, end] : m.gaps) gaps.push_back(JsonList({numbers[first], numbers[end - 1]}));
  JsonValue longest = nullptr;
  if (m.longest_gap)
    longest = JsonObject({{"frames", m.longest_gap->Count()},
                          {"first", numbers[m.longest_gap->first]},
                          {"last", numbers[m.longest_gap->end - 1]},
                          {"duration_s", m.longest_gap_s}});
  return JsonObjectOnLines({{"name", m.name},
                            {"gaps", m.gap_frames},
                            {"gap_runs", JsonList(gaps)},
                            {"longest_gap", longest},
                            {"computed", m.computed},
                            {"filled", m.filled},
                            {"residual_mm", m.residual_mm},
                            {"extents_mm", Json(m.extents)}});
}

} // namespace

std::vector<JsonMember> MembersOf(const TakeDescription& d) {
  std::vector<JsonValue> markers;
  for (const MarkerDescription& marker : d.markers) markers.push_back(Marker(marker, d.frame_numbers));
  return {{"format", "mien take description 1"},
          {"file", d.file},
          {"name", d.name},
          {"source", JsonObject({{"format", d.format}, {"flavour", d.flavour}, {"unit", d.unit}})},
          {"frames", Frames(d)},
          {"rate", Rate(d.rate)},
          {"start_s", d.start_s},
          {"duration_s", d.duration_s},
          {"timecode", TimecodeOf(d)},
          {"extents_mm", Json(d.extents)},
          {"axes", d.axes.empty() ? JsonValue(nullptr) : JsonValue(d.axes)},
          {"face", Face(d.face)},
          {"events", Events(d.events)},
          {"markers", JsonListOnLines(markers)},
          {"like_names", d.like_names},
          {"notes", d.notes}};
}

std::string ToJson(const TakeDescription& description) {
  return JsonObjectOnLines(MembersOf(description)).Text();
}

} // namespace mien
