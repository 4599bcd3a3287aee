#include "host/base/error.h"
#include "host/base/number_text.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/trc.h"
#include "host/formats/trc_header.h"

#include <fmt/format.h>

#include <iterator>
#include <unordered_set>

namespace mien {

namespace {

// With as many decimals as it takes to read the same fraction.
std::string DataRate(const FrameRate& rate) {
  constexpr int kMostDecimals = 17;
  for (int decimals = 2; decimals <= kMostDecimals; ++decimals) {
    std::string text = fmt::format("{:.{}f}", rate.Hz(), decimals);
    if (ParseFrameRate(text) == rate) return text;
  }
  return fmt::format("{}", rate.Hz());
}

void CheckWritable(const Take& take) {
  if (take.FrameCount() == 0 || take.MarkerCount() == 0)
    throw InputError(Code::Empty, take.name, "", "the take has no frames or no markers",
                     "write one that has both");
  std::unordered_set<std::string_view> known;
  for (const std::string& name : take.markers) {
    if (name.empty() || name.find_first_of("\t\r\n") != std::string::npos || name.front() == ' ' ||
        name.back() == ' ' || !IsUtf8(name))
      throw InputError(Code::InvalidValue, take.name, "",
                       fmt::format("a TRC header cannot hold the marker name {}", Quoted(name)),
                       "rename it: UTF-8, without tabs, line ends and blanks around it");
    if (!known.insert(name).second)
      throw InputError(Code::Duplicate, take.name, "",
                       fmt::format("two markers have the name {}", Quoted(name)),
                       "give each marker its own name");
  }
}

} // namespace

void WriteTrc(const Take& take, std::ostream& out) {
  CheckWritable(take);
  fmt::memory_buffer text;
  const auto to = std::back_inserter(text);
  fmt::format_to(to, "PathFileType\t4\t(X/Y/Z)\t{}.trc\n{}\n", Printable(take.name),
                 fmt::join(trc::kKeys, "\t"));
  const std::string rate = DataRate(take.rate);
  fmt::format_to(to, "{0}\t{0}\t{1}\t{2}\tmm\t{0}\t{3}\t{1}\nFrame#\tTime", rate, take.FrameCount(),
                 take.MarkerCount(), take.frames.front());
  // A name stands above the first of its three columns.
  for (const std::string& name : take.markers) fmt::format_to(to, "\t{}\t\t", name);
  fmt::format_to(to, "\n\t");
  for (std::size_t m = 1; m <= take.MarkerCount(); ++m) fmt::format_to(to, "\tX{0}\tY{0}\tZ{0}", m);
  fmt::format_to(to, "\n\n");
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    fmt::format_to(to, "{}\t", take.frames[frame]);
    AppendNumber(text, take.times[frame]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point* const p = take.At(frame, m);
      for (double Point::*const axis : {&Point::x, &Point::y, &Point::z}) {
        text.push_back('\t');
        if (p) AppendNumber(text, p->*axis);
      }
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
