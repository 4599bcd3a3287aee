#pragma once

#include "host/base/error.h"
#include "host/base/point.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// How the skin of a face moves with each of its shapes: for points spread over a face, where they rest and
/// how far each goes at weight 1. In millimetres; x to the face's left, y up, z out of it. Linear: twice the
/// weight is twice the way.
struct ShapeBasis {
  std::vector<std::string> points; ///< names; "lm0" to "lm67" are the 68 landmarks
  std::vector<Point> rest;         ///< (size: points)
  std::vector<std::string> shapes;
  std::vector<Point> moved; ///< from rest, at weight 1 (size: points x shapes)

  std::string name;        ///< what reports call it: a file, or "the built-in face of one head"
  std::vector<Note> notes; ///< on what it lacks

  const Point& Moved(std::size_t point, std::size_t shape) const {
    return moved[point * shapes.size() + shape];
  }
};

/// The faces that come with the command. Their figures, with the notices of their makers, are in
/// data/shape_basis.
enum class BuiltInBasis {
  TwoHeads, ///< the mean of two makers' heads: the better one for what a tracker makes of a video
  OneHead   ///< one of them: no worse for markers, which it follows more closely
};

ShapeBasis LoadBasis(BuiltInBasis basis);

/// Reads a table with a row per point: `point,x,y,z`, then `SHAPE.x,SHAPE.y,SHAPE.z` for each shape. Throws
/// InputError for anything else.
ShapeBasis ReadShapeBasis(std::string_view bytes, const std::string& file);

} // namespace mien
