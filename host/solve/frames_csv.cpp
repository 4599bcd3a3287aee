#include "host/solve/frames_csv.h"

#include "host/base/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

namespace mien {

namespace {

/// "jump:LeftEye.Close". Blanks separate flags, so those in markers' names become underscores.
std::string Flag(const QualityFlag& flag) {
  std::string text =
      fmt::format("{}:{}", ToText(flag.kind),
                  flag.weight.empty() ? fmt::format("{}", fmt::join(flag.markers, "/")) : flag.weight);
  for (char& c : text)
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') c = '_';
  return text;
}

/// The flags of one frame after the other.
class FlagsOfFrames {
public:
  explicit FlagsOfFrames(const QualityFlags& flags) : flags_(flags) {}

  /// Frames rise by 1.
  std::string Of(std::size_t frame) {
    std::erase_if(now_, [frame](const QualityFlag& flag) { return flag.last < frame; });
    for (; next_ < flags_.size() && flags_[next_].first <= frame; ++next_) now_.push_back(flags_[next_]);
    std::string text;
    for (const QualityFlag& flag : now_) text += (text.empty() ? "" : " ") + Flag(flag);
    return text;
  }

private:
  const QualityFlags& flags_; // by their first frame
  std::size_t next_ = 0;
  std::vector<QualityFlag> now_;
};

} // namespace

void WriteFramesCsv(const Take& take, const SolveReport& report, std::ostream& out) {
  FlagsOfFrames flags(report.quality.flags);
  out << "frame,time,timecode";
  for (const SolveReport::Part& part : report.parts) out << ",residual_mm." << part.name;
  out << ",filled_markers,resting,flags,head_known\n";
  fmt::memory_buffer row;
  for (std::size_t f = 0; f < report.per_frame.size(); ++f) {
    const SolveReport::FrameQuality& frame = report.per_frame[f];
    row.clear();
    const auto to = std::back_inserter(row);
    fmt::format_to(to, "{},{},{}", take.frames[f], take.times[f],
                   take.timecode ? take.timecode->At(take.times[f] - take.times[0]) : "");
    std::vector<std::string> resting;
    for (std::size_t p = 0; p < report.parts.size(); ++p) {
      if (std::isnan(frame.residual_mm[p])) {
        resting.push_back(report.parts[p].name);
        fmt::format_to(to, ",");
      } else {
        fmt::format_to(to, ",{}", frame.residual_mm[p]);
      }
    }
    fmt::format_to(to, ",{},{},{},{}\n", frame.filled_markers, fmt::join(resting, " "), CsvField(flags.Of(f)),
                   frame.head_known ? 1 : 0);
    out.write(row.data(), static_cast<std::streamsize>(row.size()));
  }
}

} // namespace mien
