#pragma once

#include "host/base/spooled_memory.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace mien {

/// A vector of plain values for what grows with the length of a recording: beyond a megabyte they lie in
/// SpooledMemory, where they do not count towards the memory of the process. Where there is no room for that,
/// they stay on the heap.
///
/// It is used like std::vector. References, spans and iterators are valid until its size changes. A reference
/// or span touches what it refers to once, when it is made; iterators touch on every access.
template <class T>
class LongVector {
  static_assert(std::is_trivially_copyable_v<T>, "values are moved as bytes");

public:
  template <class Vector, class Value>
  class Iterator;
  using value_type = T;
  using iterator = Iterator<LongVector, T>;
  using const_iterator = Iterator<const LongVector, const T>;

  LongVector() = default;
  explicit LongVector(std::size_t size, const T& value = T()) { resize(size, value); }
  LongVector(std::initializer_list<T> values) { append(std::span(values.begin(), values.size())); }
  LongVector(std::span<const T> values) { append(values); }
  LongVector(const std::vector<T>& values) { append(values); }
  LongVector(const LongVector& other) { Append(other); }
  LongVector(LongVector&& other) noexcept { swap(other); }
  LongVector& operator=(LongVector other) noexcept {
    swap(other);
    return *this;
  }
  ~LongVector() = default;

  void swap(LongVector& other) noexcept {
    std::swap(heap_, other.heap_);
    std::swap(spooled_, other.spooled_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    std::swap(no_room_, other.no_room_);
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  T& operator[](std::size_t i) {
    Touch(i);
    return data_[i];
  }
  const T& operator[](std::size_t i) const {
    Touch(i);
    return data_[i];
  }
  T& front() { return (*this)[0]; }
  const T& front() const { return (*this)[0]; }
  T& back() { return (*this)[size_ - 1]; }
  const T& back() const { return (*this)[size_ - 1]; }

  /// Consecutive values. Keep it short: all of it is in memory.
  std::span<T> subspan(std::size_t first, std::size_t count) {
    TouchAll(first, count);
    return {data_ + first, count};
  }
  std::span<const T> subspan(std::size_t first, std::size_t count) const {
    TouchAll(first, count);
    return {data_ + first, count};
  }

  /// Where all values are, for a reader outside: valid until the size changes. Touches none; see
  /// SpooledMemory.
  const T* data() const { return data_; }

  /// All values: for those of which a recording has few per frame.
  operator std::span<const T>() const { return subspan(0, size_); }

  iterator begin() { return {*this, 0}; }
  iterator end() { return {*this, size_}; }
  const_iterator begin() const { return {*this, 0}; }
  const_iterator end() const { return {*this, size_}; }

  void push_back(const T& value) {
    const T copy = value; // may be one of ours
    if (size_ == capacity_) Grow(size_ + 1);
    Touch(size_);
    data_[size_++] = copy;
  }

  /// Appends values that are not its own.
  void append(std::span<const T> values) {
    if (size_ + values.size() > capacity_) Grow(size_ + values.size());
    TouchAll(size_, values.size());
    std::copy(values.begin(), values.end(), data_ + size_);
    size_ += values.size();
  }

  T& emplace_back() {
    push_back(T());
    return back();
  }

  void assign(std::size_t size, const T& value) {
    clear();
    resize(size, value);
  }

  void pop_back() { --size_; }
  void clear() { size_ = 0; }

  void resize(std::size_t size, const T& value = T()) {
    const T copy = value; // may be one of ours
    if (size > capacity_) Grow(size);
    while (size_ < size) { // piece by piece
      const std::size_t end = std::min(size, ((size_ >> kPieceBits) + 1) << kPieceBits);
      Touch(size_);
      std::fill(data_ + size_, data_ + end, copy);
      size_ = end;
    }
    size_ = size; // where it shrinks
  }

  /// Appends values without touching them, so that several threads can make them at once. Each must be written
  /// before it is read.
  void extend(std::size_t count) {
    if (size_ + count > capacity_) Grow(size_ + count);
    size_ += count;
  }

  void reserve(std::size_t size) {
    if (size > capacity_ && size <= kMostOnHeap) Grow(size);
  }

  friend bool operator==(const LongVector& a, const LongVector& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
  }

private:
  // The values of a piece: the largest power of two that takes no more than 128 KB.
  static constexpr int kPieceBits = [] {
    int bits = 0;
    while ((sizeof(T) << (bits + 1)) <= (std::size_t{128} << 10)) ++bits;
    return bits;
  }();
  static constexpr std::size_t kPieceBytes = sizeof(T) << kPieceBits;
  static_assert(kPieceBytes % 4096 == 0, "pieces are whole pages");
  static constexpr std::size_t kMostOnHeap = (std::size_t{1} << 20) / sizeof(T);

  void Touch(std::size_t i) const {
    if (spooled_) spooled_->Touch(i >> kPieceBits);
  }
  void TouchAll(std::size_t first, std::size_t count) const {
    if (!spooled_ || count == 0) return;
    for (std::size_t piece = first >> kPieceBits; piece <= (first + count - 1) >> kPieceBits; ++piece)
      spooled_->Touch(piece);
  }

  void Append(const LongVector& other) {
    constexpr std::size_t kPiece = std::size_t{1} << kPieceBits;
    for (std::size_t at = 0; at < other.size(); at += kPiece)
      append(other.subspan(at, std::min(kPiece, other.size() - at)));
  }

  void Grow(std::size_t least) {
    if (spooled_) {
      if (spooled_->Grow(least * sizeof(T))) return UseSpooled();
    } else if (least > kMostOnHeap && !no_room_) {
      auto spooled = std::make_unique<SpooledMemory>(kPieceBytes);
      if (spooled->Grow(least * sizeof(T))) {
        if (size_ > 0) std::memcpy(spooled->Data(), data_, size_ * sizeof(T));
        spooled_ = std::move(spooled);
        heap_.reset();
        return UseSpooled();
      }
    }
    no_room_ = least > kMostOnHeap;
    const std::size_t more = std::max(least, capacity_ + capacity_ / 2);
    MoveToHeap(no_room_ ? more : std::min(more, kMostOnHeap));
  }

  void UseSpooled() {
    data_ = static_cast<T*>(spooled_->Data());
    capacity_ = spooled_->Size() / sizeof(T);
  }

  void MoveToHeap(std::size_t capacity) {
    std::unique_ptr<T[], FreeBytes> heap(static_cast<T*>(::operator new(capacity * sizeof(T))));
    if (size_ > 0) std::memcpy(static_cast<void*>(heap.get()), data_, size_ * sizeof(T));
    spooled_.reset();
    heap_ = std::move(heap);
    data_ = heap_.get();
    capacity_ = capacity;
  }

  struct FreeBytes {
    void operator()(T* bytes) const { ::operator delete(bytes); }
  };

  std::unique_ptr<T[], FreeBytes> heap_;
  std::unique_ptr<SpooledMemory> spooled_;
  T* data_ = nullptr; // of either
  std::size_t size_ = 0, capacity_ = 0;
  bool no_room_ = false; // for spooled memory
};

/// Steps through the values of a LongVector.
template <class T>
template <class Vector, class Value>
class LongVector<T>::Iterator {
public:
  using iterator_category = std::random_access_iterator_tag;
  using value_type = T;
  using difference_type = std::ptrdiff_t;
  using pointer = Value*;
  using reference = Value&;

  Iterator() = default;
  Iterator(Vector& vector, std::size_t at) : vector_(&vector), at_(at) {}
  operator Iterator<const LongVector, const T>() const { return {*vector_, at_}; }

  reference operator*() const { return (*vector_)[at_]; }
  pointer operator->() const { return &(*vector_)[at_]; }
  reference operator[](difference_type n) const { return *(*this + n); }
  Iterator& operator+=(difference_type n) {
    at_ = static_cast<std::size_t>(static_cast<difference_type>(at_) + n);
    return *this;
  }
  Iterator& operator-=(difference_type n) { return *this += -n; }
  Iterator& operator++() { return *this += 1; }
  Iterator& operator--() { return *this -= 1; }
  Iterator operator++(int) { return std::exchange(*this, *this + 1); }
  Iterator operator--(int) { return std::exchange(*this, *this - 1); }
  friend Iterator operator+(Iterator at, difference_type n) { return at += n; }
  friend Iterator operator+(difference_type n, Iterator at) { return at += n; }
  friend Iterator operator-(Iterator at, difference_type n) { return at -= n; }
  friend difference_type operator-(const Iterator& a, const Iterator& b) {
    return static_cast<difference_type>(a.at_) - static_cast<difference_type>(b.at_);
  }
  friend bool operator==(const Iterator& a, const Iterator& b) { return a.at_ == b.at_; }
  friend auto operator<=>(const Iterator& a, const Iterator& b) { return a.at_ <=> b.at_; }

private:
  Vector* vector_ = nullptr;
  std::size_t at_ = 0;
};

} // namespace mien
