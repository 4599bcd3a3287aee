#include "host/formats/c3d_timing.h"

#include "host/base/text.h"
#include "host/formats/input_rate.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace mien::c3d {
namespace {

// Nothing where the file gives none.
std::optional<FrameRate> ReadRate(const Header& header, const Parameters& parameters,
                                  std::vector<Note>& notes) {
  const std::optional<double> declared = parameters.Number("POINT", "RATE");
  const double of_header = header.Real(11);
  constexpr double kSinglePrecision = 1e-6; // of a number, with room
  if (const std::string text = parameters.Text("MIEN", "RATE"); !text.empty()) {
    const std::optional<FrameRate> exact = ParseFrameRate(text);
    if (exact && declared && std::abs(exact->Hz() - *declared) <= kSinglePrecision * exact->Hz())
      return *exact;
    notes.push_back({Code::Contradiction, "",
                     fmt::format("MIEN:RATE is {}, which POINT:RATE contradicts; ignored", Quoted(text))});
  }
  const std::optional<FrameRate> rate = FrameRateOf(declared.value_or(0)),
                                 header_rate = FrameRateOf(of_header);
  if (rate) {
    if (header_rate && std::abs(of_header - *declared) > 1e-3 * *declared)
      notes.push_back(
          {Code::Contradiction, "",
           fmt::format("POINT:RATE is {} Hz, the header's {} Hz; the first is taken", *declared, of_header)});
    return *rate;
  }
  if (header_rate) {
    if (!parameters.Empty())
      notes.push_back({Code::Missing, "",
                       fmt::format("POINT:RATE is missing or not a rate; taken as the header's {} Hz",
                                   ToText(*header_rate))});
    return *header_rate;
  }
  return std::nullopt;
}

FrameRate RateWithout(const std::optional<FrameRate>& input_rate, std::vector<Note>& notes) {
  if (input_rate) return *input_rate;
  constexpr FrameRate kUsual = {100, 1}; // of optical capture
  notes.push_back(
      {Code::Assumed, "",
       fmt::format("the file gives no frame rate; taken as {} Hz (--input-rate)", ToText(kUsual))});
  return kUsual;
}

std::optional<Timecode> ReadTimecode(const Parameters& parameters, const FrameRate& rate,
                                     std::vector<Note>& notes) {
  const std::string text = parameters.Text("MIEN", "TIMECODE");
  if (text.empty()) return std::nullopt;
  const std::optional<Timecode> timecode = ParseTimecode(text, rate);
  if (!timecode)
    notes.push_back({Code::InvalidValue, "",
                     fmt::format("MIEN:TIMECODE is {}, which is not a timecode; ignored", Quoted(text))});
  return timecode;
}

std::int64_t ReadFirstFrame(const Header& header, const Parameters& parameters, std::vector<Note>& notes) {
  if (const std::string text = parameters.Text("MIEN", "FIRST_FRAME"); !text.empty()) {
    std::int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && parsed == end && number >= -kMostFrameNumber && number <= kMostFrameNumber)
      return number;
    notes.push_back(
        {Code::InvalidValue, "",
         fmt::format("MIEN:FIRST_FRAME is {}, which is not a frame number; ignored", Quoted(text))});
  }
  const std::uint32_t first = header.Word(4);
  const std::uint32_t of_trial = parameters.CountOfTwoWords("TRIAL", "ACTUAL_START_FIELD").value_or(0);
  if (of_trial > kMostInWord || first == 0) return std::max(of_trial, 1u);
  return first;
}

} // namespace

Timing ReadTiming(const Header& header, const Parameters& parameters,
                  const std::optional<FrameRate>& input_rate, std::vector<Note>& notes) {
  Timing timing;
  const std::optional<FrameRate> rate = ReadRate(header, parameters, notes);
  if (rate) RefuseInputRate(input_rate, header.file);
  timing.rate = rate ? *rate : RateWithout(input_rate, notes);
  timing.timecode = ReadTimecode(parameters, timing.rate, notes);
  timing.first_frame = ReadFirstFrame(header, parameters, notes);
  return timing;
}

} // namespace mien::c3d
