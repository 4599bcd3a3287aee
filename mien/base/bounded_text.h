#pragma once

/// @file
/// Names in fixed buffers of 256 bytes: zero-terminated text of up to 255 bytes.

#include "mien/base/export.h"

namespace mien {

/// Copies `text` into `buffer` if it fits with its terminator. A longer text is rejected: the function
/// returns false and the buffer is unchanged. `text` must not be null; it may be the buffer itself.
MIEN_API bool CopyBounded(char (&buffer)[256], const char* text);

/// Whether two texts are equal, ignoring the case of the letters A to Z. Independent of the locale.
MIEN_API bool EqualIgnoringCase(const char* a, const char* b);

} // namespace mien
