#pragma once

#include "host/compare/recording.h"
#include "host/formats/read_take.h"

#include <string>
#include <string_view>

namespace mien {

/// Whether a file is an animation or a take, by its content, and the name of its format. Of results that have
/// both points and weights, the points count.
struct RecordingContent {
  RecordingKind kind = RecordingKind::Animation;
  std::string format;
};

/// Throws InputError for content that is neither; `name` is the file's name as messages show it.
RecordingContent RecordingContentOf(std::string_view bytes, const std::string& name);

/// Reads it as what it is. Of the options, those of a face mesh are for takes. Throws InputError.
Recording ReadRecording(std::string_view bytes, const std::string& name, const ReadOptions& options = {});

} // namespace mien
