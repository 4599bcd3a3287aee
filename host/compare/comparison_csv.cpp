#include "host/compare/comparison_csv.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <optional>
#include <string>

namespace mien {

void WriteComparisonCsv(const Comparison& comparison, std::ostream& out) {
  const auto text = [](const std::optional<double>& value) { return value ? fmt::format("{}", *value) : ""; };
  out << "group,curve,unit,frames,only_a,only_b,largest,frame,time,timecode,rms,correlation,lag_frames\n";
  for (const Comparison::Pair& pair : comparison.pairs) {
    const Curve& curve = comparison.a.curves[pair.a];
    const CurveDifference& d = pair.difference;
    out << fmt::format("{},{},{},{},{},{}", curve.group, CsvField(curve.name), curve.unit, d.compared,
                       d.only_a, d.only_b);
    if (d.compared == 0)
      out << ",,,,,,,\n";
    else
      out << fmt::format(",{},{},{},{},{},{},{}\n", d.largest, comparison.a.frames[d.largest_frame],
                         comparison.a.times[d.largest_frame], comparison.a.TimecodeAt(d.largest_frame), d.rms,
                         text(d.correlation), text(d.lag_frames));
  }
}

} // namespace mien
