#include "host/cli/take_options.h"

#include <fmt/format.h>

#include <charconv>

namespace mien {

void AddTakeOptions(CLI::App& command, ReadOptions& options) {
  command.add_flag("--strict", options.strict, "Turn what the reader would forgive into an error");
  command
      .add_option("--face", options.face,
                  "The face to read, of a landmark CSV with several: its face_id. Default: the first")
      ->type_name("ID");
}

std::optional<FrameRange> ParseFrameRange(std::string_view text) {
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

void SetTimecode(Take& take, const std::string& text) {
  take.timecode = ParseTimecode(text, take.rate);
  if (!take.timecode)
    throw CLI::ValidationError(
        "--timecode",
        fmt::format("\"{}\" is no timecode; write HH:MM:SS:FF with FF below its rate, which is the take's "
                    "({}) unless it follows: 10:02:59:29@30",
                    text, ToText(take.rate)));
}

} // namespace mien
