#include "host/cli/usage_problem.h"

#include "host/base/nearest_name.h"
#include "host/base/text.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

namespace mien {

namespace {

Problem Usage(std::string what, std::string fix = "") {
  return {Code::Usage, "", "", std::move(what), std::move(fix)};
}

std::string_view WithoutDashes(std::string_view option) {
  option.remove_prefix(std::min(option.find_first_not_of('-'), option.size()));
  return option;
}

/// The option of a command that was probably meant, such as "--performer" for "--preformer".
std::optional<std::string> NearestOption(const CommandDescription& command, std::string_view name) {
  std::vector<OptionDescription> options = command.options;
  options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
  std::vector<std::string> with_dashes, names;
  for (const OptionDescription& option : options)
    for (const std::string& own : option.Names())
      if (own.starts_with('-')) {
        with_dashes.push_back(own);
        names.emplace_back(WithoutDashes(own));
      }
  const std::optional<std::string> nearest = NearestName(WithoutDashes(name), names);
  if (!nearest) return std::nullopt;
  return with_dashes[static_cast<std::size_t>(std::find(names.begin(), names.end(), *nearest) -
                                              names.begin())];
}

bool HasOption(const CommandDescription& command, std::string_view name) {
  return std::any_of(command.options.begin(), command.options.end(),
                     [&](const OptionDescription& option) { return option.HasName(name); });
}

Problem UnknownOption(const CommandDescription& command, const CommandDescription& mien,
                      const std::string& argument) {
  const std::string name = argument.substr(0, argument.find('='));
  if (&command != &mien && HasOption(command, name))
    return Usage(fmt::format("{} stands before the command", name),
                 fmt::format("write {} {} ...", command.name, name));
  const std::string what = fmt::format("{} has no option {}", command.name, name);
  std::error_code not_there;
  if (std::filesystem::exists(argument, not_there))
    return Usage(what, fmt::format("for the file of this name write ./{}", argument));
  const std::optional<std::string> nearest = NearestOption(command, name);
  return Usage(what, nearest ? fmt::format("did you mean {}?", *nearest) : "");
}

/// The arguments that nothing has taken, in their order, and whether each stands where it would be an option.
struct Leftover {
  std::string argument;
  bool is_option;
};
std::vector<Leftover> Leftovers(const CLI::App& app, bool of_its_commands) {
  std::vector<Leftover> leftovers;
  bool arguments_only = false;
  for (const std::string& argument : app.remaining(of_its_commands)) {
    const bool looks_like_option = argument.size() > 1 && argument[0] == '-' && argument != "--";
    if (argument != "--") leftovers.push_back({argument, looks_like_option && !arguments_only});
    arguments_only |= argument == "--";
  }
  return leftovers;
}

/// The option of a command by any of its names, as the parser's own message begins: "--neutral: 1 required
/// TEXT missing".
const OptionDescription* OptionNamedFirst(const CommandDescription& command, std::string_view message) {
  const std::string name(message.substr(0, message.find_first_of(": ")));
  for (const OptionDescription& option : command.options) {
    const std::vector<std::string> names = option.Names();
    if (std::find(names.begin(), names.end(), name) != names.end()) return &option;
  }
  return nullptr;
}

Problem MissingOption(const CommandDescription& command, std::string_view message) {
  const OptionDescription* const option = OptionNamedFirst(command, message);
  if (!option) return Usage(std::string(message));
  return Usage(
      fmt::format("{} is required", option->IsArgument() ? option->Names()[0] : option->Names().back()));
}

/// An option is given twice, or without its value.
Problem WrongCount(const CommandDescription& command, const CLI::App& app, std::string_view message) {
  const OptionDescription* const option = OptionNamedFirst(command, message);
  if (!option) return Usage(std::string(message));
  const std::string name = option->Names().back();
  const CLI::App* chosen = &app;
  while (!chosen->get_subcommands().empty()) chosen = chosen->get_subcommands()[0];
  if (chosen->get_option(name)->count() > 1) return Usage(fmt::format("{} is given more than once", name));
  return Usage(fmt::format("{} needs a value: {}", name, option->type));
}

} // namespace

const CommandDescription& ChosenCommand(const CLI::App& app, const CommandDescription& mien) {
  const CommandDescription* command = &mien;
  for (const CLI::App* chosen = &app; !chosen->get_subcommands().empty();) {
    chosen = chosen->get_subcommands()[0];
    const CommandDescription* const own = command->Find(chosen->get_name());
    if (!own) break;
    command = own;
  }
  return *command;
}

Problem MissingCommand(const CommandDescription& command) {
  return Usage(fmt::format("{} needs a command", command.name),
               fmt::format("its commands are {}", fmt::join(command.CommandNames(), ", ")));
}

Problem UnknownCommand(const CommandDescription& command, const std::string& name) {
  if (command.commands.empty()) return Usage(fmt::format("{} has no commands", command.name));
  const std::optional<std::string> nearest = NearestName(name, command.CommandNames());
  return Usage(fmt::format("{} has no command {}", command.name, Quoted(name)),
               nearest ? fmt::format("did you mean {}?", *nearest)
                       : fmt::format("its commands are {}", fmt::join(command.CommandNames(), ", ")));
}

Problem UsageProblem(const CLI::ParseError& error, const CLI::App& app, const CommandDescription& mien) {
  const CommandDescription& command = ChosenCommand(app, mien);
  const std::vector<Leftover> before_command = Leftovers(app, false), leftovers = Leftovers(app, true);
  // A mistyped name explains what else is wrong: its value is one argument too many, or what it names is
  // missing.
  if (!before_command.empty() && !before_command[0].is_option)
    return UnknownCommand(mien, before_command[0].argument);
  if (!leftovers.empty() && !leftovers[0].is_option && !command.commands.empty())
    return UnknownCommand(command, leftovers[0].argument);
  for (const auto& [argument, is_option] : leftovers)
    if (is_option) return UnknownOption(command, mien, argument);

  switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
  case CLI::ExitCodes::ExtrasError:
    if (leftovers.empty()) break;
    return Usage(fmt::format("{} is one argument too many", Quoted(leftovers[0].argument)));
  case CLI::ExitCodes::RequiredError:
    return command.commands.empty() ? MissingOption(command, error.what()) : MissingCommand(command);
  case CLI::ExitCodes::ArgumentMismatch:
    return WrongCount(command, app, error.what());
  case CLI::ExitCodes::ConversionError: { // "Could not convert: --quiet = x"
    const std::string_view message = error.what();
    const OptionDescription* const flag =
        OptionNamedFirst(command, message.substr(std::min(message.find("--"), message.size())));
    if (!flag) break;
    return Usage(fmt::format("{} takes no value", flag->Names().back()));
  }
  default:
    break;
  }
  return Usage(error.what());
}

} // namespace mien
