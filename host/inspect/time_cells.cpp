#include "host/inspect/time_cells.h"

#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien {

TimeCells::TimeCells(std::span<const double> times, std::size_t name_columns, const Terminal& terminal)
    : times_(times), name_columns_(name_columns) {
  constexpr std::size_t kFewest = 20, kMost = 200;
  const std::size_t beside = 2 + name_columns + 1 + 2; // the margin, the name, a blank, the two bars
  cells_ = std::clamp(terminal.columns > beside ? terminal.columns - beside : 0, kFewest, kMost);
  cells_ = std::min(cells_, times.size()); // so that each has a frame
}

std::string TimeCells::Before(const std::string& name) const {
  return fmt::format("  {} |", Padded(name, name_columns_));
}

std::string TimeCells::Axis(double duration_s) const {
  constexpr std::size_t kApart = 15;
  const int decimals = duration_s < 1 ? 3 : duration_s < 10 ? 2 : 1;
  std::string line(2 + name_columns_ + 2, ' ');
  const std::size_t left = line.size();
  for (std::size_t cell = 0; cell < cells_; cell += kApart) {
    if (line.size() > left + cell) break; // long times that would touch
    line.append(left + cell - line.size(), ' ');
    line += fmt::format("{:.{}f} s ", times_[StartOf(cell)], decimals);
  }
  line.pop_back();
  return line + '\n';
}

} // namespace mien
