#include "host/c_interface/animation.h"

#include "host/c_interface/array.h"
#include "host/c_interface/call.h"
#include "host/c_interface/cluster_arrays.h"

#include <utility>

using namespace mien;

mien_animation::mien_animation(Animation solved, const Character* of, std::string of_file)
    : animation(std::move(solved)), character(of ? std::optional(*of) : std::nullopt),
      file(std::move(of_file)), names(animation.layout),
      timecode(animation.layout.timecode ? ToText(*animation.layout.timecode) : "") {}

namespace {

mien_array ViewOfHeads(const LongVector<VgeAMatrix>& heads) {
  // From m[column][row] to [row][column].
  return ViewOf(heads.empty() ? nullptr : &heads.data()->m[0][0],
                {{heads.size(), sizeof(VgeAMatrix)}, {4, sizeof(double)}, {4, 4 * sizeof(double)}});
}

mien_array ViewOfQuality(const mien_animation& own, mien_animation_array which) {
  using Quality = SolveReport::FrameQuality;
  const std::size_t frames = own.quality.size();
  if (which == MIEN_ANIMATION_RESIDUALS)
    return ViewOf(frames > 0 ? own.quality[0].residual_mm.data() : nullptr,
                  {{frames, sizeof(Quality)}, {9, sizeof(double)}});
  static_assert(sizeof(bool) == 1);
  return ViewOf(frames > 0 ? reinterpret_cast<const std::uint8_t*>(&own.quality[0].head_known) : nullptr,
                {{frames, sizeof(Quality)}});
}

const LongVector<VgeAMatrix>& HeadMotionOf(mien_animation& own) {
  if (own.head_motion.empty()) {
    LongVector<VgeAMatrix> motion; // all of it, or none where memory runs out
    for (std::size_t f = 0; f < own.animation.frames.size(); ++f)
      motion.push_back(own.animation.HeadMotion(f));
    own.head_motion = std::move(motion);
  }
  return own.head_motion;
}

/// One view after another, in the order of the header.
mien_array ArrayOf(mien_animation& own, mien_animation_array which) {
  const Animation& a = own.animation;
  const std::size_t frames = a.frames.size(), templates = a.layout.templates.size(),
                    shapes = a.layout.shapes.size(), clusters = a.layout.clusters.size();
  switch (which) {
  case MIEN_ANIMATION_FRAMES:
    return ViewOf(a.frames.data(), {{frames, sizeof(std::int64_t)}});
  case MIEN_ANIMATION_TIMES:
    return ViewOf(a.times.data(), {{frames, sizeof(double)}});
  case MIEN_ANIMATION_WEIGHTS:
    return ViewOf(a.weights.data(), {{frames, templates * sizeof(double)}, {templates, sizeof(double)}});
  case MIEN_ANIMATION_SHAPE_WEIGHTS:
    return ViewOf(a.shape_weights.data(), {{frames, shapes * sizeof(double)}, {shapes, sizeof(double)}});
  case MIEN_ANIMATION_HEADS:
    return ViewOfHeads(a.heads);
  case MIEN_ANIMATION_HEAD_MOTION:
    return ViewOfHeads(HeadMotionOf(own));
  case MIEN_ANIMATION_EYES:
    return ViewOf(a.eyes.empty() ? nullptr : &a.eyes.data()->front().yaw,
                  {{a.eyes.size(), sizeof(Eyes)}, {2, sizeof(EyeAngles)}, {2, sizeof(double)}});
  case MIEN_ANIMATION_LOCAL_TRANSLATIONS:
  case MIEN_ANIMATION_LOCAL_ROTATIONS:
  case MIEN_ANIMATION_LOCAL_SCALES:
    return ViewOfClusters(a.local_clusters.data(), frames, clusters,
                          static_cast<ClusterValues>(which - MIEN_ANIMATION_LOCAL_TRANSLATIONS));
  case MIEN_ANIMATION_GLOBAL_TRANSLATIONS:
  case MIEN_ANIMATION_GLOBAL_ROTATIONS:
  case MIEN_ANIMATION_GLOBAL_SCALES:
    return ViewOfClusters(a.global_clusters.data(), frames, clusters,
                          static_cast<ClusterValues>(which - MIEN_ANIMATION_GLOBAL_TRANSLATIONS));
  case MIEN_ANIMATION_RESIDUALS:
  case MIEN_ANIMATION_HEAD_KNOWN:
    return ViewOfQuality(own, which);
  }
  throw UsageError("which", "there is no such array");
}

/// Null where there is no memory for it.
const char* ReportTextOf(const mien_animation& own) noexcept {
  try {
    return own.Report().c_str();
  } catch (...) { return nullptr; }
}

} // namespace

mien_status mien_animation_get_array(mien_animation* animation, mien_animation_array which, mien_array* array,
                                     mien_messages** errors) {
  return CallStatus(errors, [&] { GiveArray(array, ArrayOf(Require(animation, "animation"), which)); });
}

size_t mien_animation_name_count(const mien_animation* animation, mien_names which) {
  return Known(animation) ? animation->names.Count(which) : 0;
}

const char* mien_animation_name(const mien_animation* animation, mien_names which, size_t index) {
  return Known(animation) ? animation->names.At(which, index) : nullptr;
}

const char* mien_animation_get_text(const mien_animation* animation, mien_animation_text which) {
  if (!Known(animation)) return nullptr;
  switch (which) {
  case MIEN_ANIMATION_TAKE:
    return animation->animation.layout.take.c_str();
  case MIEN_ANIMATION_PERFORMER:
    return animation->animation.layout.performer.c_str();
  case MIEN_ANIMATION_CHARACTER:
    return animation->animation.layout.character.c_str();
  case MIEN_ANIMATION_TIMECODE:
    return animation->timecode.c_str();
  case MIEN_ANIMATION_REPORT:
    return ReportTextOf(*animation);
  case MIEN_ANIMATION_NEUTRAL:
    return animation->neutral.c_str();
  }
  return nullptr;
}

size_t mien_animation_frame_count(const mien_animation* animation) {
  return Known(animation) ? animation->animation.frames.size() : 0;
}

mien_status mien_animation_rate(const mien_animation* animation, int64_t* numerator, int64_t* denominator) {
  if (!Known(animation) || !numerator || !denominator) return MIEN_USAGE;
  *numerator = animation->animation.layout.rate.numerator;
  *denominator = animation->animation.layout.rate.denominator;
  return MIEN_OK;
}

const mien_messages* mien_animation_notes(const mien_animation* animation) {
  return Known(animation) ? &animation->notes : nullptr;
}

mien_status mien_animation_free(mien_animation* animation) { return Free(animation); }
