#include "host/cli/cleaning_options.h"

#include "host/base/text.h"
#include "host/cleaning/fill_gaps.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

namespace {

constexpr char kGroup[] = "Cleaning";

void AddFill(Command& command, const std::string& name, const std::string& help, FillPlan& plan) {
  command.AddParsed({.names = name,
                     .type = "METHOD[:SECONDS],...",
                     .help = fmt::format("{}; default: {}", help, ToText(plan)),
                     .group = kGroup},
                    [&plan](const std::string& text) -> Command::Fault {
                      const auto parsed = ParseFillPlan(text);
                      if (!parsed)
                        return fmt::format("{} is not none, hold, linear, cubic or pattern, nor several of "
                                           "them, such as cubic:0.2,pattern:1",
                                           Quoted(text));
                      plan = *parsed;
                      return std::nullopt;
                    });
}

/// A number above 0.
void AddNumber(Command& command, const std::string& name, const std::string& unit, const std::string& example,
               const std::string& help, std::function<Command::Fault(double)> set) {
  command.AddParsed({.names = name, .type = unit, .help = help, .group = kGroup},
                    [unit, example, set = std::move(set)](const std::string& text) -> Command::Fault {
                      const char* const end = text.data() + text.size();
                      double value = 0;
                      const auto [parsed, error] = std::from_chars(text.data(), end, value);
                      if (error != std::errc() || parsed != end || !(value > 0) || !std::isfinite(value))
                        return fmt::format("{} is not a number of {} above 0, such as {}", Quoted(text), unit,
                                           example);
                      return set(value);
                    });
}

/// One of several words.
template <class Value>
void AddChoice(Command& command, const std::string& name, const std::string& type, const std::string& help,
               std::vector<std::pair<std::string, Value>> choices, Value& chosen) {
  command.AddParsed({.names = name, .type = type, .help = help, .group = kGroup},
                    [&chosen, choices = std::move(choices)](const std::string& text) -> Command::Fault {
                      std::vector<std::string> words;
                      for (const auto& [word, value] : choices) {
                        if (word == text) return chosen = value, std::nullopt;
                        words.push_back(word);
                      }
                      return fmt::format("\"{}\" is not {}", text, fmt::join(words, " or "));
                    });
}

} // namespace

void AddSolver(Command& command, ShapeSolver& solver) {
  AddChoice(
      command, "--solver", "parts|fit",
      "What the character's shapes come from: the templates of the nine parts, or a fit of all 52 shapes to "
      "all markers; default parts",
      {{"parts", ShapeSolver::Parts}, {"fit", ShapeSolver::Fit}}, solver);
}

void AddHeadFit(Command& command, HeadFit& fit) {
  AddChoice(command, "--head-fit", "take|markers",
            "What the head's motion is found from: every marker that the take shows to be rigid, or the "
            "performer's head "
            "markers alone; default take",
            {{"take", HeadFit::Take}, {"markers", HeadFit::Markers}}, fit);
}

void AddWeightCleaning(Command& command, double& fade_s, std::optional<double>& smooth_weights_hz,
                       std::optional<double>& smooth_gaze_hz) {
  AddNumber(command, "--fade", "S", "0.25",
            fmt::format("How long a weight takes to come to rest where it is missing; default: {}", fade_s),
            [&fade_s](double seconds) -> Command::Fault { return fade_s = seconds, std::nullopt; });
  AddNumber(
      command, "--smooth-weights", "HZ", "10",
      "Smooth the weights: remove motion above this frequency, without delay",
      [&smooth_weights_hz](double hz) -> Command::Fault { return smooth_weights_hz = hz, std::nullopt; });
  AddNumber(command, "--smooth-gaze", "HZ", "5", "The same for where the eyes look",
            [&smooth_gaze_hz](double hz) -> Command::Fault { return smooth_gaze_hz = hz, std::nullopt; });
}

void AddCleaningOptions(Command& command, SolveOptions& options) {
  AddChoice(command, "--brows", "fit|core",
            "How brow weights are found: fit, the two that give back the brow best, or core, by closeness; "
            "default fit",
            {{"fit", BrowMethod::Fit}, {"core", BrowMethod::Core}}, options.brows);
  AddFill(
      command, "--fill",
      "Fill the gaps of face markers: the methods in the order in which they are tried (hold, linear, cubic, "
      "pattern), each with the longest gap that it fills, or none",
      options.face_fill);
  AddFill(command, "--fill-head", "The same for head markers", options.head_fill);

  // Which of the two comes first on the command line does not matter.
  struct Tolerance {
    bool named = false, none = false;
  };
  const auto tolerance = std::make_shared<Tolerance>();
  const std::string contradiction = "--keep-slipped and --head-tolerance exclude each other";
  AddNumber(command, "--head-tolerance", "MM", "6",
            fmt::format("Leave out a head marker where it is further than this from its place; default: {}",
                        *options.head_tolerance_mm),
            [&options, tolerance, contradiction](double mm) -> Command::Fault {
              if (tolerance->none) return contradiction;
              tolerance->named = true;
              options.head_tolerance_mm = mm;
              return std::nullopt;
            });
  command.AddParsedFlag({.names = "--keep-slipped",
                         .help = "Use all head markers, however far they are from their places",
                         .group = kGroup},
                        [&options, tolerance, contradiction]() -> Command::Fault {
                          if (tolerance->named) return contradiction;
                          tolerance->none = true;
                          options.head_tolerance_mm.reset();
                          return std::nullopt;
                        });

  AddNumber(command, "--fade", "S", "0.25",
            fmt::format("How long a part takes to come to rest where its markers are missing; default: {}",
                        options.fade_s),
            [&options](double seconds) -> Command::Fault { return options.fade_s = seconds, std::nullopt; });
  command.AddParsedFlag(
      {.names = "--no-gaze",
       .help = "Leave the eyes looking straight ahead, although the take shows where they look",
       .group = kGroup},
      [&options]() -> Command::Fault { return options.gaze = false, std::nullopt; });
  AddNumber(
      command, "--smooth", "HZ", "10",
      "Smooth the markers: remove motion above this frequency, without delay",
      [&options](double hz) -> Command::Fault { return options.smooth_positions_hz = hz, std::nullopt; });
  AddNumber(command, "--smooth-weights", "HZ", "10", "The same for the template weights",
            [&options](double hz) -> Command::Fault { return options.smooth_weights_hz = hz, std::nullopt; });
  AddNumber(command, "--smooth-gaze", "HZ", "5", "The same for where the eyes look",
            [&options](double hz) -> Command::Fault { return options.smooth_gaze_hz = hz, std::nullopt; });
}

void AddCausalOptions(Command& command, CausalJob& job, bool markers) {
  command.AddFlag({.names = "--causal",
                   .help = "Use only each frame and earlier ones, as mien live does",
                   .group = kGroup},
                  job.on);
  AddStreamOptions(command, job, markers);
}

void AddStreamOptions(Command& command, CausalJob& job, bool markers) {
  const CausalSettings usual;
  const auto seconds = [&](const std::string& name, const std::string& help, double by_default,
                           std::optional<double>& to) {
    AddNumber(command, name, "S", fmt::format("{}", by_default),
              fmt::format("{}; default: {}", help, by_default),
              [&to](double value) -> Command::Fault { return to = value, std::nullopt; });
  };
  if (markers) {
    command.Add(
        {.names = "--neutral-take",
         .type = "TAKE",
         .help = "For a causal solve: a take with the same markers, from which the neutral face and the head "
                 "are learned; default: the performer file's neutral face, or the first seconds",
         .may_be_empty = false,
         .group = kGroup,
         .files = "*"},
        job.neutral_take);
    seconds("--learn",
            "For a causal solve: learn the neutral face from this many seconds if nothing else has it",
            usual.learn_s, job.learn_s);
  }
  seconds("--hold", "For a causal solve: how long a missing marker or weight keeps its value", usual.hold_s,
          job.hold_s);
  seconds("--face-hold", "For a causal solve: how long a lost face is held", usual.face_hold_s,
          job.face_hold_s);
  seconds("--face-fade", "For a causal solve: how long a lost face takes to fade to rest, and to return",
          usual.face_fade_s, job.face_fade_s);
  command.AddParsed(
      {.names = "--one-euro",
       .type = "HZ[:BETA]",
       .help = "For a causal solve: smooth each weight with a One-Euro filter of this cutoff, which rises by "
               "BETA for each unit per second. Weights then lag",
       .group = kGroup},
      [&job](const std::string& text) -> Command::Fault {
        OneEuroSettings settings;
        const char* const end = text.data() + text.size();
        auto [at, error] = std::from_chars(text.data(), end, settings.cutoff_hz);
        bool fits = error == std::errc() && settings.cutoff_hz > 0 && std::isfinite(settings.cutoff_hz);
        if (fits && at != end) {
          fits = *at == ':';
          const auto beta = std::from_chars(at + 1, end, settings.beta);
          fits = fits && beta.ec == std::errc() && beta.ptr == end && settings.beta >= 0 &&
                 std::isfinite(settings.beta);
        }
        if (!fits)
          return fmt::format("{} is not a cutoff in HZ above 0, such as 2, or with a BETA, 2:0.5",
                             Quoted(text));
        job.one_euro = settings;
        return std::nullopt;
      });
}

} // namespace mien
