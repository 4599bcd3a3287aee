#pragma once

#include "host/base/json_text.h"
#include "host/jobs/retarget_job.h"

namespace mien {

/// What a job did, for programs: {"format": "mien retarget report 1", "tool", "command", "files", "weights", "settings",
/// "ranges", "angles", "eyes", "missing_frames", "unused", "landmarks"}.
JsonValue RetargetReportAsJson(const RetargetJob& job, const RetargetResult& result);

} // namespace mien
