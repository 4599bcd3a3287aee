#include "host/base/parse_json.h"

#include "host/base/text.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace mien {

namespace {

using Json = nlohmann::ordered_json;
using Member = Json::object_t::value_type;

// Takes the parser's events. The library's own builders search an object for each key that they add, and an
// array for each object that ends in it: quadratic in either.
class Builder final : public nlohmann::json_sax<Json> {
public:
  explicit Builder(const std::function<void(const std::string&)>& repeated) : repeated_(repeated) {}

  bool null() override { return Add(nullptr); }
  bool boolean(bool value) override { return Add(value); }
  bool number_integer(std::int64_t value) override { return Add(value); }
  bool number_unsigned(std::uint64_t value) override { return Add(value); }
  bool number_float(double value, const std::string& /*text*/) override { return Add(value); }
  bool string(std::string& value) override { return Add(std::move(value)); }
  bool binary(Json::binary_t& /*value*/) override { return false; } // JSON has none

  bool start_object(std::size_t /*size*/) override { return Open(Json::object()); }
  bool key(std::string& value) override {
    open_.back().key = std::move(value);
    return true;
  }
  bool end_object() override {
    RemoveRepeatedKeys();
    return Close();
  }
  bool start_array(std::size_t /*size*/) override { return Open(Json::array()); }
  bool end_array() override { return Close(); }

  bool parse_error(std::size_t position, const std::string& token,
                   const nlohmann::detail::exception& error) override {
    constexpr int kBeyondDouble = 406;
    if (error.id == kBeyondDouble)
      fault_ = {JsonFault::Kind::Number, position - token.size(), token};
    else
      fault_ = {JsonFault::Kind::Syntax, position > 0 ? position - 1 : 0, ""};
    return false;
  }

  Json& Root() { return root_; }
  const std::optional<JsonFault>& Fault() const { return fault_; }

private:
  // An object or array that the parser is in.
  struct Container {
    Json value;
    std::string key; // of the member that comes next
  };

  bool Open(Json empty) {
    if (open_.size() == kDeepestJson) return false;
    open_.push_back({std::move(empty), {}});
    return true;
  }

  bool Close() {
    Json value = std::move(open_.back().value);
    open_.pop_back();
    return Add(std::move(value));
  }

  bool Add(Json value) {
    if (open_.empty()) {
      root_ = std::move(value);
      return true;
    }
    auto& [in, key] = open_.back();
    if (in.is_array())
      in.get_ref<Json::array_t&>().push_back(std::move(value));
    else
      in.get_ref<Json::object_t&>().emplace_back(std::move(key), std::move(value));
    return true;
  }

  void RemoveRepeatedKeys() {
    auto& members = open_.back().value.get_ref<Json::object_t&>();
    by_key_.clear();
    for (const Member& member : members) by_key_.push_back(&member);
    std::sort(by_key_.begin(), by_key_.end(), [](const Member* a, const Member* b) {
      const int compared = a->first.compare(b->first);
      return compared != 0 ? compared < 0 : a < b;
    });
    const auto are_equal = [](const Member* a, const Member* b) { return a->first == b->first; };
    if (std::adjacent_find(by_key_.begin(), by_key_.end(), are_equal) == by_key_.end()) return;

    std::vector<bool> is_repeated(members.size());
    for (std::size_t i = 1; i < by_key_.size(); ++i)
      if (are_equal(by_key_[i - 1], by_key_[i]))
        is_repeated[static_cast<std::size_t>(by_key_[i] - members.data())] = true;
    Json::object_t kept;
    for (Member& member : members) {
      if (is_repeated[static_cast<std::size_t>(&member - members.data())])
        repeated_(Pointer() + (Json::json_pointer() / member.first).to_string());
      else
        kept.emplace_back(member.first, std::move(member.second));
    }
    members = std::move(kept);
  }

  // To the object that the parser is in.
  std::string Pointer() const {
    Json::json_pointer pointer;
    for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
      const auto& [value, key] = open_[i];
      if (value.is_array())
        pointer /= value.size();
      else
        pointer /= key;
    }
    return pointer.to_string();
  }

  const std::function<void(const std::string&)>& repeated_;
  std::vector<Container> open_;
  std::vector<const Member*> by_key_; // the members of the object that ends; kept for its memory
  Json root_;
  std::optional<JsonFault> fault_;
};

// The bracket that is nested too deep, in a text that has one.
std::size_t FindTooDeep(std::string_view text) {
  std::size_t depth = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') quoted = !quoted;
    if (quoted && c == '\\') ++i; // and what it escapes
    if (quoted) continue;
    if ((c == '{' || c == '[') && ++depth > kDeepestJson) return i;
    if (c == '}' || c == ']') --depth;
  }
  return text.size();
}

} // namespace

ParsedJson ParseJson(std::string_view text, const std::function<void(const std::string& pointer)>& repeated) {
  Builder builder(repeated);
  if (Json::sax_parse(text.begin(), text.end(), &builder)) return {std::move(builder.Root()), std::nullopt};
  return {nullptr, builder.Fault().value_or(JsonFault{JsonFault::Kind::Depth, FindTooDeep(text), ""})};
}

std::string ShownPointer(std::string_view pointer) {
  constexpr std::size_t kLongest = 300;
  std::string shown = Printable(pointer);
  if (shown.size() <= kLongest) return shown;
  const auto splits_character = [&](std::size_t at) {
    return (static_cast<unsigned char>(shown[at]) & 0xC0) == 0x80; // a later byte of UTF-8
  };
  std::size_t from = kLongest / 2, to = shown.size() - kLongest / 2;
  while (splits_character(from)) --from;
  while (to < shown.size() && splits_character(to)) ++to;
  return shown.replace(from, to - from, "...");
}

} // namespace mien
