#include "host/inspect/gap_picture.h"

#include "host/base/text.h"
#include "host/inspect/text_table.h"
#include "host/inspect/time_cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

namespace mien {

namespace {

// The picture of one description.
class Picture {
public:
  Picture(const TakeDescription& d, const Terminal& terminal)
      : d_(d), utf8_(terminal.utf8), cells_(d.times, GatherRows(), terminal) {}

  std::string Text() const {
    if (rows_.empty()) return "";
    const auto& blocks = Blocks();
    std::string text = fmt::format(
        "  gaps over time: {} below a third of the frames, {} below two thirds, {} more, {} all\n", blocks[1],
        blocks[2], blocks[3], blocks[4]);
    for (const Markers& row : rows_) text += Row(Name(row), row);
    if (!others_.empty()) text += Row(OthersName(), others_);
    return text + cells_.Axis(d_.duration_s);
  }

private:
  using Markers = std::vector<const MarkerDescription*>;

  // Returns the columns of the widest name.
  std::size_t GatherRows() {
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
    std::size_t columns = others_.empty() ? 0 : Columns(OthersName());
    for (const Markers& row : rows_) columns = std::max(columns, Columns(Name(row)));
    return columns;
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

  std::string Row(const std::string& name, const Markers& markers) const {
    std::vector<std::size_t> missing(cells_.Count(), 0);
    for (const MarkerDescription* m : markers)
      for (const auto& [first, end] : m->gaps)
        for (std::size_t cell = cells_.CellOf(first); cell <= cells_.CellOf(end - 1); ++cell)
          missing[cell] += std::min(end, cells_.StartOf(cell + 1)) - std::max(first, cells_.StartOf(cell));
    std::string text = cells_.Before(name);
    for (std::size_t cell = 0; cell < missing.size(); ++cell) {
      const std::size_t all = (cells_.StartOf(cell + 1) - cells_.StartOf(cell)) * markers.size();
      const std::size_t shade = missing[cell] == 0     ? 0
                                : missing[cell] == all ? 4
                                                       : 1 + 3 * missing[cell] / all;
      text += Blocks()[shade];
    }
    return text + "|\n";
  }

  const TakeDescription& d_;
  bool utf8_;
  std::vector<Markers> rows_; // worst first
  Markers others_;            // those beyond the rows
  TimeCells cells_;
};

} // namespace

std::string GapPicture(const TakeDescription& description, const Terminal& terminal) {
  return Picture(description, terminal).Text();
}

} // namespace mien
