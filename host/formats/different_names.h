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

/// Makes all names different. Of equal ones the first keeps its name, the others become "NAME (2)", "NAME (3)" and so on,
/// passing over what is the name of another. Where `made_up` (of equal size) says that a name is the reader's own, it counts
/// as behind those that are the file's. Answers those that were changed, by index.
std::vector<RenamedMarker> MakeNamesDifferent(std::vector<std::string>& names,
                                              const std::vector<bool>& made_up);

} // namespace mien
