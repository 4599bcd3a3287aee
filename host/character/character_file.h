#pragma once

#include "host/character/character.h"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Reads a character file:
///
///     {
///       "format": "mien character 1",
///       "name": "Robot",
///       "range": [0, 1],                                             optional
///       "parts": {
///         "face": { "shapes": ["jawOpen", "smile_L"] },
///         "jaw": {
///           "shapes": ["jawDrop"],
///           "clusters": {                                            optional
///             "root": TRANSFORM,                                     optional
///             "rest": { "jawBone": TRANSFORM, "chinBone": TRANSFORM },
///             "poses": { "jawDrop": { "jawBone": TRANSFORM } }
///           }
///         }
///       },
///       "templates": { "Mouth": { "Open": { "jawOpen": 1, "jawDrop": 0.8 }, ... }, ... },
///       "expressions": {                                             optional
///         "Smile": { "templates": { "Mouth": { "CornersUpL": 1 } }, "shapes": { "smile_L": 1 } }
///       }
///     }
///
/// A TRANSFORM is { "translation": [x, y, z], "rotation": [x, y, z] or [x, y, z, w], "scale": [x, y, z] }. A
/// rotation is in degrees about x, then y, then z, or a quaternion. Omitted members are those of the rest
/// pose; in the rest pose they are 0, 0 and 1. Parts and templates of the face have the names of the default
/// face. Throws InputError with every mistake, each with its JSON pointer. `file` is the name for messages.
Character ReadCharacter(std::string_view text, const std::string& file);

/// The built-in character of this name or, if there is none, the character file at this path.
Character LoadCharacter(const std::string& name_or_path);

/// The names that LoadCharacter knows without a file.
std::vector<std::string> BuiltInCharacters();

/// Writes a character file, with rotations in degrees.
void WriteCharacter(const Character& character, std::ostream& out);

} // namespace mien
