#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace mien {

/// The numbers and files that a page holds: one string of bytes, compressed, into which the page's JSON points.
/// viewer/README.md describes the format for its reader.
class PageData {
public:
  using Json = nlohmann::ordered_json;

  /// Adds a table, of which the page reads each value to within half a `step` (above 0). A value that is NaN is
  /// missing there. A table with values beyond two thousand million steps gets larger steps. Returns where it is.
  Json AddTable(std::size_t rows, std::size_t columns, double step,
                const std::function<double(std::size_t row, std::size_t column)>& value);

  /// Adds bytes as they are. Returns where they are.
  Json AddBytes(std::string_view bytes);

  /// Everything that was added, as base64.
  std::string Base64() const;

private:
  /// Appends a zlib stream of these bytes. Returns its place.
  Json Append(std::string_view bytes);

  std::string bytes_;
};

} // namespace mien
