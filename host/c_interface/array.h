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

/// Copies a view into the caller's struct. Throws a UsageError if that is not valid.
void GiveArray(mien_array* out, const mien_array& view);

} // namespace mien
