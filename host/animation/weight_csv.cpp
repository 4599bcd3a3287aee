#include "host/animation/weight_csv.h"

#include <fmt/format.h>

#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

namespace {

/// As RFC 4180 has it.
std::string Field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

/// `weights`: frame by frame (size: frames x names).
void WriteTable(const Animation& animation, const std::vector<std::string>& names,
                const std::vector<double>& weights, std::ostream& out) {
  fmt::memory_buffer row;
  const auto end = std::back_inserter(row);
  const auto end_row = [&row, &out] {
    row.push_back('\n');
    out.write(row.data(), static_cast<std::streamsize>(row.size()));
    row.clear();
  };

  fmt::format_to(end, "frame,time{}", animation.timecode ? ",timecode" : "");
  for (const std::string& name : names) fmt::format_to(end, ",{}", Field(name));
  end_row();
  for (std::size_t f = 0; f < animation.frames.size(); ++f) {
    fmt::format_to(end, "{},{}", animation.frames[f], animation.times[f]);
    if (animation.timecode)
      fmt::format_to(end, ",{}", animation.timecode->At(animation.times[f] - animation.times[0]));
    for (std::size_t c = 0; c < names.size(); ++c) fmt::format_to(end, ",{}", weights[f * names.size() + c]);
    end_row();
  }
}

} // namespace

void WriteTemplateCsv(const Animation& animation, std::ostream& out) {
  std::vector<std::string> names;
  for (const TemplateColumn& column : animation.templates) names.push_back(column.name);
  WriteTable(animation, names, animation.weights, out);
}

void WriteShapeCsv(const Animation& animation, std::ostream& out) {
  WriteTable(animation, animation.shapes, animation.shape_weights, out);
}

} // namespace mien
