#include "host/cli/bash_completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace mien {

namespace {

constexpr std::string_view kBegin = R"(# Completes the command lines of mien in bash. Made from its help.

# What follows the command $1 and its option $2, which is empty for an argument: sets commands, options, takes_value, and
# values and a pattern of files for what comes next.
_mien_describe() {
  commands= options= takes_value= values= files=
  case $1 in
)";

constexpr std::string_view kEnd = R"(  esac
}

_mien() {
  local commands options takes_value values files command=mien option= word i
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    [[ $word == = ]] && continue # "--option=value" is three words for bash
    if [[ -n $option ]]; then
      option= # this was its value
      continue
    fi
    _mien_describe "$command" "$word"
    if [[ -n $takes_value ]]; then
      option=$word
    elif [[ " $commands " == *" $word "* ]]; then
      command+=" $word"
    fi
  done
  _mien_describe "$command" "$option"
  local current=${COMP_WORDS[COMP_CWORD]}
  [[ $current == = ]] && current=
  local offered="$commands $values"
  if [[ -z $option && $current == -* ]]; then
    offered=$options files=
  fi
  mapfile -t COMPREPLY < <(
    compgen -W "$offered" -- "$current"
    if [[ -n $files ]]; then
      compgen -f -X "!$files" -- "$current"
      compgen -d -- "$current"
    fi
  )
  [[ -z $files ]] || compopt -o filenames 2>/dev/null || : # which only a shell that completes can do
}

complete -F _mien mien
)";

std::string Quoted(const std::vector<std::string>& words) {
  return fmt::format("'{}'", fmt::join(words, " "));
}

/// What completion offers for an option's value, or for an argument.
std::string Offer(const OptionDescription& option) {
  std::string offer;
  if (!option.values.empty()) offer += " values=" + Quoted(option.values);
  if (!option.files.empty()) offer += fmt::format(" files='{}'", option.files);
  return offer;
}

void Append(const CommandDescription& command, std::string& text) {
  std::vector<OptionDescription> described = command.options;
  described.insert(described.end(), CommonOptions().begin(), CommonOptions().end());
  std::vector<std::string> options;
  std::string cases;
  bool has_argument = false;
  for (const OptionDescription& option : described) {
    std::vector<std::string> names = option.Names();
    if (option.IsArgument()) names.erase(names.begin());
    options.insert(options.end(), names.begin(), names.end());
    if (!names.empty() && !option.type.empty())
      cases += fmt::format("        {}) takes_value=1{} ;;\n", fmt::join(names, " | "), Offer(option));
    if (option.IsArgument() && !has_argument) cases += fmt::format("        ''){} ;;\n", Offer(option));
    has_argument |= option.IsArgument(); // of several the first stands for all: they are files
  }
  text += fmt::format("    '{}')\n      commands={} options={}\n", command.name,
                      Quoted(command.CommandNames()), Quoted(options));
  if (!cases.empty()) text += "      case $2 in\n" + cases + "      esac\n";
  text += "      ;;\n";
  for (const CommandDescription& own : command.commands) Append(own, text);
}

} // namespace

std::string BashCompletion(const CommandDescription& root) {
  std::string text(kBegin);
  Append(root, text);
  return text + std::string(kEnd);
}

} // namespace mien
