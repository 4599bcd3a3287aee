#include "host/performer/calibration_file.h"

#include "host/base/face_parts.h"
#include "host/performer/pose_json.h"
#include "host/performer/range_json.h"

#include <fmt/format.h>

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
      if (ranges.contains(column.name))
        if (std::optional<Range> range =
                ReadRange(file_, place / column.name, ranges[column.name], column.name))
          performer_.ranges.push_back(std::move(*range));
  }

  void ReadRecord(const Pointer& place, const Json& record) {
    if (!file_.RequireObject(place, record)) return;
    file_.CheckKeys(place, record, {"takes", "landmarks", "settings", "poses"});
    if (record.contains("takes"))
      performer_.calibration.takes = ReadTakeFiles(file_, place / "takes", record["takes"]);
    if (record.contains("landmarks")) {
      const std::optional<double> count = ReadNumber(file_, place / "landmarks", record["landmarks"]);
      if (count && *count != 0 && *count != 68 && *count != 478)
        file_.Mistake(Code::InvalidValue, place / "landmarks", "there are no takes with so many landmarks",
                      "write 68 or 478, or 0 for other markers");
      else if (count)
        performer_.calibration.landmarks = static_cast<std::size_t>(*count);
    }
    if (record.contains("settings") && file_.RequireObject(place / "settings", record["settings"]))
      for (const auto& [name, value] : record["settings"].items())
        performer_.calibration.settings.emplace_back(name, ReadText(file_, place / "settings" / name, value));
    if (record.contains("poses")) ReadPoses(place / "poses", record["poses"]);
  }

private:
  void ReadPoses(const Pointer& place, const Json& poses) {
    if (!RequireList(file_, place, poses)) return;
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
      read.name = ReadText(file_, place / i / "pose", pose["pose"]);
      if (const auto frames = ReadFrameRange(file_, place / i / "frames", pose["frames"]))
        read.frames = *frames;
      read.points = ReadPositions(file_, place / i / "points", pose["points"]);
    }
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
  if (!performer.ranges.empty()) members.push_back({"ranges", RangesAsJson(performer.ranges)});
  const CalibrationRecord& record = performer.calibration;
  if (record.IsEmpty()) return members;
  std::vector<JsonValue> poses;
  std::vector<JsonMember> settings;
  for (const auto& [name, value] : record.settings) settings.push_back({name, value});
  for (const CalibrationRecord::Pose& pose : record.poses)
    poses.push_back(JsonObjectOnLines({{"pose", pose.name},
                                       {"frames", JsonList({pose.frames.first, pose.frames.last})},
                                       {"points", PositionsAsJson(pose.points)}}));
  members.push_back({"calibration", JsonObjectOnLines({{"takes", TakeFilesAsJson(record.takes)},
                                                       {"landmarks", record.landmarks},
                                                       {"settings", JsonObject(settings)},
                                                       {"poses", JsonListOnLines(poses)}})});
  return members;
}

} // namespace mien
