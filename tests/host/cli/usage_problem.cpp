#include "host/cli/usage_problem.h"

#include "tests/host/cli/run_mien.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

using Arguments = std::vector<std::string>;

class UsageProblems : public MienTest {
protected:
  UsageProblems() { Write("take.csv", "frame,time,A.x,A.y,A.z\n1,0,1,2,3\n2,0.5,1,2,3\n"); }

  /// The first line of what a wrong command line gets, after "mien: ".
  std::string FaultOf(const Arguments& arguments) const {
    const Ran ran = Run(arguments);
    EXPECT_EQ(ran.exit_code, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(ran.out, IsEmpty());
    EXPECT_THAT(ran.err, StartsWith("mien: "));
    EXPECT_THAT(ran.err, EndsWith("--help\n"));
    return ran.err.substr(6, ran.err.find('\n') - 6);
  }
};

} // namespace

TEST_F(UsageProblems, AMistypedCommandGetsTheNearest) {
  const std::pair<Arguments, std::string> cases[] = {
      {{"sovle", "take.csv", "-p", "landmarks68"}, "mien has no command \"sovle\"; did you mean solve?"},
      {{"Solve"}, "mien has no command \"Solve\"; did you mean solve?"},
      {{"inof", "take.csv"}, "mien has no command \"inof\"; did you mean info?"},
      {{"conver", "take.csv", "a.c3d"}, "mien has no command \"conver\"; did you mean convert?"},
      {{"charakter", "save"}, "mien has no command \"charakter\"; did you mean character?"},
      {{"hlep", "solve"}, "mien has no command \"hlep\"; did you mean help?"},
      {{"character", "from_glb", "a.glb"},
       "mien character has no command \"from_glb\"; did you mean from-glb?"},
      {{"help", "sovle"}, "mien has no command \"sovle\"; did you mean solve?"},
      {{"help", "character", "sav"}, "mien character has no command \"sav\"; did you mean save?"},
      {{"take.csv"},
       "mien has no command \"take.csv\"; its commands are info, convert, solve, retarget, live, batch, "
       "view, "
       "compare, "
       "performer, calibrate, character, help"},
      {{"help", "solve", "x"}, "mien solve has no commands"}};
  for (const auto& [arguments, fault] : cases) EXPECT_EQ(FaultOf(arguments), fault);
}

TEST_F(UsageProblems, AMistypedOptionGetsTheNearest) {
  const std::pair<Arguments, std::string> cases[] = {
      {{"solve", "take.csv", "--preformer", "landmarks68", "-o", "w.csv"},
       "mien solve has no option --preformer; did you mean --performer?"},
      {{"solve", "take.csv", "--performer=x", "--ouput=w.csv"},
       "mien solve has no option --ouput; did you mean --output?"},
      {{"solve", "take.csv", "-P", "landmarks68", "-o", "w.csv"},
       "mien solve has no option -P; did you mean -p?"},
      {{"info", "take.csv", "-json"}, "mien info has no option -json; did you mean --json?"},
      {{"info", "take.csv", "--JSON"}, "mien info has no option --JSON; did you mean --json?"},
      {{"--hepl"}, "mien has no option --hepl; did you mean --help?"},
      {{"--versoin"}, "mien has no option --versoin; did you mean --version?"},
      {{"info", "--verison", "take.csv"}, "mien info has no option --verison; did you mean --version?"},
      {{"character", "save", "arkit52", "--nmae", "A", "-o", "-"},
       "mien character save has no option --nmae; did you mean --name?"},
      {{"info", "take.csv", "--frobnicate"}, "mien info has no option --frobnicate"},
      {{"info", "take.csv", "-x"}, "mien info has no option -x"}};
  for (const auto& [arguments, fault] : cases) EXPECT_EQ(FaultOf(arguments), fault);
}

TEST_F(UsageProblems, AnOptionBeforeItsCommandIsReported) {
  EXPECT_EQ(FaultOf({"--performer", "landmarks68", "solve", "take.csv", "-o", "w.csv"}),
            "--performer stands before the command; write mien solve --performer ...");
}

TEST_F(UsageProblems, AFileOfTheNameOfAnOptionIsReadBehindItsPath) {
  Write("-x", Saved("take.csv"));
  EXPECT_EQ(FaultOf({"info", "-x"}), "mien info has no option -x; for the file of this name write ./-x");
  EXPECT_EQ(Run({"info", "./-x"}).exit_code, 0);
  EXPECT_EQ(Run({"info", "--", "-x"}).exit_code, 0);
}

TEST_F(UsageProblems, AFileOfTheNameOfACommandIsAFile) {
  for (const std::string name : {"info", "solve", "help"}) {
    Write(name, Saved("take.csv"));
    EXPECT_THAT(Run({"info", name}).out, StartsWith(name + ": marker CSV"));
    EXPECT_EQ(Run({"convert", name, "a.csv"}).exit_code, 0);
  }
}

TEST_F(UsageProblems, CountsArgumentsAndValues) {
  const std::pair<Arguments, std::string> cases[] = {
      {{"convert", "take.csv", "a.csv", "b.csv"}, "\"b.csv\" is one argument too many"},
      {{"convert"}, "TAKE is required"},
      {{"convert", "take.csv"}, "OUT is required"},
      {{"convert", "take.csv", "a.csv", "-o", "b.csv"}, "--output is given more than once"},
      {{"solve", "take.csv", "-p"}, "--performer needs a value: NAME|FILE"},
      {{"solve", "take.csv", "-p", "a", "-o", "b.csv", "--neutral"},
       "--neutral needs a value: FRAME|FROM-TO"},
      {{"info", "take.csv", "--quiet=x"}, "--quiet takes no value"},
      {{"info", "take.csv", "--face", "x"}, "--face: \"x\" is not a whole number"},
      {{"info", "take.csv", "--face", ""}, "--face: \"\" is not a whole number"}};
  for (const auto& [arguments, fault] : cases) EXPECT_EQ(FaultOf(arguments), fault);
}
