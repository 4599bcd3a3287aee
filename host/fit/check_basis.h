#pragma once

#include "host/fit/shape_basis.h"

namespace mien {

/// Checks a basis that does not come with the command. Shapes that a fit cannot use are left out with a note:
/// those that are none of the 52, that move no point, or that move the face in the same way as another.
///
/// Throws InputError if no shape is left, if landmarks are missing (8 and 17 to 67), and if they are not those
/// of a face in millimetres, with x to its left, y up and z out of it.
void CheckBasis(ShapeBasis& basis);

} // namespace mien
