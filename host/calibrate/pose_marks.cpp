#include "host/calibrate/pose_marks.h"

#include "host/base/error.h"
#include "host/base/long_vector.h"
#include "host/base/nearest_name.h"
#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/formats/csv.h"
#include "host/performer/guided_poses.h"
#include "host/takes/frame_range.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

namespace mien {

namespace {

struct Columns {
  std::size_t pose, from, to;
  bool seconds;
};

Columns ColumnsOf(const CsvReader& csv) {
  const auto pose = csv.Column("pose"), from = csv.Column("from"), to = csv.Column("to"),
             from_s = csv.Column("from_s"), to_s = csv.Column("to_s");
  if (pose && from && to && !from_s && !to_s) return {*pose, *from, *to, false};
  if (pose && from_s && to_s && !from && !to) return {*pose, *from_s, *to_s, true};
  csv.Fail(Code::Missing, "these are not the columns of a table of poses",
           "begin with pose,from,to for frame numbers, or with pose,from_s,to_s for seconds");
}

std::string PoseAt(CsvReader& csv, std::size_t column) {
  std::string pose(csv.Text(column));
  if (pose.empty())
    csv.FailAt(Code::Missing, column, "the pose has no name",
               "`mien calibrate --list-poses` lists the names");
  if (FindGuidedPose(pose)) return pose;
  std::vector<std::string> names;
  for (const GuidedPose& known : GuidedPoses()) names.emplace_back(known.name);
  const std::optional<std::string> meant = NearestName(pose, names);
  csv.FailAt(Code::NotFound, column, fmt::format("there is no pose {}", Quoted(pose)),
             meant ? fmt::format("did you mean {}?", *meant)
                   : "`mien calibrate --list-poses` lists the names");
}

FrameSpan FramesAt(CsvReader& csv, const Columns& columns, const Take& take) {
  const auto place = [](auto found, auto begin) { return static_cast<std::size_t>(found - begin); };
  FrameSpan span;
  bool in_order = false, inside = false;
  std::string whole;
  if (columns.seconds) {
    constexpr double kRounding_s = 1e-4; // as people round times
    const double from = csv.Number(columns.from), to = csv.Number(columns.to);
    const LongVector<double>& times = take.times;
    in_order = from <= to;
    inside = from >= times.front() - kRounding_s && to <= times.back() + 1 / take.rate.Hz();
    span = {place(std::lower_bound(times.begin(), times.end(), from - kRounding_s), times.begin()),
            place(std::upper_bound(times.begin(), times.end(), to + kRounding_s), times.begin())};
    whole = fmt::format("{:.3f} to {:.3f} s", times.front(), times.back());
  } else {
    const FrameRange range{csv.Integer(columns.from), csv.Integer(columns.to)};
    in_order = range.first <= range.last;
    inside = range.first >= take.frames.front() && range.last <= take.frames.back();
    if (in_order) span = FramesIn(range, take.frames);
    whole = fmt::format("{} to {}", take.frames.front(), take.frames.back());
  }
  if (!in_order) csv.Fail(Code::Order, "the pose ends before it begins", "write the earlier end first");
  if (!inside || span.first >= span.end)
    csv.Fail(Code::NotFound, fmt::format("the take {} does not have all of these frames", Quoted(take.name)),
             fmt::format("it has {}", whole));
  return span;
}

} // namespace

std::vector<PoseMark> ReadPoseMarks(std::string_view text, const std::string& file, const Take& take) {
  RefuseForeignFile(text, file, "a table of poses", "name a CSV file");
  CsvReader csv(text, file);
  const Columns columns = ColumnsOf(csv);
  std::vector<PoseMark> marks;
  while (csv.Next()) {
    std::string pose = PoseAt(csv, columns.pose);
    marks.push_back({std::move(pose), FramesAt(csv, columns, take), csv.Line()});
  }
  std::vector<Note> notes;
  csv.Finish(notes);
  if (marks.empty())
    throw InputError(Code::Empty, file, "", "there is no pose in it",
                     "write a row for each pose that the take shows: pose,from,to");
  std::stable_sort(marks.begin(), marks.end(),
                   [](const PoseMark& a, const PoseMark& b) { return a.frames.first < b.frames.first; });
  for (std::size_t i = 1; i < marks.size(); ++i)
    if (marks[i].frames.first < marks[i - 1].frames.end)
      throw InputError(Code::Contradiction, file,
                       fmt::format("{}", std::max(marks[i].line, marks[i - 1].line)),
                       fmt::format("{} and {} overlap, which is in line {}", marks[i].pose, marks[i - 1].pose,
                                   std::min(marks[i].line, marks[i - 1].line)),
                       "a frame shows one pose: end the first before the second begins");
  return marks;
}

std::vector<Note> MissingPoses(const std::vector<PoseMark>& marks) {
  std::vector<std::string> missing;
  for (const GuidedPose& pose : GuidedPoses())
    if (std::none_of(marks.begin(), marks.end(),
                     [&](const PoseMark& mark) { return mark.pose == pose.name; }))
      missing.emplace_back(pose.name);
  if (missing.empty()) return {};
  return {
      {Code::Missing, "", fmt::format("poses that are not marked: {}", Some(missing, GuidedPoses().size()))}};
}

} // namespace mien
