#include "host/compare/comparison_json.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

namespace {

JsonValue SideAsJson(const Recording& side, std::size_t frames) {
  return JsonObject({{"file", side.file},
                     {"format", side.format},
                     {"frames", frames},
                     {"rate", ToText(side.rate)},
                     {"timecode", side.timecode ? JsonValue(ToText(*side.timecode)) : JsonValue(nullptr)}});
}

JsonValue PairAsJson(const Comparison& comparison, const Comparison::Pair& pair) {
  const Recording& a = comparison.a;
  const Curve& curve = a.curves[pair.a];
  const CurveDifference& d = pair.difference;
  const auto if_compared = [&](const auto& value) {
    return d.compared > 0 ? JsonValue(value) : JsonValue(nullptr);
  };
  const std::string timecode = a.TimecodeAt(d.largest_frame);
  return JsonObject({{"group", curve.group},
                     {"name", curve.name},
                     {"unit", curve.unit},
                     {"frames", d.compared},
                     {"only_a", d.only_a},
                     {"only_b", d.only_b},
                     {"largest", if_compared(d.largest)},
                     {"frame", if_compared(a.frames[d.largest_frame])},
                     {"time", if_compared(a.times[d.largest_frame])},
                     {"timecode", timecode.empty() ? JsonValue(nullptr) : if_compared(timecode)},
                     {"rms", if_compared(d.rms)},
                     {"correlation", d.correlation},
                     {"lag_frames", d.lag_frames}});
}

} // namespace

JsonValue ComparisonAsJson(const Comparison& comparison) {
  const Alignment& alignment = comparison.alignment;
  std::vector<JsonValue> curves;
  for (const Comparison::Pair& pair : comparison.pairs) curves.push_back(PairAsJson(comparison, pair));
  return JsonObjectOnLines({{"kind", comparison.a.kind == RecordingKind::Take ? "take" : "animation"},
                            {"a", SideAsJson(comparison.a, comparison.frames_a)},
                            {"b", SideAsJson(comparison.b, comparison.frames_b)},
                            {"alignment", JsonObject({{"by", ToText(alignment.by)},
                                                      {"text", alignment.Text()},
                                                      {"b_starts", alignment.b_starts},
                                                      {"offset_frames", alignment.offset_frames},
                                                      {"frames", comparison.a.frames.size()},
                                                      {"first_frame", comparison.a.frames.front()},
                                                      {"last_frame", comparison.a.frames.back()},
                                                      {"interpolated", alignment.interpolated},
                                                      {"only_a", alignment.only_a},
                                                      {"only_b", alignment.only_b}})},
                            {"curves", JsonListOnLines(curves)},
                            {"only_a", comparison.only_a},
                            {"only_b", comparison.only_b}});
}

} // namespace mien
