#include "host/animation/weight_csv.h"

#include <string>
#include <string_view>

namespace mien {

namespace {

/// Quoted as in RFC 4180.
std::string Field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

} // namespace

WeightCsvWriter::WeightCsvWriter(const AnimationLayout& layout, WeightKind weights, std::ostream& out)
    : CsvAnimationWriter(out), weights_(weights), timecode_(layout.timecode),
      timecode_offset_s_(layout.timecode_offset_s) {
  fmt::format_to(Row(), "frame,time{}", timecode_ ? ",timecode" : "");
  for (const std::string& name : layout.WeightNames(weights)) fmt::format_to(Row(), ",{}", Field(name));
  EndRow();
}

void WeightCsvWriter::Frame(const AnimationFrame& frame) {
  if (!first_time_) first_time_ = frame.time;
  fmt::format_to(Row(), "{},{}", frame.number, frame.time);
  if (timecode_) {
    fmt::format_to(Row(), ",");
    timecode_->AppendTo(Row(), frame.time - *first_time_ + timecode_offset_s_);
  }
  for (const double weight : frame.WeightsOf(weights_)) fmt::format_to(Row(), ",{}", weight);
  EndRow();
}

} // namespace mien
