// The mien command as its users have it: a process with arguments, streams, files and an exit code.

#include "host/files/read_file.h"
#include "tests/host/process.h"
#include "tests/host/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

using mien::ReadFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

namespace {

const fs::path kSamples = MIEN_SAMPLES_FOLDER;

struct Ran : ProcessEnd {
  std::string out, err;
};

/// What the shell and the system do before the command starts.
struct Circumstances {
  std::string out = "", err = ""; ///< where the streams go; "" is a file of the test's, "closed" is closed
  void (*prepare)() = [] {};
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string FirstLines(const std::string& text, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t i = 0; i < count && end != std::string::npos; ++i) end = text.find('\n', end) + 1;
  return text.substr(0, end);
}

void Redirect(int stream, const std::string& place) {
  close(stream);
  if (place == "closed") return;
  const int file = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file == stream) return;
  dup2(file, stream);
  close(file); // it may have got the number of a stream that is to be closed
}

/// The writing end of a named pipe, as soon as somebody has opened it to read; -1 if nobody does.
int WriterOf(const fs::path& pipe) {
  int writer = -1;
  Eventually([&] { return (writer = open(pipe.c_str(), O_WRONLY | O_NONBLOCK)) >= 0; });
  if (writer >= 0) fcntl(writer, F_SETFL, 0); // from now on it waits
  return writer;
}

/// Runs the command in a folder of the test's own, which holds a take of sixty frames: take.csv.
class Command : public TemporaryFolder {
protected:
  Command() {
    fs::create_directory(Streams());
    fs::create_directory(work_);
    take_ = FirstLines(ReadFile(kSamples / "landmarks.csv"), 61);
    Save("take.csv", take_);
  }

  void Save(const std::string& name, const std::string& bytes) const { Write("work/" + name, bytes); }
  std::string Saved(const std::string& name) const { return ReadFile(work_ / name); }

  Ran Run(const Arguments& arguments, const Circumstances& circumstances = {}) const {
    const fs::path out = circumstances.out.empty() ? Streams() / "out" : fs::path(circumstances.out),
                   err = circumstances.err.empty() ? Streams() / "err" : fs::path(circumstances.err);
    Process process([&] { return Become(arguments, out, err, circumstances.prepare); });
    Ran ran;
    static_cast<ProcessEnd&>(ran) = process.Wait();
    if (circumstances.out.empty()) ran.out = ReadFile(out);
    if (circumstances.err.empty()) ran.err = ReadFile(err);
    return ran;
  }

  int Become(const Arguments& arguments, const std::string& out, const std::string& err,
             void (*prepare)()) const {
    std::vector<char*> argv = {const_cast<char*>("mien")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    if (chdir(work_.c_str()) != 0) return 127;
    prepare();
    Redirect(STDOUT_FILENO, out);
    Redirect(STDERR_FILENO, err);
    execv(MIEN_COMMAND, argv.data());
    return 127;
  }

  /// Names of all that is in the folder in which the command runs.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(work_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  fs::path Streams() const { return folder_ / "streams"; }

  const fs::path work_ = folder_ / "work";
  std::string take_;
};

Arguments Solve(const std::string& take, const std::string& performer, const std::string& output) {
  return {"solve", take, "--performer", performer, "-o", output};
}
const Arguments kSolve = Solve("take.csv", "landmarks68", "w.csv");

Arguments With(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

} // namespace

// --- What it does.

TEST_F(Command, SolveWritesARowPerFrameAndReportsOnStandardError) {
  const Ran ran = Run(kSolve);
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, IsEmpty());
  EXPECT_THAT(ran.err,
              AllOf(HasSubstr("60 frames at 30 Hz, 68 markers"), HasSubstr("landmarks68"),
                    HasSubstr("rest frames"), HasSubstr("found in every frame"),
                    HasSubstr("LeftCheek, RightCheek"), HasSubstr("w.csv: 60 frames, 23 templates")));
  const std::vector<std::string> rows = Lines(Saved("w.csv"));
  ASSERT_THAT(rows, SizeIs(61));
  EXPECT_THAT(rows[0], StartsWith("frame,time,Mouth.Open,"));
  EXPECT_THAT(rows[1], StartsWith("1,0,"));
  EXPECT_THAT(Files(), ElementsAre("take.csv", "w.csv"));
}

TEST_F(Command, WhatWritesFilesPrintsNothingWithQuiet) {
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  for (const Arguments& arguments :
       std::vector<Arguments>{{"performer", "take.csv", "-p", "landmarks68", "-o", "p.json"},
                              {"character", "save", "arkit52", "-o", "c.json"},
                              {"character", "from-glb", "head.glb", "-o", "h.json"}}) {
    EXPECT_THAT(Run(arguments).err, HasSubstr("wrote "));
    const Ran ran = Run(With(arguments, {"--quiet"}));
    EXPECT_EQ(ran.exit_code, 0);
    EXPECT_THAT(ran.err, IsEmpty());
  }
}

TEST_F(Command, SolvePrintsNothingWithQuiet) {
  for (const std::string quiet : {"-q", "--quiet"}) {
    const Ran ran = Run(With(kSolve, {quiet}));
    EXPECT_EQ(ran.exit_code, 0);
    EXPECT_THAT(ran.out + ran.err, IsEmpty());
    EXPECT_THAT(Lines(Saved("w.csv")), SizeIs(61));
  }
}

TEST_F(Command, SolveReportsErrorsEvenWhenQuiet) {
  EXPECT_THAT(Run(With(Solve("none.csv", "landmarks68", "w.csv"), {"-q"})).err, HasSubstr("none.csv"));
}

TEST_F(Command, SolvingTwiceGivesTheSameBytesInAFileAndOnStandardOutput) {
  ASSERT_EQ(Run(kSolve).exit_code, 0);
  const std::string first = Saved("w.csv");
  ASSERT_EQ(Run(kSolve).exit_code, 0);
  EXPECT_TRUE(Saved("w.csv") == first);
  const Ran ran = Run(Solve("take.csv", "landmarks68", "-"));
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_TRUE(ran.out == first);
  EXPECT_THAT(ran.err, AllOf(HasSubstr("60 frames"), Not(HasSubstr("wrote"))));
}

TEST_F(Command, SolveReportsWhatWasMissingAndFilled) {
  const std::string sample = ReadFile(kSamples / "landmarks.csv"); // whose face is lost in four frames
  Save("whole.csv", sample);
  EXPECT_THAT(
      Run(Solve("whole.csv", "landmarks68", "w.csv")).err,
      AllOf(HasSubstr("not found in 4 of 360 frames"), HasSubstr("104 positions missing, 104 filled")));
}

TEST_F(Command, SolvesTheSampleMarkers) {
  const Ran ran = Run(Solve(kSamples / "markers.csv", kSamples / "markers.performer.json", "w.csv"));
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("26 positions missing, 26 filled (pattern:2)"),
                             HasSubstr("65 positions missing, 11 filled (cubic:0.15,pattern:0.5)")));
}

TEST_F(Command, ShowsNoProgressInAPipe) {
  EXPECT_THAT(Run(kSolve).err, AllOf(Not(HasSubstr("\r")), Not(HasSubstr("\x1B"))));
}

TEST_F(Command, SolveReadsATakeFromAPipe) {
  const fs::path pipe = work_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Process writer([&] {
    std::ofstream(pipe) << take_;
    return 0;
  });
  const Ran piped = Run(Solve("pipe", "landmarks68", "piped.csv"));
  EXPECT_EQ(piped.exit_code, 0) << piped.err;
  ASSERT_EQ(Run(kSolve).exit_code, 0);
  EXPECT_TRUE(Saved("piped.csv") == Saved("w.csv"));
}

TEST_F(Command, InfoDescribesTheTakeOnStandardOutput) {
  const Ran ran = Run({"info", "take.csv"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, AllOf(HasSubstr("frames    60"), HasSubstr("rate      30 Hz"), HasSubstr("\n  lm0 ")));
  EXPECT_THAT(ran.err, IsEmpty());
}

TEST_F(Command, ASavedPerformerSolvesLikeTheOriginal) {
  const Ran saved = Run({"performer", "take.csv", "-p", "landmarks68", "--name", "Ada", "-o", "ada.json"});
  ASSERT_EQ(saved.exit_code, 0) << saved.err;
  EXPECT_THAT(saved.err, AllOf(HasSubstr("rest frames"), HasSubstr("ada.json")));
  ASSERT_EQ(Run(kSolve).exit_code, 0);
  const Ran ran = Run(Solve("take.csv", "ada.json", "again.csv"));
  ASSERT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("Ada"), HasSubstr("the performer file's")));
  EXPECT_TRUE(Saved("again.csv") == Saved("w.csv"));
  // A saved performer can be saved anew, in its own place as well.
  const std::string file = Saved("ada.json");
  EXPECT_EQ(Run({"performer", "take.csv", "-p", "ada.json", "-o", "ada.json"}).exit_code, 0);
  EXPECT_EQ(Saved("ada.json"), file);
}

TEST_F(Command, ASavedPerformerIsNamedAsAskedAndGoesToStandardOutputAsWell) {
  const Ran ran = Run({"performer", "take.csv", "-p", "landmarks68", "-o", "-"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out,
              AllOf(StartsWith("{\n"), HasSubstr("\"name\": \"landmarks68\""), HasSubstr("\"positions\"")));
  const std::string name = "A\"d\\a \xC3\xA4";
  const Ran named = Run({"performer", "take.csv", "-p", "landmarks68", "-o", "-", "--name", name});
  EXPECT_THAT(named.out, HasSubstr("\"name\": \"A\\\"d\\\\a \xC3\xA4\""));
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Command, NeutralFramesAreAskedFor) {
  const std::pair<Arguments, std::string> forms[] = {
      {{"--neutral", "5"}, "frame 5\n"},
      {{"--neutral=5"}, "frame 5\n"},
      {{"--neutral", "5-9"}, "the average of frames 5 to 9\n"},
      {{"--neutral", "9-9"}, "frame 9\n"},
      {{"--neutral", "50-5000"}, "the average of frames 50 to 60\n"}};
  for (const auto& [option, how] : forms) {
    const Ran ran = Run(With(kSolve, option));
    EXPECT_EQ(ran.exit_code, 0) << ran.err;
    EXPECT_THAT(ran.err, HasSubstr("neutral    " + how));
    const Ran saved = Run(With({"performer", "take.csv", "-p", "landmarks68", "-o", "p.json"}, option));
    EXPECT_EQ(saved.exit_code, 0) << saved.err;
    EXPECT_THAT(saved.err, HasSubstr("neutral    " + how));
  }
}

TEST_F(Command, NeutralFramesMayHaveNumbersBelowZero) {
  const std::vector<std::string> rows = Lines(take_);
  std::string renumbered = rows[0] + '\n';
  for (std::size_t i = 1; i < rows.size(); ++i)
    renumbered += std::to_string(static_cast<int>(i) - 10) + rows[i].substr(rows[i].find(',')) + '\n';
  Save("early.csv", renumbered);
  const Arguments solve = Solve("early.csv", "landmarks68", "w.csv");
  EXPECT_THAT(Run(With(solve, {"--neutral=-3"})).err, HasSubstr("frame -3\n"));
  EXPECT_THAT(Run(With(solve, {"--neutral=-5--2"})).err, HasSubstr("the average of frames -5 to -2\n"));
  EXPECT_THAT(Run(With(solve, {"--neutral=-1-1"})).err, HasSubstr("the average of frames -1 to 1\n"));
}

// --- Help.

TEST_F(Command, EveryHelpHasAnExampleAndTheExamplesWork) {
  Save("other.csv", take_);
  for (const char* long_take : {"talk.csv", "guided.csv"})
    Save(long_take, ReadFile(kSamples / "landmarks.csv"));
  Save("marks.csv", "pose,from,to\njaw-open,20,24\n");
  Save("phone.csv", ReadFile(kSamples / "mesh/weights_phone.csv"));
  Save("phone_talk.csv", ReadFile(kSamples / "mesh/talk_phone.csv"));
  ASSERT_EQ(Run({"calibrate", "phone_talk.csv", "-o", "ada.ranges.json"}).exit_code, 0); // for mien retarget
  Save("scores.json", ReadFile(kSamples / "mesh/weights_recorded.json"));
  Save("puppet.json", ReadFile(kSamples / "puppet.character.json"));
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  Save("markers.csv", ReadFile(kSamples / "markers.csv"));
  Save("takes.csv", "take,performer,output\ntake.csv,landmarks68,batch.csv\n");
  std::filesystem::create_directory(work_ / "takes");
  Save("takes/a.csv", take_);
  Save("solved.csv", ReadFile(kSamples / "mesh/weights_phone.csv"));
  EXPECT_EQ(Run({"performer", "take.csv", "-p", "landmarks68", "-o", "ada.json"}).exit_code, 0);
  for (const char* const weights : {"before.csv", "after.csv", "expected.csv"})
    EXPECT_EQ(Run({"solve", "take.csv", "-p", "landmarks68", "-o", weights}).exit_code, 0);
  std::vector<Arguments> commands = {{}}; // mien itself; each help adds the commands that it lists
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const Arguments command = commands[i];
    SCOPED_TRACE(testing::PrintToString(command));
    const Ran help = Run(With(command, {"--help"}));
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.err, IsEmpty());
    EXPECT_THAT(help.out, AllOf(HasSubstr("Usage: mien"), HasSubstr("\nExamples:\n  mien ")));
    EXPECT_EQ(Run(With(command, {"-h"})).out, help.out);
    std::string heading;
    for (const std::string& line : Lines(help.out)) {
      if (!line.starts_with(' ')) heading = line;
      std::istringstream words(line);
      std::string word;
      words >> word;
      if (heading == "Commands:" && line.find(word) == 2) commands.push_back(With(command, {word}));
      if (heading != "Examples:" || line == heading) continue;
      EXPECT_EQ(word, "mien");
      Arguments example;
      while (words >> word) {
        std::erase(word, '\''); // which a shell takes away
        example.push_back(word);
      }
      if (example[0] == "live") {
        example.insert(example.end(), {"--for", "0.2"}); // else until it is stopped
        for (std::string& argument : example)            // any port that is free
          for (const std::string port : {"phone:11111", "tracker:11573"})
            if (argument == port) argument = port.substr(0, port.find(':')) + ":0";
      }
      const Ran ran = Run(example);
      EXPECT_EQ(ran.exit_code, 0) << line << '\n' << ran.err;
    }
  }
  EXPECT_THAT(commands,
              testing::IsSupersetOf<Arguments>({{"info"}, {"convert"}, {"solve"}, {"character", "save"}}));
}

TEST_F(Command, HelpOfAllNamesEveryCommandAndWhatIsBuiltIn) {
  const Ran ran = Run({"--help-all"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, AllOf(HasSubstr("info"), HasSubstr("solve"), HasSubstr("performer"),
                             HasSubstr("--neutral"), HasSubstr("landmarks68"), HasSubstr("character"),
                             HasSubstr("from-glb"), HasSubstr("arkit52")));
}

TEST_F(Command, PrintsItsVersion) {
  const Ran ran = Run({"--version"});
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, testing::MatchesRegex("mien [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

// --- Characters.

const Arguments kArkit = {"solve", "take.csv", "-p", "landmarks68", "-c", "arkit52", "-o"};

TEST_F(Command, ACharacterTurnsColumnsIntoItsShapes) {
  const Ran ran = Run(With(kArkit, {"s.csv"}));
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("character  arkit52\n"), HasSubstr("s.csv: 60 frames, 52 shapes\n")));
  const std::vector<std::string> lines = Lines(Saved("s.csv"));
  ASSERT_THAT(lines, SizeIs(61));
  EXPECT_THAT(lines[0], StartsWith("frame,time,eyeBlinkLeft,"));
}

TEST_F(Command, TemplatesAreWrittenWithACharacterTooWhereAskedFor) {
  Run(kSolve);
  EXPECT_EQ(Run(With(kArkit, {"t.csv", "--templates"})).exit_code, 0);
  EXPECT_EQ(Saved("t.csv"), Saved("w.csv"));
}

TEST_F(Command, ThePhoneStyleTakesTheCharacterOfTheFiftyTwoShapes) {
  const Ran ran = Run({"solve", "take.csv", "-p", "landmarks68", "--csv-style", "livelink", "-o", "p.csv"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("character  arkit52\n"));
  const std::vector<std::string> lines = Lines(Saved("p.csv"));
  ASSERT_THAT(lines, SizeIs(61));
  EXPECT_THAT(lines[0], StartsWith("Timecode,BlendShapeCount,EyeBlinkLeft,"));
  EXPECT_THAT(lines[1], StartsWith("00:00:00:00.000,61,0."));
  EXPECT_EQ(std::count(lines[60].begin(), lines[60].end(), ','), 62);
}

TEST_F(Command, ThePhoneStyleReportsWhatTheCharacterLacks) {
  const Ran ran = Run({"solve", "take.csv", "-p", "landmarks68", "-c", kSamples / "puppet.character.json",
                       "--csv-style", "livelink", "-o", "p.csv"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("0 for shapes that the character lacks: eyeBlinkLeft, "));
}

TEST_F(Command, TheEndingSaysWhatIsWrittenWhateverItsLetterCase) {
  EXPECT_EQ(Run(With(kArkit, {"a.JSON"})).exit_code, 0);
  EXPECT_THAT(Saved("a.JSON"), StartsWith("{\n  \"format\": \"mien animation 1\","));
  EXPECT_EQ(Run(With(kArkit, {"a.Glb"})).exit_code, 0);
  EXPECT_THAT(Saved("a.Glb"), StartsWith("glTF"));
  const Ran ran = Run(With(kArkit, {"-"}));
  EXPECT_EQ(ran.exit_code, 0);
  EXPECT_THAT(ran.out, StartsWith("frame,time,eyeBlinkLeft,"));
}

TEST_F(Command, TheSameSolveGivesTheSameBytesInEveryFormat) {
  for (const std::string ending : {"csv", "json", "glb"}) {
    ASSERT_EQ(Run(With(kArkit, {"one." + ending})).exit_code, 0);
    ASSERT_EQ(Run(With(kArkit, {"two." + ending})).exit_code, 0);
    EXPECT_TRUE(Saved("one." + ending) == Saved("two." + ending)) << ending;
  }
}

TEST_F(Command, AHeadIsAnimatedAndWhatFoundNoTargetIsReported) {
  std::string head = ReadFile(kSamples / "head.glb");
  head.replace(head.find("tongueOut"), 9, "tongueTip");
  Save("head.glb", head);
  const Ran ran = Run(With(kArkit, {"a.glb", "--onto", "head.glb", "--head", "face"}));
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("a.glb: 60 frames, 51 morph targets on 1 node, 0 clusters\n"));
  EXPECT_THAT(ran.err, Not(HasSubstr("tongueOut"))) << "what stays 0 is not missed";
  EXPECT_GT(Saved("a.glb").size(), Saved("head.glb").size());

  Save("other.json", R"({"format": "mien character 1", "name": "other",
    "parts": {"face": {"shapes": ["jawOpen", "horns"]}}, "templates": {"LeftNostril": {"Up": {"jawOpen": 1, "horns": 1}}}})");
  const Ran other = Run({"solve", kSamples / "landmarks.csv", "-p", "landmarks68", "-c", "other.json",
                         "--onto", "head.glb", "-o", "b.glb"});
  EXPECT_EQ(other.exit_code, 0) << other.err;
  EXPECT_THAT(other.err, AllOf(HasSubstr("no morph target for horns\n"),
                               HasSubstr("nothing moves the morph targets eyeBlinkLeft, "),
                               HasSubstr(" and 16 more\n")));
}

TEST_F(Command, ClustersAreReportedWhereTheFormatLeavesThemOut) {
  const Arguments puppet = {
      "solve", "take.csv", "-p", "landmarks68", "-c", kSamples / "puppet.character.json", "-o"};
  EXPECT_THAT(Run(With(puppet, {"p.csv"})).err,
              HasSubstr("without the 4 clusters, which .json and .glb have\n"));
  EXPECT_THAT(Run(With(puppet, {"p.json"})).err, HasSubstr("23 templates, 8 shapes, 4 clusters\n"));
  EXPECT_THAT(Saved("p.json"), HasSubstr("{ \"part\": \"jaw\", \"cluster\": \"lipBone\" }"));
  EXPECT_THAT(Run(With(puppet, {"p.glb"})).err, HasSubstr(", 4 clusters\n"));
}

TEST_F(Command, ExpressionsAreAddedToEveryFrame) {
  const Arguments puppet = {
      "solve", "take.csv", "-p", "landmarks68", "-c", kSamples / "puppet.character.json", "-o"};
  ASSERT_EQ(Run(With(puppet, {"plain.csv"})).exit_code, 0);
  ASSERT_EQ(
      Run(With(puppet, {"stern.csv", "--expression", "Stern=0.5", "--expression", "Stern=0.25"})).exit_code,
      0);
  const auto column = [&](const std::string& file, const std::string& name) {
    std::vector<double> values;
    std::size_t index = 0;
    for (const std::string& line : Lines(Saved(file))) {
      std::istringstream fields(line);
      std::string field;
      for (std::size_t i = 0; std::getline(fields, field, ','); ++i)
        if (values.empty() && index == 0 && field == name)
          index = i;
        else if (index > 0 && i == index)
          values.push_back(std::stod(field));
    }
    return values;
  };
  const std::vector<double> plain = column("plain.csv", "frown"), stern = column("stern.csv", "frown");
  ASSERT_THAT(plain, SizeIs(60));
  ASSERT_THAT(stern, SizeIs(60));
  for (std::size_t f = 0; f < plain.size(); ++f)
    EXPECT_NEAR(stern[f], plain[f] + 0.75 * 0.2, 1e-12) << f; // two sums of a few terms
}

TEST_F(Command, AFirstCharacterIsWrittenForAHead) {
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  const Ran ran = Run({"character", "from-glb", "head.glb", "-o", "c.json", "--name", "Ada"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("52 morph targets, 52 of them known by name\n"),
                             HasSubstr("wrote      c.json\n")));
  EXPECT_THAT(Saved("c.json"), HasSubstr("\"name\": \"Ada\""));
  ASSERT_EQ(Run(With(kArkit, {"a.glb", "--onto", "head.glb"})).exit_code, 0);
  ASSERT_EQ(
      Run({"solve", "take.csv", "-p", "landmarks68", "-c", "c.json", "--onto", "head.glb", "-o", "b.glb"})
          .exit_code,
      0);
  EXPECT_TRUE(Saved("a.glb") == Saved("b.glb")) << "it drives the head as arkit52 does";
}

TEST_F(Command, ASavedCharacterIsTheBuiltInOne) {
  ASSERT_EQ(Run({"character", "save", "arkit52", "-o", "mine.json"}).exit_code, 0);
  ASSERT_EQ(Run(With(kArkit, {"a.csv"})).exit_code, 0);
  ASSERT_EQ(Run({"solve", "take.csv", "-p", "landmarks68", "-c", "mine.json", "-o", "b.csv"}).exit_code, 0);
  EXPECT_EQ(Saved("a.csv"), Saved("b.csv"));
  const Ran shown = Run({"character", "save", "arkit52", "-o", "-", "--name", "Ben"});
  EXPECT_THAT(shown.out, HasSubstr("\"name\": \"Ben\""));
}

TEST_F(Command, AllMistakesOfACharacterAreReportedEachOnALineOfItsOwn) {
  Save("c.json", R"({"format": "mien character 1", "name": "c", "parts": {"face": {"shapes": ["a", "a"]}},
                     "templates": {"Mouth": {"Opne": {}, "Open": {"b": 1}}}})");
  const Ran ran = Run({"solve", "take.csv", "-p", "landmarks68", "-c", "c.json", "-o", "w.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(
      Lines(ran.err),
      ElementsAre(StartsWith("mien: c.json:/parts/face/shapes/1: the shape \"a\" is already in the list"),
                  StartsWith("mien: c.json:/templates/Mouth/Opne: this name is unknown"),
                  StartsWith("mien: c.json:/templates/Mouth/Open/b: no part has a shape of this name")));
  EXPECT_THAT(Files(), ElementsAre("c.json", "take.csv"));
}

TEST_F(Command, BadHeadsAndCharactersAreNamedWithPlaceAndFix) {
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  Save("empty.glb", "");
  const std::string head = "head.glb";
  const std::pair<Arguments, std::string> cases[] = {
      {{"-c", "nobody", "-o", "w.csv"}, "nobody: there is no character of this name and no such file; name"},
      {{"-c", "take.csv", "-o", "w.csv"}, "take.csv: this is not a JSON file: "},
      {{"--onto", "none.glb", "-o", "w.glb"}, "none.glb: "},
      {{"--onto", "empty.glb", "-o", "w.glb"}, "empty.glb: "},
      {{"--onto", "take.csv", "-o", "w.glb"}, "take.csv: "},
      {{"-c", "arkit52", "--onto", head, "--head", "jaw", "-o", "w.glb"}, "head.glb"},
      {{"-c", "arkit52", "--expression", "Smile=1", "-o", "w.csv"},
       "arkit52:/expressions: there is no expression \"Smile\"; "},
  };
  for (const auto& [arguments, message] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Ran ran = Run(With({"solve", "take.csv", "-p", "landmarks68"}, arguments));
    EXPECT_EQ(ran.exit_code, 1);
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, StartsWith("mien: " + message));
  }
  const Ran ran = Run({"character", "from-glb", "empty.glb", "-o", "c.json"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, StartsWith("mien: empty.glb: "));
  EXPECT_THAT(Files(), ElementsAre("empty.glb", "head.glb", "take.csv"));
}

TEST_F(Command, CharactersAndHeadsAreNeverOverwritten) {
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  Save("c.json", ReadFile(kSamples / "puppet.character.json"));
  for (const Arguments& arguments :
       std::vector<Arguments>{With(kArkit, {"head.glb", "--onto", "./head.glb"}),
                              {"solve", "take.csv", "-p", "landmarks68", "-c", "c.json", "-o", "./c.json"},
                              {"character", "from-glb", "head.glb", "-o", "./head.glb"},
                              {"character", "save", "c.json", "-o", "./c.json"}}) {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(ran.err, HasSubstr("--output: this is the "));
  }
  EXPECT_TRUE(Saved("head.glb") == ReadFile(kSamples / "head.glb"));
  EXPECT_EQ(Saved("c.json"), ReadFile(kSamples / "puppet.character.json"));
}

TEST_F(Command, AShapeMayNotHaveTheNameOfAColumn) {
  Save(
      "c.json",
      R"({"format": "mien character 1", "name": "c", "parts": {"face": {"shapes": ["time"]}}, "templates": {}})");
  const Arguments solve = {"solve", "take.csv", "-p", "landmarks68", "-c", "c.json", "-o"};
  const Ran ran = Run(With(solve, {"w.csv"}));
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_EQ(
      ran.err,
      "mien: c.json:/parts: the shape \"time\" has the name of a .csv column; rename it, or write .json\n");
  EXPECT_EQ(Run(With(solve, {"w.json"})).exit_code, 0);
}

TEST_F(Command, ShapesThatMoveBonesAreNotMissedAmongTheMorphTargets) {
  Save("head.glb", ReadFile(kSamples / "head.glb"));
  const Ran ran =
      Run({"solve", kSamples / "landmarks.csv", "-p", "landmarks68", "-c", kSamples / "puppet.character.json",
           "--onto", "head.glb", "--head", "face", "-o", "a.glb"});
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_THAT(ran.err, AllOf(HasSubstr("no morph target for lidsDown, lidsWide, smile, frown, pucker\n"),
                             HasSubstr("no node has the name of the clusters jawBone, ")));
}

TEST_F(Command, WeightsThatNoFileHoldsAreAnInputsFault) {
  Save("c.json", R"({"format": "mien character 1", "name": "c", "parts": {"face": {"shapes": ["a"]}},
                     "templates": {"LeftNostril": {"Up": {"a": 1e300}}}})");
  const Ran ran =
      Run({"solve", kSamples / "landmarks.csv", "-p", "landmarks68", "-c", "c.json", "-o", "w.csv"});
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, AllOf(HasSubstr("landmarks.csv:frame "), HasSubstr("the result for \"a\" is ")));
}

// --- Wrong usage: exit code 2.

TEST_F(Command, WrongUsageIsReportedWithTheHelpToRead) {
  struct Case {
    Arguments arguments;
    std::string what, help;
  };
  const Case cases[] = {
      {{}, "mien needs a command; its commands are info, convert, solve, ", "see mien --help"},
      {{"--quiet"}, "mien has no option --quiet", "see mien --help"},
      {{"--frob"}, "--frob", "see mien --help"},
      {{"info"}, "TAKE", "see mien info --help"},
      {{"solve", "take.csv"}, "--performer", "see mien solve --help"},
      {{"solve", "take.csv", "-p", "landmarks68"}, "--output", "see mien solve --help"},
      {{"solve", "-p", "landmarks68", "-o", "w.csv"}, "TAKE", "see mien solve --help"},
      {With(kSolve, {"--frob"}), "--frob", "see mien solve --help"},
      {With(kSolve, {"--neutral"}), "--neutral", "see mien solve --help"},
      {{"performer", "take.csv", "-o", "p.json"}, "--performer", "see mien performer --help"},
      {Solve("take.csv", "landmarks68", "w.txt"),
       "\"w.txt\" does not end in .csv, .json, .glb, .vrm or .vrma", "see mien solve --help"},
      {Solve("take.csv", "landmarks68", "w"), "\"w\" does not end in .csv", "see mien solve --help"},
      {Solve("take.csv", "landmarks68", ""), "does not end in .csv", "see mien solve --help"},
      {With(kArkit, {"w.json", "--templates"}), "--templates: this is for .csv", "see mien solve --help"},
      {With(kArkit, {"w.glb", "--csv-style", "plain"}), "--csv-style: this is for .csv",
       "see mien solve --help"},
      {With(kArkit, {"w.csv", "--csv-style", "phone"}), "phone", "see mien solve --help"},
      {With(kArkit, {"w.csv", "--csv-style", "livelink", "--templates"}), "--templates: --csv-style livelink",
       "see mien solve --help"},
      {With(kArkit, {"w.csv", "--onto", "h.glb"}), "--onto: this is for .glb", "see mien solve --help"},
      {With(kArkit, {"w.glb", "--head", "face"}), "--head: this is for --onto", "see mien solve --help"},
      {With(kArkit, {"w.csv", "--expression", "Smile"}), "--expression: \"Smile\" is not NAME=WEIGHT",
       "see mien solve --help"},
      {With(kArkit, {"w.csv", "--expression", "=1"}), "is not NAME=WEIGHT", "see mien solve --help"},
      {With(kArkit, {"w.csv", "--expression", "Smile=1x"}), "is not NAME=WEIGHT", "see mien solve --help"},
      {With(kArkit, {"w.csv", "--expression", "Smile=inf"}), "is not NAME=WEIGHT", "see mien solve --help"},
      {With(kSolve, {"--expression", "Smile=1"}), "--expression: this is for --character",
       "see mien solve --help"},
      {With(kArkit, {"w.csv", "--templates", "--expression", "Smile=1"}),
       "--expression: --templates leaves out", "see mien solve --help"},
      {With(kSolve, {"-c", ""}), "--character: the name is empty", "see mien solve --help"},
      {With(kArkit, {"w.glb", "--onto", ""}), "--onto: the name is empty", "see mien solve --help"},
      {With(kArkit, {"w.glb", "--onto", "h.glb", "--head", ""}), "--head: the name is empty",
       "see mien solve --help"},
      {{"character"},
       "mien character needs a command; its commands are from-glb, save",
       "see mien character --help"},
      {{"character", "from-glb", "-o", "c.json"},
       "HEAD.glb is required",
       "see mien character from-glb --help"},
      {{"character", "save", "arkit52"}, "--output is required", "see mien character save --help"},
      {With(kSolve, {"again.csv"}), "\"again.csv\" is one argument too many", "see mien solve --help"},
      {With(kSolve, {"-o", "again.csv"}), "--output is given more than once", "see mien solve --help"},
      {With(kSolve, {"--quiet=often"}), "--quiet takes no value", "see mien solve --help"},
      {{"info", "take.csv", "--face", "1.5"},
       "--face: \"1.5\" is not a whole number",
       "see mien info --help"},
  };
  for (const auto& [arguments, what, help] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2);
    EXPECT_THAT(ran.out, IsEmpty());
    const std::vector<std::string> lines = Lines(ran.err);
    ASSERT_THAT(lines, SizeIs(2)) << ran.err;
    EXPECT_THAT(lines[0], AllOf(StartsWith("mien: "), HasSubstr(what)));
    EXPECT_EQ(lines[1], "mien: " + help);
  }
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Command, NeutralIsAFrameOrARange) {
  for (const std::string text : {"", "a", "5-", "-", "--", "9-5", "1-2-3", "1.5", "5 -9", " 5", "5,9", "+5",
                                 "0x5", "99999999999999999999", "1-99999999999999999999"}) {
    const Ran ran = Run(With(kSolve, {"--neutral=" + text}));
    EXPECT_EQ(ran.exit_code, 2) << text;
    EXPECT_THAT(ran.err, HasSubstr("--neutral")) << text;
  }
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

// Whatever the name by which it is called: the take would be lost.
TEST_F(Command, TheTakeIsNeverOverwritten) {
  fs::create_symlink("take.csv", work_ / "link.csv");
  fs::create_hard_link(work_ / "take.csv", work_ / "hard.csv");
  for (const std::string& output :
       {std::string("take.csv"), std::string("./take.csv"), (work_ / "take.csv").string(),
        std::string("link.csv"), std::string("hard.csv")})
    for (const Arguments& arguments :
         {Solve("take.csv", "landmarks68", output),
          Arguments{"performer", "take.csv", "-p", "landmarks68", "-o", output}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const Ran ran = Run(arguments);
      EXPECT_EQ(ran.exit_code, 2);
      EXPECT_THAT(ran.err, HasSubstr("this is the take itself"));
      ASSERT_TRUE(Saved("take.csv") == take_);
    }
}

TEST_F(Command, TheSolvedPerformerIsNeverOverwritten) {
  ASSERT_EQ(Run({"performer", "take.csv", "-p", "landmarks68", "-o", "ada.csv"}).exit_code, 0);
  const std::string performer = Saved("ada.csv");
  EXPECT_EQ(Run(Solve("take.csv", "ada.csv", "ada.csv")).exit_code, 2);
  EXPECT_TRUE(Saved("ada.csv") == performer);
}

// --- Inputs at fault: exit code 1, what and where and the fix, and nothing left.

TEST_F(Command, BadTakesAreNamedWithPlaceAndFix) {
  const std::vector<std::string> rows = Lines(take_);
  const std::string header = rows[0] + '\n';
  Save("empty.csv", "");
  Save("blank.csv", "\n\n  \n");
  Save("header.csv", header);
  Save("columns.csv", "frame, timestamp, confidence\n1, 0, 1\n");
  Save("cut.csv", FirstLines(take_, 20) + rows[20].substr(0, rows[20].size() / 2) + '\n' + rows[21] + '\n');
  Save("number.csv", FirstLines(take_, 10) + rows[10].substr(0, rows[10].rfind(',')) + ", many\n");
  const std::string behind_time = rows[10].substr(rows[10].find(',', rows[10].find(',') + 1));
  Save("nan.csv", FirstLines(take_, 10) + "10, nan" + behind_time + '\n');
  Save("infinite.csv", FirstLines(take_, 10) + "10, 1e999" + behind_time + '\n');
  Save("binary.csv", std::string("\x7F"
                                 "ELF\0\1\2\3",
                                 8));
  Save("markers.csv", "frame,time,a.x,a.y,a.z\n1,0,1,2\n");
  fs::create_directory(work_ / "folder.csv");
  const std::pair<std::string, std::string> takes[] = {
      {"none.csv", "mien: none.csv: there is no such file; check"},
      {"", "mien: "},
      {"folder.csv", "mien: folder.csv: this is a folder; "},
      {"empty.csv", "mien: empty.csv: the file is empty; "},
      {"blank.csv", "mien: blank.csv: the file is empty; "},
      {"header.csv", "mien: header.csv:"},
      {"columns.csv", "mien: columns.csv:"},
      {"cut.csv", "mien: cut.csv:21"},
      {"number.csv", "mien: number.csv:11"},
      {"nan.csv", "mien: nan.csv:11"},
      {"infinite.csv", "mien: infinite.csv:11"},
      {"binary.csv", "mien: binary.csv: this is not a take of a known format; "},
      {"markers.csv", "mien: markers.csv:2"},
      {"/dev/zero", "mien: /dev/zero: this is a device; "},
      {std::string(300, 'a'), "mien: aaa"},
  };
  const std::vector<std::string> before = Files();
  for (const auto& [take, message] : takes)
    for (const Arguments& arguments :
         {Solve(take, "landmarks68", "w.csv"),
          Arguments{"performer", take, "-p", "landmarks68", "-o", "p.json"}, Arguments{"info", take}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const Ran ran = Run(arguments);
      EXPECT_EQ(ran.exit_code, 1);
      EXPECT_THAT(ran.out, IsEmpty());
      EXPECT_THAT(Lines(ran.err), ElementsAre(AllOf(StartsWith(message), HasSubstr("; "))));
      EXPECT_EQ(Files(), before);
    }
}

TEST_F(Command, BadPerformersAreNamedWithPlaceAndFix) {
  const auto file = [](const std::string& parts, const std::string& more = "") {
    return R"({ "format": "mien performer 1", "name": "A", "parts": )" + parts + more + " }";
  };
  std::string names;
  for (int i = 0; i < 226; ++i) names += (i > 0 ? ", \"m" : "\"m") + std::to_string(i) + '"';
  Save("empty.json", "");
  Save("broken.json", "{\n\"format\": ");
  Save("huge.json", file("{}", ", \"neutral\": { \"frames\": [1e999, 2] }"));
  Save("many.json", file(R"({ "Mouth": { "ChinHolder": [)" + names + "] } }"));
  Save("lacks.json", file(R"({ "Mouth": { "ChinHolder": ["lm8", "lm68"] } })"));
  Save("thin.json", file(R"({ "Mouth": { "ChinHolder": ["lm8"] } })"));
  const std::string face =
      R"({ "Mouth": { "LeftMouthHolder": ["lm54"], "RightMouthHolder": ["lm48"] }, "LeftBrow": { "BrowHolder": ["lm24"] } })";
  Save("frames.json", file(face, R"(, "neutral": { "frames": [500, 600] })"));
  Save("other.json", file(face, R"(, "neutral": { "positions": { "other": [1, 2, 3] } })"));
  fs::create_directory(work_ / "folder.json");
  fs::create_symlink("loop.json", work_ / "loop.json");
  const std::pair<std::string, std::string> performers[] = {
      {"landmarks67",
       "mien: landmarks67: there is no performer of this name and no such file; name a performer file, "
       "or one of the built-in ones: landmarks68"},
      {"", "mien: "},
      {"folder.json", "mien: folder.json: this is a folder; "},
      {"take.csv", "mien: take.csv: this is not a JSON file: "},
      {"empty.json", "mien: empty.json: the file is empty; "},
      {"broken.json", "mien: broken.json:2:11: this is not JSON from here on; "},
      {"huge.json", "mien: huge.json:"},
      {"many.json", "mien: many.json:/parts/Mouth/ChinHolder: 226 markers; leave 1 of them out"},
      {"lacks.json",
       "mien: lacks.json:/parts/Mouth/ChinHolder/1: the take \"take\" has no marker \"lm68\"; did you "
       "mean \"lm"},
      {"thin.json", "mien: thin.json:/parts: the neutral pose does not show which way the face looks; "},
      {"frames.json", "mien: frames.json:/neutral"},
      {"other.json", "mien: other.json:/neutral"},
      {"loop.json", "mien: loop.json: "},
      {std::string(300, 'a'), "mien: aaa"},
  };
  const std::vector<std::string> before = Files();
  for (const auto& [performer, message] : performers)
    for (const Arguments& arguments : {Solve("take.csv", performer, "w.csv"),
                                       Arguments{"performer", "take.csv", "-p", performer, "-o", "p.json"}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const Ran ran = Run(arguments);
      EXPECT_EQ(ran.exit_code, performer == "many.json" ? 3 : 1) << "too many is a limit";
      EXPECT_THAT(ran.out, IsEmpty());
      EXPECT_THAT(Lines(ran.err), ElementsAre(AllOf(StartsWith(message), HasSubstr("; "))));
      EXPECT_EQ(Files(), before);
    }
}

TEST_F(Command, AllMistakesOfAPerformerAreReportedEachOnALineOfItsOwn) {
  Save("bad.json", R"({ "format": "mien performer 1", "name": "", "hat": 1, "parts": { "Mouth": 1 } })");
  const Ran ran = Run(Solve("take.csv", "bad.json", "w.csv"));
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(Lines(ran.err), AllOf(SizeIs(4), testing::Each(StartsWith("mien: bad.json:/"))));
}

TEST_F(Command, NeutralFramesThatTheTakeLacksAreAnInputsFault) {
  const Ran ran = Run(With(kSolve, {"--neutral", "500-501"}));
  EXPECT_EQ(ran.exit_code, 1);
  EXPECT_THAT(ran.err, AllOf(StartsWith("mien: take"), HasSubstr("there are no frames 500 to 501"),
                             HasSubstr("from frame 1 to 60")));
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Command, AnOutputThatCannotBeWrittenIsReportedAndLeavesNothing) {
  fs::create_directory(work_ / "folder.csv");
  fs::create_symlink("loop.csv", work_ / "loop.csv");
  const std::vector<std::string> before = Files();
  for (const std::string& output :
       {std::string("folder.csv"), std::string("none/w.csv"), std::string("take.csv/w.csv"),
        std::string("loop.csv"), std::string("/proc/w.csv"), std::string("/dev/full"),
        std::string(300, 'a') + ".csv"})
    for (const Arguments& arguments :
         {Solve("take.csv", "landmarks68", output),
          Arguments{"performer", "take.csv", "-p", "landmarks68", "-o", output}}) {
      SCOPED_TRACE(testing::PrintToString(arguments));
      const Ran ran = Run(arguments);
      EXPECT_EQ(ran.exit_code, 1);
      EXPECT_THAT(Lines(ran.err), ElementsAre(AllOf(StartsWith("mien: " + output + ": "), HasSubstr("; "))));
      EXPECT_EQ(Files(), before);
    }
}

// Nobody wants to hear at the end of the work that it was for nothing.
TEST_F(Command, AnOutputThatCannotBeWrittenIsReportedBeforeTheTakeIsRead) {
  EXPECT_THAT(Run(Solve("none.csv", "none.json", "none/w.csv")).err, StartsWith("mien: none/w.csv: "));
}

TEST_F(Command, AFormerOutputOutlivesAFailedCommand) {
  Save("w.csv", "former");
  EXPECT_EQ(Run(Solve("none.csv", "landmarks68", "w.csv")).exit_code, 1);
  EXPECT_EQ(Run(With(kSolve, {"--neutral", "500"})).exit_code, 1);
  EXPECT_EQ(Saved("w.csv"), "former");
  EXPECT_THAT(Files(), ElementsAre("take.csv", "w.csv"));
}

TEST_F(Command, ANameThatIsNotUtf8IsRefused) {
  const Ran ran = Run({"performer", "take.csv", "-p", "landmarks68", "-o", "p.json", "--name", "A\xFF"});
  EXPECT_EQ(ran.signal, 0);
  EXPECT_THAT(ran.exit_code, testing::AnyOf(1, 2));
  EXPECT_THAT(ran.err, HasSubstr("UTF-8"));
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

TEST_F(Command, WordsOfFilesCannotSteerTheTerminal) {
  const std::string parts =
      R"("parts": { "Mouth": { "LeftMouthHolder": ["lm54"], "RightMouthHolder": ["lm48"] },
                                          "LeftBrow": { "BrowHolder": ["lm24"] } })";
  Save("name.json", R"({ "format": "mien performer 1", "name": "\u001b[2J", )" + parts + " }");
  Save("key.json", R"({ "format": "mien performer 1", "name": "A", "\u001b[2J": 1, )" + parts + " }");
  Save("markers.csv", "frame,time,\x1B[2J.x,\x1B[2J.y,\x1B[2J.z,lm54.x,lm54.y,lm54.z,lm48.x,lm48.y,lm48.z,"
                      "lm24.x,lm24.y,lm24.z\n1,0,,,,10,0,0,-10,0,0,0,50,0\n2,0.1,,,,10,0,0,-10,0,0,0,50,0\n");
  Save("marker.json", R"({ "format": "mien performer 1", "name": "A", "parts": { "Mouth": { "LeftMouthHolder":
       ["lm54", "\u001b[2J"], "RightMouthHolder": ["lm48"] }, "LeftBrow": { "BrowHolder": ["lm24"] } } })");
  const Ran name = Run(Solve("take.csv", "name.json", "w.csv")),
            key = Run(Solve("take.csv", "key.json", "w.csv")),
            marker = Run(Solve("markers.csv", "marker.json", "w.csv")), info = Run({"info", "markers.csv"});
  EXPECT_EQ(name.exit_code, 0);
  EXPECT_EQ(key.exit_code, 1);
  EXPECT_EQ(marker.exit_code, 0) << marker.err;
  EXPECT_THAT(marker.err, HasSubstr("left out"));
  for (const Ran& ran : {name, key, marker, info}) EXPECT_THAT(ran.err + ran.out, Not(HasSubstr("\x1B")));
}

// --- Streams and signals.

TEST_F(Command, AStandardOutputThatTakesNothingIsAnError) {
  for (const std::string out : {"/dev/full", "closed"})
    for (const Arguments& arguments : {Solve("take.csv", "landmarks68", "-"),
                                       Arguments{"performer", "take.csv", "-p", "landmarks68", "-o", "-"},
                                       Arguments{"info", "take.csv"}}) {
      SCOPED_TRACE(out + testing::PrintToString(arguments));
      const Ran ran = Run(arguments, {.out = out});
      EXPECT_EQ(ran.exit_code, 1);
      EXPECT_THAT(ran.err, HasSubstr("standard output"));
    }
}

// The weights are written and whole; that nobody hears the report does not undo them.
TEST_F(Command, AReportThatCannotBePrintedDoesNoHarm) {
  for (const std::string err : {"/dev/full", "closed"}) {
    const Ran ran = Run(kSolve, {.err = err});
    EXPECT_EQ(ran.signal, 0) << err;
    EXPECT_EQ(ran.exit_code, 0) << err;
    EXPECT_THAT(Lines(Saved("w.csv")), SizeIs(61)) << err;
  }
}

TEST_F(Command, ErrorsKeepTheirExitCodeWhereNobodyHearsThem) {
  EXPECT_EQ(Run(Solve("none.csv", "landmarks68", "w.csv"), {.err = "/dev/full"}).exit_code, 1);
  EXPECT_EQ(Run({"solve"}, {.err = "/dev/full"}).exit_code, 2);
  EXPECT_EQ(Run({"solve"}, {.err = "closed"}).exit_code, 2);
}

TEST_F(Command, AReaderWhoHasSeenEnoughLeavesNoLitter) {
  Save("whole.csv", ReadFile(kSamples / "landmarks.csv")); // so that the weights overfill the pipe
  for (const std::string command : {"solve whole.csv -p landmarks68 -q -o -", "info whole.csv",
                                    "solve whole.csv -p landmarks68 -q -o /dev/stdout"}) {
    const std::string line = "cd '" + work_.string() + "' && '" + MIEN_COMMAND + "' " + command + " 2>'" +
                             (Streams() / "err").string() + "' | head -n 1 >'" +
                             (Streams() / "out").string() + "'";
    EXPECT_EQ(std::system(line.c_str()), 0) << command;
    EXPECT_THAT(Lines(ReadFile(Streams() / "out")), SizeIs(1)) << command;
    EXPECT_THAT(ReadFile(Streams() / "err"), IsEmpty()) << command;
  }
  EXPECT_THAT(Files(), ElementsAre("take.csv", "whole.csv"));
}

TEST_F(Command, ADiskThatFillsUpLeavesTheFormerOutputAndNoLitter) {
  Save("w.csv", "former");
  for (const auto prepare : {+[] {}, +[] { std::signal(SIGXFSZ, SIG_IGN); }}) {
    Process process([&] {
      const rlimit limit = {4096, 4096};
      setrlimit(RLIMIT_FSIZE, &limit);
      return Become(kSolve, Streams() / "out", Streams() / "err", prepare);
    });
    EXPECT_EQ(process.Wait().exit_code, 1);
    EXPECT_THAT(ReadFile(Streams() / "err"), StartsWith("mien: w.csv: cannot be written: "));
    EXPECT_EQ(Saved("w.csv"), "former");
    EXPECT_THAT(Files(), ElementsAre("take.csv", "w.csv"));
  }
}

// A small file goes from its buffer to the disk only in the end.
TEST_F(Command, ADiskWithoutRoomForASmallFileIsReportedWithItsReason) {
  Process process([&] {
    const rlimit limit = {1000, 1000};
    setrlimit(RLIMIT_FSIZE, &limit);
    return Become({"character", "save", kSamples / "puppet.character.json", "-o", "c.json"},
                  Streams() / "out", Streams() / "err", [] {});
  });
  EXPECT_EQ(process.Wait().exit_code, 1);
  EXPECT_THAT(ReadFile(Streams() / "err"), StartsWith("mien: c.json: cannot be written: File too large; "));
  EXPECT_THAT(Files(), ElementsAre("take.csv"));
}

// While it waits for a take that does not come.
TEST_F(Command, AnInterruptionEndsItAsASignalAndLeavesNothing) {
  const fs::path pipe = work_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Save("w.csv", "former");
    Process process([&] {
      std::signal(signal, SIG_DFL); // whatever this test was started with
      return Become(Solve("pipe", "landmarks68", "w.csv"), Streams() / "out", Streams() / "err", [] {});
    });
    const int writer = WriterOf(pipe);
    ASSERT_GE(writer, 0);
    process.Send(signal);
    EXPECT_EQ(process.Wait().signal, signal);
    close(writer);
    EXPECT_EQ(Saved("w.csv"), "former");
    EXPECT_THAT(Files(), ElementsAre("pipe", "take.csv", "w.csv"));
  }
}

TEST_F(Command, OutlivesTheTerminalUnderNohup) {
  const fs::path pipe = work_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  Process process([&] {
    return Become(Solve("pipe", "landmarks68", "w.csv"), Streams() / "out", Streams() / "err",
                  [] { std::signal(SIGHUP, SIG_IGN); });
  });
  const int writer = WriterOf(pipe);
  ASSERT_GE(writer, 0);
  process.Send(SIGHUP);
  const auto before = std::signal(SIGPIPE, SIG_IGN); // should the command be gone
  for (std::size_t written = 0; written < take_.size();) {
    const ssize_t size = write(writer, take_.data() + written, take_.size() - written);
    if (size <= 0) break;
    written += static_cast<std::size_t>(size);
  }
  std::signal(SIGPIPE, before);
  close(writer);
  EXPECT_EQ(process.Wait().exit_code, 0);
  EXPECT_TRUE(fs::exists(work_ / "w.csv"));
}

// --- Output to other things than plain files.

TEST_F(Command, OutputGoesThroughLinksIntoPipesAndDevices) {
  fs::create_symlink("real.csv", work_ / "link.csv");
  Save("real.csv", "former");
  ASSERT_EQ(Run(Solve("take.csv", "landmarks68", "link.csv")).exit_code, 0);
  EXPECT_TRUE(fs::is_symlink(work_ / "link.csv"));
  const std::string weights = Saved("real.csv");
  EXPECT_THAT(Lines(weights), SizeIs(61));

  EXPECT_EQ(Run(Solve("take.csv", "landmarks68", "/dev/null")).exit_code, 0);
  const Ran ran = Run(Solve("take.csv", "landmarks68", "/dev/stdout"));
  EXPECT_EQ(ran.exit_code, 0) << ran.err;
  EXPECT_TRUE(ran.out == weights);
  EXPECT_THAT(Files(), ElementsAre("link.csv", "real.csv", "take.csv"));
}
