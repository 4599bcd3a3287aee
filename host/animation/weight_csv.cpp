#include "host/animation/weight_csv.h"

#include "host/base/text.h"

#include <string>

namespace mien {

WeightCsvWriter::WeightCsvWriter(const AnimationLayout& layout, WeightKind weights, std::ostream& out)
    : CsvAnimationWriter(out), weights_(weights), timecode_(layout.timecode),
      timecode_offset_s_(layout.timecode_offset_s) {
  Rows header;
  fmt::format_to(fmt::appender(header), "frame,time{}", timecode_ ? ",timecode" : "");
  for (const std::string& name : layout.WeightNames(weights))
    fmt::format_to(fmt::appender(header), ",{}", CsvField(name));
  WriteHeader(header);
}

void WeightCsvWriter::Begin(const AnimationFrame& first) { first_time_ = first.time; }

void WeightCsvWriter::AppendRow(Rows& rows, const AnimationFrame& frame) const {
  fmt::format_to(fmt::appender(rows), "{}", frame.number);
  AppendNumber(rows, frame.time);
  if (timecode_) {
    rows.push_back(',');
    timecode_->AppendTo(fmt::appender(rows), frame.time - first_time_ + timecode_offset_s_);
  }
  for (const double weight : frame.WeightsOf(weights_)) AppendNumber(rows, weight);
}

} // namespace mien
