#pragma once

#include "host/animation/animation.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/layout_names.h"
#include "host/c_interface/messages.h"
#include "host/character/character.h"
#include "host/solve/solve_report.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A solved take, or retargeted weights.
struct mien_animation : mien::Handle<mien_animation> {
  static constexpr const char* kKind = "mien_animation";
  static constexpr std::uint64_t kWord = 0x6d69656e'616e696d;

  mien_animation(mien::Animation solved, const mien::Character* of, std::string of_file);

  const mien::Animation animation;
  const std::optional<mien::Character> character; ///< of the shapes
  const std::string file;                         ///< that it comes from, for messages
  const mien::LayoutNames names;
  const std::string timecode; ///< as text

  std::string report, neutral;                          ///< as JSON; how it was found
  std::vector<mien::SolveReport::FrameQuality> quality; ///< (size: frames of the take, or 0)
  mien::LongVector<VgeAMatrix> head_motion;             ///< empty until somebody asks for it
  mien_messages notes;
};
