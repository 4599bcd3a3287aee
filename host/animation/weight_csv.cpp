#include "host/animation/weight_csv.h"

#include "host/base/text.h"

#include <string>

namespace mien {

WeightCsvWriter::WeightCsvWriter(const AnimationLayout& layout, WeightKind weights, std::ostream& out)
    : CsvAnimationWriter(out), weights_(weights), timecode_(layout.timecode),
      timecode_offset_s_(layout.timecode_offset_s) {
  fmt::format_to(Row(), "frame,time{}", timecode_ ? ",timecode" : "");
  for (const std::string& name : layout.WeightNames(weights)) fmt::format_to(Row(), ",{}", CsvField(name));
  EndRow();
}

void WeightCsvWriter::Frame(const AnimationFrame& frame) {
  if (!first_time_) first_time_ = frame.time;
  fmt::format_to(Row(), "{}", frame.number);
  AppendNumber(frame.time);
  if (timecode_) {
    fmt::format_to(Row(), ",");
    timecode_->AppendTo(Row(), frame.time - *first_time_ + timecode_offset_s_);
  }
  for (const double weight : frame.WeightsOf(weights_)) AppendNumber(weight);
  EndRow();
}

} // namespace mien
