#include "host/cli/take_options.h"

#include <fmt/format.h>

namespace mien {

void AddTakeOptions(Command& command, ReadOptions& options) {
  command.AddFlag({.names = "--strict", .type = "", .help = "Turn every note of the reader into an error"},
                  options.strict);
  command.Add({.names = "--face",
               .type = "ID",
               .help = "The face_id to read of a landmark CSV with several faces. Default: the first"},
              options.face);
  command.AddParsed({.names = "--input-rate",
                     .type = "HZ",
                     .help =
                         "The rate of a take whose file has neither times nor a rate, such as 25 or 29.97. "
                         "Default: 30; C3D: 100"},
                    [&options](const std::string& text) -> Command::Fault {
                      options.input_rate = ParseFrameRate(text);
                      if (options.input_rate) return std::nullopt;
                      return fmt::format("\"{}\" is not a rate, such as 25, 29.97 or 30000/1001", text);
                    });
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
