#pragma once

#include "host/base/json_file.h"
#include "host/base/json_text.h"
#include "host/performer/calibration.h"

#include <optional>
#include <string>
#include <vector>

namespace mien {

// A range as files of performers and of weights keep it:
//
//     "LeftEye.Close": { "low": 0.004, "high": 0.38, "seen": 11, "trusted": true, "why": "11 blinks" }
//
// Only "low" and "high" are required: a range without "trusted" is trusted.

/// Reads the range of a name. Mistakes are collected in the file; nothing where the ends are at fault.
std::optional<Range> ReadRange(JsonFile& file, const JsonFile::Pointer& place, const JsonFile::Json& range,
                               const std::string& name);

/// The takes that ranges were measured on: [{ "name": "ada.csv", "sha256": "..." }]. Mistakes are collected in
/// the file.
std::vector<CalibrationRecord::TakeFile> ReadTakeFiles(JsonFile& file, const JsonFile::Pointer& place,
                                                       const JsonFile::Json& takes);

/// A list, as JSON should have it here; otherwise false, and a mistake.
bool RequireList(JsonFile& file, const JsonFile::Pointer& place, const JsonFile::Json& list);

/// A string; empty, and a mistake, for anything else.
std::string ReadText(JsonFile& file, const JsonFile::Pointer& place, const JsonFile::Json& text);

/// A finite number; nothing, and a mistake, for anything else.
std::optional<double> ReadNumber(JsonFile& file, const JsonFile::Pointer& place,
                                 const JsonFile::Json& number);

JsonValue RangesAsJson(const std::vector<Range>& ranges);
JsonValue TakeFilesAsJson(const std::vector<CalibrationRecord::TakeFile>& takes);

} // namespace mien
