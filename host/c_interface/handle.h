#pragma once

#include "host/c_interface/mien_host.h"
#include "host/jobs/output_place.h"

#include <fmt/format.h>

#include <cstdint>
#include <memory>

namespace mien {

/// The beginning of every handle: a word that identifies its kind, so that handles of other kinds and freed
/// ones are recognised. `Self` has `kKind`, its name in the header, and `kWord`.
template <class Self>
class Handle {
public:
  Handle() : word_(Self::kWord) {}
  ~Handle() { word_ = 0; }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  bool IsOne() const { return word_ == Self::kWord; }

private:
  volatile std::uint64_t word_; // volatile: its last value is written although nobody reads it
};

/// Throws a UsageError unless it is a handle of its kind. `argument` is its name in the header.
template <class Self>
Self& Require(Self* handle, const char* argument) {
  if (!handle) throw UsageError(argument, "this is NULL");
  if (!handle->IsOne())
    throw UsageError(argument, fmt::format("this is not a {}, or it was freed", Self::kKind));
  return *handle;
}

/// The same for a handle that may be null.
template <class Self>
Self* RequireOrNull(Self* handle, const char* argument) {
  return handle ? &Require(handle, argument) : nullptr;
}

/// For functions that report no errors: the handle, or null if it is not valid.
template <class Self>
Self* Known(Self* handle) {
  return handle && handle->IsOne() ? handle : nullptr;
}

/// Frees a handle. #MIEN_USAGE if it is not valid; null is.
template <class Self>
mien_status Free(Self* handle) {
  if (!handle) return MIEN_OK;
  if (!handle->IsOne()) return MIEN_USAGE;
  delete handle;
  return MIEN_OK;
}

} // namespace mien
