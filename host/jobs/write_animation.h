#pragma once

#include "host/animation/animation.h"
#include "host/animation/animation_vrma.h"
#include "host/animation/head_binding.h"
#include "host/character/character.h"
#include "host/gltf/glb.h"
#include "host/jobs/job_progress.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace mien {

enum class AnimationFormat {
  TemplateCsv, ///< a column per template
  ShapeCsv,    ///< a column per shape of the character
  LiveLinkCsv, ///< as phone face-capture apps write it
  Json,        ///< everything
  Glb,         ///< on a head
  Vrma,        ///< for any VRM avatar
};

/// Where an animation goes, and in which form.
struct AnimationOutput {
  std::string path; ///< "-" is standard output
  AnimationFormat format = AnimationFormat::TemplateCsv;
  std::optional<Glb> onto; ///< .glb: the head to animate instead of the built-in face
  HeadNodes nodes;         ///< .glb: of `onto`
};

/// What was written.
struct WrittenAnimation {
  std::string path;
  AnimationFormat format = AnimationFormat::TemplateCsv;
  std::size_t frames = 0;
  std::size_t templates = 0, shapes = 0, clusters = 0; ///< of the animation

  /// Phone-app CSV: those of the 52 that the character lacks, written as 0. Head: shapes that move and have
  /// no morph target there.
  std::vector<std::string> missing_shapes;
  std::optional<HeadCoverage> head; ///< of .glb and .vrm
  std::optional<VrmaCoverage> vrma;
};

/// Writes the whole file, or none. `character` is the one that the animation was solved for; null without
/// one. Of the stages `progress` gets the writing, of formats that are text. Throws InputError.
WrittenAnimation WriteAnimation(const Animation& animation, const Character* character,
                                AnimationOutput output, const JobProgress& progress = nullptr,
                                std::size_t threads = 1);

/// The same to a stream; `output.path` is its name for messages. What is written before a failure stays written.
WrittenAnimation WriteAnimation(const Animation& animation, const Character* character,
                                AnimationOutput output, std::ostream& out,
                                const JobProgress& progress = nullptr, std::size_t threads = 1);

} // namespace mien
