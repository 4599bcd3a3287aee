#include "host/view/page_data.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <new>
#include <vector>
#include <zlib.h>

namespace mien {

namespace {

/// Positive and negative numbers near 0 as small positive ones: 0, -1, 1, -2, ... are 0, 1, 2, 3, ...
std::uint64_t ZigZag(std::int64_t number) {
  return (static_cast<std::uint64_t>(number) << 1) ^ static_cast<std::uint64_t>(number >> 63);
}

/// The step, ten times as large as often as the largest value needs it to be in range.
double FittingStep(double step, double largest) {
  constexpr double kMostSteps = 1e9; // so that the difference of two is below 2^31
  while (!(largest / step <= kMostSteps)) step *= 10;
  return step;
}

} // namespace

PageData::Json PageData::AddTable(std::size_t rows, std::size_t columns, double step,
                                  const std::function<double(std::size_t, std::size_t)>& value) {
  double largest = 0;
  for (std::size_t c = 0; c < columns; ++c)
    for (std::size_t r = 0; r < rows; ++r)
      if (const double v = std::fabs(value(r, c)); std::isfinite(v)) largest = std::max(largest, v);
  step = FittingStep(step, largest);

  // Column by column, each value as its difference from the one before: codes from 1, and 0 for none.
  std::vector<std::uint32_t> codes;
  codes.reserve(rows * columns);
  std::uint32_t most = 0;
  for (std::size_t c = 0; c < columns; ++c) {
    std::int64_t last = 0;
    for (std::size_t r = 0; r < rows; ++r) {
      const double v = value(r, c);
      if (!std::isfinite(v)) {
        codes.push_back(0);
        continue;
      }
      const auto steps = static_cast<std::int64_t>(std::llround(v / step));
      codes.push_back(static_cast<std::uint32_t>(ZigZag(steps - last)) + 1);
      most = std::max(most, codes.back());
      last = steps;
    }
  }
  // First the low bytes of all, then the next ones: high bytes are mostly 0, and compress to almost nothing.
  std::size_t planes = 1;
  while (planes < 4 && most >> 8 * planes != 0) ++planes;
  std::string bytes;
  bytes.reserve(planes * codes.size());
  for (std::size_t plane = 0; plane < planes; ++plane)
    for (const std::uint32_t code : codes) bytes.push_back(static_cast<char>(code >> 8 * plane & 0xFF));

  Json table = Append(bytes);
  table["rows"] = rows;
  table["columns"] = columns;
  table["step"] = step;
  table["bytes"] = planes;
  return table;
}

PageData::Json PageData::AddBytes(std::string_view bytes) {
  Json place = Append(bytes);
  place["size"] = bytes.size();
  return place;
}

PageData::Json PageData::Append(std::string_view bytes) {
  uLongf length = compressBound(bytes.size());
  const std::size_t offset = bytes_.size();
  bytes_.resize(offset + length);
  // Fails only for want of memory: there is room for the most that these bytes can take.
  if (compress2(reinterpret_cast<Bytef*>(bytes_.data() + offset), &length,
                reinterpret_cast<const Bytef*>(bytes.data()), bytes.size(), Z_DEFAULT_COMPRESSION) != Z_OK)
    throw std::bad_alloc();
  bytes_.resize(offset + length);
  return {{"offset", offset}, {"length", length}};
}

std::string PageData::Base64() const {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes_.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes_.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes_.size() - i);
    std::uint32_t three = 0;
    for (std::size_t b = 0; b < 3; ++b)
      three = three << 8 | (b < count ? static_cast<unsigned char>(bytes_[i + b]) : 0u);
    for (std::size_t digit = 0; digit < 4; ++digit)
      text.push_back(digit <= count ? kDigits[three >> (18 - 6 * digit) & 63] : '=');
  }
  return text;
}

} // namespace mien
