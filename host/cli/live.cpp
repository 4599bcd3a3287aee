#include "host/base/text.h"
#include "host/cli/animation_options.h"
#include "host/cli/cleaning_options.h"
#include "host/cli/commands.h"
#include "host/cli/keyboard.h"
#include "host/cli/live_status.h"
#include "host/cli/output.h"
#include "host/cli/signals.h"
#include "host/cli/status_line.h"
#include "host/cli/take_options.h"
#include "host/cli/terminals.h"
#include "host/files/standard_streams.h"
#include "host/jobs/output_place.h"
#include "host/live/live_face.h"
#include "host/net/event_loop.h"
#include "host/performer/performer_file.h"
#include "host/stream/live_stream.h"
#include "host/weights/weight_map.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace mien {

namespace {

using namespace std::chrono_literals;

constexpr char kKeys[] = "n neutral, r record, p pause, m mark, 1-9 performer, q quit";

bool IsLoopback(const std::string& address) {
  return address.starts_with("127.") || address == "::1" || address == "localhost";
}

/// Throws where a sink sends to the port of a source: its faces would come back as input, without end.
void RefuseLoop(const LiveJob& job, const StreamSink& sink) {
  const bool listens_on_loopback = IsLoopback(job.listen) || job.listen == "0.0.0.0" || job.listen == "::";
  if (sink.host != job.listen && !(IsLoopback(sink.host) && listens_on_loopback)) return;
  for (const StreamSource& source : job.sources)
    if (source.IsDatagrams() && source.port == sink.port)
      throw UsageError("out", fmt::format("{} sends to port {}, on which --in {} listens; send to the "
                                          "receiver's port, and listen on another one",
                                          Quoted(sink.text), sink.port, Quoted(source.text)));
}

/// Throws where the lines of a sink would replace a file that is read, or go where another sink writes.
void CheckLines(const LiveJob& job, const StreamSink& sink) {
  std::vector<std::string> inputs = job.performers;
  inputs.insert(inputs.end(), {job.character, job.map, job.ranges, job.causal.neutral_take});
  for (const StreamSource& source : job.sources)
    inputs.insert(inputs.end(), {source.file, source.performer.value_or(""), source.character.value_or("")});
  for (const std::string& input : inputs)
    if (!IsStandardInput(input) && !input.empty()) RefuseOverwriting(sink.file, input, Quoted(input), "out");
  for (const StreamSink& other : job.sinks)
    if (&other < &sink && other.kind == StreamSink::Kind::Lines && IsSamePlace(other.file, sink.file))
      throw UsageError("out", fmt::format("{} and {} write to one place; give each a file of its own",
                                          Quoted(other.text), Quoted(sink.text)));
}

void CheckPlaces(const LiveJob& job, const Output& output) {
  if (job.sources.empty()) throw UsageError("in", "name at least one source");
  std::size_t readers = 0, recordings = 0;
  for (const StreamSource& source : job.sources)
    if (IsStandardInput(source.file)) ++readers;
  if (readers > 1) throw UsageError("in", "standard input can be read once");
  for (const StreamSink& sink : job.sinks) {
    if (sink.kind == StreamSink::Kind::Record) ++recordings;
    if (sink.IsDatagrams()) RefuseLoop(job, sink);
    if (sink.kind != StreamSink::Kind::Lines) continue;
    output.RequireFreeStandardOutput(sink.file, "out");
    CheckLines(job, sink);
  }
  for (const StreamSource& source : job.sources)
    if (source.kind == StreamSource::Kind::Lines && job.reading.mesh.mirrored)
      throw UsageError("mirrored", "this is not for landmarks in lines; send them from an unmirrored video");
  if (recordings > 1) throw UsageError("out", "there can be one recording");
  if (job.output_rate && job.output_rate->Hz() > LiveFace::kMostOutput_hz)
    throw UsageError("rate", fmt::format("the highest rate is {} Hz", LiveFace::kMostOutput_hz));
}

/// The addresses of the stream: a program that chose port 0 needs them.
void Announce(const LiveStream& stream, const LiveJob& job, Output& output) {
  const std::vector<StreamedSource> sources = stream.Sources();
  for (std::size_t s = 0; s < sources.size(); ++s) {
    if (sources[s].port == 0) continue;
    const StreamSource& source = job.sources[s];
    output.Line("listening", fmt::format("{} at {} port {}", source.text, job.listen, sources[s].port));
    if (source.IsOfPhone() && IsLoopback(job.listen))
      output.Line("", "phones cannot reach this address; --listen 0.0.0.0 opens the port to the network");
    output.Event(JsonObject({{"event", "listening"},
                             {"source", source.text},
                             {"address", job.listen},
                             {"port", sources[s].port}}));
  }
  for (const std::uint16_t port : stream.PagePorts()) {
    const bool is_v6 = job.listen.find(':') != std::string::npos;
    const std::string address =
        fmt::format("http://{}:{}/", is_v6 ? '[' + job.listen + ']' : job.listen, port);
    output.Line("page", address);
    output.Event(JsonObject({{"event", "page"}, {"address", address}}));
  }
  if (stream.ControlPort() == 0) return;
  output.Line("control", fmt::format("OSC at {} port {}", job.listen, stream.ControlPort()));
  output.Event(JsonObject({{"event", "control"}, {"address", job.listen}, {"port", stream.ControlPort()}}));
}

void Press(char key, LiveStream& stream, EventLoop& loop) {
  switch (key) {
  case 'n':
    return stream.NeutralNow();
  case 'r':
    return stream.ToggleRecording();
  case 'p':
    return stream.TogglePause();
  case 'm':
    return stream.Mark("mark");
  case 'q':
    return loop.Stop();
  default:
    if (key >= '1' && key <= '9') stream.SwitchPerformer(static_cast<std::size_t>(key - '1'));
  }
}

void Summarise(const LiveStream& stream, const LiveJob& job, Output& output) {
  for (const StreamedFace& face : stream.Faces())
    output.Line("face", fmt::format("{} {}", job.sources[face.source].text, SummaryOf(face)));
  const std::vector<StreamedSource> sources = stream.Sources();
  for (std::size_t s = 0; s < sources.size(); ++s)
    if (sources[s].port != 0 && sources[s].packets == 0)
      output.Remark({Code::Missing, "",
                     fmt::format("{}: nothing arrived at {} port {}", job.sources[s].text, job.listen,
                                 sources[s].port)});
  for (std::size_t s = 0; s < sources.size(); ++s)
    if (const std::string faults = FaultsOf(sources[s]); !faults.empty())
      output.Remark({Code::Ignored, "", fmt::format("{}: {}", job.sources[s].text, faults)});
  if (const std::uint64_t dropped = stream.DroppedBySinks(); dropped > 0)
    output.Remark(
        {Code::Ignored, "", fmt::format("{} that could not be sent at once", Count(dropped, "packet"))});
  output.Result(StatusAsJson(stream, job));
}

void RunLive(const LiveJob& job, Output& output) {
  CheckPlaces(job, output);
  bool stdin_is_free = true;
  for (const StreamSource& source : job.sources) stdin_is_free &= !IsStandardInput(source.file);
  EventLoop loop;
  std::mutex mutex; // for `shown`
  std::string shown;
  StatusLine* line = nullptr;
  std::vector<Problem> faults;
  LiveStream stream(loop, job, [&](const Note& note) {
    if (line)
      line->Above([&] { output.Remark(note); });
    else
      output.Remark(note);
  });
  const OrderlyStop orderly; // before another program can see that it runs
  Announce(stream, job, output);
  Keyboard keyboard(stdin_is_free && !output.json);
  if (keyboard.IsThere()) output.Line("keys", kKeys);
  {
    StatusLine status(
        [&](std::size_t) {
          const std::lock_guard lock(mutex);
          return shown;
        },
        output.quiet || output.json);
    line = &status;
    loop.Every(20ms, [&] {
      if (OrderlyStop::Wanted()) loop.Stop();
      while (const std::optional<char> key = keyboard.Key()) Press(*key, stream, loop);
    });
    if (!status.IsSilent())
      loop.Every(200ms, [&] {
        const std::string text = StatusText(stream, job, StandardErrorTerminal().columns - 1);
        const std::lock_guard lock(mutex);
        shown = text;
      });
    if (!stream.PagePorts().empty())
      loop.Every(500ms, [&] {
        constexpr std::size_t kColumns = 200;
        std::vector<std::string> of_faces;
        for (const StreamedFace& face : stream.Faces()) of_faces.push_back(SummaryOf(face));
        stream.SendStatus(StatusText(stream, job, kColumns), of_faces);
      });
    if (output.json) loop.Every(1s, [&] { output.Event(StatusAsJson(stream, job)); });
    loop.Run();
    faults = stream.Finish();
    line = nullptr;
  }
  Summarise(stream, job, output);
  if (!faults.empty()) throw InputError(faults);
}

/// The values of --in and --out, for the help.
void Describe(Command& command) {
  command.Details(
      "--in is one of these. It may be given more than once:",
      {{"phone:11111", "Packets of phone face-capture apps"},
       {"phone-json:49983", "Datagrams of phone apps as JSON or text"},
       {"tracker:11573", "Packets of an open web-camera tracker, 66 landmarks in 3D"},
       {"vmc:39539", "The VMC protocol"},
       {"osc:PORT", "Weights as plain OSC arrays"},
       {"lines:PORT, lines:-", "Landmarks, markers or weights, a JSON object per datagram or line"},
       {"replay:take.csv", "Any take or recorded weights, played as if live; with ?speed=2, ?speed=max, "
                           "?loop, or both: ?speed=2&loop"}});
  command.Details("A source can have its own performer and character: 'tracker:11573?performer=ada.json'. "
                  "The ports above are the usual ones and may be left out: 'phone'. "
                  "Port 0 stands for any free port. --out is one of these. It may be given more than once:",
                  {{"vmc:HOST:39539", "The VMC protocol: the 52 shapes, or the expressions of -c vrm1"},
                   {"phone:HOST:11111", "Packets of phone face-capture apps"},
                   {"osc:HOST:PORT", "The 52 shapes as an OSC array, at /mien/blendshapes"},
                   {"page:PORT", "The viewer, live in a browser"},
                   {"lines:-, lines:FILE", "A line of JSON per frame"},
                   {"record:PLACE", "PLACE.csv for the input, and PLACE.out.csv for the output"}});
  command.Details("Without --listen, other machines cannot reach any of these ports.");
  command.Example("mien live --in phone --out vmc");
  command.Example("mien live --in tracker -p ada.json --out vmc --out record:show");
  command.Example("mien live --in replay:take.csv?loop -p landmarks68 --out lines:-");
}

void AddPlaces(Command& command, LiveJob& job) {
  command.AddParsed(
      {.names = "--in", .type = "SOURCE", .help = "A source of faces", .required = true, .repeatable = true},
      [&job](const std::string& text) -> Command::Fault {
        try {
          job.sources.push_back(ParseStreamSource(text));
          return std::nullopt;
        } catch (const InputError& error) { return error.what(); }
      });
  command.AddParsed(
      {.names = "--out", .type = "SINK", .help = "A destination for the results", .repeatable = true},
      [&job](const std::string& text) -> Command::Fault {
        try {
          job.sinks.push_back(ParseStreamSink(text));
          return std::nullopt;
        } catch (const InputError& error) { return error.what(); }
      });
  command.Add(
      {.names = "--listen",
       .type = "ADDRESS",
       .help =
           "Listen on this address of the machine, or on all with 0.0.0.0. Default: 127.0.0.1, which only "
           "programs on this machine can reach",
       .may_be_empty = false},
      job.listen);
  command.AddParsed(
      {.names = "--control", .type = "PORT", .help = "Accept commands by OSC on this port (docs/live.md)"},
      [&job](const std::string& text) -> Command::Fault {
        job.control_port = ParsePort(text);
        if (!job.control_port) return Quoted(text) + " is not a port from 0 to 65535";
        return std::nullopt;
      });
  command.AddParsed({.names = "--for", .type = "SECONDS", .help = "Stop after this time"},
                    [&job](const std::string& text) -> Command::Fault {
                      double seconds = 0;
                      const char* const end = text.data() + text.size();
                      const auto [parsed, error] = std::from_chars(text.data(), end, seconds);
                      constexpr double kLongest = 1e7;
                      if (error != std::errc() || parsed != end || !(seconds > 0 && seconds < kLongest))
                        return Quoted(text) + " is not a number of seconds above 0, such as 10";
                      job.for_s = seconds;
                      return std::nullopt;
                    });
}

} // namespace

void AddLiveCommand(Command& mien) {
  Command command = mien.AddCommand("live", "Solve live faces: packets in, weights out");
  Describe(command);
  auto job = std::make_shared<LiveJob>();
  AddPlaces(command, *job);
  command.Add({.names = "-p,--performer",
               .type = "NAME|FILE",
               .help = fmt::format(
                   "For landmarks and markers: a built-in performer ({}) or a performer file; default: the "
                   "built-in one for these landmarks. With several, the keys 1 to 9 switch between them",
                   fmt::join(BuiltInPerformers(), ", ")),
               .repeatable = true,
               .may_be_empty = false,
               .values = BuiltInPerformers(),
               .files = "*.json"},
              job->performers);
  AddCharacter(command, job->character, "to animate");
  command.Add({.names = "--map",
               .type = "NAME|FILE",
               .help = "For --character: how weights drive the templates, a built-in map or a map file. "
                       "Default: arkit52",
               .may_be_empty = false,
               .values = BuiltInWeightMaps(),
               .files = "*.json"},
              job->map);
  command.Add({.names = "--ranges",
               .type = "FILE.json",
               .help = "For weights: this person's ranges, from mien calibrate",
               .may_be_empty = false,
               .files = "*.json"},
              job->ranges);
  command.AddParsedFlag({.names = "--no-ranges", .help = "Do not apply the ranges of a calibrated performer"},
                        [job]() -> Command::Fault {
                          job->performer_ranges = false;
                          return std::nullopt;
                        });
  command.AddFlag({.names = "--swap-sides", .help = "Exchange left and right in the source's weights"},
                  job->swap_sides);
  AddExpression(command, job->expressions);
  AddSolver(command, job->solver);
  AddHeadFit(command, job->head_fit);
  AddRate(command,
          {.names = "--rate",
           .type = "HZ",
           .help = "Send at this rate instead of the source's, resampled without looking ahead"},
          job->output_rate);
  AddStreamOptions(command, job->causal, true);
  AddNeutralOption(command, job->neutral);
  AddTakeOptions(command, job->reading);
  command.AddOutputOptions();
  command.OnRun([job](Output& output) { RunLive(*job, output); });
}

} // namespace mien
