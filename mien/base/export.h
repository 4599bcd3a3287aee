#pragma once

// MIEN_API marks what the library shows to its callers; everything else stays hidden.
//
// MIEN_STATIC is defined by the build (and handed on to users of the static library) when mien is linked
// statically; MIEN_BUILDING only while the library itself is compiled.
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
