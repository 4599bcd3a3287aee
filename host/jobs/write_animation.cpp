#include "host/jobs/write_animation.h"

#include "host/animation/animation_glb.h"
#include "host/animation/animation_json.h"
#include "host/animation/livelink_csv.h"
#include "host/animation/weight_csv.h"
#include "host/files/whole_file.h"

#include <algorithm>
#include <utility>

namespace mien {

namespace {

/// Of the shapes without a morph target, those whose motion is lost: not those that stay 0, nor those that
/// move clusters.
std::vector<std::string> MissedShapes(const HeadCoverage& head, const Animation& animation,
                                      const Character* character) {
  std::vector<std::string> missed;
  for (const std::string& shape : head.shapes_without_target) {
    const std::vector<std::string>& shapes = animation.layout.shapes;
    const auto s = static_cast<std::size_t>(std::find(shapes.begin(), shapes.end(), shape) - shapes.begin());
    bool moves = shapes.empty(); // a template
    for (std::size_t f = 0; f < animation.frames.size() && s < shapes.size() && !moves; ++f)
      moves = animation.ShapeWeight(f, s) != 0;
    if (character)
      for (const Character::Part& part : character->parts)
        for (const Character::Pose& pose : part.poses) moves &= pose.shape != shape;
    if (moves) missed.push_back(shape);
  }
  return missed;
}

/// About how many values a text file holds per frame; 0 for one that is not text.
std::size_t ValuesOf(const AnimationLayout& layout, AnimationFormat format) {
  const std::size_t templates = layout.templates.size(), shapes = layout.shapes.size();
  switch (format) {
  case AnimationFormat::TemplateCsv:
    return 1 + templates;
  case AnimationFormat::ShapeCsv:
    return 1 + shapes;
  case AnimationFormat::LiveLinkCsv:
    return 62;
  case AnimationFormat::Json:
    // Number and time, the head's rotation and translation; of each cluster two transforms of ten numbers.
    return 2 + 4 + 3 + templates + shapes + 20 * layout.clusters.size();
  case AnimationFormat::Glb:
  case AnimationFormat::Vrma:
    break;
  }
  return 0;
}

} // namespace

WrittenAnimation WriteAnimation(const Animation& animation, const Character* character,
                                AnimationOutput output, const JobProgress& progress, std::size_t threads) {
  WrittenAnimation written;
  const std::string path = output.path;
  WriteWhole(path, [&](std::ostream& out) {
    written = WriteAnimation(animation, character, std::move(output), out, progress, threads);
  });
  return written;
}

WrittenAnimation WriteAnimation(const Animation& animation, const Character* character,
                                AnimationOutput output, std::ostream& to, const JobProgress& progress,
                                std::size_t threads) {
  const AnimationLayout& layout = animation.layout;
  WrittenAnimation written;
  written.path = output.path;
  written.format = output.format;
  written.frames = animation.frames.size();
  written.templates = layout.templates.size();
  written.shapes = layout.shapes.size();
  written.clusters = layout.clusters.size();
  const auto write = [&](std::ostream& out) {
    switch (output.format) {
    case AnimationFormat::TemplateCsv:
    case AnimationFormat::ShapeCsv: {
      const bool shapes = output.format == AnimationFormat::ShapeCsv;
      WeightCsvWriter writer(layout, shapes ? WeightKind::Shapes : WeightKind::Templates, out);
      return Write(animation, writer, threads);
    }
    case AnimationFormat::LiveLinkCsv: {
      LiveLinkCsvWriter writer(layout, out);
      written.missing_shapes = writer.Missing();
      return Write(animation, writer, threads);
    }
    case AnimationFormat::Json:
      return WriteAnimationJson(animation, out, threads);
    case AnimationFormat::Glb:
      written.head = output.onto
                         ? WriteAnimationOntoHead(animation, std::move(*output.onto), output.nodes, out)
                         : WriteFaceAnimation(animation, character, out);
      return;
    case AnimationFormat::Vrma:
      written.vrma = WriteVrma(animation, out);
    }
  };
  const std::size_t values = ValuesOf(layout, output.format) * animation.frames.size();
  WriteWithProgress(to, values, values > 0 ? progress : nullptr, write);
  if (written.head) written.missing_shapes = MissedShapes(*written.head, animation, character);
  return written;
}

} // namespace mien
