#pragma once

#include "host/base/error.h"
#include "host/c_interface/messages.h"
#include "host/c_interface/mien_host.h"
#include "host/jobs/job_progress.h"

#include <memory>
#include <string>
#include <vector>

namespace mien {

/// That the caller's progress callback asked to stop.
struct CallCancelled {};

/// Turns the exception that is being handled into a status and, unless `errors` is null, a list. Never
/// throws.
mien_status ReportException(mien_messages** errors) noexcept;

/// Whether this is the list that stands for all errors when there is no memory for one: it is never freed.
bool IsOutOfMemory(const mien_messages* messages);

/// What a function that answers a status does: `body` may throw.
template <class Body>
mien_status CallStatus(mien_messages** errors, const Body& body) noexcept {
  if (errors) *errors = nullptr;
  try {
    body();
    return MIEN_OK;
  } catch (...) { return ReportException(errors); }
}

/// What a function that answers a new handle does: `body` answers a unique_ptr and may throw.
template <class Body>
auto CallNew(mien_messages** errors, const Body& body) noexcept -> typename decltype(body())::pointer {
  if (errors) *errors = nullptr;
  try {
    return body().release();
  } catch (...) {
    ReportException(errors);
    return nullptr;
  }
}

/// The caller's callback as a job calls it; null without one. The callback is called for a part of the
/// reports only. Throws a UsageError where the struct is none.
JobProgress ProgressOf(const mien_progress* progress);

/// A text of the caller. Throws a UsageError where it is null, empty or not UTF-8.
std::string RequireText(const char* text, const char* argument);

/// The path of a file, and not of a standard stream, which a library leaves to its program. Throws a
/// UsageError.
std::string RequirePath(const char* path, const char* argument);

/// What RequirePath refuses.
void RefuseStandardStream(const std::string& path, const char* argument);

} // namespace mien
