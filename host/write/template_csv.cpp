#include "host/write/template_csv.h"

#include <fmt/format.h>

#include <iterator>

namespace mien {

void WriteTemplateCsv(const Animation& animation, std::ostream& out) {
  fmt::memory_buffer row;
  const auto end = std::back_inserter(row);
  const auto end_row = [&row, &out] {
    row.push_back('\n');
    out.write(row.data(), static_cast<std::streamsize>(row.size()));
    row.clear();
  };

  fmt::format_to(end, "frame,time");
  for (const TemplateColumn& column : animation.templates) fmt::format_to(end, ",{}", column.name);
  end_row();
  for (std::size_t f = 0; f < animation.frames.size(); ++f) {
    fmt::format_to(end, "{},{}", animation.frames[f], animation.times[f]);
    for (std::size_t c = 0; c < animation.templates.size(); ++c)
      fmt::format_to(end, ",{}", animation.Weight(f, c));
    end_row();
  }
}

} // namespace mien
