#include "host/view/take_side.h"

#include "host/base/text.h"
#include "host/inspect/describe.h"
#include "host/takes/gaps.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace mien {

namespace {

MarkerState StateOf(Origin origin) {
  switch (origin) {
  case Origin::None:
    return MarkerState::Gap;
  case Origin::Measured:
    return MarkerState::Measured;
  case Origin::Computed:
    return MarkerState::Computed;
  case Origin::Filled:
    break;
  }
  return MarkerState::Filled;
}

/// Turns the axes that a take is described with so that y is up.
VgeAMatrix Upright(std::string_view axes) {
  VgeAMatrix turn;
  if (axes.find("+z up") != std::string_view::npos) { // y becomes -z, away from the viewer
    turn.m[1][1] = turn.m[2][2] = 0;
    turn.m[1][2] = -1;
    turn.m[2][1] = 1;
  }
  return turn;
}

} // namespace

ViewMarkers MarkersOf(const Take& take, const VgeAMatrix& to_page) {
  ViewMarkers markers;
  markers.names = take.markers;
  markers.parts.resize(take.MarkerCount());
  markers.positions.reserve(take.FrameCount() * take.MarkerCount());
  markers.states.reserve(take.FrameCount() * take.MarkerCount());
  for (std::size_t f = 0; f < take.FrameCount(); ++f)
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point* const p = take.At(f, m);
      const VgeTVector moved = p ? TransformPoint(to_page, {p->x, p->y, p->z}) : VgeTVector();
      markers.positions.push_back(
          {static_cast<float>(moved.x), static_cast<float>(moved.y), static_cast<float>(moved.z)});
      markers.states.push_back(StateOf(take.OriginAt(f, m)));
    }
  return markers;
}

std::vector<ViewSpan> GapSpansOf(const Take& take) {
  std::vector<ViewSpan> spans;
  const auto gaps = GapsOfAll(take);
  for (std::size_t m = 0; m < gaps.size(); ++m)
    for (const FrameSpan& gap : gaps[m])
      if (gap.Count() > 0)
        spans.push_back({.kind = "gap", .name = take.markers[m], .first = gap.first, .last = gap.end - 1});
  return spans;
}

ViewFacts FactsOf(const Take& take) {
  ViewFacts facts = {.title = "Take", .rows = {{"File", take.file}, {"Format", take.format}}};
  if (!take.flavour.empty()) facts.rows.back().second += ", " + take.flavour;
  const auto add = [&](const char* name, std::string value) {
    facts.rows.emplace_back(name, std::move(value));
  };
  const std::size_t frames = take.FrameCount();
  add("Frames",
      frames == 0 ? "none" : fmt::format("{} ({} to {})", frames, take.frames.front(), take.frames.back()));
  if (frames > 0)
    add("Duration", fmt::format("{:.2f} s", take.times.back() - take.times.front() + take.rate.Seconds(1)));
  add("Rate", ToText(take.rate) + " Hz");
  if (take.timecode) add("Timecode", ToText(*take.timecode));
  add("Markers", std::to_string(take.MarkerCount()));
  if (!take.unit.empty()) add("Unit", take.unit);
  return facts;
}

ViewSide SideOfTake(const Take& take) {
  ViewSide side;
  side.name = take.name;
  side.facts.push_back(FactsOf(take));
  const TakeDescription description = Describe(take);
  if (!description.axes.empty()) side.facts.back().rows.emplace_back("Axes", description.axes);
  side.notes = Messages(take.notes);
  side.markers = MarkersOf(take, Upright(description.axes));
  side.spans = GapSpansOf(take);
  return side;
}

ViewPage PageOf(const Take& take, ViewSide side) {
  ViewPage page;
  page.title = take.name;
  page.rate = take.rate;
  page.timecode = take.timecode;
  page.frames = {take.frames.begin(), take.frames.end()};
  page.times = {take.times.begin(), take.times.end()};
  page.sides.push_back(std::move(side));
  return page;
}

} // namespace mien
