#include "host/cli/manual_page.h"

#include "host/base/text.h"
#include "host/cli/help_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace mien {

namespace {

/// Text as roff takes it. A hyphen is written as the character that people type, since a page's reader may
/// copy it.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) switch (c) {
    case '\\':
      escaped += "\\(rs";
      break;
    case '-':
      escaped += "\\-";
      break;
    case '\'':
      escaped += "\\(aq";
      break;
    case '`':
      escaped += "\\(ga";
      break;
    case '^':
      escaped += "\\(ha";
      break;
    case '~':
      escaped += "\\(ti";
      break;
    case '"':
      escaped += "\\(dq";
      break;
    default:
      escaped += c;
    }
  return escaped;
}

std::string Bold(const std::string& text) { return "\\fB" + Escaped(text) + "\\fR"; }
std::string Italic(const std::string& text) { return "\\fI" + Escaped(text) + "\\fR"; }

std::string Sentence(const std::string& text) { return Escaped(text) + (text.ends_with('.') ? "" : "."); }

/// A line of text, which must not look like a request.
std::string Line(const std::string& text) { return (text.starts_with('.') ? "\\&" : "") + text + '\n'; }

std::string Item(const std::string& term, const std::string& meaning) {
  return ".TP\n" + Line(term) + Line(meaning);
}

std::string Section(const std::string& name) { return ".SH " + name + '\n'; }

/// "-o, --output OUT"
std::string Call(const OptionDescription& option) {
  std::string call;
  for (const std::string& name : option.Names())
    call += (call.empty() ? "" : ", ") + (name.starts_with('-') ? Bold(name) : Italic(name));
  return option.IsArgument() || option.type.empty() ? call : call + ' ' + Italic(option.type);
}

std::string Options(const CommandDescription& command) {
  std::vector<OptionDescription> options = command.options;
  options.insert(options.end(), CommonOptions().begin(), CommonOptions().end());
  std::vector<std::string> groups = {""};
  for (const OptionDescription& option : options)
    if (std::find(groups.begin(), groups.end(), option.group) == groups.end()) groups.push_back(option.group);
  std::string text = Section("OPTIONS");
  for (const std::string& group : groups) {
    if (!group.empty()) text += ".SS " + Escaped(group) + '\n';
    for (const OptionDescription& option : options)
      if (option.group == group) text += Item(Call(option), Sentence(option.help));
  }
  return text;
}

/// What is the same for every command.
std::string CommonSections() {
  std::string text = Section("EXIT STATUS");
  for (const auto& [code, meaning] : {std::pair("0", "Done."),
                                      {"1", "An input is at fault, or an output cannot be written."},
                                      {"2", "The command line is at fault."},
                                      {"3", "A stated limit is exceeded."}})
    text += Item(Bold(code), Escaped(meaning));
  text += Section("ENVIRONMENT");
  for (const auto& [name, meaning] :
       {std::pair("NO_COLOR", "Where set and not empty, messages on a terminal have no colour."),
        {"TERM", "Where it is dumb or missing, messages have no colour, and no progress is shown."},
        {"LC_ALL, LC_CTYPE, LANG",
         "Where they name UTF-8, the pictures of info are drawn in its characters, otherwise in ASCII."}})
    text += Item(Bold(name), Escaped(meaning));
  text += Section("FILES");
  text += Item(
      Italic("NAME.NUMBER.part"),
      Escaped("An output while it is written. It is renamed when it is whole and removed where that fails "
              "or a signal ends the command. One that SIGKILL leaves is removed by the next command that "
              "writes the same output."));
  return text;
}

std::string SeeAlso(const CommandDescription& command, const CommandDescription& root) {
  std::vector<const CommandDescription*> others;
  const auto add = [&](const CommandDescription& other) {
    if (&other != &command) others.push_back(&other);
  };
  add(root);
  for (const CommandDescription& other : root.commands) add(other);
  for (const CommandDescription& own : command.commands)
    if (&command != &root) add(own);
  std::string text = Section("SEE ALSO");
  for (const CommandDescription* other : others)
    text += fmt::format("{}(1){}\n", Bold(ManualPageName(*other)), other == others.back() ? "" : ",");
  return text;
}

} // namespace

std::string ManualPageName(const CommandDescription& command) {
  std::string name = command.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string ManualPage(const CommandDescription& command, const CommandDescription& root) {
  const std::string name = ManualPageName(command);
  std::string title = name;
  std::transform(title.begin(), title.end(), title.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  std::string text =
      fmt::format(".TH {} 1 \"\" \"mien {}\" \"User Commands\"\n", Escaped(title), MIEN_VERSION);
  text += ".nh\n.ad l\n";                // no option's name is broken over two lines
  std::string summary = command.summary; // as man -k shows it
  summary[0] = ToLower(summary[0]);
  text += Section("NAME") + Line(Escaped(name) + " \\- " + Escaped(summary));
  text += Section("SYNOPSIS") + Line(Escaped(UsageOf(command)));
  text += Section("DESCRIPTION") + Line(Sentence(command.summary));
  for (const auto& [paragraph, list] : command.details) {
    text += ".PP\n" + Line(Escaped(paragraph));
    for (const auto& [term, meaning] : list) text += Item(Bold(term), Sentence(meaning));
  }
  if (!command.commands.empty()) text += Section("COMMANDS");
  for (const CommandDescription& own : command.commands)
    text += Item(fmt::format("{}(1)", Bold(ManualPageName(own))), Sentence(own.summary));
  text += Options(command) + CommonSections();
  if (!command.examples.empty()) text += Section("EXAMPLES") + ".EX\n";
  for (const std::string& example : command.examples) text += Line(Escaped(example));
  if (!command.examples.empty()) text += ".EE\n";
  return text + SeeAlso(command, root);
}

} // namespace mien
