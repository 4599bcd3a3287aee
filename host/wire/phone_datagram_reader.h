#pragma once

#include "host/wire/json_cursor.h"
#include "host/wire/named_weights.h"
#include "host/wire/packet_reader.h"

#include <string>
#include <string_view>
#include <utility>

namespace mien {

/// A frame per datagram, as phone apps send it as text or as JSON, by default to port 49983:
///
///   jawOpen-35|eyeBlink_L-0|=head\#RX,RY,RZ,PX,PY,PZ|rightEye\#RX,RY,RZ|leftEye\#RX,RY,RZ|
///   {"Timestamp":MS,"FaceFound":true,"Rotation":{"x":..},"EyeLeft":{},"EyeRight":{},
///    "BlendShapes":[{"k":"JawOpen","v":0.35}]}
///
/// Weights of the text are in hundredths. Angles are in degrees: x is the pitch downward, y the yaw to the
/// performer's left, z the roll towards the right shoulder. Places of the head have no known unit and are
/// ignored. Weights of other names than the 52 are counted and ignored.
class PhoneDatagramReader : public PacketReader {
public:
  explicit PhoneDatagramReader(OnFrame on_frame) : PacketReader(std::move(on_frame)) {}

protected:
  void ReadPacket(std::string_view packet) override;

private:
  void ReadJson(LiveInput& input, std::string_view packet);
  void ReadJsonWeights(LiveInput& input, JsonCursor& json);
  void ReadText(LiveInput& input, std::string_view packet);
  void SetWeight(LiveInput& input, std::string_view name, double weight);

  NamedWeights names_;
  std::string key_, name_;
};

} // namespace mien
