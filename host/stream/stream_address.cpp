#include "host/stream/stream_address.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>
#include <vector>

namespace mien {

namespace {

using Source = StreamSource::Kind;
using Sink = StreamSink::Kind;

/// What a source or sink begins with, and the port that its protocol usually has; 0 for none.
template <class Kind>
struct Protocol {
  std::string_view name;
  Kind kind;
  std::uint16_t usual_port = 0;
};

constexpr Protocol<Source> kSources[] = {{"phone", Source::Phone, 11111},
                                         {"phone-json", Source::PhoneText, 49983},
                                         {"tracker", Source::Tracker, 11573},
                                         {"vmc", Source::Vmc, 39539},
                                         {"osc", Source::Osc},
                                         {"lines", Source::Lines},
                                         {"replay", Source::Replay}};
constexpr Protocol<Sink> kSinks[] = {{"vmc", Sink::Vmc, 39539}, {"phone", Sink::Phone, 11111},
                                     {"osc", Sink::Osc},        {"page", Sink::Page},
                                     {"lines", Sink::Lines},    {"record", Sink::Record}};

[[noreturn]] void Refuse(const std::string& what, const std::string& fix) {
  throw InputError(Code::Usage, "", "", what, fix);
}

template <class Kind, std::size_t size>
const Protocol<Kind>& ProtocolOf(const std::string& text, std::string_view name,
                                 const Protocol<Kind> (&protocols)[size]) {
  std::vector<std::string_view> names;
  for (const Protocol<Kind>& protocol : protocols) {
    if (name == protocol.name) return protocol;
    names.push_back(protocol.name);
  }
  Refuse(Quoted(text) + " does not begin with a known kind",
         fmt::format("write one of {} and a colon", fmt::join(names, ", ")));
}

/// A text, split at its last question mark into a place and its settings.
struct SplitText {
  std::string place;
  std::vector<std::pair<std::string, std::string>> settings;
};

SplitText SplitSettings(std::string_view text) {
  SplitText split;
  const std::size_t mark = text.rfind('?');
  split.place = text.substr(0, mark);
  if (mark == std::string_view::npos) return split;
  std::string_view rest = text.substr(mark + 1);
  while (!rest.empty()) {
    const std::size_t end = rest.find('&');
    const std::string_view one = rest.substr(0, end);
    const std::size_t equals = one.find('=');
    split.settings.emplace_back(one.substr(0, equals),
                                equals == std::string_view::npos ? "" : one.substr(equals + 1));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return split;
}

[[noreturn]] void RefuseSetting(const std::string& text, const std::string& name,
                                const std::vector<std::string>& known) {
  Refuse(fmt::format("{} in {} is not a setting of it, or its value is wrong", Quoted(name), Quoted(text)),
         known.empty() ? "leave it out" : fmt::format("its settings are {}", fmt::join(known, ", ")));
}

std::uint16_t RequirePort(const std::string& text, std::string_view port) {
  const auto number = ParsePort(port);
  if (!number) Refuse(Quoted(text) + " does not end in a port", "write a number from 0 to 65535");
  return *number;
}

std::optional<double> ParseSpeed(const std::string& text) {
  if (text == "max") return 0;
  double speed = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), speed);
  constexpr double kSlowest = 0.01, kFastest = 1000;
  const bool is_speed =
      error == std::errc() && end == text.data() + text.size() && speed >= kSlowest && speed <= kFastest;
  return is_speed ? std::optional(speed) : std::nullopt;
}

bool Set(StreamSource& source, const std::string& name, const std::string& value) {
  const bool is_replay = source.kind == Source::Replay;
  if (is_replay && name == "loop" && value.empty()) return source.loop = true;
  if (is_replay && name == "speed") {
    const auto speed = ParseSpeed(value);
    source.speed = speed.value_or(1);
    return speed.has_value();
  }
  std::optional<std::string>* const text = name == "performer"   ? &source.performer
                                           : name == "character" ? &source.character
                                           : name == "face"      ? &source.face
                                                                 : nullptr;
  if (!text || value.empty()) return false;
  *text = value;
  return true;
}

bool Set(StreamSink& sink, const std::string& name, const std::string& value) {
  if (name == "source") {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size() || number == 0) return false;
    sink.source = number;
    return true;
  }
  if (name == "clusters" && sink.kind == Sink::Lines && value.empty()) return sink.clusters = true;
  if (name != "address" || sink.kind != Sink::Osc) return false;
  sink.address = value;
  return value.size() > 1 && value.starts_with('/') && !value.ends_with('/') && value.size() <= 100;
}

} // namespace

std::optional<std::uint16_t> ParsePort(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return port;
}

StreamSource ParseStreamSource(const std::string& text) {
  const SplitText split = SplitSettings(text);
  const std::size_t colon = std::min(split.place.find(':'), split.place.size());
  StreamSource source;
  source.text = text;
  const Protocol<Source>& protocol = ProtocolOf(text, split.place.substr(0, colon), kSources);
  source.kind = protocol.kind;
  const std::string rest = split.place.substr(std::min(colon + 1, split.place.size()));
  if (source.kind == Source::Replay) {
    if (rest.empty()) Refuse(Quoted(text) + " names no file", "write replay:FILE");
    source.file = rest;
  } else if (source.kind == Source::Lines && rest == "-") {
    source.file = rest;
  } else if (colon == split.place.size() && protocol.usual_port != 0) {
    source.port = protocol.usual_port;
  } else {
    source.port = RequirePort(text, rest);
  }
  for (const auto& [name, value] : split.settings)
    if (!Set(source, name, value))
      RefuseSetting(
          text, name,
          source.kind == Source::Replay
              ? std::vector<std::string>{"speed=2", "speed=max", "loop", "performer=NAME|FILE",
                                         "character=NAME|FILE"}
              : std::vector<std::string>{"performer=NAME|FILE", "character=NAME|FILE", "face=NAME"});
  return source;
}

StreamSink ParseStreamSink(const std::string& text) {
  const SplitText split = SplitSettings(text);
  const std::size_t colon = std::min(split.place.find(':'), split.place.size());
  StreamSink sink;
  sink.text = text;
  const Protocol<Sink>& protocol = ProtocolOf(text, split.place.substr(0, colon), kSinks);
  sink.kind = protocol.kind;
  const std::string rest = split.place.substr(std::min(colon + 1, split.place.size()));
  if (sink.kind == Sink::Lines || sink.kind == Sink::Record) {
    if (rest.empty()) Refuse(Quoted(text) + " names no file", "write lines:-, lines:FILE or record:PLACE");
    if (sink.kind == Sink::Record && rest == "-")
      Refuse("a recording is several files and cannot go to standard output", "write record:PLACE");
    sink.file = rest;
  } else if (sink.kind == Sink::Page) {
    if (colon < split.place.size()) sink.port = RequirePort(text, rest);
  } else if (colon == split.place.size() && protocol.usual_port != 0) {
    sink.host = "127.0.0.1";
    sink.port = protocol.usual_port;
  } else {
    const std::size_t last = rest.rfind(':');
    if (last == std::string::npos || last == 0)
      Refuse(Quoted(text) + " names no host and port", "write KIND:HOST:PORT, such as vmc:127.0.0.1:39539");
    sink.host = rest.substr(0, last);
    if (sink.host.starts_with('[') && sink.host.ends_with(']'))
      sink.host = sink.host.substr(1, sink.host.size() - 2);
    sink.port = RequirePort(text, std::string_view(rest).substr(last + 1));
    if (sink.port == 0) Refuse("nothing can be sent to port 0", "write the receiver's port");
  }
  for (const auto& [name, value] : split.settings)
    if (!Set(sink, name, value))
      RefuseSetting(text, name,
                    sink.kind == Sink::Osc     ? std::vector<std::string>{"source=N", "address=/NAME"}
                    : sink.kind == Sink::Lines ? std::vector<std::string>{"source=N", "clusters"}
                                               : std::vector<std::string>{"source=N"});
  return sink;
}

} // namespace mien
