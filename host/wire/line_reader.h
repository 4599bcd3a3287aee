#pragma once

#include "host/formats/mesh_space.h"
#include "host/wire/face_scale.h"
#include "host/wire/json_cursor.h"
#include "host/wire/packet_reader.h"

#include <map>
#include <string>
#include <vector>

namespace mien {

/// A frame per line or datagram, as JSON:
///
///   {"face": "ada", "time": 0.016, "points": [[x, y, z], null, ...]}
///   {"face": "ada", "names": ["BrowInL", ...], "points": [...]}
///   {"face": "ada", "time": 0.033, "weights": {"jawOpen": 0.25, ...}, "head": {"yaw": 3, ...}}
///   {"face": "ada", "lost": true}
///   {"timestamp_ms": 16, "faceLandmarks": [[{"x": 0.5, "y": 0.5, "z": 0}, ...]]}
///
/// `face` is a name or a number, and may be left out where there is one. `time` is in seconds, `timestamp_ms`
/// and `timestampMs` in milliseconds; without them the time is that of arrival. A point is [x, y, z], {"x",
/// "y", "z"} or null where it is not seen. `names` hold for a face until the next ones; 68 points need none
/// (lm0 to lm67), and neither do 468 and 478. `unit` is mm (or m, cm), and image for positions as web-camera
/// landmarkers have them; without it, 468 and 478 points are image and others mm. Positions in mm are in
/// right-handed axes.
///
/// Angles are in degrees: the head's yaw to its left, pitch downward, roll towards its right shoulder; `eyes`
/// are two objects of yaw and pitch, the left eye's first; `place` is the head's in mm. Members of other
/// names are ignored.
class LineReader : public PacketReader {
public:
  /// `mesh` is for positions in the image; `mirrored` of it is not supported.
  LineReader(OnFrame on_frame, const MeshOptions& mesh = {});

protected:
  void ReadPacket(std::string_view packet) override;

private:
  enum class Unit { Unstated, Mm, Image };

  /// What is remembered of a face.
  struct Stream {
    std::vector<std::string> point_names, weight_names;
    std::map<std::string, std::size_t, std::less<>> weight_indices;
    FaceScale scale;
  };

  /// What a line says.
  struct Line {
    std::string face;
    std::optional<double> time_s;
    bool lost = false;
    double mm_per_unit = 1;
    Unit unit = Unit::Unstated;
    std::vector<std::string> names;
    std::vector<std::vector<Point>> faces; // the first face_count of them; all keep their memory
    std::size_t face_count = 0;
    std::vector<std::pair<std::string, double>> weights;
    std::size_t weight_count = 0;
    bool has_weights = false;
    std::optional<HeadAngles> head;
    std::optional<Point> place;
    std::optional<Eyes> eyes;
  };

  bool ReadLine(std::string_view packet);
  bool ReadMember(JsonCursor& json);
  void ReadPoints(JsonCursor& json);
  void ReadFaces(JsonCursor& json);
  void ReadWeights(JsonCursor& json);
  Stream* StreamOf(const std::string& face);
  void EmitPoints(const std::string& name, const std::vector<Point>& points);
  void EmitWeights();
  LiveInput* StartFace(const std::string& name, LiveKind kind, const std::vector<std::string>& names);

  const MeshOptions mesh_;
  std::map<std::string, Stream, std::less<>> streams_;
  Line line_;
  std::string key_, text_;
};

} // namespace mien
