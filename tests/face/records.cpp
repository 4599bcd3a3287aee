#include "mien/face/expression.h"
#include "mien/face/face.h"
#include "mien/face/part.h"
#include "mien/face/part_template.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

// Derived classes rely on the virtual destructors; the templates of a part are plain data.
static_assert(std::has_virtual_destructor_v<VFace>);
static_assert(std::has_virtual_destructor_v<VFacePart>);
static_assert(std::has_virtual_destructor_v<VFaceExpression>);
static_assert(!std::is_polymorphic_v<VFacePartTemplate>);

namespace {

VgeTVector Point(double x, double y, double z, double w) {
  VgeTVector p;
  p.x = x, p.y = y, p.z = z, p.w = w;
  return p;
}

/// No field has its default value.
void FillFields(VFacePart& part) {
  std::strcpy(part.mName, "Ear");
  std::strcpy(part.mTitle, "Ear ( Relax )");
  for (int i = 0; i < 7; ++i) part.mDefaultPoints[i] = Point(i, 10 * i, 100 * i, -i);
  part.mCenter = Point(1, 2, 3, 4);
  part.mScale = VgeSVector(5, 6, 7);
  part.mPointCount = 6;
  part.mHolderCount = 4;
  for (auto& name : part.mPointNames) std::strcpy(name, "point");
  for (auto& name : part.mHolderNames) std::strcpy(name, "holder");
  std::strcpy(part.mPointNames[6], "last point");
  std::strcpy(part.mHolderNames[4], "last holder");
}

void ExpectFilledFields(const VFacePart& part) {
  EXPECT_STREQ(part.mName, "Ear");
  EXPECT_STREQ(part.mTitle, "Ear ( Relax )");
  for (int i = 0; i < 7; ++i)
    EXPECT_EQ(part.mDefaultPoints[i], Point(i, 10 * i, 100 * i, -i)) << "slot " << i;
  EXPECT_EQ(part.mCenter, Point(1, 2, 3, 4));
  EXPECT_EQ(part.mScale, VgeSVector(5, 6, 7));
  EXPECT_EQ(part.mPointCount, 6);
  EXPECT_EQ(part.mHolderCount, 4);
  EXPECT_STREQ(part.mPointNames[0], "point");
  EXPECT_STREQ(part.mPointNames[6], "last point");
  EXPECT_STREQ(part.mHolderNames[0], "holder");
  EXPECT_STREQ(part.mHolderNames[4], "last holder");
}

} // namespace

// --- Templates.

TEST(PartTemplate, ReturnsTheTextsThatItWasGiven) {
  const char name[] = "Open", title[] = "Wide Open";
  const VFacePartTemplate record(name, title);
  EXPECT_EQ(record.GetName(), name);
  EXPECT_EQ(record.GetTitle(), title);
  EXPECT_EQ(record.mName, name);
  EXPECT_EQ(record.mTitle, title);
}

TEST(PartTemplate, StartsWithDefaultPoints) {
  const VFacePartTemplate record("Open", "Open");
  for (const VgeTVector& point : record.mPoints) EXPECT_EQ(point, VgeTVector());
}

TEST(PartTemplate, CopiesShareTheTextsAndHaveTheirOwnPoints) {
  const char name[] = "Open", title[] = "Wide Open";
  VFacePartTemplate source(name, title);
  for (int i = 0; i < 7; ++i) source.mPoints[i] = Point(i, 2 * i, 3 * i, 4 * i);
  const VFacePartTemplate copied(source), moved(std::move(source));
  VFacePartTemplate copy_assigned("", ""), move_assigned("", ""), temporary(copied);
  copy_assigned = copied;
  move_assigned = std::move(temporary);
  for (const VFacePartTemplate* record :
       {&copied, &moved, &std::as_const(copy_assigned), &std::as_const(move_assigned)}) {
    EXPECT_EQ(record->GetName(), name);
    EXPECT_EQ(record->GetTitle(), title);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(record->mPoints[i], Point(i, 2 * i, 3 * i, 4 * i)) << "slot " << i;
  }
}

// --- Parts.

TEST(Part, StartsEmptyAtTheOriginInUnitScale) {
  const VFacePart part;
  EXPECT_STREQ(part.mName, "");
  EXPECT_STREQ(part.mTitle, "");
  EXPECT_EQ(part.mCenter, Point(0, 0, 0, 1));
  EXPECT_EQ(part.mScale, VgeSVector(1, 1, 1));
  for (const VgeTVector& point : part.mDefaultPoints) EXPECT_EQ(point, VgeTVector());
  EXPECT_EQ(part.mTemplates.GetCount(), 0);
  EXPECT_EQ(part.mTemplates.GetCapacity(), 0);
}

TEST(Part, StartsWithoutPointsAndHolders) {
  // So that lookups in an empty part find nothing.
  const VFacePart part;
  EXPECT_EQ(part.mPointCount, 0);
  EXPECT_EQ(part.mHolderCount, 0);
  EXPECT_EQ(part.PointIndexByName(""), -1);
  EXPECT_EQ(part.HolderIndexByName(""), -1);
}

TEST(Part, CopiesHaveEveryField) {
  VFacePart source;
  FillFields(source);
  const VFacePart copied(source);
  VFacePart assigned;
  EXPECT_EQ(&(assigned = source), &assigned);
  ExpectFilledFields(copied);
  ExpectFilledFields(assigned);
}

TEST(Part, CopiesShareTheTemplates) {
  VFacePart source;
  auto* const open = new VFacePartTemplate("Open", "Open");
  auto* const up = new VFacePartTemplate("Up", "Up");
  source.mTemplates.Add(open);
  source.mTemplates.Add(up);
  VFacePart copied(source), assigned;
  assigned = source;
  for (VFacePart* part : {&copied, &assigned}) {
    ASSERT_EQ(part->mTemplates.GetCount(), 2);
    EXPECT_EQ(part->mTemplates[0], open);
    EXPECT_EQ(part->mTemplates[1], up);
    part->mTemplates.Clear(); // otherwise the shared templates would be deleted more than once
  }
  EXPECT_EQ(source.mTemplates.GetCount(), 2);
}

TEST(Part, AssignmentDropsItsOldTemplatesWithoutDeletingThem) {
  // They may be shared with another part.
  VFacePart target, source;
  const auto kept = std::make_unique<VFacePartTemplate>("Open", "Open");
  target.mTemplates.Add(kept.get());
  target = source;
  EXPECT_EQ(target.mTemplates.GetCount(), 0);
  EXPECT_STREQ(kept->GetName(), "Open");
}

// --- Expressions.

TEST(Expression, StartsUnnamedUnsetAndUnflagged) {
  const VFaceExpression expression;
  EXPECT_STREQ(expression.mName, "");
  EXPECT_STREQ(expression.mRetrieveName, "");
  EXPECT_EQ(expression.mTemplateState.mIndex, -1);
  EXPECT_FALSE(expression.mTemplateState.IsDefined());
  EXPECT_FALSE(expression.mFlag);
}

TEST(Expression, CopiesHaveEveryField) {
  VFaceExpression source;
  std::strcpy(source.mName, "Smile");
  std::strcpy(source.mRetrieveName, "smile of the first take");
  source.mTemplateState.mIndex = 7;
  source.mTemplateState.mParts[8].mWeights[24] = 0.25;
  source.mFlag = true;
  const VFaceExpression copied(source);
  VFaceExpression assigned;
  EXPECT_EQ(&(assigned = source), &assigned);
  for (const VFaceExpression* expression : {&copied, &std::as_const(assigned)}) {
    EXPECT_STREQ(expression->mName, "Smile");
    EXPECT_STREQ(expression->mRetrieveName, "smile of the first take");
    EXPECT_EQ(expression->mTemplateState.mIndex, 7); // by assignment; the state's Copy would leave it
    EXPECT_EQ(expression->mTemplateState.mParts[8].mWeights[24], 0.25);
    EXPECT_TRUE(expression->mFlag);
  }
}
