#pragma once

#include "host/base/error.h"
#include "host/cli/command.h"
#include "host/jobs/animation_choice.h"
#include "host/jobs/write_animation.h"
#include "host/solve/character_solver.h"
#include "host/takes/frame_rate.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

// Options and reports of every command that writes animations. What the options are read into must outlive the
// parsing.

struct AnimationOptions {
  std::optional<CsvStyle>& csv_style;
  std::string& onto;
  std::string& head_node;
  std::optional<std::pair<std::string, std::string>>& eye_nodes;
};

/// --output OUT.
void AddOutput(Command& command, std::string& output);

/// --character; `what` the command does with it: "to animate".
void AddCharacter(Command& command, std::string& character, std::string_view what);

/// --timecode of the first frame.
void AddTimecode(Command& command, std::optional<std::string>& timecode);

/// --report FILE.json; `what` is in it.
void AddReport(Command& command, std::string& report, std::string_view what);

/// --templates.
void AddTemplates(Command& command, bool& only_templates);

/// --output-rate.
void AddOutputRate(Command& command, std::optional<FrameRate>& rate);

/// --onto with this help, --head and --eyes.
void AddHeadOptions(Command& command, const std::string& help, std::string& onto, std::string& head_node,
                    std::optional<std::pair<std::string, std::string>>& eye_nodes);

/// --view FILE.html; `what` the page shows.
void AddView(Command& command, std::string& view, std::string_view what);

/// --csv-style and AddHeadOptions.
void AddAnimationOptions(Command& command, const AnimationOptions& options);

/// --expression NAME=WEIGHT.
void AddExpression(Command& command, ExpressionWeights& expressions);

/// What was written, in a few words.
std::string SummaryOf(const WrittenAnimation& written);

/// What the output lacks of the animation, or the animation of the output.
std::vector<Note> NotesOn(const WrittenAnimation& written);

} // namespace mien
