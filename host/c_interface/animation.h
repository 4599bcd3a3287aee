#pragma once

#include "host/animation/animation.h"
#include "host/base/long_vector.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/layout_names.h"
#include "host/c_interface/messages.h"
#include "host/character/character.h"
#include "host/solve/solve_report.h"

#include <functional>
#include <mutex>
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

  /// Makes the report as JSON, which may take a third of the time of a solve: see Report.
  std::function<std::string()> make_report;
  std::string neutral;                                       ///< how it was found
  mien::LongVector<mien::SolveReport::FrameQuality> quality; ///< (size: frames of the take, or 0)
  mien::LongVector<VgeAMatrix> head_motion;                  ///< empty until it is first requested
  mien_messages notes;

  /// The report, made at the first call, on any thread.
  const std::string& Report() const {
    std::call_once(report_made_, [this] { report_ = make_report(); });
    return report_;
  }

private:
  mutable std::once_flag report_made_;
  mutable std::string report_;
};
