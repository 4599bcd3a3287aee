#pragma once

// How the reader of TRC splits a text.

#include "host/base/error.h"
#include "host/formats/text_number.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien::trc {

inline constexpr std::string_view kBlanks = " \r";
inline constexpr std::string_view kBlanksAndTabs = " \r\t";
inline constexpr std::string_view kExportAgain = "export the take again";
inline constexpr std::size_t kFirstMarkerColumn = 2; // after Frame# and Time

inline std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

inline bool IsBlank(std::string_view text) {
  return text.find_first_not_of(kBlanksAndTabs) == std::string_view::npos;
}

// Walks a text line by line. A text without any LF has its lines ended by CR.
class Lines {
public:
  explicit Lines(std::string_view text) : rest_(text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
    if (rest_.find('\n') == std::string_view::npos) end_ = '\r';
  }

  bool Next() {
    if (rest_.empty()) return false;
    const void* const end = std::memchr(rest_.data(), end_, rest_.size());
    ended_ = end != nullptr;
    const std::size_t length =
        ended_ ? static_cast<std::size_t>(static_cast<const char*>(end) - rest_.data()) : rest_.size();
    text_ = rest_.substr(0, length);
    rest_.remove_prefix(std::min(length + 1, rest_.size()));
    for (returns_ = 0; text_.ends_with('\r'); ++returns_) text_.remove_suffix(1);
    ++number_;
    return true;
  }

  bool NextFilled() {
    while (Next())
      if (!IsBlank(text_)) return true;
    return false;
  }

  std::string_view Text() const { return text_; }  // without its line end
  std::size_t Number() const { return number_; }   // from 1
  bool Ended() const { return ended_; }            // false if the file ends before the line does
  std::size_t Returns() const { return returns_; } // CR before the line's LF
  std::string_view Rest() const { return rest_; }

private:
  std::string_view rest_;
  char end_ = '\n';
  std::string_view text_;
  std::size_t number_ = 0;
  bool ended_ = true;
  std::size_t returns_ = 0;
};

// The cells of a line without the blanks around them: what tabs separate, or without a tab, runs of blanks.
class Cells {
public:
  explicit Cells(std::string_view line)
      : rest_(line), more_(!IsBlank(line)), tabs_(line.find('\t') != std::string_view::npos) {
    if (!tabs_) rest_ = Trim(rest_);
  }

  bool SeparatedByTabs() const { return tabs_; }

  std::optional<std::string_view> Next() {
    if (!more_) return std::nullopt;
    const std::size_t end = tabs_ ? rest_.find('\t') : rest_.find_first_of(kBlanks);
    const std::string_view cell = Trim(rest_.substr(0, end));
    more_ = end != std::string_view::npos;
    if (more_) rest_.remove_prefix(end + 1);
    if (!tabs_) rest_ = Trim(rest_);
    return cell;
  }

private:
  std::string_view rest_;
  bool more_;
  bool tabs_;
};

// One note for what happens at many places: that of the first, with the number of the others.
class Repeated {
public:
  template <typename MakeNote>
  void Add(const MakeNote& make_note) {
    if (count_++ == 0) first_ = make_note();
  }
  void AppendTo(std::vector<Note>& notes, std::string_view places = "lines") const {
    if (count_ == 0) return;
    notes.push_back(first_);
    if (count_ > 1)
      notes.back().what += fmt::format("; likewise {} more {}", count_ - 1,
                                       count_ == 2 ? places.substr(0, places.size() - 1) : places);
  }

private:
  std::size_t count_ = 0;
  Note first_;
};

// The place of a note.
inline std::string Line(std::size_t number) { return fmt::format("line {}", number); }

using Value = TextNumber;
using Kind = TextNumber::Kind;

// Nothing for other numbers, for one with a comma, and beyond 1e12: far more frames than any camera has
// counted, and few enough for the times of neighbours to differ.
std::optional<std::int64_t> WholeNumber(const Value& value);

} // namespace mien::trc
