#include "host/base/error.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/character/character_file.h"
#include "host/character/character_from_head.h"
#include "host/cli/commands.h"
#include "host/cli/report.h"
#include "host/files/read_file.h"
#include "host/files/whole_file.h"
#include "host/gltf/morph_targets.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <filesystem>
#include <memory>
#include <string>

namespace mien {

namespace {

struct Options {
  std::string head, character, output, name;
  bool quiet = false;
};

void FromGlb(const Options& options) {
  RefuseOverwriting(options.output, options.head, "the head");
  if (!IsUtf8(options.name)) throw CLI::ValidationError("--name", "this is not UTF-8 text");
  CheckWritable(options.output);
  const MorphTargets targets = FindMorphTargets(ReadGlb(ReadFile(options.head), options.head));
  const std::vector<std::string> names = targets.Names();
  if (names.empty())
    throw InputError(Code::Empty, options.head, "", "it has no morph targets with names",
                     "export the head with its shape keys, under their names");
  const std::string stem = std::filesystem::path(options.head).stem().string();
  const HeadMatch match = MatchHead(!options.name.empty()           ? options.name
                                    : IsUtf8(stem) && !stem.empty() ? stem
                                                                    : "head",
                                    names);
  WriteWhole(options.output, [&](std::ostream& out) { WriteCharacter(match.character, out); });

  if (options.quiet) return;
  ReportLine("head", fmt::format("{}, {} of them known by name", Count(names.size(), "morph target"),
                                 names.size() - match.unmatched.size()));
  for (const Note& note : targets.notes) ReportLine("", Message(note));
  for (const std::string& note : match.notes) ReportLine("", note);
  if (!match.unmatched.empty())
    ReportLine("unknown", Some(match.unmatched) + ": nothing drives them until you say what does");
  if (!match.undriven.empty())
    ReportLine("at rest", Some(match.undriven) + ": known, and no template tells of them");
  if (!match.missing.empty()) ReportLine("missing", "the head has no " + Some(match.missing));
  if (options.output != "-") ReportLine("wrote", options.output);
}

void Save(const Options& options) {
  RefuseOverwriting(options.output, options.character, "the character file");
  if (!IsUtf8(options.name)) throw CLI::ValidationError("--name", "this is not UTF-8 text");
  CheckWritable(options.output);
  Character character = LoadCharacter(options.character);
  if (!options.name.empty()) character.name = options.name;
  WriteWhole(options.output, [&](std::ostream& out) { WriteCharacter(character, out); });
  if (!options.quiet && options.output != "-") ReportLine("wrote", options.output);
}

void AddOutput(CLI::App& command, Options& options) {
  command.add_option("-o,--output", options.output, "The character file to write; - is standard output")
      ->type_name("FILE.json")
      ->required();
  command.add_option("--name", options.name, "The character's name in the file")->type_name("NAME");
  command.add_flag("-q,--quiet", options.quiet, "Report nothing but errors");
}

} // namespace

void AddCharacterCommand(CLI::App& app) {
  CLI::App* const command = app.add_subcommand("character", "Write a character file, to be edited");
  command->require_subcommand(1);
  auto options = std::make_shared<Options>();

  CLI::App* const from_glb =
      command->add_subcommand("from-glb", "A first character for a head, by the names of its morph targets");
  from_glb->footer(
      "Example: mien character from-glb head.glb -o head.json\n"
      "The 52 names of phone face capture are understood whatever their letter case and separators.");
  from_glb->add_option("HEAD.glb", options->head, "The head")->required();
  AddOutput(*from_glb, *options);
  from_glb->callback([options] { FromGlb(*options); });

  CLI::App* const save = command->add_subcommand("save", "A built-in character, or a file written anew");
  save->footer("Example: mien character save arkit52 -o mine.json");
  save->add_option(
          "CHARACTER", options->character,
          fmt::format("A built-in character: {}, or a character file", fmt::join(BuiltInCharacters(), ", ")))
      ->required();
  AddOutput(*save, *options);
  save->callback([options] { Save(*options); });
}

} // namespace mien
