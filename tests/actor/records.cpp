#include "mien/actor/actor_face.h"
#include "tests/actor/test_actor.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

using namespace actor_test;

namespace {

/// Counts destructor calls.
class CountedMarker : public VFaceMarker {
public:
  explicit CountedMarker(int& destroyed) : destroyed_(&destroyed) {}
  ~CountedMarker() override { ++*destroyed_; }

private:
  int* destroyed_;
};

VFaceMarkerSetState DistinctMarkerSet() {
  VFaceMarkerSetState set;
  set.mTransform = ScaleAndTranslation(2, 3, 4, 5, 6, 7);
  for (int i = 0; i < 225; ++i) set.mPositions[i] = {1.0 * i, 2.0 * i, 3.0 * i, 4.0 * i};
  set.mRBValid = 1;
  set.mRBTransform = ScaleAndTranslation(8, 9, 10, 11, 12, 13);
  for (int i = 0; i < 5; ++i) set.mRBPositions[i] = {10.0 * i, 20.0 * i, 30.0 * i, 40.0 * i};
  set.mRBPresent[1] = set.mRBPresent[4] = true;
  return set;
}

void ExpectSameMarkerSet(const VFaceMarkerSetState& actual, const VFaceMarkerSetState& expected) {
  EXPECT_EQ(actual.mTransform, expected.mTransform);
  for (int i = 0; i < 225; ++i) EXPECT_EQ(actual.mPositions[i], expected.mPositions[i]) << "slot " << i;
  EXPECT_EQ(actual.mRBValid, expected.mRBValid);
  EXPECT_EQ(actual.mRBTransform, expected.mRBTransform);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(actual.mRBPositions[i], expected.mRBPositions[i]) << "head slot " << i;
    EXPECT_EQ(actual.mRBPresent[i], expected.mRBPresent[i]) << "head slot " << i;
  }
}

/// Allows both a copy and its source to be destroyed: from now on, only the source owns the pointers.
void Disown(VActorFace& copy) {
  copy.mMarkers.Clear();
  copy.mRBMarkers.Clear();
  copy.mRBTPI.Clear();
}

} // namespace

TEST(ActorRecords, OnlyMarkerAndActorFaceArePolymorphic) {
  EXPECT_TRUE(std::has_virtual_destructor_v<VFaceMarker>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VActorFace>);
  EXPECT_FALSE(std::is_polymorphic_v<VFaceMarkerSetState>);
  EXPECT_FALSE(std::is_polymorphic_v<VActorFacePartMarker>);
  EXPECT_FALSE(std::is_polymorphic_v<VActorFacePart>);
}

// --- VFaceMarker

TEST(FaceMarker, StartsWithEmptyNameAndSlotZero) {
  // In memory that is not zero, so that an uninitialised field is detected.
  alignas(VFaceMarker) unsigned char memory[sizeof(VFaceMarker)];
  std::memset(memory, 0xa5, sizeof memory);
  auto* const marker = new (memory) VFaceMarker();
  for (const char c : marker->mName) EXPECT_EQ(c, '\0');
  EXPECT_EQ(marker->mIndex, 0);
  marker->~VFaceMarker();
}

TEST(FaceMarker, CopiesAllNameBytesAndTheSlot) {
  VFaceMarker source;
  for (int i = 0; i < 256; ++i)
    source.mName[i] = static_cast<char>(i % 128); // including bytes after the first NUL
  source.mIndex = 224;

  const VFaceMarker copy(source);
  EXPECT_EQ(std::memcmp(copy.mName, source.mName, sizeof source.mName), 0);
  EXPECT_EQ(copy.mIndex, 224);

  VFaceMarker assigned;
  assigned = source;
  EXPECT_EQ(std::memcmp(assigned.mName, source.mName, sizeof source.mName), 0);
  EXPECT_EQ(assigned.mIndex, 224);
}

// --- VFaceMarkerSetState

TEST(MarkerSetState, StartsInvalidAtTheOriginWithoutHeadMarkers) {
  const VFaceMarkerSetState set;
  EXPECT_EQ(set.mRBValid, 0);
  EXPECT_EQ(set.mTransform, VgeAMatrix());
  EXPECT_EQ(set.mRBTransform, VgeAMatrix());
  for (const VgeTVector& position : set.mPositions) EXPECT_TRUE(IsPoint(position, {0, 0, 0}));
  for (const VgeTVector& position : set.mRBPositions) EXPECT_TRUE(IsPoint(position, {0, 0, 0}));
  for (const bool present : set.mRBPresent) EXPECT_FALSE(present);
}

TEST(MarkerSetState, HasTwoHundredTwentyFiveMarkersAndFiveHeadMarkers) {
  EXPECT_EQ(std::extent_v<decltype(VFaceMarkerSetState::mPositions)>, 225U);
  EXPECT_EQ(std::extent_v<decltype(VFaceMarkerSetState::mRBPositions)>, 5U);
  EXPECT_EQ(std::extent_v<decltype(VFaceMarkerSetState::mRBPresent)>, 5U);
}

TEST(MarkerSetState, CopiesAndMovesMemberByMember) {
  const VFaceMarkerSetState source = DistinctMarkerSet();
  ExpectSameMarkerSet(VFaceMarkerSetState(source), DistinctMarkerSet());

  VFaceMarkerSetState assigned;
  assigned = source;
  ExpectSameMarkerSet(assigned, DistinctMarkerSet());

  VFaceMarkerSetState moved(std::move(assigned));
  ExpectSameMarkerSet(moved, DistinctMarkerSet());

  VFaceMarkerSetState move_assigned;
  move_assigned = std::move(moved);
  ExpectSameMarkerSet(move_assigned, DistinctMarkerSet());
}

// --- VActorFacePartMarker

TEST(ActorFacePartMarker, StartsWithoutMarkerAndWithoutInfluence) {
  const VActorFacePartMarker entry;
  EXPECT_EQ(entry.mId, -1);
  EXPECT_EQ(entry.mMarker, nullptr);
  for (const double weight : entry.mWeights) EXPECT_EQ(weight, 0.0);
}

TEST(ActorFacePartMarker, AssignmentsCopyAllFields) {
  VFaceMarker marker;
  VActorFacePartMarker source;
  source.mId = 12;
  source.mMarker = &marker;
  for (int j = 0; j < 7; ++j) source.mWeights[j] = 0.125 * (j + 1);

  VActorFacePartMarker copied, moved;
  copied = source;
  moved = std::move(source);
  for (const VActorFacePartMarker* const entry : {&copied, &moved}) {
    EXPECT_EQ(entry->mId, 12);
    EXPECT_EQ(entry->mMarker, &marker);
    for (int j = 0; j < 7; ++j) EXPECT_EQ(entry->mWeights[j], 0.125 * (j + 1));
  }
}

// --- VActorFacePart

TEST(ActorFacePart, StartsWithIdentityAndWithoutMarkers) {
  const VActorFacePart part;
  EXPECT_EQ(part.mMatrix, VgeAMatrix());
  ExpectSameMarkerSet(part.mMarkerSet, VFaceMarkerSetState());
  EXPECT_EQ(part.GetMarkerCount(), 0);
}

TEST(ActorFacePart, MarkerCountAddsAllFiveGroups) {
  VActorFacePart part;
  VActorFacePartMarker entry;
  int expected = 0;
  for (int group = 0; group < 5; ++group)
    for (int i = 0; i <= group; ++i) {
      part.mGroups[group].Add(&entry);
      EXPECT_EQ(part.GetMarkerCount(), ++expected);
    }
  EXPECT_EQ(expected, 15);
}

TEST(ActorFacePart, MarkerCountOfEmptiedGroupsIsZero) {
  VActorFacePart part;
  VActorFacePartMarker entry;
  part.mGroups[2].Add(&entry);
  part.mGroups[2].Empty(); // the array keeps its block
  EXPECT_EQ(part.GetMarkerCount(), 0);
}

TEST(ActorFacePart, CopiesShareEntriesButNotLists) {
  VActorFacePartMarker first, second;
  VActorFacePart source;
  source.mMatrix = ScaleAndTranslation(1, 2, 3, 4, 5, 6);
  source.mMarkerSet = DistinctMarkerSet();
  source.mGroups[0].Add(&first);
  source.mGroups[4].Add(&second);
  source.mGroups[4].Add(&first);

  VActorFacePart copy(source);
  VActorFacePart assigned;
  assigned.mGroups[1].Add(&second); // lost by the assignment
  assigned = source;
  for (VActorFacePart* const part : {&copy, &assigned}) {
    EXPECT_EQ(part->mMatrix, source.mMatrix);
    ExpectSameMarkerSet(part->mMarkerSet, source.mMarkerSet);
    EXPECT_EQ(part->GetMarkerCount(), 3);
    ASSERT_EQ(part->mGroups[0].GetCount(), 1);
    EXPECT_EQ(part->mGroups[0][0], &first);
    EXPECT_EQ(part->mGroups[1].GetCount(), 0);
    ASSERT_EQ(part->mGroups[4].GetCount(), 2);
    EXPECT_EQ(part->mGroups[4][0], &second);
    EXPECT_EQ(part->mGroups[4][1], &first);
    part->mGroups[0].Add(&second);
  }
  EXPECT_EQ(source.mGroups[0].GetCount(), 1);
}

TEST(ActorFacePart, AssignedToItselfKeepsItsGroups) {
  VActorFacePartMarker entry;
  VActorFacePart part;
  part.mGroups[3].Add(&entry);
  VActorFacePart& same = part;
  part = same;
  ASSERT_EQ(part.mGroups[3].GetCount(), 1);
  EXPECT_EQ(part.mGroups[3][0], &entry);
}

TEST(ActorFacePart, DestructionDoesNotDeleteTheEntries) {
  const auto entry = std::make_unique<VActorFacePartMarker>();
  {
    VActorFacePart part;
    part.mGroups[0].Add(entry.get());
  }
  EXPECT_EQ(entry->mId, -1); // under AddressSanitizer: not freed
}

// --- VActorFace

TEST(ActorFace, StartsWithoutMarkersAndWithDefaultVolumes) {
  const VActorFace actor;
  EXPECT_EQ(actor.mState, -1);
  EXPECT_EQ(actor.mMarkers.GetCount(), 0);
  EXPECT_EQ(actor.mRBMarkers.GetCount(), 0);
  EXPECT_EQ(actor.mRBTPI.GetCount(), 0);
  for (const VActorFacePart& part : actor.mParts) {
    EXPECT_EQ(part.GetMarkerCount(), 0);
    EXPECT_EQ(part.mMatrix, VgeAMatrix());
    EXPECT_FALSE(part.mMarkerSet.mTransform ==
                 VgeAMatrix()); // the volumes are set already; their values: volumes.cpp
  }
  ExpectSameMarkerSet(actor.mSetupState, VFaceMarkerSetState());
  ExpectSameMarkerSet(actor.mSetupState2, VFaceMarkerSetState());
  EXPECT_EQ(actor.mExpressionState.mIndex, -1);
  EXPECT_EQ(actor.mTemplateState.mIndex, -1);
  EXPECT_FALSE(actor.mTemplateState.IsDefined());
  EXPECT_FALSE(actor.mFaceState.mValid);
  for (const VFaceTemplateState& state : actor.mTemplateStates) EXPECT_FALSE(state.IsDefined());
  for (const VFaceState& state : actor.mFaceStates) EXPECT_FALSE(state.mValid);
}

TEST(ActorFace, DestroysItsMarkersThroughTheirVirtualDestructor) {
  int destroyed = 0;
  {
    VActorFace actor;
    actor.mMarkers.Add(new CountedMarker(destroyed));
    actor.mMarkers.Add(new CountedMarker(destroyed));
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(ActorFace, DestructionSkipsNullMarkers) {
  int destroyed = 0;
  {
    VActorFace actor;
    actor.mMarkers.Add(nullptr);
    actor.mMarkers.Add(new CountedMarker(destroyed));
    actor.mMarkers.Add(nullptr);
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(ActorFace, DestructionFreesHeadRecordsOfTheCHeap) {
  // A caller may store and restore the records itself: they are blocks of the C heap. AddressSanitizer
  // reports leaks and blocks that are freed by another allocator.
  VActorFace actor;
  actor.mRBMarkers.Add(new (std::malloc(sizeof(VActorFaceRBMarker))) VActorFaceRBMarker());
  actor.mRBTPI.Add(new (std::malloc(sizeof(VActorFaceRBTriangle))) VActorFaceRBTriangle());
  EXPECT_EQ(actor.mRBMarkers.GetCount(), 1);
  EXPECT_EQ(actor.mRBTPI.GetCount(), 1);
}

TEST(ActorFace, DestructionDoesNotDeleteGroupEntries) {
  const auto entry = std::make_unique<VActorFacePartMarker>();
  {
    VActorFace actor;
    actor.mMarkers.Add(new VFaceMarker);
    entry->mMarker = actor.mMarkers[0];
    actor.mParts[Mouth].mGroups[1].Add(entry.get());
  }
  EXPECT_EQ(entry->mId, -1); // under AddressSanitizer: not freed
}

// Copies share on purpose, and the caller decides which one is the owner: a deep copy would duplicate markers
// to which the caller has pointers.
TEST(ActorFace, CopiesShareMarkersGroupEntriesAndHeadRecords) {
  int destroyed = 0;
  VActorFacePartMarker entry;
  {
    VActorFace source;
    source.mState = 5;
    source.mMarkers.Add(new CountedMarker(destroyed));
    entry.mMarker = source.mMarkers[0];
    source.mParts[LeftEye].mGroups[1].Add(&entry);
    source.mParts[LeftEye].mMatrix = ScaleAndTranslation(1, 2, 3, 4, 5, 6);
    source.mParts[RightEye].mMarkerSet = DistinctMarkerSet();
    source.mSetupState = DistinctMarkerSet();
    source.mSetupState2.mRBValid = 1;
    source.mExpressionState.mIndex = 6;
    source.mExpressionState.mWeights[99] = 0.5;
    source.mTemplateStates[1].mIndex = 7;
    source.mTemplateStates[2].mParts[8].mWeights[24] = 0.25;
    source.mFaceStates[2].mValid = true;
    source.mFaceStates[0].mParts[3].mPoints[6] = {1, 2, 3, 4};
    source.mTemplateState.mIndex = 8;
    source.mFaceState.mGlobal = ScaleAndTranslation(6, 5, 4, 3, 2, 1);
    source.mRBMarkers.Add(new (std::malloc(sizeof(VActorFaceRBMarker))) VActorFaceRBMarker());
    source.mRBTPI.Add(new (std::malloc(sizeof(VActorFaceRBTriangle))) VActorFaceRBTriangle());

    VActorFace copy(source);
    VActorFace assigned;
    assigned = source;
    for (VActorFace* const actor : {&copy, &assigned}) {
      EXPECT_EQ(actor->mState, 5);
      ASSERT_EQ(actor->mMarkers.GetCount(), 1);
      EXPECT_EQ(actor->mMarkers[0], source.mMarkers[0]);
      ASSERT_EQ(actor->mParts[LeftEye].mGroups[1].GetCount(), 1);
      EXPECT_EQ(actor->mParts[LeftEye].mGroups[1][0], &entry);
      EXPECT_EQ(actor->mParts[LeftEye].mMatrix, source.mParts[LeftEye].mMatrix);
      ExpectSameMarkerSet(actor->mParts[RightEye].mMarkerSet, DistinctMarkerSet());
      ExpectSameMarkerSet(actor->mSetupState, DistinctMarkerSet());
      EXPECT_EQ(actor->mSetupState2.mRBValid, 1);
      EXPECT_EQ(actor->mExpressionState.mIndex, 6);
      EXPECT_EQ(actor->mExpressionState.mWeights[99], 0.5);
      EXPECT_EQ(actor->mTemplateStates[1].mIndex, 7);
      EXPECT_EQ(actor->mTemplateStates[2].mParts[8].mWeights[24], 0.25);
      EXPECT_TRUE(actor->mFaceStates[2].mValid);
      EXPECT_EQ(actor->mFaceStates[0].mParts[3].mPoints[6], (VgeTVector{1, 2, 3, 4}));
      EXPECT_EQ(actor->mTemplateState.mIndex, 8);
      EXPECT_EQ(actor->mFaceState.mGlobal, source.mFaceState.mGlobal);
      ASSERT_EQ(actor->mRBMarkers.GetCount(), 1);
      EXPECT_EQ(actor->mRBMarkers[0], source.mRBMarkers[0]);
      ASSERT_EQ(actor->mRBTPI.GetCount(), 1);
      EXPECT_EQ(actor->mRBTPI[0], source.mRBTPI[0]);
      Disown(*actor);
      EXPECT_EQ(source.mMarkers.GetCount(), 1);
    }
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(ActorFace, AssignmentForgetsTheFormerMarkersWithoutDestroyingThem) {
  int destroyed = 0;
  const auto former = std::make_unique<CountedMarker>(destroyed);
  VActorFace actor;
  actor.mMarkers.Add(former.get());
  actor = VActorFace();
  EXPECT_EQ(actor.mMarkers.GetCount(), 0);
  EXPECT_EQ(destroyed, 0);
}

TEST(ActorFace, DestroyedThroughItsBaseFreesTheMembersOfADerivedActor) {
  struct Derived : VActorFace {
    explicit Derived(int& count) : marker(count) {}
    CountedMarker marker;
  };
  int destroyed = 0;
  std::unique_ptr<VActorFace> actor = std::make_unique<Derived>(destroyed);
  EXPECT_EQ(destroyed, 0);
  actor.reset();
  EXPECT_EQ(destroyed, 1);
}
