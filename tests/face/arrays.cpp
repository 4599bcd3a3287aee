#include "mien/face/face.h"
#include "tests/base/array_members.h"

#include <gtest/gtest.h>

TEST(FaceArrays, TheLibraryExportsTheListOfTemplates) { tests::ExpectEveryMemberWorks<VFacePartTemplate>(); }

TEST(FaceArrays, TheLibraryExportsTheListOfExpressions) { tests::ExpectEveryMemberWorks<VFaceExpression>(); }
