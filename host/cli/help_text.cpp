#include "host/cli/help_text.h"

#include "host/inspect/text_table.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <sstream>

namespace mien {

namespace {

/// The words of a text in lines: the first continues where `line` ends, each further one begins after
/// `indent` blanks.
std::string Wrapped(const std::string& text, std::string line, std::size_t indent, std::size_t columns) {
  std::string lines;
  std::istringstream words(text);
  bool is_first = true;
  for (std::string word; words >> word; is_first = false) {
    if (!is_first && Columns(line) + 1 + Columns(word) > columns) {
      lines += line + '\n';
      line = std::string(indent, ' ') + word;
    } else {
      line += (is_first ? "" : " ") + word;
    }
  }
  return lines + line + '\n';
}

class Help {
public:
  explicit Help(std::size_t columns) : columns_(columns) {}

  std::string Of(const CommandDescription& command) {
    text_ = Wrapped(command.summary + '.', "", 0, columns_) + '\n';
    text_ += Wrapped(UsageOf(command), "Usage: ", 7, columns_);
    AddOptions("Arguments", command.options, [](const OptionDescription& o) { return o.IsArgument(); });
    std::vector<std::pair<std::string, std::string>> commands;
    for (const CommandDescription& own : command.commands) commands.emplace_back(own.LastName(), own.summary);
    AddList("Commands", commands);
    AddDetails(command.details);

    std::vector<OptionDescription> options = command.options;
    options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
    std::vector<std::string> groups = {""};
    for (const OptionDescription& option : options)
      if (std::find(groups.begin(), groups.end(), option.group) == groups.end())
        groups.push_back(option.group);
    for (const std::string& group : groups)
      AddOptions(group.empty() ? "Options" : group, options,
                 [&](const OptionDescription& o) { return !o.IsArgument() && o.group == group; });

    if (!command.examples.empty()) text_ += "\nExamples:\n";
    for (const std::string& example : command.examples) text_ += "  " + example + '\n';
    return std::move(text_);
  }

private:
  void AddDetails(const std::vector<CommandDescription::Paragraph>& details) {
    for (const auto& [text, list] : details) {
      text_ += '\n' + Wrapped(text, "", 0, columns_);
      AddItems(list);
    }
  }

  template <class Belongs>
  void AddOptions(const std::string& heading, const std::vector<OptionDescription>& options,
                  const Belongs& belongs) {
    std::vector<std::pair<std::string, std::string>> list;
    for (const OptionDescription& option : options)
      if (belongs(option)) list.emplace_back(CallOf(option), option.help);
    AddList(heading, list);
  }

  void AddList(const std::string& heading, const std::vector<std::pair<std::string, std::string>>& list) {
    if (list.empty()) return;
    text_ += '\n' + heading + ":\n";
    AddItems(list);
  }

  /// Terms, and what they mean beside them; below them where they are long or the terminal is narrow.
  void AddItems(const std::vector<std::pair<std::string, std::string>>& list) {
    constexpr std::size_t kMargin = 2, kApart = 2, kWidest = 26, kNarrow = 60;
    std::size_t beside = 0;
    for (const auto& [term, meaning] : list)
      if (const std::size_t columns = kMargin + Columns(term) + kApart; columns <= kWidest)
        beside = std::max(beside, columns);
    if (columns_ < kNarrow || beside == 0) beside = 2 * kMargin;
    for (const auto& [term, meaning] : list) {
      std::string line = std::string(kMargin, ' ') + term;
      if (Columns(line) + kApart > beside) {
        text_ += line + '\n';
        line.clear();
      }
      text_ += Wrapped(meaning, Padded(line, beside), beside, columns_);
    }
  }

  std::size_t columns_;
  std::string text_;
};

} // namespace

std::string UsageOf(const CommandDescription& command) {
  std::string usage = command.name;
  if (!command.commands.empty()) usage += " COMMAND";
  for (const OptionDescription& option : command.options) {
    if (!option.IsArgument() && !option.required) continue;
    std::string call = option.Names()[0];
    if (!option.IsArgument()) call += ' ' + option.type;
    if (option.repeatable) call += "...";
    usage += ' ' + (option.required ? call : '[' + call + ']');
  }
  return usage + " [OPTION]...";
}

std::string CallOf(const OptionDescription& option) {
  std::string call = fmt::format("{}", fmt::join(option.Names(), ", "));
  if (!option.IsArgument() && !option.type.empty()) call += ' ' + option.type;
  return call;
}

std::string HelpText(const CommandDescription& command, std::size_t columns) {
  return Help(columns).Of(command);
}

std::string HelpTextOfAll(const CommandDescription& command, std::size_t columns) {
  std::string text = HelpText(command, columns);
  for (const CommandDescription& own : command.commands) text += "\n\n" + HelpTextOfAll(own, columns);
  return text;
}

} // namespace mien
