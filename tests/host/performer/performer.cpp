#include "host/performer/performer.h"

#include "tests/host/cpu_seconds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::Performer;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Performer, NamesEachMarkerOnceInTheOrderOfFirstUse) {
  Performer performer;
  performer.head = {"nose", "top"};
  performer.holders[0][1] = {"lip", "chin"};
  performer.holders[0][4] = {"below"};
  performer.holders[7][0] = {"nose", "wing"};
  performer.holders[8][0] = {"wing", "lip"}; // drives two parts
  EXPECT_THAT(performer.FaceMarkers(), ElementsAre("lip", "chin", "below", "nose", "wing"));
  EXPECT_THAT(performer.Markers(), ElementsAre("nose", "top", "lip", "chin", "below", "wing"));
}

TEST(Performer, RigidMarkersAndAnchorsAreMarkersThatDriveNothing) {
  Performer performer;
  performer.head = {"nose"};
  performer.rigid = {"ear", "nose"};
  performer.anchors[3] = {"in", "ear"}, performer.anchors[1] = {"out", "in"};
  performer.holders[0][1] = {"lip", "out"};
  EXPECT_THAT(performer.FaceMarkers(), ElementsAre("lip", "out"));
  EXPECT_THAT(performer.Markers(), ElementsAre("nose", "ear", "out", "in", "lip"));
}

TEST(Performer, ManyMarkersAreNotComparedWithEachOther) {
  Performer performer;
  for (int i = 0; i < 100000; ++i) performer.rigid.push_back("rigid marker " + std::to_string(i));
  EXPECT_LT(CpuSecondsOf([&] { EXPECT_EQ(performer.Markers(), performer.rigid); }), 10);
}

TEST(Performer, WithoutMarkersNamesNone) {
  EXPECT_THAT(Performer().FaceMarkers(), IsEmpty());
  EXPECT_THAT(Performer().Markers(), IsEmpty());
}

TEST(Performer, HeadMarkersDriveNothing) {
  Performer performer;
  performer.head = {"top"};
  EXPECT_THAT(performer.FaceMarkers(), IsEmpty());
  EXPECT_THAT(performer.Markers(), ElementsAre("top"));
}
