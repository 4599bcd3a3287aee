#pragma once

// What every instantiation that the library exports must offer. A test includes it behind the header that
// declares the instantiation, so that the addresses below are those of the library's own copies: one that is
// not exported does not link.

#include "mien/base/array.h"

#include <gtest/gtest.h>

#include <array>

namespace tests {

/// Takes the address of each named member, and calls the members without an address (constructors,
/// destructor).
template <class T>
void ExpectEveryMemberWorks() {
  using Array = VArrayTemplate<T*, 16>;
  Array& (Array::*const assign)(const Array&) = &Array::operator=;
  const auto equal = &Array::operator==;
  const auto at_index = &Array::operator[];
  const auto get_at = &Array::GetAt;
  const auto get_first = &Array::GetFirst;
  const auto get_last = &Array::GetLast;
  const auto get_array = &Array::GetArray;
  const auto get_count = &Array::GetCount;
  const auto get_capacity = &Array::GetCapacity;
  const auto get_offset = &Array::GetOffset;
  const auto set_at = &Array::SetAt;
  const auto set_last = &Array::SetLast;
  const auto add = &Array::Add;
  const auto add_unique = &Array::AddUnique;
  const auto insert_at = &Array::InsertAt;
  const auto add_array = &Array::AddArray;
  const auto add_array_no_duplicate = &Array::AddArrayNoDuplicate;
  const auto add_multiple = &Array::AddMultiple;
  const auto find = &Array::Find;
  const auto find_after = &Array::FindAfter;
  const auto find_before = &Array::FindBefore;
  const auto remove_at = &Array::RemoveAt;
  const auto remove_last = &Array::RemoveLast;
  const auto remove_it = &Array::RemoveIt;
  const auto remove_array = &Array::RemoveArray;
  const auto set_count = &Array::SetCount;
  const auto resize = &Array::Resize;
  const auto reserve = &Array::Reserve;
  const auto clear = &Array::Clear;
  const auto empty = &Array::Empty;
  const auto delete_or_destroy = &Array::DeleteOrDestroy;

  // The array never reads the objects that it points to, so addresses of plain bytes are enough, even of a
  // type that is only declared here.
  static std::array<char, 4> bytes;
  T* const a = reinterpret_cast<T*>(static_cast<void*>(&bytes[0]));
  T* const b = reinterpret_cast<T*>(static_cast<void*>(&bytes[1]));
  T* const c = reinterpret_cast<T*>(static_cast<void*>(&bytes[2]));
  T* const d = reinterpret_cast<T*>(static_cast<void*>(&bytes[3]));

  Array array;
  (array.*reserve)(3);
  EXPECT_EQ((array.*get_capacity)(), 3);
  EXPECT_EQ((array.*add)(a), 0);
  EXPECT_EQ((array.*add_unique)(a), 0);
  EXPECT_EQ((array.*insert_at)(0, b), 0); // b a
  EXPECT_EQ((array.*get_count)(), 2);
  EXPECT_EQ((array.*get_offset)(), 0);
  EXPECT_EQ((array.*get_array)(), &(array.*get_at)(0));
  EXPECT_EQ((array.*at_index)(0), b);
  EXPECT_EQ((array.*get_first)(), b);
  EXPECT_EQ((array.*get_last)(), a);
  (array.*set_at)(0, c);
  (array.*set_last)(d); // c d
  EXPECT_EQ((array.*find)(d), 1);
  EXPECT_EQ((array.*find_after)(0, d), 1);
  EXPECT_EQ((array.*find_before)(1, c), 0);

  Array copy(array);
  EXPECT_FALSE((copy.*equal)(array)); // the inverted comparison: equal elements
  (copy.*add_array)(array);           // c d c d
  EXPECT_EQ((copy.*get_count)(), 4);
  (copy.*add_array_no_duplicate)(array);
  EXPECT_EQ((copy.*get_count)(), 4);
  EXPECT_TRUE((copy.*remove_it)(c)); // d c d
  EXPECT_EQ((copy.*remove_at)(0), d);
  EXPECT_EQ((copy.*remove_last)(), d); // c
  (copy.*remove_array)(array);
  EXPECT_EQ((copy.*get_count)(), 0);

  (copy.*assign)(array);
  EXPECT_EQ((copy.*get_count)(), 2);
  (copy.*add_multiple)(1);
  EXPECT_EQ((copy.*get_at)(2), nullptr);
  EXPECT_TRUE((copy.*set_count)(1));
  EXPECT_TRUE((copy.*resize)(2, true));
  EXPECT_EQ((copy.*get_at)(1), nullptr);
  EXPECT_FALSE((copy.*delete_or_destroy)(c));
  EXPECT_EQ((copy.*get_first)(), c);
  (copy.*empty)();
  EXPECT_EQ((copy.*get_count)(), 0);
  (copy.*clear)();
  EXPECT_EQ((copy.*get_capacity)(), 0);
}

} // namespace tests
