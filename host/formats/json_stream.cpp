#include "host/formats/json_stream.h"

#include "host/base/parse_json.h"
#include "host/base/read_pages.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace mien {
namespace {

// Reads from a text, and shows how far the parser has come: it reads ahead of nothing.
class Cursor {
public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  /// Keeps `at` where the parser is.
  Cursor(const char* first, const char*& at) : here_(first), at_(&at) {}
  reference operator*() const { return *here_; }
  Cursor& operator++() {
    *at_ = ++here_;
    return *this;
  }
  bool operator==(const Cursor& other) const { return here_ == other.here_; }
  bool operator!=(const Cursor& other) const { return here_ != other.here_; }

private:
  const char* here_;
  const char** at_;
};

// The same for a text with bare NaN, as Python writes lost numbers: shows null in its place.
class NanCursor {
public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  NanCursor(std::string_view text, const char*& at) : rest_(text), at_(&at) { LookAtNan(); }
  reference operator*() const { return null_.empty() ? rest_.front() : null_.front(); }
  NanCursor& operator++() {
    if (!null_.empty()) {
      null_.remove_prefix(1);
      if (null_.empty()) GoOn(kNan.size());
      return *this;
    }
    const char c = rest_.front();
    in_string_ = in_string_ != (c == '"' && !is_escaped_);
    is_escaped_ = in_string_ && c == '\\' && !is_escaped_;
    GoOn(1);
    return *this;
  }
  bool operator==(const NanCursor& other) const { return rest_.data() == other.rest_.data(); }
  bool operator!=(const NanCursor& other) const { return !(*this == other); }

  static constexpr std::string_view kNan = "NaN";

private:
  void GoOn(std::size_t count) {
    rest_.remove_prefix(count);
    *at_ = rest_.data();
    LookAtNan();
  }
  void LookAtNan() {
    if (!in_string_ && rest_.starts_with(kNan)) null_ = "null";
  }

  std::string_view rest_;
  std::string_view null_; // the rest of what stands for the NaN that the text has here
  const char** at_;
  bool in_string_ = false, is_escaped_ = false;
};

// Looks through the text part by part, of which only one is in memory at a time.
bool HasNan(std::string_view text) {
  constexpr std::size_t kPart = std::size_t{1} << 22;
  for (std::size_t at = 0; at < text.size(); at += kPart) {
    if (text.substr(at, kPart + NanCursor::kNan.size() - 1).find(NanCursor::kNan) != std::string_view::npos)
      return true;
    if (text.size() > kPart) DropReadPages();
  }
  return false;
}

} // namespace

bool JsonEvents::parse_error(std::size_t /*at*/, const std::string& /*token*/,
                             const nlohmann::detail::exception& error) {
  constexpr int kBeyondDouble = 406;
  too_large_ = error.id == kBeyondDouble;
  return false;
}

JsonStream::JsonStream(std::string_view bytes) : bytes_(bytes), has_nan_(HasNan(bytes)), at_(bytes.data()) {}

std::size_t JsonStream::Line() const {
  return 1 + static_cast<std::size_t>(std::count(bytes_.data(), at_, '\n'));
}

// Parses up to the end of the JSON value at at_.
bool JsonStream::ParseDocument(JsonEvents& events) {
  const char* const end = bytes_.data() + bytes_.size();
  const auto parse = [&events](auto first, auto last) {
    return nlohmann::json::sax_parse(first, last, &events, nlohmann::json::input_format_t::json, false);
  };
  if (!has_nan_) return parse(Cursor(at_, at_), Cursor(end, at_));
  const std::string_view rest(at_, static_cast<std::size_t>(end - at_));
  return parse(NanCursor(rest, at_), NanCursor(rest.substr(rest.size()), at_));
}

void JsonStream::Parse(JsonEvents& events, const std::string& file, std::vector<Note>& notes,
                       const std::function<bool()>& has_results) {
  const char* const end = bytes_.data() + bytes_.size();
  at_ = bytes_.data();
  if (bytes_.starts_with("\xEF\xBB\xBF")) at_ += 3;
  const auto line = [this] { return std::to_string(Line()); };
  while (true) {
    while (at_ != end && (*at_ == ' ' || *at_ == '\t' || *at_ == '\r' || *at_ == '\n')) ++at_;
    if (at_ == end) return;
    events.StartDocument();
    if (ParseDocument(events)) continue;
    if (events.IsTooDeep())
      throw InputError(Code::Limit, file, line(),
                       fmt::format("objects and arrays are nested more than {} deep", kDeepestJson),
                       "write the file with fewer levels");
    if (events.IsTooLarge())
      throw InputError(Code::InvalidValue, file, line(), "a number is beyond what a double holds",
                       "write a smaller one");
    if (at_ != end || !has_results())
      throw InputError(Code::Syntax, file, line(), "this is not JSON from here on",
                       "look for a missing comma, quote or bracket just before");
    notes.push_back({Code::Truncated, "line " + line(), "the file ends inside a result, which is left out"});
    return;
  }
}

} // namespace mien
