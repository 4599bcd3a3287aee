#include "host/solve/animation.h"

#include "mien/face/face.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using mien::Animation;
using mien::TemplateColumn;
using testing::ElementsAre;

TEST(TemplateColumns, AreTheFacesTemplatesPartByPart) {
  std::vector<std::string> names;
  for (const TemplateColumn& column : mien::TemplateColumns()) names.push_back(column.name);
  EXPECT_THAT(names, ElementsAre("Mouth.Open", "Mouth.Whistle", "Mouth.CornersUpR", "Mouth.CornersUpL",
                                 "Mouth.CornersDownR", "Mouth.CornersDownL", "Mouth.Square", "LeftBrow.Up",
                                 "LeftBrow.Down", "RightBrow.Up", "RightBrow.Down", "LeftEye.Close",
                                 "LeftEye.Squint", "LeftEye.WideOpen", "RightEye.Close", "RightEye.Squint",
                                 "RightEye.WideOpen", "LeftCheek.Up", "LeftCheek.Out", "RightCheek.Up",
                                 "RightCheek.Out", "LeftNostril.Up", "RightNostril.Up"));
}

TEST(TemplateColumns, PointAtTheTemplateThatTheyName) {
  std::set<std::pair<int, int>> places;
  for (const auto& [part, slot, name] : mien::TemplateColumns()) {
    const VFacePart& face_part = GetGlobalFace()->mParts[part];
    EXPECT_EQ(std::string(face_part.mName) + "." + face_part.mTemplates[slot]->GetName(), name);
    places.emplace(part, slot);
  }
  EXPECT_EQ(places.size(), mien::TemplateColumns().size());
}

TEST(Animation, WeightsGoFrameByFrame) {
  Animation animation;
  EXPECT_TRUE(animation.frames.empty());
  EXPECT_EQ(animation.templates.size(), 23u);
  for (int i = 0; i < 46; ++i) animation.weights.push_back(i);
  EXPECT_EQ(animation.Weight(0, 0), 0);
  EXPECT_EQ(animation.Weight(0, 22), 22);
  EXPECT_EQ(animation.Weight(1, 0), 23);
  EXPECT_EQ(animation.Weight(1, 22), 45);
}
