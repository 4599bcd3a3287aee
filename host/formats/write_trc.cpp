#include "host/base/error.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/trc.h"
#include "host/formats/trc_header.h"

#include <fmt/format.h>

#include <iterator>
#include <unordered_set>

namespace mien {

namespace {

// A fraction is written with as many decimals as give it back.
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
                     "there is nothing to write");
  std::unordered_set<std::string_view> known;
  for (const std::string& name : take.markers) {
    if (name.empty() || name.find_first_of("\t\r\n") != std::string::npos || name.front() == ' ' ||
        name.back() == ' ' || !IsUtf8(name))
      throw InputError(Code::InvalidValue, take.name, "",
                       fmt::format("the marker name {} cannot stand in a header", Quoted(name)),
                       "rename it, in UTF-8, without tab, line end or outer blank");
    if (!known.insert(name).second)
      throw InputError(Code::Duplicate, take.name, "",
                       fmt::format("the marker {} is there twice", Quoted(name)),
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
  // Two tabs after a name, and one before the next: each stands above the first of three columns.
  for (const std::string& name : take.markers) fmt::format_to(to, "\t{}\t\t", name);
  fmt::format_to(to, "\n\t");
  for (std::size_t m = 1; m <= take.MarkerCount(); ++m) fmt::format_to(to, "\tX{0}\tY{0}\tZ{0}", m);
  fmt::format_to(to, "\n\n");
  for (std::size_t frame = 0; frame < take.FrameCount(); ++frame) {
    fmt::format_to(to, "{}\t{}", take.frames[frame], take.times[frame]);
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      if (const Point* p = take.At(frame, m))
        fmt::format_to(to, "\t{}\t{}\t{}", p->x, p->y, p->z);
      else
        fmt::format_to(to, "\t\t\t");
    }
    text.push_back('\n');
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
  }
}

} // namespace mien
