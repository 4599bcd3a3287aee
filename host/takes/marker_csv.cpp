#include "host/takes/marker_csv.h"

#include "host/error.h"
#include "host/takes/csv.h"
#include "host/takes/frame_times.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <set>

namespace mien {
namespace {

constexpr std::size_t kFirstMarkerColumn = 2; // after frame and time
constexpr std::string_view kAxes = "xyz";

// The marker names, from columns that must come in threes.
std::vector<std::string> MarkerNames(const CsvReader& csv) {
  constexpr std::string_view kMend = "write the header as frame,time,NAME.x,NAME.y,NAME.z,...";
  const std::vector<std::string_view>& columns = csv.Columns();
  const auto expect = [&](std::size_t column, std::string_view name) {
    if (column >= columns.size()) csv.Fail(fmt::format("the column {} is missing", Quoted(name)), kMend);
    if (columns[column] != name)
      csv.Fail(fmt::format("column {} is {} and not {}", column + 1, Quoted(columns[column]), Quoted(name)),
               kMend);
  };
  expect(0, "frame");
  expect(1, "time");
  if (columns.size() == kFirstMarkerColumn) csv.Fail("there are no markers", kMend);

  std::vector<std::string> names;
  std::set<std::string_view> known;
  for (std::size_t column = kFirstMarkerColumn; column < columns.size(); column += kAxes.size()) {
    std::string_view name = columns[column];
    if (!name.ends_with(".x") || name.size() == 2)
      csv.Fail(fmt::format("column {} is {} and not the \".x\" of a marker", column + 1, Quoted(name)),
               kMend);
    name.remove_suffix(2);
    for (std::size_t axis = 1; axis < kAxes.size(); ++axis)
      expect(column + axis, fmt::format("{}.{}", name, kAxes[axis]));
    if (!known.insert(name).second)
      csv.Fail(fmt::format("the marker {} is there twice", Quoted(name)), "give each marker its own name");
    names.emplace_back(name);
  }
  return names;
}

void CheckNames(const Take& take) {
  std::set<std::string_view> known;
  for (const std::string& name : take.markers) {
    if (name.empty() || name.find_first_of(",\"\r\n") != std::string::npos || name.front() == ' ' ||
        name.front() == '\t')
      throw InputError(take.name, "",
                       fmt::format("the marker name {} cannot stand in a header", Quoted(name)),
                       "rename it, without comma, quote, line end or leading blank");
    if (!known.insert(name).second)
      throw InputError(take.name, "", fmt::format("the marker {} is there twice", Quoted(name)),
                       "give each marker its own name");
  }
}

} // namespace

bool IsMarkerCsv(const std::vector<std::string_view>& columns) {
  return (columns.size() >= 2 && columns[0] == "frame" && columns[1] == "time") ||
         std::any_of(columns.begin(), columns.end(),
                     [](std::string_view name) { return name.ends_with(".x"); });
}

Take ReadMarkerCsv(std::string_view bytes, const std::string& file) {
  CsvReader csv(bytes, file);
  Take take(MarkerNames(csv));
  FrameTimes frame_times(0, 1);
  while (csv.Next()) {
    const std::size_t row = frame_times.AddFrame(csv, take);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      std::array<double, 3> value{};
      std::size_t empty = 0;
      for (std::size_t axis = 0; axis < value.size(); ++axis) {
        const std::size_t column = kFirstMarkerColumn + 3 * m + axis;
        if (csv.Empty(column))
          ++empty;
        else
          value[axis] =
              csv.Number(column, "write millimetres, such as 12.5, or leave all three fields of an unseen "
                                 "marker empty");
      }
      if (empty == 0)
        take.Set(row, m, {value[0], value[1], value[2]});
      else if (empty < value.size())
        csv.Fail(fmt::format("marker {}: {} of its 3 fields {} empty", Quoted(take.markers[m]), empty,
                             empty == 1 ? "is" : "are"),
                 "fill all three, or leave all three empty if the marker was not seen");
    }
  }
  frame_times.Finish(csv, take);
  return take;
}

void WriteMarkerCsv(const Take& take, std::ostream& out) {
  CheckNames(take);
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "frame,time");
  for (const std::string& name : take.markers) fmt::format_to(to, ",{0}.x,{0}.y,{0}.z", name);
  text.push_back('\n');
  for (std::size_t row = 0; row < take.FrameCount(); ++row) {
    fmt::format_to(to, "{},{}", take.frames[row], take.times[row]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      if (const Point* p = take.At(row, m))
        fmt::format_to(to, ",{},{},{}", p->x, p->y, p->z);
      else
        fmt::format_to(to, ",,,");
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
