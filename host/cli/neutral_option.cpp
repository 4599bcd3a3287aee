#include "host/cli/neutral_option.h"

#include "host/cli/take_options.h"

#include <string>

namespace mien {

void AddNeutralOption(CLI::App& command, std::optional<FrameRange>& range) {
  command
      .add_option_function<std::string>(
          "--neutral",
          [&range](const std::string& text) {
            range = ParseFrameRange(text);
            if (!range)
              throw CLI::ValidationError("--neutral",
                                         "\"" + text + "\" is not FRAME or FROM-TO, such as 12-40");
          },
          "The frames of the neutral face, by number; averaged if several. Default: the performer file's, or "
          "found in the take")
      ->type_name("FRAME|FROM-TO");
}

} // namespace mien
