#include "mien/character/character_face.h"
#include "tests/base/array_members.h"

#include <gtest/gtest.h>

TEST(CharacterArrays, TheLibraryExportsTheListOfParts) {
  tests::ExpectEveryMemberWorks<VCharacterFacePart>();
}

TEST(CharacterArrays, TheLibraryExportsTheListOfShapes) {
  tests::ExpectEveryMemberWorks<VCharacterFaceShape>();
}

TEST(CharacterArrays, TheLibraryExportsTheListOfStates) {
  tests::ExpectEveryMemberWorks<VCharacterFaceState>();
}

TEST(CharacterArrays, TheLibraryExportsTheListOfClusterStates) {
  tests::ExpectEveryMemberWorks<VCharacterFaceClusterState>();
}

TEST(CharacterArrays, TheLibraryExportsTheListOfClusterSets) {
  tests::ExpectEveryMemberWorks<VCharacterFaceClusterSetState>();
}
