#include "mien/base/array.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

using testing::Each;
using testing::ElementsAre;

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MIEN_TESTS_UNDER_ADDRESS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define MIEN_TESTS_UNDER_ADDRESS_SANITIZER
#endif

#if defined(MIEN_TESTS_UNDER_ADDRESS_SANITIZER)
// The sanitizer ends a program that requests too much memory unless this option is set. Exported,
// because its runtime may be a library of its own.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
#endif

namespace {

struct Thing {};

Thing things[4];
Thing* const a = &things[0];
Thing* const b = &things[1];
Thing* const c = &things[2];
Thing* const d = &things[3];

using Things = VArrayTemplate<Thing*, 16>;

constexpr int kMaxCount = std::numeric_limits<int>::max();

Things ListOf(std::initializer_list<Thing*> elements) {
  Things array;
  for (Thing* element : elements) array.Add(element);
  return array;
}

std::vector<Thing*> Elements(const Things& array) {
  std::vector<Thing*> elements;
  for (int i = 0; i < array.GetCount(); ++i) elements.push_back(array.GetAt(i));
  return elements;
}

/// The slots from `from` to the capacity, which are allocated but beyond the count.
std::vector<Thing*> SlotsFrom(int from, const Things& array) {
  std::vector<Thing*> slots;
  for (int i = from; i < array.GetCapacity(); ++i) slots.push_back(array.GetAt(i));
  return slots;
}

/// Five elements in a block of exactly five slots, with the count set to `count`.
Things FiveSlotsCounting(int count) {
  Things array;
  array.SetCount(5);
  for (int i = 0; i < 5; ++i) array.SetAt(i, d);
  array.SetCount(count);
  return array;
}

/// The one member of an array: the address of its block, or null.
template <class Array>
unsigned char* Block(const Array& array) {
  unsigned char* block;
  std::memcpy(&block, &array, sizeof block);
  return block;
}

} // namespace

// --- An array that has stored nothing.

TEST(Array, StartsWithoutBlock) {
  const Things array;
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 0);
  EXPECT_EQ(Block(array), nullptr);
}

TEST(Array, WithoutBlockFindsAndRemovesNothing) {
  Things array;
  EXPECT_EQ(array.Find(a), -1);
  EXPECT_EQ(array.Find(nullptr), -1);
  EXPECT_EQ(array.FindAfter(-1, a), -1);
  EXPECT_EQ(array.FindAfter(0, a), -1);
  EXPECT_EQ(array.FindBefore(0, a), -1);
  EXPECT_FALSE(array.RemoveIt(a));
  array.RemoveArray(ListOf({a}));
  EXPECT_EQ(Block(array), nullptr);
}

TEST(Array, WithoutBlockAllocatesNothingToStoreNothing) {
  Things array;
  array.Clear();
  array.Empty();
  array.Reserve(0);
  array.AddMultiple(0);
  array.AddArray(Things());
  array.AddArrayNoDuplicate(Things());
  EXPECT_TRUE(array.Resize(0, false));
  EXPECT_TRUE(array.Resize(0, true));
  EXPECT_TRUE(array.SetCount(0));
  EXPECT_EQ(Block(array), nullptr);
}

// --- The block. Its layout is shared with code outside that reads it directly.

TEST(Array, HasTheSizeOfOnePointer) { EXPECT_EQ(sizeof(Things), sizeof(void*)); }

TEST(Array, BlockHasCountThenCapacityThenSlotsFromByteSixteen) {
  Things array;
  array.Reserve(7);
  array.Add(a);
  array.Add(b);
  const unsigned char* const block = Block(array);
  std::int32_t count, capacity;
  std::memcpy(&count, block, 4);
  std::memcpy(&capacity, block + 4, 4);
  Thing* second;
  std::memcpy(&second, block + 16 + sizeof(Thing*), sizeof second);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(capacity, 7);
  EXPECT_EQ(second, b);
  EXPECT_EQ(static_cast<const void*>(array.GetArray()), block + 16);
}

TEST(Array, BlockIsAlignedToSixteenBytes) {
  for (int count = 1; count < 40; ++count) {
    Things array;
    ASSERT_TRUE(array.SetCount(count));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Block(array)) % 16, 0u) << count << " slots";
  }
}

TEST(Array, OffsetIsAlwaysZero) {
  EXPECT_EQ(Things().GetOffset(), 0);
  EXPECT_EQ(ListOf({a, b}).GetOffset(), 0);
}

// --- Copies.

TEST(Array, CopyHasTheSameElementsInItsOwnBlock) {
  Things source = ListOf({a, b, c});
  Things copy(source);
  EXPECT_THAT(Elements(copy), ElementsAre(a, b, c));
  copy.SetAt(0, d);
  EXPECT_THAT(Elements(source), ElementsAre(a, b, c));
}

TEST(Array, CopyAllocatesExactlyTheSlotsItNeeds) {
  Things source;
  source.Reserve(50);
  source.Add(a);
  source.Add(b);
  const Things copy(source);
  EXPECT_EQ(copy.GetCapacity(), 2);
  Things assigned = ListOf({c, c, c, c, c, c, c, c});
  assigned = source;
  EXPECT_EQ(assigned.GetCapacity(), 2);
  EXPECT_THAT(Elements(assigned), ElementsAre(a, b));
}

TEST(Array, CopyOfAnEmptyArrayHasNoBlockEvenIfTheSourceHasOne) {
  Things source;
  source.Reserve(5);
  const Things copy(source);
  EXPECT_EQ(Block(copy), nullptr);
  Things assigned = ListOf({a});
  assigned = source;
  EXPECT_EQ(Block(assigned), nullptr);
}

TEST(Array, AssignmentToItselfKeepsElementsAndBlock) {
  Things array = ListOf({a, b});
  const unsigned char* const block = Block(array);
  const Things& same = array;
  array = same;
  EXPECT_THAT(Elements(array), ElementsAre(a, b));
  EXPECT_EQ(Block(array), block);
}

TEST(Array, AssignmentReturnsTheArray) {
  Things array;
  EXPECT_EQ(&(array = ListOf({a})), &array);
}

// --- The comparison is inverted: it returns whether two arrays DIFFER. Callers elsewhere rely on it, so a
// correction would break them silently.

TEST(Array, ComparesTrueWithItself) {
  const Things empty, full = ListOf({a, b});
  EXPECT_TRUE(empty == empty);
  EXPECT_TRUE(full == full);
}

TEST(Array, ComparesFalseIfTheCountsDiffer) {
  EXPECT_FALSE(ListOf({a, b}) == ListOf({a}));
  EXPECT_FALSE(ListOf({a}) == Things());
  EXPECT_FALSE(Things() == ListOf({a}));
}

TEST(Array, ComparesFalseIfTheElementsAreEqual) { EXPECT_FALSE(ListOf({a, b}) == ListOf({a, b})); }

TEST(Array, ComparesTrueIfTheElementsDiffer) {
  EXPECT_TRUE(ListOf({a, b}) == ListOf({a, c}));
  EXPECT_TRUE(ListOf({a, b}) == ListOf({b, a}));
}

TEST(Array, TwoEmptyArraysCompareFalse) {
  Things allocated;
  allocated.Reserve(4);
  EXPECT_FALSE(Things() == Things());
  EXPECT_FALSE(allocated == Things());
  EXPECT_FALSE(Things() == allocated);
}

TEST(Array, ComparisonReadsOnlyCountedSlots) {
  const Things left = FiveSlotsCounting(2);
  Things right = FiveSlotsCounting(2);
  right.SetAt(4, a);
  EXPECT_FALSE(left == right);
}

// --- Reading and writing slots.

TEST(Array, SlotsAreReachedByIndexAndFromBothEnds) {
  const Things array = ListOf({a, b, c});
  EXPECT_EQ(array[1], b);
  EXPECT_EQ(array.GetAt(1), b);
  EXPECT_EQ(array.GetFirst(), a);
  EXPECT_EQ(array.GetLast(), c);
  EXPECT_EQ(array.GetArray()[2], c);
}

TEST(Array, AccessorsReturnReferencesToSlots) {
  Things array = ListOf({a, a, a});
  array[1] = b;
  array.GetAt(0) = c;
  array.GetLast() = d;
  EXPECT_THAT(Elements(array), ElementsAre(c, b, d));
  array.GetFirst() = a;
  EXPECT_EQ(array.GetAt(0), a);
}

TEST(Array, SetAtAndSetLastReplace) {
  Things array = ListOf({a, b, c});
  array.SetAt(1, d);
  array.SetLast(a);
  EXPECT_THAT(Elements(array), ElementsAre(a, d, a));
}

// --- Searching.

TEST(Array, FindReturnsTheFirstOccurrence) {
  const Things array = ListOf({a, b, a, b});
  EXPECT_EQ(array.Find(a), 0);
  EXPECT_EQ(array.Find(b), 1);
  EXPECT_EQ(array.Find(c), -1);
}

TEST(Array, FindSearchesOnlyCountedSlots) { EXPECT_EQ(FiveSlotsCounting(0).Find(d), -1); }

TEST(Array, FindAfterStartsAfterTheIndex) {
  const Things array = ListOf({a, b, a, b});
  EXPECT_EQ(array.FindAfter(-1, a), 0);
  EXPECT_EQ(array.FindAfter(0, a), 2);
  EXPECT_EQ(array.FindAfter(2, a), -1);
  EXPECT_EQ(array.FindAfter(3, b), -1);
  EXPECT_EQ(array.FindAfter(100, b), -1);
}

TEST(Array, FindAfterStopsAtTheCount) { EXPECT_EQ(FiveSlotsCounting(2).FindAfter(1, d), -1); }

TEST(Array, FindBeforeSearchesDownwards) {
  const Things array = ListOf({a, b, a, b});
  EXPECT_EQ(array.FindBefore(4, a), 2);
  EXPECT_EQ(array.FindBefore(2, a), 0);
  EXPECT_EQ(array.FindBefore(1, b), -1);
  EXPECT_EQ(array.FindBefore(0, a), -1);
  EXPECT_EQ(array.FindBefore(-5, a), -1);
}

TEST(Array, FindBeforeDoesNotCompareItsStartWithTheCount) {
  // Its argument is unchecked: it finds slots that are allocated but no longer counted.
  EXPECT_EQ(FiveSlotsCounting(2).FindBefore(5, d), 4);
}

// --- Adding.

TEST(Array, AddAppendsAndReturnsTheIndex) {
  Things array;
  EXPECT_EQ(array.Add(a), 0);
  EXPECT_EQ(array.Add(b), 1);
  EXPECT_EQ(array.Add(a), 2);
  EXPECT_THAT(Elements(array), ElementsAre(a, b, a));
}

TEST(Array, NullIsAnOrdinaryElement) {
  Things array = ListOf({a, nullptr, b});
  EXPECT_EQ(array.Find(nullptr), 1);
  EXPECT_EQ(array.AddUnique(nullptr), 1);
  EXPECT_TRUE(array.RemoveIt(nullptr));
  EXPECT_THAT(Elements(array), ElementsAre(a, b));
}

TEST(Array, InsertAtMovesTheTailUp) {
  Things array = ListOf({a, b, c});
  EXPECT_EQ(array.InsertAt(1, d), 1);
  EXPECT_THAT(Elements(array), ElementsAre(a, d, b, c));
  EXPECT_EQ(array.InsertAt(0, c), 0);
  EXPECT_THAT(Elements(array), ElementsAre(c, a, d, b, c));
  EXPECT_EQ(array.InsertAt(5, a), 5);
  EXPECT_THAT(Elements(array), ElementsAre(c, a, d, b, c, a));
}

TEST(Array, InsertAtBeyondTheEndAppends) {
  Things array = ListOf({a, b, c});
  EXPECT_EQ(array.InsertAt(100, d), 3);
  EXPECT_THAT(Elements(array), ElementsAre(a, b, c, d));
  Things empty;
  EXPECT_EQ(empty.InsertAt(7, a), 0);
  EXPECT_THAT(Elements(empty), ElementsAre(a));
}

TEST(Array, ManyInsertionsAtTheFrontKeepTheOrder) {
  static Thing many[1000];
  Things array;
  for (Thing& thing : many) ASSERT_EQ(array.InsertAt(0, &thing), 0);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(array[i], &many[999 - i]) << "slot " << i;
}

TEST(Array, AddingOneByOneReallocatesRarely) {
  Things array;
  int growths = 0;
  for (int i = 0; i < 100000; ++i) {
    const int capacity = array.GetCapacity();
    array.Add(a);
    if (array.GetCapacity() != capacity) ++growths;
    ASSERT_GE(array.GetCapacity(), array.GetCount());
  }
  EXPECT_LT(growths,
            100); // any geometric growth is far below; growth by up to 1000 slots at a time is not
}

TEST(Array, AddUniqueReturnsTheFirstOccurrenceAndChangesNothing) {
  Things array = ListOf({a, b, a});
  EXPECT_EQ(array.AddUnique(a), 0);
  EXPECT_EQ(array.AddUnique(b), 1);
  EXPECT_EQ(array.GetCount(), 3);
}

TEST(Array, AddUniqueAppendsWhatIsMissing) {
  Things array;
  EXPECT_EQ(array.AddUnique(a), 0);
  EXPECT_EQ(array.AddUnique(b), 1);
  EXPECT_THAT(Elements(array), ElementsAre(a, b));
}

TEST(Array, AddArrayAppendsInOrderWithDuplicates) {
  Things array = ListOf({a});
  array.AddArray(ListOf({b, a, b}));
  EXPECT_THAT(Elements(array), ElementsAre(a, b, a, b));
}

TEST(Array, AddArrayAllocatesExactlyTheSlotsItNeeds) {
  Things array;
  array.AddArray(ListOf({a, b, c}));
  EXPECT_EQ(array.GetCapacity(), 3);
}

TEST(Array, AddArrayOfItselfDoublesTheElements) {
  Things array = ListOf({a, b, c});
  array.SetCount(3);
  array.AddArray(array); // the block moves while its elements are the source
  EXPECT_THAT(Elements(array), ElementsAre(a, b, c, a, b, c));
  array.AddArray(array);
  EXPECT_EQ(array.GetCount(), 12);
  EXPECT_EQ(array.GetLast(), c);
}

TEST(Array, AddArrayOfAnEmptyOneKeepsTheBlock) {
  // Unlike AddMultiple(0), which frees the block of an array without elements.
  Things array;
  array.Reserve(4);
  array.AddArray(Things());
  EXPECT_EQ(array.GetCapacity(), 4);
}

TEST(Array, AddArrayNoDuplicateAddsEachElementOnce) {
  Things array;
  array.AddArrayNoDuplicate(ListOf({a, a, b}));
  EXPECT_THAT(Elements(array), ElementsAre(a, b));
  array.AddArrayNoDuplicate(ListOf({c, b, c, a, d}));
  EXPECT_THAT(Elements(array), ElementsAre(a, b, c, d));
}

TEST(Array, AddArrayNoDuplicateKeepsExistingDuplicates) {
  Things array = ListOf({a, a});
  array.AddArrayNoDuplicate(ListOf({a, b}));
  EXPECT_THAT(Elements(array), ElementsAre(a, a, b));
}

TEST(Array, AddArrayNoDuplicateOfItselfChangesNothing) {
  Things array = ListOf({a, b, a});
  array.AddArrayNoDuplicate(array);
  EXPECT_THAT(Elements(array), ElementsAre(a, b, a));
}

TEST(Array, AddMultipleAppendsZeroSlotsInExactCapacity) {
  Things array = ListOf({a, b});
  array.AddMultiple(5);
  EXPECT_THAT(Elements(array), ElementsAre(a, b, nullptr, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(array.GetCapacity(), 7);
}

TEST(Array, AddMultipleZeroesUsedSlots) {
  Things array = FiveSlotsCounting(1);
  array.AddMultiple(3);
  EXPECT_THAT(Elements(array), ElementsAre(d, nullptr, nullptr, nullptr));
  EXPECT_EQ(array.GetCapacity(), 5);
}

TEST(Array, AddMultipleOfNoneFreesTheBlockOfAnEmptyArray) {
  Things array;
  array.Reserve(4);
  array.AddMultiple(0);
  EXPECT_EQ(Block(array), nullptr);
}

TEST(Array, AddMultipleOfNoneKeepsElements) {
  Things array = FiveSlotsCounting(2);
  array.AddMultiple(0);
  EXPECT_THAT(Elements(array), ElementsAre(d, d));
  EXPECT_EQ(array.GetCapacity(), 5);
}

// --- Removing.

TEST(Array, RemoveAtReturnsTheElementAndClosesTheGap) {
  Things array = ListOf({a, b, c, d});
  EXPECT_EQ(array.RemoveAt(1), b);
  EXPECT_THAT(Elements(array), ElementsAre(a, c, d));
  EXPECT_EQ(array.RemoveAt(0), a);
  EXPECT_EQ(array.RemoveAt(1), d);
  EXPECT_THAT(Elements(array), ElementsAre(c));
}

TEST(Array, RemoveLastReturnsTheLastElement) {
  Things array = ListOf({a, b});
  EXPECT_EQ(array.RemoveLast(), b);
  EXPECT_THAT(Elements(array), ElementsAre(a));
}

TEST(Array, RemoveItRemovesTheFirstOccurrenceOnly) {
  Things array = ListOf({b, a, b, a});
  EXPECT_TRUE(array.RemoveIt(a));
  EXPECT_THAT(Elements(array), ElementsAre(b, b, a));
  EXPECT_FALSE(array.RemoveIt(c));
  EXPECT_THAT(Elements(array), ElementsAre(b, b, a));
}

TEST(Array, RemoveItDoesNotFindUncountedElements) {
  Things array = FiveSlotsCounting(0);
  EXPECT_FALSE(array.RemoveIt(d));
  EXPECT_EQ(array.GetCount(), 0);
}

TEST(Array, RemoveArrayRemovesOneOccurrencePerElement) {
  Things once = ListOf({a, b, a});
  once.RemoveArray(ListOf({a}));
  EXPECT_THAT(Elements(once), ElementsAre(b, a));
  Things twice = ListOf({a, b, a, c, a});
  twice.RemoveArray(ListOf({a, d, a}));
  EXPECT_THAT(Elements(twice), ElementsAre(b, c, a));
}

TEST(Array, RemovingTheLastElementKeepsTheBlockUntilClear) {
  Things array = ListOf({a});
  const int capacity = array.GetCapacity();
  ASSERT_GT(capacity, 0);
  array.RemoveLast();
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), capacity);
  EXPECT_NE(Block(array), nullptr);
  array.Clear();
  EXPECT_EQ(Block(array), nullptr);
}

TEST(Array, EmptyKeepsTheBlockAndZeroesItsElements) {
  Things array = FiveSlotsCounting(5);
  const unsigned char* const block = Block(array);
  array.Empty();
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 5);
  EXPECT_EQ(Block(array), block);
  EXPECT_THAT(SlotsFrom(0, array), Each(nullptr));
}

TEST(Array, EmptyZeroesOnlyCountedSlots) {
  Things array = FiveSlotsCounting(2);
  array.Empty();
  EXPECT_THAT(SlotsFrom(0, array), ElementsAre(nullptr, nullptr, d, d, d));
}

TEST(Array, ClearFreesTheBlock) {
  Things array = ListOf({a, b});
  array.Clear();
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 0);
  EXPECT_EQ(Block(array), nullptr);
  array.Clear();
  EXPECT_EQ(array.Add(c), 0);
}

TEST(Array, NeverDestroysTheObjectsItPointsTo) {
  struct Counted {
    int* destroyed;
    ~Counted() { ++*destroyed; }
  };
  int destroyed = 0;
  {
    Counted object{&destroyed};
    VArrayTemplate<Counted*, 16> array;
    array.Add(&object);
    EXPECT_FALSE(array.DeleteOrDestroy(&object));
    array.RemoveLast();
    array.Add(&object);
    array.Empty();
    array.Add(&object);
    array.Resize(0, true);
    array.Add(&object);
    array.Clear();
    array.Add(&object); // and the destructor
  }
  EXPECT_EQ(destroyed, 1);
}

// --- Counts and capacities.

TEST(Array, SetCountGrowsToExactCapacityWithZeroSlots) {
  Things array = ListOf({a});
  EXPECT_TRUE(array.SetCount(9));
  EXPECT_EQ(array.GetCount(), 9);
  EXPECT_EQ(array.GetCapacity(), 9);
  EXPECT_EQ(array[0], a);
  EXPECT_THAT(SlotsFrom(1, array), Each(nullptr));
}

TEST(Array, SetCountShrinksWithoutTouchingTheBlock) {
  Things array;
  array.SetCount(5);
  Thing* const five[] = {a, b, c, d, a};
  for (int i = 0; i < 5; ++i) array.SetAt(i, five[i]);
  const unsigned char* const block = Block(array);
  EXPECT_TRUE(array.SetCount(2));
  EXPECT_EQ(array.GetCount(), 2);
  EXPECT_EQ(array.GetCapacity(), 5);
  EXPECT_EQ(Block(array), block);
  EXPECT_THAT(SlotsFrom(0, array), ElementsAre(a, b, c, d, a));
}

TEST(Array, SetCountToZeroKeepsTheBlock) {
  Things array = FiveSlotsCounting(5);
  EXPECT_TRUE(array.SetCount(0));
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 5);
  EXPECT_THAT(SlotsFrom(0, array), Each(d));
}

TEST(Array, SetCountZeroesOldSlotsWhenItGrowsAgain) {
  Things array = FiveSlotsCounting(2);
  EXPECT_TRUE(array.SetCount(4));
  EXPECT_THAT(Elements(array), ElementsAre(d, d, nullptr, nullptr));
  EXPECT_EQ(array.GetCapacity(), 5);
}

TEST(Array, ResizeToZeroFreesTheBlock) {
  for (const bool exact : {false, true}) {
    Things array = FiveSlotsCounting(5);
    EXPECT_TRUE(array.Resize(0, exact));
    EXPECT_EQ(Block(array), nullptr);
  }
}

TEST(Array, ResizeExactAllocatesExactly) {
  Things array;
  EXPECT_TRUE(array.Resize(11, true));
  EXPECT_EQ(array.GetCount(), 11);
  EXPECT_EQ(array.GetCapacity(), 11);
  EXPECT_THAT(Elements(array), Each(nullptr));
}

TEST(Array, ResizeNotExactAllocatesLikeAdd) {
  Things array;
  EXPECT_TRUE(array.Resize(11, false));
  EXPECT_EQ(array.GetCount(), 11);
  EXPECT_EQ(array.GetCapacity(), static_cast<int>(VArrayHelper::GetNextArraySize(11)));
  EXPECT_THAT(Elements(array), Each(nullptr));
}

TEST(Array, ResizeWithinTheCapacityAllocatesNothing) {
  Things array = FiveSlotsCounting(1);
  const unsigned char* const block = Block(array);
  EXPECT_TRUE(array.Resize(4, true));
  EXPECT_THAT(Elements(array), ElementsAre(d, nullptr, nullptr, nullptr));
  EXPECT_TRUE(array.Resize(2, false));
  EXPECT_THAT(Elements(array), ElementsAre(d, nullptr));
  EXPECT_EQ(array.GetCapacity(), 5);
  EXPECT_EQ(Block(array), block);
}

TEST(Array, ResizeDownLeavesTheDroppedSlotsAsTheyAre) {
  Things array = FiveSlotsCounting(5);
  array.Resize(2, true);
  EXPECT_THAT(SlotsFrom(2, array), ElementsAre(d, d, d));
}

TEST(Array, ReserveChangesOnlyTheCapacity) {
  Things array = ListOf({a, b});
  array.Reserve(20);
  EXPECT_EQ(array.GetCapacity(), 20);
  EXPECT_THAT(Elements(array), ElementsAre(a, b));
  EXPECT_THAT(SlotsFrom(2, array), Each(nullptr));
}

TEST(Array, ReserveOnAnArrayWithoutBlockAllocates) {
  Things array;
  array.Reserve(3);
  EXPECT_EQ(array.GetCount(), 0);
  EXPECT_EQ(array.GetCapacity(), 3);
  EXPECT_THAT(SlotsFrom(0, array), Each(nullptr));
}

TEST(Array, ReserveNeverShrinksAndKeepsTheSlotsWithinTheCapacity) {
  Things array = FiveSlotsCounting(2);
  const unsigned char* const block = Block(array);
  array.Reserve(5);
  array.Reserve(1);
  array.Reserve(-1);
  EXPECT_EQ(Block(array), block);
  EXPECT_EQ(array.GetCapacity(), 5);
  EXPECT_THAT(SlotsFrom(2, array), Each(d));
}

TEST(Array, ReserveThatReallocatesZeroesAllSlotsBeyondTheCount) {
  Things array = FiveSlotsCounting(2);
  array.Reserve(8);
  EXPECT_THAT(SlotsFrom(0, array), ElementsAre(d, d, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
}

TEST(Array, AddingWithinTheReservedCapacityAllocatesNothing) {
  Things array;
  array.Reserve(4);
  const unsigned char* const block = Block(array);
  for (Thing* thing : {a, b, c, d}) array.Add(thing);
  EXPECT_EQ(Block(array), block);
  EXPECT_EQ(array.GetCapacity(), 4);
}

// --- An array of numbers, as characters use it.

TEST(Array, StoresDoubles) {
  VArrayTemplate<double, 16> array;
  EXPECT_EQ(array.InsertAt(0, 2.5), 0);
  EXPECT_EQ(array.InsertAt(0, -0.0), 0);
  EXPECT_EQ(array.InsertAt(9, 1e300), 2);
  VArrayTemplate<double, 16> assigned;
  assigned = array;
  EXPECT_EQ(assigned.RemoveAt(1), 2.5);
  EXPECT_EQ(assigned.GetCount(), 2);
  EXPECT_EQ(assigned[1], 1e300);
  EXPECT_EQ(array.GetCount(), 3);
}

// --- The memory behind it.

TEST(ArrayHelper, NextSizeIsSufficient) {
  for (const std::uint32_t wanted : {1u, 2u, 3u, 4u, 5u, 16u, 17u, 99u, 1000u, 65535u, 65536u, 1431655764u,
                                     1431655765u, 1431655766u, 2147483646u, 2147483647u})
    EXPECT_GE(VArrayHelper::GetNextArraySize(wanted), wanted);
}

TEST(ArrayHelper, NextSizeIsSufficientBeyondTheSignedRange) {
  // No array requests this, but the operation takes and returns unsigned numbers.
  for (const std::uint32_t wanted : {2147483648u, 3000000000u, 4294967295u})
    EXPECT_GE(VArrayHelper::GetNextArraySize(wanted), wanted);
}

TEST(ArrayHelper, NextSizeFitsTheSignedCapacityOfABlock) {
  for (const std::uint32_t wanted : {1431655766u, 2000000000u, 2147483647u})
    EXPECT_LE(VArrayHelper::GetNextArraySize(wanted), 2147483647u);
}

TEST(ArrayHelper, ReallocationKeepsTheContents) {
  void* block = VArrayHelper::VRealloc(nullptr, 32, 16);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0x5a, 32);
  block = VArrayHelper::VRealloc(block, 100000, 16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
  const std::vector<unsigned char> kept(static_cast<unsigned char*>(block),
                                        static_cast<unsigned char*>(block) + 32);
  EXPECT_THAT(kept, Each(0x5a));
  VArrayHelper::VFree(block, 16);
}

TEST(ArrayHelper, ReallocationReturnsNullIfMemoryRunsOut) {
  // A volatile size; otherwise the compiler would warn that it is too large.
  const volatile std::size_t bytes = std::size_t{1} << 60;
  EXPECT_EQ(VArrayHelper::VRealloc(nullptr, bytes, 16), nullptr);
  void* const block = VArrayHelper::VRealloc(nullptr, 32, 16);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(VArrayHelper::VRealloc(block, bytes, 16), nullptr); // and the old block is freed: nobody could
}

// --- Running out of memory. Elements of half a megabyte exhaust the address space long before the count
// overflows.

namespace {

struct Boulder {
  char bytes[512 * 1024];

  /// Reads neither element, so that AddUnique can search slots that do not exist.
  friend bool operator==(const Boulder&, const Boulder&) { return false; }
};

using Boulders = VArrayTemplate<Boulder, 16>;

const Boulder boulder{};

/// This many boulders exceed 128 TiB, the address space of a process.
constexpr int kTooMany = 1 << 28;

/// Writes a false count and capacity to the header of an array's block: no machine
/// can store an array one element below the limit of its memory.
void Claim(Boulders& array, int count) {
  std::memcpy(Block(array), &count, 4);
  std::memcpy(Block(array) + 4, &count, 4);
}

class ArrayOutOfMemory : public testing::Test {
protected:
  static void ExpectWithoutBlockAndUsable(Boulders& array) {
    EXPECT_EQ(Block(array), nullptr);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_EQ(array.GetCapacity(), 0);
    EXPECT_TRUE(array.SetCount(1));
    EXPECT_EQ(array.GetCount(), 1);
  }
};

} // namespace

TEST_F(ArrayOutOfMemory, ResizeReturnsFalseAndLosesTheBlock) {
  for (const bool exact : {false, true}) {
    Boulders array;
    ASSERT_TRUE(array.SetCount(2));
    EXPECT_FALSE(array.Resize(kMaxCount, exact));
    ExpectWithoutBlockAndUsable(array);
  }
}

TEST_F(ArrayOutOfMemory, ResizeOfAnArrayWithoutBlockReturnsFalse) {
  Boulders array;
  EXPECT_FALSE(array.Resize(kMaxCount, true));
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, SetCountReturnsFalseAndLosesTheBlock) {
  Boulders array;
  ASSERT_TRUE(array.SetCount(2));
  EXPECT_FALSE(array.SetCount(kMaxCount));
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, AddMultipleLosesTheBlock) {
  Boulders array;
  ASSERT_TRUE(array.SetCount(2));
  array.AddMultiple(kMaxCount - 2);
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, AddReturnsMinusOneAndLosesTheBlock) {
  Boulders array;
  ASSERT_TRUE(array.SetCount(1));
  Claim(array, kMaxCount - 1);
  EXPECT_EQ(array.Add(boulder), -1);
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, InsertAtReturnsMinusOneAndLosesTheBlock) {
  Boulders array;
  ASSERT_TRUE(array.SetCount(1));
  Claim(array, kMaxCount - 1);
  EXPECT_EQ(array.InsertAt(0, boulder), -1);
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, AddUniqueReturnsMinusOneAndLosesTheBlock) {
  Boulders array;
  ASSERT_TRUE(array.SetCount(1));
  Claim(array, kTooMany);
  EXPECT_EQ(array.AddUnique(boulder), -1);
  ExpectWithoutBlockAndUsable(array);
}

TEST_F(ArrayOutOfMemory, CopiesHaveNoBlock) {
  Boulders source;
  ASSERT_TRUE(source.SetCount(1));
  Claim(source, kTooMany);
  Boulders copy(source);
  ExpectWithoutBlockAndUsable(copy);
  copy = source;
  ExpectWithoutBlockAndUsable(copy);
  Claim(source, 1); // its destructor clears what is counted
}
