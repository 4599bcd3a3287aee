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

TEST_F(LiveCommand, SaysThatAPhoneCannotReachLoopback) {
  const Ran phone = Run({"live", "--in", "phone:0", "--for", "0.1"});
  EXPECT_THAT(phone.err, HasSubstr("phone:0 at 127.0.0.1 port "));
  EXPECT_THAT(phone.err, HasSubstr("--listen 0.0.0.0"));
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

TEST_F(LiveCommand, AFaceThatNoPerformerFitsIsReportedAndTheOthersGoOn) {
  Write("in.jsonl", "{\"face\":\"a\",\"names\":[\"x\"],\"points\":[[1,2,3]]}\n"
                    "{\"face\":\"b\",\"time\":0,\"weights\":{\"jawOpen\":0.5}}\n");
  const std::string path = folder_ / "in.jsonl";
  const Ran ran = Run({"live", "--in", "lines:-", "--out", "lines:-"}, "C.UTF-8",
                      [&] { dup2(open(path.c_str(), O_RDONLY), STDIN_FILENO); });
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.err, HasSubstr("no built-in performer has these markers; name the performer's file"));
  EXPECT_THAT(ran.out, HasSubstr("\"jawOpen\":0.5"));
}
