#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mien {

/// Prints to standard error. What cannot be printed there is lost: it would be nobody's input that is at fault.
void Report(std::string_view text);

/// One line of a command's report: a title column, then the text with control characters as '?'.
void ReportLine(std::string_view title, std::string_view text);

/// Refuses an output that is the command's input, whatever name it goes by, as a fault of the command line. `what` names
/// the input.
void RefuseOverwriting(const std::string& output, const std::string& input, std::string_view what,
                       const char* option = "--output");

} // namespace mien
