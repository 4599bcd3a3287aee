#pragma once

#include "host/base/error.h"
#include "host/formats/read_take.h"
#include "host/formats/write_take.h"
#include "host/jobs/job_progress.h"
#include "host/takes/frame_range.h"
#include "host/takes/take.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

/// A take, or a part of it, written in another format.
struct ConvertJob {
  std::string take; ///< "-" is standard input
  /// Its ending chooses the format; "-" is standard output. A stream without an ending gets marker CSV.
  std::string output;
  ReadOptions reading;
  std::optional<FrameRange> frames;    ///< all if not set
  std::vector<std::string> markers;    ///< all where empty
  std::optional<std::string> timecode; ///< of the first frame that is written: "10:02:59:29@30"
};

struct ConvertResult {
  Take take; ///< as it was written
  TakeFormat format;
  std::vector<Note> lost; ///< what the format cannot hold
};

/// The output is read back and compared before it gets its name, so `lost` is what any program will find.
/// Throws InputError; of Code::Usage where settings do not fit each other or the take.
ConvertResult Run(const ConvertJob& job, const JobProgress& progress = nullptr);

/// A take in memory as a file's bytes, and what the format cannot hold.
struct ConvertedBytes {
  std::string bytes;
  TakeFormat format;
  std::vector<Note> lost;
};

/// What a job writes of a take: the frames and markers that it asks for.
Take PartToWrite(const ConvertJob& settings, Take take);

/// Writes a take as the file of a name: its ending chooses the format. Throws InputError.
ConvertedBytes ConvertBytes(const Take& take, const std::string& output,
                            const JobProgress& progress = nullptr);

} // namespace mien
