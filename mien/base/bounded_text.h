#pragma once

// Names in fixed buffers of 256 bytes: zero-terminated text of up to 255 bytes.

#include "mien/base/export.h"

namespace mien {

/// Copies `text` into `buffer` if it fits with its terminator; a longer one is rejected: the buffer keeps
/// what it held and the answer is false. `text` must not be null and may be the buffer itself.
MIEN_API bool CopyBounded(char (&buffer)[256], const char* text);

/// Whether two texts are the same but for the case of the letters A to Z, whatever the locale.
MIEN_API bool EqualIgnoringCase(const char* a, const char* b);

} // namespace mien
