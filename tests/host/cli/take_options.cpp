#include "host/cli/take_options.h"

#include "host/formats/read_take.h"
#include "tests/host/cli/run_mien.h"
#include "tests/host/formats/mesh_face.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

class TakeOptions : public MienTest {
protected:
  TakeOptions() {
    Write("untimed.csv", "frame,A.x,A.y,A.z\n1,1,2,3\n2,4,5,6\n");
    Write("timed.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,4,5,6\n");
  }
};

} // namespace

TEST_F(TakeOptions, ARateIsForTakesWithoutTimes) {
  EXPECT_THAT(Run({"info", "untimed.csv"}).out,
              HasSubstr("note      no times; taken as 30 Hz (--input-rate)"));
  for (const auto& [rate, shown] : {std::pair<std::string, std::string>{"25", "rate      25 Hz\n"},
                                    {"29.97", "rate      30000/1001 Hz"},
                                    {"1/3", "rate      1/3 Hz"}}) {
    const Ran ran = Run({"info", "untimed.csv", "--input-rate", rate});
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_THAT(ran.out, HasSubstr(shown));
    EXPECT_THAT(ran.out, testing::Not(HasSubstr("note")));
  }
  const Ran timed = Run({"info", "timed.csv", "--input-rate", "25"});
  EXPECT_EQ(timed.exit_code, 2);
  EXPECT_THAT(timed.err,
              HasSubstr("timed.csv: the file has times or a rate of its own; leave out --input-rate"));
}

TEST_F(TakeOptions, ARateThatNoCameraHasIsRefused) {
  for (const char* rate : {"0", "-25", "x", "", "1e99", "25 Hz", "1/0"}) {
    const Ran ran = Run({"convert", "untimed.csv", "out.c3d", "--input-rate", rate});
    EXPECT_EQ(ran.exit_code, 2) << rate;
    EXPECT_THAT(ran.err, HasSubstr("is not a rate, such as 25, 29.97 or 30000/1001"));
    EXPECT_FALSE(Has("out.c3d"));
  }
}

TEST_F(TakeOptions, EveryCommandThatReadsTakesHasThem) {
  for (const char* command : {"info", "solve", "convert", "performer"})
    for (const char* option : {"--strict", "--face", "--input-rate", "--image", "--face-width", "--mirrored"})
      EXPECT_THAT(Run({command, "--help"}).out, HasSubstr(option)) << command;
}

TEST_F(TakeOptions, OptionsOfTheMeshAreRefusedForOtherTakes) {
  for (const std::vector<std::string>& option : std::vector<std::vector<std::string>>{
           {"--image", "1280x720"}, {"--face-width", "145"}, {"--mirrored"}}) {
    std::vector<std::string> arguments = {"info", "timed.csv"};
    arguments.insert(arguments.end(), option.begin(), option.end());
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2) << option[0];
    EXPECT_THAT(ran.err, HasSubstr("timed.csv: marker CSV does not have the landmarks of a face mesh"));
  }
  EXPECT_THAT(Run({"info", "timed.csv", "--image", "1280"}).err, HasSubstr("is not a size in pixels"));
  EXPECT_THAT(Run({"info", "timed.csv", "--face-width", "14"}).err,
              HasSubstr("is not a width from 50 to 400 millimetres"));
}

TEST_F(TakeOptions, OfTheMeshReachTheReader) {
  std::string header = "frame", row = "1";
  const std::vector<mien::Point> face = MeshFace();
  for (std::size_t i = 0; i < face.size(); ++i) {
    const mien::Point p = InImage(face[i], 480, 360);
    header += fmt::format(",x_{0},y_{0},z_{0}", i);
    row += fmt::format(",{},{},{}", p.x, p.y, p.z);
  }
  Write("mesh.csv", header + "\n" + row + "\n");
  const auto converted = [this](std::vector<std::string> options) {
    options.insert(options.begin(), {"convert", "mesh.csv", "out.csv"});
    const Ran ran = Run(options);
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    return mien::ReadTake(Saved("out.csv"), "out.csv");
  };
  const mien::Take plain = converted({"--image", "640x480"});
  constexpr double kRounding = 1e-9; // of the file's decimals
  EXPECT_NEAR(plain.At(0, 1)->y - plain.At(0, 152)->y, face[1].y - face[152].y, kRounding);
  const mien::Take wide = converted({"--image", "640x480", "--face-width", "304"});
  EXPECT_NEAR(wide.At(0, 454)->x - wide.At(0, 234)->x, 304, kRounding);
  const mien::Take mirrored = converted({"--image", "640x480", "--mirrored"});
  EXPECT_NEAR(mirrored.At(0, 263)->x, -plain.At(0, 33)->x, kRounding);
}
