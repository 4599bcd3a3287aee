#include "host/inspect/text_table.h"

#include <algorithm>

namespace mien {

namespace {

bool Continues(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; } // a UTF-8 character

} // namespace

std::size_t Columns(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), Continues));
}

std::string Padded(std::string_view text, std::size_t columns) {
  const std::size_t width = Columns(text);
  return std::string(text).append(width < columns ? columns - width : 0, ' ');
}

std::string Shortened(std::string_view text, std::size_t columns) {
  if (Columns(text) <= columns) return std::string(text);
  std::size_t end = 0;
  for (std::size_t shown = 0; shown + 2 < columns; ++shown) do
      ++end;
    while (Continues(text[end]));
  return std::string(text.substr(0, end)) + "..";
}

std::string Table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], Columns(row[c]));
  }
  std::string text;
  for (const auto& row : rows) {
    for (std::size_t c = 0; c < row.size(); ++c) {
      text += "  ";
      text += c > 0            ? std::string(widths[c] - Columns(row[c]), ' ') + row[c]
              : row.size() > 1 ? Padded(row[c], widths[c])
                               : row[c];
    }
    text += '\n';
  }
  return text;
}

} // namespace mien
