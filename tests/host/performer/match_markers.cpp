#include "host/performer/match_markers.h"

#include "tests/host/input_error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using mien::CheckMarkers;
using mien::Performer;
using mien::Take;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

Take TakeWith(const std::vector<std::string>& markers) {
  Take take(markers);
  take.name = "smile";
  return take;
}

Performer PerformerWith(const std::string& chin_marker) {
  Performer performer;
  performer.file = "ada.json";
  performer.holders[0][4] = {chin_marker};
  return performer;
}

std::string Error(const Performer& performer, const Take& take) {
  return InputErrorOf([&] { CheckMarkers(performer, take); });
}

} // namespace

TEST(CheckMarkers, AcceptsATakeThatHasThemAllAndMore) {
  Performer performer = PerformerWith("chin");
  performer.head = {"top"};
  EXPECT_NO_THROW(CheckMarkers(performer, TakeWith({"other", "top", "chin"})));
}

TEST(CheckMarkers, NamesFilePointerTakeAndTheMostSimilarName) {
  EXPECT_EQ(Error(PerformerWith("ChinMid"), TakeWith({"LipMid", "Chin_Mid", "Brow"})),
            "ada.json:/parts/Mouth/ChinHolder/0: the take \"smile\" has no marker \"ChinMid\"; did you mean "
            "\"Chin_Mid\"?");
}

TEST(CheckMarkers, LetterCaseIsTheSmallestDifference) {
  const Take take = TakeWith({"Rcheek_Ut", "RCHEEK_UP", "Rcheek_uq"});
  EXPECT_THAT(Error(PerformerWith("Rcheek_up"), take), EndsWith("did you mean \"RCHEEK_UP\"?"));
  // In some takes, names differ only by letter case; they are different markers.
  const Take both = TakeWith({"Rcheek_up", "Rcheek_Up"});
  EXPECT_EQ(Error(PerformerWith("Rcheek_up"), both), "no InputError");
  EXPECT_EQ(Error(PerformerWith("Rcheek_Up"), both), "no InputError");
  EXPECT_THAT(Error(PerformerWith("rcheek_Up"), both), EndsWith("did you mean \"Rcheek_Up\"?"));
}

TEST(CheckMarkers, ProposesNothingFarFetched) {
  for (const Take& take : {TakeWith({"lm0", "lm1"}), TakeWith({}), TakeWith({""})})
    EXPECT_THAT(Error(PerformerWith("Cheek"), take), EndsWith("`mien info` lists the markers that it has"));
}

TEST(CheckMarkers, ReportsTheHeadAndEachPlaceOfAMarker) {
  Performer performer = PerformerWith("gone");
  performer.head = {"here", "top"};
  performer.holders[1][1] = {"here", "gone"};
  const std::string error = Error(performer, TakeWith({"here"}));
  EXPECT_THAT(error, StartsWith("ada.json:/head/1: the take \"smile\" has no marker \"top\""));
  EXPECT_THAT(error,
              HasSubstr("\nada.json:/parts/Mouth/ChinHolder/0: the take \"smile\" has no marker \"gone\""));
  EXPECT_THAT(error,
              HasSubstr("\nada.json:/parts/LeftBrow/InBrowHolder/1: the take \"smile\" has no marker"));
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 2);
}

TEST(CheckMarkers, ReportsRigidMarkersAndAnchorsByTheirPlaces) {
  Performer performer = PerformerWith("here");
  performer.rigid = {"here", "eaar"};
  performer.anchors[3] = {"here", "gone"};
  const std::string error = Error(performer, TakeWith({"here", "ear"}));
  EXPECT_THAT(
      error,
      StartsWith("ada.json:/rigid/1: the take \"smile\" has no marker \"eaar\"; did you mean \"ear\"?\n"
                 "ada.json:/anchors/LeftEye/1: the take \"smile\" has no marker \"gone\""));
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1);
}

TEST(CheckMarkers, ADifferentMarkerSetIsReportedInSixLines) {
  Performer performer = PerformerWith("c");
  for (int i = 0; i < 9; ++i) performer.holders[0][1].push_back("lip" + std::to_string(i));
  const std::string error = Error(performer, TakeWith({"lm0"}));
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 5);
  EXPECT_THAT(
      error,
      EndsWith(": 5 more of its markers are missing; use the performer file for this take's marker set"));
}

// To compare each of a hundred names with each of a take's thousand would take seconds, but only five are
// shown.
TEST(CheckMarkers, SearchesOnlyForTheMarkersThatAreShown) {
  Performer performer = PerformerWith("chin");
  performer.head = {"top", "front"};
  for (int i = 0; i < 100; ++i) performer.holders[0][1].push_back("lip" + std::to_string(i));
  const Take take = TakeWith({"front", "lm0", "lm1"});
  std::vector<std::string> searched;
  const auto search = [&](std::string_view name, const std::vector<std::string>& names) {
    searched.emplace_back(name);
    EXPECT_EQ(names, take.markers);
    return std::optional<std::string>("this one");
  };
  const std::string error = InputErrorOf([&] { CheckMarkers(performer, take, search); });
  EXPECT_THAT(searched, ElementsAre("top", "lip0", "lip1", "lip2", "lip3"));
  EXPECT_THAT(error, HasSubstr("no marker \"lip3\"; did you mean \"this one\"?"));
  EXPECT_THAT(
      error,
      EndsWith(": 97 more of its markers are missing; use the performer file for this take's marker set"));
}

TEST(CheckMarkers, SearchesForNothingIfNothingIsMissing) {
  CheckMarkers(PerformerWith("chin"), TakeWith({"chin"}),
               [](std::string_view name, const std::vector<std::string>&) -> std::optional<std::string> {
                 ADD_FAILURE() << name;
                 return std::nullopt;
               });
}

TEST(CheckMarkers, NamesCannotControlTheTerminal) {
  EXPECT_THAT(Error(PerformerWith("\x1B[2Ja"), TakeWith({"\x1B[2Jb"})), testing::Not(HasSubstr("\x1B")));
}

// The mesh of 468 landmarks is that of 478 without them.
TEST(MatchMarkers, ATakeMayLackIrises) {
  Performer performer = PerformerWith("chin");
  performer.irises = {{{"l1", "l2"}, {"r1"}}};
  const Take take = TakeWith({"chin", "l2"});
  CheckMarkers(performer, take);
  LeaveOutMissingIrises(performer, take);
  EXPECT_THAT(performer.irises[0], ElementsAre("l2"));
  EXPECT_THAT(performer.irises[1], testing::IsEmpty());
}

// The names of the 68 landmarks are also those of the first of the 478, which are elsewhere on the face.
TEST(CheckMarkers, RefusesACalibrationWithOtherLandmarks) {
  const auto landmarks = [](int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) names.push_back("lm" + std::to_string(i));
    return TakeWith(names);
  };
  Performer performer = PerformerWith("lm8");
  performer.calibration.landmarks = 68;
  EXPECT_NO_THROW(CheckMarkers(performer, landmarks(68)));
  EXPECT_EQ(Error(performer, landmarks(478)),
            "ada.json:/calibration/landmarks: this performer was calibrated with 68 landmarks, and the take "
            "\"smile\" has 478; calibrate with a take of 478 landmarks and -p landmarks478");
  performer.calibration.landmarks = 478;
  EXPECT_THAT(Error(performer, landmarks(68)), HasSubstr("was calibrated with 478 landmarks"));
  EXPECT_NO_THROW(CheckMarkers(performer, landmarks(468)));
  performer.calibration.landmarks = 0;
  EXPECT_NO_THROW(CheckMarkers(performer, landmarks(478)));
}

TEST(CheckMarkers, RefusesABuiltInPerformerForOtherLandmarks) {
  std::vector<std::string> names;
  for (int i = 0; i < 478; ++i) names.push_back("lm" + std::to_string(i));
  Performer performer = PerformerWith("lm8");
  performer.file = "landmarks68";
  EXPECT_EQ(Error(performer, TakeWith(names)),
            "landmarks68: this performer has 68 landmarks, and the take \"smile\" has 478; use the performer "
            "landmarks478");
  names.resize(68);
  EXPECT_NO_THROW(CheckMarkers(performer, TakeWith(names)));
  performer.file = "landmarks478";
  EXPECT_EQ(
      Error(performer, TakeWith(names)),
      "landmarks478: this performer has 478 landmarks, and the take \"smile\" has 68; use the performer "
      "landmarks68");
}
