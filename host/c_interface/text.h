#pragma once

#include "host/c_interface/handle.h"

#include <string>
#include <utility>

/// Text or bytes that a function made.
struct mien_text : mien::Handle<mien_text> {
  static constexpr const char* kKind = "mien_text";
  static constexpr std::uint64_t kWord = 0x6d69656e'74657874;

  explicit mien_text(std::string all) : bytes(std::move(all)) {}

  const std::string bytes;
};
