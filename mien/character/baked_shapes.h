#pragma once

#include "mien/base/export.h"

#include <cstddef>
#include <vector>

class VCharacterFace;
class VFace;

namespace mien {

namespace detail {
/// Eight numbers that vectors read without crossing a cache line.
struct alignas(64) CacheLine {
  double numbers[8] = {};
};
} // namespace detail

/// Turns the template and expression weights of many frames into a character's shape weights, with the bits
/// that ExpressionSum gives frame by frame. Each number of the definition is read once for several frames, and
/// only the shapes that the character has are written.
///
/// Copies all that it needs: the character and the face may change or go. After a change of the parts, of
/// their shapes, of the catalogue or of a definition, construct a new one. Any number of threads may use one
/// object at the same time.
class MIEN_API BakedShapes {
public:
  /// The character's define state must belong to `face` (VCharacterFace::SetupDefineState). Keeps 8 bytes for
  /// each shape, counted up to a multiple of eight, and each template and expression that the character
  /// defines. Throws std::bad_alloc.
  BakedShapes(const VCharacterFace& character, const VFace& face);

  /// The number of the character's shapes, all parts together.
  std::size_t Shapes() const { return shapes_; }
  /// The number of the face's templates, all parts together; at most 225.
  std::size_t Templates() const { return templates_; }
  /// The number of the face's expressions; at most 99.
  std::size_t Expressions() const { return defined_.size(); }

  /// Writes `shapes` (size: frames x Shapes()): the weights of a frame are consecutive, part by part,
  /// without the columns that a state has beyond a part's shapes.
  ///
  /// `templates` (size: frames x Templates()) are the template weights, part by part as
  /// VFaceTemplateState::mParts has them, without the slots that have no template. `expressions` (size: frames
  /// x Expressions()) are the expressions' weights. An expression that the character defines drives it
  /// directly; any other drives it through its templates, and makes every shape NaN in a frame in which its
  /// weight is infinite or NaN.
  ///
  /// `expressions_stride` is the distance from a frame's expression weights to the next ones: Expressions(), or
  /// 0 if all frames have the same. Null pointers are allowed for what has no elements.
  ///
  /// Allocates nothing, and uses about 40 KB of stack. `shapes` must not overlap the weights.
  void Solve(double* shapes, const double* templates, const double* expressions,
             std::size_t expressions_stride, std::size_t frames) const;

private:
  void SolveSome(double* shapes, const double* templates, const double* expressions,
                 std::size_t expressions_stride, std::size_t frames) const;

  std::size_t shapes_ = 0, templates_ = 0;
  std::size_t lines_ = 0;               // of a row
  std::vector<detail::CacheLine> rows_; // the templates', then those of the expressions that are defined
  std::vector<bool> is_finite_;         // by row
  std::vector<bool> defined_;           // by expression
  std::vector<double> through_;         // by expression and template: the templates that it consists of
  std::vector<bool> through_is_finite_; // by expression
  std::vector<double> of_defined_;      // by template: what expressions that are defined add, 0 or NaN
  bool defined_make_nan_ = false;       // whether one is NaN
};

} // namespace mien
