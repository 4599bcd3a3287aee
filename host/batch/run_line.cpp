#include "host/batch/run_line.h"

#include "host/batch/line_state.h"
#include "host/files/sha256.h"
#include "host/files/whole_file.h"
#include "host/jobs/reported_files.h"
#include "host/jobs/retarget_report.h"

#include <new>
#include <system_error>
#include <utility>

namespace mien {

namespace {

namespace fs = std::filesystem;

void NameAsInManifest(std::vector<ReportedFile>& files, const BatchLine& line, const fs::path& folder) {
  for (ReportedFile& file : files) file.name = NameIn(folder, line, file.name);
}

void AddFurtherOutput(std::vector<ReportedFile>& files, const std::string& role, const std::string& path) {
  if (!path.empty()) files.push_back({role, path, Sha256OfFile(path)});
}

void WriteReport(const BatchLine& line, const JsonValue& report) {
  WriteWhole(ReportOf(line), [&](std::ostream& out) { out << report.Text() << '\n'; });
}

LineEnd Do(const BatchLine& line, SolveJob& job, const fs::path& folder, const JobProgress& progress) {
  SolveResult result = Run(job, progress);
  AddFurtherOutput(result.files, "report", job.report);
  AddFurtherOutput(result.files, "frames_report", job.frames_report);
  AddFurtherOutput(result.files, "view", job.view);
  NameAsInManifest(result.files, line, folder);
  WriteReport(line, SolveReportAsJson(RecordOf(job, result)));
  return {
      .kind = LineEnd::Kind::Done, .frames = result.take.FrameCount(), .grade = result.report.quality.grade};
}

LineEnd Do(const BatchLine& line, RetargetJob& job, const fs::path& folder, const JobProgress& progress) {
  RetargetResult result = Run(job, progress);
  AddFurtherOutput(result.files, "report", job.report);
  NameAsInManifest(result.files, line, folder);
  WriteReport(line, RetargetReportAsJson(job, result));
  return {.kind = LineEnd::Kind::Done, .frames = result.take.frames.size()};
}

LineEnd DoUnlessDone(const BatchLine& line, const fs::path& folder, const JobOfLine& job_of,
                     const JobProgress& progress) {
  const LineState state = CheckLine(line, folder, LineCheck::Hashes);
  LineEnd end = {.kind = LineEnd::Kind::Skipped, .grade = state.grade};
  if (state.kind != LineState::Kind::Done) {
    BatchJob job = job_of(line);
    end = std::visit(
        [&](auto& chosen) {
          chosen.command = line.command;
          chosen.hash_files = true;
          chosen.access = FileAccess::Copy;
          return Do(line, chosen, folder, progress);
        },
        job);
    end.why = state.why;
  }
  std::error_code not_there;
  fs::remove(ErrorFileOf(line), not_there);
  return end;
}

/// Settings that do not fit the take name no file: the take is then the one to look at.
LineEnd Failed(const BatchLine& line, std::vector<Problem> problems) {
  for (Problem& problem : problems)
    if (problem.file.empty()) problem.file = line.take;
  return {.kind = LineEnd::Kind::Failed, .problems = std::move(problems)};
}

} // namespace

std::string_view ToText(LineEnd::Kind kind) {
  switch (kind) {
  case LineEnd::Kind::Done:
    return "done";
  case LineEnd::Kind::Failed:
    return "failed";
  case LineEnd::Kind::Skipped:
    return "skipped";
  case LineEnd::Kind::Stopped:
    break;
  }
  return "stopped";
}

LineEnd RunLine(const BatchLine& line, const fs::path& folder, const JobOfLine& job_of,
                const JobProgress& progress) noexcept {
  LineEnd end;
  try {
    end = DoUnlessDone(line, folder, job_of, progress);
  } catch (const BatchStopped&) { return end; } catch (const InputError& error) {
    end = Failed(line, error.Problems());
  } catch (const std::bad_alloc&) {
    end = Failed(line, {{Code::Memory, "", "", "memory ran out",
                         "solve fewer takes at once with -j, or cut the take into shorter ones"}});
  } catch (const std::exception& error) { // a defect; the other lines continue
    end = Failed(line, {{Code::Unsolvable, "", "", error.what(), "report this with the take"}});
  }
  if (end.kind == LineEnd::Kind::Failed) WriteErrorFile(line, folder, end.problems);
  return end;
}

} // namespace mien
