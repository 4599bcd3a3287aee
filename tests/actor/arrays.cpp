#include "mien/actor/actor_face.h"
#include "tests/base/array_members.h"

#include <gtest/gtest.h>

TEST(ActorArrays, TheLibraryExportsTheListOfMarkers) { tests::ExpectEveryMemberWorks<VFaceMarker>(); }

TEST(ActorArrays, TheLibraryExportsTheListOfGroupEntries) {
  tests::ExpectEveryMemberWorks<VActorFacePartMarker>();
}

TEST(ActorArrays, TheLibraryExportsTheListOfHeadMarkers) {
  tests::ExpectEveryMemberWorks<VActorFaceRBMarker>();
}

TEST(ActorArrays, TheLibraryExportsTheListOfHeadTriangles) {
  tests::ExpectEveryMemberWorks<VActorFaceRBTriangle>();
}
