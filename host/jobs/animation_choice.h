#pragma once

#include "host/character/character.h"
#include "host/jobs/write_animation.h"

#include <optional>
#include <string>
#include <utility>

namespace mien {

enum class CsvStyle {
  Plain,    ///< a column per template or shape
  LiveLink, ///< as phone face-capture apps write it
};

/// The settings that say in which form an animation is written.
struct AnimationChoice {
  std::string
      output; ///< its ending chooses the format: .csv, .json, .glb, .vrm, .vrma. A stream without one gets CSV
  std::optional<CsvStyle> csv_style = {};
  std::string onto = {};      ///< .glb, .vrm and pages: may be empty
  std::string head_node = {}; ///< likewise
  std::optional<std::pair<std::string, std::string>> eye_nodes = {};
  bool only_templates = false; ///< .csv
  bool has_shapes = false;     ///< the animation has shapes besides templates
  bool has_view = false;       ///< a page shows it as well, on the head of `onto`
};

/// Throws a UsageError where settings do not fit each other.
AnimationFormat FormatOf(const AnimationChoice& choice);

/// Where the animation goes. Reads the head that it goes onto. Throws InputError.
AnimationOutput OutputOf(const AnimationChoice& choice);

/// Throws InputError for a character whose shapes cannot all be columns of the format.
void CheckColumns(const Character& character, AnimationFormat format);

} // namespace mien
