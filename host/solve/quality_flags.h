#pragma once

#include "host/base/long_vector.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

enum class FlagKind {
  Swap,     ///< "swap": two markers have exchanged places
  Mislabel, ///< "mislabel": a marker is where a marker of the other side of the face belongs
  Jump,     ///< "jump": a weight changes faster than a face moves, and stays
  Limit,    ///< "limit": a weight stays at its upper limit; what the face does beyond it is lost
};

std::string_view ToText(FlagKind kind);

/// Frames of a solved take that somebody should look at.
struct QualityFlag {
  FlagKind kind = FlagKind::Swap;
  std::size_t part = 0;

  /// Jump, Limit: the template, as TemplateColumn::name has it: "LeftEye.Close".
  std::string weight;

  /// Swap: the two. Mislabel: the marker, and the one whose place it has in `first`.
  std::vector<std::string> markers;

  /// Indices of frames. A Jump is from `first` to `last`, which is the frame after it.
  std::size_t first = 0, last = 0;

  /// Jump: the change of the weight, with its sign. Limit: seconds. Swap, Mislabel: the largest distance, in
  /// millimetres, of the (first) marker from its own place on the neutral face.
  double size = 0;

  bool operator==(const QualityFlag&) const = default;
};

/// What a flag says, without its frames: "LeftEye.Close jumps".
std::string StatementOf(const QualityFlag& flag);

/// A list of flags, for takes of pure noise, which have several per frame: names are stored once, and the rest lies
/// in a LongVector. Flags are made when they are read.
class QualityFlags {
public:
  class Iterator;
  using value_type = QualityFlag;
  using iterator = Iterator;
  using const_iterator = Iterator;

  QualityFlags() = default;
  QualityFlags(std::initializer_list<QualityFlag> flags);

  void push_back(const QualityFlag& flag); ///< of at most two markers
  std::size_t size() const { return flags_.size(); }
  bool empty() const { return flags_.empty(); }
  QualityFlag operator[](std::size_t i) const;
  Iterator begin() const;
  Iterator end() const;

  friend bool operator==(const QualityFlags& a, const QualityFlags& b);

private:
  static constexpr std::uint32_t kNoName = 0xFFFFFFFF;
  struct Stored {
    double size;
    std::size_t first, last;
    std::uint32_t weight, markers[2]; // among the names
    std::uint8_t part;
    FlagKind kind;
  };

  std::uint32_t NameOf(const std::string& name);

  LongVector<Stored> flags_;
  std::vector<std::string> names_;
  std::map<std::string, std::uint32_t, std::less<>> by_name_;
};

/// Steps through the flags.
class QualityFlags::Iterator {
public:
  using iterator_category = std::input_iterator_tag; // a flag is no reference
  using value_type = QualityFlag;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = QualityFlag;

  Iterator() = default;
  Iterator(const QualityFlags& flags, std::size_t at) : flags_(&flags), at_(at) {}

  QualityFlag operator*() const { return (*flags_)[at_]; }
  Iterator& operator++() {
    ++at_;
    return *this;
  }
  Iterator operator++(int) { return {*flags_, at_++}; }
  friend bool operator==(const Iterator& a, const Iterator& b) { return a.at_ == b.at_; }

private:
  const QualityFlags* flags_ = nullptr;
  std::size_t at_ = 0;
};

} // namespace mien
