#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class LiveCommand : public MienTest {};

const std::string kReplay = std::string("replay:") + MIEN_SAMPLES_FOLDER + "/landmarks.csv?speed=max";

} // namespace

TEST_F(LiveCommand, ReplaysATakeToLinesAndEndsWithASummary) {
  const Ran ran = Run({"live", "--in", kReplay, "-c", "arkit52", "--out", "lines:-"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_EQ(std::count(ran.out.begin(), ran.out.end(), '\n'), 360);
  EXPECT_THAT(ran.out, HasSubstr("\"jawOpen\":"));
  EXPECT_THAT(ran.err, HasSubstr("\"landmarks\": 360 frames in, 360 out, latency "));
}

TEST_F(LiveCommand, WithoutACharacterLinesHaveTheTemplates) {
  EXPECT_THAT(Run({"live", "-q", "--in", kReplay, "--out", "lines:-"}).out, HasSubstr("\"Mouth.Open\":"));
}

TEST_F(LiveCommand, SaysThatAPhoneCannotReachLoopbackAndThatNothingArrived) {
  const Ran phone = Run({"live", "--in", "phone:0", "--for", "0.1"});
  EXPECT_THAT(phone.err, HasSubstr("phone:0 at 127.0.0.1 port "));
  EXPECT_THAT(phone.err, HasSubstr("--listen 0.0.0.0"));
  EXPECT_THAT(phone.err, HasSubstr("phone:0: nothing arrived at 127.0.0.1 port "));
  EXPECT_THAT(Run({"live", "--in", "tracker:0", "--for", "0.1"}).err,
              AllOf(HasSubstr("tracker:0 at "), Not(HasSubstr("--listen"))));
}

TEST_F(LiveCommand, RefusesPlacesThatDoNotFitEachOther) {
  EXPECT_EQ(Run({"live"}).exit_code, 2);
  EXPECT_THAT(Run({"live", "--in", "fone:1"}).err, HasSubstr("phone-json"));
  EXPECT_THAT(Run({"live", "--in", "lines:-", "--in", "lines:-"}).err,
              HasSubstr("standard input can be read once"));
  EXPECT_THAT(Run({"live", "--in", "lines:-", "--out", "record:a", "--out", "record:b"}).err,
              HasSubstr("there can be one recording"));
  EXPECT_THAT(Run({"live", "--in", "lines:-", "--out", "vmc:127.0.0.1:1?source=2"}).err,
              HasSubstr("a source that does not exist"));
  EXPECT_EQ(Run({"live", "--json", "--in", "lines:-", "--out", "lines:-"}).exit_code, 2);
  EXPECT_EQ(Run({"live", "--in", "phone:0", "--listen", "nowhere", "--for", "1"}).exit_code, 2);
  EXPECT_EQ(Run({"live", "--in", "replay:no such file"}).exit_code, 1);
}

TEST_F(LiveCommand, AFaceThatNoPerformerFitsIsReportedAndTheOthersContinue) {
  Write("in.jsonl", "{\"face\":\"a\",\"names\":[\"x\"],\"points\":[[1,2,3]]}\n"
                    "{\"face\":\"b\",\"time\":0,\"weights\":{\"jawOpen\":0.5}}\n");
  const std::string path = folder_ / "in.jsonl";
  const Ran ran = Run({"live", "--in", "lines:-", "--out", "lines:-"}, "C.UTF-8",
                      [&] { dup2(open(path.c_str(), O_RDONLY), STDIN_FILENO); });
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, HasSubstr("no built-in performer has these markers; name the performer's file"));
  EXPECT_THAT(ran.out, HasSubstr("\"jawOpen\":0.5"));
}

TEST_F(LiveCommand, NeverWritesOverAFileThatItReads) {
  const std::string take = mien::ReadFile(std::string(MIEN_SAMPLES_FOLDER) + "/landmarks.csv");
  Write("take.csv", take);
  Write("ada.json", "{}");
  const std::vector<std::vector<std::string>> commands = {
      {"live", "--in", "replay:take.csv?speed=max", "--out", "lines:take.csv"},
      {"live", "--in", "lines:-", "--neutral-take", "take.csv", "--out", "lines:./take.csv"},
      {"live", "--in", "lines:-", "-p", "ada.json", "--out", "lines:ada.json"},
      {"live", "--in", "phone:0?performer=ada.json", "--for", "0.1", "--out", "lines:ada.json"}};
  for (const std::vector<std::string>& command : commands) {
    const Ran ran = Run(command);
    EXPECT_EQ(ran.exit_code, 2) << command.back();
    EXPECT_THAT(ran.err, AllOf(HasSubstr("mien: --out: this is \""), HasSubstr("\" itself\n")));
  }
  EXPECT_EQ(Saved("take.csv"), take);
  EXPECT_EQ(Saved("ada.json"), "{}");
  EXPECT_THAT(
      Run({"live", "--in", kReplay, "--out", "lines:a", "--out", "lines:./a"}).err,
      HasSubstr("mien: --out: \"lines:a\" and \"lines:./a\" write to one place; give each a file of its "
                "own\n"));
}

TEST_F(LiveCommand, ASourceThatCannotBeOpenedLeavesAFormerFileOfLines) {
  Write("lines.jsonl", "former\n");
  EXPECT_EQ(Run({"live", "--in", "replay:none.csv", "--out", "lines:lines.jsonl"}).exit_code, 1);
  EXPECT_EQ(Saved("lines.jsonl"), "former\n");
}

TEST_F(LiveCommand, RefusesToSendToItself) {
  const auto error_of = [&](const std::vector<std::string>& places) {
    std::vector<std::string> command = {"live", "--for", "0.1"};
    command.insert(command.end(), places.begin(), places.end());
    const Ran ran = Run(command);
    EXPECT_EQ(ran.exit_code, 2) << ran.err;
    return ran.err;
  };
  EXPECT_THAT(
      error_of({"--in", "vmc", "--out", "vmc"}),
      HasSubstr("mien: --out: \"vmc\" sends to port 39539, on which --in \"vmc\" listens; send to the "
                "receiver's port, and listen on another one\n"));
  error_of({"--in", "phone:50001", "--out", "vmc:localhost:50001", "--listen", "0.0.0.0"});
  error_of({"--in", "phone:50001", "--out", "vmc:192.0.2.1:50001", "--listen", "192.0.2.1"});
  EXPECT_EQ(Run({"live", "--in", "vmc:0", "--out", "vmc", "--for", "0.1"}).exit_code, 0);
  EXPECT_EQ(Run({"live", "--in", "phone:50001", "--out", "vmc:192.0.2.1:50001", "--for", "0.1"}).exit_code, 0)
      << "another machine";
}

TEST_F(LiveCommand, AReplayThatCannotBeSolvedIsAnErrorAndEndsAtOnce) {
  const std::string markers = std::string("replay:") + MIEN_SAMPLES_FOLDER + "/markers.csv?loop";
  const Ran ran = Run({"live", "--in", markers, "--out", "lines:-"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_EQ(ran.err,
            "mien: no built-in performer has these markers; name the performer's file with --performer\n");
  const Ran both = Run({"live", "--in", markers, "--in", kReplay, "--out", "lines:-"});
  EXPECT_EQ(both.exit_code, 1);
  EXPECT_EQ(std::count(both.out.begin(), both.out.end(), '\n'), 360) << "the other source continues";
  const Ran other = Run({"live", "--in", kReplay, "--out", "lines:-", "-p",
                         std::string(MIEN_SAMPLES_FOLDER) + "/markers.performer.json"});
  EXPECT_EQ(other.exit_code, 1);
  EXPECT_THAT(other.err, HasSubstr("the take \"landmarks\" has no marker \"HeadFront\""));
}

TEST_F(LiveCommand, ARateAboveTheLimitIsRefusedBeforeAFaceArrives) {
  const Ran ran = Run({"live", "--in", "phone:0", "--rate", "5000", "--for", "0.1"});
  EXPECT_EQ(ran.exit_code, 2);
  EXPECT_THAT(ran.err, HasSubstr("mien: --rate: the highest rate is 1000 Hz\n"));
}
