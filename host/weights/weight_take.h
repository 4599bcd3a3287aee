#pragma once

#include "host/animation/eye_angles.h"
#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/point.h"
#include "host/takes/frame_rate.h"
#include "host/takes/take.h"
#include "host/takes/timecode.h"
#include "host/weights/head_angles.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A recording of weights: of shapes, or of the templates of a face. NaN stands for what is missing, in
/// weights and angles.
struct WeightTake {
  std::string file;   ///< its path as the user wrote it, for messages
  std::string name;   ///< the file's name without folder and ending
  std::string format; ///< the layout, as a user reads it: "phone CSV"
  FrameRate rate;
  std::optional<Timecode> timecode; ///< of the first frame; nothing if the file has none
  double timecode_offset_s = 0; ///< by which the first frame is later than its timecode; less than a count

  /// Of the 52 in their usual spelling, of others as the file spells them; each once.
  std::vector<std::string> names;
  LongVector<std::int64_t> frames; ///< numbers: rising, may skip
  LongVector<double> times;        ///< (size: frames) seconds: rising, not always from 0
  LongVector<double> weights;      ///< (size: frames x names)
  LongVector<Eyes> eyes;           ///< (size: frames, or 0 if the file has no angles of eyes)
  LongVector<HeadAngles> heads;    ///< (size: frames, or 0 if the file has no angles of the head)
  /// (size: frames, or 0 if the file does not say) how far the head is from its place at rest, in millimetres: x to
  /// its left, y up, z out of the face at rest.
  LongVector<Point> head_places;
  std::string angles; ///< what the file has them in: "degrees (largest 23.4)"; empty without angles

  std::vector<Note> notes; ///< what the reader forgave or noticed

  /// Takes over frames, times and rate of a take without markers, and its notes.
  void SetClock(Take clock);

  /// Whether all weights are of templates, as mien solve writes them without a character.
  bool HasTemplates() const;

  double Weight(std::size_t frame, std::size_t column) const {
    return weights[frame * names.size() + column];
  }
};

} // namespace mien
