#pragma once

#include "host/base/error.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// The usual spelling of one of the 52; any other name as it is.
std::string UsualName(std::string_view written);

/// The weights that a file's names mean. Names of the 52 are recognised in any spelling
/// (host/character/arkit_names.h); "_neutral", which trackers write beside them, is not a weight.
class WeightNames {
public:
  /// What becomes of a name that is none of the 52.
  enum class Unknown { KeepAsIs, LeaveOut };

  WeightNames() = default;
  explicit WeightNames(Unknown unknown) : unknown_(unknown) {}

  /// The weight that a name means, as an index in Names; nothing where it is left out, or means what an
  /// earlier name means.
  std::optional<std::size_t> Add(std::string_view written);

  const std::vector<std::string>& Names() const { return names_; }

  /// Notes names that are left out, those that are none of the 52, those that mean the same, and which of the
  /// 52 are missing, if there are any of the 52 at all.
  void AppendTo(std::vector<Note>& notes) const;

private:
  Unknown unknown_ = Unknown::KeepAsIs;
  std::vector<std::string> names_;
  std::size_t known_ = 0; // of names_, those of the 52 and their halves
  std::vector<std::string> unknown_names_, repeated_;
};

/// Throws the InputError for a file that has so many weights a frame, and no names.
[[noreturn]] void FailUnnamed(const std::string& file, std::size_t count);

} // namespace mien
