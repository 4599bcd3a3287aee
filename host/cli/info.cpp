#include "host/base/error.h"
#include "host/base/text.h"
#include "host/cli/commands.h"
#include "host/cli/take_options.h"
#include "host/files/whole_file.h"
#include "host/formats/read_take.h"
#include "host/inspect/describe.h"
#include "host/inspect/description_json.h"
#include "host/inspect/description_text.h"
#include "host/inspect/terminal.h"
#include "host/performer/face_axes.h"
#include "host/performer/match_markers.h"
#include "host/performer/neutral.h"
#include "host/performer/performer_file.h"
#include "mien/base/affine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace mien {

namespace {

struct Options {
  std::vector<std::string> takes;
  std::string performer;
  bool json = false;
  ReadOptions reading;
};

/// The character set that the environment asks for.
bool WantsUtf8() {
  for (const char* const name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* const value = std::getenv(name);
    if (!value || !*value) continue;
    const std::string locale = ToLower(value);
    return locale.ends_with("utf-8") || locale.ends_with("utf8");
  }
  return false;
}

Terminal StandardOutput() {
  Terminal terminal;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) terminal.columns = size.ws_col;
  terminal.utf8 = WantsUtf8();
  return terminal;
}

FaceDirections DirectionsOf(const Take& take, const Performer& performer) {
  CheckMarkers(performer, take);
  const VgeAMatrix axes = FaceAxes(performer, FindNeutral(take, performer, std::nullopt).pose);
  const auto direction = [&](int column) {
    const VgeTVector d = Column(axes, column);
    return Point{d.x, d.y, d.z};
  };
  return {.left = direction(0), .up = direction(1), .forward = direction(2)};
}

void Info(const Options& options) {
  std::optional<Performer> performer;
  if (!options.performer.empty()) performer = LoadPerformer(options.performer);
  const auto write = [](const std::string& text) {
    WriteWhole("-", [&](std::ostream& out) { out << text; });
  };

  const Terminal terminal = StandardOutput();
  std::vector<std::string> described;
  std::vector<Problem> problems;
  const auto gather = [&problems](const InputError& error) {
    problems.insert(problems.end(), error.Problems().begin(), error.Problems().end());
  };
  for (const std::string& file : options.takes) {
    try {
      const Take take = ReadTake(file, options.reading);
      TakeDescription description = Describe(take);
      try {
        if (performer) description.face = DirectionsOf(take, *performer);
      } catch (const InputError& error) { gather(error); }
      if (options.json)
        described.push_back(ToJson(description));
      else
        described.push_back(ToText(description, terminal));
    } catch (const InputError& error) { gather(error); }
  }
  if (options.json && options.takes.size() > 1)
    write(fmt::format("[\n{}\n]\n", fmt::join(described, ",\n")));
  else if (!described.empty())
    write(fmt::format("{}{}", fmt::join(described, "\n"), options.json ? "\n" : ""));
  if (!problems.empty()) throw InputError(std::move(problems));
}

} // namespace

void AddInfoCommand(CLI::App& app) {
  CLI::App* const command =
      app.add_subcommand("info", "Say what is in takes: markers, frames, rate, timecode, gaps, extents");
  command->footer("Example: mien info take.csv\n"
                  "Example: mien info take.csv --performer landmarks68\n"
                  "Example: mien info take.csv --json\n"
                  "Where a take cannot be read, the others are told all the same; the exit code is 1.");
  auto options = std::make_shared<Options>();
  command->add_option("TAKE", options->takes, std::string(kTakeHelp) + "; several if wanted")->required();
  command
      ->add_option(
          "-p,--performer", options->performer,
          fmt::format("Tell which way the face looks, by a performer file or a built-in performer: {}",
                      fmt::join(BuiltInPerformers(), ", ")))
      ->type_name("NAME|FILE");
  command->add_flag("--json", options->json, "For programs: as JSON, of several takes as a list");
  AddTakeOptions(*command, options->reading);
  command->callback([options] { Info(*options); });
}

} // namespace mien
