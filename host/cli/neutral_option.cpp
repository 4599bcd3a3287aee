#include "host/cli/neutral_option.h"

#include <charconv>
#include <string>
#include <string_view>

namespace mien {

namespace {

std::optional<FrameRange> ParseRange(std::string_view text) {
  const char* const end = text.data() + text.size();
  FrameRange range{};
  const auto first = std::from_chars(text.data(), end, range.first);
  if (first.ec != std::errc()) return std::nullopt;
  range.last = range.first;
  if (first.ptr == end) return range;
  if (*first.ptr != '-') return std::nullopt;
  const auto last = std::from_chars(first.ptr + 1, end, range.last);
  if (last.ec != std::errc() || last.ptr != end || range.last < range.first) return std::nullopt;
  return range;
}

} // namespace

void AddNeutralOption(CLI::App& command, std::optional<FrameRange>& range) {
  command
      .add_option_function<std::string>(
          "--neutral",
          [&range](const std::string& text) {
            range = ParseRange(text);
            if (!range)
              throw CLI::ValidationError("--neutral",
                                         "\"" + text + "\" is not FRAME or FROM-TO, such as 12-40");
          },
          "The frames of the neutral face, by number; averaged if several. Default: the performer file's, or "
          "found in the take")
      ->type_name("FRAME|FROM-TO");
}

} // namespace mien
