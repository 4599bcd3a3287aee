#include "mien/face/face.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

/// A static object of a program that uses the face before `main` begins and after it has ended.
class EarlyUser {
public:
  EarlyUser() : mFace(GetGlobalFace()), mChin(mFace->mParts[0].PointIndexByName("ChinCenter")) {
    mSquareDepth = mFace->mParts[0].mTemplates[6]->mPoints[1].z;
  }

  /// No test can fail by then; if the face no longer exists, this ends the program with an error.
  ~EarlyUser() {
    const VFacePart& nostril = GetGlobalFace()->mParts[8];
    if (GetGlobalFace() != mFace || nostril.mTemplates.GetCount() != 1 ||
        std::strcmp(nostril.mTemplates[0]->GetName(), "Up") != 0)
      std::_Exit(EXIT_FAILURE);
  }

  VFace* mFace;
  int mChin;
  double mSquareDepth;
};

EarlyUser early_user;

} // namespace

TEST(GlobalFace, ExistsForStaticObjectsBeforeMain) {
  EXPECT_EQ(early_user.mFace, GetGlobalFace());
  EXPECT_EQ(early_user.mChin, 6);
  EXPECT_EQ(early_user.mSquareDepth, 0.3);
}

TEST(GlobalFace, IsTheSameForEveryCall) {
  VFace* const face = GetGlobalFace();
  ASSERT_NE(face, nullptr);
  EXPECT_EQ(GetGlobalFace(), face);
}

TEST(GlobalFace, IsTheDefaultFace) {
  const VFace expected;
  const VFace& face = *GetGlobalFace();
  EXPECT_EQ(face.mExpressions.GetCount(), 0);
  for (int k = 0; k < 9; ++k) {
    const VFacePart &part = face.mParts[k], &wanted = expected.mParts[k];
    EXPECT_STREQ(part.mName, wanted.mName);
    EXPECT_EQ(part.mCenter, wanted.mCenter) << wanted.mName;
    EXPECT_EQ(part.mScale, wanted.mScale) << wanted.mName;
    ASSERT_EQ(part.mTemplates.GetCount(), wanted.mTemplates.GetCount()) << wanted.mName;
    for (int i = 0; i < 7; ++i) {
      EXPECT_EQ(part.mDefaultPoints[i], wanted.mDefaultPoints[i]) << wanted.mName;
      for (int t = 0; t < wanted.mTemplates.GetCount(); ++t)
        EXPECT_EQ(part.mTemplates[t]->mPoints[i], wanted.mTemplates[t]->mPoints[i]) << wanted.mName;
    }
  }
}

TEST(GlobalFace, SharesItsCatalogueWithEveryCaller) {
  const int index = GetGlobalFace()->CreateExpression("Smile");
  ASSERT_EQ(index, 0);
  EXPECT_EQ(GetGlobalFace()->ExpressionIndexByName("Smile"), 0);
  delete GetGlobalFace()->mExpressions.RemoveLast(); // other tests expect it empty
  EXPECT_EQ(GetGlobalFace()->ExpressionIndexByName("Smile"), -1);
}
