#include "host/jobs/character_job.h"

#include "host/base/error.h"
#include "host/base/utf8.h"
#include "host/character/character_file.h"
#include "host/files/read_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/gltf/morph_targets.h"
#include "host/jobs/output_place.h"

#include <filesystem>
#include <utility>

namespace mien {

CharacterFromHead CharacterOfHead(const CharacterFromHeadJob& job) {
  MorphTargets targets = FindMorphTargets(ReadGlb(ReadFile(job.head), InputName(job.head)));
  const std::vector<std::string> names = targets.Names();
  if (names.empty())
    throw InputError(Code::Empty, InputName(job.head), "", "it has no morph targets with names",
                     "export the head with its shape keys, under their names");
  const std::string stem = std::filesystem::path(job.head).stem().string();
  const bool has_name = !IsStandardInput(job.head) && !stem.empty() && IsUtf8(stem);
  HeadMatch match = MatchHead(!job.name.empty() ? job.name : has_name ? stem : "head", names);
  return {std::move(match), names.size(), std::move(targets.notes)};
}

CharacterFromHead Run(const CharacterFromHeadJob& job) {
  RefuseOverwriting(job.output, job.head, "the head");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
  CharacterFromHead made = CharacterOfHead(job);
  WriteWhole(job.output, [&](std::ostream& out) { WriteCharacter(made.match.character, out); });
  return made;
}

void Run(const SaveCharacterJob& job) {
  RefuseOverwriting(job.output, job.character, "the character file");
  RequireUtf8(job.name, "name");
  CheckWritable(job.output);
  Character character = LoadCharacter(job.character);
  if (!job.name.empty()) character.name = job.name;
  WriteWhole(job.output, [&](std::ostream& out) { WriteCharacter(character, out); });
}

} // namespace mien
