#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace mien {

/// Objects and arrays within each other that a text may have. What goes through a value by recursion can rely
/// on it.
inline constexpr std::size_t kDeepestJson = 256;

/// Why a text is refused.
struct JsonFault {
  enum class Kind {
    Syntax, ///< it is not JSON
    Number, ///< a number is beyond what a double holds
    Depth,  ///< it is nested deeper than kDeepestJson
  };
  Kind kind = Kind::Syntax;
  std::size_t at = 0; ///< the byte of the text; of a number or a bracket the first
  std::string number; ///< as written; for Kind::Number
};

struct ParsedJson {
  nlohmann::ordered_json json;    ///< null where there is a fault
  std::optional<JsonFault> fault; ///< the first
};

/// Parses a JSON text from a file that may be hostile. Time and memory grow with the length of the text
/// alone, however many elements an array and members an object has; a text that is nested too deep ends
/// there.
///
/// Of equal keys in one object the first counts. `repeated` is called for each further one, with its JSON
/// pointer, when its object ends.
ParsedJson ParseJson(std::string_view text, const std::function<void(const std::string& pointer)>& repeated);

/// A JSON pointer as messages show it: printable, and of one longer than 300 bytes the two ends, since keys
/// may be of any length.
std::string ShownPointer(std::string_view pointer);

} // namespace mien
