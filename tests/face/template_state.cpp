#include "mien/face/template_state.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

static_assert(!std::is_polymorphic_v<VFacePartTemplateState>);
static_assert(!std::is_polymorphic_v<VFaceTemplateState>);

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A number for every weight.
double Number(int part, int slot) { return 100 * part + slot + 1; }

VFacePartTemplateState NumberedPart(double factor) {
  VFacePartTemplateState state;
  for (int j = 0; j < 25; ++j) state.mWeights[j] = factor * Number(0, j);
  return state;
}

VFaceTemplateState Numbered(double factor, int index) {
  VFaceTemplateState state;
  state.mIndex = index;
  for (int k = 0; k < 9; ++k)
    for (int j = 0; j < 25; ++j) state.mParts[k].mWeights[j] = factor * Number(k, j);
  return state;
}

void ExpectWeights(const VFacePartTemplateState& state, double factor) {
  for (int j = 0; j < 25; ++j) EXPECT_EQ(state.mWeights[j], factor * Number(0, j)) << "slot " << j;
}

void ExpectWeights(const VFaceTemplateState& state, double factor) {
  for (int k = 0; k < 9; ++k)
    for (int j = 0; j < 25; ++j)
      EXPECT_EQ(state.mParts[k].mWeights[j], factor * Number(k, j)) << "part " << k << ", slot " << j;
}

} // namespace

// --- One part.

TEST(PartTemplateState, StartsAtZero) { ExpectWeights(VFacePartTemplateState(), 0); }

TEST(PartTemplateState, OperationsWorkOnAllTwentyFiveSlots) {
  const VFacePartTemplateState other = NumberedPart(10);
  VFacePartTemplateState state = NumberedPart(1);
  state.Add(&other);
  ExpectWeights(state, 11);
  state.Sub(&other);
  ExpectWeights(state, 1);
  state.Scale(-0.5);
  ExpectWeights(state, -0.5);
  state.Copy(other);
  ExpectWeights(state, 10);
  state.Clear();
  ExpectWeights(state, 0);
}

TEST(PartTemplateState, AssignmentsCopyAllWeights) {
  VFacePartTemplateState copy_assigned, move_assigned, source = NumberedPart(3);
  EXPECT_EQ(&(copy_assigned = source), &copy_assigned);
  EXPECT_EQ(&(move_assigned = std::move(source)), &move_assigned);
  ExpectWeights(copy_assigned, 3);
  ExpectWeights(move_assigned, 3);
}

TEST(PartTemplateState, ClearOverwritesNaN) {
  VFacePartTemplateState state;
  state.mWeights[24] = kNaN;
  state.Clear();
  EXPECT_EQ(state.mWeights[24], 0);
}

TEST(PartTemplateState, CombinesWithItself) {
  VFacePartTemplateState added = NumberedPart(1), subtracted = NumberedPart(1), copied = NumberedPart(1);
  added.Add(&added);
  subtracted.Sub(&subtracted);
  copied.Copy(copied);
  ExpectWeights(added, 2);
  ExpectWeights(subtracted, 0);
  ExpectWeights(copied, 1);
}

// --- The whole face.

TEST(TemplateState, StartsUndefinedWithIndexMinusOne) {
  const VFaceTemplateState state;
  EXPECT_EQ(state.mIndex, -1);
  ExpectWeights(state, 0);
  EXPECT_FALSE(state.IsDefined());
  for (int k = 0; k < 9; ++k) EXPECT_FALSE(state.IsRegionDefined(k));
}

TEST(TemplateState, AssignmentsCopyIndexAndWeights) {
  VFaceTemplateState source = Numbered(3, 7), copy_assigned, move_assigned;
  const VFaceTemplateState copied(source);
  EXPECT_EQ(&(copy_assigned = source), &copy_assigned);
  EXPECT_EQ(&(move_assigned = std::move(source)), &move_assigned);
  for (const VFaceTemplateState& state : {copied, copy_assigned, move_assigned}) {
    EXPECT_EQ(state.mIndex, 7);
    ExpectWeights(state, 3);
  }
}

TEST(TemplateState, CopyCopiesTheWeightsButNotTheIndex) {
  VFaceTemplateState state = Numbered(1, 5);
  state.Copy(Numbered(10, 7));
  ExpectWeights(state, 10);
  EXPECT_EQ(state.mIndex, 5);
}

TEST(TemplateState, ArithmeticWorksOnAllPartsAndKeepsTheIndex) {
  const VFaceTemplateState other = Numbered(10, 7);
  VFaceTemplateState state = Numbered(1, 5);
  state.Add(&other);
  ExpectWeights(state, 11);
  state.Sub(&other);
  ExpectWeights(state, 1);
  state.Scale(-0.5);
  ExpectWeights(state, -0.5);
  EXPECT_EQ(state.mIndex, 5);
}

TEST(TemplateState, ClearKeepsTheIndex) {
  VFaceTemplateState state = Numbered(1, 5);
  state.Clear();
  ExpectWeights(state, 0);
  EXPECT_EQ(state.mIndex, 5);
}

TEST(TemplateState, CombinesWithItself) {
  VFaceTemplateState added = Numbered(1, 5), subtracted = Numbered(1, 5), copied = Numbered(1, 5);
  added.Add(&added);
  subtracted.Sub(&subtracted);
  copied.Copy(copied);
  ExpectWeights(added, 2);
  ExpectWeights(subtracted, 0);
  ExpectWeights(copied, 1);
}

TEST(TemplateState, WeightsAreNotClamped) {
  VFaceTemplateState state = Numbered(1, 0);
  state.Scale(-1e6);
  ExpectWeights(state, -1e6);
  state.Add(&state);
  ExpectWeights(state, -2e6);
}

TEST(TemplateState, OneWeightDefinesOnlyItsRegion) {
  for (int part = 0; part < 9; ++part) {
    for (int slot = 0; slot < 25; ++slot) {
      VFaceTemplateState state;
      state.mParts[part].mWeights[slot] = -0.5;
      EXPECT_TRUE(state.IsDefined()) << "part " << part << ", slot " << slot;
      for (int k = 0; k < 9; ++k)
        EXPECT_EQ(state.IsRegionDefined(k), k == part) << "part " << part << ", slot " << slot;
    }
  }
}

TEST(TemplateState, TheSmallestWeightInTheLastSlotCounts) {
  // No part has 25 templates, but the slot counts, and so does a weight that is too small to be visible.
  for (const double weight : {1e-300, std::numeric_limits<double>::denorm_min()}) {
    VFaceTemplateState state;
    state.mParts[8].mWeights[24] = weight;
    EXPECT_TRUE(state.IsRegionDefined(8));
    EXPECT_TRUE(state.IsDefined());
  }
}

TEST(TemplateState, NotANumberDefinesItsRegion) {
  VFaceTemplateState state;
  state.mParts[4].mWeights[0] = kNaN;
  EXPECT_TRUE(state.IsRegionDefined(4));
  EXPECT_TRUE(state.IsDefined());
}

TEST(TemplateState, NegativeZeroDefinesNothing) {
  VFaceTemplateState state;
  for (auto& part : state.mParts)
    for (double& weight : part.mWeights) weight = -0.0;
  EXPECT_FALSE(state.IsRegionDefined(0));
  EXPECT_FALSE(state.IsDefined());
}

TEST(TemplateState, TheIndexDefinesNothing) {
  VFaceTemplateState state;
  state.mIndex = 7;
  EXPECT_FALSE(state.IsDefined());
}

TEST(TemplateState, ScaleByZeroKeepsNotANumber) {
  VFaceTemplateState state;
  state.mParts[2].mWeights[1] = kNaN;
  state.mParts[3].mWeights[0] = 5;
  state.Scale(0);
  EXPECT_TRUE(std::isnan(state.mParts[2].mWeights[1]));
  EXPECT_TRUE(state.IsRegionDefined(2));
  EXPECT_FALSE(state.IsRegionDefined(3));
}
