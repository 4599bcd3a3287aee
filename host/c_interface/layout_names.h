#pragma once

#include "host/animation/animation.h"
#include "host/c_interface/mien_host.h"

#include <array>
#include <string>
#include <vector>

namespace mien {

/// The names of an animation's columns, as a caller asks for them.
class LayoutNames {
public:
  explicit LayoutNames(const AnimationLayout& layout);

  std::size_t Count(mien_names which) const { return Find(which).size(); } ///< 0 for no such list
  const char* At(mien_names which, std::size_t index) const;               ///< null beyond the last

private:
  const std::vector<std::string>& Find(mien_names which) const;

  std::array<std::vector<std::string>, 5> lists_;
  std::vector<std::string> none_;
};

} // namespace mien
