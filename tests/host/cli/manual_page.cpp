#include "host/cli/manual_page.h"

#include "host/cli/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using mien::CommandDescription;
using mien::ManualPage;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A root with a command whose words all mean something in roff.
CommandDescription Hostile() {
  CommandDescription mien;
  mien.name = "mien", mien.summary = "Cook";
  CommandDescription& command = mien.commands.emplace_back();
  command.name = "mien bake";
  command.summary = "Bake a \\fBcake\\fR";
  command.details = {{".sp is no request; 'tis \"quoted\", `so` ^~", {{".pie", "Etc..."}}}};
  command.examples = {".bake -o \\x"};
  command.options = {{.names = "CAKE,-o,--output", .type = "CAKE", .help = "What comes out"},
                     {.names = "--icing", .type = "LAYERS", .help = "Add icing", .group = "Taste"}};
  return mien;
}

} // namespace

TEST(ManualPage, HasNothingThatRoffWouldObey) {
  const CommandDescription mien = Hostile();
  const std::string page = ManualPage(mien.commands.front(), mien);
  EXPECT_THAT(page, StartsWith(".TH MIEN\\-BAKE 1 \"\" \"mien "));
  EXPECT_THAT(page, HasSubstr("\n.SH NAME\nmien\\-bake \\- bake a \\(rsfBcake\\(rsfR\n"));
  EXPECT_THAT(page,
              HasSubstr("\n.PP\n\\&.sp is no request; \\(aqtis \\(dqquoted\\(dq, \\(gaso\\(ga \\(ha\\(ti\n"));
  EXPECT_THAT(page, HasSubstr("\n.TP\n\\fB.pie\\fR\nEtc...\n"));
  EXPECT_THAT(page, HasSubstr("\n.EX\n\\&.bake \\-o \\(rsx\n.EE\n"));
}

TEST(ManualPage, ShowsOptionsByGroup) {
  const CommandDescription mien = Hostile();
  EXPECT_THAT(ManualPage(mien.commands.front(), mien),
              AllOf(HasSubstr("\n.TP\n\\fICAKE\\fR, \\fB\\-o\\fR, \\fB\\-\\-output\\fR\nWhat comes out.\n"),
                    HasSubstr("\\fB\\-\\-version\\fR\nPrint the version and exit.\n.SS Taste\n.TP\n"
                              "\\fB\\-\\-icing\\fR \\fILAYERS\\fR\nAdd icing.\n")));
}

TEST(ManualPage, NamesTheOthers) {
  const CommandDescription mien = Hostile();
  EXPECT_THAT(ManualPage(mien, mien), AllOf(HasSubstr("\n.SH COMMANDS\n.TP\n\\fBmien\\-bake\\fR(1)\nBake a"),
                                            HasSubstr("\n.SH SEE ALSO\n\\fBmien\\-bake\\fR(1)\n")));
  EXPECT_THAT(ManualPage(mien.commands.front(), mien), HasSubstr("\n.SH SEE ALSO\n\\fBmien\\fR(1)\n"));
}

TEST(ManualPage, IsNamedByAllWordsOfItsCommand) {
  const CommandDescription mien = mien::DescribeCommandLine();
  const CommandDescription* const character = mien.Find("character");
  ASSERT_TRUE(character);
  ASSERT_TRUE(character->Find("save"));
  EXPECT_EQ(ManualPageName(*character->Find("save")), "mien-character-save");
}
