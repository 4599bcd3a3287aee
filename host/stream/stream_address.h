#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Where a live face comes from, as a user writes it: KIND:PORT, lines:-, replay:FILE, and settings behind a
/// question mark: "phone:11111?performer=ada.json", "replay:take.csv?speed=2&loop".
struct StreamSource {
  enum class Kind { Phone, PhoneText, Tracker, Vmc, Osc, Lines, Replay };

  Kind kind = Kind::Lines;
  std::string text;       ///< as it was written
  std::uint16_t port = 0; ///< for datagrams; 0 is any that is free
  std::string file;       ///< of Replay; "-" is standard input for Lines
  double speed = 1;       ///< of Replay, in times of its own; 0 is as fast as possible
  bool loop = false;      ///< of Replay: begin again at its end

  std::optional<std::string> performer, character,
      face; ///< only for this source; `face`: only the one of this name

  bool IsDatagrams() const { return file.empty(); }
};

/// Where it goes: KIND:HOST:PORT, lines:-, lines:FILE, record:PLACE; with `source` only what comes of that
/// source, counted from 1.
struct StreamSink {
  enum class Kind { Vmc, Phone, Osc, Lines, Record };

  Kind kind = Kind::Lines;
  std::string text;
  std::string host; ///< for datagrams
  std::uint16_t port = 0;
  std::string file;              ///< of Lines and Record; "-" is standard output
  std::string address = "/mien"; ///< of Osc: what its messages begin with

  std::optional<std::size_t> source;

  bool IsDatagrams() const { return file.empty(); }
};

/// Throw InputError of Code::Usage that says what is wrong and what could be written.
StreamSource ParseStreamSource(const std::string& text);
StreamSink ParseStreamSink(const std::string& text);

/// A port: 0 to 65535.
std::optional<std::uint16_t> ParsePort(std::string_view text);

} // namespace mien
