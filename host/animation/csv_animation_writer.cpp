#include "host/animation/csv_animation_writer.h"

#include "host/base/number_text.h"

namespace mien {

void CsvAnimationWriter::End() { out_.flush(); }

void CsvAnimationWriter::AppendNumber(double number) {
  row_.push_back(',');
  mien::AppendNumber(row_, number);
}

void CsvAnimationWriter::AppendTenDecimals(double number) {
  char digits[kLongestWithTenDecimals];
  row_.push_back(',');
  row_.append(digits, WriteTenDecimals(digits, number));
}

void CsvAnimationWriter::EndRow() {
  row_.push_back('\n');
  out_.write(row_.data(), static_cast<std::streamsize>(row_.size()));
  row_.clear();
}

} // namespace mien
