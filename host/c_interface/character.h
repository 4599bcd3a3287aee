#pragma once

#include "host/c_interface/handle.h"
#include "host/c_interface/messages.h"
#include "host/character/character.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// Shapes and clusters, and what drives them.
struct mien_character : mien::Handle<mien_character> {
  static constexpr const char* kKind = "mien_character";
  static constexpr std::uint64_t kWord = 0x6d69656e'63686172;

  explicit mien_character(mien::Character made)
      : shared(std::make_shared<const mien::Character>(std::move(made))), character(*shared),
        shapes(character.Shapes()) {}

  const std::shared_ptr<const mien::Character> shared; ///< with the faces that drive it
  const mien::Character& character;
  const std::vector<std::string> shapes;
  mien_messages notes;
};
