#pragma once

#include "host/face/surface.h"

#include <cstddef>

namespace mien {

/// Where a weight of 1 of one of the 52 shapes (an index in kArkitNames) takes a vertex, from rest.
/// `right`: its mirror image, on the right half of the head.
Vec ShapeMotion(std::size_t shape, const Vertex& vertex, bool right);

/// The part of a shape of both halves that belongs to the left one, by the place at rest: 1 on the left, 0
/// on the right, smooth across the middle. The halves of a shape sum up to it.
double LeftShare(double x);

} // namespace mien
