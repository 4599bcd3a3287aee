// Any bytes are either a performer that keeps a performer's promises and reads back as it was written, or an
// InputError.

#include "host/base/error.h"
#include "host/performer/neutral_head.h"
#include "host/performer/performer_file.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace {

using mien::FrameRange;
using mien::NeutralPose;
using mien::Performer;

void Require(bool holds) {
  if (!holds) std::abort();
}

void RequireNames(const std::vector<std::string>& names) {
  for (const std::string& name : names) Require(!name.empty() && name.size() <= 255);
  Require(std::set<std::string>(names.begin(), names.end()).size() == names.size());
}

void RequireValid(const Performer& performer) {
  Require(!performer.name.empty());
  Require(performer.head.size() <= Performer::kMostHeadMarkers);
  RequireNames(performer.head);
  const std::size_t count = performer.FaceMarkers().size();
  Require(count > 0 && count <= Performer::kMostMarkers);
  for (const auto& part : performer.holders) {
    std::vector<std::string> in_part;
    for (const auto& holder : part) in_part.insert(in_part.end(), holder.begin(), holder.end());
    RequireNames(in_part);
  }
  for (const mien::Range& range : performer.ranges)
    Require(range.high - range.low >= mien::Range::kLeastWidth && std::isfinite(range.Read(1e38)));
  if (const auto* frames = std::get_if<FrameRange>(&performer.neutral))
    Require(frames->first <= frames->last);
  if (const auto* pose = std::get_if<NeutralPose>(&performer.neutral)) {
    for (const auto& [name, p] : *pose)
      Require(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
    try {
      const VgeAMatrix axes = mien::NeutralHead(performer, *pose);
      for (int column = 0; column < 3; ++column)
        for (int row = 0; row < 3; ++row) Require(std::fabs(axes.m[column][row]) < 1.001);
    } catch (const mien::InputError&) {} // the pose does not show which way the face looks
  }
}

std::string Written(const Performer& performer) {
  std::ostringstream out;
  mien::WritePerformer(performer, out);
  return out.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const Performer performer =
        mien::ReadPerformer(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    RequireValid(performer);
    const std::string written = Written(performer);
    try {
      Require(Written(mien::ReadPerformer(written, "written")) == written);
    } catch (const mien::InputError&) { Require(false); } // what was read can be written and read again
  } catch (const mien::InputError&) {}                    // the input is at fault, and says so
  return 0;
}
