#pragma once

#include "host/wire/face_scale.h"
#include "host/wire/packet_reader.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace mien {

/// The packets of an open web-camera tracker, by default to port 11573: little-endian structures of 1785
/// bytes, one for each face. Of the 70 points in 3D, 66 are landmarks: the 68 without the inner corners of
/// the mouth (60 and 64); the markers are lm0 to lm67 without these two.
///
/// The points are in the head's own frame; the packet's quaternion and translation bring them into the
/// camera's. The tracker's axes are then turned and mirrored, each as a whole, such that the face is a face:
/// x to its left, y up, z out of it, as the first frame shows. Millimetres follow from the outer corners of
/// the eyes (FaceScale).
class TrackerPacketReader : public PacketReader {
public:
  explicit TrackerPacketReader(OnFrame on_frame) : PacketReader(std::move(on_frame)) {}

protected:
  void ReadPacket(std::string_view packet) override;

private:
  struct Stream {
    FaceScale scale;
    std::optional<std::array<double, 3>> signs; // of the axes
  };

  void ReadFace(std::string_view bytes);

  std::map<std::size_t, Stream> streams_; // by face
  std::string id_;
};

} // namespace mien
