#pragma once

#include "host/c_interface/mien_host.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace mien {

/// An axis of an array: how many, and how many bytes from one to the next.
struct ArrayAxis {
  std::size_t count;
  std::size_t stride;
};

mien_array ViewOf(const double* data, std::initializer_list<ArrayAxis> axes);
mien_array ViewOf(const std::int64_t* data, std::initializer_list<ArrayAxis> axes);
mien_array ViewOf(const std::uint8_t* data, std::initializer_list<ArrayAxis> axes);

/// Hands a view to the caller. Throws a UsageError where there is no struct for it.
void GiveArray(mien_array* out, const mien_array& view);

} // namespace mien
