#pragma once

#include "host/base/error.h"
#include "host/formats/trc_text.h"
#include "host/takes/frame_rate.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien::trc {

inline constexpr std::string_view kKeys[] = {"DataRate",           "CameraRate",   "NumFrames",
                                             "NumMarkers",         "Units",        "OrigDataRate",
                                             "OrigDataStartFrame", "OrigNumFrames"};

/// More markers than any system names, and as many as a C3D file holds: what names them is read no further.
inline constexpr std::size_t kMostMarkers = 65535;

/// The lines above the rows.
struct Header {
  std::vector<Note> notes;
  std::size_t values_line = 0;
  std::optional<FrameRate> rate;
  std::string rate_text; // of DataRate, quoted; empty without the key
  std::optional<std::string_view> frames_text, markers_text;
  std::optional<std::int64_t> frames, first_frame;
  std::string unit = "mm";
  double millimetres = 1; // of that unit
  std::size_t names_line = 0;
  std::vector<std::string_view> names; // up to the last that is not blank
  std::string_view loose_names;        // why the names do not stand above their columns; empty where they do
  Lines rows{{}};                      // before the first row
};

/// Throws InputError for a header that does not show the markers' columns. Its notes name what departs from
/// the format.
Header ReadHeader(std::string_view bytes, const std::string& file);

/// A name for each marker, all different.
std::vector<std::string> MarkerNames(const Header& header, std::size_t markers, std::vector<Note>& notes);

} // namespace mien::trc
