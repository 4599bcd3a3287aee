#include "host/cli/job_options.h"

#include "host/cli/animation_options.h"
#include "host/cli/cleaning_options.h"
#include "host/cli/file_options.h"
#include "host/cli/take_options.h"
#include "host/weights/weight_map.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <optional>

namespace mien {

// Each is as long as the list of its options, in the order in which help shows them.

void AddSolveOptions(Command& command, SolveJob& job) {
  command.Add(TakeArgument(), job.take);
  command.Add(PerformerOption("The markers and, if it has one, the neutral face"), job.performer);
  AddCharacter(command, job.character, "to animate");
  AddOutput(command, job.output);
  AddNeutralOption(command, job.neutral);
  AddExpression(command, job.expressions);
  AddTemplates(command, job.only_templates);
  AddAnimationOptions(
      command,
      {.csv_style = job.csv_style, .onto = job.onto, .head_node = job.head_node, .eye_nodes = job.eye_nodes});
  AddSolver(command, job.solve.solver);
  command.Add({.names = "--basis",
               .type = "HEAD.glb|TABLE.csv",
               .help = "For --solver fit: how faces move with their shapes, from a head with the 52 as morph "
                       "targets or from a table, instead of from the built-in faces",
               .may_be_empty = false,
               .files = "*"},
              job.basis);
  command.Add({.names = "--basis-landmarks",
               .type = "FILE.csv",
               .help = "For --basis HEAD.glb: where the 68 landmarks are on the head, as landmark,x,y,z; "
                       "default: HEAD.landmarks.csv beside it",
               .may_be_empty = false,
               .files = "*.csv"},
              job.basis_landmarks);
  command.AddParsedFlag(
      {.names = "--no-ranges",
       .help = "Leave out the ranges of a calibrated performer: weights as they are measured"},
      [&job]() -> Command::Fault {
        job.ranges = false;
        return std::nullopt;
      });
  command.AddFlag(
      {.names = "--level-lids",
       .help = "Take the slow part out of Eye.Close, which lowered eyes cause; a lid that is held half "
               "shut opens slowly. For calibrated performers"},
      job.solve.level_lids);
  AddHeadFit(command, job.solve.head_fit);
  AddCleaningOptions(command, job.solve);
  AddCausalOptions(command, job.causal, true);
  AddOutputRate(command, job.output_rate);
  AddTakeOptions(command, job.reading);
  AddTimecode(command, job.timecode);
  AddReport(command, job.report, "what was done to the take");
  command.Add({.names = "--frames-report",
               .type = "FILE.csv",
               .help =
                   "Write a row per frame as well: residuals, filled markers, resting parts, flags, whether "
                   "the head was found",
               .may_be_empty = false,
               .files = "*.csv"},
              job.frames_report);
  AddView(command, job.view, "the take and its solve: markers, head, curves, and where it is bad");
}

void AddRetargetOptions(Command& command, RetargetJob& job) {
  command.Add({.names = "WEIGHTS",
               .help = "The file of weights: CSV or JSON; - is standard input",
               .required = true,
               .files = "*"},
              job.weights);
  AddOutput(command, job.output);
  AddCharacter(command, job.character, "to drive through the templates of its face");
  command.Add(
      {.names = "--map",
       .type = "NAME|FILE",
       .help = fmt::format("For --character: what the weights mean to the templates, a built-in map ({}) "
                           "or a map file. Default: arkit52",
                           fmt::join(BuiltInWeightMaps(), ", ")),
       .may_be_empty = false,
       .values = BuiltInWeightMaps(),
       .files = "*.json"},
      job.map);
  AddExpression(command, job.expressions);
  AddTemplates(command, job.only_templates);
  AddAnimationOptions(
      command,
      {.csv_style = job.csv_style, .onto = job.onto, .head_node = job.head_node, .eye_nodes = job.eye_nodes});
  command.Add({.names = "--ranges",
               .type = "FILE.json",
               .help = "What the weights read on this person's face, from mien calibrate: a blink that reads "
                       "0.7 becomes 1",
               .may_be_empty = false,
               .files = "*.json"},
              job.ranges);
  command.Add(
      {.names = "--landmarks",
       .type = "TAKE",
       .help = "Face landmarks of the same recording, which the head's motion and the direction of the eyes "
               "are taken from; may be WEIGHTS itself",
       .may_be_empty = false,
       .files = "*"},
      job.landmarks);
  command.AddFlag({.names = "--swap-sides",
                   .help = "Exchange left and right: for a mirrored video, or a program that confuses them"},
                  job.swap_sides);
  AddWeightCleaning(command, job.fade_s, job.smooth_weights_hz, job.smooth_gaze_hz);
  AddCausalOptions(command, job.causal, false);
  AddOutputRate(command, job.output_rate);
  AddReadingOptions(command, job.reading.strict, job.reading.face, job.reading.input_rate);
  AddMeshOptions(command, job.mesh);
  AddTimecode(command, job.timecode);
  AddReport(command, job.report, "what was read and done");
}

void AddMeasuringOptions(Command& command, CalibrateJob& job) {
  command.Add({.names = "--poses",
               .type = "MARKS.csv",
               .help =
                   "Where the first take shows which pose: a table with the columns pose, from and to, in "
                   "frame numbers, or pose, from_s and to_s, in seconds",
               .may_be_empty = false,
               .files = "*.csv"},
              job.poses);
  command.Add({.names = "--name", .type = "NAME", .help = "The performer's name in the file"}, job.name);
  AddNeutralOption(command, job.neutral);
  AddHeadFit(command, job.solve.head_fit);
  AddCleaningOptions(command, job.solve);
}

void AddPartOptions(Command& command, ConvertJob& job) {
  AddFrameRange(command,
                {.names = "--frames", .type = "FRAME|FROM-TO", .help = "Keep these frames only, by number"},
                job.frames);
  command.Add({.names = "--markers",
               .type = "NAME,...",
               .help = "Keep these markers only, in this order; may be given more than once"},
              job.markers, ',');
  command.Add({.names = "--timecode",
               .type = "HH:MM:SS:FF[@RATE]",
               .help = "The timecode of the first frame that is written. RATE is its counts per second; "
                       "default: the take's rate"},
              job.timecode);
}

} // namespace mien
