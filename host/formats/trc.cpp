#include "host/formats/trc.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/trc_header.h"
#include "host/formats/trc_rows.h"
#include "host/formats/trc_text.h"
#include "host/formats/trc_timing.h"
#include "host/formats/trc_zeros.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

namespace mien {

using namespace trc;

namespace {

// The number of markers by their names. Names that do not stand above their columns must be as many as the
// columns' markers.
std::size_t MarkersByNames(const Header& header, const std::string& file) {
  const std::size_t markers = header.names.size();
  if (header.loose_names.empty()) return markers;
  if (const std::size_t columns = MarkersOfWidestRow(header.rows); columns != markers)
    throw InputError(
        Code::Contradiction, file, fmt::format("{}", header.names_line),
        fmt::format("{} names, {}, for columns of {} markers", markers, header.loose_names, columns),
        "write each name above the first of its three columns, separated by tabs");
  return markers;
}

void NoteWrongCounts(const Header& header, Take& take) {
  const auto compare = [&](std::string_view key, std::optional<std::string_view> declared, std::size_t count,
                           std::string_view what) {
    if (declared && WholeNumber(ValueOf(*declared)) != static_cast<std::int64_t>(count))
      take.notes.push_back({Code::Contradiction, Line(header.values_line),
                            fmt::format("{} is {}; the file has {}", key,
                                        declared->empty() ? "empty" : Printable(declared->substr(0, 60)),
                                        Count(count, what))});
  };
  compare("NumMarkers", header.markers_text, take.MarkerCount(), "marker");
  compare("NumFrames", header.frames_text, take.FrameCount(), "frame");
}

} // namespace

bool IsTrc(std::string_view bytes) {
  Lines lines(bytes.substr(0, 1 << 16));
  for (int i = 0; i < 3 && lines.NextFilled(); ++i) {
    Cells cells(lines.Text());
    const std::string_view first = cells.Next().value_or("");
    if (i == 0 && StartsWithIgnoringCase(first, "PathFileType")) return true;
    if (!EqualIgnoringCase(first, kKeys[0])) continue;
    const std::string_view second = cells.Next().value_or("");
    return std::any_of(std::begin(kKeys), std::end(kKeys),
                       [&](std::string_view key) { return EqualIgnoringCase(key, second); });
  }
  return false;
}

Take ReadTrc(std::string_view bytes, const std::string& file, const std::optional<FrameRate>& input_rate) {
  const Header header = ReadHeader(bytes, file);
  std::size_t markers = MarkersByNames(header, file);
  for (;;) {
    Take take;
    take.notes = header.notes;
    take.markers = MarkerNames(header, markers, take.notes);
    take.unit = header.unit;
    const std::optional<Rows> rows = ReadRows(header, bytes.size(), file, take);
    if (!rows) { // there are columns for more markers than that
      markers = MarkersOfWidestRow(header.rows);
      if (markers > kMostMarkers)
        throw InputError(Code::Limit, file, "",
                         fmt::format("the widest row has columns of {} markers", markers),
                         fmt::format("export fewer markers: {} at most", kMostMarkers));
      continue;
    }
    NoteWrongCounts(header, take);
    take.notes.insert(take.notes.end(), rows->notes.begin(), rows->notes.end());
    if (rows->zeros) ClearZeros(take);
    SetTiming(header, *rows, file, input_rate, take);
    return take;
  }
}

} // namespace mien
