#include "host/cli/commands.h"
#include "host/takes/describe.h"
#include "host/takes/read_take.h"
#include "host/write/whole_file.h"

#include <memory>
#include <string>

namespace mien {

void AddInfoCommand(CLI::App& app) {
  CLI::App* const command =
      app.add_subcommand("info", "Say what is in a take: markers, frames, rate, gaps, extents");
  command->footer("Example: mien info take.csv");
  auto take = std::make_shared<std::string>();
  command->add_option("TAKE", *take, "The take's file: landmark CSV or marker CSV")->required();
  command->callback([take] {
    const std::string text = ToText(Describe(ReadTake(*take)));
    WriteWhole("-", [&](std::ostream& out) { out << text; });
  });
}

} // namespace mien
