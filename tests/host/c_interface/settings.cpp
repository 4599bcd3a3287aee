#include "host/c_interface/settings.h"

#include "host/cli/job_options.h"
#include "host/cli/option_parser.h"
#include "tests/host/c_interface/handles.h"

#include <set>

using namespace tests;

namespace {

std::set<std::string> NamesOf(mien_step step) {
  const Settings settings = SettingsOf(step, {});
  std::set<std::string> names;
  for (std::size_t i = 0; i < mien_settings_option_count(settings.get()); ++i) {
    mien_option option = {};
    option.struct_size = sizeof option;
    EXPECT_EQ(mien_settings_option(settings.get(), i, &option), MIEN_OK);
    EXPECT_STRNE(option.help, "") << option.name;
    names.insert(option.name);
  }
  return names;
}

void Remove(std::set<std::string>& from, const std::set<std::string>& names) {
  for (const std::string& name : names) EXPECT_EQ(from.erase(name), 1u) << name;
}

} // namespace

// An option that the command gains is an option of the interface, unless it names what is written.
TEST(CSettings, HaveEveryOptionOfTheCommandBetweenThem) {
  mien::SolveJob solve;
  mien::RetargetJob retarget;
  const mien::OptionParser solving("mien solve", [&](mien::Command& c) { AddSolveOptions(c, solve); });
  const mien::OptionParser retargeting("mien retarget",
                                       [&](mien::Command& c) { AddRetargetOptions(c, retarget); });
  std::set<std::string> ours = NamesOf(MIEN_STEP_SOLVE);
  for (const mien_step step : {MIEN_STEP_READ, MIEN_STEP_WRITE}) ours.merge(NamesOf(step));
  std::set<std::string> theirs;
  for (const mien::OptionDescription& option : solving.Description().options)
    if (!option.IsArgument()) theirs.insert(option.Names().back().substr(2));
  Remove(theirs, {"performer", "character", "output", "report", "frames-report", "view"});
  theirs.insert("threads"); // of the command, and not of a line of a batch
  EXPECT_EQ(ours, theirs);

  ours = NamesOf(MIEN_STEP_RETARGET);
  ours.merge(NamesOf(MIEN_STEP_WRITE));
  theirs.clear();
  for (const mien::OptionDescription& option : retargeting.Description().options)
    if (!option.IsArgument()) theirs.insert(option.Names().back().substr(2));
  Remove(theirs, {"character", "output", "report"});
  theirs.insert("threads");
  EXPECT_EQ(ours, theirs);
}

TEST(CSettings, ThatDoNotExistAreRefusedWithTheNearest) {
  const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {});
  Errors errors;
  EXPECT_EQ(mien_settings_set(settings.get(), "smoth", "6", errors), MIEN_USAGE);
  EXPECT_STREQ(errors.At(0).fix, "did you mean smooth?");
  EXPECT_STREQ(errors.At(0).code, "usage");
  EXPECT_STREQ(errors.At(0).place, "smoth");
}

TEST(CSettings, ThatNameWhatHandlesStandForDoNotExist) {
  for (const char* name :
       {"take", "performer", "character", "output", "report", "frames-report", "view", "onto"}) {
    Errors errors;
    EXPECT_EQ(mien_settings_set(SettingsOf(MIEN_STEP_SOLVE, {}).get(), name, "x", errors), MIEN_USAGE)
        << name;
  }
}

TEST(CSettings, KeepTheirValueWhereANewOneIsRefused) {
  const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {{"smooth", "6"}});
  Errors errors;
  EXPECT_EQ(mien_settings_set(settings.get(), "smooth", "warm", errors), MIEN_USAGE);
  EXPECT_STREQ(errors.At(0).place, "smooth");
  EXPECT_THAT(errors.At(0).what, testing::HasSubstr("warm"));
  EXPECT_EQ(mien_settings_set(settings.get(), "no-ranges", "yes", errors), MIEN_USAGE);
  EXPECT_EQ(mien_settings_add(settings.get(), "smooth", "7", errors), MIEN_USAGE);
  EXPECT_EQ(mien_settings_add(settings.get(), "smooth", nullptr, errors), MIEN_USAGE);
  EXPECT_EQ(settings->values.solve.solve.smooth_positions_hz, 6);
  EXPECT_TRUE(settings->values.solve.ranges);
}

TEST(CSettings, AreReplacedAddedAndTakenBack) {
  const Settings settings = SettingsOf(MIEN_STEP_SOLVE, {});
  const mien::SolveJob& job = settings->values.solve;
  Errors errors;
  EXPECT_EQ(mien_settings_set(settings.get(), "no-ranges", "true", errors), MIEN_OK);
  EXPECT_FALSE(job.ranges);
  EXPECT_EQ(mien_settings_set(settings.get(), "no-ranges", "false", errors), MIEN_OK);
  EXPECT_TRUE(job.ranges);
  EXPECT_EQ(mien_settings_set(settings.get(), "smooth", "6", errors), MIEN_OK);
  EXPECT_EQ(mien_settings_set(settings.get(), "smooth", "8", errors), MIEN_OK);
  EXPECT_EQ(job.solve.smooth_positions_hz, 8);
  EXPECT_EQ(mien_settings_set(settings.get(), "smooth", nullptr, errors), MIEN_OK);
  EXPECT_EQ(job.solve.smooth_positions_hz, std::nullopt);
  EXPECT_EQ(mien_settings_add(settings.get(), "expression", "Smile=1", errors), MIEN_OK);
  EXPECT_EQ(mien_settings_add(settings.get(), "expression", "Frown=0.5", errors), MIEN_OK)
      << errors.AllText();
  ASSERT_EQ(job.expressions.size(), 2u);
  EXPECT_EQ(job.expressions[0].first, "Smile");
  EXPECT_EQ(job.expressions[1].second, 0.5);
}

TEST(CSettings, TakeValuesThatLookLikeOptions) {
  Errors errors;
  const Settings settings = SettingsOf(MIEN_STEP_CONVERT, {});
  EXPECT_EQ(mien_settings_set(settings.get(), "markers", "--frames", errors), MIEN_OK) << errors.AllText();
  EXPECT_EQ(mien_settings_set(SettingsOf(MIEN_STEP_CALIBRATE, {}).get(), "name", "-", errors), MIEN_OK)
      << errors.AllText();
}

TEST(CSettings, DoNotReadStandardInput) {
  Errors errors;
  EXPECT_EQ(mien_settings_set(SettingsOf(MIEN_STEP_SOLVE, {}).get(), "basis", "-", errors), MIEN_USAGE);
  EXPECT_EQ(mien_settings_set(SettingsOf(MIEN_STEP_WRITE, {}).get(), "onto", "/dev/stdin", errors),
            MIEN_USAGE);
}

TEST(CSettings, OfAnotherStepAreRefused) {
  Errors errors;
  EXPECT_FALSE(mien_take_read("x.csv", SettingsOf(MIEN_STEP_SOLVE, {}).get(), nullptr, errors));
  EXPECT_EQ(errors.Status(), MIEN_USAGE);
  EXPECT_STREQ(errors.At(0).place, "settings");
  EXPECT_FALSE(mien_settings_new(99, errors));
  EXPECT_EQ(errors.Status(), MIEN_USAGE);
}
