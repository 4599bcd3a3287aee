#include "host/cli/command_line.h"
#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

using mien::CommandDescription;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Arguments = std::vector<std::string>;

class HelpCommand : public MienTest {};

/// The words behind "mien" of every command, mien itself among them.
std::vector<Arguments> Commands() {
  std::vector<Arguments> all;
  const std::function<void(const CommandDescription&)> add = [&](const CommandDescription& command) {
    std::istringstream words(command.name);
    Arguments& added = all.emplace_back();
    for (std::string word; words >> word;) added.push_back(word);
    added.erase(added.begin());
    for (const CommandDescription& own : command.commands) add(own);
  };
  add(mien::DescribeCommandLine());
  return all;
}

Arguments With(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

} // namespace

TEST_F(HelpCommand, PrintsWhatHelpOfTheCommandPrints) {
  ASSERT_EQ(Commands().size(), 15u);
  for (const Arguments& command : Commands()) {
    const Ran ran = Run(With({"help"}, command));
    EXPECT_EQ(ran.exit_code, 0) << testing::PrintToString(command);
    EXPECT_THAT(ran.err, IsEmpty());
    EXPECT_EQ(ran.out, Run(With(command, {"--help"})).out);
  }
}

TEST_F(HelpCommand, VersionIsAnsweredByEveryCommand) {
  const std::string version = Run({"--version"}).out;
  for (const Arguments& command : Commands()) {
    const Ran ran = Run(With(command, {"--version"}));
    EXPECT_EQ(ran.exit_code, 0) << testing::PrintToString(command);
    EXPECT_EQ(ran.out, version);
  }
}

// Who asks for help may be in the middle of a command line that is wrong.
TEST_F(HelpCommand, IsAnsweredWhateverIsWrongBesides) {
  const std::string help = Run({"solve", "--help"}).out;
  for (const Arguments& arguments : std::vector<Arguments>{{"solve", "--frob", "--help"},
                                                           {"solve", "none.csv", "-h"},
                                                           {"solve", "--neutral", "x", "--help"},
                                                           {"solve", "--help", "--smooth"},
                                                           {"solve", "--json", "--help"},
                                                           {"solve", "--version", "--help"},
                                                           {"--help", "solve"}}) {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 0) << testing::PrintToString(arguments);
    EXPECT_EQ(ran.out, help) << testing::PrintToString(arguments);
    EXPECT_THAT(ran.err, IsEmpty());
  }
}

TEST_F(HelpCommand, ThatCannotBePrintedIsAnError) {
  for (const Arguments& arguments : std::vector<Arguments>{{"--help"},
                                                           {"--help-all"},
                                                           {"--version"},
                                                           {"help"},
                                                           {"help", "solve"},
                                                           {"solve", "-h"},
                                                           {"info", "--version"}})
    for (const bool closed : {false, true}) {
      const std::string place = closed ? ">&-" : ">/dev/full";
      std::string line = std::string("'") + MIEN_COMMAND + "' ";
      for (const std::string& argument : arguments) line += argument + ' ';
      const int status = std::system(("cd '" + folder_.string() + "' && " + line + "2>err " + place).c_str());
      EXPECT_EQ(WEXITSTATUS(status), 1) << line << place;
      EXPECT_EQ(Saved("err"), std::string("mien: standard output: cannot be written: ") +
                                  (closed ? "Bad file descriptor" : "No space left on device") +
                                  "; check where it goes\n");
    }
}

TEST_F(HelpCommand, ShowsEachArgumentOnce) {
  const std::string help = Run({"convert", "--help"}).out;
  EXPECT_THAT(help, HasSubstr("Usage: mien convert TAKE OUT [OPTION]...\n"));
  EXPECT_THAT(help, HasSubstr("\n  OUT, -o, --output  The file to write"));
  std::size_t times = 0;
  for (std::size_t at = 0; (at = help.find("The file to write", at)) != std::string::npos; ++at) ++times;
  EXPECT_EQ(times, 1u);
}

// The description and the parser agree: what has a type in the help takes a value.
TEST_F(HelpCommand, EveryOptionTakesAValueIfItsHelpSaysSo) {
  int options = 0;
  const std::function<void(const CommandDescription&, const Arguments&)> check =
      [&](const CommandDescription& command, const Arguments& words) {
        for (const mien::OptionDescription& option : command.options) {
          const std::string name = option.Names().back();
          if (!name.starts_with('-') || name == "--help-all") continue;
          const std::string message = Run(With(words, {name})).err;
          EXPECT_EQ(message.find("needs a value") != std::string::npos, !option.type.empty())
              << command.name << ' ' << name << ": " << message;
          ++options;
        }
        for (const CommandDescription& own : command.commands) check(own, With(words, {own.LastName()}));
      };
  check(mien::DescribeCommandLine(), {});
  EXPECT_GT(options, 40);
}
