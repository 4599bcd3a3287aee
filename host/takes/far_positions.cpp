#include "host/takes/far_positions.h"

#include "host/base/text.h"

#include <fmt/format.h>

namespace mien {

void FarPositions::Add(std::string_view marker, std::string_view what, std::int64_t number) {
  if (++count_ == 1) first_ = fmt::format("{} in {} {}", Quoted(marker), what, number);
}

void FarPositions::Add(const FarPositions& later) {
  if (count_ == 0) first_ = later.first_;
  count_ += later.count_;
}

void FarPositions::AppendTo(std::vector<Note>& notes) const {
  if (count_ > 0)
    notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("positions beyond a kilometre, taken as gaps: {}, the first: {}", count_, first_)});
}

} // namespace mien
