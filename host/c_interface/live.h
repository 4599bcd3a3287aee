#pragma once

#include "host/c_interface/frame_result.h"
#include "host/c_interface/handle.h"
#include "host/c_interface/layout_names.h"
#include "host/jobs/solve_job.h"
#include "host/live/live_session.h"

#include <cstddef>
#include <map>
#include <memory>
#include <vector>

/// Faces that move now.
struct mien_live : mien::Handle<mien_live> {
  static constexpr const char* kKind = "mien_live";
  static constexpr std::uint64_t kWord = 0x6d69656e'6c697665;

  mien_live();

  struct Face {
    mien::LiveKind kind;
    std::size_t value_count; ///< of a frame
    mien::LayoutNames names;
    mien::LiveInput input; ///< filled again for each frame

    // For another performer.
    mien::SolveJob settings;
    std::shared_ptr<const mien::Character> character;
  };
  std::map<std::size_t, Face> faces; ///< by their numbers in the session

  /// Of the last call. Only the first `result_count` count; the others are kept for their memory.
  std::vector<mien::FrameResult> results;
  std::size_t result_count = 0;

  mien::LiveSession session;

  /// Throws a UsageError if there is no such face.
  Face& RequireFace(std::size_t number);
};
