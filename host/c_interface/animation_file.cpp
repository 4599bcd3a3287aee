#include "host/c_interface/animation.h"
#include "host/c_interface/call.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/text.h"
#include "host/character/character_file.h"
#include "host/cli/animation_options.h"
#include "host/files/whole_file.h"
#include "host/jobs/animation_choice.h"
#include "host/jobs/write_animation.h"

#include <optional>
#include <sstream>

using namespace mien;

namespace {

/// What is written of an animation, and onto which head.
struct Writing {
  AnimationOutput output;
  std::optional<Character> simple_head; ///< that it has the shapes of, where the animation has no character
};

Writing WritingOf(const mien_animation& own, const std::string& path, const mien_settings* settings) {
  AnimationChoice choice = SettingsOf(settings, MIEN_STEP_WRITE).write;
  choice.output = path;
  choice.has_shapes = !own.animation.layout.shapes.empty();
  const AnimationFormat format = FormatOf(choice);
  if (!choice.has_shapes && (format == AnimationFormat::LiveLinkCsv || format == AnimationFormat::Vrma))
    throw UsageError(format == AnimationFormat::Vrma ? "path" : "csv-style",
                     "this is for an animation with shapes; solve with a character");
  if (own.animation.layout.templates.empty() && format == AnimationFormat::TemplateCsv)
    throw UsageError("templates", "the animation has no weights of templates");
  if (own.character) CheckColumns(*own.character, format);
  Writing writing = {.output = OutputOf(choice), .simple_head = std::nullopt};
  if (!own.character && choice.has_shapes && format == AnimationFormat::Glb && !writing.output.onto)
    writing.simple_head = LoadCharacter("arkit52");
  return writing;
}

const Character* CharacterOf(const mien_animation& own, const Writing& writing) {
  return own.character ? &*own.character : writing.simple_head ? &*writing.simple_head : nullptr;
}

void GiveNotes(const WrittenAnimation& written, const std::string& path, mien_messages** notes) {
  if (!notes) return;
  if (const std::vector<Note> found = NotesOn(written); !found.empty())
    *notes = std::make_unique<mien_messages>(found, path).release();
}

} // namespace

mien_status mien_animation_write(const mien_animation* animation, const char* path,
                                 const mien_settings* settings, const mien_progress* progress,
                                 mien_messages** notes, mien_messages** errors) {
  if (notes) *notes = nullptr;
  return CallStatus(errors, [&] {
    const mien_animation& own = Require(animation, "animation");
    const std::string output = RequirePath(path, "path");
    Writing writing = WritingOf(own, output, settings);
    CheckWritable(output);
    const Character* const character = CharacterOf(own, writing);
    GiveNotes(WriteAnimation(own.animation, character, std::move(writing.output), ProgressOf(progress)),
              output, notes);
  });
}

mien_text* mien_animation_write_memory(const mien_animation* animation, const char* ending,
                                       const mien_settings* settings, mien_messages** notes,
                                       mien_messages** errors) {
  if (notes) *notes = nullptr;
  return CallNew(errors, [&] {
    const mien_animation& own = Require(animation, "animation");
    const std::string output = "animation" + RequireText(ending, "ending");
    Writing writing = WritingOf(own, output, settings);
    const Character* const character = CharacterOf(own, writing);
    std::ostringstream bytes;
    const WrittenAnimation written =
        WriteAnimation(own.animation, character, std::move(writing.output), bytes);
    auto text = std::make_unique<mien_text>(std::move(bytes).str());
    GiveNotes(written, output, notes);
    return text;
  });
}
