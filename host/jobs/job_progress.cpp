#include "host/jobs/job_progress.h"

#include <algorithm>
#include <cstdint>
#include <streambuf>
#include <string_view>

namespace mien {

namespace {

/// The commas and tabs of a text. Sums of one byte each fill a vector with as many as it has bytes.
std::size_t SeparatorsIn(std::string_view text) {
  constexpr std::size_t kMost = 255; // fit into a byte
  std::size_t count = 0;
  for (; !text.empty(); text.remove_prefix(std::min(kMost, text.size()))) {
    std::uint8_t part = 0;
    for (const char c : text.substr(0, kMost))
      part = static_cast<std::uint8_t>(part + ((c == ',') | (c == '\t')));
    count += part;
  }
  return count;
}

/// Passes on what is written to a stream and counts its values.
class ValueCounter : public std::streambuf {
public:
  ValueCounter(std::streambuf& to, std::size_t total, const JobProgress& progress)
      : to_(to), total_(total), progress_(progress) {}

protected:
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    const std::size_t values = SeparatorsIn({text, static_cast<std::size_t>(size)});
    values_ += values;
    const std::streamsize written = to_.sputn(text, size);
    if (values > 0) progress_(JobStage::Writing, values_, total_);
    return written;
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char one = traits_type::to_char_type(c);
    return xsputn(&one, 1) == 1 ? c : traits_type::eof();
  }
  int sync() override { return to_.pubsync(); }

private:
  std::streambuf& to_;
  std::size_t total_, values_ = 0;
  const JobProgress& progress_;
};

} // namespace

ReadProgress ReadingProgress(const JobProgress& progress) {
  if (!progress) return nullptr;
  return [&progress](std::size_t done, std::size_t total) {
    const bool fetched = done == total;
    progress(JobStage::Reading, fetched ? 0 : done, fetched ? 0 : total);
  };
}

void WriteWithProgress(std::ostream& out, std::size_t total, const JobProgress& progress,
                       const std::function<void(std::ostream&)>& write) {
  if (!progress) return write(out);
  ValueCounter counter(*out.rdbuf(), total, progress);
  std::ostream counted(&counter);
  counted.exceptions(std::ios::badbit); // otherwise it would swallow what `progress` throws
  try {
    write(counted);
  } catch (const std::ios::failure&) { out.setstate(std::ios::badbit); } // the disk may be full
}

} // namespace mien
