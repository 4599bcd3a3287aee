#include "mien/face/face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

std::vector<std::string> Names(const VFace& face) {
  std::vector<std::string> names;
  for (int k = 0; k < face.mExpressions.GetCount(); ++k) names.emplace_back(face.mExpressions[k]->mName);
  return names;
}

/// Appends without looking for a free name.
void Append(VFace& face, const std::string& name) {
  auto* const expression = new VFaceExpression;
  std::strncpy(expression->mName, name.c_str(), sizeof expression->mName - 1);
  face.mExpressions.Add(expression);
}

void Append(VFace& face, const char* name) { Append(face, std::string(name)); }

/// "Other0", "Other1" ... to fill a catalogue.
void AppendOthers(VFace& face, int count) {
  for (int k = 0; k < count; ++k) Append(face, "Other" + std::to_string(k));
}

/// "Smile", "Smile1" ... "Smile99": every name that is tried for "Smile".
void AppendAllSmiles(VFace& face) {
  Append(face, "Smile");
  for (int n = 1; n < 100; ++n) Append(face, "Smile" + std::to_string(n));
}

/// What RenameExpression returns and writes to `out`, with room for any base.
struct Renamed {
  bool free;
  std::string name;
};

Renamed Rename(const VFace& face, const std::string& base) {
  std::vector<char> out(base.size() + 3, '#');
  const bool free = face.RenameExpression(base.c_str(), out.data());
  return {free, out.data()};
}

} // namespace

// --- A free name.

TEST(RenameExpression, KeepsANameThatIsFree) {
  VFace face;
  EXPECT_TRUE(Rename(face, "Smile").free);
  EXPECT_EQ(Rename(face, "Smile").name, "Smile");
  Append(face, "Smile1");
  EXPECT_EQ(Rename(face, "Smile").name, "Smile");
}

TEST(RenameExpression, CountsUpWithoutSeparator) {
  VFace face;
  Append(face, "Smile");
  EXPECT_EQ(Rename(face, "Smile").name, "Smile1");
  Append(face, "Smile1");
  Append(face, "Smile2");
  EXPECT_EQ(Rename(face, "Smile").name, "Smile3");
  EXPECT_EQ(Rename(face, "Smile1").name, "Smile11");
}

TEST(RenameExpression, TakesTheFirstGap) {
  VFace face;
  for (const char* name : {"Smile", "Smile1", "Smile3"}) Append(face, name);
  EXPECT_EQ(Rename(face, "Smile").name, "Smile2");
}

TEST(RenameExpression, IgnoresTheCaseOfLetters) {
  VFace face;
  Append(face, "smile");
  Append(face, "SMILE1");
  EXPECT_EQ(Rename(face, "Smile").name, "Smile2");
}

TEST(RenameExpression, IgnoresOnlyTheCaseOfAscii) {
  VFace face;
  Append(face, "L\xc3\xa4"
               "cheln");
  EXPECT_EQ(Rename(face, "L\xc3\x84"
                         "cheln")
                .name,
            "L\xc3\x84"
            "cheln");
  EXPECT_EQ(Rename(face, "l\xc3\xa4"
                         "CHELN")
                .name,
            "l\xc3\xa4"
            "CHELN1");
}

TEST(RenameExpression, ComparesNamesAndNotRetrieveNames) {
  VFace face;
  Append(face, "Frown");
  std::strcpy(face.mExpressions[0]->mRetrieveName, "Smile");
  EXPECT_EQ(Rename(face, "Smile").name, "Smile");
}

TEST(RenameExpression, TreatsPercentSignsAsText) {
  VFace face;
  EXPECT_EQ(Rename(face, "100%s%n%d").name, "100%s%n%d");
  Append(face, "100%s%n%d");
  EXPECT_EQ(Rename(face, "100%s%n%d").name, "100%s%n%d1");
}

TEST(RenameExpression, CountsFromAnEmptyBaseToo) {
  VFace face;
  EXPECT_EQ(Rename(face, "").name, "");
  Append(face, "");
  EXPECT_EQ(Rename(face, "").name, "1");
}

TEST(RenameExpression, FindsTheLastOfItsHundredCandidates) {
  VFace face;
  AppendAllSmiles(face);
  delete face.mExpressions.RemoveAt(face.ExpressionIndexByName("Smile99"));
  const Renamed renamed = Rename(face, "Smile");
  EXPECT_TRUE(renamed.free);
  EXPECT_EQ(renamed.name, "Smile99");
}

TEST(RenameExpression, FailsAfterAHundredCandidates) {
  VFace face;
  AppendAllSmiles(face);
  const Renamed renamed = Rename(face, "sMILE");
  EXPECT_FALSE(renamed.free);
  EXPECT_EQ(renamed.name, "sMILE99"); // the last one tried
}

TEST(RenameExpression, IsNotLimitedByTheLengthOfNames) {
  // Only the caller's buffer limits it; an expression could not store the result.
  VFace face;
  const std::string base(600, 'x');
  EXPECT_TRUE(Rename(face, base).free);
  EXPECT_EQ(Rename(face, base).name, base);
}

TEST(RenameExpression, ChangesNothingInTheCatalogue) {
  VFace face;
  Append(face, "Smile");
  Rename(face, "Smile");
  EXPECT_THAT(Names(face), ElementsAre("Smile"));
}

// --- A new expression.

TEST(CreateExpression, AppendsUnderAFreeName) {
  VFace face;
  EXPECT_EQ(face.CreateExpression("Smile"), 0);
  EXPECT_EQ(face.CreateExpression("SMILE"), 1);
  EXPECT_EQ(face.CreateExpression("Smile"), 2);
  EXPECT_THAT(Names(face), ElementsAre("Smile", "SMILE1", "Smile2"));
}

TEST(CreateExpression, IsUniqueWhateverTheCaseAndFoundByExactCase) {
  VFace face;
  face.CreateExpression("Smile");
  EXPECT_EQ(face.CreateExpression("smile"), 1);
  EXPECT_EQ(face.ExpressionIndexByName("smile1"), 1);
  EXPECT_EQ(face.ExpressionIndexByName("SMILE1"), -1);
}

TEST(CreateExpression, MakesADefaultExpression) {
  VFace face;
  ASSERT_EQ(face.CreateExpression("Smile"), 0);
  const VFaceExpression& expression = *face.mExpressions[0];
  EXPECT_STREQ(expression.mRetrieveName, "");
  EXPECT_EQ(expression.mTemplateState.mIndex, -1);
  EXPECT_FALSE(expression.mTemplateState.IsDefined());
  EXPECT_FALSE(expression.mFlag);
}

TEST(CreateExpression, LeavesTheOthersUnchanged) {
  VFace face;
  face.CreateExpression("Smile");
  VFaceExpression* const first = face.mExpressions[0];
  first->mTemplateState.mParts[0].mWeights[2] = 0.75;
  for (int k = 1; k < 50; ++k) ASSERT_EQ(face.CreateExpression("Frown"), k);
  EXPECT_EQ(face.mExpressions[0], first);
  EXPECT_STREQ(first->mName, "Smile");
  EXPECT_EQ(first->mTemplateState.mParts[0].mWeights[2], 0.75);
}

TEST(CreateExpression, RefusesAnEmptyName) {
  VFace face;
  EXPECT_EQ(face.CreateExpression(""), -1);
  Append(face, "");
  EXPECT_EQ(face.CreateExpression(""), -1);
  EXPECT_EQ(face.mExpressions.GetCount(), 1);
}

TEST(CreateExpression, StopsAtNinetyNine) {
  VFace face;
  AppendOthers(face, 98);
  EXPECT_EQ(face.CreateExpression("Smile"), 98);
  const std::vector<std::string> full = Names(face);
  for (const char* name : {"Smile", "Frown", "x", ""}) EXPECT_EQ(face.CreateExpression(name), -1) << name;
  EXPECT_EQ(Names(face), full);
}

TEST(CreateExpression, NamesNinetyNineExpressionsWithOneBase) {
  // Every number that the catalogue can need is possible: the last one is 98.
  VFace face;
  for (int k = 0; k < 99; ++k) ASSERT_EQ(face.CreateExpression("Smile"), k);
  EXPECT_STREQ(face.mExpressions[98]->mName, "Smile98");
  EXPECT_EQ(face.CreateExpression("Smile"), -1);
  EXPECT_EQ(face.mExpressions.GetCount(), 99);
}

TEST(CreateExpression, RefusesIfNoCandidateIsFree) {
  // More expressions than it would ever create itself; it must not add to them either.
  VFace face;
  AppendAllSmiles(face);
  EXPECT_EQ(face.CreateExpression("Smile"), -1);
  EXPECT_EQ(face.CreateExpression("Frown"), -1);
  EXPECT_EQ(face.mExpressions.GetCount(), 100);
}

TEST(CreateExpression, AcceptsANameOf255Characters) {
  VFace face;
  const std::string name(255, 'x');
  EXPECT_EQ(face.CreateExpression(name.c_str()), 0);
  EXPECT_THAT(Names(face), ElementsAre(name));
}

TEST(CreateExpression, RefusesALongerName) {
  VFace face;
  for (const std::size_t length : {256u, 257u, 258u, 1000u, 1000000u})
    EXPECT_EQ(face.CreateExpression(std::string(length, 'x').c_str()), -1) << length << " characters";
  EXPECT_EQ(face.mExpressions.GetCount(), 0);
}

TEST(CreateExpression, RefusesANameWhoseFreeFormIsTooLong) {
  VFace face;
  const std::string longest(255, 'x'), shorter(254, 'y'), shortest(253, 'z');
  ASSERT_EQ(face.CreateExpression(longest.c_str()), 0);
  EXPECT_EQ(face.CreateExpression(longest.c_str()), -1);
  EXPECT_THAT(Names(face), ElementsAre(longest));

  // One digit fits, two do not.
  for (int k = 1; k <= 10; ++k) ASSERT_EQ(face.CreateExpression(shorter.c_str()), k);
  EXPECT_EQ(Names(face).back(), shorter + "9");
  EXPECT_EQ(face.CreateExpression(shorter.c_str()), -1);
  EXPECT_EQ(face.mExpressions.GetCount(), 11);

  // Two digits fit.
  for (int k = 11; k <= 21; ++k) ASSERT_EQ(face.CreateExpression(shortest.c_str()), k);
  EXPECT_EQ(Names(face).back(), shortest + "10");
}

TEST(CreateExpression, DoesNotCutANameThatIsTooLong) {
  // Cut short, the name would be free.
  VFace face;
  const std::string longest(255, 'x');
  Append(face, longest);
  EXPECT_EQ(face.CreateExpression((longest + "y").c_str()), -1);
  EXPECT_EQ(face.CreateExpression(longest.c_str()), -1);
  EXPECT_THAT(Names(face), ElementsAre(longest));
}

TEST(CreateExpression, KeepsNoReferenceToTheCallersText) {
  VFace face;
  char name[] = "Smile";
  face.CreateExpression(name);
  std::strcpy(name, "Frown");
  EXPECT_EQ(face.ExpressionIndexByName("Smile"), 0);
}
