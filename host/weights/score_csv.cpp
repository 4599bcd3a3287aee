#include "host/weights/score_csv.h"

#include "host/character/arkit_names.h"
#include "host/formats/csv.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_names.h"
#include "host/formats/mesh_times.h"
#include "host/takes/take.h"
#include "host/weights/weight_columns.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace mien {
namespace {

// What `mien solve` writes.
bool IsOwn(const std::vector<std::string_view>& columns) {
  return columns.size() > 2 && columns[0] == "frame" && columns[1] == "time";
}

// Columns of frames and times, also those that are not used.
std::vector<std::size_t> FindFrameAndTimes(const std::vector<std::string_view>& columns) {
  std::vector<std::size_t> found;
  for (std::size_t c = 0; c < columns.size(); ++c)
    if (NamesFrames(columns[c]) || UnitsPerSecond(columns[c])) found.push_back(c);
  return found;
}

} // namespace

bool IsScoreCsv(const std::vector<std::string_view>& columns) {
  const bool has_points = std::any_of(columns.begin(), columns.end(),
                                      [](std::string_view column) { return column.ends_with(".x"); });
  return (IsOwn(columns) && !has_points) ||
         std::any_of(columns.begin(), columns.end(),
                     [](std::string_view column) { return FindArkitName(column).has_value(); });
}

WeightTake ReadScoreCsv(std::string_view bytes, const std::string& file,
                        const std::optional<FrameRate>& input_rate) {
  CsvReader csv(bytes, file);
  const bool is_own = IsOwn(csv.Columns());
  WeightTake take;
  CorrectedNames names; // no program's names are the regular ones: nothing to note
  const FrameColumns frame_columns = FindFrameColumns(csv, is_own ? "time" : "timestamp", names);
  std::vector<std::size_t> others = FindFrameAndTimes(csv.Columns());
  const std::size_t no_column = csv.Columns().size();
  const std::size_t timecode = is_own ? csv.Column("timecode").value_or(no_column) : no_column;
  if (timecode != no_column) others.push_back(timecode);
  WeightColumns columns(csv, others,
                        is_own ? WeightNames::Unknown::KeepAsIs : WeightNames::Unknown::LeaveOut);

  CsvFrames frames(csv, frame_columns, input_rate);
  Take clock; // without markers
  std::string first_timecode;
  while (csv.Next()) {
    try {
      frames.AddFrame(csv, clock);
      if (timecode != no_column && clock.FrameCount() == 1) first_timecode = csv.Text(timecode);
      columns.ReadRow(csv);
    } catch (const InputError&) {
      if (!frames.LeaveOutIfCut(csv, clock)) throw;
      if (columns.Rows() > clock.FrameCount()) columns.RemoveLastRow();
    }
  }
  csv.Finish(take.notes);
  const std::vector<std::size_t> order = frames.Finish(csv, clock, kFastestVideoHz);
  if (frame_columns.time)
    NoteUnlikelyUnit(clock, csv.Columns()[*frame_columns.time], frame_columns.units_per_second);
  take.SetClock(std::move(clock));
  double fraction = 0;
  if (timecode != no_column) take.timecode = ParseTimecode(first_timecode, take.rate, &fraction);
  if (take.timecode) take.timecode_offset_s = fraction / take.timecode->rate.Hz();
  columns.Finish(order, take);
  return take;
}

} // namespace mien
