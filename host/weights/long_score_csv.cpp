#include "host/weights/long_score_csv.h"

#include "host/formats/csv.h"
#include "host/formats/csv_faces.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_names.h"
#include "host/formats/mesh_times.h"
#include "host/takes/take.h"
#include "host/weights/score_list.h"
#include "host/weights/weight_columns.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <unordered_map>
#include <utility>

namespace mien {
namespace {

std::optional<std::size_t> NameColumn(const std::vector<std::string_view>& columns) {
  for (const std::string_view name : {"name", "category_name", "categoryName", "blendshape"})
    if (const auto column = FindColumn(columns, name)) return column;
  return std::nullopt;
}

std::optional<std::size_t> ScoreColumn(const std::vector<std::string_view>& columns) {
  for (const std::string_view name : {"score", "weight", "value"})
    if (const auto column = FindColumn(columns, name)) return column;
  return std::nullopt;
}

} // namespace

bool IsLongScoreCsv(const std::vector<std::string_view>& columns) {
  return NameColumn(columns) && ScoreColumn(columns);
}

WeightTake ReadLongScoreCsv(std::string_view bytes, const std::string& file,
                            std::optional<std::int64_t> face_id, const std::optional<FrameRate>& input_rate) {
  CsvReader csv(bytes, file);
  WeightTake take;
  const std::size_t name = NameColumn(csv.Columns()).value_or(0); // there are both: IsLongScoreCsv
  const std::size_t score = ScoreColumn(csv.Columns()).value_or(0);
  CorrectedNames names; // no program's names are the regular ones: nothing to note
  const FrameColumns frame_columns = FindFrameColumns(csv, "timestamp", names);
  if (!frame_columns.number && !frame_columns.time)
    csv.Fail(Code::Missing, "a row is a weight, and there is no column \"frame\" that says of which frame",
             "write a row per weight as frame,time_s,face,name,score");
  CsvFaces faces(csv, FindFaceColumn(csv), face_id);
  CsvFrames frames(csv, frame_columns, input_rate);
  Take clock; // without markers
  ScoreList scores;
  std::unordered_map<double, std::size_t> by_key; // frames by their numbers, or without numbers by times
  while (csv.Next()) {
    try {
      if (!faces.IsChosen(csv)) continue;
      const double key = csv.Number(frame_columns.number.value_or(frame_columns.time.value_or(0)));
      const auto [frame, is_new] = by_key.try_emplace(key, clock.FrameCount());
      if (is_new) frames.AddFrame(csv, clock);
      const double value = csv.NumberIfAny(score).value_or(std::numeric_limits<double>::quiet_NaN());
      if (!csv.Text(name).empty())
        scores.Add(frame->second, csv.Text(name),
                   std::isfinite(value) ? value : std::numeric_limits<double>::quiet_NaN());
    } catch (const InputError&) {
      if (!frames.LeaveOutIfCut(csv, clock)) throw;
    }
  }
  faces.Check(csv);
  csv.Finish(take.notes);
  faces.AppendTo(take.notes, csv);
  const std::vector<std::size_t> order = frames.Finish(csv, clock, kFastestVideoHz);
  if (frame_columns.time)
    NoteUnlikelyUnit(clock, csv.Columns()[*frame_columns.time], frame_columns.units_per_second);
  take.SetClock(std::move(clock));
  scores.Finish(order, take);
  return take;
}

} // namespace mien
