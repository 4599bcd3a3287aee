#include "host/animation/csv_animation_writer.h"

namespace mien {

void CsvAnimationWriter::End() { out_.flush(); }

void CsvAnimationWriter::EndRow() {
  row_.push_back('\n');
  out_.write(row_.data(), static_cast<std::streamsize>(row_.size()));
  row_.clear();
}

} // namespace mien
