#include "host/cli/command_line.h"

#include "host/base/error.h"
#include "host/cli/command.h"
#include "host/cli/commands.h"
#include "host/cli/help_text.h"
#include "host/cli/output.h"
#include "host/cli/signals.h"
#include "host/cli/terminals.h"
#include "host/cli/usage_problem.h"
#include "host/files/standard_streams.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <new>
#include <string>
#include <vector>

namespace mien {

namespace {

constexpr char kHelpAll[] = "--help-all";

/// Sets up the parser and describes it. All three must outlive the parsing.
void SetUp(CLI::App& app, CommandDescription& mien, Output& output,
           const std::vector<std::string>& arguments) {
  mien.name = "mien";
  mien.summary = "Solve a recorded face, markers or landmarks, into a character's animation";
  Command root(app, mien, output);
  app.require_subcommand(0, 1); // else a file with the name of a command would be one
  app.set_help_all_flag(kHelpAll);
  mien.options.push_back({.names = kHelpAll, .help = "Print the help of every command and exit"});
  root.Details("\"mien COMMAND --help\" describes a command.");
  root.Example("mien info take.csv");
  root.Example("mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv");
  AddInfoCommand(root);
  AddConvertCommand(root);
  AddSolveCommand(root, arguments);
  AddRetargetCommand(root, arguments);
  AddLiveCommand(root);
  AddBatchCommand(root);
  AddViewCommand(root, arguments);
  AddCompareCommand(root, arguments);
  AddPerformerCommand(root);
  AddCalibrateCommand(root);
  AddCharacterCommand(root);
  AddHelpCommand(root);
}

/// Prints the help or the version where an argument asks for it, even if others are wrong.
bool AnswerQuestion(const CLI::App& app, const CommandDescription& mien, Output& output) {
  bool help = false, help_all = false, version = false;
  const auto has = [](const CLI::Option* option) { return option && option->count() > 0; };
  for (const CLI::App* command = &app; command;) {
    help |= has(command->get_help_ptr());
    help_all |= has(command->get_help_all_ptr());
    version |= has(command->get_version_ptr());
    const std::vector<CLI::App*> chosen = command->get_subcommands();
    command = chosen.empty() ? nullptr : chosen[0];
  }
  if (!help && !help_all && !version) return false;
  const std::size_t columns = StandardOutputTerminal().columns;
  output.json = false; // the answer is for people
  output.Print(help_all ? HelpTextOfAll(mien, columns)
               : help   ? HelpText(ChosenCommand(app, mien), columns)
                        : "mien " MIEN_VERSION "\n");
  return true;
}

/// Parses the arguments, which runs the command that they choose. Throws InputError.
void Run(CLI::App& app, const CommandDescription& mien, Output& output, int argc, const char* const* argv) {
  const auto name_command = [&] {
    const auto chosen = app.get_subcommands();
    output.command = chosen.empty() ? "" : chosen[0]->get_name();
    output.help = ChosenCommand(app, mien).name + " --help";
  };
  app.parse_complete_callback(name_command);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    name_command();
    if (!AnswerQuestion(app, mien, output)) throw InputError(UsageProblem(error, app, mien));
    return;
  }
  if (app.get_subcommands().empty()) throw InputError(MissingCommand(mien));
}

/// What is wrong where `run` does not come to its end.
std::vector<Problem> ProblemsOf(const std::function<void()>& run) {
  try {
    run();
  } catch (const InputError& error) { return error.Problems(); } catch (const std::bad_alloc&) {
    return {
        {Code::Memory, "", "", "memory ran out", "close other programs or cut the take into shorter ones"}};
  }
  return {};
}

} // namespace

int RunCommandLine(int argc, const char* const* argv) {
  HandleSignals();
  OccupyClosedStandardStreams();
  const std::vector<std::string> arguments(argv, argv + argc);
  Output output;
  output.json =
      std::find(arguments.begin(), arguments.end(), "--json") != arguments.end(); // also where parsing fails
  CLI::App app;
  CommandDescription mien;
  SetUp(app, mien, output, arguments);
  const int exit_code = output.Finish(ProblemsOf([&] { Run(app, mien, output, argc, argv); }));
  if (output.signal != 0) EndBySignal(output.signal);
  return exit_code;
}

CommandDescription DescribeCommandLine() {
  CLI::App app;
  CommandDescription mien;
  Output output;
  SetUp(app, mien, output, {});
  return mien;
}

} // namespace mien
