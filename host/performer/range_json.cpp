#include "host/performer/range_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace mien {

using Json = JsonFile::Json;
using Pointer = JsonFile::Pointer;

std::optional<Range> ReadRange(JsonFile& file, const Pointer& place, const Json& range,
                               const std::string& name) {
  if (!file.RequireObject(place, range)) return std::nullopt;
  file.CheckKeys(place, range, {"low", "high", "seen", "trusted", "why"});
  for (const char* key : {"low", "high"})
    if (!range.contains(key)) {
      file.Mistake(Code::Missing, place / key, "a range has two ends", "write \"low\" and \"high\"");
      return std::nullopt;
    }
  const std::optional<double> low = ReadNumber(file, place / "low", range["low"]),
                              high = ReadNumber(file, place / "high", range["high"]);
  Range read{.name = name, .trusted = true};
  if (range.contains("seen"))
    if (const std::optional<double> seen = ReadNumber(file, place / "seen", range["seen"]))
      read.seen = static_cast<int>(std::clamp(*seen, 0.0, 1e9));
  if (range.contains("trusted")) {
    if (range["trusted"].is_boolean())
      read.trusted = range["trusted"].get<bool>();
    else
      file.Mistake(Code::InvalidValue, place / "trusted", "this is neither true nor false",
                   "write true to apply the range");
  }
  if (range.contains("why")) read.why = ReadText(file, place / "why", range["why"]);
  if (!low || !high) return std::nullopt;
  read.low = *low;
  read.high = *high;
  if (std::fabs(read.low) <= Range::kLargest && std::fabs(read.high) <= Range::kLargest &&
      read.high - read.low >= Range::kLeastWidth)
    return read;
  file.Mistake(Code::InvalidValue, place, fmt::format("{} to {} is not a range", read.low, read.high),
               fmt::format("write weights from -{0} to {0}, high at least {1} above low", Range::kLargest,
                           Range::kLeastWidth));
  return std::nullopt;
}

std::vector<CalibrationRecord::TakeFile> ReadTakeFiles(JsonFile& file, const Pointer& place,
                                                       const Json& takes) {
  std::vector<CalibrationRecord::TakeFile> read;
  if (!RequireList(file, place, takes)) return read;
  for (std::size_t i = 0; i < takes.size(); ++i) {
    if (!file.RequireObject(place / i, takes[i])) continue;
    file.CheckKeys(place / i, takes[i], {"name", "sha256"});
    CalibrationRecord::TakeFile& take = read.emplace_back();
    if (takes[i].contains("name")) take.name = ReadText(file, place / i / "name", takes[i]["name"]);
    if (takes[i].contains("sha256")) take.sha256 = ReadText(file, place / i / "sha256", takes[i]["sha256"]);
  }
  return read;
}

bool RequireList(JsonFile& file, const Pointer& place, const Json& list) {
  if (!list.is_array()) file.Mistake(Code::InvalidValue, place, "this is not a list", "write [ ... ]");
  return list.is_array();
}

std::string ReadText(JsonFile& file, const Pointer& place, const Json& text) {
  if (text.is_string()) return text.get<std::string>();
  file.Mistake(Code::InvalidValue, place, "this is not text", "write it in quotes");
  return {};
}

std::optional<double> ReadNumber(JsonFile& file, const Pointer& place, const Json& number) {
  if (number.is_number() && std::isfinite(number.get<double>())) return number.get<double>();
  file.Mistake(Code::InvalidValue, place, "this is not a number", "write a number");
  return std::nullopt;
}

JsonValue RangesAsJson(const std::vector<Range>& ranges) {
  std::vector<JsonMember> members;
  for (const Range& range : ranges)
    members.push_back({range.name, JsonObject({{"low", range.low},
                                               {"high", range.high},
                                               {"seen", range.seen},
                                               {"trusted", range.trusted},
                                               {"why", range.why}})});
  return JsonObjectOnLines(members);
}

JsonValue TakeFilesAsJson(const std::vector<CalibrationRecord::TakeFile>& takes) {
  std::vector<JsonValue> list;
  for (const auto& [name, sha256] : takes) list.push_back(JsonObject({{"name", name}, {"sha256", sha256}}));
  return JsonListOnLines(list);
}

} // namespace mien
