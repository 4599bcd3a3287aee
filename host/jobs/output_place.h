#pragma once

#include "host/base/error.h"

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// That a job's settings do not fit each other: an InputError of Code::Usage, whose place is the setting.
InputError UsageError(std::string_view setting, std::string_view what);

/// Whether what is written there is neither a file nor going to be one: standard output, a pipe or a device.
/// Their names say nothing of a format, unless they end in one's.
bool IsStream(const std::string& output);

/// Throws a UsageError where an output is the job's own input, whatever name it goes by. `what` names the
/// input: "the take". `setting` is the output's.
void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       std::string_view setting = "output");

/// Whether what is written to both would end up in one file, which need not exist yet. "-" is standard
/// output.
bool IsSamePlace(const std::string& a, const std::string& b);

/// An input as a setting of a job names it.
struct NamedInput {
  std::string_view setting; ///< "performer"
  std::string_view file;    ///< may be empty
};

/// Throws a UsageError where two inputs are standard input, which can be read once.
void RefuseReadingTwice(const std::vector<NamedInput>& inputs);

/// Throws a UsageError where a name that goes into a file is not UTF-8 text.
void RequireUtf8(const std::string& name, std::string_view setting);

} // namespace mien
