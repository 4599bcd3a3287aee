#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace fs = std::filesystem;

namespace {

using Arguments = std::vector<std::string>;
using Json = nlohmann::json;

const std::string kSamples = MIEN_SAMPLES_FOLDER;

class BatchCommand : public MienTest {
protected:
  /// So many frames of the sample, as a file of this name.
  void WriteTake(const std::string& name, std::size_t frames) const {
    static const std::string sample = mien::ReadFile(kSamples + "/landmarks.csv");
    std::size_t end = 0;
    for (std::size_t line = 0; line <= frames; ++line) end = sample.find('\n', end) + 1;
    fs::create_directories((folder_ / name).parent_path());
    Write(name, sample.substr(0, end));
  }

  /// Takes of different lengths in takes/: 1.csv, 2.csv ...
  void WriteTakes(std::size_t count) const {
    for (std::size_t i = 1; i <= count; ++i) WriteTake("takes/" + std::to_string(i) + ".csv", 10 + i);
  }

  /// mien batch over takes/*.csv into out/.
  Ran RunGlob(
      const Arguments& more = {}, const std::function<void()>& prepare = [] {}) const {
    Arguments arguments = {"batch",          "--glob", "takes/*.csv",          "--out",
                           "out/{name}.csv", "--set",  "performer=landmarks68"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments, "C.UTF-8", prepare);
  }

  /// All files below a folder with their bytes.
  std::map<std::string, std::string> FilesIn(const std::string& folder) const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder_ / folder))
      if (entry.is_regular_file())
        files[fs::relative(entry.path(), folder_ / folder)] = mien::ReadFile(entry.path());
    return files;
  }
};

/// The documents, one in each line.
std::vector<Json> JsonLines(const std::string& text) {
  std::vector<Json> documents;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) documents.push_back(Json::parse(line));
  return documents;
}

/// "1 done", "2 failed": the lines' numbers and states.
std::vector<std::string> States(const std::vector<Json>& documents) {
  std::vector<std::string> states;
  for (const Json& document : documents)
    if (document.contains("state"))
      states.push_back(std::to_string(document["line"].get<int>()) + ' ' +
                       document["state"].get<std::string>());
  return states;
}

} // namespace

TEST_F(BatchCommand, SolvesAllTakesOfAPatternThenSkipsThem) {
  WriteTakes(3);
  const Ran first = RunGlob();
  EXPECT_EQ(first.exit_code, 0) << first.err;
  EXPECT_THAT(first.err,
              AllOf(HasSubstr("done       out/2.csv: 12 frames, "), HasSubstr("batch      3 done; ")));
  EXPECT_THAT(first.out, IsEmpty());
  const Ran second = RunGlob();
  EXPECT_EQ(second.exit_code, 0);
  EXPECT_THAT(second.err, AllOf(HasSubstr("skipped    out/2.csv: "), HasSubstr("batch      3 skipped; ")));
}

// The file of a batch's line is that of the command, and so is its report but for the command.
TEST_F(BatchCommand, WritesWhatTheCommandsWrite) {
  WriteTakes(1);
  Write("m.jsonl",
        "{\"take\": \"takes/1.csv\", \"performer\": \"landmarks68\", \"character\": \"arkit52\", \"solver\": "
        "\"fit\","
        " \"smooth-weights\": 6, \"neutral\": \"1-3\", \"strict\": true, \"no-ranges\": false,"
        " \"output\": \"a.json\"}\n"
        "{\"command\": \"retarget\", \"take\": \"w.csv\", \"swap-sides\": true, \"csv-style\": \"livelink\","
        " \"output\": \"b.csv\"}\n"
        "{\"take\": \"takes/1.csv\", \"performer\": \"landmarks68\", \"character\": \"" +
            kSamples +
            "/puppet.character.json\", \"expression\": [\"Content=0.5\", \"Stern=0.25\"], \"output\": "
            "\"c.csv\"}\n");
  Write("w.csv", mien::ReadFile(kSamples + "/mesh/weights.csv"));
  const Ran ran = Run({"batch", "m.jsonl"});
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  ASSERT_EQ(Run({"solve", "takes/1.csv", "-p", "landmarks68", "-c", "arkit52", "--solver", "fit",
                 "--smooth-weights", "6", "--neutral", "1-3", "--strict", "-o", "x.json", "--report",
                 "x.report.json"})
                .exit_code,
            0);
  ASSERT_EQ(Run({"retarget", "w.csv", "--swap-sides", "--csv-style", "livelink", "-o", "y.csv"}).exit_code,
            0);
  ASSERT_EQ(Run({"solve", "takes/1.csv", "-p", "landmarks68", "-c", kSamples + "/puppet.character.json",
                 "--expression", "Content=0.5", "--expression", "Stern=0.25", "-o", "z.csv"})
                .exit_code,
            0);
  EXPECT_EQ(Saved("a.json"), Saved("x.json"));
  EXPECT_EQ(Saved("b.csv"), Saved("y.csv"));
  EXPECT_EQ(Saved("c.csv"), Saved("z.csv"));
  Json report = Json::parse(Saved("a.json.report.json")), own = Json::parse(Saved("x.report.json"));
  for (Json* either : {&report, &own}) either->erase("command"), either->at("files").erase("output");
  EXPECT_EQ(report, own);
}

TEST_F(BatchCommand, ALinesOwnValueComesBeforeThatOfTheCommandLine) {
  WriteTakes(2);
  Write("m.csv", "take,smooth,output\ntakes/1.csv,5,a.csv\ntakes/2.csv,,b.csv\n");
  ASSERT_EQ(Run({"batch", "m.csv", "--set", "performer=landmarks68", "--set", "smooth=7"}).exit_code, 0);
  EXPECT_EQ(Json::parse(Saved("a.csv.report.json"))["settings"]["smooth_hz"], 5);
  EXPECT_EQ(Json::parse(Saved("b.csv.report.json"))["settings"]["smooth_hz"], 7);
}

TEST_F(BatchCommand, PathsStartFromTheManifestAndReportsAreTheSameWhereverItIsStarted) {
  WriteTakes(2);
  fs::create_directories(folder_ / "lists" / "deep");
  Write("ada.json", Saved("takes/1.csv")); // only so that there is a file of this name here
  Write("lists/m.csv",
        "take,output,performer\n../takes/1.csv,a.csv,landmarks68\n../takes/none.csv,b.csv,landmarks68\n");
  ASSERT_EQ(Run({"batch", "lists/m.csv"}).exit_code, 1);
  const auto from_above = FilesIn("lists");
  EXPECT_THAT(from_above, SizeIs(4)) << "the manifest, an output, a report, an error";
  for (const std::string name : {"a.csv", "a.csv.report.json", "b.csv.error.json"})
    fs::remove(folder_ / "lists" / name);
  const std::string line = "cd '" + (folder_ / "lists" / "deep").string() + "' && '" + MIEN_COMMAND +
                           "' batch -q " + (folder_ / "lists" / "m.csv").string() + " 2>/dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1);
  EXPECT_EQ(FilesIn("lists"), from_above);
}

// What the command line names is found from the folder in which it is typed.
TEST_F(BatchCommand, PathsOfTheCommandLineStartFromTheCurrentFolder) {
  WriteTakes(1);
  fs::create_directories(folder_ / "lists");
  Write("lists/m.csv", "take\n../takes/1.csv\n");
  Write("puppet.json", mien::ReadFile(kSamples + "/puppet.character.json"));
  const Ran ran = Run({"batch", "lists/m.csv", "--set", "performer=landmarks68", "--set",
                       "character=puppet.json", "--out", "out/{folder}_{name}.csv"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_TRUE(Has("out/takes_1.csv"));
  EXPECT_THAT(Json::parse(Saved("out/takes_1.csv.report.json"))["command"],
              ElementsAre("mien", "solve", "../takes/1.csv", "--performer=landmarks68",
                          "--character=../puppet.json", "--output=../out/takes_1.csv"));
}

TEST_F(BatchCommand, MistakesAreFoundBeforeAnythingRuns) {
  WriteTakes(2);
  const auto error_of = [&](const std::string& manifest, Arguments more = {}) {
    Write("m", manifest);
    more.insert(more.begin(), {"batch", "m"});
    const Ran ran = Run(more);
    EXPECT_FALSE(Has("a.csv")) << manifest;
    return std::to_string(ran.exit_code) + ' ' + ran.err;
  };
  EXPECT_EQ(error_of("take,perfomer,output\ntakes/1.csv,landmarks68,a.csv\n"),
            "1 mien: m:1:2: no option is named \"perfomer\"; did you mean performer?\n");
  EXPECT_EQ(error_of("{\"take\": \"takes/1.csv\", \"Output\": \"a.csv\", \"performer\": \"landmarks68\"}"),
            "1 mien: m:1:25: no option is named \"Output\"; did you mean output?\n");
  EXPECT_EQ(error_of("take,performer,output\ntakes/1.csv,landmarks68,a.csv\ntakes/2.csv,,b.csv\n"),
            "1 mien: m:3: the line gives no performer; name it in the line, or for all lines with --set "
            "performer=...\n");
  EXPECT_EQ(error_of("take,performer\ntakes/1.csv,landmarks68\n"),
            "1 mien: m:2: the line gives no output; name it in the line, or give --out a pattern for all\n");
  EXPECT_EQ(error_of("take,output,performer,neutral\ntakes/1.csv,a.csv,landmarks68,1-3\ntakes/"
                     "2.csv,b.csv,landmarks68,x\n"),
            "1 mien: m:3:4: neutral: \"x\" is not FRAME or FROM-TO, such as 12-40\n");
  EXPECT_EQ(error_of("take,output,performer,strict\ntakes/1.csv,a.csv,landmarks68,yes\n"),
            "1 mien: m:2:4: \"strict\" is true or false, and not \"yes\"; write one of them\n");
  EXPECT_EQ(
      error_of("take,output,performer\ntakes/1.csv,a.csv,landmarks68\ntakes/2.csv,./a.csv,landmarks68\n"),
      "1 mien: m:3:2: \"./a.csv\" is an output of line 2 already; give each output a place of its own\n");
  EXPECT_EQ(
      error_of("take,output,performer\ntakes/1.csv,takes/2.csv,landmarks68\ntakes/2.csv,b.csv,landmarks68\n"),
      "1 mien: m:2:2: \"takes/2.csv\" is the take of line 3; give each output a place of its own\n");
  EXPECT_EQ(error_of("take,output,performer\n-,a.csv,landmarks68\n"),
            "1 mien: m:2:1: a batch reads and writes files; name a file\n");
  EXPECT_EQ(error_of("take,output,command\ntakes/1.csv,a.csv,sovle\n"),
            "1 mien: m:2:3: \"sovle\" is neither solve nor retarget; write one of them\n");
  EXPECT_EQ(error_of("take,output,command,performer\ntakes/1.csv,a.csv,retarget,landmarks68\n"),
            "1 mien: m:2:4: mien retarget has no option \"performer\"; leave it empty\n");
  EXPECT_EQ(error_of("{\"take\": [\"takes/1.csv\", \"takes/2.csv\"], \"output\": \"a.csv\", \"performer\": "
                     "\"landmarks68\"}"),
            "1 mien: m:1:2: \"take\" has several values; give it one\n");
  EXPECT_EQ(
      error_of("take,output,performer,csv-style\ntakes/1.csv,a.mp4,landmarks68,\ntakes/2.csv,b.glb,"
               "landmarks68,livelink\n"),
      "1 mien: m:2:2: output: \"a.mp4\" does not end in .csv, .json, .glb, .vrm or .vrma, which say what "
      "to write\nmien: m:3:4: csv-style: this is for .csv\n");
  EXPECT_EQ(error_of("{\"take\": \"takes/1.csv\", \"output\": \"a.csv\", \"performer\": \"landmarks68\", "
                     "\"hold\": 1}"),
            "1 mien: m:1:72: hold: this needs --causal\n");
  EXPECT_EQ(error_of("take,output,p,threads,json\ntakes/1.csv,a.csv,landmarks68,2,true\n"),
            "1 mien: m:1:3: no option is named \"p\"; did you mean performer?\n"
            "mien: m:1:4: no option is named \"threads\"; use mien batch -j\n"
            "mien: m:1:5: no option is named \"json\"; use mien batch --json\n");
  EXPECT_THAT(error_of("take,output\ntakes/1.csv,a.csv\n", {"--set", "perfomer=landmarks68"}),
              StartsWith("2 mien: --set: no option is named \"perfomer\"; did you mean performer?\n"));
  EXPECT_THAT(error_of("take\ntakes/1.csv\n", {"--set", "performer=landmarks68", "--out", "{nme}.csv"}),
              StartsWith("2 mien: --out: \"{nme}.csv\" has other braces than {name} and {folder}\n"));
}

// There are no lines to name where a pattern found the takes.
TEST_F(BatchCommand, MistakesOfAPatternNameTheTakesAndTheOption) {
  WriteTakes(2);
  const auto error_of = [&](Arguments more) {
    more.insert(more.begin(), {"batch", "--glob", "takes/*.csv"});
    const Ran ran = Run(more);
    return std::to_string(ran.exit_code) + ' ' + ran.err;
  };
  const std::string see = "mien: see mien batch --help\n";
  EXPECT_EQ(error_of({}), "2 mien: there is no performer; name it with --set performer=...\n"
                          "mien: there is no output; say where each take goes with --out 'out/{name}.csv'\n" +
                              see);
  const Arguments ada = {"--set", "performer=landmarks68"};
  const auto with = [&](Arguments more) {
    more.insert(more.end(), ada.begin(), ada.end());
    return more;
  };
  EXPECT_EQ(error_of(with({"--out", "a.csv"})),
            "1 mien: \"a.csv\" is an output of \"takes/1.csv\" and of \"takes/2.csv\"; write {name}, and "
            "{folder} for takes of one name, into --out\n");
  EXPECT_EQ(error_of(with({"--out", "takes/{name}.csv"})),
            "1 mien: \"takes/1.csv\" is a take and an output; choose another folder or ending for --out\n"
            "mien: \"takes/2.csv\" is a take and an output; choose another folder or ending for --out\n");
  EXPECT_EQ(error_of(with({"--out", "{name}.mp4"})),
            "2 mien: --out: \"1.mp4\" does not end in .csv, .json, .glb, .vrm or .vrma, which say what to "
            "write\n" +
                see);
  EXPECT_EQ(error_of(with({"--set", "output=a.csv"})),
            "2 mien: --set: all takes would have one output; name a pattern with --out: 'out/{name}.csv'\n" +
                see);
  EXPECT_EQ(error_of(with({"--out", "{name}.json", "--set", "take=a.csv"})),
            "2 mien: --set: --glob names the takes; leave take out\n" + see);
  EXPECT_EQ(error_of(with({"--out", "{name}.json", "--set", "smooth=6", "--set", "smooth=7"})),
            "2 mien: --set: \"smooth\" has several values; give it one\n" + see);
}

TEST_F(BatchCommand, ATakeInPlaceOfAManifestIsOneMessage) {
  WriteTakes(1);
  EXPECT_EQ(Run({"batch", "takes/1.csv"}).err,
            "mien: takes/1.csv:1: no column is named take; name the columns in the first row, such as "
            "take,performer,output; to solve takes without a manifest, name them with --glob\n");
  std::string header = "take,output";
  for (int i = 0; i < 30; ++i) header += ",x" + std::to_string(i);
  Write("m.csv", header + "\na.csv,b.csv" + std::string(30, ',') + "\n");
  const std::string err = Run({"batch", "m.csv"}).err;
  EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 20);
}

TEST_F(BatchCommand, TheCommandLineIsChecked) {
  WriteTakes(1);
  EXPECT_THAT(Run({"batch"}).err, HasSubstr("name a manifest, or the takes with --glob"));
  EXPECT_THAT(Run({"batch", "m", "--glob", "*"}).err, HasSubstr("name a manifest or --glob, not both"));
  for (const std::string shard : {"0/3", "4/3", "1", "1/0", "a/b", "1/3x", "-1/3", "1/1000001"}) {
    const Ran ran = RunGlob({"--shard", shard});
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.err, StartsWith("mien: --shard: \"" + shard + "\" is not I/N, such as 1/8\n"));
  }
  for (const std::string jobs : {"0", "1025", "-1"})
    EXPECT_THAT(RunGlob({"-j", jobs}).err, StartsWith("mien: --jobs: " + jobs + " is not from 1 to 1024\n"));
  EXPECT_THAT(RunGlob({"--fail-on", "good"}).err,
              StartsWith("mien: --fail-on: \"good\" is neither fair nor poor\n"));
  EXPECT_THAT(RunGlob({"--dry-run", "--summary"}).err,
              StartsWith("mien: --summary: this is not for --dry-run\n"));
  EXPECT_THAT(RunGlob({"--set", "=x"}).err, StartsWith("mien: --set: \"=x\" is not NAME=VALUE\n"));
}

TEST_F(BatchCommand, ABadTakeDoesNotStopTheOthersAndTheExitCodeIsOne) {
  WriteTakes(3);
  Write("takes/2.csv", "nothing\n");
  const Ran ran = RunGlob({"--quiet"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err,
              AllOf(StartsWith("mien: takes/2.csv: this is not a take of a known format;"),
                    HasSubstr("mien: 1 of 3 lines failed; see their messages, and run the batch again\n")));
  EXPECT_THAT(FilesIn("out"), SizeIs(5));
}

TEST_F(BatchCommand, JsonHasALineForEachTakeAndOneForTheBatch) {
  WriteTakes(3);
  Write("takes/2.csv", "nothing\n");
  const std::vector<Json> documents = JsonLines(RunGlob({"--json"}).out);
  ASSERT_THAT(documents, SizeIs(4));
  EXPECT_THAT(States(documents), UnorderedElementsAre("1 done", "2 failed", "3 done"));
  for (const Json& event : documents) {
    if (!event.contains("state")) continue;
    EXPECT_EQ(event["output"], "out/" + std::to_string(event["line"].get<int>()) + ".csv");
    if (event["state"] == "done") {
      EXPECT_EQ(event["frames"], 10 + event["line"].get<int>());
      EXPECT_EQ(event["why"], "there is no report");
    } else {
      EXPECT_EQ(event["errors"][0]["code"], "unknown-format");
    }
  }
  const Json& last = documents.back();
  EXPECT_EQ(last["format"], "mien result 1");
  EXPECT_EQ(last["exit_code"], 1);
  EXPECT_EQ(last["result"]["lines"], 3);
  EXPECT_EQ(last["result"]["done"], 2);
  EXPECT_EQ(last["result"]["failed"], 1);
  EXPECT_EQ(last["errors"][0]["what"], "1 of 3 lines failed");
  const std::vector<Json> again = JsonLines(RunGlob({"--json"}).out);
  EXPECT_THAT(States(again), UnorderedElementsAre("1 skipped", "2 failed", "3 skipped"));
}

TEST_F(BatchCommand, ADryRunSaysWhatWouldBeDoneAndWhy) {
  WriteTakes(3);
  EXPECT_THAT(RunGlob({"--dry-run"}).out, HasSubstr("missing    out/1.csv: there is no report\n"));
  EXPECT_FALSE(Has("out"));
  ASSERT_EQ(RunGlob().exit_code, 0);
  WriteTake("takes/2.csv", 30);
  const Ran ran = RunGlob({"--dry-run"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, AllOf(HasSubstr("done       out/1.csv: "),
                             HasSubstr("stale      out/2.csv: \"takes/2.csv\" has changed\n"),
                             HasSubstr("batch      2 done, 1 stale; ")));
  EXPECT_THAT(RunGlob({"--dry-run", "--set", "smooth=5"}).out,
              HasSubstr("stale      out/1.csv: \"--smooth=5\" is new\n"));
  EXPECT_THAT(States(JsonLines(RunGlob({"--dry-run", "--json"}).out)),
              ElementsAre("1 done", "2 stale", "3 done"));
}

TEST_F(BatchCommand, ShardsTogetherDoEveryLineOnceAndTheSummaryMergesThem) {
  WriteTakes(7);
  Write("takes/4.csv", "nothing\n");
  std::vector<std::string> states;
  for (int shard = 1; shard <= 3; ++shard) {
    if (shard == 3) {
      const Ran summary = RunGlob({"--summary"});
      EXPECT_EQ(summary.exit_code, 1);
      EXPECT_THAT(summary.out, HasSubstr(" missing"));
    }
    const auto ran = States(JsonLines(RunGlob({"--json", "--shard", std::to_string(shard) + "/3"}).out));
    EXPECT_GE(ran.size(), 2u);
    states.insert(states.end(), ran.begin(), ran.end());
  }
  EXPECT_THAT(states,
              UnorderedElementsAre("1 done", "2 done", "3 done", "4 failed", "5 done", "6 done", "7 done"));
  const Ran summary = RunGlob({"--summary"});
  EXPECT_EQ(summary.exit_code, 1);
  EXPECT_THAT(summary.out,
              AllOf(StartsWith("failed     out/4.csv: takes/4.csv: this is not a take of a known format"),
                    HasSubstr("batch      6 done, 1 failed; ")));
  EXPECT_EQ(summary.err, "mien: 1 of 7 lines not done yet; see their messages, and run the batch again\n");
  WriteTake("takes/4.csv", 12);
  EXPECT_EQ(RunGlob({"--quiet"}).exit_code, 0);
  const std::vector<Json> documents = JsonLines(RunGlob({"--summary", "--json"}).out);
  EXPECT_THAT(States(documents), SizeIs(7));
  EXPECT_EQ(documents.back()["result"]["done"], 7);
  EXPECT_EQ(documents.back()["exit_code"], 0);
}

// The sample with the landmarks of one side of the mouth pushed away.
TEST_F(BatchCommand, GradesDecideTheExitCodeWhereTheyAreAskedFor) {
  WriteTakes(2);
  ASSERT_EQ(RunGlob({"--quiet"}).exit_code, 0);
  std::string report = Saved("out/2.csv.report.json");
  const std::size_t grade = report.find("\"grade\": \"") + 10;
  for (const auto& [name, fails_on_fair, fails_on_poor] :
       {std::tuple("good", 0, 0), std::tuple("fair", 3, 0), std::tuple("poor", 3, 3)}) {
    report.replace(grade, report.find('"', grade) - grade, name);
    Write("out/2.csv.report.json", report);
    EXPECT_EQ(RunGlob({"--quiet"}).exit_code, 0) << name;
    EXPECT_EQ(RunGlob({"--quiet", "--fail-on", "fair"}).exit_code, fails_on_fair) << name;
    EXPECT_EQ(RunGlob({"--quiet", "--fail-on", "poor"}).exit_code, fails_on_poor) << name;
    EXPECT_EQ(RunGlob({"--summary", "--fail-on", "poor"}).exit_code, fails_on_poor) << name;
  }
  EXPECT_EQ(RunGlob({"--quiet", "--fail-on", "fair"}).err,
            "mien: 1 of 2 takes is graded fair or worse; look at the flags in their reports\n");
  Write("takes/1.csv", "nothing\n");
  EXPECT_EQ(RunGlob({"--quiet", "--fail-on", "poor"}).exit_code, 1) << "a failure comes first";
}

TEST_F(BatchCommand, ATakeThatCannotBeReadIsReportedAndTheRestDone) {
  WriteTakes(5);
  fs::remove(folder_ / "takes/2.csv");
  fs::create_symlink("none", folder_ / "takes/2.csv");
  fs::remove(folder_ / "takes/4.csv");
  ASSERT_EQ(mkfifo((folder_ / "takes/4.csv").c_str(), 0600), 0);
  fs::remove(folder_ / "takes/4.csv"); // a pipe without a writer would be waited for, as by every command
  fs::create_symlink("/dev/null", folder_ / "takes/4.csv");
  const std::vector<Json> documents = JsonLines(RunGlob({"--json"}).out);
  EXPECT_THAT(States(documents), UnorderedElementsAre("1 done", "2 failed", "3 done", "4 failed", "5 done"));
  for (const Json& event : documents)
    if (event.contains("line") && event["line"] == 2) {
      EXPECT_EQ(event["errors"][0]["code"], "not-found");
    } else if (event.contains("line") && event["line"] == 4) {
      EXPECT_EQ(event["errors"][0]["code"], "unreadable");
    }
}

// A limit on the size of files ends writing in the middle as a full disk does.
TEST_F(BatchCommand, AFullDiskIsReportedAndTheRestDone) {
  WriteTakes(2);
  WriteTake("takes/3.csv", 300);
  const auto small_disk = [] {
    const rlimit limit = {60'000, 60'000};
    setrlimit(RLIMIT_FSIZE, &limit);
  };
  const Ran full = RunGlob({}, small_disk);
  EXPECT_EQ(full.exit_code, 1);
  EXPECT_THAT(full.err,
              AllOf(HasSubstr("mien: out/3.csv: cannot be written: File too large; choose another place"),
                    HasSubstr("batch      2 done, 1 failed")));
  EXPECT_FALSE(Has("out/3.csv"));
  EXPECT_THAT(FilesIn("out"), SizeIs(5)) << "two outputs with reports, and an error; no part of a file";
  const Ran roomy = RunGlob();
  EXPECT_EQ(roomy.exit_code, 0);
  EXPECT_THAT(roomy.err, HasSubstr("batch      1 done, 2 skipped"));
  EXPECT_FALSE(Has("out/3.csv.error.json"));
}

// Not even the error can be written.
TEST_F(BatchCommand, AnOutputFolderThatCannotBeMadeIsReported) {
  WriteTakes(2);
  Write("out", "a file");
  const Ran ran = RunGlob();
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, AllOf(HasSubstr("out/1.csv: cannot be written: Not a directory"),
                             HasSubstr("batch      2 failed\n")));
}

TEST_F(BatchCommand, AnInterruptedBatchSaysWhatIsLeftAndLeavesNoLitter) {
  for (const int signal : {SIGINT, SIGTERM}) {
    fs::remove_all(folder_ / "out");
    fs::remove(folder_ / "out.json");
    for (int i = 1; i <= 60; ++i) WriteTake("takes/" + std::to_string(i) + ".csv", 200);
    std::string err;
    ProcessEnd end;
    {
      Process process([&] {
        std::signal(signal, SIG_DFL);
        const std::string line =
            "cd '" + folder_.string() + "' && exec '" + MIEN_COMMAND +
            "' batch -j 2 --glob 'takes/*.csv' --out 'out/{name}.glb' --set performer=landmarks68 "
            "--set character=arkit52 2>err >out.json --json";
        execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
        return 127;
      });
      ASSERT_TRUE(Eventually([&] { return Has("out.json") && !Saved("out.json").empty(); }));
      process.Send(signal);
      end = process.Wait();
    }
    EXPECT_EQ(end.signal, signal) << "a shell sees that it was interrupted";
    const std::vector<Json> documents = JsonLines(Saved("out.json"));
    EXPECT_EQ(documents.back()["exit_code"], 128 + signal);
    const Json& result = documents.back()["result"];
    EXPECT_EQ(result["done"], documents.size() - 1);
    EXPECT_EQ(result["left"], 60 - result["done"].get<int>());
    EXPECT_GT(result["left"], 0);
    EXPECT_THAT(FilesIn("out"), SizeIs(2 * result["done"].get<std::size_t>()));
  }
}

TEST_F(BatchCommand, OutputThatNobodyReadsEndsTheBatch) {
  WriteTakes(3);
  const std::string line =
      "cd '" + folder_.string() + "' && '" + MIEN_COMMAND +
      "' batch -j 1 --json --glob 'takes/*.csv' --out 'out/{name}.csv' --set performer=landmarks68 "
      ">/dev/full 2>err";
  EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1);
  EXPECT_THAT(Saved("err"), HasSubstr("standard output: cannot be written: No space left on device"));
}
