#include "host/c_interface/call.h"

#include "host/base/utf8.h"
#include "host/c_interface/struct_size.h"
#include "host/files/standard_streams.h"

#include <fmt/format.h>

#include <exception>
#include <new>
#include <optional>

namespace mien {

namespace {

mien_status StatusOf(Code code) {
  switch (code) {
  case Code::Usage:
    return MIEN_USAGE;
  case Code::Limit:
    return MIEN_LIMIT;
  case Code::Memory:
    return MIEN_MEMORY;
  default:
    return MIEN_INPUT;
  }
}

/// Made when the library is loaded: constant from then on.
mien_messages& OutOfMemory() {
  static mien_messages messages(MIEN_MEMORY, {{Code::Memory, "", "", "memory ran out", ""}});
  return messages;
}
const mien_messages& out_of_memory = OutOfMemory();

mien_status Report(mien_messages** errors, mien_status status, const std::vector<Problem>& problems) {
  if (errors) *errors = new mien_messages(status, problems);
  return status;
}

mien_status ReportCancelled(mien_messages** errors) {
  if (!errors) return MIEN_CANCELLED;
  auto messages = std::make_unique<mien_messages>(
      MIEN_CANCELLED, std::vector<Problem>{{Code::Usage, "", "", "cancelled", ""}});
  messages->lines[0].code = "cancelled";
  *errors = messages.release();
  return MIEN_CANCELLED;
}

mien_status ReportDefect(mien_messages** errors, const char* what) {
  if (!errors) return MIEN_INTERNAL;
  auto messages = std::make_unique<mien_messages>(
      MIEN_INTERNAL,
      std::vector<Problem>{{Code::Usage, "", "", fmt::format("a defect of mien: {}", what), "report it"}});
  messages->lines[0].code = "internal";
  *errors = messages.release();
  return MIEN_INTERNAL;
}

mien_status ReportCurrent(mien_messages** errors) {
  try {
    throw;
  } catch (const InputError& error) {
    return Report(errors, StatusOf(error.Problems().front().code), error.Problems());
  } catch (const CallCancelled&) { return ReportCancelled(errors); } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) { return ReportDefect(errors, error.what()); } catch (...) {
    return ReportDefect(errors, "an exception of an unknown kind");
  }
}

} // namespace

mien_status ReportException(mien_messages** errors) noexcept {
  try {
    return ReportCurrent(errors);
  } catch (...) { // no memory, or none for the report
    if (errors) *errors = const_cast<mien_messages*>(&out_of_memory);
    return MIEN_MEMORY;
  }
}

bool IsOutOfMemory(const mien_messages* messages) { return messages == &out_of_memory; }

JobProgress ProgressOf(const mien_progress* progress) {
  if (!progress) return nullptr;
  const mien_progress known = ReadStruct(progress, "progress");
  if (!known.report) return nullptr;
  constexpr std::size_t kReports = 200; // for each stage
  return [known, stage = std::optional<JobStage>(), step = std::size_t(0)](JobStage now, std::size_t done,
                                                                           std::size_t total) mutable {
    const std::size_t at =
        total > 0
            ? static_cast<std::size_t>(static_cast<double>(done) / static_cast<double>(total) * kReports)
            : 0;
    if (stage == now && at == step && total > 0) return;
    stage = now;
    step = at;
    if (known.report(known.user, static_cast<mien_stage>(now), done, total) != 0) throw CallCancelled();
  };
}

std::string RequireText(const char* text, const char* argument) {
  if (!text) throw UsageError(argument, "this is NULL");
  std::string copy = text;
  if (copy.empty()) throw UsageError(argument, "this is empty");
  RequireUtf8(copy, argument);
  return copy;
}

void RefuseStandardStream(const std::string& path, const char* argument) {
  if (IsStandardInput(path) || IsStandardOutput(path))
    throw UsageError(argument,
                     "standard input and output belong to the program; read from or write to memory");
}

std::string RequirePath(const char* path, const char* argument) {
  if (!path) throw UsageError(argument, "this is NULL");
  std::string copy = path; // of any bytes, as the system has them
  if (copy.empty()) throw UsageError(argument, "this is empty");
  RefuseStandardStream(copy, argument);
  return copy;
}

} // namespace mien
