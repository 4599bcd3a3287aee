#pragma once

// Reads a page's data back, as its script does.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>
#include <zlib.h>

namespace tests {

using Json = nlohmann::ordered_json;

inline std::string FromBase64(std::string_view text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  EXPECT_EQ(text.size() % 4, 0u);
  std::string bytes;
  for (std::size_t i = 0; i + 4 <= text.size(); i += 4) {
    std::uint32_t three = 0;
    std::size_t count = 0;
    for (std::size_t d = 0; d < 4; ++d) {
      const std::size_t digit = kDigits.find(text[i + d]);
      three = three << 6 | static_cast<std::uint32_t>(digit == std::string_view::npos ? 0 : digit);
      count += digit != std::string_view::npos;
    }
    for (std::size_t b = 0; b + 1 < count; ++b)
      bytes.push_back(static_cast<char>(three >> (16 - 8 * b) & 0xFF));
  }
  return bytes;
}

inline std::string Inflated(const std::string& bytes, const Json& place, std::size_t size) {
  std::string inflated(size, '\0');
  uLongf length = size;
  const auto offset = place["offset"].get<std::size_t>(), count = place["length"].get<std::size_t>();
  EXPECT_LE(offset + count, bytes.size());
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(inflated.data()), &length,
                       reinterpret_cast<const Bytef*>(bytes.data() + offset), count),
            Z_OK);
  EXPECT_EQ(length, size);
  return inflated;
}

/// A table, row by row; NaN for what is missing.
inline std::vector<double> TableOf(const std::string& bytes, const Json& table) {
  const auto rows = table["rows"].get<std::size_t>(), columns = table["columns"].get<std::size_t>(),
             planes = table["bytes"].get<std::size_t>(), count = rows * columns;
  const std::string codes = Inflated(bytes, table, planes * count);
  std::vector<double> values(count);
  for (std::size_t c = 0; c < columns; ++c) {
    std::int64_t steps = 0;
    for (std::size_t r = 0; r < rows; ++r) {
      std::uint32_t code = 0;
      for (std::size_t plane = planes; plane-- > 0;)
        code = code << 8 | static_cast<unsigned char>(codes[plane * count + c * rows + r]);
      if (code == 0) {
        values[r * columns + c] = std::numeric_limits<double>::quiet_NaN();
        continue;
      }
      const std::uint32_t zigzag = code - 1;
      steps += static_cast<std::int64_t>(zigzag >> 1) ^ -static_cast<std::int64_t>(zigzag & 1);
      values[r * columns + c] = static_cast<double>(steps) * table["step"].get<double>();
    }
  }
  return values;
}

/// The two parts of a page made with the viewer kViewer.
inline constexpr std::string_view kViewer = "<a>MIEN_DATA</a><b>MIEN_BYTES</b>";

struct Page {
  Json data;
  std::string bytes;
};

inline Page ReadPage(const std::string& html) {
  const std::size_t middle = html.find("</a><b>"), end = html.rfind("</b>");
  EXPECT_TRUE(html.starts_with("<a>") && middle != std::string::npos && end != std::string::npos);
  return {Json::parse(html.substr(3, middle - 3)), FromBase64(html.substr(middle + 7, end - middle - 7))};
}

} // namespace tests
