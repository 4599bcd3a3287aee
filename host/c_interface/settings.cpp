#include "host/c_interface/settings.h"

#include "host/base/nearest_name.h"
#include "host/base/text.h"
#include "host/c_interface/call.h"
#include "host/c_interface/struct_size.h"
#include "host/cli/animation_options.h"
#include "host/cli/cleaning_options.h"
#include "host/cli/job_options.h"
#include "host/cli/take_options.h"
#include "host/cli/threads_option.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <utility>

using namespace mien;

namespace {

/// Of each step, its name, and the options of its command that handles, arguments and other steps stand for.
struct Step {
  const char* name;
  std::vector<std::string_view> without;
};
const Step& StepOf(mien_step step) {
  static const std::array<Step, 6> steps = {
      {{"reading a take", {}},
       {"solving",
        {"take", "performer", "character", "output", "report", "frames-report", "view", "csv-style",
         "templates", "onto", "head", "eyes", "strict", "face", "input-rate", "image", "face-width",
         "mirrored"}},
       {"retargeting",
        {"weights", "character", "output", "report", "csv-style", "templates", "onto", "head", "eyes"}},
       {"calibrating", {}},
       {"writing a take", {}},
       {"writing an animation", {}}}};
  return steps[static_cast<std::size_t>(step)];
}

/// Of a caller without settings, and of settings before they are read again.
const StepSettings& Defaults() {
  static const StepSettings defaults;
  return defaults;
}

void AddOptions(mien_step step, Command& command, StepSettings& values) {
  switch (step) {
  case MIEN_STEP_READ:
    AddTakeOptions(command, values.reading);
    return AddThreads(command, values.reading.threads);
  case MIEN_STEP_SOLVE:
    AddSolveOptions(command, values.solve);
    return AddThreads(command, values.solve.solve.threads);
  case MIEN_STEP_RETARGET:
    AddRetargetOptions(command, values.retarget);
    return AddThreads(command, values.retarget.threads);
  case MIEN_STEP_CALIBRATE:
    AddMeasuringOptions(command, values.calibrate);
    return AddThreads(command, values.calibrate.solve.threads);
  case MIEN_STEP_CONVERT:
    return AddPartOptions(command, values.convert);
  case MIEN_STEP_WRITE:
    AddTemplates(command, values.write.only_templates);
    return AddAnimationOptions(command, {.csv_style = values.write.csv_style,
                                         .onto = values.write.onto,
                                         .head_node = values.write.head_node,
                                         .eye_nodes = values.write.eye_nodes});
  }
}

/// "output" for "-o,--output", "take" for "TAKE".
std::string NameOf(const OptionDescription& option) {
  const std::string name = option.Names().back();
  return option.IsArgument() ? ToLower(name) : name.substr(name.find_first_not_of('-'));
}

} // namespace

mien_settings::mien_settings(mien_step of)
    : step(of), parser_(std::make_unique<OptionParser>(
                    StepOf(of).name, [this](Command& command) { AddOptions(step, command, values); })) {
  values = Defaults(); // one thread unless the program asks for more
  parser_->RequireNothing();
  const std::vector<std::string_view>& without = StepOf(step).without;
  for (const OptionDescription& option : parser_->Description().options)
    if (const std::string name = NameOf(option);
        std::find(without.begin(), without.end(), name) == without.end())
      options.push_back(
          {.description = option,
           .name = name,
           .words = option.files.empty() ? fmt::format("{}", fmt::join(option.values, ",")) : "",
           .texts = {}});
}

mien_settings::Option& mien_settings::Find(const std::string& name) {
  std::vector<std::string> names;
  for (Option& option : options) {
    if (option.name == name) return option;
    names.push_back(option.name);
  }
  const std::optional<std::string> nearest = NearestName(name, names);
  throw InputError(Code::Usage, "", name, fmt::format("{} has no setting of this name", StepOf(step).name),
                   nearest ? fmt::format("did you mean {}?", *nearest)
                           : fmt::format("its settings are {}", fmt::join(names, ", ")));
}

void mien_settings::Set(const std::string& name, std::vector<std::string> texts) {
  Option& option = Find(name);
  for (const std::string& text : texts) {
    if (option.description.type.empty() && text != "true" && text != "false")
      throw UsageError(name, fmt::format("this is true or false, and not {}", Quoted(text)));
    if (!option.description.files.empty()) RefuseStandardStream(text, name.c_str());
  }
  StepSettings former = values;
  option.texts.swap(texts);
  const auto restore = [&] {
    option.texts.swap(texts);
    values = std::move(former);
  };
  try {
    Parse();
  } catch (const InputError& error) {
    restore();
    // "--smooth: x is not a frequency" of the command line
    Problem problem = error.Problems().front();
    const std::string before = fmt::format("--{}: ", name);
    if (problem.what.starts_with(before)) problem.what.erase(0, before.size());
    throw InputError(Code::Usage, "", name, problem.what, problem.fix);
  } catch (...) { // no memory
    restore();
    throw;
  }
}

void mien_settings::Parse() {
  std::vector<std::string> arguments;
  for (const Option& option : options)
    for (const std::string& text : option.texts) {
      const std::string name = "--" + option.name;
      if (option.description.type.empty()) {
        if (text == "true") arguments.push_back(name);
      } else if (text.empty()) { // the parser would take what follows for the value
        arguments.insert(arguments.end(), {name, text});
      } else {
        arguments.push_back(fmt::format("{}={}", name, text));
      }
    }
  values = Defaults();
  parser_->Parse(arguments);
}

const StepSettings& mien::SettingsOf(const mien_settings* settings, mien_step step) {
  if (!settings) return Defaults();
  Require(settings, "settings");
  if (settings->step != step)
    throw UsageError("settings", fmt::format("these are for {}, and not for {}", StepOf(settings->step).name,
                                             StepOf(step).name));
  return settings->values;
}

mien_settings* mien_settings_new(mien_step step, mien_messages** errors) {
  return CallNew(errors, [&] {
    if (step < MIEN_STEP_READ || step > MIEN_STEP_WRITE) throw UsageError("step", "there is no such step");
    return std::make_unique<mien_settings>(step);
  });
}

mien_status mien_settings_set(mien_settings* settings, const char* name, const char* value,
                              mien_messages** errors) {
  return CallStatus(errors, [&] {
    Require(settings, "settings")
        .Set(RequireText(name, "name"), value ? std::vector<std::string>{value} : std::vector<std::string>{});
  });
}

mien_status mien_settings_add(mien_settings* settings, const char* name, const char* value,
                              mien_messages** errors) {
  return CallStatus(errors, [&] {
    const std::string option_name = RequireText(name, "name");
    const mien_settings::Option& option = Require(settings, "settings").Find(option_name);
    if (!value) throw UsageError("value", "this is NULL");
    if (!option.description.repeatable && !option.texts.empty())
      throw UsageError(option_name, "this has one value");
    std::vector<std::string> texts = option.texts;
    texts.emplace_back(value);
    settings->Set(option_name, std::move(texts));
  });
}

size_t mien_settings_option_count(const mien_settings* settings) {
  return Known(settings) ? settings->options.size() : 0;
}

mien_status mien_settings_option(const mien_settings* settings, size_t index, mien_option* option) {
  if (!Known(settings) || index >= settings->options.size()) return MIEN_USAGE;
  const mien_settings::Option& own = settings->options[index];
  return FillStruct(option, mien_option{.struct_size = sizeof(mien_option),
                                        .name = own.name.c_str(),
                                        .type = own.description.type.c_str(),
                                        .help = own.description.help.c_str(),
                                        .group = own.description.group.c_str(),
                                        .values = own.words.c_str(),
                                        .repeatable = own.description.repeatable ? 1 : 0});
}

mien_status mien_settings_free(mien_settings* settings) { return Free(settings); }
