#pragma once

#include "host/inspect/terminal.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace mien {

/// The columns of a picture of a take over time, as wide as the terminal: a cell for each run of frames, between
/// a name with a bar and another bar.
class TimeCells {
public:
  /// `times`: of the frames, at least one; must outlive this. `name_columns`: of the widest name.
  TimeCells(std::span<const double> times, std::size_t name_columns, const Terminal& terminal);

  std::size_t Count() const { return cells_; }
  std::size_t CellOf(std::size_t frame) const { return frame * cells_ / times_.size(); }
  /// The first frame in a cell; of the cell behind the last one, the number of frames.
  std::size_t StartOf(std::size_t cell) const { return (cell * times_.size() + cells_ - 1) / cells_; }

  /// "  NAME |": what comes before the cells of a row.
  std::string Before(const std::string& name) const;

  /// A line with the times of the first frames of some cells, each below the left edge of its cell;
  /// with as many decimals as the take's duration needs.
  std::string Axis(double duration_s) const;

private:
  std::span<const double> times_;
  std::size_t name_columns_, cells_;
};

} // namespace mien
