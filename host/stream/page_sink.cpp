#include "host/stream/page_sink.h"

#include "host/base/error.h"
#include "host/base/json_text.h"
#include "host/base/text.h"
#include "host/view/solve_side.h"
#include "host/view/viewer_page.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <sstream>
#include <utility>

namespace mien {

namespace {

constexpr FrameRate kRows = {60, 1};    // per second
constexpr std::size_t kMostRows = 1200; // 20 seconds
constexpr double kSoonest_s = 0.9 / 60; // between two frames; slightly less than a row

/// With more markers than this, the page shows none: a browser could not keep up.
constexpr std::size_t kMostMarkers = 1000;

LiveSideSetup SetupOf(const LiveFace& face, const LiveSource& source, const std::string& name) {
  LiveSideSetup setup;
  setup.name = name;
  setup.layout = face.Layout();
  setup.has_eyes = face.MayShowEyes();
  setup.character = face.CharacterInUse();
  if (source.kind != LiveKind::Markers || source.names.size() > kMostMarkers) return setup;
  for (const std::string& marker : source.names) setup.markers.push_back(Printable(marker));
  const NeutralPose* const pose = face.Neutral();
  if (!pose) return setup;
  const VgeAMatrix to_face = InverseOfOrthogonalAxes(setup.layout.neutral_head);
  for (const std::string& marker : source.names) {
    std::optional<Point>& place = setup.neutral.emplace_back();
    const auto found = pose->find(marker);
    if (found == pose->end()) continue;
    const VgeTVector p = TransformPoint(to_face, {found->second.x, found->second.y, found->second.z});
    place = Point{p.x, p.y, p.z};
  }
  setup.place = PlaceOfFace(*face.PerformerInUse(), *pose, setup.layout.neutral_head);
  return setup;
}

std::string ClockOf(const LiveOutput& output) {
  if (output.timecode) return output.timecode->At(output.time_s);
  return fmt::format("{:.2f} s", output.time_s);
}

} // namespace

PageSink::PageSink(const std::string& address, std::uint16_t port, std::string title)
    : server_(address, port), title_(std::move(title)) {
  if (!ViewerPage())
    throw InputError(Code::Usage, "", "", "--out page: this mien was built without Node.js, and has no page",
                     "install nodejs and npm, and build it again");
  ServePage();
}

void PageSink::ServePage() {
  server_.SetPage([this](const std::string& events) {
    std::vector<const LiveSide*> sides;
    for (const Shown& shown : shown_) sides.push_back(shown.side.get());
    std::ostringstream text;
    WriteViewPage(LivePageOf(title_, kRows, kMostRows, events, sides), *ViewerPage(), text);
    return std::move(text).str();
  });
}

bool PageSink::Show(const LiveSession& session, std::size_t face, const LiveSource& source,
                    const std::string& name) {
  Shown* found = nullptr;
  for (Shown& shown : shown_)
    if (shown.face == face) found = &shown;
  if (!found) {
    if (shown_.size() == kMostFaces) return false;
    found = &shown_.emplace_back();
    found->face = face;
  }
  LiveSideSetup setup = SetupOf(session.Face(face), source, name);
  found->has_markers = !setup.markers.empty();
  found->side = std::make_unique<LiveSide>(std::move(setup));
  ServePage();
  return true;
}

void PageSink::Send(const LiveOutput& output, std::span<const std::optional<Point>> markers) {
  if (server_.Readers() == 0) return;
  for (std::size_t s = 0; s < shown_.size(); ++s) {
    Shown& shown = shown_[s];
    if (shown.face != output.face) continue;
    const double passed_s = output.time_s - shown.last_sent_s;
    if (passed_s >= 0 && passed_s < kSoonest_s) return;
    shown.last_sent_s = output.time_s;
    const AnimationFrame frame = {.number = output.frame,
                                  .time = output.time_s,
                                  .head = output.head,
                                  .weights = output.weights,
                                  .shape_weights = output.shapes,
                                  .eyes = output.eyes ? &*output.eyes : nullptr,
                                  .local_clusters = output.local,
                                  .global_clusters = output.global};
    std::span<const std::optional<Point>> seen;
    if (shown.has_markers) seen = markers;
    server_.Send("frame", shown.side->FrameEvent(s, ClockOf(output), frame, seen));
  }
}

void PageSink::SendStatus(const std::string& summary, const std::vector<ViewFacts>& facts) {
  if (server_.Readers() == 0) return;
  nlohmann::ordered_json status = {{"summary", summary}, {"facts", nlohmann::ordered_json::array()}};
  for (const ViewFacts& fact : facts) {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const auto& [name, value] : fact.rows) rows.push_back({name, value});
    status["facts"].push_back({{"title", fact.title}, {"rows", std::move(rows)}});
  }
  server_.Send("status", status.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace));
}

} // namespace mien
