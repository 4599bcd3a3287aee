#include "host/performer/performer_file.h"

#include "host/base/error.h"
#include "host/base/face_parts.h"
#include "host/base/json_file.h"
#include "host/base/json_text.h"
#include "host/base/text.h"
#include "host/files/built_in.h"
#include "host/files/foreign_file.h"
#include "host/files/standard_streams.h"
#include "host/performer/calibration_file.h"
#include "host/performer/landmarks478.h"
#include "host/performer/landmarks68.h"
#include "host/performer/pose_json.h"
#include "mien/face/face.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace mien {

namespace {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

/// The second version has "ranges" and "calibration".
constexpr std::string_view kFormat = "mien performer 1", kCalibratedFormat = "mien performer 2";

constexpr std::array<std::string_view, 2> kEyes = {"LeftEye", "RightEye"}; // keys of the irises

constexpr BuiltIn kBuiltIn[] = {
    {"landmarks68", kLandmarks68},
    {"landmarks478", kLandmarks478},
};

class PerformerReader {
public:
  PerformerReader(std::string_view text, const std::string& file) : file_(text, file) {
    performer_.file = file;
  }

  Performer Read() {
    const Json& root = file_.Root();
    const bool calibrated =
        root.is_object() && root.contains("format") && root["format"] == kCalibratedFormat;
    performer_.name = file_.ReadHeading(calibrated ? kCalibratedFormat : kFormat, "performer");
    const Pointer here;
    std::vector<std::string_view> known = {"format",  "name",   "head",  "rigid",
                                           "anchors", "irises", "parts", "neutral"};
    if (calibrated) known.insert(known.end(), {"ranges", "calibration"});
    file_.CheckKeys(here, root, known);
    if (root.contains("head")) ReadHead(here / "head", root["head"]);
    if (root.contains("rigid")) performer_.rigid = file_.ReadNames(here / "rigid", root["rigid"], "marker");
    if (root.contains("anchors")) ReadAnchors(here / "anchors", root["anchors"]);
    if (root.contains("irises")) ReadIrises(here / "irises", root["irises"]);
    if (!root.contains("parts"))
      file_.Mistake(Code::Missing, here / "parts", "no part has markers",
                    "write \"parts\": { \"Mouth\": { ... } }");
    else
      ReadParts(here / "parts", root["parts"]);
    if (root.contains("neutral")) ReadNeutral(here / "neutral", root["neutral"]);
    if (calibrated) ReadCalibration(file_, performer_);
    file_.ThrowMistakes();
    return std::move(performer_);
  }

private:
  void ReadHead(const Pointer& place, const Json& head) {
    performer_.head = file_.ReadNames(place, head, "marker");
    if (performer_.head.size() > Performer::kMostHeadMarkers)
      file_.Mistake(Code::Limit, place, fmt::format("{} head markers", performer_.head.size()),
                    fmt::format("name the {} that move least with expression", Performer::kMostHeadMarkers));
  }

  void ReadAnchors(const Pointer& place, const Json& parts) {
    if (!file_.RequireObject(place, parts)) return;
    const VFace& face = *GetGlobalFace();
    std::vector<std::string_view> known;
    for (const int part : {kLeftBrow, kRightBrow, kLeftEye, kRightEye})
      known.emplace_back(face.mParts[part].mName);
    file_.CheckKeys(place, parts, known);
    for (const auto& [name, markers] : parts.items())
      if (const int p = face.PartIndexByName(name.c_str()); p >= 0)
        performer_.anchors[static_cast<std::size_t>(p)] = file_.ReadNames(place / name, markers, "marker");
  }

  void ReadIrises(const Pointer& place, const Json& irises) {
    if (!file_.RequireObject(place, irises)) return;
    file_.CheckKeys(place, irises, {kEyes[0], kEyes[1]});
    for (std::size_t eye = 0; eye < kEyes.size(); ++eye)
      if (const std::string name(kEyes[eye]); irises.contains(name))
        performer_.irises[eye] = file_.ReadNames(place / name, irises[name], "marker");
  }

  void ReadParts(const Pointer& place, const Json& parts) {
    if (!file_.RequireObject(place, parts)) return;
    const VFace& face = *GetGlobalFace();
    std::vector<std::string_view> known;
    for (const VFacePart& part : face.mParts) known.emplace_back(part.mName);
    file_.CheckKeys(place, parts, known);
    for (const auto& [name, holders] : parts.items()) {
      const int p = face.PartIndexByName(name.c_str());
      if (p >= 0) ReadHolders(place / name, holders, p);
    }
    const std::size_t count = performer_.FaceMarkers().size();
    if (count == 0)
      file_.Mistake(Code::Missing, place, "no part has markers", "name the markers of at least one holder");
    if (count > Performer::kMostMarkers)
      file_.Mistake(Code::Limit, place, fmt::format("{} markers drive the face", count),
                    fmt::format("leave {} of them out: the face takes {} at most",
                                count - Performer::kMostMarkers, Performer::kMostMarkers));
  }

  void ReadHolders(const Pointer& place, const Json& holders, int p) {
    if (!file_.RequireObject(place, holders)) return;
    const VFacePart& part = GetGlobalFace()->mParts[p];
    std::vector<std::string_view> known;
    for (int h = 0; h < part.mHolderCount; ++h) known.emplace_back(part.mHolderNames[h]);
    file_.CheckKeys(place, holders, known);
    std::vector<std::string> in_part;
    for (const auto& [name, markers] : holders.items()) {
      const int h = part.HolderIndexByName(name.c_str());
      if (h < 0) continue;
      const std::vector<std::string> names = file_.ReadNames(place / name, markers, "marker");
      if (names.size() > Performer::kMostMarkers) {
        file_.Mistake(Code::Limit, place / name, fmt::format("{} markers", names.size()),
                      fmt::format("leave {} of them out: the face takes {} at most",
                                  names.size() - Performer::kMostMarkers, Performer::kMostMarkers));
        file_.ThrowMistakes(); // before so many names are compared with each other
      }
      for (const std::string& marker : names)
        if (std::find(in_part.begin(), in_part.end(), marker) != in_part.end())
          file_.Mistake(
              Code::Duplicate, place / name,
              fmt::format("the marker {} is in another holder of {} already", Quoted(marker), part.mName),
              "a marker drives one holder of a part; keep it in one");
      in_part.insert(in_part.end(), names.begin(), names.end());
      performer_.holders[static_cast<std::size_t>(p)][static_cast<std::size_t>(h)] = names;
    }
  }

  void ReadNeutral(const Pointer& place, const Json& neutral) {
    if (!file_.RequireObject(place, neutral)) return;
    file_.CheckKeys(place, neutral, {"frames", "positions"});
    if (neutral.contains("frames") == neutral.contains("positions")) {
      file_.Mistake(Code::Contradiction, place, "the neutral pose is given in no way, or in two",
                    "write either \"frames\": [FROM, TO] or \"positions\": { ... }");
    } else if (neutral.contains("frames")) {
      if (const auto frames = ReadFrameRange(file_, place / "frames", neutral["frames"]))
        performer_.neutral = *frames;
    } else {
      performer_.neutral = ReadPositions(file_, place / "positions", neutral["positions"]);
    }
  }

  JsonFile file_;
  Performer performer_;
};

} // namespace

Performer ReadPerformer(std::string_view text, const std::string& file) {
  RefuseForeignFile(text, file, "a performer file", "name a performer file");
  return PerformerReader(text, file).Read();
}

Performer LoadPerformer(const std::string& name_or_path) {
  return ReadPerformer(ReadBuiltInOrFile(kBuiltIn, name_or_path, "performer"), InputName(name_or_path));
}

std::vector<std::string> BuiltInPerformers() { return NamesOf(kBuiltIn); }

void WritePerformer(const Performer& performer, std::ostream& out) {
  const auto names = [](const std::vector<std::string>& markers) {
    return JsonTightList({markers.begin(), markers.end()});
  };
  std::vector<JsonMember> parts, anchors;
  const VFace& face = *GetGlobalFace();
  for (std::size_t p = 0; p < performer.holders.size(); ++p) {
    std::vector<JsonMember> holders;
    for (std::size_t h = 0; h < performer.holders[p].size(); ++h)
      if (!performer.holders[p][h].empty())
        holders.push_back({face.mParts[p].mHolderNames[h], names(performer.holders[p][h])});
    if (!holders.empty()) parts.push_back({face.mParts[p].mName, JsonObjectOnLines(holders)});
    if (!performer.anchors[p].empty()) anchors.push_back({face.mParts[p].mName, names(performer.anchors[p])});
  }

  const std::vector<JsonMember> calibration = CalibrationMembers(performer);
  std::vector<JsonMember> root = {{"format", calibration.empty() ? kFormat : kCalibratedFormat},
                                  {"name", performer.name},
                                  {"head", names(performer.head)}};
  if (!performer.rigid.empty()) root.push_back({"rigid", names(performer.rigid)});
  if (!anchors.empty()) root.push_back({"anchors", JsonObjectOnLines(anchors)});
  std::vector<JsonMember> irises;
  for (std::size_t eye = 0; eye < kEyes.size(); ++eye)
    if (!performer.irises[eye].empty())
      irises.push_back({std::string(kEyes[eye]), names(performer.irises[eye])});
  if (!irises.empty()) root.push_back({"irises", JsonObjectOnLines(irises)});
  root.push_back({"parts", JsonObjectOnLines(parts)});
  if (const auto* frames = std::get_if<FrameRange>(&performer.neutral))
    root.push_back({"neutral", JsonObject({{"frames", JsonList({frames->first, frames->last})}})});
  if (const auto* pose = std::get_if<NeutralPose>(&performer.neutral))
    root.push_back({"neutral", JsonObjectOnLines({{"positions", PositionsAsJson(*pose)}})});
  root.insert(root.end(), calibration.begin(), calibration.end());
  out << JsonObjectOnLines(root).Text() << '\n';
}

} // namespace mien
