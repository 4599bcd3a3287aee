// A character when memory runs out.

#include "mien/character/character_face.h"
#include "tests/character/characters.h"
#include "tests/failing_heap.h"

#include <gtest/gtest.h>

using namespace tests;

namespace {

/// Makes each allocation of `action` fail in turn, and checks that no memory leaks. Returns their number.
template <class Action>
int FailEachAllocation(Action action) {
  for (int failing = 0; failing < 1000; ++failing) {
    const int blocks_before = blocks;
    const bool thrown = RunsOutOfMemory(failing, action);
    EXPECT_EQ(blocks, blocks_before) << "allocation " << failing;
    if (!thrown) return failing;
  }
  ADD_FAILURE() << "there is no end to the allocations";
  return 0;
}

} // namespace

TEST(CharacterOutOfMemory, ConstructionThrowsAndReleasesTheDefineState) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  catalogue.Add();
  EXPECT_GE(FailEachAllocation([] { const VCharacterFace character; }),
            25); // as many templates and expressions
}

TEST(CharacterOutOfMemory, ConstructionOfASetThrowsAndReleasesItsClusters) {
  EXPECT_GE(FailEachAllocation([] { const VCharacterFaceClusterSetState set(5); }), 5);
}

TEST(CharacterOutOfMemory, ExpressionCreateThrowsAndLeavesTheOtherExpressions) {
  VCharacterFace character;
  character.ExpressionCreate();
  const int blocks_before = blocks;
  EXPECT_TRUE(RunsOutOfMemory(0, [&character] { character.ExpressionCreate(); }));
  EXPECT_EQ(blocks, blocks_before);
  EXPECT_EQ(character.mCharacterExpressionCount, 1);
  EXPECT_EQ(character.mCharacterExpressionStates.GetCount(), 1);
  EXPECT_EQ(character.mCharacterExpressionValues.GetCount(), 1);
  EXPECT_TRUE(character.ExpressionDelete(0));
}
