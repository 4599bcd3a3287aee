#pragma once

#include "host/base/error.h"
#include "host/c_interface/messages.h"
#include "host/c_interface/mien_host.h"
#include "host/jobs/job_progress.h"

#include <memory>
#include <string>
#include <vector>

namespace mien {

/// Thrown when the caller's progress callback asks to stop.
struct CallCancelled {};

/// Turns the exception that is being handled into a status and, unless `errors` is null, a list. Never
/// throws.
mien_status ReportException(mien_messages** errors) noexcept;

/// Whether this is the constant list that is returned when there is no memory for another; it is never freed.
bool IsOutOfMemory(const mien_messages* messages);

/// Runs a function that returns a status: `body` may throw.
template <class Body>
mien_status CallStatus(mien_messages** errors, const Body& body) noexcept {
  if (errors) *errors = nullptr;
  try {
    body();
    return MIEN_OK;
  } catch (...) { return ReportException(errors); }
}

/// Runs a function that returns a new handle: `body` returns a unique_ptr and may throw.
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

/// The caller's callback as a job calls it; null without one. The callback gets only some of the reports.
/// Throws a UsageError if the struct is not valid.
JobProgress ProgressOf(const mien_progress* progress);

/// A text of the caller. Throws a UsageError if it is null, empty or not UTF-8.
std::string RequireText(const char* text, const char* argument);

/// The path of a file. Throws a UsageError if it is null or empty, and for a standard stream, which a library
/// leaves to its program.
std::string RequirePath(const char* path, const char* argument);

/// What RequirePath refuses.
void RefuseStandardStream(const std::string& path, const char* argument);

} // namespace mien
