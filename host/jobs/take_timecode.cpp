#include "host/jobs/take_timecode.h"

#include "host/jobs/output_place.h"

#include <fmt/format.h>

namespace mien {

Timecode RequireTimecode(const std::string& timecode, const FrameRate& rate) {
  const std::optional<Timecode> parsed = ParseTimecode(timecode, rate);
  if (parsed) return *parsed;
  throw UsageError(
      "timecode",
      fmt::format("\"{}\" is not a timecode; write HH:MM:SS:FF with FF below its rate, which is the "
                  "take's ({}) unless it follows: 10:02:59:29@30",
                  timecode, ToText(rate)));
}

} // namespace mien
