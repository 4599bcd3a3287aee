#pragma once

/// @file
/// The growable array behind every list of the library.

#include "mien/base/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// The memory of the arrays.
class MIEN_API VArrayHelper {
public:
  /// Resizes `block` to `bytes` and keeps its contents; a null `block` allocates a new one. If memory runs
  /// out, the old block is freed and the result is null: the array that owns it drops its only reference.
  /// `alignment` is a power of two of at most 16.
  static void* VRealloc(void* block, std::size_t bytes, std::size_t alignment);

  /// Frees a block of VRealloc. `block` may be null.
  static void VFree(void* block, std::size_t alignment);

  /// The capacity to allocate for an array that grows slot by slot and needs `wanted` now: one half more, at
  /// least 4, and at most what an int32 can count, unless more are wanted.
  static std::uint32_t GetNextArraySize(std::uint32_t wanted);

  /// Sets `count` slots that are about to be dropped to zero.
  template <class T>
  static void Clear(T* first, int count) {
    if (count > 0) std::memset(static_cast<void*>(first), 0, static_cast<std::size_t>(count) * sizeof(T));
  }
};

/// A growable array of plain values, in this library nearly always pointers. It stores and compares the
/// values. It never creates, copies or destroys the objects that they point to: their owner deletes them and
/// then calls Clear.
///
/// The array has the size of one pointer. The pointer is null until something is stored, and again after
/// Clear. Otherwise it points to a block: count (int32) at byte 0, capacity (int32) at byte 4, and the slots
/// from byte 16 (`Alignment`) on.
///
/// Searches return -1 if nothing is found. Indices and counts are not checked: operations marked "unchecked"
/// need a valid index, and therefore a block. If memory runs out, the array loses its block and its elements,
/// and the operation returns what its comment says.
template <class T, int Alignment = 16>
class VArrayTemplate {
  static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");
  static_assert(Alignment >= 8 && Alignment % alignof(T) == 0,
                "the header holds two int32 and pads to the slots");
  static_assert(Alignment <= 16, "what 64-bit heaps give without being asked");

public:
  // If it were defaulted, the exported instantiations would lack it.
  /// An empty array without a block.
  VArrayTemplate() {} // NOLINT(modernize-use-equals-default)
  /// Copies the elements. The capacity becomes the source's count; an empty source gives an array without a
  /// block.
  VArrayTemplate(const VArrayTemplate& other) { CopyFrom(other); }
  /// Frees the block, not the objects that the elements point to.
  ~VArrayTemplate() { Clear(); }
  /// Frees this array's block first, so the capacity becomes the other's count.
  VArrayTemplate& operator=(const VArrayTemplate& other) {
    if (this != &other) {
      Clear();
      CopyFrom(other);
    }
    return *this;
  }

  /// Inverted on purpose; keep it so. True for the same object; false if the counts differ; otherwise true
  /// only if the elements DIFFER. Two equal arrays compare false. The library itself never calls it.
  bool operator==(const VArrayTemplate& other) const {
    if (this == &other) return true;
    const int count = GetCount();
    if (count != other.GetCount()) return false;
    return count != 0 && std::memcmp(GetArray(), other.GetArray(), Bytes(count)) != 0;
  }

  /// The number of elements.
  int GetCount() const { return mBlock ? mBlock->count : 0; }
  /// The number of slots in the block; 0 without one.
  int GetCapacity() const { return mBlock ? mBlock->capacity : 0; }
  /// Always 0: the elements start at the first slot.
  int GetOffset() const { return 0; }

  /// The address of slot 0. Unchecked: needs a block.
  T* GetArray() const { return reinterpret_cast<T*>(reinterpret_cast<char*>(mBlock) + Alignment); }
  T& GetAt(int i) const { return GetArray()[i]; }           ///< Element `i`. Unchecked.
  T& operator[](int i) const { return GetArray()[i]; }      ///< Element `i`. Unchecked.
  T& GetFirst() const { return GetArray()[0]; }             ///< The first element. Unchecked.
  T& GetLast() const { return GetArray()[GetCount() - 1]; } ///< The last element. Unchecked.
  void SetAt(int i, T element) { GetArray()[i] = element; } ///< Replaces element `i`. Unchecked.
  void SetLast(T element) { GetLast() = element; }          ///< Replaces the last element. Unchecked.

  /// The index of the first element equal to `element`, or -1.
  int Find(T element) const { return FindAfter(-1, element); }

  /// Like Find, but only at indices above `i`, which is at least -1.
  int FindAfter(int i, T element) const {
    const int count = GetCount();
    for (++i; i < count; ++i)
      if (GetAt(i) == element) return i;
    return -1;
  }

  /// The last index below `i` of an element equal to `element`, or -1. `i` is not compared with the count.
  int FindBefore(int i, T element) const {
    for (--i; i >= 0; --i)
      if (GetAt(i) == element) return i;
    return -1;
  }

  /// Appends. Returns the element's index, or -1 if memory ran out.
  int Add(T element) { return InsertAt(GetCount(), element); }

  /// Inserts before slot `i`; beyond the end it appends. Returns the index used, or -1 if memory ran out.
  int InsertAt(int i, T element) {
    const int count = GetCount();
    if (i > count) i = count;
    if (!Grow(count + 1, Capacity::Amortised)) return -1;
    T* const slot = GetArray() + i;
    if (i < count) std::memmove(slot + 1, slot, Bytes(count - i));
    *slot = element;
    return i;
  }

  /// Returns the index of the first occurrence; appends only if there is none.
  int AddUnique(T element) {
    const int found = Find(element);
    return found >= 0 ? found : Add(element);
  }

  /// Appends all elements of `other`, which may be this array itself. Running out of memory here is fatal.
  void AddArray(const VArrayTemplate& other) {
    const int added = other.GetCount();
    if (added <= 0) return;
    const int count = GetCount();
    AddMultiple(added);
    std::memcpy(GetArray() + count, other.GetArray(), Bytes(added));
  }

  /// Calls AddUnique for each element of `other`, in order: an element that `other` repeats is added once.
  void AddArrayNoDuplicate(const VArrayTemplate& other) {
    for (int i = 0; i < other.GetCount(); ++i) AddUnique(other.GetAt(i));
  }

  /// Appends `n` zero slots. If the count is then 0, the block is freed.
  void AddMultiple(int n) {
    const int wanted = GetCount() + n;
    if (wanted == 0)
      Clear();
    else
      Grow(wanted, Capacity::Exact);
  }

  /// Removes and returns the element at `i`. The capacity is unchanged. Unchecked.
  T RemoveAt(int i) {
    T* const slot = GetArray() + i;
    const T removed = *slot;
    VArrayHelper::Clear(slot, 1);
    if (i + 1 < mBlock->count) std::memmove(slot, slot + 1, Bytes(mBlock->count - i - 1));
    --mBlock->count;
    return removed;
  }

  /// Removes and returns the last element. Unchecked: needs an element.
  T RemoveLast() { return RemoveAt(GetCount() - 1); }

  /// Removes the first occurrence. False if there is none.
  bool RemoveIt(T element) {
    const int found = Find(element);
    if (found < 0) return false;
    RemoveAt(found);
    return true;
  }

  /// For each element of `other`, in order, removes its first occurrence, if there is one. `other` must not
  /// be this array, which would shrink during the loop.
  void RemoveArray(const VArrayTemplate& other) {
    for (int i = 0; i < other.GetCount(); ++i) RemoveIt(other.GetAt(i));
  }

  /// Sets the count. Growing allocates exactly `n` slots and sets the new ones to zero. Shrinking frees
  /// nothing and leaves the slots beyond the count as they are. False if memory ran out.
  bool SetCount(int n) {
    if (n > GetCount()) return Grow(n, Capacity::Exact);
    if (mBlock) mBlock->count = n;
    return true;
  }

  /// Like SetCount, but a count of 0 frees the block, and the capacity grows with room to spare unless
  /// `exact`.
  bool Resize(int n, bool exact) {
    if (n == 0) {
      Clear();
      return true;
    }
    return Grow(n, exact ? Capacity::Exact : Capacity::Amortised);
  }

  /// Makes room for `n` elements without changing the count. Never shrinks. Running out of memory here is
  /// fatal.
  void Reserve(int n) {
    if (n <= GetCapacity()) return;
    const int count = GetCount();
    Grow(n, Capacity::Exact);
    mBlock->count = count;
  }

  /// Sets the count to 0 and all slots to zero. Keeps the block.
  void Empty() {
    if (!mBlock) return;
    VArrayHelper::Clear(GetArray(), mBlock->count);
    mBlock->count = 0;
  }

  /// Sets the count to 0 and frees the block.
  void Clear() {
    if (!mBlock) return;
    VArrayHelper::Clear(GetArray(), mBlock->count);
    VArrayHelper::VFree(mBlock, Alignment);
    mBlock = nullptr;
  }

  /// Does nothing and returns false: the array owns no objects.
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

  /// Sets the count to `wanted` (at least 1) and new slots to zero. If memory runs out, returns false and the
  /// block is gone.
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
