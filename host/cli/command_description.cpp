#include "host/cli/command_description.h"

#include <algorithm>

namespace mien {

std::vector<std::string> OptionDescription::Names() const {
  std::vector<std::string> all(1);
  for (const char c : names)
    if (c == ',')
      all.emplace_back();
    else
      all.back() += c;
  return all;
}

bool OptionDescription::IsArgument() const { return !names.starts_with('-'); }

bool OptionDescription::HasName(std::string_view option) const {
  const std::vector<std::string> all = Names();
  return option.starts_with('-') && std::find(all.begin(), all.end(), option) != all.end();
}

std::string CommandDescription::LastName() const { return name.substr(name.rfind(' ') + 1); }

std::vector<std::string> CommandDescription::CommandNames() const {
  std::vector<std::string> names;
  for (const CommandDescription& command : commands) names.push_back(command.LastName());
  return names;
}

const CommandDescription* CommandDescription::Find(std::string_view last_name) const {
  const auto found = std::find_if(commands.begin(), commands.end(), [&](const CommandDescription& command) {
    return command.LastName() == last_name;
  });
  return found == commands.end() ? nullptr : &*found;
}

const std::vector<OptionDescription>& CommonOptions() {
  static const std::vector<OptionDescription> options = {
      {.names = "-h,--help", .help = "Print this help and exit"},
      {.names = "--version", .help = "Print the version and exit"}};
  return options;
}

} // namespace mien
