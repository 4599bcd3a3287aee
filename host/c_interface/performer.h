#pragma once

#include "host/c_interface/handle.h"
#include "host/c_interface/messages.h"
#include "host/performer/performer.h"

#include <string>
#include <utility>
#include <vector>

/// The markers of a face, its neutral and its ranges.
struct mien_performer : mien::Handle<mien_performer> {
  static constexpr const char* kKind = "mien_performer";
  static constexpr std::uint64_t kWord = 0x6d69656e'70657266;

  explicit mien_performer(mien::Performer made) : performer(std::move(made)), markers(performer.Markers()) {}

  const mien::Performer performer;
  const std::vector<std::string> markers;
  mien_messages notes;
};
