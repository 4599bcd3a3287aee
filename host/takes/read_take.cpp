#include "host/takes/read_take.h"

#include "host/error.h"
#include "host/read_file.h"
#include "host/takes/csv.h"
#include "host/takes/landmark_csv.h"
#include "host/takes/marker_csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace mien {
namespace {

struct Format {
  std::string_view name;
  std::string_view looks; // what a user recognises it by
  bool (*is)(std::string_view bytes);
  Take (*read)(std::string_view bytes, const std::string& file);
};

constexpr Format kFormats[] = {
    {"landmark CSV", "columns frame, timestamp, X_0, ... Z_67",
     [](std::string_view bytes) { return IsLandmarkCsv(CsvColumns(bytes)); }, ReadLandmarkCsv},
    {"marker CSV", "columns frame,time,NAME.x,NAME.y,NAME.z,...",
     [](std::string_view bytes) { return IsMarkerCsv(CsvColumns(bytes)); }, ReadMarkerCsv},
};

[[noreturn]] void FailUnknown(std::string_view bytes, const std::string& file) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"))
    throw InputError(file, "", "the text is UTF-16", "save it as UTF-8");

  std::string header(bytes.substr(0, bytes.find('\n')));
  for (const auto& [separator, name] : {std::pair(';', "semicolons"), std::pair('\t', "tabs")}) {
    std::string with_commas = header;
    std::replace(with_commas.begin(), with_commas.end(), separator, ',');
    const std::vector<std::string_view> columns = CsvColumns(with_commas);
    if (IsLandmarkCsv(columns) || IsMarkerCsv(columns))
      throw InputError(file, "1", fmt::format("the columns are separated by {}", name),
                       "save the table with commas between the columns and points in the numbers");
  }

  std::string formats;
  for (const Format& format : kFormats)
    formats += fmt::format("{}{} ({})", formats.empty() ? "" : ", ", format.name, format.looks);
  throw InputError(file, "", "this is no take of a known format",
                   "the formats that can be read are " + formats);
}

} // namespace

Take ReadTake(const std::filesystem::path& path) { return ReadTake(ReadFile(path), path.string()); }

Take ReadTake(std::string_view bytes, const std::string& name) {
  if (bytes.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw InputError(name, "", "the file is empty", "export the take again");
  for (const Format& format : kFormats) {
    if (!format.is(bytes)) continue;
    Take take = format.read(bytes, name);
    take.file = name;
    take.name = std::filesystem::path(name).stem().string();
    take.format = format.name;
    return take;
  }
  FailUnknown(bytes, name);
}

} // namespace mien
