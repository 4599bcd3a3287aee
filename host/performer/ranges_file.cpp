#include "host/performer/ranges_file.h"

#include "host/performer/range_json.h"

#include <optional>
#include <utility>

namespace mien {
namespace {

constexpr std::string_view kFormat = "mien ranges 1";

} // namespace

WeightRanges ReadRanges(std::string_view text, const std::string& file) {
  JsonFile json(text, file);
  WeightRanges read;
  read.name = json.ReadHeading(kFormat, "range set");
  const JsonFile::Json& root = json.Root();
  const JsonFile::Pointer here;
  json.CheckKeys(here, root, {"format", "name", "ranges", "takes"});
  if (!root.contains("ranges"))
    json.Mistake(Code::Missing, here / "ranges", "the file has no ranges",
                 "write \"ranges\": { \"eyeBlinkLeft\": { \"low\": 0, \"high\": 0.7 } }");
  else if (json.RequireObject(here / "ranges", root["ranges"]))
    for (const auto& [name, range] : root["ranges"].items())
      if (std::optional<Range> one = ReadRange(json, here / "ranges" / name, range, name))
        read.ranges.push_back(std::move(*one));
  if (root.contains("takes")) read.takes = ReadTakeFiles(json, here / "takes", root["takes"]);
  json.ThrowMistakes();
  return read;
}

void WriteRanges(const WeightRanges& ranges, std::ostream& out) {
  out << JsonObjectOnLines({{"format", kFormat},
                            {"name", ranges.name},
                            {"ranges", RangesAsJson(ranges.ranges)},
                            {"takes", TakeFilesAsJson(ranges.takes)}})
             .Text()
      << '\n';
}

} // namespace mien
