#include "host/cli/animation_options.h"

#include "host/base/text.h"

#include <fmt/format.h>

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

} // namespace

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
  command.Add({.names = "--onto",
               .type = "HEAD.glb",
               .help = "For .glb: animate this head instead of a simple one",
               .may_be_empty = false,
               .files = "*.glb"},
              options.onto);
  command.Add({.names = "--head",
               .type = "NODE",
               .help = "For --onto: the node of that head which turns with the performer's head",
               .may_be_empty = false},
              options.head_node);
  command.AddParsed(
      {.names = "--eyes",
       .type = "LEFT,RIGHT",
       .help =
           "For --onto: the nodes of that head which turn with the eyes; by default those with usual names, "
           "if no morph targets follow the eyes"},
      [&nodes = options.eye_nodes](const std::string& text) -> Command::Fault {
        const std::size_t comma = text.find(',');
        if (comma == std::string::npos || comma == 0 || comma + 1 == text.size())
          return fmt::format("{} is not the names of two nodes, LEFT,RIGHT", Quoted(text));
        nodes = {text.substr(0, comma), text.substr(comma + 1)};
        return std::nullopt;
      });
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
  case AnimationFormat::Glb:
    break;
  }
  const std::vector<std::string>& eyes = written.head->eye_nodes;
  return fmt::format("{} on {}, {}{}", Count(written.head->driven_targets, "morph target"),
                     Count(written.head->driven_nodes, "node"),
                     Count(written.head->driven_clusters, "cluster"),
                     eyes.empty() ? "" : ", the eyes " + SomeQuoted(eyes));
}

std::vector<Note> NotesOn(const WrittenAnimation& written) {
  std::vector<Note> notes;
  const auto add = [&](Code code, std::string what) { notes.push_back({code, "", std::move(what)}); };
  if (written.format == AnimationFormat::ShapeCsv && written.clusters > 0)
    add(Code::Lossy,
        fmt::format("without the {}, which .json and .glb have", Count(written.clusters, "cluster")));
  if (!written.missing_shapes.empty())
    add(Code::Unmatched, (written.head ? "no morph target for " : "0 for shapes that the character lacks: ") +
                             Some(written.missing_shapes));
  if (!written.head) return notes;
  if (!written.head->targets_without_shape.empty())
    add(Code::Unmatched, "nothing moves the morph targets " + Some(written.head->targets_without_shape));
  if (!written.head->clusters_without_node.empty())
    add(Code::Unmatched, "no node has the name of the clusters " + Some(written.head->clusters_without_node));
  notes.insert(notes.end(), written.head->notes.begin(), written.head->notes.end());
  return notes;
}

} // namespace mien
