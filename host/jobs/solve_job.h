#pragma once

#include "host/animation/animation.h"
#include "host/files/mapped_file.h"
#include "host/formats/read_take.h"
#include "host/jobs/animation_choice.h"
#include "host/jobs/causal_job.h"
#include "host/jobs/job_progress.h"
#include "host/jobs/write_animation.h"
#include "host/performer/neutral.h"
#include "host/performer/performer.h"
#include "host/solve/character_solver.h"
#include "host/solve/solve_options.h"
#include "host/solve/solve_report.h"
#include "host/solve/solve_report_json.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// A take solved into an animation's file: what the command line, a batch or a script fills in.
struct SolveJob {
  // Of the inputs, one may be "-", standard input; of the outputs, one standard output.
  std::string take;
  std::string performer; ///< a file, or a built-in's name
  std::string character; ///< the same; may be empty
  /// Its ending chooses the format: .csv, .json, .glb, .vrm, .vrma. A stream without an ending gets CSV.
  std::string output;
  std::string report;        ///< a JSON file about how the take was solved; may be empty
  std::string frames_report; ///< a CSV file with the quality of each frame; may be empty
  std::string view;          ///< an HTML file that shows the take and its solve; may be empty

  ReadOptions reading;
  std::optional<std::string> timecode; ///< of the first frame, in place of the take's own: "10:02:59:29@30"
  std::optional<FrameRange> neutral; ///< the frames of the neutral face; by default the performer's, or found
  SolveOptions solve;
  CausalJob causal; ///< in place of what `solve` says of cleaning
  /// ShapeSolver::Fit: a head (.glb) whose shapes move as the performer's, or a table of these (.csv); empty
  /// for the built-in ones.
  std::string basis;
  /// Where the landmarks are on that head; empty for HEAD.landmarks.csv beside it.
  std::string basis_landmarks;
  bool ranges = true;                   ///< apply those of a calibrated performer
  std::optional<FrameRate> output_rate; ///< to resample to; nothing for the take's own frames
  ExpressionWeights expressions;        ///< of the character, added to every frame

  bool only_templates = false; ///< .csv: template weights although there is a character
  std::optional<CsvStyle>
      csv_style;         ///< .csv: plain unless named; for livelink the character is arkit52 unless named
  std::string onto;      ///< .glb, .vrm: animate this head instead of a simple one; may be empty
  std::string head_node; ///< .glb, .vrm: the node of that head which turns with the performer's; may be empty
  std::optional<std::pair<std::string, std::string>> eye_nodes; ///< .glb, .vrm: those that turn with the eyes

  std::vector<std::string> command;    ///< the arguments that led here, for the report; may be empty
  bool hash_files = false;             ///< return `files` even without a report
  FileAccess access = FileAccess::Map; ///< to the take
};

struct SolveResult {
  Take take;
  std::string performer; ///< names
  std::string character; ///< empty without one
  Neutral neutral;
  std::vector<Range> ranges;          ///< of the performer, also those that were not applied
  std::optional<CausalResult> causal; ///< of a causal solve, which leaves `neutral` and `report` empty
  SolveReport report; ///< has `per_frame` where the job asks for a frames report, or its options do
  Animation animation;
  WrittenAnimation written;
  /// The files that went in and came out; empty where neither `report` nor `hash_files` asks for them.
  std::vector<ReportedFile> files;
};

/// Throws InputError of Code::Usage where settings do not fit each other; reads nothing. Run does so first.
void CheckSettings(const SolveJob& job);

/// Settings are checked before anything is read, and places to write to before anything is solved. Throws
/// InputError; of Code::Usage where settings do not fit each other or the take. Any number of jobs may run at
/// once, on any threads.
SolveResult Run(const SolveJob& job, const JobProgress& progress = nullptr);

/// What the report of a job says. Both must outlive it.
SolveRecord RecordOf(const SolveJob& job, const SolveResult& result);

} // namespace mien
