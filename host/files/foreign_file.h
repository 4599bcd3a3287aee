#pragma once

#include <string>
#include <string_view>

namespace mien {

/// Throws InputError (unsupported) where the first bytes show a kind of file that is often given by mistake:
/// an archive, a saved web page, a Git LFS pointer, text that is not UTF-8, a scene of a 3D program, a video.
/// Every other content passes.
///
/// `file`: its name for messages. `wanted`: what was to be read, "a take". `fix`: what to do about a file
/// that is not one, where its kind does not say: an archive is to be unpacked, but what to do with a scene
/// depends on what was wanted.
///
/// A .glb is one of these kinds, so a reader of .glb asks only after its own check.
void RefuseForeignFile(std::string_view bytes, const std::string& file, std::string_view wanted,
                       std::string_view fix);

} // namespace mien
