#include "host/animation/eye_nodes.h"

#include "tests/host/head_glb.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using mien::EyeMeant;
using mien::FindEyeNodes;
using testing::ElementsAre;
using testing::Optional;
using tests::Head;

TEST(EyeNodes, KnowsTheUsualNames) {
  for (const char* name :
       {"LeftEye", "eye.L", "Eye_Left", "eyeball_l", "mixamorig:LeftEye", "mixamorigLeftEye", "CC_Base_L_Eye",
        "J_Adj_L_FaceEye", "DEF-eye.L", "ORG-eye.L.001", "eye_L_jnt"})
    EXPECT_THAT(EyeMeant(name), Optional(0)) << name;
  for (const char* name : {"RightEye", "eye.R", "REye", "rig:eyeball_right", "Eye_R_Bone"})
    EXPECT_THAT(EyeMeant(name), Optional(1)) << name;
  for (const char* name : {"LeftEyelid", "LeftEyeLookUp", "Eye", "MiddleEye", "eyebrow.L", "LeftEyeEnd", ""})
    EXPECT_EQ(EyeMeant(name), std::nullopt) << name;
}

TEST(EyeNodes, AreTwo) {
  EXPECT_THAT(FindEyeNodes(Head(R"([{},{"name":"eye.R"},{"name":"eye.L"}])")), Optional(ElementsAre(2, 1)));
  EXPECT_EQ(FindEyeNodes(Head(R"([{"name":"eye.R"},{"name":"jaw"}])")), std::nullopt);
}

TEST(EyeNodes, OfSeveralForAnEyeTheJointIsMeant) {
  const char* const nodes = R"([{"name":"LeftEye"},{"name":"eye.L"},{"name":"RightEye"},{"name":"eye.R"}])";
  EXPECT_EQ(FindEyeNodes(Head(nodes)), std::nullopt);
  EXPECT_THAT(FindEyeNodes(Head(nodes, "[]", R"(,"skins":[{"joints":[1,3]}])")), Optional(ElementsAre(1, 3)));
  EXPECT_EQ(FindEyeNodes(Head(nodes, "[]", R"(,"skins":[{"joints":[0,1,3]}])")), std::nullopt);
}
