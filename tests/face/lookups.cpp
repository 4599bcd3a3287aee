#include "mien/face/face.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// The lookups only read: they can be called on a constant face.
const VFace& Face() { return *GetGlobalFace(); }

void AddExpression(VFace& face, const char* name, const char* retrieve_name) {
  auto* const expression = new VFaceExpression;
  std::strcpy(expression->mName, name);
  std::strcpy(expression->mRetrieveName, retrieve_name);
  face.mExpressions.Add(expression);
}

} // namespace

TEST(PartLookup, FindsEachPartAtItsIndex) {
  const char* const names[] = {"Mouth",     "LeftBrow",   "RightBrow",   "LeftEye",     "RightEye",
                               "LeftCheek", "RightCheek", "LeftNostril", "RightNostril"};
  for (int k = 0; k < 9; ++k) EXPECT_EQ(Face().PartIndexByName(names[k]), k) << names[k];
}

TEST(PartLookup, ReturnsMinusOneForAnythingElse) {
  for (const char* name :
       {"Nose", "", "mouth", "MOUTH", "Mout", "Mouth ", " Mouth", "Mouth (Close)", "LeftBro"})
    EXPECT_EQ(Face().PartIndexByName(name), -1) << '"' << name << '"';
}

TEST(PartLookup, ComparesTextsNotAddresses) {
  const std::string name = std::string("Left") + "Eye";
  EXPECT_EQ(Face().PartIndexByName(name.c_str()), 3);
}

TEST(PartLookup, ReturnsTheFirstOfEqualNames) {
  VFace face;
  std::strcpy(face.mParts[5].mName, "LeftBrow");
  EXPECT_EQ(face.PartIndexByName("LeftBrow"), 1);
  EXPECT_EQ(face.PartIndexByName("LeftCheek"), -1);
}

TEST(PointLookup, FindsPointsOfItsOwnPart) {
  EXPECT_EQ(Face().mParts[0].PointIndexByName("LeftMouth"), 0);
  EXPECT_EQ(Face().mParts[0].PointIndexByName("ChinCenter"), 6);
  EXPECT_EQ(Face().mParts[7].PointIndexByName("Nostril"), 0);
  EXPECT_EQ(Face().mParts[1].PointIndexByName("ChinCenter"), -1);
  EXPECT_EQ(Face().mParts[0].PointIndexByName("chincenter"), -1);
  EXPECT_EQ(Face().mParts[0].PointIndexByName("ChinHolder"), -1);
}

TEST(HolderLookup, FindsHoldersOfItsOwnPart) {
  EXPECT_EQ(Face().mParts[0].HolderIndexByName("LeftMouthHolder"), 0);
  EXPECT_EQ(Face().mParts[0].HolderIndexByName("ChinHolder"), 4);
  EXPECT_EQ(Face().mParts[7].HolderIndexByName("NostrilHolder"), 0);
  EXPECT_EQ(Face().mParts[7].HolderIndexByName("CheekHolder"), -1);
  EXPECT_EQ(Face().mParts[0].HolderIndexByName("chinholder"), -1);
  EXPECT_EQ(Face().mParts[0].HolderIndexByName("ChinCenter"), -1);
}

TEST(PointAndHolderLookup, SearchTheSlotsInUseOnly) {
  VFacePart part;
  for (auto& name : part.mPointNames) std::strcpy(name, "point");
  for (auto& name : part.mHolderNames) std::strcpy(name, "holder");
  std::strcpy(part.mPointNames[4], "unused");
  std::strcpy(part.mHolderNames[2], "unused");
  part.mPointCount = 4;
  part.mHolderCount = 2;
  EXPECT_EQ(part.PointIndexByName("unused"), -1);
  EXPECT_EQ(part.HolderIndexByName("unused"), -1);
  EXPECT_EQ(part.PointIndexByName(""), -1);
  EXPECT_EQ(part.HolderIndexByName(""), -1);
  EXPECT_EQ(part.PointIndexByName("point"), 0);
  EXPECT_EQ(part.HolderIndexByName("holder"), 0);
  part.mPointCount = 5;
  part.mHolderCount = 3;
  EXPECT_EQ(part.PointIndexByName("unused"), 4);
  EXPECT_EQ(part.HolderIndexByName("unused"), 2);
}

TEST(PointAndHolderLookup, FindNothingInPartsWithoutAny) {
  VFacePart part;
  for (auto& name : part.mPointNames) std::strcpy(name, "name");
  for (auto& name : part.mHolderNames) std::strcpy(name, "name");
  for (const int count : {0, -1}) {
    part.mPointCount = part.mHolderCount = count;
    EXPECT_EQ(part.PointIndexByName("name"), -1);
    EXPECT_EQ(part.HolderIndexByName("name"), -1);
  }
}

TEST(TemplateLookup, FindsNamesAndNotTitles) {
  const VFacePart& mouth = Face().mParts[0];
  EXPECT_EQ(mouth.TemplateIndexByName("Open"), 0);
  EXPECT_EQ(mouth.TemplateIndexByName("CornersUpR"), 2);
  EXPECT_EQ(mouth.TemplateIndexByName("Square"), 6);
  EXPECT_EQ(mouth.TemplateIndexByName("Corners UpR"), -1);
  EXPECT_EQ(mouth.TemplateIndexByName("square"), -1);
  EXPECT_EQ(mouth.TemplateIndexByName("Up"), -1);
}

TEST(TemplateLookup, ComparesTextsNotAddresses) {
  const std::string name = std::string("Cor") + "nersDownL";
  EXPECT_EQ(Face().mParts[0].TemplateIndexByName(name.c_str()), 5);
}

TEST(TemplateLookup, ReturnsTheFirstOfEqualNames) {
  VFacePart part;
  for (const char* name : {"Up", "Down", "Down"}) part.mTemplates.Add(new VFacePartTemplate(name, name));
  EXPECT_EQ(part.TemplateIndexByName("Down"), 1);
}

TEST(TemplateLookup, FindsNothingWithoutTemplates) {
  VFacePart part;
  EXPECT_EQ(part.TemplateIndexByName(""), -1);
  part.mTemplates.Reserve(4);
  EXPECT_EQ(part.TemplateIndexByName(""), -1);
}

TEST(ExpressionLookup, ByNameIsCaseSensitiveAndReturnsTheFirst) {
  VFace face;
  AddExpression(face, "Smile", "");
  AddExpression(face, "Frown", "Smirk");
  AddExpression(face, "Frown", "");
  const VFace& searched = face;
  EXPECT_EQ(searched.ExpressionIndexByName("Smile"), 0);
  EXPECT_EQ(searched.ExpressionIndexByName("Frown"), 1);
  EXPECT_EQ(searched.ExpressionIndexByName("frown"), -1);
  EXPECT_EQ(searched.ExpressionIndexByName("Smil"), -1);
  EXPECT_EQ(searched.ExpressionIndexByName("Smirk"), -1); // a retrieve name
  EXPECT_EQ(searched.ExpressionIndexByName(""), -1);
}

TEST(ExpressionLookup, ByRetrieveNameLooksAtNothingElse) {
  VFace face;
  AddExpression(face, "Smile", "A");
  AddExpression(face, "Frown", "B");
  AddExpression(face, "Pout", "B");
  const VFace& searched = face;
  EXPECT_EQ(searched.ExpressionIndexByRetrieveName("A"), 0);
  EXPECT_EQ(searched.ExpressionIndexByRetrieveName("B"), 1);
  EXPECT_EQ(searched.ExpressionIndexByRetrieveName("b"), -1);
  EXPECT_EQ(searched.ExpressionIndexByRetrieveName("Smile"), -1);
  EXPECT_EQ(searched.ExpressionIndexByRetrieveName(""), -1);
}

TEST(ExpressionLookup, AnEmptySearchFindsAnUnsetRetrieveName) {
  VFace face;
  AddExpression(face, "Smile", "A");
  AddExpression(face, "Frown", "");
  EXPECT_EQ(face.ExpressionIndexByRetrieveName(""), 1);
}

TEST(ExpressionLookup, FindsNothingInAnEmptyCatalogue) {
  VFace face;
  EXPECT_EQ(face.ExpressionIndexByName(""), -1);
  EXPECT_EQ(face.ExpressionIndexByRetrieveName(""), -1);
  face.mExpressions.Reserve(4);
  EXPECT_EQ(face.ExpressionIndexByName(""), -1);
  EXPECT_EQ(face.ExpressionIndexByRetrieveName(""), -1);
}
