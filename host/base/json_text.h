#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mien {

// JSON for people to read, put together from values that are written already: what belongs together stands on one line.

/// "key": value
std::string JsonMember(const std::string& key, std::string_view value);

/// An object with a line for each member. `indent` stands before its end, and two blanks more before each line.
std::string JsonLines(const std::vector<std::string>& members, std::string_view indent);

/// An object on one line.
std::string JsonLine(const std::vector<std::string>& members);

} // namespace mien
