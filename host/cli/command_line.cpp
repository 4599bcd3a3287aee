#include "host/cli/command_line.h"

#include "host/base/error.h"
#include "host/cli/command.h"
#include "host/cli/commands.h"
#include "host/cli/output.h"
#include "host/cli/signals.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

namespace {

/// The name of the command that the arguments choose, as far as they do.
std::string ChosenCommand(const CLI::App& app) {
  const auto chosen = app.get_subcommands();
  return chosen.empty() ? "" : chosen[0]->get_name();
}

} // namespace

int RunCommandLine(int argc, const char* const* argv) {
  HandleSignals();
  const std::vector<std::string> arguments(argv, argv + argc);
  Output output;
  output.json =
      std::find(arguments.begin(), arguments.end(), "--json") != arguments.end(); // also where parsing fails

  CLI::App app("Solves a recorded face, markers or landmarks, into a character's animation.", "mien");
  app.set_version_flag("--version", "mien " MIEN_VERSION);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_help_all_flag("--help-all", "Print the help of every command and exit");
  app.footer("Example: mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv\n"
             "Each command has a help of its own: mien solve --help");
  app.parse_complete_callback([&] { output.command = ChosenCommand(app); });
  Command commands(app, output);
  AddInfoCommand(commands);
  AddConvertCommand(commands);
  AddSolveCommand(commands, arguments);
  AddPerformerCommand(commands);
  AddCharacterCommand(commands);

  const auto fail = [&](Code code, std::string_view what, std::string_view fix) {
    return output.Finish({{code, "", "", std::string(what), std::string(fix)}});
  };
  try {
    app.parse(argc, argv);
    if (app.get_subcommands().empty())
      throw CLI::RequiredError("a subcommand (info, convert, solve, performer or character)");
  } catch (const CLI::Success& help_or_version) {
    return app.exit(help_or_version);
  } catch (const CLI::ParseError& error) {
    output.command = ChosenCommand(app);
    return fail(Code::Usage, error.what(), "");
  } catch (const InputError& error) {
    output.command = ChosenCommand(app);
    return output.Finish(error.Problems());
  } catch (const std::bad_alloc&) {
    return fail(Code::Memory, "memory ran out", "close other programs or cut the take into shorter ones");
  }
  return output.Finish({});
}

} // namespace mien
