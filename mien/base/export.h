#pragma once

/// @file
/// How the library exports its symbols.

/// @def MIEN_API
/// Marks the symbols that the library exports. All others are hidden.
///
/// The build defines MIEN_STATIC when mien is linked statically, also for users of the static library, and
/// MIEN_BUILDING only while it compiles the library itself.
#if defined(MIEN_STATIC)
#define MIEN_API
#elif defined(_WIN32)
#if defined(MIEN_BUILDING)
#define MIEN_API __declspec(dllexport)
#else
#define MIEN_API __declspec(dllimport)
#endif
#else
#define MIEN_API __attribute__((visibility("default")))
#endif
