// ReadManifest answers lines whose values are not empty, or throws InputError, whatever the bytes.
#include "host/base/error.h"
#include "host/batch/manifest.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const mien::Manifest manifest =
        mien::ReadManifest({reinterpret_cast<const char*>(data), size}, "manifest");
    if (manifest.lines.empty()) std::abort();
    for (const mien::ManifestLine& line : manifest.lines)
      for (const mien::ManifestValue& value : line.values)
        if (value.texts.empty() || value.place.empty()) std::abort();
  } catch (const mien::InputError&) { return 0; }
  return 0;
}
