#include "host/stream/live_stream.h"

#include "host/base/text.h"
#include "host/files/part_file.h"
#include "host/files/standard_streams.h"
#include "host/files/whole_file.h"
#include "host/jobs/output_place.h"
#include "host/live/live_recording.h"
#include "host/live/live_session.h"
#include "host/net/line_input.h"
#include "host/net/udp_receiver.h"
#include "host/net/udp_sender.h"
#include "host/net/unblocked_output.h"
#include "host/stream/face_setups.h"
#include "host/stream/osc_control.h"
#include "host/stream/page_sink.h"
#include "host/stream/replay.h"
#include "host/wire/line_reader.h"
#include "host/wire/line_writer.h"
#include "host/wire/osc_array_reader.h"
#include "host/wire/osc_array_writer.h"
#include "host/wire/phone_datagram_reader.h"
#include "host/wire/phone_packet_reader.h"
#include "host/wire/phone_packet_writer.h"
#include "host/wire/tracker_packet_reader.h"
#include "host/wire/vmc_reader.h"
#include "host/wire/vmc_writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <optional>
#include <span>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace mien {

namespace {

using Clock = EventLoop::Clock;

double Seconds(Clock::time_point time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

Clock::duration Duration(double seconds) {
  return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

std::unique_ptr<PacketReader> ReaderOf(const StreamSource& source, PacketReader::OnFrame on_frame,
                                       const MeshOptions& mesh) {
  switch (source.kind) {
  case StreamSource::Kind::Phone:
    return std::make_unique<PhonePacketReader>(std::move(on_frame));
  case StreamSource::Kind::PhoneText:
    return std::make_unique<PhoneDatagramReader>(std::move(on_frame));
  case StreamSource::Kind::Tracker:
    return std::make_unique<TrackerPacketReader>(std::move(on_frame));
  case StreamSource::Kind::Vmc:
    return std::make_unique<VmcReader>(std::move(on_frame));
  case StreamSource::Kind::Osc:
    return std::make_unique<OscArrayReader>(std::move(on_frame));
  case StreamSource::Kind::Lines:
    return std::make_unique<LineReader>(std::move(on_frame), mesh);
  case StreamSource::Kind::Replay:
    break;
  }
  return nullptr;
}

/// Opens a file for lines. After a crash, it has all lines that were written.
int OpenForLines(const std::string& file) {
  if (IsStandardOutput(file)) return STDOUT_FILENO;
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (descriptor < 0) FailToWrite(file, errno);
  return descriptor;
}

constexpr double kAdvance_s = 1.0 / 60; // the interval of checks for silent sources

struct Source {
  StreamSource spec;
  std::unique_ptr<PacketReader> reader;
  std::unique_ptr<UdpReceiver> receiver;
  std::unique_ptr<LineInput> lines;
  std::size_t performer = 0; // that its faces start with
  std::vector<std::optional<std::size_t>>
      faces; // the session's number of each face of the reader; empty if it was refused
  std::uint64_t cut_lines = 0;

  std::unique_ptr<Replay> replay;
  std::size_t next_frame = 0;
  std::uint64_t frames = 0; // in all loops
  double later_s = 0;       // the duration of earlier loops
  Clock::time_point start;
  LiveInput input;
};

struct Sink {
  StreamSink spec;
  std::unique_ptr<UdpSender> sender;
  int descriptor = -1;
  std::unique_ptr<UnblockedOutput> lines;
  std::unique_ptr<PageSink> page;
  std::optional<std::size_t> face; // the only one that it sends, if ShowsOneFace
  bool has_refused = false;        // a face, and said so
  bool has_failed = false;         // to write, and said so

  bool ShowsOneFace() const {
    return spec.kind == StreamSink::Kind::Vmc || spec.kind == StreamSink::Kind::Osc;
  }
};

struct Face {
  std::size_t source = 0;
  LiveSource live;
  std::size_t number = 0; // in the session
  bool seen = false, learning = false;
  std::size_t recordings = 0;
  bool is_recorded = false;                           // until its recording stops, or fails
  std::vector<std::unique_ptr<PacketWriter>> writers; // (size: sinks) null: nothing is sent
};

} // namespace

struct LiveStream::Impl {
  Impl(EventLoop& events, const LiveJob& what, std::function<void(const Note&)> say)
      : loop(events), job(what), remark(std::move(say)), setups(job),
        session([this](const LiveOutput& output) { Send(output); }) {}

  ~Impl() {
    for (const Sink& sink : sinks)
      if (sink.descriptor > STDERR_FILENO) close(sink.descriptor);
  }

  void OpenSinks();
  void OpenSources();
  void OpenSource(std::size_t index);
  void Frame(std::size_t source, LiveInput& input);
  std::optional<std::size_t> TakeUp(std::size_t source, const LiveSource& face);
  void SetUpWriters(Face& face);
  void ShowOnPages(const Face& face);
  std::unique_ptr<PacketWriter> WriterOf(Sink& sink, const Face& face, const AnimationLayout& layout);
  void Feed(LiveInput& input);
  void Send(const LiveOutput& output);
  void ReplayNext(std::size_t source);
  void EndSource();
  void Advance();
  void StartRecording(Face& face);
  void StopRecordings();
  void CheckFiles();
  void Fail(const InputError& error);
  void Remark(const InputError& error) const {
    for (const Problem& problem : error.Problems()) remark({problem.code, "", Message(problem)});
  }
  Face* FaceOf(std::size_t number) {
    for (Face& face : faces)
      if (face.number == number) return &face;
    return nullptr;
  }
  /// Whether a control names no source or one that exists; remarks on another.
  bool HasSource(std::optional<std::size_t> source) const {
    if (!source || *source < sources.size()) return true;
    remark({Code::NotFound, "", fmt::format("there is no source {}", *source + 1)});
    return false;
  }
  const StreamSink* RecordSink() const {
    for (const StreamSink& sink : job.sinks)
      if (sink.kind == StreamSink::Kind::Record) return &sink;
    return nullptr;
  }

  // Of the whole stream.
  EventLoop& loop;
  const LiveJob job;
  const std::function<void(const Note&)> remark;
  const FaceSetups setups;
  LiveSession session;
  std::vector<std::unique_ptr<Source>> sources;
  std::vector<Sink> sinks;
  std::vector<Face> faces;
  std::unique_ptr<OscControl> control;
  std::size_t ended = 0; // sources
  double last_advance_s = 0;
  bool recording = false, paused = false, sent = false;
  std::vector<Problem> faults;    // of files that are written or replayed
  const LiveInput* fed = nullptr; // the one that the session is solving
};

void LiveStream::Impl::OpenSinks() {
  for (const StreamSink& spec : job.sinks) {
    if (spec.source && *spec.source > job.sources.size())
      throw UsageError(
          "out",
          fmt::format("{} names a source that does not exist; count the sources from 1, in the order of --in",
                      Quoted(spec.text)));
    Sink& sink = sinks.emplace_back();
    sink.spec = spec;
    if (spec.kind == StreamSink::Kind::Record) {
      CheckWritable(spec.file + ".csv");
      LiveRecording::CheckFree(spec.file);
      recording = true;
    } else if (spec.kind == StreamSink::Kind::Lines) {
      sink.descriptor = OpenForLines(spec.file);
      sink.lines = std::make_unique<UnblockedOutput>(loop, sink.descriptor);
    } else if (spec.kind == StreamSink::Kind::Page) {
      sink.page = std::make_unique<PageSink>(job.listen, spec.port, job.sources[0].text);
    } else {
      sink.sender = std::make_unique<UdpSender>(loop, spec.host, spec.port);
    }
  }
}

void LiveStream::Impl::OpenSources() {
  for (const StreamSource& spec : job.sources) {
    sources.push_back(std::make_unique<Source>());
    sources.back()->spec = spec;
    OpenSource(sources.size() - 1);
  }
}

void LiveStream::Impl::OpenSource(std::size_t index) {
  Source& source = *sources[index];
  if (source.spec.kind == StreamSource::Kind::Replay) {
    source.replay = std::make_unique<Replay>(source.spec.file, job.reading);
    loop.At(Clock::now(), [this, index] { ReplayNext(index); });
    return;
  }
  source.reader = ReaderOf(
      source.spec, [this, index](LiveInput& input) { Frame(index, input); }, job.reading.mesh);
  const auto read = [&source](std::string_view packet, Clock::time_point arrived) {
    source.reader->Read(packet, Seconds(arrived));
  };
  if (source.spec.IsDatagrams()) {
    source.receiver = std::make_unique<UdpReceiver>(loop, job.listen, source.spec.port, read);
    return;
  }
  source.lines = std::make_unique<LineInput>(
      loop, STDIN_FILENO,
      LineInput::Events{.line =
                            [&source, read](std::string_view line, bool is_cut, Clock::time_point arrived) {
                              source.cut_lines += is_cut ? 1 : 0;
                              if (!is_cut) read(line, arrived);
                            },
                        .end = [this] { EndSource(); }});
}

void LiveStream::Impl::EndSource() {
  if (++ended == sources.size()) loop.Stop();
}

void LiveStream::Impl::Advance() {
  CheckFiles();
  // Replays at full speed are never silent.
  if (std::all_of(job.sources.begin(), job.sources.end(),
                  [](const StreamSource& source) { return source.speed == 0; }))
    return;
  // After a stall, such as learning a face, packets wait in the sockets: read them before anything counts as
  // silent.
  const double now_s = Seconds(Clock::now());
  const bool was_stalled = now_s - std::exchange(last_advance_s, now_s) > 4 * kAdvance_s;
  if (!was_stalled) session.Advance(now_s);
}

void LiveStream::Impl::ReplayNext(std::size_t index) {
  Source& source = *sources[index];
  const Replay& replay = *source.replay;
  const double speed = source.spec.speed;
  using namespace std::chrono_literals;
  if (source.frames == 0) source.start = Clock::now();
  if (speed == 0 &&
      std::any_of(sinks.begin(), sinks.end(), [](const Sink& s) { return s.lines && s.lines->IsBusy(); }))
    return loop.At(Clock::now() + 2ms, [this, index] { ReplayNext(index); });

  if (source.faces.empty()) source.faces.push_back(TakeUp(index, replay.Source()));
  if (!source.faces[0]) return EndSource();
  replay.Fill(source.next_frame, source.later_s, source.input);
  source.input.face = *source.faces[0];
  source.input.arrival_s = Seconds(Clock::now());
  Feed(source.input);
  ++source.frames;
  if (++source.next_frame == replay.FrameCount()) {
    source.next_frame = 0;
    source.later_s += replay.Duration();
    if (!source.spec.loop) return EndSource();
  }
  const double due_s = source.later_s + replay.TimeOf(source.next_frame);
  const Clock::time_point due = speed == 0 ? Clock::now() : source.start + Duration(due_s / speed);
  loop.At(due, [this, index] { ReplayNext(index); });
}

void LiveStream::Impl::Frame(std::size_t index, LiveInput& input) {
  Source& source = *sources[index];
  while (source.faces.size() <= input.face)
    source.faces.push_back(TakeUp(index, source.reader->Faces()[source.faces.size()]));
  const auto face = source.faces[input.face];
  if (!face) return;
  input.face = *face;
  Feed(input);
}

std::optional<std::size_t> LiveStream::Impl::TakeUp(std::size_t index, const LiveSource& live) {
  const StreamSource& spec = job.sources[index];
  if (spec.face && *spec.face != live.name) return std::nullopt;
  try {
    Face face;
    face.source = index;
    face.live = live;
    face.number = session.AddFace(live, setups.Of(spec, live, sources[index]->performer));
    faces.push_back(std::move(face));
    SetUpWriters(faces.back());
    if (recording) StartRecording(faces.back());
    return faces.back().number;
  } catch (const InputError& error) {
    // The other faces continue. A network may bring faces that nobody named; a replay was named.
    const bool is_replay = spec.kind == StreamSource::Kind::Replay;
    if (is_replay) faults.insert(faults.end(), error.Problems().begin(), error.Problems().end());
    if (!is_replay || job.sources.size() > 1) Remark(error); // alone, it ends the stream, which reports it
    return std::nullopt;
  }
}

void LiveStream::Impl::SetUpWriters(Face& face) {
  face.writers.clear();
  ShowOnPages(face);
  for (Sink& sink : sinks) face.writers.push_back(WriterOf(sink, face, session.Layout(face.number)));
}

void LiveStream::Impl::ShowOnPages(const Face& face) {
  for (Sink& sink : sinks) {
    if (!sink.page || (sink.spec.source && *sink.spec.source != face.source + 1)) continue;
    if (!sink.page->Show(session, face.number, face.live, job.sources[face.source].text) &&
        !std::exchange(sink.has_refused, true))
      remark(
          {Code::Ignored, "",
           fmt::format("{} shows at most two faces; choose others with ?source=N", Quoted(sink.spec.text))});
  }
}

std::unique_ptr<PacketWriter> LiveStream::Impl::WriterOf(Sink& sink, const Face& face,
                                                         const AnimationLayout& layout) {
  if (sink.spec.source && *sink.spec.source != face.source + 1) return nullptr;
  if (sink.ShowsOneFace()) {
    if (!sink.face) sink.face = face.number;
    if (*sink.face != face.number) {
      if (!std::exchange(sink.has_refused, true))
        remark({Code::Ignored, "",
                fmt::format("{} sends only one face, from {}; choose another source with ?source=N",
                            Quoted(sink.spec.text), Quoted(job.sources[FaceOf(*sink.face)->source].text))});
      return nullptr;
    }
  }
  switch (sink.spec.kind) {
  case StreamSink::Kind::Vmc:
    return std::make_unique<VmcWriter>(layout);
  case StreamSink::Kind::Phone:
    return std::make_unique<PhonePacketWriter>(layout, face.live.name);
  case StreamSink::Kind::Osc:
    return std::make_unique<OscArrayWriter>(layout, sink.spec.address);
  case StreamSink::Kind::Lines:
    if (sink.spec.clusters && layout.clusters.empty() && !std::exchange(sink.has_refused, true))
      remark({Code::Ignored, "",
              fmt::format("{}: the character of {} has no clusters", Quoted(sink.spec.text),
                          Quoted(job.sources[face.source].text))});
    return std::make_unique<LineWriter>(layout, face.live.name, sink.spec.clusters);
  case StreamSink::Kind::Page:
  case StreamSink::Kind::Record:
    break;
  }
  return nullptr;
}

void LiveStream::Impl::Feed(LiveInput& input) {
  sent = false;
  fed = &input;
  const LiveSession::Verdict verdict = session.Feed(input);
  fed = nullptr;
  if (verdict == LiveSession::Verdict::Used && sent)
    session.AddLatency(input.face, Seconds(Clock::now()) - input.arrival_s);
}

void LiveStream::Impl::Send(const LiveOutput& output) {
  Face* const face = FaceOf(output.face);
  if (!face) return;
  sent = true;
  face->seen = output.face_seen;
  // The page uses the neutral face to place markers and head, once it is known.
  if (std::exchange(face->learning, output.learning) && !output.learning) ShowOnPages(*face);
  for (const Sink& sink : sinks) {
    std::span<const std::optional<Point>> markers;
    if (fed && fed->face == output.face) markers = fed->markers;
    if (sink.page) sink.page->Send(output, markers);
  }
  for (std::size_t s = 0; s < sinks.size(); ++s) {
    if (!face->writers[s]) continue;
    Sink& sink = sinks[s];
    if (sink.sender)
      face->writers[s]->Write(output, [&sink](std::string_view packet) { sink.sender->Send(packet); });
    else
      face->writers[s]->Write(output, [&sink](std::string_view line) { sink.lines->Write(line); });
  }
}

void LiveStream::Impl::StartRecording(Face& face) {
  const StreamSink* const sink = RecordSink();
  if (!sink || (sink->source && *sink->source != face.source + 1)) return;
  // File names never come from packets.
  std::string place = sink->file;
  if (const auto index = static_cast<std::size_t>(&face - faces.data()); index > 0)
    place += fmt::format("-face{}", index + 1);
  if (++face.recordings > 1) place += fmt::format("-again{}", face.recordings);
  try {
    session.StartRecording(face.number, place);
    face.is_recorded = true;
  } catch (const InputError& error) { Fail(error); }
}

void LiveStream::Impl::StopRecordings() {
  CheckFiles();
  for (Face& face : faces) {
    session.StopRecording(face.number);
    face.is_recorded = false;
  }
}

/// Reports files that can no longer be written. The stream continues.
void LiveStream::Impl::CheckFiles() {
  for (Face& face : faces)
    if (const std::optional<Problem>& fault = session.RecordingFault(face.number);
        fault && face.is_recorded) {
      face.is_recorded = false;
      Fail(InputError(*fault));
      recording =
          std::any_of(faces.begin(), faces.end(), [](const Face& other) { return other.is_recorded; });
    }
  for (Sink& sink : sinks) {
    if (!sink.lines || sink.lines->Error() == 0 || std::exchange(sink.has_failed, true)) continue;
    const std::string what = "cannot be written: " + std::generic_category().message(sink.lines->Error());
    if (sink.lines->Error() == EPIPE) // the reader has enough
      remark({Code::Ignored, "", fmt::format("{} {}; no more lines are sent", sink.spec.text, what)});
    else
      Fail(InputError(Code::Unwritable, sink.spec.file, "", what, "choose another place"));
  }
}

void LiveStream::Impl::Fail(const InputError& error) {
  Remark(error);
  faults.insert(faults.end(), error.Problems().begin(), error.Problems().end());
}

LiveStream::LiveStream(EventLoop& loop, const LiveJob& job, std::function<void(const Note&)> remark)
    : impl_(std::make_unique<Impl>(loop, job, std::move(remark))) {
  impl_->OpenSources();
  impl_->OpenSinks(); // what is wrong with the sources is found before a file is emptied
  if (job.control_port)
    impl_->control = std::make_unique<OscControl>(loop, job.listen, *job.control_port, *this);
  impl_->last_advance_s = Seconds(Clock::now());
  loop.Every(Duration(kAdvance_s), [this] { impl_->Advance(); });
  if (job.for_s) loop.At(Clock::now() + Duration(*job.for_s), [&loop] { loop.Stop(); });
}

LiveStream::~LiveStream() = default;

void LiveStream::NeutralNow(std::optional<std::size_t> source) {
  if (!impl_->HasSource(source)) return;
  for (const Face& face : impl_->faces)
    if (face.live.kind == LiveKind::Markers && (!source || face.source == *source))
      impl_->session.NeutralNow(face.number);
}

bool LiveStream::IsRecording() const { return impl_->recording; }
bool LiveStream::IsPaused() const { return impl_->paused; }

void LiveStream::ToggleRecording() {
  if (!impl_->RecordSink())
    return impl_->remark(
        {Code::Missing, "", "no recording place was given; name one with --out record:PLACE"});
  impl_->recording = !impl_->recording;
  if (!impl_->recording) return impl_->StopRecordings();
  for (Face& face : impl_->faces) impl_->StartRecording(face);
}

void LiveStream::TogglePause() {
  impl_->paused = !impl_->paused;
  impl_->session.Pause(impl_->paused);
}

void LiveStream::Mark(const std::string& label) {
  for (const Face& face : impl_->faces) impl_->session.Mark(face.number, label);
}

void LiveStream::SwitchPerformer(std::size_t performer, std::optional<std::size_t> source) {
  if (performer >= impl_->job.performers.size())
    return impl_->remark({Code::NotFound, "", fmt::format("there is no performer {}", performer + 1)});
  if (!impl_->HasSource(source)) return;
  for (std::size_t s = 0; s < impl_->sources.size(); ++s)
    if (!source || s == *source) impl_->sources[s]->performer = performer;
  for (Face& face : impl_->faces) {
    if (face.live.kind != LiveKind::Markers || (source && face.source != *source)) continue;
    try {
      impl_->session.SwitchPerformer(face.number,
                                     impl_->setups.Of(impl_->job.sources[face.source], face.live, performer));
      impl_->SetUpWriters(face);
    } catch (const InputError& error) { impl_->Remark(error); }
  }
}

std::uint16_t LiveStream::ControlPort() const { return impl_->control ? impl_->control->Port() : 0; }

std::vector<std::uint16_t> LiveStream::PagePorts() const {
  std::vector<std::uint16_t> ports;
  for (const Sink& sink : impl_->sinks)
    if (sink.page) ports.push_back(sink.page->Port());
  return ports;
}

void LiveStream::SendStatus(const std::string& summary, const std::vector<std::string>& of_faces) {
  ViewFacts facts = {.title = "Faces", .rows = {}};
  for (std::size_t f = 0; f < impl_->faces.size() && f < of_faces.size(); ++f)
    facts.rows.emplace_back(impl_->job.sources[impl_->faces[f].source].text, of_faces[f]);
  for (const Sink& sink : impl_->sinks)
    if (sink.page) sink.page->SendStatus(summary, {facts});
}

std::vector<StreamedSource> LiveStream::Sources() const {
  std::vector<StreamedSource> all;
  for (const auto& source : impl_->sources) {
    StreamedSource& one = all.emplace_back();
    one.packets = source->reader ? source->reader->Packets() : source->frames;
    if (source->reader) one.faults = source->reader->FaultCounts();
    if (source->cut_lines > 0) one.faults.emplace_back("lines longer than 1 MB", source->cut_lines);
    if (!source->receiver) continue;
    one.port = source->receiver->Port();
    one.flooded = source->receiver->Dropped();
  }
  return all;
}

std::vector<StreamedFace> LiveStream::Faces() const {
  std::vector<StreamedFace> all;
  for (const Face& face : impl_->faces)
    all.push_back({.source = face.source,
                   .name = face.live.name,
                   .seen = face.seen,
                   .learning = face.learning,
                   .statistics = &impl_->session.Statistics(face.number)});
  return all;
}

std::uint64_t LiveStream::DroppedBySinks() const {
  std::uint64_t dropped = 0;
  for (const Sink& sink : impl_->sinks)
    dropped += sink.sender ? sink.sender->Dropped() : sink.lines ? sink.lines->Dropped() : 0;
  return dropped;
}

std::vector<Problem> LiveStream::Finish() {
  for (const Sink& sink : impl_->sinks)
    if (sink.lines) sink.lines->Finish();
  impl_->StopRecordings();
  return impl_->faults;
}

} // namespace mien
