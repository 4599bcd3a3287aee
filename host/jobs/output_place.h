#pragma once

#include "host/base/error.h"

#include <string>
#include <string_view>

namespace mien {

/// That a job's settings do not fit each other: an InputError of Code::Usage, whose place is the setting.
InputError UsageError(std::string_view setting, std::string_view what);

/// Throws a UsageError where an output is the job's own input, whatever name it goes by. `what` names the input: "the
/// take". `setting` is the output's.
void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       std::string_view setting = "output");

/// Whether what is written to both would end up in one file, which need not exist yet. "-" is standard output.
bool IsSamePlace(const std::string& a, const std::string& b);

/// Throws a UsageError where a name that goes into a file is not UTF-8 text.
void RequireUtf8(const std::string& name, std::string_view setting);

} // namespace mien
