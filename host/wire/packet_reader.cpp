#include "host/wire/packet_reader.h"

#include "host/base/utf8.h"

#include <algorithm>

namespace mien {

void PacketReader::Read(std::string_view packet, double arrival_s) {
  ++packets_;
  arrival_s_ = arrival_s;
  ReadPacket(packet);
}

void PacketReader::Fault(std::string_view reason) {
  for (auto& [known, count] : faults_)
    if (known == reason) {
      ++count;
      return;
    }
  faults_.emplace_back(reason, 1);
}

std::optional<std::size_t> PacketReader::FaceOf(std::string_view id, LiveKind kind,
                                                std::span<const std::string> names) {
  id = Beginning(id, kLongestFaceName);
  for (std::size_t f = 0; f < faces_.size(); ++f)
    if (faces_[f].name == id && faces_[f].kind == kind &&
        std::equal(names.begin(), names.end(), faces_[f].names.begin(), faces_[f].names.end()))
      return f;
  if (faces_.size() == kMostFaces) {
    Fault("more than 16 faces");
    return std::nullopt;
  }
  faces_.push_back({std::string(id), kind, {names.begin(), names.end()}});
  return faces_.size() - 1;
}

LiveInput& PacketReader::Start(std::size_t face) {
  input_.face = face;
  input_.arrival_s = arrival_s_;
  input_.source_s.reset();
  input_.timecode.reset();
  input_.lost = false;
  input_.markers.clear();
  input_.weights.clear();
  input_.head.reset();
  input_.head_place.reset();
  input_.eyes.reset();
  return input_;
}

} // namespace mien
