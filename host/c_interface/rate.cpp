#include "host/base/text.h"
#include "host/c_interface/call.h"
#include "host/takes/frame_rate.h"

#include <fmt/format.h>

using namespace mien;

mien_status mien_rate_from_text(const char* text, int64_t* numerator, int64_t* denominator,
                                mien_messages** errors) {
  return CallStatus(errors, [&] {
    const std::string given = RequireText(text, "text");
    if (!numerator || !denominator) throw UsageError(numerator ? "denominator" : "numerator", "this is NULL");
    const std::optional<FrameRate> rate = ParseFrameRate(given);
    if (!rate || rate->numerator <= 0)
      throw UsageError("text",
                       fmt::format("{} is not a rate, such as 25, 29.97 or 30000/1001", Quoted(given)));
    *numerator = rate->numerator;
    *denominator = rate->denominator;
  });
}
