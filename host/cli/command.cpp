#include "host/cli/command.h"

#include "host/base/text.h"
#include "host/cli/output.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <charconv>
#include <system_error>
#include <utility>

namespace mien {

namespace {

/// The name that messages call an option by: the last and longest.
std::string LastName(const OptionDescription& option) {
  return option.names.substr(option.names.rfind(',') + 1);
}

} // namespace

Command::Command(CLI::App& app, CommandDescription& description, Output& output)
    : app_(&app), description_(&description), output_(&output) {
  app.set_help_flag("-h,--help");
  app.set_version_flag("--version", "mien " MIEN_VERSION);
}

void Command::Describe(CLI::Option& added, const Option& option) {
  description_->options.push_back(option);
  added.required(option.required);
  if (!option.may_be_empty)
    added.check(
        CLI::Validator([](std::string& text) { return text.empty() ? "the name is empty" : ""; }, ""));
}

Command Command::AddCommand(const std::string& name, const std::string& summary) {
  CommandDescription& added = description_->commands.emplace_back();
  added.name = description_->name + ' ' + name;
  added.summary = summary;
  return {*app_->add_subcommand(name), added, *output_};
}

void Command::RequireCommand() { app_->require_subcommand(1); }

void Command::Details(const std::string& text, std::vector<std::pair<std::string, std::string>> list) {
  description_->details.push_back({text, std::move(list)});
}

void Command::Example(const std::string& command_line) { description_->examples.push_back(command_line); }

void Command::Add(const Option& option, std::string& value) {
  Describe(*app_->add_option(option.names, value), option);
}

void Command::Add(const Option& option, std::optional<std::string>& value) {
  Describe(*app_->add_option(option.names, value), option);
}

void Command::Add(const Option& option, std::optional<std::int64_t>& value) {
  AddParsed(option, [&value](const std::string& text) -> Fault {
    const char* const end = text.data() + text.size();
    std::int64_t number = 0;
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || parsed != end) return fmt::format("{} is not a whole number", Quoted(text));
    value = number;
    return std::nullopt;
  });
}

void Command::Add(const Option& option, std::vector<std::string>& values, char delimiter) {
  CLI::Option* const added = app_->add_option(option.names, values)->allow_extra_args(false);
  if (delimiter != '\0') added->delimiter(delimiter);
  Describe(*added, option);
  description_->options.back().repeatable = true;
}

void Command::AddRest(const Option& option, std::vector<std::string>& values) {
  Describe(*app_->add_option(option.names, values), option);
  description_->options.back().repeatable = true;
}

void Command::AddParsed(const Option& option, std::function<Fault(const std::string&)> parse) {
  const auto read = [name = LastName(option), parse = std::move(parse)](const std::string& text) {
    if (const Fault fault = parse(text)) throw CLI::ValidationError(name, *fault);
  };
  if (!option.repeatable)
    return Describe(*app_->add_option_function<std::string>(option.names, read), option);
  const auto read_all = [read](const std::vector<std::string>& texts) {
    for (const std::string& text : texts) read(text);
  };
  Describe(
      *app_->add_option_function<std::vector<std::string>>(option.names, read_all)->allow_extra_args(false),
      option);
}

void Command::AddFlag(const Option& option, bool& value) {
  Describe(*app_->add_flag(option.names, value), option);
}

void Command::AddParsedFlag(const Option& option, std::function<Fault()> set) {
  const auto read = [name = option.names, set = std::move(set)] {
    if (const Fault fault = set()) throw CLI::ValidationError(name, *fault);
  };
  Describe(*app_->add_flag_callback(option.names, read), option);
}

void Command::AddOutputOptions() {
  AddFlag({.names = "-q,--quiet", .help = "Print errors only"}, output_->quiet);
  AddFlag(
      {.names = "--json", .help = "For programs: print the result as one JSON document on standard output"},
      output_->json);
}

void Command::OnRun(std::function<void(Output&)> run) {
  app_->callback([run = std::move(run), output = output_] { run(*output); });
}

} // namespace mien
