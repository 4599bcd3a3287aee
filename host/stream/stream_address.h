#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Where a live face comes from, as a user writes it: KIND:PORT, lines:-, replay:FILE, and settings after a
/// question mark: "phone:11111?performer=ada.json", "replay:take.csv?speed=2&loop". A protocol with a usual port
/// needs no other: "phone".
struct StreamSource {
  enum class Kind { Phone, PhoneText, Tracker, Vmc, Osc, Lines, Replay };

  Kind kind = Kind::Lines;
  std::string text;       ///< as it was written
  std::uint16_t port = 0; ///< for datagrams; 0: any free port
  std::string file;       ///< of Replay; "-" is standard input for Lines
  double speed = 1;       ///< of Replay, 1 for the original speed; 0: as fast as possible
  bool loop = false;      ///< of Replay: start again at its end

  std::optional<std::string> performer, character,
      face; ///< for this source only; `face`: use only the face of this name

  bool IsDatagrams() const { return file.empty(); }
  bool IsOfPhone() const { return kind == Kind::Phone || kind == Kind::PhoneText; }
};

/// Where a live face goes: KIND:HOST:PORT, page:PORT, lines:-, lines:FILE, record:PLACE; with `source`, only
/// the faces of that source, counted from 1. "vmc" and "phone" alone are this machine and the usual port.
struct StreamSink {
  enum class Kind { Vmc, Phone, Osc, Page, Lines, Record };

  Kind kind = Kind::Lines;
  std::string text;
  std::string host;              ///< for datagrams
  std::uint16_t port = 0;        ///< for datagrams, and of Page, where 0 is any free port
  std::string file;              ///< of Lines and Record; "-" is standard output
  std::string address = "/mien"; ///< of Osc: the beginning of its addresses
  bool clusters = false;         ///< of Lines: also the transforms of the character's clusters

  std::optional<std::size_t> source;

  bool IsDatagrams() const { return !host.empty(); }
};

/// Throw an InputError of Code::Usage with what is wrong and what could be written instead.
StreamSource ParseStreamSource(const std::string& text);
StreamSink ParseStreamSink(const std::string& text);

/// A port: 0 to 65535.
std::optional<std::uint16_t> ParsePort(std::string_view text);

} // namespace mien
