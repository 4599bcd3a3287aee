// Any bytes are either weights that keep the promises of a WeightTake, and can be filled, swapped and mapped, or an
// InputError.

#include "host/weights/read_weights.h"

#include "host/base/error.h"
#include "host/weights/eyes_of_shapes.h"
#include "host/weights/fill_missing.h"
#include "host/weights/swap_sides.h"
#include "host/weights/weight_map.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void Check(const mien::WeightTake& take) {
  const std::size_t frames = take.frames.size();
  Require(frames > 0 && take.times.size() == frames && !take.names.empty());
  Require(take.weights.size() == frames * take.names.size());
  Require(take.eyes.empty() || take.eyes.size() == frames);
  Require(take.heads.empty() || take.heads.size() == frames);
  Require(take.head_places.empty() || take.head_places.size() == frames);
  Require(std::isfinite(take.rate.Hz()) && take.rate.Hz() > 0);
  Require(std::set<std::string>(take.names.begin(), take.names.end()).size() == take.names.size());
  for (std::size_t f = 0; f < frames; ++f) {
    Require(std::isfinite(take.times[f]));
    if (f > 0) Require(take.frames[f] > take.frames[f - 1] && take.times[f] > take.times[f - 1]);
  }
  for (const double weight : take.weights) Require(!std::isinf(weight));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const mien::WeightMap kMap = mien::LoadWeightMap("arkit52");
  try {
    mien::WeightTake take =
        mien::ReadWeights(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz");
    Check(take);
    mien::FillMissing(take, 0.25);
    for (const double weight : take.weights) Require(std::isfinite(weight));
    for (const mien::HeadAngles& head : take.heads)
      Require(std::isfinite(head.yaw) && std::isfinite(head.pitch) && std::isfinite(head.roll));
    mien::SwapSides(take);
    mien::SetEyesOfShapes(take);
    std::vector<std::string> unused;
    Require(TemplatesOf(take, kMap, unused).size() == take.frames.size() * kMap.templates.size());
  } catch (const mien::InputError&) {} // the input is at fault, and says so
  return 0;
}
