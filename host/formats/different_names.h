#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace mien {

/// A name that was changed.
struct RenamedMarker {
  std::size_t index = 0;
  std::string before;
};

/// Makes all names different. Of equal ones the first keeps its name; the others become "NAME (2)", "NAME
/// (3)" and so on, without the numbers that make the name of another. A name that is `made_up` by the reader
/// (size: names) counts as later than all of the file's own. Answers the names that changed, by index. Takes
/// n log n comparisons.
std::vector<RenamedMarker> MakeNamesDifferent(std::vector<std::string>& names,
                                              const std::vector<bool>& made_up);

} // namespace mien
