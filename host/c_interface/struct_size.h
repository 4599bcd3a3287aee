#pragma once

#include "host/c_interface/mien_host.h"
#include "host/jobs/output_place.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace mien {

// Structs of a caller that may have an older or a newer version of them. The minimum size is that of version
// 1; members that only a newer caller knows must be 0.

/// Fills as much of a caller's struct as the caller knows. #MIEN_USAGE if it is not a valid struct.
template <class Struct>
mien_status FillStruct(Struct* out, const Struct& values, std::size_t least = sizeof(Struct)) {
  if (!out || out->struct_size < least) return MIEN_USAGE;
  const std::size_t size = out->struct_size;
  std::memcpy(static_cast<void*>(out), &values, std::min(size, sizeof(Struct)));
  out->struct_size = size;
  if (size > sizeof(Struct))
    std::memset(reinterpret_cast<char*>(out) + sizeof(Struct), 0, size - sizeof(Struct));
  return MIEN_OK;
}

/// A caller's struct as we know it. Throws a UsageError if it is not valid. `argument` is its name in the
/// header.
template <class Struct>
Struct ReadStruct(const Struct* in, const char* argument, std::size_t least = sizeof(Struct)) {
  if (!in) throw UsageError(argument, "this is NULL");
  if (in->struct_size < least) throw UsageError(argument, "struct_size is not the size of the struct");
  const char* const bytes = reinterpret_cast<const char*>(in);
  if (in->struct_size > sizeof(Struct)) {
    if (in->struct_size > sizeof(Struct) + 4096)
      throw UsageError(argument, "struct_size is not the size of the struct");
    if (std::any_of(bytes + sizeof(Struct), bytes + in->struct_size, [](char c) { return c != 0; }))
      throw UsageError(argument, "this has members that the loaded library, which is older, does not know");
  }
  Struct known = {};
  std::memcpy(static_cast<void*>(&known), in, std::min(in->struct_size, sizeof(Struct)));
  return known;
}

} // namespace mien
