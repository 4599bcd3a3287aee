#pragma once

#include "host/base/long_vector.h"
#include "host/formats/csv.h"
#include "host/formats/csv_gaps.h"
#include "host/weights/weight_names.h"
#include "host/weights/weight_take.h"

#include <array>
#include <cstddef>
#include <vector>

namespace mien {

/// The column of this name in any letter case.
std::optional<std::size_t> FindColumn(const std::vector<std::string_view>& columns, std::string_view name);

/// Whether a column is an angle of the head or of an eye: "HeadYaw", "LeftEyePitch".
bool IsAngleColumn(std::string_view column);

/// Of a table with a row per frame, the columns of weights and of the angles of head and eyes, found by their
/// names.
class WeightColumns {
public:
  /// `others` are columns that are neither.
  WeightColumns(const CsvReader& csv, const std::vector<std::size_t>& others, WeightNames::Unknown unknown);

  const std::vector<std::string>& Names() const { return names_.Names(); }
  std::size_t Rows() const { return rows_; }

  /// Reads the current row. Throws InputError with line and column; then nothing was read.
  void ReadRow(CsvReader& csv);

  /// Takes back the last ReadRow.
  void RemoveLastRow();

  /// After the last row: moves names, weights and angles to a take and adds notes. Angles are radians, or
  /// degrees if any is too large for radians. `order`, if not empty, is the row of each frame.
  void Finish(const std::vector<std::size_t>& order, WeightTake& take);

private:
  void SetAngles(const std::vector<std::size_t>& order, WeightTake& take) const;

  static constexpr std::size_t kAngles = 9; // of the head and the two eyes

  struct Field {
    std::size_t column = 0;
    std::size_t index = 0; // among the weights, or behind them the angles
  };

  WeightNames names_;
  std::vector<Field> fields_; // from left to right
  std::array<bool, kAngles> has_angle_{};
  bool has_angles_ = false; // any
  std::vector<double> row_; // weights, then angles
  std::size_t rows_ = 0;
  LongVector<double> weights_, angles_; // of all rows
  CsvGaps gaps_;
};

/// Notes weights that are far from 0 to 1, which may be percent.
void NoteUnlikelyWeights(WeightTake& take);

} // namespace mien
