#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace mien {

class Output;

/// A command being described: its help, its options, and what it does. The parser behind it is known to command.cpp and
/// command_line.cpp alone, since every source that includes it takes six seconds longer to compile.
///
/// What options are read into must outlive the parsing.
class Command {
public:
  /// What an option is called, and how help shows it.
  struct Option {
    std::string names; ///< "-o,--output"; without dashes a positional one
    std::string type;  ///< of its value, for the help: "FILE"; empty for the usual one, and for a flag
    std::string help;
    bool required = false;
    bool repeatable = false;  ///< a parsed one: each value is parsed by itself
    bool may_be_empty = true; ///< an empty argument is often a variable that somebody forgot to set
    std::string group = {};   ///< the heading in the help; the usual one where empty
  };

  /// What is wrong with an option's value, or nothing.
  using Fault = std::optional<std::string>;

  /// `output` is what the command will tell its user by.
  Command(CLI::App& app, Output& output) : app_(&app), output_(&output) {}

  Command AddCommand(const std::string& name, const std::string& summary);
  void RequireCommand();
  void Footer(const std::string& text);

  void Add(const Option& option, std::string& value);
  void Add(const Option& option, std::optional<std::string>& value);
  void Add(const Option& option, std::optional<std::int64_t>& value);
  /// More than once if wanted, each time with one value; with a `delimiter` with several.
  void Add(const Option& option, std::vector<std::string>& values, char delimiter = '\0');
  /// A positional one that takes all arguments that are left.
  void AddRest(const Option& option, std::vector<std::string>& values);
  /// `parse` reads the value.
  void AddParsed(const Option& option, std::function<Fault(const std::string&)> parse);
  void AddFlag(const Option& option, bool& value);
  void AddParsedFlag(const Option& option, std::function<Fault()> set);

  /// --quiet and --json.
  void AddOutputOptions();

  /// What the command does once the command line is read.
  void OnRun(std::function<void(Output&)> run);

private:
  static void Describe(CLI::Option& added, const Option& option);

  CLI::App* app_;
  Output* output_;
};

} // namespace mien
