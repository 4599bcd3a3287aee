#include "mien/character/part.h"
#include "mien/character/shape.h"
#include "tests/character/characters.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace tests;

namespace {

/// Objects of a part record the order of their destruction.
template <class Base>
class Recorded : public Base {
public:
  template <class... Arguments>
  Recorded(std::vector<int>& gone, int number, Arguments... arguments)
      : Base(arguments...), mGone(&gone), mNumber(number) {}
  ~Recorded() override { mGone->push_back(mNumber); }

private:
  std::vector<int>* mGone;
  int mNumber;
};

using RecordedShape = Recorded<VCharacterFaceShape>;
using RecordedSet = Recorded<VCharacterFaceClusterSetState>;
using RecordedCluster = Recorded<VCharacterFaceClusterState>;

/// Allows both a copy and its source to be destroyed: the source keeps the objects.
void Disown(VCharacterFacePart& copy) { copy.mShapes.Clear(); }
void Disown(VCharacterFacePartCluster& copy) {
  copy.mShapes.Clear();
  copy.mShapeClusters.Clear();
  copy.mRestClusters.mClusters.Clear();
}

} // namespace

TEST(CharacterRecords, OnlyTheStateOfWeightsIsNotPolymorphic) {
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFace>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFacePart>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFacePartCluster>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFaceShape>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFaceClusterState>);
  EXPECT_TRUE(std::has_virtual_destructor_v<VCharacterFaceClusterSetState>);
  EXPECT_FALSE(std::is_polymorphic_v<VCharacterFaceState>);
}

// --- VCharacterFaceShape

TEST(CharacterFaceShape, StartsWithoutLabelAndDrivesNoClusters) {
  // In memory that is not zero, so that an uninitialised field is detected.
  alignas(VCharacterFaceShape) unsigned char memory[sizeof(VCharacterFaceShape)];
  std::memset(memory, 0xa5, sizeof memory);
  auto* const shape = new (memory) VCharacterFaceShape();
  for (const char c : shape->mLabel) EXPECT_EQ(c, '\0');
  EXPECT_EQ(shape->mUserValue, 1);
  EXPECT_FALSE(shape->mDrivesClusters);
  shape->~VCharacterFaceShape();
}

TEST(CharacterFaceShape, CopiesAllLabelBytesAndBothFields) {
  VCharacterFaceShape source;
  for (int i = 0; i < 256; ++i)
    source.mLabel[i] = static_cast<char>(i % 128); // including bytes after the first NUL
  source.mUserValue = -7;
  source.mDrivesClusters = true;

  const VCharacterFaceShape copy(source);
  VCharacterFaceShape assigned;
  assigned = source;
  for (const VCharacterFaceShape* const shape : {&copy, static_cast<const VCharacterFaceShape*>(&assigned)}) {
    EXPECT_EQ(std::memcmp(shape->mLabel, source.mLabel, sizeof source.mLabel), 0);
    EXPECT_EQ(shape->mUserValue, -7);
    EXPECT_TRUE(shape->mDrivesClusters);
  }
}

TEST(CharacterFaceShape, GetLabelReturnsTheMember) {
  VCharacterFaceShape shape;
  EXPECT_STREQ(shape.GetLabel(), "");
  shape.SetLabel("jawOpen");
  EXPECT_STREQ(shape.GetLabel(), "jawOpen");
  EXPECT_EQ(shape.GetLabel(), shape.mLabel);
  shape.SetLabel("jaw");
  EXPECT_STREQ(shape.GetLabel(), "jaw");
  shape.SetLabel("");
  EXPECT_STREQ(shape.GetLabel(), "");
}

TEST(CharacterFaceShape, LabelOfUpTo255BytesIsAccepted) {
  const std::string longest(255, 'x');
  VCharacterFaceShape shape;
  shape.SetLabel(longest.c_str());
  EXPECT_EQ(shape.GetLabel(), longest);
}

// A label that is cut short could equal the label of another shape.
TEST(CharacterFaceShape, LongerLabelIsRejectedAndNotCutShort) {
  VCharacterFaceShape shape;
  shape.SetLabel("jawOpen");
  for (const std::size_t length : {std::size_t{256}, std::size_t{257}, std::size_t{1000}}) {
    shape.SetLabel(std::string(length, 'x').c_str());
    EXPECT_STREQ(shape.GetLabel(), "jawOpen");
  }
}

TEST(CharacterFaceShape, DerivedShapeMayStoreItsLabelElsewhere) {
  class Linked : public VCharacterFaceShape {
  public:
    void SetLabel(const char* text) override { mText = text; }
    const char* GetLabel() const override { return mText.c_str(); }
    std::string mText;
  };
  Linked linked;
  VCharacterFaceShape& shape = linked;
  shape.SetLabel("jawOpen");
  EXPECT_EQ(linked.mText, "jawOpen");
  EXPECT_STREQ(shape.GetLabel(), "jawOpen");
  EXPECT_STREQ(shape.mLabel, "");
}

// --- VCharacterFacePart

TEST(CharacterFacePart, StartsWithItsNameAndWithoutShapes) {
  const VCharacterFacePart part("Head");
  EXPECT_EQ(part.mName, "Head");
  EXPECT_EQ(part.mShapes.GetCount(), 0);
  EXPECT_EQ(part.mPartType, 0);
}

TEST(CharacterFacePart, DestroysItsShapesFromTheFirstToTheLast) {
  std::vector<int> gone;
  {
    VCharacterFacePart part("Head");
    part.mShapes.Add(new RecordedShape(gone, 1));
    part.mShapes.Add(nullptr); // skipped
    part.mShapes.Add(new RecordedShape(gone, 2));
    part.mShapes.Add(new RecordedShape(gone, 3));
  }
  EXPECT_EQ(gone, (std::vector{1, 2, 3}));
}

// Copies share on purpose: the caller decides which one is the owner.
TEST(CharacterFacePart, CopiesShareTheShapesButNotTheList) {
  std::vector<int> gone;
  {
    VCharacterFacePart source("Head");
    source.mPartType = 5;
    source.mShapes.Add(new RecordedShape(gone, 1));
    source.mShapes.Add(new RecordedShape(gone, 2));

    VCharacterFacePart copy(source), assigned("Other");
    assigned = source;
    for (VCharacterFacePart* const part : {&copy, &assigned}) {
      EXPECT_EQ(part->mName, "Head");
      EXPECT_EQ(part->mPartType, 5);
      ASSERT_EQ(part->mShapes.GetCount(), 2);
      EXPECT_EQ(part->mShapes[0], source.mShapes[0]);
      EXPECT_EQ(part->mShapes[1], source.mShapes[1]);
      Disown(*part);
      EXPECT_EQ(source.mShapes.GetCount(), 2);
    }
    EXPECT_TRUE(gone.empty());
  }
  EXPECT_EQ(gone, (std::vector{1, 2}));
}

TEST(CharacterFacePart, AssignmentDropsTheFormerShapesWithoutDestroyingThem) {
  std::vector<int> gone;
  const auto former = std::make_unique<RecordedShape>(gone, 1);
  VCharacterFacePart part("Head");
  part.mShapes.Add(former.get());
  part = VCharacterFacePart("Body");
  EXPECT_EQ(part.mName, "Body");
  EXPECT_EQ(part.mShapes.GetCount(), 0);
  EXPECT_TRUE(gone.empty());
}

TEST(CharacterFacePart, AssignedToItselfKeepsItsMembers) {
  VCharacterFacePart part("Head");
  AddShapes(part, 2);
  VCharacterFacePart& same = part;
  part = same;
  EXPECT_EQ(part.mName, "Head");
  EXPECT_EQ(part.mShapes.GetCount(), 2);
}

// --- VCharacterFacePartCluster

TEST(CharacterFacePartCluster, StartsWithoutPosesAndNotSolved) {
  const VCharacterFacePartCluster part("Jaw");
  EXPECT_EQ(part.mName, "Jaw");
  EXPECT_EQ(part.mPartType, 1);
  EXPECT_EQ(part.mShapes.GetCount(), 0);
  EXPECT_FALSE(part.mClusterSolveEnabled);
  EXPECT_EQ(part.mRestClusters.mClusters.GetCount(), 0);
  EXPECT_EQ(part.mShapeClusters.GetCount(), 0);
}

TEST(CharacterFacePartCluster, DestroysShapePosesBackwardThenTheRestPoseThenTheShapes) {
  std::vector<int> gone;
  std::unique_ptr<VCharacterFacePart> destroyed_through_its_base;
  {
    auto part = std::make_unique<VCharacterFacePartCluster>("Jaw");
    part->mShapes.Add(new RecordedShape(gone, 1));
    part->mShapes.Add(new RecordedShape(gone, 2));
    part->mShapeClusters.Add(new RecordedSet(gone, 11));
    part->mShapeClusters.Add(nullptr); // skipped
    part->mShapeClusters.Add(new RecordedSet(gone, 12));
    part->mShapeClusters.Add(new RecordedSet(gone, 13));
    part->mRestClusters.mClusters.Add(new RecordedCluster(gone, 21));
    destroyed_through_its_base = std::move(part);
  }
  destroyed_through_its_base.reset();
  EXPECT_EQ(gone, (std::vector{13, 12, 11, 21, 1, 2}));
}

TEST(CharacterFacePartCluster, CopiesShareShapesAndPoses) {
  std::vector<int> gone;
  {
    VCharacterFacePartCluster source("Jaw");
    source.mPartType = 5;
    source.mClusterSolveEnabled = true;
    source.mShapes.Add(new RecordedShape(gone, 1));
    source.mShapeClusters.Add(new RecordedSet(gone, 11));
    source.mRestClusters.mClusters.Add(new RecordedCluster(gone, 21));
    source.mRestClusters.mRoot.mGlobalT = {1, 2, 3, 4};

    VCharacterFacePartCluster copy(source), assigned("Other");
    assigned = source;
    EXPECT_EQ(copy.mRestClusters.mRoot.mGlobalT, (VgeTVector{1, 2, 3, 1}));
    EXPECT_EQ(assigned.mRestClusters.mRoot.mGlobalT, (VgeTVector{1, 2, 3, 4}));
    for (VCharacterFacePartCluster* const part : {&copy, &assigned}) {
      EXPECT_EQ(part->mName, "Jaw");
      EXPECT_EQ(part->mPartType, 5);
      EXPECT_TRUE(part->mClusterSolveEnabled);
      ASSERT_EQ(part->mShapes.GetCount(), 1);
      EXPECT_EQ(part->mShapes[0], source.mShapes[0]);
      ASSERT_EQ(part->mShapeClusters.GetCount(), 1);
      EXPECT_EQ(part->mShapeClusters[0], source.mShapeClusters[0]);
      ASSERT_EQ(part->mRestClusters.mClusters.GetCount(), 1);
      EXPECT_EQ(part->mRestClusters.mClusters[0], source.mRestClusters.mClusters[0]);
      Disown(*part);
    }
    EXPECT_TRUE(gone.empty());
  }
  EXPECT_EQ(gone, (std::vector{11, 21, 1}));
}

TEST(CharacterFacePartCluster, AssignmentDropsFormerPosesWithoutDestroyingThem) {
  std::vector<int> gone;
  const auto pose = std::make_unique<RecordedSet>(gone, 1);
  const auto rest = std::make_unique<RecordedCluster>(gone, 2);
  VCharacterFacePartCluster part("Jaw");
  part.mShapeClusters.Add(pose.get());
  part.mRestClusters.mClusters.Add(rest.get());
  part = VCharacterFacePartCluster("Tongue");
  EXPECT_EQ(part.mShapeClusters.GetCount(), 0);
  EXPECT_EQ(part.mRestClusters.mClusters.GetCount(), 0);
  EXPECT_TRUE(gone.empty());
}
