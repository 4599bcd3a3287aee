#include "host/cli/animation_options.h"

#include "host/base/text.h"
#include "host/character/character_file.h"
#include "host/cli/take_options.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <cmath>
#include <system_error>

namespace mien {

namespace {

/// "NAME=WEIGHT", where the name may have equals signs of its own.
std::optional<std::pair<std::string, double>> ParseExpression(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos || equals == 0) return std::nullopt;
  const char* const end = text.data() + text.size();
  double weight = 0;
  const auto [parsed, error] = std::from_chars(text.data() + equals + 1, end, weight);
  if (error != std::errc() || parsed != end || !std::isfinite(weight)) return std::nullopt;
  return std::pair(text.substr(0, equals), weight);
}

std::string Summary(const VrmaCoverage& vrma) {
  std::vector<std::string> parts;
  if (vrma.presets > 0) parts.push_back(Count(vrma.presets, "preset"));
  if (vrma.customs > 0) parts.push_back(Count(vrma.customs, "custom expression"));
  if (vrma.has_head) parts.emplace_back("the head");
  if (vrma.has_look) parts.emplace_back("where the eyes look");
  return fmt::format("{}", fmt::join(parts, ", "));
}

std::string Summary(const HeadCoverage& head) {
  const std::string eyes = head.eye_nodes.empty() ? "" : ", the eyes " + SomeQuoted(head.eye_nodes);
  const std::string targets = Count(head.driven_targets, "morph target");
  if (head.is_avatar)
    return fmt::format("{} by {}{}{}", targets, Count(head.driven_expressions, "expression"),
                       head.turns_head ? ", the head" : "", eyes);
  return fmt::format("{} on {}, {}{}", targets, Count(head.driven_nodes, "node"),
                     Count(head.driven_clusters, "cluster"), eyes);
}

} // namespace

void AddOutput(Command& command, std::string& output) {
  command.Add({.names = "-o,--output",
               .type = "OUT",
               .help = "The file to write; - is standard output, as .csv",
               .required = true,
               .files = "*"},
              output);
}

void AddCharacter(Command& command, std::string& character, std::string_view what) {
  command.Add({.names = "-c,--character",
               .type = "NAME|FILE",
               .help = fmt::format("The character {}: a built-in character ({}) or a character file", what,
                                   fmt::join(BuiltInCharacters(), ", ")),
               .may_be_empty = false,
               .values = BuiltInCharacters(),
               .files = "*.json"},
              character);
}

void AddTimecode(Command& command, std::optional<std::string>& timecode) {
  command.Add({.names = "--timecode",
               .type = "HH:MM:SS:FF[@RATE]",
               .help =
                   "The timecode of the first frame, which replaces the take's own. RATE is its counts per "
                   "second; default: the take's rate"},
              timecode);
}

void AddReport(Command& command, std::string& report, std::string_view what) {
  command.Add({.names = "--report",
               .type = "FILE.json",
               .help = fmt::format("Write a report as well: {}, settings, hashes of the files", what),
               .may_be_empty = false,
               .files = "*.json"},
              report);
}

void AddTemplates(Command& command, bool& only_templates) {
  command.AddFlag(
      {.names = "--templates", .help = "For .csv: write template weights although there is a character"},
      only_templates);
}

void AddOutputRate(Command& command, std::optional<FrameRate>& rate) {
  AddRate(command,
          {.names = "--output-rate",
           .type = "HZ",
           .help = "Resample to this rate, such as 60 or 29.97. Default: the file's own frames"},
          rate);
}

void AddHeadOptions(Command& command, const std::string& help, std::string& onto, std::string& head_node,
                    std::optional<std::pair<std::string, std::string>>& eye_nodes) {
  command.Add(
      {.names = "--onto", .type = "HEAD.glb", .help = help, .may_be_empty = false, .files = "*.[gv][lr][bm]"},
      onto);
  command.Add({.names = "--head",
               .type = "NODE",
               .help = "For --onto: the node of that head which turns with the performer's head",
               .may_be_empty = false},
              head_node);
  command.AddParsed(
      {.names = "--eyes",
       .type = "LEFT,RIGHT",
       .help =
           "For --onto: the nodes of that head which turn with the eyes; by default those with usual names, "
           "if no morph targets follow the eyes"},
      [&nodes = eye_nodes](const std::string& text) -> Command::Fault {
        const std::size_t comma = text.find(',');
        if (comma == std::string::npos || comma == 0 || comma + 1 == text.size())
          return fmt::format("{} is not the names of two nodes, LEFT,RIGHT", Quoted(text));
        nodes = {text.substr(0, comma), text.substr(comma + 1)};
        return std::nullopt;
      });
}

void AddView(Command& command, std::string& view, std::string_view what) {
  command.Add({.names = "--view",
               .type = "FILE.html",
               .help = fmt::format("Write a page as well that shows {} in any browser", what),
               .may_be_empty = false,
               .files = "*.html"},
              view);
}

void AddAnimationOptions(Command& command, const AnimationOptions& options) {
  command.AddParsed(
      {.names = "--csv-style",
       .type = "STYLE",
       .help =
           "For .csv: plain (the default), or livelink, the form of phone face-capture apps, for which the "
           "default character is arkit52",
       .values = {"plain", "livelink"}},
      [&style = options.csv_style](const std::string& text) -> Command::Fault {
        if (text != "plain" && text != "livelink")
          return fmt::format("{} is neither plain nor livelink", Quoted(text));
        style = text == "livelink" ? CsvStyle::LiveLink : CsvStyle::Plain;
        return std::nullopt;
      });
  AddHeadOptions(command,
                 "For .glb, .vrm and --view: animate this head, or VRM avatar, instead of a simple head",
                 options.onto, options.head_node, options.eye_nodes);
}

void AddExpression(Command& command, ExpressionWeights& expressions) {
  command.AddParsed({.names = "--expression",
                     .type = "NAME=WEIGHT",
                     .help = "Add an expression of the character to every frame; may be given more than once",
                     .repeatable = true},
                    [&expressions](const std::string& text) -> Command::Fault {
                      const auto expression = ParseExpression(text);
                      if (!expression) return fmt::format("{} is not NAME=WEIGHT", Quoted(text));
                      expressions.push_back(*expression);
                      return std::nullopt;
                    });
}

std::string SummaryOf(const WrittenAnimation& written) {
  switch (written.format) {
  case AnimationFormat::TemplateCsv:
    return Count(written.templates, "template");
  case AnimationFormat::ShapeCsv:
    return Count(written.shapes, "shape");
  case AnimationFormat::LiveLinkCsv:
    return "52 shapes and the head's angles";
  case AnimationFormat::Json:
    if (written.templates == 0) return Count(written.shapes, "shape");
    return Count(written.templates, "template") +
           (written.shapes + written.clusters > 0
                ? fmt::format(", {}, {}", Count(written.shapes, "shape"), Count(written.clusters, "cluster"))
                : "");
  case AnimationFormat::Vrma:
    return Summary(*written.vrma);
  case AnimationFormat::Glb:
    break;
  }
  return Summary(*written.head);
}

std::vector<Note> NotesOn(const WrittenAnimation& written) {
  std::vector<Note> notes;
  const auto add = [&](Code code, std::string what) { notes.push_back({code, "", std::move(what)}); };
  if (written.format == AnimationFormat::ShapeCsv && written.clusters > 0)
    add(Code::Lossy,
        fmt::format("without the {}, which .json and .glb have", Count(written.clusters, "cluster")));
  if (!written.missing_shapes.empty())
    add(Code::Unmatched, (!written.head             ? "0 for shapes that the character lacks: "
                          : written.head->is_avatar ? "no expression for "
                                                    : "no morph target for ") +
                             Some(written.missing_shapes));
  if (written.vrma) return written.vrma->notes;
  if (!written.head) return notes;
  if (!written.head->targets_without_shape.empty())
    add(Code::Unmatched, "nothing moves the morph targets " + Some(written.head->targets_without_shape));
  if (!written.head->expressions_without_shape.empty())
    add(Code::Unmatched, "nothing shows the expressions " + Some(written.head->expressions_without_shape));
  if (!written.head->clusters_without_node.empty())
    add(Code::Unmatched, "no node has the name of the clusters " + Some(written.head->clusters_without_node));
  notes.insert(notes.end(), written.head->notes.begin(), written.head->notes.end());
  return notes;
}

} // namespace mien
