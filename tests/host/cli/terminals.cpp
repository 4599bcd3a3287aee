// The command on a terminal: colour, progress, narrow columns, keys, and words that would steer it.

#include "host/cli/terminals.h"

#include "host/files/read_file.h"
#include "host/inspect/text_table.h"
#include "tests/host/cli/run_mien.h"
#include "tests/host/pseudo_terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

namespace {

const std::string kSamples = MIEN_SAMPLES_FOLDER;

using Arguments = std::vector<std::string>;
using Environment = std::vector<std::pair<const char*, const char*>>;

class OnATerminal : public MienTest {
protected:
  /// A child process that is the command, in the test's folder.
  int Become(const PseudoTerminal& terminal, const Arguments& arguments,
             const Environment& environment = {}) const {
    for (const char* name : {"NO_COLOR", "LC_CTYPE", "LANG"}) unsetenv(name);
    setenv("TERM", "xterm", 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    for (const auto& [name, value] : environment) setenv(name, value, 1);
    std::signal(SIGINT, SIG_DFL); // whatever this test was started with
    terminal.Become();
    std::vector<char*> argv = {const_cast<char*>("mien")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    if (chdir(folder_.c_str()) == 0) execv(MIEN_COMMAND, argv.data());
    return 127;
  }

  /// What the command shows, line ends as the command writes them.
  std::string Shown(const Arguments& arguments, const Environment& environment = {},
                    unsigned short columns = 80) const {
    const PseudoTerminal terminal(columns);
    Process process([&] { return Become(terminal, arguments, environment); });
    std::string shown;
    siginfo_t end{};
    EXPECT_TRUE(Eventually([&] {
      shown += terminal.Shown(10); // or it would wait for the terminal to be read
      waitid(P_PID, static_cast<id_t>(process.Id()), &end, WEXITED | WNOHANG | WNOWAIT);
      return end.si_pid != 0;
    }));
    process.Wait();
    shown += terminal.Shown();
    for (std::size_t at = 0; (at = shown.find("\r\n", at)) != std::string::npos;) shown.erase(at, 1);
    return shown;
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
};

} // namespace

TEST_F(OnATerminal, ErrorsAreRedAndNotesYellowUnlessColourIsUnwanted) {
  Write("gap.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,1,2,3\n4,1.5,1,2,3\n");
  const std::string coloured = "\033[1;31mmien:\033[m none.csv: there is no such file; check the path\n";
  const std::string plain = "mien: none.csv: there is no such file; check the path\n";
  const Arguments wrong = {"info", "none.csv"}, noted = {"convert", "gap.csv", "a.csv"};
  EXPECT_EQ(Shown(wrong), coloured);
  EXPECT_EQ(Shown(wrong, {{"NO_COLOR", ""}}), coloured) << "an empty one asks for nothing";
  EXPECT_EQ(Shown(wrong, {{"NO_COLOR", "1"}}), plain);
  EXPECT_EQ(Shown(wrong, {{"TERM", "dumb"}}), plain);
  EXPECT_THAT(Shown(noted), HasSubstr("\n\033[33m           frames missing: 1 after frame 2\033[m\n"));
  EXPECT_THAT(Shown(noted, {{"NO_COLOR", "1"}}), HasSubstr("\n           frames missing: 1 after frame 2\n"));
  EXPECT_EQ(Run(wrong).err, plain) << "no terminal";
}

TEST_F(OnATerminal, ASolveEndsWithItsWeightsOverTime) {
  const Arguments solve = {"solve", kSamples + "/landmarks.csv", "-p", "landmarks68", "-o", "w.csv"};
  const std::string wide = Shown(solve);
  EXPECT_THAT(wide, HasSubstr("\n  weights over time, \u2588 is 1.01\n  RightBrow.Down     |"));
  EXPECT_THAT(wide, EndsWith(" s\n"));
  const auto longest = [](const std::string& shown) { // of the picture's lines
    std::istringstream lines(shown.substr(shown.find("  weights over time")));
    std::size_t most = 0;
    for (std::string line; std::getline(lines, line);) most = std::max(most, mien::Columns(line));
    return most;
  };
  EXPECT_EQ(longest(wide), 80u);
  EXPECT_EQ(longest(Shown(solve, {}, 60)), 60u);
  EXPECT_THAT(Shown(solve, {{"LC_ALL", "C"}}), HasSubstr("\n  weights over time, # is 1.01\n"));
  Arguments quiet = solve, as_json = solve;
  quiet.push_back("--quiet");
  as_json.push_back("--json");
  EXPECT_EQ(Shown(quiet), "");
  EXPECT_THAT(Shown(as_json), Not(HasSubstr("over time")));
  EXPECT_THAT(Shown(solve, {{"TERM", "dumb"}}), Not(HasSubstr("over time")));
  EXPECT_THAT(Run(solve).err, Not(HasSubstr("over time"))) << "no terminal";
}

TEST_F(OnATerminal, WordsOfFilesCannotSteerIt) {
  const std::string steers = "\x1B[2J\u009B1m\u202E\u2066\u200B\xFF";
  Write("take.csv",
        "frame,time," + steers + ".x," + steers + ".y," + steers + ".z\n1,0,1,2,3\n2,0.5,1,2,3\n");
  const std::string name = "\x1B]0;\u202E\xFF.csv"; // its content is UTF-8, its name is not
  Write(name, "frame,time,\u202E\u009B.x,\u202E\u009B.y,\u202E\u009B.z\n1,0,1,2,3\n2,0.5,1,2,3\n4,1.5,,,\n");
  const Environment plain = {{"NO_COLOR", "1"}};
  for (const Arguments& arguments :
       std::vector<Arguments>{{"info", "take.csv"},
                              {"info", name},
                              {"info", "--json", name},
                              {"info", steers},
                              {"convert", name, "-"},
                              {"convert", name, "/dev/tty"},
                              {"convert", name, "/dev/stdout"},
                              {"convert", name, "a.trc"},
                              {"convert", name, "b.csv", "--markers", steers},
                              {"convert", name, "b.csv", "--timecode", steers},
                              {"convert", name, steers},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv"},
                              {"solve", name, "-p", steers, "-o", "w.csv"},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv", "--neutral", steers},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv", "--csv-style", steers},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv", "--expression", steers},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv", "--smooth", steers},
                              {"solve", name, "-p", "landmarks68", "-o", "w.csv", "--fill", steers},
                              {"performer", name, "-p", "landmarks68", "-o", "p.json", "--name", steers},
                              {"character", "save", "arkit52", "-o", "-", "--name", "\u202E\u009B"},
                              {"character", "save", steers, "-o", "-"},
                              {"help", steers},
                              {"--" + steers},
                              {"info", "--" + steers},
                              {"info", "-" + steers},
                              {"info", "take.csv", "--face", steers},
                              {steers, steers},
                              {"convert", "take.csv", "b.csv", steers}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    std::string shown = Shown(arguments, plain);
    EXPECT_THAT(shown, Not(testing::IsEmpty()));
    // What a command that takes long begins its progress with. No word here has it.
    const std::string wipe = "\r\033[K";
    for (std::size_t at = 0; (at = shown.find(wipe, at)) != std::string::npos;) shown.erase(at, wipe.size());
    for (const char* forbidden : {"\x1B", "\u009B", "\u202E", "\u2066", "\u200B", "\xFF"})
      EXPECT_THAT(shown, Not(HasSubstr(forbidden)));
  }
}

// A document for programs says what it says, in other letters.
TEST_F(OnATerminal, DataInAPipeStaysAsItIs) {
  Write("take.csv", "frame,time,\u202E.x,\u202E.y,\u202E.z\n1,0,1,2,3\n2,0.5,1,2,3\n");
  EXPECT_EQ(Run({"convert", "take.csv", "-"}).out, Saved("take.csv"));
  EXPECT_THAT(Run({"info", "--json", "take.csv"}).out, HasSubstr("\"name\": \"\\u202e\""));
}

TEST_F(OnATerminal, HelpFitsItsColumns) {
  for (const int columns : {40, 80, 120})
    for (const Arguments& arguments :
         std::vector<Arguments>{{"--help"}, {"convert", "-h"}, {"help", "character"}}) {
      std::istringstream help(Shown(arguments, {}, static_cast<unsigned short>(columns)));
      bool is_example = false;
      int lines = 0;
      for (std::string line; std::getline(help, line); ++lines) {
        is_example |= line == "Examples:";
        EXPECT_TRUE(is_example || line.size() <= static_cast<std::size_t>(columns)) << line;
      }
      EXPECT_GT(lines, 10);
    }
}

TEST_F(OnATerminal, ProgressIsWipedAndLeavesTheReport) {
  fs::copy_file(kSamples + "/landmarks.csv", folder_ / "take.csv");
  ASSERT_EQ(mkfifo((folder_ / "slow").c_str(), 0600), 0);
  const PseudoTerminal terminal;
  Process process([&] {
    return Become(terminal, {"solve", "slow", "-p", "landmarks68", "-o", "w.csv"}, {{"NO_COLOR", "1"}});
  });
  const std::string take = Saved("take.csv");
  std::ofstream slow(folder_ / "slow", std::ios::binary);
  slow << take.substr(0, 100000) << std::flush;
  std::string shown;
  const auto is_shown = [&] {
    return (shown += terminal.Shown(10)).find("reading slow") != std::string::npos;
  };
  usleep(600'000); // longer than progress waits
  slow << take.substr(100000, 100000) << std::flush;
  EXPECT_TRUE(Eventually(is_shown)) << shown;
  slow << take.substr(200000);
  slow.close();
  EXPECT_EQ(process.Wait().exit_code, 0);
  shown += terminal.Shown();
  EXPECT_THAT(shown, StartsWith("\r\033[Kreading slow, 0 MB"));
  EXPECT_THAT(shown, HasSubstr("\r\033[Ktake       slow: 360 frames"));
  EXPECT_THAT(shown, HasSubstr("wrote      w.csv: 360 frames, 23 templates\r\n  weights over time, "));
}

TEST_F(OnATerminal, ControlCInTheMiddleLeavesNothing) {
  ASSERT_EQ(mkfifo((folder_ / "take").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo((folder_ / "out.csv").c_str(), 0600), 0);
  fs::copy_file(kSamples + "/landmarks.csv", folder_ / "landmarks.csv");
  // While the take is read, and while its weights are written.
  for (const Arguments& arguments : std::vector<Arguments>{
           {"solve", "take", "-p", "landmarks68", "-o", "w.csv", "--report", "r.json"},
           {"solve", "landmarks.csv", "-p", "landmarks68", "-o", "out.csv", "--report", "r.json"}}) {
    const PseudoTerminal terminal;
    Process process([&] { return Become(terminal, arguments); });
    std::fstream other_end(folder_ / (arguments[1] == "take" ? "take" : "out.csv"),
                           arguments[1] == "take" ? std::ios::out : std::ios::in); // waits for the command
    terminal.Type("\x03");
    EXPECT_EQ(process.Wait().signal, SIGINT);
    EXPECT_THAT(Files(), ElementsAre("landmarks.csv", "out.csv", "take"));
  }
}
