#include "mien/character/character_face.h"

#include "tests/character/characters.h"
#include "tests/character/same_bits.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace tests;

namespace {

template <class Base>
class Recorded : public Base {
public:
  Recorded(std::vector<int>& gone, int number) : Base("Part"), mGone(&gone), mNumber(number) {}
  ~Recorded() override { mGone->push_back(mNumber); }

private:
  std::vector<int>* mGone;
  int mNumber;
};

/// The character does not destroy its own expressions.
void DeleteExpressions(VCharacterFace& character) {
  while (character.mCharacterExpressionCount > 0) character.ExpressionDelete(0);
}

/// Allows both a copy and its source to be destroyed: the source keeps the objects.
void Disown(VCharacterFace& copy) {
  copy.mParts.Clear();
  for (auto& states : copy.mTemplateStates) states.Clear();
  copy.mExpressionStates.Clear();
}

std::string UniqueName(const VCharacterFace& character, const char* base) {
  char name[64];
  EXPECT_TRUE(character.GetUniquePartName(base, name));
  return name;
}

} // namespace

TEST(CharacterFace, StartsWithoutPartsAndOwnExpressions) {
  const VCharacterFace character;
  EXPECT_EQ(character.mParts.GetCount(), 0);
  EXPECT_EQ(character.mCharacterExpressionStates.GetCount(), 0);
  EXPECT_EQ(character.mCharacterExpressionValues.GetCount(), 0);
  EXPECT_EQ(character.mCharacterExpressionCount, 0);
  EXPECT_TRUE(character.mState.IsClear());
  for (const auto& set : character.mState.mClusters) EXPECT_EQ(set.mClusters.GetCount(), 0);
}

TEST(CharacterFace, DestroysItsPartsThroughTheirVirtualDestructorInListOrder) {
  std::vector<int> gone;
  {
    VCharacterFace character;
    character.mParts.Add(new Recorded<VCharacterFacePart>(gone, 1));
    character.mParts.Add(nullptr); // skipped
    character.mParts.Add(new Recorded<VCharacterFacePartCluster>(gone, 2));
    character.mParts.Add(new Recorded<VCharacterFacePart>(gone, 3));
  }
  EXPECT_EQ(gone, (std::vector{1, 2, 3}));
}

// Only ExpressionDelete releases one: a host may still use the states.
TEST(CharacterFace, DestructionDoesNotDeleteTheCharactersExpressions) {
  std::unique_ptr<VCharacterFaceState> expression;
  {
    VCharacterFace character;
    character.ExpressionCreate();
    expression.reset(character.mCharacterExpressionStates[0]);
    expression->mWeights[14][499] = 0.5;
  }
  EXPECT_EQ(expression->mWeights[14][499], 0.5); // under AddressSanitizer: not freed
}

TEST(CharacterFace, CopiesSharePartsAndStatesButNotTheLists) {
  CatalogueOnLoan catalogue;
  catalogue.Add();
  std::vector<int> gone;
  {
    VCharacterFace source;
    source.mParts.Add(new Recorded<VCharacterFacePart>(gone, 1));
    source.ExpressionCreate();
    source.ExpressionCreate();
    source.mCharacterExpressionValues[1] = 0.75;
    source.mState.mWeights[3][4] = 5;

    VCharacterFace copy(source), assigned;
    assigned.ClearDefineState(); // assignment would drop the states without destroying them
    assigned = source;
    for (VCharacterFace* const character : {&copy, &assigned}) {
      ASSERT_EQ(character->mParts.GetCount(), 1);
      EXPECT_EQ(character->mParts[0], source.mParts[0]);
      for (int f = 0; f < 9; ++f) {
        ASSERT_EQ(character->mTemplateStates[f].GetCount(), source.mTemplateStates[f].GetCount());
        for (int t = 0; t < source.mTemplateStates[f].GetCount(); ++t)
          EXPECT_EQ(character->mTemplateStates[f][t], source.mTemplateStates[f][t]);
      }
      ASSERT_EQ(character->mExpressionStates.GetCount(), 1);
      EXPECT_EQ(character->mExpressionStates[0], source.mExpressionStates[0]);
      EXPECT_EQ(character->mCharacterExpressionCount, 2);
      ASSERT_EQ(character->mCharacterExpressionStates.GetCount(), 2);
      EXPECT_EQ(character->mCharacterExpressionStates[0], source.mCharacterExpressionStates[0]);
      EXPECT_EQ(character->mCharacterExpressionStates[1], source.mCharacterExpressionStates[1]);
      ASSERT_EQ(character->mCharacterExpressionValues.GetCount(), 2);
      EXPECT_EQ(character->mCharacterExpressionValues[0], 0);
      EXPECT_EQ(character->mCharacterExpressionValues[1], 0.75);
      EXPECT_EQ(character->mState.mWeights[3][4], 5);
      Disown(*character);
      character->mCharacterExpressionValues[1] = 0;
      character->mState.mWeights[3][4] = 0;
    }
    EXPECT_TRUE(gone.empty());
    EXPECT_EQ(source.mParts.GetCount(), 1);
    EXPECT_EQ(source.mTemplateStates[0].GetCount(), 7);
    EXPECT_EQ(source.mCharacterExpressionValues[1], 0.75);
    EXPECT_EQ(source.mState.mWeights[3][4], 5);
    DeleteExpressions(source);
  }
  EXPECT_EQ(gone, (std::vector{1}));
}

TEST(CharacterFace, AssignmentDropsFormerPartsWithoutDestroyingThem) {
  std::vector<int> gone;
  const auto former = std::make_unique<Recorded<VCharacterFacePart>>(gone, 1);
  VCharacterFace character, empty;
  character.mParts.Add(former.get());
  character.ClearDefineState();
  empty.ClearDefineState();
  character = empty;
  EXPECT_EQ(character.mParts.GetCount(), 0);
  EXPECT_TRUE(gone.empty());
}

TEST(CharacterFace, AssignedToItselfKeepsItsMembers) {
  VCharacterFace character;
  AddPart(character, 2);
  character.mState.mWeights[0][0] = 1;
  VCharacterFace& same = character;
  character = same;
  ASSERT_EQ(character.mParts.GetCount(), 1);
  EXPECT_EQ(character.mParts[0]->mShapes.GetCount(), 2);
  EXPECT_EQ(character.mTemplateStates[0].GetCount(), 7);
  EXPECT_EQ(character.mState.mWeights[0][0], 1);
}

// --- GetPartShapeCount

TEST(PartShapeCount, CountsTheShapesOfAShapePart) {
  VCharacterFace character;
  AddPart(character, 3);
  AddPart(character, 0);
  AddPart(character, 500);
  EXPECT_EQ(character.GetPartShapeCount(0), 3);
  EXPECT_EQ(character.GetPartShapeCount(1), 0);
  EXPECT_EQ(character.GetPartShapeCount(2), 500);
}

TEST(PartShapeCount, CountsThePosesOfAClusterPart) {
  VCharacterFace character;
  VCharacterFacePartCluster& part = AddClusterPart(character, 2, 1);
  part.mShapeClusters.Add(new VCharacterFaceClusterSetState(1));
  EXPECT_EQ(character.GetPartShapeCount(0), 3);
  EXPECT_EQ(part.mShapes.GetCount(), 2);
  AddClusterPart(character, 0, 0);
  AddShapes(*character.mParts[1], 4);
  EXPECT_EQ(character.GetPartShapeCount(1), 0); // four shapes, no pose
}

// The type number counts, not the class.
TEST(PartShapeCount, PartTypeDecides) {
  VCharacterFace character;
  VCharacterFacePartCluster& part = AddClusterPart(character, 2, 1);
  part.mShapeClusters.Add(new VCharacterFaceClusterSetState(1));
  part.mPartType = 0;
  EXPECT_EQ(character.GetPartShapeCount(0), 2);
  for (const int type : {-1, 2, 100}) {
    part.mPartType = type;
    EXPECT_EQ(character.GetPartShapeCount(0), 0) << type;
  }
}

TEST(PartShapeCount, AnInvalidIndexCountsZero) {
  VCharacterFace character;
  for (const int p : {-1, 0, 1}) EXPECT_EQ(character.GetPartShapeCount(p), 0);
  AddPart(character, 3);
  for (const int p : {-1, -1000, 1, 15}) EXPECT_EQ(character.GetPartShapeCount(p), 0) << p;
  delete character.mParts.RemoveLast(); // the list keeps its storage
  EXPECT_EQ(character.GetPartShapeCount(0), 0);
}

// --- GetUniquePartName

TEST(UniquePartName, AFreeNameIsUnchanged) {
  VCharacterFace character;
  EXPECT_EQ(UniqueName(character, "Mouth"), "Mouth");
  AddPart(character, 0, "mouth");
  AddPart(character, 0, "Mouth 1");
  EXPECT_EQ(UniqueName(character, "Jaw"), "Jaw");
  EXPECT_EQ(UniqueName(character, "Mout"), "Mout");
  EXPECT_EQ(UniqueName(character, "Mouth "), "Mouth ");
  EXPECT_EQ(UniqueName(character, ""), "");
}

TEST(UniquePartName, ATakenNameGetsABlankAndTheFirstFreeNumber) {
  VCharacterFace character;
  AddPart(character, 0, "mouth");
  EXPECT_EQ(UniqueName(character, "Mouth"), "Mouth 1");
  AddPart(character, 0, "Mouth 1");
  AddPart(character, 0, "Mouth 4");
  EXPECT_EQ(UniqueName(character, "Mouth"), "Mouth 2");
  EXPECT_EQ(UniqueName(character, "MOUTH"), "MOUTH 2"); // the base keeps its case
  EXPECT_EQ(UniqueName(character, "Mouth 1"), "Mouth 1 1");
  AddClusterPart(character, 0, 0).mName = "MOUTH 2";
  EXPECT_EQ(UniqueName(character, "Mouth"), "Mouth 3");
}

TEST(UniquePartName, NumbersArePlainDecimal) {
  VCharacterFace character;
  AddPart(character, 0, "Brow");
  for (int n = 1; n < 10; ++n) AddPart(character, 0, ("Brow " + std::to_string(n)).c_str());
  EXPECT_EQ(UniqueName(character, "Brow"), "Brow 10");
}

TEST(UniquePartName, OnlyTheCaseOfAsciiIsIgnored) {
  VCharacterFace character;
  AddPart(character, 0, "\xc3\x84uge [Z]"); // an umlaut in UTF-8
  EXPECT_EQ(UniqueName(character, "\xc3\xa4uge [z]"), "\xc3\xa4uge [z]");
  EXPECT_EQ(UniqueName(character, "\xc3\x84UGE [z]"), "\xc3\x84UGE [z] 1");
  EXPECT_EQ(UniqueName(character, "\xc3\x84uge {Z}"), "\xc3\x84uge {Z}"); // 32 apart, and no letters
}

TEST(UniquePartName, LastOfAHundredCandidatesIsStillTried) {
  VCharacterFace character;
  AddPart(character, 0, "Part");
  for (int n = 1; n < 99; ++n) AddPart(character, 0, ("part " + std::to_string(n)).c_str());
  EXPECT_EQ(UniqueName(character, "Part"), "Part 99");
}

TEST(UniquePartName, AHundredTakenCandidatesReturnFalseAndTheLastOne) {
  VCharacterFace character;
  AddPart(character, 0, "Part");
  for (int n = 1; n < 100; ++n) AddPart(character, 0, ("PART " + std::to_string(n)).c_str());
  char name[8]; // just long enough for the longest candidate
  EXPECT_FALSE(character.GetUniquePartName("Part", name));
  EXPECT_STREQ(name, "Part 99");
}

// --- The character's own expressions

TEST(CharacterExpressions, ACreatedOneIsClearAtTheFormerCount) {
  VCharacterFace character;
  for (int k = 0; k < 20; ++k) {
    character.ExpressionCreate();
    ASSERT_EQ(character.mCharacterExpressionCount, k + 1);
    ASSERT_EQ(character.mCharacterExpressionStates.GetCount(), k + 1);
    ASSERT_EQ(character.mCharacterExpressionValues.GetCount(), k + 1);
    EXPECT_TRUE(character.mCharacterExpressionStates[k]->IsClear());
    for (const auto& set : character.mCharacterExpressionStates[k]->mClusters)
      EXPECT_EQ(set.mClusters.GetCount(), 0);
    EXPECT_TRUE(SameBits(character.mCharacterExpressionValues[k], 0.0));
    character.mCharacterExpressionStates[k]->mWeights[0][0] = k + 1;
    character.mCharacterExpressionValues[k] = k + 1;
  }
  for (int k = 0; k < 20; ++k) {
    EXPECT_EQ(character.mCharacterExpressionStates[k]->mWeights[0][0], k + 1);
    EXPECT_EQ(character.mCharacterExpressionValues[k], k + 1);
  }
  DeleteExpressions(character);
}

TEST(CharacterExpressions, DeletingOneRenumbersThoseAfterIt) {
  VCharacterFace character;
  for (int k = 0; k < 3; ++k) {
    character.ExpressionCreate();
    character.mCharacterExpressionValues[k] = 10 * k;
  }
  VCharacterFaceState* const first = character.mCharacterExpressionStates[0];
  VCharacterFaceState* const last = character.mCharacterExpressionStates[2];
  EXPECT_TRUE(character.ExpressionDelete(1));
  EXPECT_EQ(character.mCharacterExpressionCount, 2);
  ASSERT_EQ(character.mCharacterExpressionStates.GetCount(), 2);
  ASSERT_EQ(character.mCharacterExpressionValues.GetCount(), 2);
  EXPECT_EQ(character.mCharacterExpressionStates[0], first);
  EXPECT_EQ(character.mCharacterExpressionStates[1], last);
  EXPECT_EQ(character.mCharacterExpressionValues[0], 0);
  EXPECT_EQ(character.mCharacterExpressionValues[1], 20);
  EXPECT_TRUE(character.ExpressionDelete(0));
  EXPECT_EQ(character.mCharacterExpressionStates[0], last);
  EXPECT_TRUE(character.ExpressionDelete(0));
  EXPECT_EQ(character.mCharacterExpressionCount, 0);
  EXPECT_FALSE(character.ExpressionDelete(0));
}

TEST(CharacterExpressions, DeletingAnInvalidIndexChangesNothing) {
  VCharacterFace character;
  EXPECT_FALSE(character.ExpressionDelete(0));
  character.ExpressionCreate();
  character.ExpressionCreate();
  for (const int index : {-1, -1000, 2, 3}) EXPECT_FALSE(character.ExpressionDelete(index)) << index;
  EXPECT_EQ(character.mCharacterExpressionCount, 2);
  EXPECT_EQ(character.mCharacterExpressionStates.GetCount(), 2);
  EXPECT_EQ(character.mCharacterExpressionValues.GetCount(), 2);
  DeleteExpressions(character);
}

TEST(CharacterExpressions, NullStateIsDeletedToo) {
  VCharacterFace character;
  character.ExpressionCreate();
  delete character.mCharacterExpressionStates[0];
  character.mCharacterExpressionStates[0] = nullptr;
  EXPECT_TRUE(character.ExpressionDelete(0));
  EXPECT_EQ(character.mCharacterExpressionCount, 0);
}
