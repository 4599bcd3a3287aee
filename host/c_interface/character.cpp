#include "host/c_interface/character.h"

#include "host/base/text.h"
#include "host/c_interface/array_clock.h"
#include "host/c_interface/call.h"
#include "host/c_interface/text.h"
#include "host/character/character_file.h"
#include "host/character/character_from_head.h"
#include "host/jobs/character_job.h"

#include <sstream>
#include <string_view>

using namespace mien;

namespace {

std::unique_ptr<mien_character> FromMatch(HeadMatch match, const std::vector<Note>& notes,
                                          const std::string& file) {
  auto character = std::make_unique<mien_character>(std::move(match.character));
  character->notes.Add(notes, file);
  character->notes.Add(match.notes, file);
  std::vector<Note> unmatched;
  if (!match.unmatched.empty())
    unmatched.push_back({Code::Unmatched, "", "none of the 52 has the meaning of " + Some(match.unmatched)});
  if (!match.undriven.empty())
    unmatched.push_back({Code::Unmatched, "", "no template drives " + Some(match.undriven)});
  if (!match.missing.empty())
    unmatched.push_back({Code::Unmatched, "", "the head has no shape for " + Some(match.missing)});
  character->notes.Add(unmatched, file);
  return character;
}

} // namespace

mien_character* mien_character_load(const char* name_or_path, mien_messages** errors) {
  return CallNew(errors, [&] {
    return std::make_unique<mien_character>(LoadCharacter(RequirePath(name_or_path, "name_or_path")));
  });
}

mien_character* mien_character_from_json(const char* json, size_t size, const char* name,
                                         mien_messages** errors) {
  return CallNew(errors, [&] {
    if (!json) throw UsageError("json", "this is NULL");
    return std::make_unique<mien_character>(
        ReadCharacter(std::string_view(json, size), RequireText(name, "name")));
  });
}

mien_character* mien_character_from_head(const char* path, const char* name, mien_messages** errors) {
  return CallNew(errors, [&] {
    CharacterFromHeadJob job;
    job.head = RequirePath(path, "path");
    if (name) job.name = RequireText(name, "name");
    CharacterFromHead made = CharacterOfHead(job);
    return FromMatch(std::move(made.match), made.notes, job.head);
  });
}

mien_character* mien_character_from_shapes(const char* const* shapes, size_t shape_count, const char* name,
                                           mien_messages** errors) {
  return CallNew(errors, [&] {
    const std::string own = RequireText(name, "name");
    return FromMatch(MatchHead(own, NamesOf(shapes, shape_count, "shapes")), {}, own);
  });
}

const char* mien_character_name(const mien_character* character) {
  return Known(character) ? character->character.name.c_str() : nullptr;
}

size_t mien_character_shape_count(const mien_character* character) {
  return Known(character) ? character->shapes.size() : 0;
}

const char* mien_character_shape(const mien_character* character, size_t index) {
  return Known(character) && index < character->shapes.size() ? character->shapes[index].c_str() : nullptr;
}

mien_text* mien_character_to_json(const mien_character* character, mien_messages** errors) {
  return CallNew(errors, [&] {
    std::ostringstream json;
    WriteCharacter(Require(character, "character").character, json);
    return std::make_unique<mien_text>(std::move(json).str());
  });
}

const mien_messages* mien_character_notes(const mien_character* character) {
  return Known(character) ? &character->notes : nullptr;
}

mien_status mien_character_free(mien_character* character) { return Free(character); }
