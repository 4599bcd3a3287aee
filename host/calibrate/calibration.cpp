#include "host/calibrate/calibration.h"

#include "host/base/face_parts.h"
#include "host/base/text.h"
#include "host/calibrate/blinks.h"
#include "host/calibrate/guided_ranges.h"
#include "host/performer/guided_poses.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace mien {

namespace {

bool HasMarkers(const Performer& performer, std::size_t part) {
  return std::any_of(performer.holders[part].begin(), performer.holders[part].end(),
                     [](const auto& holder) { return !holder.empty(); });
}

/// The template's line before anything was measured.
TemplateCalibration NotSeen(const TemplateColumn& column, const Performer& performer,
                            const std::vector<PoseMark>& guided) {
  TemplateCalibration calibration{.name = column.name};
  const bool is_blink = column.name == "LeftEye.Close" || column.name == "RightEye.Close";
  if (!HasMarkers(performer, static_cast<std::size_t>(column.part)))
    calibration.why_none = "no markers";
  else if (is_blink)
    calibration.why_none = "no blink is seen";
  else
    calibration.why_none = guided.empty() ? "a guided take shows it" : "no pose of it is marked";
  return calibration;
}

void Keep(std::vector<TemplateCalibration>& templates, Range range, std::optional<double> quiet) {
  const auto found = std::find_if(templates.begin(), templates.end(),
                                  [&](const TemplateCalibration& t) { return t.name == range.name; });
  if (found->range && (found->range->trusted || !range.trusted)) return;
  found->range = std::move(range);
  found->quiet = quiet;
}

/// `no_lids`: why blinks cannot be seen; empty if they can.
void RequireTrust(const std::vector<TemplateCalibration>& templates, const std::vector<Animation>& takes,
                  const std::string& no_lids) {
  if (std::any_of(templates.begin(), templates.end(),
                  [](const auto& t) { return t.range && t.range->trusted; }))
    return;
  std::vector<std::string> doubts;
  for (const TemplateCalibration& t : templates)
    if (t.range) doubts.push_back(fmt::format("{}: {}", t.name, t.range->why));
  std::size_t frames = 0;
  for (const Animation& take : takes) frames += take.frames.size();
  const std::string take = takes[0].layout.take;
  if (!doubts.empty())
    throw InputError(Code::Unsolvable, take, "",
                     fmt::format("no range can be trusted: {}", fmt::join(doubts, "; ")),
                     "add a take with more blinks, or record a guided take: `mien calibrate --list-poses`");
  throw InputError(
      Code::Unsolvable, take, "",
      no_lids.empty() ? fmt::format("no blink is seen in {}", Count(frames, "frame"))
                      : no_lids + ", and blinks are all that an ordinary take shows",
      "record half a minute of talking with blinks, or a guided take: `mien calibrate --list-poses`");
}

} // namespace

std::vector<TemplateCalibration> Calibrate(const std::vector<Animation>& takes, const Performer& performer,
                                           const std::vector<PoseMark>& guided) {
  std::vector<TemplateCalibration> templates;
  for (const TemplateColumn& column : TemplateColumns())
    templates.push_back(NotSeen(column, performer, guided));
  for (Range& range : GuidedRanges(takes[0], guided))
    if (HasMarkers(performer,
                   static_cast<std::size_t>(
                       std::find_if(takes[0].layout.templates.begin(), takes[0].layout.templates.end(),
                                    [&](const auto& column) { return column.name == range.name; })
                           ->part)))
      Keep(templates, std::move(range), std::nullopt);
  const std::array<bool, 2> eyes = {!performer.holders[kLeftEye][kUpperEyeHolder].empty(),
                                    !performer.holders[kRightEye][kUpperEyeHolder].empty()};
  for (BlinkRange& blinks : BlinkRanges(takes, FindBlinks(takes, eyes), eyes))
    Keep(templates, std::move(blinks.range), blinks.quiet);
  RequireTrust(templates, takes, eyes[0] || eyes[1] ? "" : "the performer has no markers on the upper lids");
  return templates;
}

std::vector<TemplateCalibration> CalibrateWeights(const std::vector<Animation>& takes, WeightKind kind,
                                                  const std::vector<PoseMark>& guided) {
  std::vector<TemplateCalibration> weights;
  const std::array<std::string_view, 2> lids = LidNames(kind);
  const auto are_in_all = [&](std::string_view name) {
    return std::all_of(takes.begin(), takes.end(), [&](const Animation& take) {
      const std::vector<std::string> names = take.layout.WeightNames(kind);
      return std::find(names.begin(), names.end(), name) != names.end();
    });
  };
  for (std::string& name : takes[0].layout.WeightNames(kind)) {
    const char* const why = name == lids[0] || name == lids[1] ? "no blink is seen"
                            : guided.empty()                   ? "a guided take shows it"
                                                               : "no pose of it is marked";
    weights.push_back({.name = std::move(name), .why_none = why});
  }
  for (Range& range : GuidedRanges(takes[0], guided, kind)) Keep(weights, std::move(range), std::nullopt);
  const std::array<bool, 2> eyes = {are_in_all(lids[0]), are_in_all(lids[1])};
  for (BlinkRange& blinks : BlinkRanges(takes, FindBlinks(takes, eyes, kind), eyes, kind))
    Keep(weights, std::move(blinks.range), blinks.quiet);
  RequireTrust(weights, takes,
               eyes[0] || eyes[1] ? "" : fmt::format("not every file has {} or {}", lids[0], lids[1]));
  return weights;
}

std::vector<Range> RangesOf(const std::vector<TemplateCalibration>& templates) {
  constexpr double kReadable = 1e4;
  std::vector<Range> ranges;
  for (const TemplateCalibration& t : templates) {
    if (!t.range) continue;
    Range range = *t.range;
    range.low = std::round(range.low * kReadable) / kReadable;
    range.high = std::round(range.high * kReadable) / kReadable;
    if (range.high - range.low >= Range::kLeastWidth && std::fabs(range.low) <= Range::kLargest &&
        std::fabs(range.high) <= Range::kLargest)
      ranges.push_back(std::move(range));
  }
  return ranges;
}

} // namespace mien
