#include "host/performer/pose_json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

namespace mien {

std::optional<FrameRange> ReadFrameRange(JsonFile& file, const JsonFile::Pointer& place,
                                         const JsonFile::Json& frames) {
  const auto is_number = [](const JsonFile::Json& frame) {
    return frame.is_number_integer() &&
           !(frame.is_number_unsigned() &&
             frame.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()});
  };
  if (frames.is_array() && frames.size() == 2 && is_number(frames[0]) && is_number(frames[1]) &&
      frames[0].get<std::int64_t>() <= frames[1].get<std::int64_t>())
    return FrameRange{frames[0].get<std::int64_t>(), frames[1].get<std::int64_t>()};
  file.Mistake(Code::InvalidValue, place, "these are not two frame numbers in order", "write [FROM, TO]");
  return std::nullopt;
}

std::map<std::string, Point> ReadPositions(JsonFile& file, const JsonFile::Pointer& place,
                                           const JsonFile::Json& positions) {
  std::map<std::string, Point> read;
  if (!file.RequireObject(place, positions)) return read;
  for (const auto& [marker, position] : positions.items()) {
    const bool three_numbers =
        position.is_array() && position.size() == 3 &&
        std::all_of(position.begin(), position.end(), [](const JsonFile::Json& coordinate) {
          return coordinate.is_number() && std::isfinite(coordinate.get<double>());
        });
    if (!three_numbers)
      file.Mistake(Code::InvalidValue, place / marker, "this is not a position",
                   "write [x, y, z] in millimetres");
    else
      read[marker] = {position[0].get<double>(), position[1].get<double>(), position[2].get<double>()};
  }
  return read;
}

JsonValue PositionsAsJson(const std::map<std::string, Point>& positions) {
  std::vector<JsonMember> lines;
  for (const auto& [marker, p] : positions)
    lines.push_back({marker, JsonTightList({JsonDecimal(p.x), JsonDecimal(p.y), JsonDecimal(p.z)})});
  return JsonObjectOnLines(lines);
}

} // namespace mien
