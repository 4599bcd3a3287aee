#include "host/files/spooled_text.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace mien {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 17;
constexpr std::size_t kMostOnHeap = std::size_t{1} << 20;

} // namespace

SpooledText::SpooledText() = default;

std::string_view SpooledText::Text() {
  if (!spooled_) return heap_;
  if (!pages_) pages_.emplace(spooled_->Data(), size_);
  return {static_cast<const char*>(spooled_->Data()), size_};
}

void SpooledText::EachPart(const std::function<void(std::string_view part)>& use) {
  constexpr std::size_t kPart = std::size_t{1} << 22;
  const std::string_view text = Text();
  for (std::size_t done = 0; done < text.size(); done += kPart) {
    use(text.substr(done, kPart));
    if (pages_) pages_->Drop();
  }
}

SpooledText::int_type SpooledText::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  const char byte = traits_type::to_char_type(character);
  Append({&byte, 1});
  return character;
}

std::streamsize SpooledText::xsputn(const char* bytes, std::streamsize count) {
  Append({bytes, static_cast<std::size_t>(count)});
  return count;
}

/// Whether there is so much spooled memory.
bool SpooledText::GrowTo(std::size_t size) {
  constexpr std::size_t kStep = std::size_t{1} << 22;
  if (!spooled_) spooled_.emplace(kPiece);
  return size <= spooled_->Size() || spooled_->Grow((size + kStep - 1) / kStep * kStep);
}

void SpooledText::Append(std::string_view bytes) {
  const bool is_short = !spooled_ && heap_.size() + bytes.size() <= kMostOnHeap;
  if (no_room_ || is_short) {
    heap_ += bytes;
    return;
  }
  if (!GrowTo((spooled_ ? size_ : heap_.size()) + bytes.size())) {
    heap_.append(static_cast<const char*>(spooled_->Data()), size_); // nothing, or all of it
    spooled_.reset();
    size_ = 0;
    no_room_ = true;
    heap_ += bytes;
    return;
  }
  char* const data = static_cast<char*>(spooled_->Data());
  const std::string moved = std::exchange(heap_, {});
  for (std::string_view rest : {std::string_view(moved), bytes})
    while (!rest.empty()) {
      spooled_->Touch(size_ / kPiece);
      const std::size_t count = std::min(rest.size(), kPiece - size_ % kPiece);
      std::memcpy(data + size_, rest.data(), count);
      rest.remove_prefix(count);
      size_ += count;
    }
}

} // namespace mien
