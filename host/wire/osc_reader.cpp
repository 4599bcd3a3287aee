#include "host/wire/osc_reader.h"

#include "host/wire/byte_reader.h"

#include <bit>
#include <cmath>

namespace mien {

namespace {

constexpr std::string_view kBundle("#bundle\0", 8);
constexpr std::size_t kTimeTag = 8;

/// A text that ends with a zero and is padded with zeros to four bytes; nothing where it does not end.
std::optional<std::string_view> PaddedText(ByteReader& reader, std::string_view rest) {
  const std::size_t size = rest.find('\0');
  if (size == std::string_view::npos) return std::nullopt;
  const std::string_view text = reader.Text(size);
  reader.Skip(4 - size % 4);
  if (reader.HasFailed()) return std::nullopt;
  return text;
}

/// Reads an argument of this type; false for a type that OSC does not have, whose size is not known.
bool ReadArgument(ByteReader& reader, std::string_view bytes, OscArgument& argument) {
  switch (argument.type) {
  case 'i':
    argument.number = std::bit_cast<std::int32_t>(reader.Big32());
    return true;
  case 'f':
    argument.number = static_cast<double>(reader.BigFloat());
    return true;
  case 'h':
    argument.number = static_cast<double>(std::bit_cast<std::int64_t>(reader.Big64()));
    return true;
  case 'd':
    argument.number = reader.BigDouble();
    return true;
  case 'c':
  case 'r':
  case 'm':
    reader.Skip(4);
    return true;
  case 't':
    reader.Skip(8);
    return true;
  case 'T':
    argument.number = 1;
    return true;
  case 'F':
  case 'N':
  case 'I':
  case '[':
  case ']':
    return true;
  case 's':
  case 'S': {
    const auto text = PaddedText(reader, bytes.substr(bytes.size() - reader.Left()));
    if (text) argument.text = *text;
    return text.has_value();
  }
  case 'b': {
    const std::size_t size = reader.Big32();
    reader.Skip(size);
    if (!reader.HasFailed()) reader.Skip((4 - size % 4) % 4);
    return true;
  }
  default:
    return false;
  }
}

} // namespace

bool OscMessage::Begins(std::string_view types) const {
  if (arguments.size() < types.size()) return false;
  for (std::size_t i = 0; i < types.size(); ++i)
    if (types[i] == 's' ? !arguments[i].IsText()
                        : !arguments[i].IsNumber() || !std::isfinite(arguments[i].number))
      return false;
  return true;
}

std::optional<std::string_view> OscReader::ReadElement(std::string_view element,
                                                       const std::function<void(const OscMessage&)>& message,
                                                       std::size_t depth) {
  if (!element.starts_with(kBundle)) return ReadMessage(element, message);
  if (depth == kDeepestOscBundle) return "bundles are nested too deep";
  ByteReader reader(element);
  reader.Skip(kBundle.size() + kTimeTag);
  while (reader.Left() > 0) {
    const std::string_view inner = reader.Text(reader.Big32());
    if (reader.HasFailed()) break;
    if (auto fault = ReadElement(inner, message, depth + 1)) return fault;
  }
  if (reader.HasFailed()) return "a bundle is cut short";
  return std::nullopt;
}

std::optional<std::string_view>
OscReader::ReadMessage(std::string_view bytes, const std::function<void(const OscMessage&)>& message) {
  if (!bytes.starts_with('/')) return "not OSC";
  ByteReader reader(bytes);
  const auto address = PaddedText(reader, bytes);
  if (!address) return "an address does not end";
  arguments_.clear();
  if (reader.Left() > 0) { // very old senders leave out the types of a message without arguments
    const auto types = PaddedText(reader, bytes.substr(bytes.size() - reader.Left()));
    if (!types || !types->starts_with(',')) return "the types of the arguments are missing";
    if (types->size() - 1 > kMostOscArguments) return "a message has too many arguments";
    for (const char type : types->substr(1)) {
      OscArgument& argument = arguments_.emplace_back();
      argument.type = type;
      if (!ReadArgument(reader, bytes, argument)) return "an argument cannot be read";
      if (reader.HasFailed()) return "an argument is cut short";
    }
  }
  message({*address, arguments_});
  return std::nullopt;
}

} // namespace mien
