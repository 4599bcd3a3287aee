#include "host/cli/command.h"

#include "host/cli/output.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace mien {

void Command::Describe(CLI::Option& added, const Option& option) {
  if (!option.type.empty()) added.type_name(option.type);
  if (!option.group.empty()) added.group(option.group);
  added.required(option.required);
  if (!option.may_be_empty)
    added.check(
        CLI::Validator([](std::string& text) { return text.empty() ? "the name is empty" : ""; }, ""));
}

Command Command::AddCommand(const std::string& name, const std::string& summary) {
  return {*app_->add_subcommand(name, summary), *output_};
}

void Command::RequireCommand() { app_->require_subcommand(1); }

void Command::Footer(const std::string& text) { app_->footer(text); }

void Command::Add(const Option& option, std::string& value) {
  Describe(*app_->add_option(option.names, value, option.help), option);
}

void Command::Add(const Option& option, std::optional<std::string>& value) {
  Describe(*app_->add_option(option.names, value, option.help), option);
}

void Command::Add(const Option& option, std::optional<std::int64_t>& value) {
  Describe(*app_->add_option(option.names, value, option.help), option);
}

void Command::Add(const Option& option, std::vector<std::string>& values, char delimiter) {
  CLI::Option* const added = app_->add_option(option.names, values, option.help)->allow_extra_args(false);
  if (delimiter != '\0') added->delimiter(delimiter);
  Describe(*added, option);
}

void Command::AddRest(const Option& option, std::vector<std::string>& values) {
  Describe(*app_->add_option(option.names, values, option.help), option);
}

void Command::AddParsed(const Option& option, std::function<Fault(const std::string&)> parse) {
  const std::string name = option.names.substr(option.names.rfind(',') + 1);
  const auto read = [name, parse = std::move(parse)](const std::string& text) {
    if (const Fault fault = parse(text)) throw CLI::ValidationError(name, *fault);
  };
  if (!option.repeatable)
    return Describe(*app_->add_option_function<std::string>(option.names, read, option.help), option);
  const auto read_all = [read](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) read(text);
  };
  Describe(*app_->add_option_function<std::vector<std::string>>(option.names, read_all, option.help)
                ->allow_extra_args(false),
           option);
}

void Command::AddFlag(const Option& option, bool& value) {
  Describe(*app_->add_flag(option.names, value, option.help), option);
}

void Command::AddParsedFlag(const Option& option, std::function<Fault()> set) {
  const auto read = [name = option.names, set = std::move(set)] {
    if (const Fault fault = set()) throw CLI::ValidationError(name, *fault);
  };
  Describe(*app_->add_flag_callback(option.names, read, option.help), option);
}

void Command::AddOutputOptions() {
  AddFlag({.names = "-q,--quiet", .type = "", .help = "Report nothing but errors"}, output_->quiet);
  AddFlag(
      {.names = "--json", .type = "", .help = "For programs: report as one JSON document on standard output"},
      output_->json);
}

void Command::OnRun(std::function<void(Output&)> run) {
  app_->callback([run = std::move(run), output = output_] { run(*output); });
}

} // namespace mien
