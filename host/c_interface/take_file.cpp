#include "host/c_interface/call.h"
#include "host/c_interface/settings.h"
#include "host/c_interface/take.h"
#include "host/c_interface/text.h"
#include "host/files/whole_file.h"
#include "host/jobs/convert_job.h"

#include <ostream>

using namespace mien;

namespace {

/// A take as the bytes of a file, and notes on what these lack, if the caller asks for them.
std::string BytesOf(const mien_take* take, const std::string& output, const mien_settings* settings,
                    const JobProgress& progress, mien_messages** lost) {
  const ConvertJob& job = SettingsOf(settings, MIEN_STEP_CONVERT).convert;
  const bool whole = !job.frames && job.markers.empty() && !job.timecode;
  const Take& all = Require(take, "take").take;
  ConvertedBytes converted =
      whole ? ConvertBytes(all, output, progress) : ConvertBytes(PartToWrite(job, all), output, progress);
  if (lost && !converted.lost.empty())
    *lost = std::make_unique<mien_messages>(converted.lost, output).release();
  return std::move(converted.bytes);
}

void FreeNotes(mien_messages** notes) {
  if (!notes || !*notes) return;
  mien_messages_free(*notes);
  *notes = nullptr;
}

} // namespace

mien_status mien_take_write(const mien_take* take, const char* path, const mien_settings* settings,
                            const mien_progress* progress, mien_messages** lost, mien_messages** errors) {
  if (lost) *lost = nullptr;
  const mien_status status = CallStatus(errors, [&] {
    const std::string output = RequirePath(path, "path");
    CheckWritable(output);
    const std::string bytes = BytesOf(take, output, settings, ProgressOf(progress), lost);
    WriteWhole(output, [&](std::ostream& out) { out << bytes; });
  });
  if (status != MIEN_OK) FreeNotes(lost);
  return status;
}

mien_text* mien_take_write_memory(const mien_take* take, const char* ending, const mien_settings* settings,
                                  mien_messages** lost, mien_messages** errors) {
  if (lost) *lost = nullptr;
  mien_text* const text = CallNew(errors, [&] {
    const std::string output = "take" + RequireText(ending, "ending");
    return std::make_unique<mien_text>(BytesOf(take, output, settings, nullptr, lost));
  });
  if (!text) FreeNotes(lost);
  return text;
}
