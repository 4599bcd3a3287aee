#include "host/cli/command_line.h"

#include "host/base/error.h"
#include "host/cli/commands.h"
#include "host/cli/report.h"
#include "host/files/whole_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <new>
#include <string_view>

namespace mien {

namespace {

constexpr int kInputAtFault = 1, kCommandLineAtFault = 2;

int Fail(std::string_view messages, int exit_code) {
  for (std::size_t start = 0; start <= messages.size();) {
    const std::size_t end = std::min(messages.find('\n', start), messages.size());
    Report(fmt::format("mien: {}\n", messages.substr(start, end - start)));
    start = end + 1;
  }
  return exit_code;
}

} // namespace

int RunCommandLine(int argc, const char* const* argv) {
  RemoveTemporaryFileOnSignals();
  CLI::App app("Solves a recorded face, markers or landmarks, into a character's animation.", "mien");
  app.set_version_flag("--version", "mien " MIEN_VERSION);
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.set_help_all_flag("--help-all", "Print the help of every command and exit");
  app.footer("Example: mien solve take.csv --performer landmarks68 --character arkit52 -o shapes.csv\n"
             "Each command has a help of its own: mien solve --help");
  AddInfoCommand(app);
  AddConvertCommand(app);
  AddSolveCommand(app, {argv, argv + argc});
  AddPerformerCommand(app);
  AddCharacterCommand(app);

  try {
    app.parse(argc, argv);
    if (app.get_subcommands().empty())
      throw CLI::RequiredError("a subcommand (info, convert, solve, performer or character)");
  } catch (const CLI::Success& help_or_version) {
    return app.exit(help_or_version);
  } catch (const CLI::ParseError& error) {
    Fail(error.what(), kCommandLineAtFault);
    const auto used = app.get_subcommands();
    return Fail(fmt::format("see mien {}--help", used.empty() ? "" : used[0]->get_name() + " "),
                kCommandLineAtFault);
  } catch (const InputError& error) {
    return Fail(error.what(), kInputAtFault);
  } catch (const std::bad_alloc&) {
    return Fail("memory ran out; close other programs or cut the take into shorter ones", kInputAtFault);
  }
  return 0;
}

} // namespace mien
