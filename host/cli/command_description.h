#pragma once

// What a command is called, takes and does, as data: the help, the manual pages, the shell's completion and
// the suggestions for mistyped names are all made from it.

#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mien {

/// An option of a command, or an argument without a name, which its position identifies.
struct OptionDescription {
  std::string names; ///< "-o,--output"; an argument has none with dashes: "TAKE"; "OUT,-o,--output" is both
  std::string type = {}; ///< of an option's value: "FILE"; empty for a flag
  std::string help = {}; ///< one sentence or several, the last without its full stop
  bool required = false;
  bool repeatable = false;  ///< more than once; each value is parsed by itself
  bool may_be_empty = true; ///< an empty value is often a variable that somebody forgot to set
  std::string group = {};   ///< the heading in the help; "Options" where empty

  // What completion offers for its value.
  std::vector<std::string> values = {}; ///< words, such as the names of what is built in
  std::string files = {};               ///< files of this pattern: "*.json"; none where empty

  std::vector<std::string> Names() const;      ///< "OUT", "-o", "--output"
  bool IsArgument() const;                     ///< can be given without a name
  bool HasName(std::string_view option) const; ///< "-o" or "--output"
};

/// A command, or one of its own commands.
struct CommandDescription {
  /// A paragraph, and the list that it may introduce.
  struct Paragraph {
    std::string text;
    std::vector<std::pair<std::string, std::string>> list = {}; ///< terms and what they mean
  };

  std::string name;    ///< in full: "mien character save"
  std::string summary; ///< a sentence without its full stop
  std::vector<Paragraph> details = {};
  std::vector<std::string> examples = {};      ///< command lines
  std::vector<OptionDescription> options = {}; ///< arguments among them, in the order of the help
  std::list<CommandDescription> commands = {}; ///< empty for a command that does something itself

  std::string LastName() const; ///< "save"
  std::vector<std::string> CommandNames() const;

  /// Its command of this last name; null where there is none.
  const CommandDescription* Find(std::string_view last_name) const;
};

/// --help and --version, which every command has in addition to its own.
const std::vector<OptionDescription>& CommonOptions();

} // namespace mien
