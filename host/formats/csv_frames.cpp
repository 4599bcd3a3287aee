#include "host/formats/csv_frames.h"

#include "host/takes/frame_times.h"

#include <algorithm>
#include <cstdint>

namespace mien {

std::size_t CsvFrames::AddFrame(CsvReader& csv, Take& take) {
  std::optional<std::int64_t> number;
  if (frame_column_) number = csv.Integer(*frame_column_);
  decimals_ = std::max(decimals_, DecimalsOf(csv.Text(time_column_)));
  const double time = csv.Number(time_column_);
  if (const auto fault = mien::AddFrame(take, number, time)) {
    const bool of_number = fault->of == FrameFault::Of::Number; // which then has a column
    csv.FailAt(fault->code, of_number && frame_column_ ? *frame_column_ : time_column_, fault->what,
               fault->fix);
  }
  return take.FrameCount() - 1;
}

void CsvFrames::SetRate(const CsvReader& csv, Take& take) const {
  if (const auto fault = SetRateByTimes(take, decimals_)) csv.Fail(fault->code, fault->what, fault->fix);
}

} // namespace mien
