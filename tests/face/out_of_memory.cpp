// The face when memory runs out.

#include "mien/face/face.h"
#include "tests/failing_heap.h"

#include <gtest/gtest.h>

using tests::blocks, tests::RunsOutOfMemory;

TEST(FaceOutOfMemory, ConstructionThrowsAndReleasesItsMemory) {
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
