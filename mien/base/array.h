#pragma once

// The growable array behind every list of the library.

#include "mien/base/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// The memory of the arrays.
class MIEN_API VArrayHelper {
public:
  /// Resizes `block` (null: allocates) to `bytes`, keeping its contents. Where memory runs out the answer is
  /// null and the old block is freed: the arrays drop their reference to it in that case, and nobody else has
  /// one. `alignment` is a power of two of at most 16.
  static void* VRealloc(void* block, std::size_t bytes, std::size_t alignment);

  /// Frees a block of VRealloc; null is fine.
  static void VFree(void* block, std::size_t alignment);

  /// The capacity to allocate where at least `wanted` slots are needed one after the other: one half more, at least
  /// 4, and no more than an int32 counts, unless more are wanted.
  static std::uint32_t GetNextArraySize(std::uint32_t wanted);

  /// Called on slots that are about to be dropped: sets them to zero.
  template <class T>
  static void Clear(T* first, int count) {
    if (count > 0) std::memset(static_cast<void*>(first), 0, static_cast<std::size_t>(count) * sizeof(T));
  }
};

/// A growable array of plain values, in this library nearly always pointers. It stores and compares the
/// values and never creates, copies or destroys what they point to: whoever owns the objects deletes them and
/// then calls Clear.
///
/// One pointer large. The pointer is null until something is stored, and again after Clear. Otherwise it
/// leads to a block: count (int32) at byte 0, capacity (int32) at byte 4, and the slots from byte 16
/// (`Alignment`) onward.
///
/// Not-found is -1. Indices and counts are not checked: what is marked "unchecked" needs a valid index, and
/// therefore a block. Where memory runs out, an array ends up without block and elements; the operation
/// answers as stated.
template <class T, int Alignment = 16>
class VArrayTemplate {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");
  static_assert(Alignment >= 8 && Alignment % alignof(T) == 0,
                "the header holds two int32 and pads to the slots");
  static_assert(Alignment <= 16, "what 64-bit heaps give without being asked");

public:
  // Not defaulted: the exported instantiations would then lack it.
  VArrayTemplate() {} // NOLINT(modernize-use-equals-default)
  /// Exact capacity; null for an empty source.
  VArrayTemplate(const VArrayTemplate& other) { CopyFrom(other); }
  ~VArrayTemplate() { Clear(); }
  /// Frees this array's block first, so the capacity becomes the other's count.
  VArrayTemplate& operator=(const VArrayTemplate& other) {
    if (this != &other) {
      Clear();
      CopyFrom(other);
    }
    return *this;
  }

  /// Inverted on purpose, and to be kept so: true for the very same object; false where the counts differ; otherwise
  /// true only if the elements DIFFER. Two equal arrays compare false. Nothing inside the library calls it.
  bool operator==(const VArrayTemplate& other) const {
    if (this == &other) return true;
    const int count = GetCount();
    if (count != other.GetCount()) return false;
    return count != 0 && std::memcmp(GetArray(), other.GetArray(), Bytes(count)) != 0;
  }

  int GetCount() const { return mBlock ? mBlock->count : 0; }
  int GetCapacity() const { return mBlock ? mBlock->capacity : 0; }
  int GetOffset() const { return 0; }

  /// Address of slot 0. Unchecked: needs a block.
  T* GetArray() const { return reinterpret_cast<T*>(reinterpret_cast<char*>(mBlock) + Alignment); }
  T& GetAt(int i) const { return GetArray()[i]; }           ///< Unchecked.
  T& operator[](int i) const { return GetArray()[i]; }      ///< Unchecked.
  T& GetFirst() const { return GetArray()[0]; }             ///< Unchecked.
  T& GetLast() const { return GetArray()[GetCount() - 1]; } ///< Unchecked.
  void SetAt(int i, T element) { GetArray()[i] = element; } ///< Unchecked.
  void SetLast(T element) { GetLast() = element; }          ///< Unchecked.

  /// Index of the first slot equal to `element`, or -1.
  int Find(T element) const { return FindAfter(-1, element); }

  /// The first one at an index above `i`, or -1. `i` is at least -1.
  int FindAfter(int i, T element) const {
    const int count = GetCount();
    for (++i; i < count; ++i)
      if (GetAt(i) == element) return i;
    return -1;
  }

  /// The last one at an index below `i`, or -1. `i` is not compared with the count.
  int FindBefore(int i, T element) const {
    for (--i; i >= 0; --i)
      if (GetAt(i) == element) return i;
    return -1;
  }

  /// Appends; answers the element's index, or -1 where memory ran out.
  int Add(T element) { return InsertAt(GetCount(), element); }

  /// Inserts before slot `i`; beyond the end it appends. Answers the index used, or -1 where memory ran out.
  int InsertAt(int i, T element) {
    const int count = GetCount();
    if (i > count) i = count;
    if (!Grow(count + 1, Capacity::Amortised)) return -1;
    T* const slot = GetArray() + i;
    if (i < count) std::memmove(slot + 1, slot, Bytes(count - i));
    *slot = element;
    return i;
  }

  /// The index of the first occurrence; appends only if there is none.
  int AddUnique(T element) {
    const int found = Find(element);
    return found >= 0 ? found : Add(element);
  }

  /// Appends all of `other`, which may be this array itself. Running out of memory in here is fatal.
  void AddArray(const VArrayTemplate& other) {
    const int added = other.GetCount();
    if (added <= 0) return;
    const int count = GetCount();
    AddMultiple(added);
    std::memcpy(GetArray() + count, other.GetArray(), Bytes(added));
  }

  /// AddUnique for each element of `other` in order: one that `other` repeats is added once.
  void AddArrayNoDuplicate(const VArrayTemplate& other) {
    for (int i = 0; i < other.GetCount(); ++i) AddUnique(other.GetAt(i));
  }

  /// Appends `n` zero slots. Ending at count 0 frees the block.
  void AddMultiple(int n) {
    const int wanted = GetCount() + n;
    if (wanted == 0)
      Clear();
    else
      Grow(wanted, Capacity::Exact);
  }

  /// Removes and answers the element at `i`; the capacity stays. Unchecked.
  T RemoveAt(int i) {
    T* const slot = GetArray() + i;
    const T removed = *slot;
    VArrayHelper::Clear(slot, 1);
    if (i + 1 < mBlock->count) std::memmove(slot, slot + 1, Bytes(mBlock->count - i - 1));
    --mBlock->count;
    return removed;
  }

  T RemoveLast() { return RemoveAt(GetCount() - 1); } ///< Unchecked: needs an element.

  /// Removes the first occurrence; false where there is none.
  bool RemoveIt(T element) {
    const int found = Find(element);
    if (found < 0) return false;
    RemoveAt(found);
    return true;
  }

  /// Removes, for each element of `other` in order, one occurrence of it, if there is one. `other` must not be this
  /// array, which would shrink under the walk.
  void RemoveArray(const VArrayTemplate& other) {
    for (int i = 0; i < other.GetCount(); ++i) RemoveIt(other.GetAt(i));
  }

  /// Sets the count. Grows to the exact capacity with zero slots; shrinking frees nothing and leaves the
  /// slots beyond the count as they are. False where memory ran out.
  bool SetCount(int n) {
    if (n > GetCount()) return Grow(n, Capacity::Exact);
    if (mBlock) mBlock->count = n;
    return true;
  }

  /// Like SetCount, but 0 frees the block, and the capacity grows with room to spare unless `exact`.
  bool Resize(int n, bool exact) {
    if (n == 0) {
      Clear();
      return true;
    }
    return Grow(n, exact ? Capacity::Exact : Capacity::Amortised);
  }

  /// Makes room for `n` elements without changing the count; never shrinks. Running out of memory in here is
  /// fatal.
  void Reserve(int n) {
    if (n <= GetCapacity()) return;
    const int count = GetCount();
    Grow(n, Capacity::Exact);
    mBlock->count = count;
  }

  /// Count 0; keeps the block, its slots set to zero.
  void Empty() {
    if (!mBlock) return;
    VArrayHelper::Clear(GetArray(), mBlock->count);
    mBlock->count = 0;
  }

  /// Count 0; frees the block.
  void Clear() {
    if (!mBlock) return;
    VArrayHelper::Clear(GetArray(), mBlock->count);
    VArrayHelper::VFree(mBlock, Alignment);
    mBlock = nullptr;
  }

  /// Does nothing and answers false: the array owns no objects.
  bool DeleteOrDestroy(T) { return false; }

private:
  struct Header {
    std::int32_t count, capacity;
  };
  enum class Capacity { Exact, Amortised };

  static std::size_t Bytes(int slots) { return static_cast<std::size_t>(slots) * sizeof(T); }

  void CopyFrom(const VArrayTemplate& other) {
    const int count = other.GetCount();
    if (count > 0 && SetCount(count)) std::memcpy(GetArray(), other.GetArray(), Bytes(count));
  }

  /// Makes the count `wanted` (at least 1), new slots zero. False, and no block any more, where memory ran
  /// out.
  bool Grow(int wanted, Capacity policy) {
    const int count = GetCount();
    if (wanted > GetCapacity()) {
      const int capacity =
          policy == Capacity::Exact
              ? wanted
              : static_cast<int>(VArrayHelper::GetNextArraySize(static_cast<std::uint32_t>(wanted)));
      mBlock = static_cast<Header*>(VArrayHelper::VRealloc(mBlock, Bytes(capacity) + Alignment, Alignment));
      if (!mBlock) return false;
      mBlock->capacity = capacity;
    }
    if (count < wanted) std::memset(static_cast<void*>(GetArray() + count), 0, Bytes(wanted - count));
    mBlock->count = wanted;
    return true;
  }

  Header* mBlock = nullptr;
};
