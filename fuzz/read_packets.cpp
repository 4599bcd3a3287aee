// Any bytes are packets of each live source: nothing that they say is beyond the readers' limits, and nothing
// crashes.
//
// The first byte chooses the reader; the rest is split into packets by their sizes, two bytes in front of
// each.

#include "host/wire/line_reader.h"
#include "host/wire/osc_array_reader.h"
#include "host/wire/phone_datagram_reader.h"
#include "host/wire/phone_packet_reader.h"
#include "host/wire/tracker_packet_reader.h"
#include "host/wire/vmc_reader.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::unique_ptr<mien::PacketReader> ReaderOf(std::uint8_t kind, mien::PacketReader::OnFrame on_frame) {
  switch (kind % 6) {
  case 0:
    return std::make_unique<mien::PhonePacketReader>(on_frame);
  case 1:
    return std::make_unique<mien::PhoneDatagramReader>(on_frame);
  case 2:
    return std::make_unique<mien::TrackerPacketReader>(on_frame);
  case 3:
    return std::make_unique<mien::VmcReader>(on_frame);
  case 4:
    return std::make_unique<mien::OscArrayReader>(on_frame);
  default:
    return std::make_unique<mien::LineReader>(on_frame);
  }
}

void Read(std::uint8_t kind, std::string_view bytes, bool split) {
  const mien::PacketReader* faces = nullptr;
  const auto reader = ReaderOf(kind, [&](mien::LiveInput& input) {
    Require(input.face < faces->Faces().size() && faces->Faces().size() <= mien::PacketReader::kMostFaces);
    const mien::LiveSource& face = faces->Faces()[input.face];
    Require(face.name.size() <= mien::PacketReader::kLongestFaceName && face.names.size() <= 1024);
    Require(input.weights.size() <= face.names.size() && input.markers.size() <= face.names.size());
    for (const auto& marker : input.markers)
      Require(!marker || (std::isfinite(marker->x) && std::isfinite(marker->y) && std::isfinite(marker->z)));
    if (input.source_s) Require(std::isfinite(*input.source_s));
  });
  faces = reader.get();
  if (!split) return reader->Read(bytes, 1);
  while (bytes.size() > 2) {
    const std::size_t size = static_cast<std::size_t>(static_cast<unsigned char>(bytes[0])) * 256 +
                             static_cast<std::size_t>(static_cast<unsigned char>(bytes[1]));
    bytes.remove_prefix(2);
    reader->Read(bytes.substr(0, size), 1);
    bytes.remove_prefix(std::min(size, bytes.size()));
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Read(data[0], bytes.substr(1), true);
  // As a packet by itself, for each reader: seeds are such.
  for (std::uint8_t kind = 0; kind < 6; ++kind) Read(kind, bytes, false);
  return 0;
}
