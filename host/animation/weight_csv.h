#pragma once

#include "host/animation/animation.h"

#include <ostream>

namespace mien {

/// One row per frame: `frame`, `time` in seconds, `timecode` where the take has one, and a column per template named Part.Template ("Mouth.Open"). Numbers
/// are written with the fewest digits that read back to the same doubles.
void WriteTemplateCsv(const Animation& animation, std::ostream& out);

/// The same with a column per shape of the character, by its name, which stands in quotes where it has a comma, a quote
/// or a line break.
void WriteShapeCsv(const Animation& animation, std::ostream& out);

} // namespace mien
