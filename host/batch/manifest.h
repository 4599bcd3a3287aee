#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// What a line gives under one name: "performer": "landmarks68".
struct ManifestValue {
  std::string name;
  std::vector<std::string> texts; ///< one, or those of a list; not empty
  std::string place;              ///< in the manifest: "7:12"; empty for what the command line gives
};

struct ManifestLine {
  std::size_t number = 0; ///< in the file, from 1; of takes that a pattern found, among them
  std::vector<ManifestValue> values;
};

/// A column of a table, which may have no values.
struct ManifestColumn {
  std::string name;
  std::string place;
};

/// The lines of a batch as their file, or a pattern, gives them. Names and values are not checked yet.
struct Manifest {
  std::string file;                    ///< for messages; empty for takes that a pattern found
  std::filesystem::path folder;        ///< that relative paths in it start from; empty for the current one
  std::vector<ManifestColumn> columns; ///< of a table
  std::vector<ManifestLine> lines;
};

/// Reads a manifest: a CSV table whose header names the columns, or JSON lines, an object in each. What comes
/// first decides: JSON begins with {. An empty field of the table, and null, give nothing. JSON values are
/// texts, numbers, true and false, and lists of texts and numbers.
///
/// Throws InputError with line and column. `file` is the name for messages.
Manifest ReadManifest(std::string_view bytes, const std::string& file);

/// A line with "take" for each file that the pattern of glob(7) finds, by name. Throws InputError where there
/// is none.
Manifest FindTakes(const std::string& pattern);

} // namespace mien
