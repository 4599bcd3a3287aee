#include "mien/face/face.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

struct Position {
  double x, y, z;
};

struct Template {
  const char* name;
  const char* title;
  std::vector<Position> points; // as listed, before the multiplication by the scale
};

struct Part {
  const char* name;
  const char* title;
  Position scale;  // from the listed values to template space
  Position center; // on the reference face
  Position size;   // on the reference face
  std::vector<const char*> points;
  std::vector<const char*> holders;
  std::vector<Position> rest;
  std::vector<Template> templates;
};

const std::vector<const char*> brow_points = {"InBrow", "MidBrow", "OutBrow"};
const std::vector<const char*> brow_holders = {"BrowHolder", "InBrowHolder"};
const std::vector<const char*> eye_points = {"InEye", "UpperEye", "OutEye", "LowerEye"};
const std::vector<const char*> eye_holders = {"UpperEyeHolder", "LowerEyeHolder"};
const std::vector<const char*> cheek_points = {"InUpperCheek", "MidLowerCheek"};

// The whole definition. The two mouth templates on the left side are derived from those on the right and have
// no points here; the mouth's "Whistle" is four fifths of what is listed.
const Part parts[] = {
    {"Mouth",
     "Mouth (Close)",
     {2, 10, 1},
     {0, 2.642, 19.0},
     {3.438, 5.0, 1.0},
     {"LeftMouth", "LeftUpperMouth", "RightUpperMouth", "RightMouth", "RightLowerMouth", "LeftLowerMouth",
      "ChinCenter"},
     {"LeftMouthHolder", "UpperMouthHolder", "LowerMouthHolder", "RightMouthHolder", "ChinHolder"},
     {{0.5, 0, 0},
      {0.25, 0.1, 0},
      {-0.25, 0.1, 0},
      {-0.5, 0, 0},
      {-0.25, -0.1, 0},
      {0.25, -0.1, 0},
      {0, -0.25, 0}},
     {{"Open",
       "Open",
       {{0.52, -0.27, -0.17},
        {0.25, 0.1, 0.02},
        {-0.25, 0.1, 0.02},
        {-0.52, -0.27, -0.17},
        {-0.3, -0.8, -1.45},
        {0.3, -0.8, -1.45},
        {0, -0.85, -1.5}}},
      {"Whistle",
       "Whistle",
       {{0.25, 0.03, 0.3},
        {0.13, 0.06, 0.7},
        {-0.13, 0.06, 0.7},
        {-0.25, 0.03, 0.3},
        {-0.15, -0.12, 0.7},
        {0.15, -0.12, 0.7},
        {0, -0.25, 0}}},
      {"CornersUpR",
       "Corners UpR",
       {{0.5, 0, 0},
        {0.25, 0.1, 0},
        {-0.27, 0.12, -0.02},
        {-0.55, 0.15, -0.1},
        {-0.27, -0.08, -0.02},
        {0.25, -0.1, 0},
        {0, -0.25, 0}}},
      {"CornersUpL", "Corners UpL", {}},
      {"CornersDownR",
       "Corners DownR",
       {{0.5, 0, 0},
        {0.25, 0.1, 0},
        {-0.21, 0.07, 0.04},
        {-0.5, -0.17, -0.05},
        {-0.21, -0.05, 0.05},
        {0.25, -0.1, 0},
        {0, -0.25, 0}}},
      {"CornersDownL", "Corners DownL", {}},
      {"Square",
       "Square",
       {{0.45, 0.03, 0.1},
        {0.3, 0.24, 0.3},
        {-0.3, 0.24, 0.3},
        {-0.45, 0.03, 0.1},
        {-0.3, -0.28, 0.3},
        {0.3, -0.28, 0.3},
        {0, -0.25, 0}}}}},
    {"LeftBrow",
     "Left Brow (Mid)",
     {2, 6, 1},
     {3.202, 11.601, 18.353},
     {2.642, 1.318, 0.761},
     brow_points,
     brow_holders,
     {{-0.5, 0.1, 0}, {0, 0.15, 0}, {0.5, -0.1, 0}},
     {{"Up", "Up", {{-0.5, 0.25, 0}, {0, 0.7, 0}, {0.5, 0.2, 0}}},
      {"Down", "Down", {{-0.6, -0.4, 0}, {-0.1, -0.2, 0}, {0.5, 0, 0}}}}},
    {"RightBrow",
     "Right Brow (Mid)",
     {2, 6, 1},
     {-3.202, 11.601, 18.353},
     {2.642, 1.318, 0.761},
     brow_points,
     brow_holders,
     {{0.5, 0.1, 0}, {0, 0.15, 0}, {-0.5, -0.1, 0}},
     {{"Up", "Up", {{0.5, 0.25, 0}, {0, 0.7, 0}, {-0.5, 0.2, 0}}},
      {"Down", "Down", {{0.6, -0.4, 0}, {0.1, -0.2, 0}, {-0.5, 0, 0}}}}},
    {"LeftEye",
     "Left Eye (Open)",
     {2, 2, 1},
     {2.961, 9.808, 18.408},
     {1.408, 1.408, 0.704},
     eye_points,
     eye_holders,
     {{-0.5, 0, 0}, {0, 0.5, 0}, {0.5, 0, 0}, {0, -0.5, 0}},
     {{"Close", "Close", {{-0.5, 0, 0}, {0, -0.25, 0}, {0.5, 0, 0}, {0, -0.5, 0}}},
      {"Squint", "Squint", {{-0.5, 0, 0}, {0, 0.5, 0}, {0.4, 0.2, 0}, {0, -0.2, 0}}},
      {"WideOpen", "Wide Open", {{-0.4, 0, 0}, {0, 0.7, 0}, {0.4, 0, 0}, {0, -0.5, 0}}}}},
    {"RightEye",
     "Right Eye (Open)",
     {2, 2, 1},
     {-2.961, 9.808, 18.408},
     {1.408, 1.408, 0.704},
     eye_points,
     eye_holders,
     {{0.5, 0, 0}, {0, 0.5, 0}, {-0.5, 0, 0}, {0, -0.5, 0}},
     {{"Close", "Close", {{0.5, 0, 0}, {0, -0.25, 0}, {-0.5, 0, 0}, {0, -0.5, 0}}},
      {"Squint", "Squint", {{0.5, 0, 0}, {0, 0.5, 0}, {-0.4, 0.2, 0}, {0, -0.2, 0}}},
      {"WideOpen", "Wide Open", {{0.4, 0, 0}, {0, 0.7, 0}, {-0.4, 0, 0}, {0, -0.5, 0}}}}},
    {"LeftCheek",
     "Left Cheek ( Relax )",
     {1, 3, 1},
     {2.961, 6.308, 18.408},
     {2.0, 5.0, 2.0},
     cheek_points,
     {"CheekHolder"},
     {{0, 0.2, 0}, {-0.4, -0.2, 0}},
     {{"Up", "Up", {{0, 0.5, 0.2}, {-0.4, 0.2, 0.2}}}, {"Out", "Out", {{0, 0.2, 0.4}, {-0.4, -0.2, 1.4}}}}},
    {"RightCheek",
     "Right Cheek ( Relax )",
     {1, 3, 1},
     {-2.961, 6.308, 18.408},
     {2.0, 5.0, 2.0},
     cheek_points,
     {"CheekHolder"},
     {{0, 0.2, 0}, {0.4, -0.2, 0}},
     {{"Up", "Up", {{0, 0.5, 0.2}, {0, 0.2, 0.2}}}, {"Out", "Out", {{0, 0.2, 0.4}, {0.4, -0.2, 1.4}}}}},
    {"LeftNostril",
     "Left Nostril ( Relax )",
     {2, 2, 2},
     {2.0, 5.0, 18.408},
     {1.408, 1.408, 0.704},
     {"Nostril"},
     {"NostrilHolder"},
     {{0, 0, 0}},
     {{"Up", "Up", {{0, 0.5, 0}}}}},
    {"RightNostril",
     "Right Nostril ( Relax )",
     {2, 2, 2},
     {-2.0, 5.0, 18.408},
     {1.408, 1.408, 0.704},
     {"Nostril"},
     {"NostrilHolder"},
     {{0, 0, 0}},
     {{"Up", "Up", {{0, 0.5, 0}}}}},
};

enum {
  kMouth,
  kLeftBrow,
  kRightBrow,
  kLeftEye,
  kRightEye,
  kLeftCheek,
  kRightCheek,
  kLeftNostril,
  kRightNostril
};

enum { kOpen, kWhistle, kCornersUpR, kCornersUpL, kCornersDownR, kCornersDownL, kSquare };

/// The listed value times the scale, and the origin in slots that the part does not use.
Position Scaled(const Part& part, const std::vector<Position>& listed, int slot) {
  const std::size_t i = static_cast<std::size_t>(slot);
  if (i >= listed.size()) return {0, 0, 0};
  return {listed[i].x * part.scale.x, listed[i].y * part.scale.y, listed[i].z * part.scale.z};
}

void ExpectPoint(const VgeTVector& actual, const Position& expected, const std::string& where) {
  EXPECT_EQ(actual.x, expected.x) << where;
  EXPECT_EQ(actual.y, expected.y) << where;
  EXPECT_EQ(actual.z, expected.z) << where;
  EXPECT_EQ(actual.w, 1) << where;
}

const VgeTVector& MouthPoint(const VFace& face, int template_index, int slot) {
  return face.mParts[kMouth].mTemplates[template_index]->mPoints[slot];
}

} // namespace

TEST(DefaultFace, PartsAreNamedAndTitledInOrder) {
  const VFace face;
  ASSERT_EQ(std::size(face.mParts), std::size(parts));
  for (int k = 0; k < 9; ++k) {
    EXPECT_STREQ(face.mParts[k].mName, parts[k].name);
    EXPECT_STREQ(face.mParts[k].mTitle, parts[k].title); // with the blanks inside of some parentheses
  }
}

TEST(DefaultFace, PartsAreAtTheirPositionsOnTheReferenceFace) {
  const VFace face;
  for (int k = 0; k < 9; ++k) ExpectPoint(face.mParts[k].mCenter, parts[k].center, parts[k].name);
}

TEST(DefaultFace, ScalesConvertFromTemplateSpaceToTheReferenceSize) {
  const VFace face;
  for (int k = 0; k < 9; ++k) {
    EXPECT_EQ(face.mParts[k].mScale.x, parts[k].size.x / parts[k].scale.x) << parts[k].name;
    EXPECT_EQ(face.mParts[k].mScale.y, parts[k].size.y / parts[k].scale.y) << parts[k].name;
    EXPECT_EQ(face.mParts[k].mScale.z, parts[k].size.z / parts[k].scale.z) << parts[k].name;
  }
}

TEST(DefaultFace, ScalesAreTheKnownNumbers) {
  // In addition to the division above, the quotients themselves.
  const VFace face;
  constexpr double expected[9][3] = {
      {1.719, 0.5, 1.0},     {1.321, 1.318 / 6, 0.761}, {1.321, 1.318 / 6, 0.761},
      {0.704, 0.704, 0.704}, {0.704, 0.704, 0.704},     {2.0, 5.0 / 3, 2.0},
      {2.0, 5.0 / 3, 2.0},   {0.704, 0.704, 0.352},     {0.704, 0.704, 0.352}};
  for (int k = 0; k < 9; ++k) {
    EXPECT_DOUBLE_EQ(face.mParts[k].mScale.x, expected[k][0]) << parts[k].name;
    EXPECT_DOUBLE_EQ(face.mParts[k].mScale.y, expected[k][1]) << parts[k].name;
    EXPECT_DOUBLE_EQ(face.mParts[k].mScale.z, expected[k][2]) << parts[k].name;
  }
}

TEST(DefaultFace, PointsAndHoldersAreNamedInOrder) {
  const VFace face;
  for (int k = 0; k < 9; ++k) {
    const VFacePart& part = face.mParts[k];
    ASSERT_EQ(part.mPointCount, static_cast<int>(parts[k].points.size())) << parts[k].name;
    ASSERT_EQ(part.mHolderCount, static_cast<int>(parts[k].holders.size())) << parts[k].name;
    for (int i = 0; i < part.mPointCount; ++i)
      EXPECT_STREQ(part.mPointNames[i], parts[k].points[static_cast<std::size_t>(i)]) << parts[k].name;
    for (int i = 0; i < part.mHolderCount; ++i)
      EXPECT_STREQ(part.mHolderNames[i], parts[k].holders[static_cast<std::size_t>(i)]) << parts[k].name;
  }
}

TEST(DefaultFace, RestPointsAreTheListedOnesInTemplateSpace) {
  const VFace face;
  for (int k = 0; k < 9; ++k)
    for (int i = 0; i < 7; ++i)
      ExpectPoint(face.mParts[k].mDefaultPoints[i], Scaled(parts[k], parts[k].rest, i),
                  parts[k].name + (" slot " + std::to_string(i)));
}

TEST(DefaultFace, TemplatesAreNamedAndTitledInOrder) {
  const VFace face;
  for (int k = 0; k < 9; ++k) {
    const auto& templates = face.mParts[k].mTemplates;
    ASSERT_EQ(templates.GetCount(), static_cast<int>(parts[k].templates.size())) << parts[k].name;
    for (int t = 0; t < templates.GetCount(); ++t) {
      const Template& expected = parts[k].templates[static_cast<std::size_t>(t)];
      EXPECT_STREQ(templates[t]->GetName(), expected.name) << parts[k].name;
      EXPECT_STREQ(templates[t]->GetTitle(), expected.title) << parts[k].name;
    }
  }
}

TEST(DefaultFace, TemplatePointsAreTheListedOnesInTemplateSpace) {
  const VFace face;
  int checked = 0;
  for (int k = 0; k < 9; ++k) {
    for (int t = 0; t < face.mParts[k].mTemplates.GetCount(); ++t) {
      const Template& expected = parts[k].templates[static_cast<std::size_t>(t)];
      if (k == kMouth && (t == kWhistle || t == kCornersUpL || t == kCornersDownL))
        continue; // each has its own test
      ++checked;
      for (int i = 0; i < 7; ++i)
        ExpectPoint(face.mParts[k].mTemplates[t]->mPoints[i], Scaled(parts[k], expected.points, i),
                    std::string(parts[k].name) + " " + expected.name + " slot " + std::to_string(i));
    }
  }
  EXPECT_EQ(checked, 20); // of 23 templates
}

TEST(DefaultFace, WhistleIsFourFifthsOfTheListedPose) {
  const VFace face;
  for (int i = 0; i < 7; ++i) {
    const Position rest = Scaled(parts[kMouth], parts[kMouth].rest, i);
    const Position listed = Scaled(parts[kMouth], parts[kMouth].templates[kWhistle].points, i);
    ExpectPoint(MouthPoint(face, kWhistle, i),
                {(listed.x - rest.x) * 0.8 + rest.x, (listed.y - rest.y) * 0.8 + rest.y,
                 (listed.z - rest.z) * 0.8 + rest.z},
                "slot " + std::to_string(i));
  }
}

TEST(DefaultFace, WhistleMovesTheLeftCornerIn) {
  const VFace face;
  EXPECT_DOUBLE_EQ(MouthPoint(face, kWhistle, 0).x, 0.6);
  EXPECT_DOUBLE_EQ(MouthPoint(face, kWhistle, 0).y, 0.24);
  EXPECT_DOUBLE_EQ(MouthPoint(face, kWhistle, 0).z, 0.24);
}

TEST(DefaultFace, LeftMouthCornersMirrorTheRightOnes) {
  const VFace face;
  constexpr int mirror[7] = {3, 2, 1, 0, 5, 4, 6};
  for (const int right : {kCornersUpR, kCornersDownR})
    for (int i = 0; i < 7; ++i) {
      const Position source =
          Scaled(parts[kMouth], parts[kMouth].templates[static_cast<std::size_t>(right)].points, mirror[i]);
      ExpectPoint(MouthPoint(face, right + 1, i), {-source.x, source.y, source.z},
                  "slot " + std::to_string(i));
    }
}

TEST(DefaultFace, LeftMouthCornersMirrorByMultiplication) {
  // The chin lies on the middle plane: its x of zero times -1 is a negative zero.
  const VFace face;
  EXPECT_TRUE(std::signbit(MouthPoint(face, kCornersUpL, 6).x));
  EXPECT_TRUE(std::signbit(MouthPoint(face, kCornersDownL, 6).x));
  EXPECT_FALSE(std::signbit(MouthPoint(face, kCornersUpR, 6).x));
}

TEST(DefaultFace, MouthPointsInTemplateSpace) {
  const VFace face;
  const VFacePart& mouth = face.mParts[kMouth];
  EXPECT_EQ(mouth.mDefaultPoints[0].x, 1.0);
  EXPECT_EQ(mouth.mDefaultPoints[0].y, 0);
  EXPECT_EQ(mouth.mDefaultPoints[6].x, 0);
  EXPECT_EQ(mouth.mDefaultPoints[6].y, -2.5);
  EXPECT_EQ(MouthPoint(face, kCornersUpL, 0).x, 1.1);
  EXPECT_EQ(MouthPoint(face, kCornersUpL, 0).y, 1.5);
  EXPECT_EQ(MouthPoint(face, kCornersUpL, 0).z, -0.1);
  EXPECT_EQ(MouthPoint(face, kCornersUpL, 3).x, -1.0);
  EXPECT_EQ(MouthPoint(face, kCornersUpL, 3).y, 0);
}

TEST(DefaultFace, ClosedLeftEyeHasTwoNegativeZerosAndTheRightEyeNone) {
  const VFace face;
  const VgeTVector* const left = face.mParts[kLeftEye].mTemplates[0]->mPoints;
  const VgeTVector* const right = face.mParts[kRightEye].mTemplates[0]->mPoints;
  for (const int corner : {0, 2}) {
    EXPECT_TRUE(std::signbit(left[corner].y)) << "corner " << corner;
    EXPECT_FALSE(std::signbit(right[corner].y)) << "corner " << corner;
  }
}

TEST(DefaultFace, RightCheekUpIsMovedInToTheMiddle) {
  // Not the mirror image of the left cheek, whose point stays at -0.4. Characters are built on it.
  const VFace face;
  EXPECT_EQ(face.mParts[kLeftCheek].mTemplates[0]->mPoints[1].x, -0.4);
  EXPECT_EQ(face.mParts[kRightCheek].mTemplates[0]->mPoints[1].x, 0);
}

TEST(DefaultFace, RightSideMirrorsTheLeftExceptOneCheekPoint) {
  const VFace face;
  const auto expect_mirrored = [](const VgeTVector& left, const VgeTVector& right, const std::string& where) {
    EXPECT_EQ(right.x, -left.x) << where;
    EXPECT_EQ(right.y, left.y) << where;
    EXPECT_EQ(right.z, left.z) << where;
  };
  for (int k = kLeftBrow; k < 9; k += 2) {
    const VFacePart &left = face.mParts[k], &right = face.mParts[k + 1];
    expect_mirrored(left.mCenter, right.mCenter, left.mName);
    EXPECT_EQ(left.mScale, right.mScale) << left.mName;
    EXPECT_GT(right.mScale.x, 0) << left.mName;
    ASSERT_EQ(left.mPointCount, right.mPointCount) << left.mName;
    ASSERT_EQ(left.mTemplates.GetCount(), right.mTemplates.GetCount()) << left.mName;
    for (int i = 0; i < left.mPointCount; ++i) {
      EXPECT_STREQ(left.mPointNames[i], right.mPointNames[i]);
      expect_mirrored(left.mDefaultPoints[i], right.mDefaultPoints[i], left.mName);
      for (int t = 0; t < left.mTemplates.GetCount(); ++t)
        if (!(k == kLeftCheek && t == 0 && i == 1))
          expect_mirrored(left.mTemplates[t]->mPoints[i], right.mTemplates[t]->mPoints[i],
                          std::string(left.mName) + " " + left.mTemplates[t]->GetName());
    }
  }
}

TEST(DefaultFace, CatalogueStartsEmpty) {
  const VFace face;
  EXPECT_EQ(face.mExpressions.GetCount(), 0);
  EXPECT_EQ(face.mExpressions.GetCapacity(), 0);
}

TEST(DefaultFace, FacesShareNoTemplates) {
  const VFace one, other;
  std::set<const VFacePartTemplate*> templates;
  for (const VFace* face : {&one, &other})
    for (const VFacePart& part : face->mParts)
      for (int t = 0; t < part.mTemplates.GetCount(); ++t) templates.insert(part.mTemplates[t]);
  EXPECT_EQ(templates.size(), 46u);
}

TEST(DefaultFace, TemplateTextsOutliveTheFace) {
  const char *name, *title;
  {
    const VFace face;
    name = face.mParts[kMouth].mTemplates[kCornersUpR]->GetName();
    title = face.mParts[kMouth].mTemplates[kCornersUpR]->GetTitle();
  }
  EXPECT_STREQ(name, "CornersUpR");
  EXPECT_STREQ(title, "Corners UpR");
}

// --- Ownership and copies.

namespace {

struct CountedExpression : VFaceExpression {
  explicit CountedExpression(int& destroyed) : mDestroyed(destroyed) {}
  ~CountedExpression() override { ++mDestroyed; }
  int& mDestroyed;
};

/// Clears the lists that a copied face shares with its source, which will delete their objects.
void ReleaseShared(VFace& copy) {
  copy.mExpressions.Clear();
  for (VFacePart& part : copy.mParts) part.mTemplates.Clear();
}

} // namespace

TEST(DefaultFace, DestructionDeletesExpressionsThroughTheirVirtualDestructor) {
  int destroyed = 0;
  {
    VFace face;
    face.mExpressions.Add(new CountedExpression(destroyed));
    face.mExpressions.Add(new CountedExpression(destroyed));
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(DefaultFace, CopiesShareExpressionsAndTemplates) {
  VFace source;
  source.CreateExpression("Smile");
  source.mParts[kLeftEye].mCenter.x = 123;
  VFace copied(source), assigned;
  std::vector<VFacePartTemplate*> own;
  for (VFacePart& part : assigned.mParts)
    for (int t = 0; t < part.mTemplates.GetCount(); ++t) own.push_back(part.mTemplates[t]);
  assigned = source; // drops its own templates without deleting them
  for (VFacePartTemplate* dropped : own) delete dropped;

  for (VFace* face : {&copied, &assigned}) {
    ASSERT_EQ(face->mExpressions.GetCount(), 1);
    EXPECT_EQ(face->mExpressions[0], source.mExpressions[0]);
    EXPECT_EQ(face->mParts[kLeftEye].mCenter.x, 123);
    for (int k = 0; k < 9; ++k) {
      EXPECT_STREQ(face->mParts[k].mName, parts[k].name);
      ASSERT_EQ(face->mParts[k].mTemplates.GetCount(), source.mParts[k].mTemplates.GetCount());
      for (int t = 0; t < face->mParts[k].mTemplates.GetCount(); ++t)
        EXPECT_EQ(face->mParts[k].mTemplates[t], source.mParts[k].mTemplates[t]);
    }
    ReleaseShared(*face);
  }
}
