#include "host/inspect/gap_picture.h"

#include "host/base/text.h"
#include "host/inspect/text_table.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace mien {

namespace {

// The picture of one description. The constructor decides on rows, cells and the width of the names.
class Picture {
public:
  Picture(const TakeDescription& d, const Terminal& terminal) : d_(d), utf8_(terminal.utf8) {
    GatherRows();
    for (const Markers& row : rows_) name_columns_ = std::max(name_columns_, Columns(Name(row)));
    if (!others_.empty()) name_columns_ = std::max(name_columns_, Columns(OthersName()));

    constexpr std::size_t kFewestCells = 20, kMostCells = 200;
    const std::size_t beside = 2 + name_columns_ + 1 + 2; // the margin, the name, a blank, the two bars
    cells_ = std::clamp(terminal.columns > beside ? terminal.columns - beside : 0, kFewestCells, kMostCells);
    cells_ = std::min(cells_, d.frames); // so that each has a frame
  }

  std::string Text() const {
    if (rows_.empty()) return "";
    const auto& blocks = Blocks();
    std::string text = fmt::format(
        "  gaps over time: {} below a third of the frames, {} below two thirds, {} more, {} all\n", blocks[1],
        blocks[2], blocks[3], blocks[4]);
    for (const Markers& row : rows_) text += Row(Name(row), row);
    if (!others_.empty()) text += Row(OthersName(), others_);
    return text + Axis();
  }

private:
  using Markers = std::vector<const MarkerDescription*>;

  void GatherRows() {
    Markers markers;
    for (const MarkerDescription& m : d_.markers)
      if (m.gap_frames > 0) markers.push_back(&m);
    std::stable_sort(markers.begin(), markers.end(), [](const auto* a, const auto* b) {
      return a->gap_frames != b->gap_frames ? a->gap_frames > b->gap_frames : a->gaps < b->gaps;
    });
    for (const MarkerDescription* m : markers)
      if (rows_.empty() || rows_.back()[0]->gaps != m->gaps)
        rows_.push_back({m});
      else
        rows_.back().push_back(m);
    constexpr std::size_t kMostRows = 40;
    for (std::size_t i = kMostRows; i < rows_.size(); ++i)
      others_.insert(others_.end(), rows_[i].begin(), rows_[i].end());
    rows_.resize(std::min(rows_.size(), kMostRows));
  }

  static std::string Name(const Markers& row) {
    constexpr std::size_t kLongest = 24;
    std::string name = Shortened(Printable(row[0]->name), kLongest);
    return row.size() == 1 ? name : name + fmt::format(" and {} more", row.size() - 1);
  }
  std::string OthersName() const { return fmt::format("and {} more", others_.size()); }

  // None missing, up to a third, up to two thirds, more, all.
  const std::array<std::string_view, 5>& Blocks() const {
    static constexpr std::array<std::string_view, 5> kUnicode = {" ", "\u2591", "\u2592", "\u2593", "\u2588"};
    static constexpr std::array<std::string_view, 5> kAscii = {" ", ".", ":", "+", "#"};
    return utf8_ ? kUnicode : kAscii;
  }

  std::size_t CellOf(std::size_t frame) const { return frame * cells_ / d_.frames; }
  // The first frame in a cell.
  std::size_t StartOf(std::size_t cell) const { return (cell * d_.frames + cells_ - 1) / cells_; }

  std::string Row(const std::string& name, const Markers& markers) const {
    std::vector<std::size_t> missing(cells_, 0);
    for (const MarkerDescription* m : markers)
      for (const auto& [first, end] : m->gaps)
        for (std::size_t cell = CellOf(first); cell <= CellOf(end - 1); ++cell)
          missing[cell] += std::min(end, StartOf(cell + 1)) - std::max(first, StartOf(cell));
    std::string text = fmt::format("  {} |", Padded(name, name_columns_));
    for (std::size_t cell = 0; cell < cells_; ++cell) {
      const std::size_t all = (StartOf(cell + 1) - StartOf(cell)) * markers.size();
      const std::size_t shade = missing[cell] == 0     ? 0
                                : missing[cell] == all ? 4
                                                       : 1 + 3 * missing[cell] / all;
      text += Blocks()[shade];
    }
    return text + "|\n";
  }

  // The times of the first frames of some cells, each below the left edge of its cell.
  std::string Axis() const {
    constexpr std::size_t kApart = 15;
    const int decimals = d_.duration_s < 1 ? 3 : d_.duration_s < 10 ? 2 : 1;
    std::string line(2 + name_columns_ + 2, ' ');
    const std::size_t left = line.size();
    for (std::size_t cell = 0; cell < cells_; cell += kApart) {
      if (line.size() > left + cell) break; // long times that would touch
      line.append(left + cell - line.size(), ' ');
      line += fmt::format("{:.{}f} s ", d_.times[StartOf(cell)], decimals);
    }
    line.pop_back();
    return line + '\n';
  }

  const TakeDescription& d_;
  bool utf8_;
  std::vector<Markers> rows_; // worst first
  Markers others_;            // those beyond the rows
  std::size_t name_columns_ = 0;
  std::size_t cells_ = 0;
};

} // namespace

std::string GapPicture(const TakeDescription& description, const Terminal& terminal) {
  return Picture(description, terminal).Text();
}

} // namespace mien
