#pragma once

#include "host/cli/command_description.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace mien {

class Output;

/// A command being set up: its description, its options, and what it does. The parser behind it is known to
/// command.cpp, command_line.cpp, option_parser.cpp and usage_problem.cpp alone, since every source that
/// includes it takes six seconds longer to compile.
///
/// What options are read into must outlive the parsing.
class Command {
public:
  using Option = OptionDescription;

  /// What is wrong with an option's value, or nothing.
  using Fault = std::optional<std::string>;

  /// Sets up the parser's command; `description` is filled along. `output` is what the command will report
  /// to.
  Command(CLI::App& app, CommandDescription& description, Output& output);

  Command AddCommand(const std::string& name, const std::string& summary);
  void RequireCommand();

  void Details(const std::string& text, std::vector<std::pair<std::string, std::string>> list = {});
  void Example(const std::string& command_line);

  void Add(const Option& option, std::string& value);
  void Add(const Option& option, std::optional<std::string>& value);
  void Add(const Option& option, std::optional<std::int64_t>& value);
  /// More than once if wanted, each time with one value; with a `delimiter` with several.
  void Add(const Option& option, std::vector<std::string>& values, char delimiter = '\0');
  /// An argument that takes all that are left.
  void AddRest(const Option& option, std::vector<std::string>& values);
  /// `parse` reads the value.
  void AddParsed(const Option& option, std::function<Fault(const std::string&)> parse);
  void AddFlag(const Option& option, bool& value);
  void AddParsedFlag(const Option& option, std::function<Fault()> set);

  /// --quiet and --json.
  void AddOutputOptions();

  /// What the command does once the command line is read.
  void OnRun(std::function<void(Output&)> run);

  const CommandDescription& Description() const { return *description_; }

private:
  void Describe(CLI::Option& added, const Option& option);

  CLI::App* app_;
  CommandDescription* description_;
  Output* output_;
};

} // namespace mien
