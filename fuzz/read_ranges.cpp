// Any bytes are either ranges that keep a range's promises and read back as they were written, or an InputError.

#include "host/base/error.h"
#include "host/performer/ranges_file.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const mien::WeightRanges ranges =
        mien::ReadRanges(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    for (const mien::Range& range : ranges.ranges)
      if (!(range.high - range.low >= mien::Range::kLeastWidth) ||
          std::fabs(range.high) > mien::Range::kLargest)
        std::abort();
    std::ostringstream out;
    WriteRanges(ranges, out);
    if (mien::ReadRanges(out.str(), "again").ranges != ranges.ranges) std::abort();
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  return 0;
}
