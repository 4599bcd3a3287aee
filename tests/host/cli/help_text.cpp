#include "host/cli/help_text.h"

#include <gtest/gtest.h>

using mien::CommandDescription;
using mien::HelpText;

namespace {

CommandDescription Example() {
  CommandDescription command;
  command.name = "mien bake";
  command.summary = "Bake a cake from what is there";
  command.details = {{"The ending of CAKE chooses the kind:", {{".pie", "Round, with a lid"}}}};
  command.examples = {"mien bake flour eggs -o birthday.pie"};
  command.options = {
      {.names = "THING", .help = "What goes in", .required = true, .repeatable = true},
      {.names = "CAKE,-o,--output", .type = "CAKE", .help = "What comes out", .required = true},
      {.names = "-t,--temperature", .type = "DEGREES", .help = "Of the oven", .required = true},
      {.names = "--a-name-that-is-long", .type = "VALUE", .help = "Help below the name"},
      {.names = "--icing", .help = "Add icing", .group = "Taste"}};
  return command;
}

} // namespace

TEST(HelpText, ShowsArgumentsDetailsOptionsByGroupAndExamples) {
  EXPECT_EQ(HelpText(Example(), 70), R"(Bake a cake from what is there.

Usage: mien bake THING... CAKE -t DEGREES [OPTION]...

Arguments:
  THING               What goes in
  CAKE, -o, --output  What comes out

The ending of CAKE chooses the kind:
  .pie  Round, with a lid

Options:
  -t, --temperature DEGREES
              Of the oven
  --a-name-that-is-long VALUE
              Help below the name
  -h, --help  Print this help and exit
  --version   Print the version and exit

Taste:
  --icing  Add icing

Examples:
  mien bake flour eggs -o birthday.pie
)");
}

TEST(HelpText, PutsHelpBelowTheNamesWhereTheTerminalIsNarrow) {
  CommandDescription command = Example();
  command.options.resize(2);
  command.details.clear();
  command.examples.clear();
  EXPECT_EQ(HelpText(command, 20), R"(Bake a cake from
what is there.

Usage: mien bake
       THING... CAKE
       [OPTION]...

Arguments:
  THING
    What goes in
  CAKE, -o, --output
    What comes out

Options:
  -h, --help
    Print this help
    and exit
  --version
    Print the
    version and exit
)");
}

TEST(HelpText, OfAllIsThatOfEachCommand) {
  CommandDescription mien;
  mien.name = "mien", mien.summary = "Cook";
  mien.commands.push_back(Example());
  EXPECT_EQ(HelpTextOfAll(mien, 80), HelpText(mien, 80) + "\n\n" + HelpText(Example(), 80));
  EXPECT_NE(HelpText(mien, 80).find("\nUsage: mien COMMAND [OPTION]...\n\nCommands:\n  bake  Bake a cake"),
            std::string::npos);
}
