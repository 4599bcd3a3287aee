#include "mien/base/bounded_text.h"

#include <cstring>

namespace mien {

bool CopyBounded(char (&buffer)[256], const char* text) {
  const std::size_t bytes = std::strlen(text) + 1;
  if (bytes > sizeof buffer) return false;
  std::memmove(buffer, text, bytes);
  return true;
}

bool EqualIgnoringCase(const char* a, const char* b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  while (*a != '\0' && lower(*a) == lower(*b)) ++a, ++b;
  return lower(*a) == lower(*b);
}

} // namespace mien
