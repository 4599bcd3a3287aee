#include "host/performer/match_markers.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <set>
#include <string_view>
#include <utility>

namespace mien {

namespace {

std::string Fix(const std::string& name, const Take& take, const NameSearch& search) {
  if (const auto meant = search(name, take.markers)) return fmt::format("did you mean {}?", Quoted(*meant));
  return "`mien info` lists the markers that it has";
}

/// The names of 68 landmarks are also those of the first of 478, which are elsewhere on the face.
void CheckLandmarks(const Performer& performer, const Take& take) {
  const std::size_t calibrated = performer.calibration.landmarks, found = LandmarkCount(take.markers);
  for (const std::size_t built_in : {std::size_t{68}, std::size_t{478}})
    if (performer.file == fmt::format("landmarks{}", built_in) && found != 0 && found != built_in)
      throw InputError(Code::Contradiction, performer.file, "",
                       fmt::format("this performer has {} landmarks, and the take {} has {}", built_in,
                                   Quoted(take.name), take.MarkerCount()),
                       fmt::format("use the performer landmarks{}", found));
  if (calibrated == 0 || found == 0 || calibrated == found) return;
  throw InputError(Code::Contradiction, performer.file, "/calibration/landmarks",
                   fmt::format("this performer was calibrated with {} landmarks, and the take {} has {}",
                               calibrated, Quoted(take.name), found),
                   fmt::format("calibrate with a take of {0} landmarks and -p landmarks{0}", found));
}

} // namespace

void CheckMarkers(const Performer& performer, const Take& take, const NameSearch& search) {
  CheckLandmarks(performer, take);
  // With a performer for another marker set nearly all are missing: the first few show that.
  constexpr std::size_t kMostShown = 5;
  const std::set<std::string_view> known(take.markers.begin(), take.markers.end());
  std::vector<Problem> mistakes;
  std::size_t more = 0;
  const auto check = [&](const std::string& place, const std::vector<std::string>& names) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (known.contains(names[i])) continue;
      if (mistakes.size() == kMostShown) {
        ++more;
        continue;
      }
      mistakes.push_back({Code::Missing, performer.file, fmt::format("{}/{}", place, i),
                          fmt::format("the take {} has no marker {}", Quoted(take.name), Quoted(names[i])),
                          Fix(names[i], take, search)});
    }
  };
  check("/head", performer.head);
  check("/rigid", performer.rigid);
  for (std::size_t p = 0; p < performer.anchors.size(); ++p)
    check(fmt::format("/anchors/{}", GetGlobalFace()->mParts[p].mName), performer.anchors[p]);
  for (std::size_t p = 0; p < performer.holders.size(); ++p)
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h) {
      const VFacePart& part = GetGlobalFace()->mParts[p];
      check(fmt::format("/parts/{}/{}", part.mName, part.mHolderNames[h]), performer.holders[p][h]);
    }

  if (more > 0)
    mistakes.push_back({Code::Missing, performer.file, "",
                        fmt::format("{} more of its markers are missing", more),
                        "use the performer file for this take's marker set"});
  if (!mistakes.empty()) throw InputError(std::move(mistakes));
}

void LeaveOutMissingIrises(Performer& performer, const Take& take) {
  for (std::vector<std::string>& iris : performer.irises)
    std::erase_if(iris, [&](const std::string& name) { return !take.FindMarker(name); });
}

} // namespace mien
