#include "host/performer/calibration_file.h"

#include "host/base/face_parts.h"
#include "host/performer/pose_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

namespace mien {

namespace {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

class CalibrationReader {
public:
  CalibrationReader(JsonFile& file, Performer& performer) : file_(file), performer_(performer) {}

  void ReadRanges(const Pointer& place, const Json& ranges) {
    if (!file_.RequireObject(place, ranges)) return;
    const std::vector<TemplateColumn> columns = TemplateColumns();
    std::vector<std::string_view> known;
    for (const TemplateColumn& column : columns) known.emplace_back(column.name);
    file_.CheckKeys(place, ranges, known);
    for (const TemplateColumn& column : columns)
      if (ranges.contains(column.name)) ReadRange(place / column.name, ranges[column.name], column.name);
  }

  void ReadRecord(const Pointer& place, const Json& record) {
    if (!file_.RequireObject(place, record)) return;
    file_.CheckKeys(place, record, {"takes", "landmarks", "settings", "poses"});
    if (record.contains("takes")) ReadTakes(place / "takes", record["takes"]);
    if (record.contains("landmarks")) {
      const std::optional<double> count = ReadNumber(place / "landmarks", record["landmarks"]);
      if (count && *count != 0 && *count != 68 && *count != 478)
        file_.Mistake(Code::InvalidValue, place / "landmarks", "there are no takes with so many landmarks",
                      "write 68 or 478, or 0 for other markers");
      else if (count)
        performer_.calibration.landmarks = static_cast<std::size_t>(*count);
    }
    if (record.contains("settings") && file_.RequireObject(place / "settings", record["settings"]))
      for (const auto& [name, value] : record["settings"].items())
        performer_.calibration.settings.emplace_back(name, ReadText(place / "settings" / name, value));
    if (record.contains("poses")) ReadPoses(place / "poses", record["poses"]);
  }

private:
  void ReadRange(const Pointer& place, const Json& range, const std::string& name) {
    if (!file_.RequireObject(place, range)) return;
    file_.CheckKeys(place, range, {"low", "high", "seen", "trusted", "why"});
    for (const char* key : {"low", "high"})
      if (!range.contains(key))
        return file_.Mistake(Code::Missing, place / key, "a range has two ends",
                             "write \"low\" and \"high\"");
    const std::optional<double> low = ReadNumber(place / "low", range["low"]),
                                high = ReadNumber(place / "high", range["high"]);
    Range read{.name = name, .trusted = true};
    if (range.contains("seen"))
      if (const std::optional<double> seen = ReadNumber(place / "seen", range["seen"]))
        read.seen = static_cast<int>(std::clamp(*seen, 0.0, 1e9));
    if (range.contains("trusted")) {
      if (range["trusted"].is_boolean())
        read.trusted = range["trusted"].get<bool>();
      else
        file_.Mistake(Code::InvalidValue, place / "trusted", "this is neither true nor false",
                      "write true to apply the range");
    }
    if (range.contains("why")) read.why = ReadText(place / "why", range["why"]);
    if (!low || !high) return;
    read.low = *low;
    read.high = *high;
    if (std::fabs(read.low) > Range::kLargest || std::fabs(read.high) > Range::kLargest ||
        read.high - read.low < Range::kLeastWidth)
      return file_.Mistake(Code::InvalidValue, place,
                           fmt::format("{} to {} is not a range", read.low, read.high),
                           fmt::format("write weights from -{0} to {0}, high at least {1} above low",
                                       Range::kLargest, Range::kLeastWidth));
    performer_.ranges.push_back(std::move(read));
  }

  void ReadTakes(const Pointer& place, const Json& takes) {
    if (!RequireList(place, takes)) return;
    for (std::size_t i = 0; i < takes.size(); ++i) {
      if (!file_.RequireObject(place / i, takes[i])) continue;
      file_.CheckKeys(place / i, takes[i], {"name", "sha256"});
      CalibrationRecord::TakeFile& take = performer_.calibration.takes.emplace_back();
      if (takes[i].contains("name")) take.name = ReadText(place / i / "name", takes[i]["name"]);
      if (takes[i].contains("sha256")) take.sha256 = ReadText(place / i / "sha256", takes[i]["sha256"]);
    }
  }

  void ReadPoses(const Pointer& place, const Json& poses) {
    if (!RequireList(place, poses)) return;
    for (std::size_t i = 0; i < poses.size(); ++i) {
      const Json& pose = poses[i];
      if (!file_.RequireObject(place / i, pose)) continue;
      file_.CheckKeys(place / i, pose, {"pose", "frames", "points"});
      bool complete = true;
      for (const char* key : {"pose", "frames", "points"})
        if (!pose.contains(key)) {
          file_.Mistake(Code::Missing, place / i / key, "the pose is incomplete",
                        "write \"pose\", \"frames\" and \"points\"");
          complete = false;
        }
      if (!complete) continue;
      CalibrationRecord::Pose& read = performer_.calibration.poses.emplace_back();
      read.name = ReadText(place / i / "pose", pose["pose"]);
      if (const auto frames = ReadFrameRange(file_, place / i / "frames", pose["frames"]))
        read.frames = *frames;
      read.points = ReadPositions(file_, place / i / "points", pose["points"]);
    }
  }

  bool RequireList(const Pointer& place, const Json& list) {
    if (!list.is_array()) file_.Mistake(Code::InvalidValue, place, "this is not a list", "write [ ... ]");
    return list.is_array();
  }

  std::optional<double> ReadNumber(const Pointer& place, const Json& number) {
    if (number.is_number() && std::isfinite(number.get<double>())) return number.get<double>();
    file_.Mistake(Code::InvalidValue, place, "this is not a number", "write a number");
    return std::nullopt;
  }

  std::string ReadText(const Pointer& place, const Json& text) {
    if (text.is_string()) return text.get<std::string>();
    file_.Mistake(Code::InvalidValue, place, "this is not text", "write it in quotes");
    return {};
  }

  JsonFile& file_;
  Performer& performer_;
};

} // namespace

void ReadCalibration(JsonFile& file, Performer& performer) {
  CalibrationReader reader(file, performer);
  const Pointer here;
  const Json& root = file.Root();
  if (root.contains("ranges")) reader.ReadRanges(here / "ranges", root["ranges"]);
  if (root.contains("calibration")) reader.ReadRecord(here / "calibration", root["calibration"]);
}

std::vector<JsonMember> CalibrationMembers(const Performer& performer) {
  std::vector<JsonMember> members;
  std::vector<JsonMember> ranges;
  for (const Range& range : performer.ranges)
    ranges.push_back({range.name, JsonObject({{"low", range.low},
                                              {"high", range.high},
                                              {"seen", range.seen},
                                              {"trusted", range.trusted},
                                              {"why", range.why}})});
  if (!ranges.empty()) members.push_back({"ranges", JsonObjectOnLines(ranges)});
  const CalibrationRecord& record = performer.calibration;
  if (record.IsEmpty()) return members;
  std::vector<JsonValue> takes, poses;
  for (const auto& [name, sha256] : record.takes)
    takes.push_back(JsonObject({{"name", name}, {"sha256", sha256}}));
  std::vector<JsonMember> settings;
  for (const auto& [name, value] : record.settings) settings.push_back({name, value});
  for (const CalibrationRecord::Pose& pose : record.poses)
    poses.push_back(JsonObjectOnLines({{"pose", pose.name},
                                       {"frames", JsonList({pose.frames.first, pose.frames.last})},
                                       {"points", PositionsAsJson(pose.points)}}));
  members.push_back({"calibration", JsonObjectOnLines({{"takes", JsonListOnLines(takes)},
                                                       {"landmarks", record.landmarks},
                                                       {"settings", JsonObject(settings)},
                                                       {"poses", JsonListOnLines(poses)}})});
  return members;
}

} // namespace mien
