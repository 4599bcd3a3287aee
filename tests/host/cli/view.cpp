#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

using ViewCommand = MienTest;

} // namespace

TEST_F(ViewCommand, ATakeBecomesAPage) {
  const Ran ran = Run({"view", kSamples + "/markers.csv", "-o", "page.html"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_EQ(ran.err, "shows      markers: marker CSV, 360 frames, 50 markers\nwrote      page.html\n");
  EXPECT_THAT(Saved("page.html"), AllOf(StartsWith("<!doctype html>"), HasSubstr("\"title\":\"markers\""),
                                        Not(HasSubstr("MIEN_DATA")), Not(HasSubstr("MIEN_BYTES"))));
}

TEST_F(ViewCommand, AnAnimationBecomesAPageWithAHead) {
  const std::string phone = kSamples + "/mesh/weights_phone.csv";
  EXPECT_THAT(Run({"view", phone, "-o", "page.html"}).err, HasSubstr("phone CSV, 5 frames, 4 weights"));
  EXPECT_THAT(Saved("page.html"), HasSubstr("\"name\":\"the built-in head\""));
  const Ran ran = Run({"view", phone, "--onto", kSamples + "/avatar.vrm", "-o", "avatar.html"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(Saved("avatar.html"), HasSubstr("Morph targets of node"));
}

TEST_F(ViewCommand, ASolveWritesItsPageToo) {
  const Ran ran = Run({"solve", kSamples + "/landmarks.csv", "-p", "landmarks68", "-o", "w.csv",
                       "--output-rate", "60", "--view", "page.html"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("wrote      page.html\n"));
  EXPECT_THAT(Saved("page.html"), AllOf(HasSubstr("\"rows\":360"), HasSubstr("\"name\":\"Residuals\""),
                                        HasSubstr("--output-rate 60 --view page.html")))
      << "the take's own frames";
}

TEST_F(ViewCommand, TwoTakesAreShownTogether) {
  Write("m.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.1,1,2,3\n");
  Write("n.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.1,1,2,3.5\n");
  const Ran ran = Run({"compare", "m.csv", "n.csv", "--view", "page.html"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(Saved("page.html"), AllOf(HasSubstr("\"title\":\"m and n\""), HasSubstr("\"largest\":0.5")));
}

TEST_F(ViewCommand, WhatDoesNotFitIsRefusedBeforeAnythingIsWritten) {
  Write("take.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.1,1,2,3\n");
  Write("empty.csv", "");
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"view", "take.csv", "-o", "take.csv"}, "this is what is shown itself"},
      {{"view", "take.csv", "--onto", kSamples + "/head.glb", "-o", "p.html"}, "a take moves no head"},
      {{"view", "take.csv", "--head", "neck", "-o", "p.html"}, "this is for --onto"},
      {{"view", "empty.csv", "-o", "p.html"}, "the file is empty"},
      {{"view", "none.csv", "-o", "p.html"}, "there is no such file"},
      {{"compare", "take.csv", "take.csv", "-o", "p.html", "--view", "p.html"}, "this is the output itself"},
      {{"solve", "take.csv", "-p", "landmarks68", "-o", "p.html.csv", "--view", "p.html.csv"},
       "this is the output itself"},
  };
  for (const auto& [arguments, message] : cases) {
    const Ran ran = Run(arguments);
    EXPECT_NE(ran.exit_code, 0) << message;
    EXPECT_THAT(ran.err, HasSubstr(message));
    EXPECT_FALSE(Has("p.html")) << message;
  }
}
