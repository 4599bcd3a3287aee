#pragma once

#include "host/c_interface/handle.h"
#include "host/c_interface/messages.h"
#include "host/takes/take.h"

#include <memory>
#include <string>
#include <utility>

/// A recording of markers, with NaN in the positions of its gaps.
struct mien_take : mien::Handle<mien_take> {
  static constexpr const char* kKind = "mien_take";
  static constexpr std::uint64_t kWord = 0x6d69656e'74616b65;

  explicit mien_take(mien::Take read);

  const std::shared_ptr<const mien::Take> shared; ///< with the faces that are learned from it
  const mien::Take& take;
  const std::string timecode; ///< as text
  const mien_messages notes;
};
