#pragma once

// What the tests of this folder share: packets that a Python script has made (packets/make_packets.py), and
// the frames that a reader makes of some.

#include "host/character/arkit_names.h"
#include "host/wire/packet_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace mien {

inline std::string PacketOf(const std::string& name) {
  std::ifstream file(MIEN_PACKETS_FOLDER "/" + name, std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A reader and all that it has made of what it was given.
template <class Reader>
struct ReadFrames {
  template <class... Options>
  explicit ReadFrames(Options... options)
      : reader([this](const LiveInput& input) { inputs.push_back(input); }, options...) {}

  void Read(const std::string& packet, double arrival_s = 1) { reader.Read(packet, arrival_s); }

  std::uint64_t Faults() const {
    std::uint64_t all = 0;
    for (const auto& [reason, count] : reader.FaultCounts()) all += count;
    return all;
  }

  /// Of the last frame; NaN for a name that it does not have.
  double Weight(const std::string& name) const {
    const LiveSource& face = reader.Faces().at(inputs.back().face);
    const auto at = std::find(face.names.begin(), face.names.end(), name) - face.names.begin();
    return static_cast<std::size_t>(at) < inputs.back().weights.size()
               ? inputs.back().weights[static_cast<std::size_t>(at)]
               : std::nan("");
  }

  std::vector<LiveInput> inputs;
  Reader reader;
};

/// The weight of a shape in the packets: its place in alphabetical order, from 1, divided by this.
inline constexpr double kShare = 64;

inline std::vector<std::string> SortedNames() {
  std::vector<std::string> names(kArkitNames.begin(), kArkitNames.end());
  std::sort(names.begin(), names.end());
  return names;
}

/// Whether each of the 52 has its weight, in parts of `share`.
template <class Reader>
void ExpectAllWeights(const ReadFrames<Reader>& frames, double share = kShare) {
  const std::vector<std::string> names = SortedNames();
  for (std::size_t i = 0; i < names.size(); ++i)
    EXPECT_EQ(frames.Weight(names[i]), static_cast<double>(i + 1) / share) << names[i];
}

/// Reads every beginning of a packet, and the packet with each byte changed: none may crash or throw.
template <class Reader>
void ReadDamaged(const std::string& packet) {
  ReadFrames<Reader> frames;
  for (std::size_t size = 0; size < packet.size(); ++size) frames.Read(packet.substr(0, size));
  for (std::size_t i = 0; i < packet.size(); ++i)
    for (const char c : {'\0', '\x7F', '\xFF'}) {
      std::string damaged = packet;
      damaged[i] = c;
      frames.Read(damaged);
      frames.inputs.clear();
    }
  EXPECT_LE(frames.reader.Faces().size(), PacketReader::kMostFaces);
  EXPECT_GT(frames.Faults(), 0U);
}

} // namespace mien
