#pragma once

#include "host/files/mapped_file.h"
#include "host/formats/mesh_space.h"
#include "host/jobs/animation_choice.h"
#include "host/jobs/causal_job.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/landmark_head.h"
#include "host/jobs/reported_files.h"
#include "host/jobs/write_animation.h"
#include "host/solve/character_solver.h"
#include "host/weights/apply_ranges.h"
#include "host/weights/read_weights.h"
#include "host/weights/weight_take.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A recording of weights made into an animation's file.
struct RetargetJob {
  std::string weights; ///< a file; "-" is standard input
  std::string
      output; ///< its ending chooses the format: .csv, .json, .glb, .vrm, .vrma. A stream without one gets CSV

  /// A file, or a built-in's name: the weights drive this character through the templates of the nine parts.
  /// If empty, weights keep their names.
  std::string character;
  std::string map = "arkit52";   ///< a file, or a built-in's name: from weights to templates
  ExpressionWeights expressions; ///< of the character, added to every frame

  WeightReadOptions reading;
  std::size_t threads = 1; ///< that work on the animation; every number gives the same bytes
  /// A take of face landmarks of the same recording, which the head and the eyes come from; may be empty, or
  /// the file of weights itself. `mesh` is how it is read.
  std::string landmarks;
  MeshOptions mesh;
  std::string ranges;      ///< a ranges file, by the names of the weights in their file; may be empty
  bool swap_sides = false; ///< exchange left and right
  CausalJob causal;        ///< frame by frame, as a stream
  double fade_s = 0.25;    ///< in which missing weights come to rest
  std::optional<double> smooth_weights_hz; ///< cutoff of the low-pass filter; nothing for none
  std::optional<double> smooth_gaze_hz;    ///< the same for where the eyes look
  std::optional<std::string> timecode;  ///< of the first frame, in place of the file's own: "10:02:59:29@30"
  std::optional<FrameRate> output_rate; ///< to resample to; nothing for the file's own frames

  bool only_templates = false;       ///< .csv: template weights although there is a character
  std::optional<CsvStyle> csv_style; ///< .csv: plain unless named
  std::string onto;                  ///< .glb, .vrm: animate this head instead of a simple one; may be empty
  std::string head_node; ///< .glb, .vrm: the node of that head which turns with the head; may be empty
  std::optional<std::pair<std::string, std::string>> eye_nodes; ///< .glb, .vrm: those that turn with the eyes

  std::string report;                  ///< a JSON file about what was done; may be empty
  std::vector<std::string> command;    ///< the arguments that led here, for the report; may be empty
  bool hash_files = false;             ///< return `files` even without a report
  FileAccess access = FileAccess::Map; ///< to the weights and the landmarks
};

struct RetargetResult {
  WeightTake take; ///< filled and smoothed, at its own rate
  AppliedRanges ranges;
  std::optional<CausalResult> causal;    ///< of a causal solve, whose `take` is as the file has it
  std::size_t missing_frames = 0;        ///< in which a weight was missing, and was filled
  bool eyes_of_shapes = false;           ///< the eyes' angles are those that the eyeLook shapes mean
  std::string character;                 ///< name; empty without one
  std::vector<std::string> unused;       ///< weights that the map does not use
  std::optional<LandmarkHead> landmarks; ///< where they were named
  JoinedFrames joined;
  std::vector<ReportedFile> files; ///< that went in and came out; empty unless they are asked for
  WrittenAnimation written;
};

/// Throws InputError of Code::Usage where settings do not fit each other; reads nothing. Run does so first.
void CheckSettings(const RetargetJob& job);

/// Throws InputError; of Code::Usage where settings do not fit each other or the file. Any number of jobs may
/// run at once, on any threads.
RetargetResult Run(const RetargetJob& job, const JobProgress& progress = nullptr);

} // namespace mien
