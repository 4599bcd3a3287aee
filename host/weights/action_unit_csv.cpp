#include "host/weights/action_unit_csv.h"

#include "host/base/long_vector.h"
#include "host/base/text.h"
#include "host/formats/csv.h"
#include "host/formats/csv_faces.h"
#include "host/formats/csv_frames.h"
#include "host/formats/csv_gaps.h"
#include "host/formats/csv_names.h"
#include "host/formats/landmark_csv.h"
#include "host/formats/mesh_times.h"
#include "host/takes/take.h"
#include "host/weights/action_units.h"
#include "host/weights/weight_columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace mien {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

const ActionUnit* UnitOf(std::string_view column) {
  const auto* const found =
      std::find_if(std::begin(kActionUnits), std::end(kActionUnits),
                   [&](const ActionUnit& unit) { return EqualIgnoringCase(unit.column, column); });
  return found == std::end(kActionUnits) ? nullptr : found;
}

// "AU50_r", whatever its number.
bool IsIntensity(std::string_view column) {
  return column.size() > 4 && StartsWithIgnoringCase(column, "AU") &&
         EqualIgnoringCase(column.substr(column.size() - 2), "_r");
}

// The columns of units, and the shapes of the take in the same order.
class Units {
public:
  Units(const CsvReader& csv, WeightTake& take) {
    std::vector<std::string> unknown;
    for (std::size_t c = 0; c < csv.Columns().size(); ++c) {
      const ActionUnit* const unit = UnitOf(csv.Columns()[c]);
      if (!unit && IsIntensity(csv.Columns()[c])) unknown.emplace_back(csv.Columns()[c]);
      if (!unit) continue;
      const std::size_t sides = unit->shapes[1].empty() ? 1 : 2;
      columns_.push_back({c, sides, unit->factor / kFullIntensity});
      for (std::size_t side = 0; side < sides; ++side) take.names.emplace_back(unit->shapes[side]);
    }
    if (!unknown.empty())
      take.notes.push_back(
          {Code::Unmatched, "", "action units that no shape shows, ignored: " + Some(unknown)});
  }

  // Appends the current row's weights; `seen`: otherwise all are missing.
  void ReadRow(CsvReader& csv, bool seen, LongVector<double>& weights) {
    row_.clear();
    for (const auto& [column, sides, factor] : columns_) {
      const double value = csv.NumberIfAny(column).value_or(kNone);
      if (seen && !std::isfinite(value)) gaps_.Add(csv, column);
      row_.insert(row_.end(), sides, seen && std::isfinite(value) ? value * factor : kNone);
    }
    weights.append(row_);
  }

  void AppendTo(std::vector<Note>& notes) const { gaps_.AppendTo(notes); }

private:
  struct Column {
    std::size_t column, sides;
    double factor;
  };
  std::vector<Column> columns_;
  std::vector<double> row_;
  CsvGaps gaps_;
};

} // namespace

bool IsActionUnitCsv(const std::vector<std::string_view>& columns) {
  return std::any_of(columns.begin(), columns.end(),
                     [](std::string_view column) { return UnitOf(column) != nullptr; });
}

WeightTake ReadActionUnitCsv(std::string_view bytes, const std::string& file,
                             std::optional<std::int64_t> face_id,
                             const std::optional<FrameRate>& input_rate) {
  CsvReader csv(bytes, file);
  WeightTake take;
  CorrectedNames names; // no program's names are the regular ones: nothing to note
  const FrameColumns frame_columns = FindFrameColumns(csv, "timestamp", names);
  const auto success = FindColumn(csv.Columns(), "success"),
             confidence = FindColumn(csv.Columns(), "confidence");
  CsvFaces faces(csv, FindFaceColumn(csv), face_id);
  CsvFrames frames(csv, frame_columns, input_rate);
  Units units(csv, take);
  Take clock; // without markers
  LongVector<double> rows;
  const std::size_t shapes = take.names.size();
  constexpr double kLeastConfidence = 0.5;
  while (csv.Next()) {
    try {
      if (!faces.IsChosen(csv)) continue;
      frames.AddFrame(csv, clock);
      const bool seen = success      ? csv.Number(*success) != 0
                        : confidence ? csv.Number(*confidence) >= kLeastConfidence
                                     : true;
      units.ReadRow(csv, seen, rows);
    } catch (const InputError&) {
      if (!frames.LeaveOutIfCut(csv, clock)) throw;
      rows.resize(clock.FrameCount() * shapes);
    }
  }
  faces.Check(csv);
  csv.Finish(take.notes);
  faces.AppendTo(take.notes, csv);
  const std::vector<std::size_t> order = frames.Finish(csv, clock, kFastestVideoHz);
  if (frame_columns.time)
    NoteUnlikelyUnit(clock, csv.Columns()[*frame_columns.time], frame_columns.units_per_second);
  take.SetClock(std::move(clock));
  for (std::size_t f = 0; f < take.frames.size(); ++f)
    take.weights.append(rows.subspan((order.empty() ? f : order[f]) * shapes, shapes));
  take.notes.push_back({Code::Assumed, "",
                        fmt::format("action units of 0 to 5 are taken as {} of the 52, alike on both sides",
                                    Count(shapes, "shape"))});
  if (HasLandmarks(csv.Columns()))
    take.notes.push_back(
        {Code::Ignored, "",
         "the landmarks beside the action units; mien solve reads them, and --landmarks takes the head "
         "and the eyes from them"});
  units.AppendTo(take.notes);
  NoteUnlikelyWeights(take);
  return take;
}

} // namespace mien
