#include "host/c_interface/mien_host.h"
#include "host/character/character_file.h"
#include "host/performer/performer_file.h"

#include <string>
#include <vector>

namespace {

const char* NameAt(const std::vector<std::string>& names, size_t index) {
  return index < names.size() ? names[index].c_str() : nullptr;
}

} // namespace

// Where there is no memory for the names, there is none to report it with either: null.

const char* mien_performer_built_in(size_t index) try {
  static const std::vector<std::string> names = mien::BuiltInPerformers();
  return NameAt(names, index);
} catch (...) { return nullptr; }

const char* mien_character_built_in(size_t index) try {
  static const std::vector<std::string> names = mien::BuiltInCharacters();
  return NameAt(names, index);
} catch (...) { return nullptr; }
