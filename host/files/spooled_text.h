#pragma once

#include "host/base/spooled_memory.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <streambuf>
#include <string>
#include <string_view>

namespace mien {

/// What a stream writes, kept to be read again: beyond a megabyte in SpooledMemory, where it does not count
/// towards the memory of the process; on the heap where that has no room.
class SpooledText : public std::streambuf {
public:
  SpooledText();

  /// All that was written; nothing may be written afterwards.
  std::string_view Text();

  /// Calls `use` with one part of the text after the other. Only about a part of it is in memory at a time.
  void EachPart(const std::function<void(std::string_view part)>& use);

protected:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* bytes, std::streamsize count) override;

private:
  bool GrowTo(std::size_t size);
  void Append(std::string_view bytes);

  std::string heap_;
  std::optional<SpooledMemory> spooled_; // then heap_ is empty
  bool no_room_ = false;                 // for that
  std::size_t size_ = 0;                 // of what is spooled
  std::optional<ReadPages> pages_;       // of the same, when it is read
};

} // namespace mien
