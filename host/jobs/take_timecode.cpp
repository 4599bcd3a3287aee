#include "host/jobs/take_timecode.h"

#include "host/jobs/output_place.h"

#include <fmt/format.h>

namespace mien {

void SetTimecode(Take& take, const std::optional<std::string>& timecode) {
  if (!timecode) return;
  take.timecode = ParseTimecode(*timecode, take.rate);
  if (!take.timecode)
    throw UsageError(
        "timecode",
        fmt::format("\"{}\" is no timecode; write HH:MM:SS:FF with FF below its rate, which is the "
                    "take's ({}) unless it follows: 10:02:59:29@30",
                    *timecode, ToText(take.rate)));
}

} // namespace mien
