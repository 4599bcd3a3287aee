#pragma once

#include "host/animation/animation.h"
#include "host/files/mapped_file.h"
#include "host/formats/read_take.h"
#include "host/jobs/job_progress.h"
#include "host/solve/gaze_report.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// The head and the eyes of a take of face landmarks.
struct LandmarkHead {
  std::string file;   ///< for messages
  std::string format; ///< "long mesh CSV"
  std::vector<Note> notes;
  Animation animation; ///< solved; its heads and eyes count
  GazeSource gaze = GazeSource::None;
};

/// Solves a take of the 68 or the 478 landmarks for its head and eyes, by the built-in performers. Throws InputError,
/// also for a take of other markers. `smooth_gaze_hz` is the cutoff of a low-pass filter on the eyes.
LandmarkHead SolveLandmarkHead(const std::string& path, const ReadOptions& reading,
                               const std::optional<double>& smooth_gaze_hz = std::nullopt,
                               const JobProgress& progress = nullptr, FileAccess access = FileAccess::Map);

/// How the frames of two recordings fit each other.
struct JoinedFrames {
  bool by_time = false; ///< alone: no frame has the same number and time
  std::size_t matched = 0;
  std::size_t without = 0; ///< frames of the animation that the landmarks lack: the head and eyes stay there
  std::size_t unused = 0;  ///< frames of the landmarks that the animation lacks
};

/// Gives an animation the head and, if the landmarks show where they look, the eyes of another recording of the same
/// frames. Frames are the same by their numbers, and by their times to within half a frame; if none are, by their times
/// alone. Throws InputError where no frame fits; `file` is the animation's name for messages.
JoinedFrames JoinHead(const LandmarkHead& head, const std::string& file, Animation& animation);

} // namespace mien
