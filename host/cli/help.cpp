#include "host/cli/commands.h"
#include "host/cli/help_text.h"
#include "host/cli/output.h"
#include "host/cli/terminals.h"
#include "host/cli/usage_problem.h"

#include <memory>
#include <string>
#include <vector>

namespace mien {

void AddHelpCommand(Command& mien) {
  Command command = mien.AddCommand("help", "Print the help of a command");
  command.Details("\"mien help solve\" and \"mien solve --help\" print the same.");
  command.Example("mien help solve");
  command.Example("mien help character save");
  const auto names = std::make_shared<std::vector<std::string>>();
  command.AddRest({.names = "COMMAND",
                   .help = "The command; without one, mien itself",
                   .values = mien.Description().CommandNames()},
                  *names);
  command.OnRun([names, root = &mien.Description()](Output& output) {
    const CommandDescription* described = root;
    for (const std::string& name : *names) {
      const CommandDescription* const own = described->Find(name);
      if (!own) throw InputError(UnknownCommand(*described, name));
      described = own;
    }
    output.Print(HelpText(*described, StandardOutputTerminal().columns));
  });
}

} // namespace mien
