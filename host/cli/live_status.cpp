#include "host/cli/live_status.h"

#include "host/base/text.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace mien {

namespace {

constexpr double kMs = 1000;

std::string LatencyText(const LatencyHistogram& latency) {
  return fmt::format("{:.2f}/{:.2f} ms", kMs * latency.Quantile(0.5), kMs * latency.Quantile(0.99));
}

/// Frames that are missing or were left out.
std::uint64_t LeftOut(const LiveStatistics& s) { return s.dropped + s.duplicates + s.late + s.unusable; }

JsonValue AsJson(const StreamedFace& face) {
  const LiveStatistics& s = *face.statistics;
  return JsonObject({{"source", face.source + 1},
                     {"face", face.name},
                     {"seen", face.seen},
                     {"learning", face.learning},
                     {"rate_hz", s.rate_hz},
                     {"drift_ppm", s.drift_ppm},
                     {"latency_ms", JsonObject({{"median", kMs * s.latency.Quantile(0.5)},
                                                {"p99", kMs * s.latency.Quantile(0.99)}})},
                     {"received", s.received},
                     {"used", s.used},
                     {"sent", s.sent},
                     {"dropped", s.dropped},
                     {"duplicates", s.duplicates},
                     {"late", s.late},
                     {"unusable", s.unusable},
                     {"paused", s.paused},
                     {"inserted", s.inserted},
                     {"lost", s.lost},
                     {"head_unknown", s.head_unknown},
                     {"poor", s.poor},
                     {"unseen", s.unseen},
                     {"unusable_numbers", s.unusable_numbers},
                     {"failed_learnings", s.failed_learnings},
                     {"source_restarts", s.source_restarts}});
}

} // namespace

std::string StatusText(const LiveStream& stream, const LiveJob& job, std::size_t columns) {
  std::vector<std::string> faces;
  for (const StreamedFace& face : stream.Faces()) {
    const LiveStatistics& s = *face.statistics;
    std::string text = Printable(job.sources[face.source].text);
    if (!face.name.empty() && job.sources[face.source].text.find(face.name) == std::string::npos)
      text += " " + Printable(face.name);
    text += fmt::format(" {:.1f}/s {}", s.rate_hz, LatencyText(s.latency));
    if (LeftOut(s) > 0) text += fmt::format(" {} dropped", LeftOut(s));
    if (face.learning)
      text += " learning";
    else if (!face.seen)
      text += " lost";
    else if (s.poor > 0)
      text += fmt::format(" {} poor", s.poor);
    faces.push_back(text);
  }
  if (faces.empty()) return Shortened("waiting for the first frame", columns);
  const std::string state = stream.IsPaused() ? "paused: " : stream.IsRecording() ? "recording: " : "";
  return Shortened(fmt::format("{}{}", state, fmt::join(faces, ", ")), columns);
}

std::string SummaryOf(const StreamedFace& face) {
  const LiveStatistics& s = *face.statistics;
  std::string text = fmt::format("{}: {} in, {} out", face.name.empty() ? "unnamed" : Quoted(face.name),
                                 Count(s.received, "frame"), s.sent);
  if (s.latency.Total() > 0)
    text += fmt::format(", latency {} (median/99th percentile)", LatencyText(s.latency));
  for (const auto& [count, what] : {std::pair(s.dropped, "missing"),
                                    {s.duplicates, "doubled"},
                                    {s.late, "late"},
                                    {s.unusable, "without a usable time"},
                                    {s.paused, "while paused"},
                                    {s.lost, "without the face"},
                                    {s.poor, "poor"}})
    if (count > 0) text += fmt::format(", {} {}", count, what);
  if (s.failed_learnings > 0)
    text += fmt::format(", no neutral face found in {}", Count(s.failed_learnings, "attempt"));
  if (s.drift_ppm) text += fmt::format(", clock {:+.0f} ppm", *s.drift_ppm);
  return text;
}

std::string FaultsOf(const StreamedSource& source) {
  std::vector<std::string> faults;
  for (const auto& [reason, count] : source.faults) faults.push_back(fmt::format("{}: {}", reason, count));
  if (source.flooded > 0) faults.push_back(fmt::format("came too fast: {}", source.flooded));
  return fmt::format("{}", fmt::join(faults, ", "));
}

JsonValue StatusAsJson(const LiveStream& stream, const LiveJob& job) {
  std::vector<JsonValue> faces, sources;
  for (const StreamedFace& face : stream.Faces()) faces.push_back(AsJson(face));
  const std::vector<StreamedSource> all = stream.Sources();
  for (std::size_t s = 0; s < all.size(); ++s) {
    std::vector<JsonMember> faults;
    for (const auto& [reason, count] : all[s].faults) faults.push_back({std::string(reason), count});
    sources.push_back(JsonObject({{"source", job.sources[s].text},
                                  {"port", all[s].port},
                                  {"packets", all[s].packets},
                                  {"flooded", all[s].flooded},
                                  {"faults", JsonObject(faults)}}));
  }
  return JsonObject({{"event", "status"},
                     {"recording", stream.IsRecording()},
                     {"paused", stream.IsPaused()},
                     {"faces", JsonList(faces)},
                     {"sources", JsonList(sources)},
                     {"dropped_by_sinks", stream.DroppedBySinks()}});
}

} // namespace mien
