#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/cli/commands.h"
#include "host/cli/file_options.h"
#include "host/cli/output.h"
#include "host/files/standard_streams.h"
#include "host/jobs/character_job.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <memory>
#include <string>

namespace mien {

namespace {

void FromGlb(const CharacterFromHeadJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  const auto [match, morph_targets, notes] = Run(job);
  output.Line("head", fmt::format("{}, {} of them known by name", Count(morph_targets, "morph target"),
                                  morph_targets - match.unmatched.size()));
  output.Remark(notes, job.head);
  output.Remark(match.notes, job.head);
  if (!match.unmatched.empty())
    output.Line("unknown", Some(match.unmatched) + ": nothing drives them until the file says what does");
  if (!match.undriven.empty())
    output.Line("at rest", Some(match.undriven) + ": known, but no template drives them");
  if (!match.missing.empty()) output.Line("missing", "the head lacks " + Some(match.missing));
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObject({{"head", job.head},
                            {"output", job.output},
                            {"morph_targets", morph_targets},
                            {"unknown", match.unmatched},
                            {"at_rest", match.undriven},
                            {"missing", match.missing}}));
}

void Save(const SaveCharacterJob& job, Output& output) {
  output.RequireFreeStandardOutput(job.output);
  Run(job);
  if (!IsStandardOutput(job.output)) output.Line("wrote", job.output);
  output.Result(JsonObject({{"character", job.character}, {"output", job.output}}));
}

void AddOutput(Command& command, std::string& output, std::string& name) {
  command.Add(JsonOutputOption("The character file to write"), output);
  command.Add({.names = "--name", .type = "NAME", .help = "The character's name in the file"}, name);
  command.AddOutputOptions();
}

} // namespace

void AddCharacterCommand(Command& mien) {
  Command command = mien.AddCommand("character", "Write a character file, to be edited");
  command.RequireCommand();
  command.Example("mien character from-glb head.glb -o head.json");
  command.Example("mien character save arkit52 -o mine.json");

  Command from_glb = command.AddCommand(
      "from-glb", "Write a first character for a head, from the names of its morph targets");
  from_glb.Details(
      "The 52 names of phone face capture are recognised in any letter case and with any separators.");
  from_glb.Example("mien character from-glb head.glb -o head.json");
  auto from_glb_job = std::make_shared<CharacterFromHeadJob>();
  from_glb.Add(
      {.names = "HEAD.glb", .help = "The head; - is standard input", .required = true, .files = "*.glb"},
      from_glb_job->head);
  AddOutput(from_glb, from_glb_job->output, from_glb_job->name);
  from_glb.OnRun([from_glb_job](Output& output) { FromGlb(*from_glb_job, output); });

  Command save =
      command.AddCommand("save", "Write a built-in character, or a character file again, to a file");
  save.Example("mien character save arkit52 -o mine.json");
  auto save_job = std::make_shared<SaveCharacterJob>();
  save.Add({.names = "CHARACTER",
            .help = fmt::format("A built-in character ({}) or a character file; - is standard input",
                                fmt::join(BuiltInCharacters(), ", ")),
            .required = true,
            .values = BuiltInCharacters(),
            .files = "*.json"},
           save_job->character);
  AddOutput(save, save_job->output, save_job->name);
  save.OnRun([save_job](Output& output) { Save(*save_job, output); });
}

} // namespace mien
