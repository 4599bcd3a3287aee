#include "host/cli/take_options.h"

#include "host/base/text.h"
#include "host/formats/mesh_space.h"

#include <fmt/format.h>

namespace mien {

void AddMeshOptions(Command& command, MeshOptions& options) {
  constexpr char kGroup[] = "478 landmarks";
  command.AddParsed({.names = "--image",
                     .type = "WIDTHxHEIGHT",
                     .help = "The size of the video, such as 1280x720. Default: 16:9",
                     .group = kGroup},
                    [&options](const std::string& text) -> Command::Fault {
                      options.image = ParseImageSize(text);
                      if (options.image) return std::nullopt;
                      return fmt::format("{} is not a size in pixels, such as 1280x720", Quoted(text));
                    });
  command.AddParsed(
      {.names = "--face-width",
       .type = "MM",
       .help = "The width of the face in front of the ears (points 234 and 454), which gives the scale. "
               "Default: from the distance of an average face's eyes",
       .group = kGroup},
      [&options](const std::string& text) -> Command::Fault {
        options.face_width_mm = ParseFaceWidth(text);
        if (options.face_width_mm) return std::nullopt;
        return fmt::format("{} is not a width from 50 to 400 millimetres, such as 145", Quoted(text));
      });
  command.AddFlag({.names = "--mirrored",
                   .type = "",
                   .help = "The video was mirrored, as selfie cameras show it: left and right change places",
                   .group = kGroup},
                  options.mirrored);
}

void AddReadingOptions(Command& command, bool& strict, std::optional<std::int64_t>& face,
                       std::optional<FrameRate>& input_rate) {
  command.AddFlag({.names = "--strict", .type = "", .help = "Turn every note of the reader into an error"},
                  strict);
  command.Add({.names = "--face",
               .type = "ID",
               .help =
                   "The face to read of landmarks with several faces: its face_id, or its place in a result "
                   "from 0. Default: the first"},
              face);
  AddRate(command,
          {.names = "--input-rate",
           .type = "HZ",
           .help = "The rate of a take whose file has neither times nor a rate, such as 25 or 29.97. "
                   "Default: 30; C3D: 100"},
          input_rate);
}

void AddRate(Command& command, const Command::Option& option, std::optional<FrameRate>& rate) {
  command.AddParsed(option, [&rate](const std::string& text) -> Command::Fault {
    rate = ParseFrameRate(text);
    if (rate) return std::nullopt;
    return fmt::format("{} is not a rate, such as 25, 29.97 or 30000/1001", Quoted(text));
  });
}

void AddTakeOptions(Command& command, ReadOptions& options) {
  AddReadingOptions(command, options.strict, options.face, options.input_rate);
  AddMeshOptions(command, options.mesh);
}

void AddNeutralOption(Command& command, std::optional<FrameRange>& range) {
  AddFrameRange(command,
                {.names = "--neutral",
                 .type = "FRAME|FROM-TO",
                 .help =
                     "The frames of the neutral face, by number; averaged if several. Default: the performer "
                     "file's, or found in the take"},
                range);
}

void AddFrameRange(Command& command, const Command::Option& option, std::optional<FrameRange>& range) {
  command.AddParsed(option, [&range](const std::string& text) -> Command::Fault {
    range = ParseFrameRange(text);
    if (range) return std::nullopt;
    return fmt::format("\"{}\" is not FRAME or FROM-TO, such as 12-40", text);
  });
}

} // namespace mien
