#pragma once

#include "host/c_interface/handle.h"
#include "host/c_interface/mien_host.h"
#include "host/cli/option_parser.h"
#include "host/jobs/animation_choice.h"
#include "host/jobs/calibrate_job.h"
#include "host/jobs/convert_job.h"
#include "host/jobs/retarget_job.h"
#include "host/jobs/solve_job.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What the options of all steps are read into. Those of the step count; the others keep their defaults.
/// Members that name what handles stand for are not used.
struct StepSettings {
  ReadOptions reading;
  SolveJob solve;
  RetargetJob retarget;
  CalibrateJob calibrate; ///< or the neutral face of a take, or a guess
  ConvertJob convert;
  AnimationChoice write;
};

} // namespace mien

/// The options of one step, by the tables of the command.
struct mien_settings : mien::Handle<mien_settings> {
  static constexpr const char* kKind = "mien_settings";
  static constexpr std::uint64_t kWord = 0x6d69656e'73657474;

  explicit mien_settings(mien_step of);

  const mien_step step;
  mien::StepSettings values;

  /// An option and what it is set to.
  struct Option {
    mien::OptionDescription description;
    std::string name, words; ///< "smooth", "fit,parts"
    std::vector<std::string> texts;
  };
  std::vector<Option> options;

  /// Throws an InputError of Code::Usage. Changes nothing where it throws. No value stands for the default.
  void Set(const std::string& name, std::vector<std::string> texts);

  Option& Find(const std::string& name);

private:
  void Parse();

  std::unique_ptr<mien::OptionParser> parser_;
};

namespace mien {

/// The settings of a step: the caller's, or the defaults for null. Throws a UsageError for those of another
/// step.
const StepSettings& SettingsOf(const mien_settings* settings, mien_step step);

} // namespace mien
