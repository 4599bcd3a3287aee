#include "host/cli/output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <iostream>
#include <sstream>
#include <string>

using mien::Code;
using mien::Output;
using mien::Problem;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Printed {
  int exit_code;
  std::string out, err;
};

Printed Finished(Output& output, const std::vector<Problem>& problems) {
  std::ostringstream out;
  std::streambuf* const former = std::cout.rdbuf(out.rdbuf());
  testing::internal::CaptureStderr();
  const int exit_code = output.Finish(problems);
  std::cout.rdbuf(former);
  return {exit_code, out.str(), testing::internal::GetCapturedStderr()};
}

Problem Of(Code code) { return {code, "a.csv", "7", "it is wrong", "make it right"}; }

} // namespace

TEST(Output, ExitCodeSaysWhoIsAtFault) {
  const auto exit_code = [](const std::vector<Problem>& problems) {
    Output output;
    return Finished(output, problems).exit_code;
  };
  EXPECT_EQ(exit_code({}), 0);
  EXPECT_EQ(exit_code({Of(Code::Syntax)}), 1);
  EXPECT_EQ(exit_code({Of(Code::Memory)}), 1);
  EXPECT_EQ(exit_code({Of(Code::Usage)}), 2);
  EXPECT_EQ(exit_code({Of(Code::Limit)}), 3);
  EXPECT_EQ(exit_code({Of(Code::Limit), Of(Code::Limit)}), 3);
  EXPECT_EQ(exit_code({Of(Code::Limit), Of(Code::Syntax)}), 1) << "a smaller file would still be wrong";
  EXPECT_EQ(exit_code({Of(Code::Syntax), Of(Code::Usage)}), 2);
}

TEST(Output, ErrorsAreLinesForPeople) {
  Output output;
  output.help = "mien info --help";
  EXPECT_EQ(Finished(output, {Of(Code::Syntax), Of(Code::Limit)}).err,
            "mien: a.csv:7: it is wrong; make it right\nmien: a.csv:7: it is wrong; make it right\n");
  const Printed usage = Finished(output, {{Code::Usage, "", "onto", "this is for .glb", ""}});
  EXPECT_EQ(usage.err, "mien: --onto: this is for .glb\nmien: see mien info --help\n");
  EXPECT_THAT(usage.out, IsEmpty());
}

TEST(Output, JsonHoldsResultNotesAndErrors) {
  Output output;
  output.json = true;
  output.command = "convert";
  output.Line("take", "for people");
  output.Remark({Code::Lossy, "frame 7", "an event is left out"}, "b.trc");
  output.Result(mien::JsonObject({{"frames", 12}}));
  const Printed printed = Finished(output, {Of(Code::Truncated)});
  EXPECT_EQ(json::parse(printed.out), json::parse(R"({
    "format": "mien result 1", "command": "convert", "exit_code": 1, "result": {"frames": 12},
    "notes": [{"code": "lossy", "file": "b.trc", "place": "frame 7", "what": "an event is left out"}],
    "errors": [{"code": "truncated", "file": "a.csv", "place": "7", "what": "it is wrong", "fix": "make it right"}]})"));
  EXPECT_THAT(printed.err, HasSubstr("it is wrong")) << "a log should show it as well";
}

TEST(Output, IsPrintable) {
  const std::string steers = "\x1B[2J\u009B\u202E\xFF";
  Output output;
  testing::internal::CaptureStderr();
  output.Line(steers, steers);
  output.Remark({Code::Assumed, steers, steers});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "?[2J???    ?[2J???\n           ?[2J???: ?[2J???\n");
  EXPECT_EQ(Finished(output, {{Code::Syntax, steers, steers, steers, steers}}).err,
            "mien: ?[2J???:?[2J???: ?[2J???; ?[2J???\n");
  std::ostringstream out;
  std::streambuf* const former = std::cout.rdbuf(out.rdbuf());
  output.Print("a\n" + steers + "\n");
  std::cout.rdbuf(former);
  EXPECT_EQ(out.str(), "a\n?[2J???\n");
}

TEST(Output, JsonIsPrintableAndKeepsWhatItSays) {
  Output output;
  output.json = true;
  const Printed printed = Finished(output, {{Code::Syntax, "\u202E\u009B.csv", "", "\x7F", ""}});
  EXPECT_THAT(printed.out, HasSubstr("\\u202e\\u009b.csv"));
  EXPECT_EQ(json::parse(printed.out)["errors"][0]["file"], "\u202E\u009B.csv");
  EXPECT_EQ(json::parse(printed.out)["errors"][0]["what"], "\x7F");
}

TEST(Output, JsonWithoutAResultIsADocumentNevertheless) {
  Output output;
  output.json = true;
  const json document = json::parse(Finished(output, {}).out);
  EXPECT_EQ(document["result"], nullptr);
  EXPECT_EQ(document["notes"], json::array());
  EXPECT_EQ(document["errors"], json::array());
}

TEST(Output, QuietAndJsonKeepLinesBack) {
  for (const bool as_json : {false, true}) {
    Output output;
    output.json = as_json, output.quiet = !as_json;
    testing::internal::CaptureStderr();
    output.Line("take", "t");
    output.Remark({Code::Assumed, "", "a rate"});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
  }
}
