#include "host/stream/replay.h"

#include "host/base/error.h"
#include "host/files/mapped_file.h"
#include "host/files/standard_streams.h"
#include "host/weights/read_weights.h"
#include "host/weights/weight_take.h"

#include <cmath>
#include <optional>

namespace mien {

struct Replay::Recorded {
  std::optional<Take> take;
  std::optional<WeightTake> weights;

  const LongVector<double>& Times() const { return take ? take->times : weights->times; }
  double Hz() const { return take ? take->rate.Hz() : weights->rate.Hz(); }
};

Replay::Replay(const std::string& file, const ReadOptions& options)
    : recorded_(std::make_unique<Recorded>()) {
  const MappedFile bytes(file);
  try {
    recorded_->take = ReadTake(bytes.Bytes(), InputName(file), options);
  } catch (const InputError& error) {
    if (error.Problems()[0].code != Code::Unsupported) throw;
    // A file of weights instead of points.
    recorded_->weights =
        ReadWeights(bytes.Bytes(), InputName(file),
                    {.strict = options.strict, .face = options.face, .input_rate = options.input_rate});
  }
  source_.kind = recorded_->take ? LiveKind::Markers : LiveKind::Weights;
  source_.name = recorded_->take ? recorded_->take->name : recorded_->weights->name;
  source_.names = recorded_->take ? recorded_->take->markers : recorded_->weights->names;
}

Replay::~Replay() = default;

std::size_t Replay::FrameCount() const { return recorded_->Times().size(); }

double Replay::TimeOf(std::size_t frame) const { return recorded_->Times()[frame] - recorded_->Times()[0]; }

double Replay::Duration() const {
  const double hz = recorded_->Hz();
  return TimeOf(FrameCount() - 1) + (hz > 0 ? 1 / hz : 1);
}

void Replay::Fill(std::size_t frame, double later_s, LiveInput& input) const {
  input.source_s = recorded_->Times()[frame] + later_s;
  input.timecode.reset();
  input.lost = false;
  input.head.reset();
  input.head_place.reset();
  input.eyes.reset();
  if (recorded_->take) {
    const Take& take = *recorded_->take;
    input.markers.resize(take.MarkerCount());
    for (std::size_t m = 0; m < take.MarkerCount(); ++m) {
      const Point* const point = take.At(frame, m);
      input.markers[m] = point ? std::optional(*point) : std::nullopt;
    }
    return;
  }
  const WeightTake& take = *recorded_->weights;
  input.weights.resize(take.names.size());
  for (std::size_t n = 0; n < take.names.size(); ++n) input.weights[n] = take.Weight(frame, n);
  if (!take.heads.empty() && !std::isnan(take.heads[frame].yaw)) input.head = take.heads[frame];
  if (!take.head_places.empty() && !std::isnan(take.head_places[frame].x))
    input.head_place = take.head_places[frame];
  if (!take.eyes.empty() && !std::isnan(take.eyes[frame][0].yaw)) input.eyes = take.eyes[frame];
}

} // namespace mien
