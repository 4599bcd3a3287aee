// What the face does where memory runs out. This executable's operator new, which the library uses too, fails
// when a test asks it to.

#include "mien/face/face.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

int blocks = 0;          // allocated and not yet freed
int grants_left = -1;    // until an allocation fails; negative: none does
bool has_failed = false; // and only one does

} // namespace

void* operator new(std::size_t bytes) {
  if (grants_left == 0 && !has_failed) {
    has_failed = true;
    throw std::bad_alloc();
  }
  if (grants_left > 0) --grants_left;
  void* const block = std::malloc(bytes);
  if (!block) throw std::bad_alloc();
  ++blocks;
  return block;
}

void operator delete(void* block) noexcept {
  if (block) --blocks;
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace {

/// Whether `action` ends in an out-of-memory exception if its allocation number `failing` (from 0) fails.
template <class Action>
bool RunsOutOfMemory(int failing, Action action) {
  grants_left = failing;
  has_failed = false;
  bool thrown = false;
  try {
    action();
  } catch (const std::bad_alloc&) { thrown = true; }
  grants_left = -1;
  return thrown;
}

} // namespace

TEST(FaceOutOfMemory, ConstructionThrowsAndReleasesWhatItHas) {
  int failing = 0;
  for (;; ++failing) {
    ASSERT_LT(failing, 1000);
    const int blocks_before = blocks;
    const bool thrown = RunsOutOfMemory(failing, [] { const VFace face; });
    EXPECT_EQ(blocks, blocks_before) << "allocation " << failing;
    if (!thrown) break;
  }
  EXPECT_GE(failing, 23); // there are as many templates
}

TEST(FaceOutOfMemory, DestructionReleasesTemplatesAndExpressions) {
  const int blocks_before = blocks;
  {
    VFace face;
    for (int k = 0; k < 10; ++k) face.CreateExpression("Smile");
    EXPECT_GE(blocks, blocks_before + 33);
  }
  EXPECT_EQ(blocks, blocks_before);
}

TEST(FaceOutOfMemory, CreateExpressionThrowsAndLeavesTheCatalogue) {
  VFace face;
  ASSERT_EQ(face.CreateExpression("Smile"), 0);
  const int blocks_before = blocks;
  EXPECT_TRUE(RunsOutOfMemory(0, [&face] { face.CreateExpression("Smile"); }));
  EXPECT_EQ(blocks, blocks_before);
  EXPECT_EQ(face.mExpressions.GetCount(), 1);
  EXPECT_EQ(face.CreateExpression("Smile"), 1);
  EXPECT_STREQ(face.mExpressions[1]->mName, "Smile1");
}
