#pragma once

#include "host/animation/eye_angles.h"
#include "host/base/face_parts.h"
#include "host/character/character.h"
#include "host/character/gaze_shapes.h"
#include "mien/character/baked_clusters.h"
#include "mien/character/baked_shapes.h"
#include "mien/character/character_state.h"
#include "mien/face/template_state.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace mien {

/// Weights by the names of a character's expressions.
using ExpressionWeights = std::vector<std::pair<std::string, double>>;

/// Turns template weights into the shape weights and cluster transforms of a character, frame by frame or many
/// frames at once, with the same bits. A frame allocates nothing. Any number may exist at once, each used by
/// one thread at a time: they share nothing.
class CharacterSolver {
public:
  /// `character` is as ReadCharacter returns it: at most 99 expressions, their names different and of 1 to
  /// 255 bytes. `expressions` is added to every frame. Throws InputError for an expression that the character
  /// does not have. Keeps no reference to either.
  explicit CharacterSolver(const Character& character, const ExpressionWeights& expressions = {});
  CharacterSolver(const CharacterSolver&) = delete;
  CharacterSolver& operator=(const CharacterSolver&) = delete;

  /// From now on these shapes, by their names among the 52, have the weights that the solves get, and not those
  /// that templates produce. Shapes of any spelling; expressions still add to them.
  void UseFitted(const std::vector<std::string>& names);

  /// The numbers of a frame's templates, those of the default face in the order of TemplateColumns, and of the
  /// character's shapes.
  std::size_t Templates() const { return shapes_->Templates(); }
  std::size_t Shapes() const { return shapes_->Shapes(); }

  /// Writes the shape weights of some frames (size: frames x Shapes()), part by part. `templates` (size: frames
  /// x Templates()) are their template weights. `eyes` (size: frames) adds weight to the shapes that follow them
  /// (GazeShape); null where it is not known where they look. `fitted` (size: frames x names of UseFitted) are
  /// the weights of these; not read without them.
  void SolveShapes(std::span<double> shapes, const double* templates, const Eyes* eyes, const double* fitted);

  /// The clusters of a frame, a set by part, from its shape weights (size: Shapes()). Valid until the next
  /// call.
  const VCharacterFaceClusterSetState* SolveClusters(const double* shapes);

  /// What the character makes of one frame: `mWeights[p][s]` is shape s of part p, `mClusters[p]` the part's
  /// clusters. `eyes` and `fitted` as for SolveShapes. Valid until the next call.
  const VCharacterFaceState& Solve(const VFaceTemplateState& templates, const Eyes* eyes = nullptr,
                                   std::span<const double> fitted = {});

private:
  void Adjust(double* shapes, const Eyes* eyes, const double* fitted) const;

  std::optional<BakedShapes> shapes_;
  std::optional<BakedClusters> clusters_;
  std::vector<double> expressions_;        // weights, in the character's order
  std::vector<std::size_t> shapes_before_; // by part, and of all parts
  std::vector<std::string> names_;         // of the shapes
  std::vector<TemplateColumn> templates_ = TemplateColumns();
  std::optional<Character::Range> range_;
  std::vector<GazeShape> gaze_;

  struct FittedShape {
    std::size_t shape;  // among the character's
    std::size_t fitted; // index among the fitted ones
    double expressions; // what expressions add
  };
  std::vector<FittedShape> fitted_;
  std::size_t fitted_names_ = 0;

  // Of the frame that was solved last.
  std::vector<double> frame_templates_, frame_shapes_;
  std::unique_ptr<VCharacterFaceState> state_ = std::make_unique<VCharacterFaceState>();
};

} // namespace mien
