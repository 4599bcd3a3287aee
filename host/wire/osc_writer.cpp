#include "host/wire/osc_writer.h"

#include "host/wire/byte_writer.h"

#include <bit>
#include <cstdint>

namespace mien {

namespace {

/// Appends the text, a zero, and more zeros up to four bytes.
void AppendPadded(std::string& packet, std::string_view text) {
  text = text.substr(0, text.find('\0'));
  packet += text;
  packet.append(4 - text.size() % 4, '\0');
}

constexpr char TypeOf(const OscWriter::Argument& argument) {
  constexpr std::string_view kTypes = "ifs"; // in the order of the variant
  return kTypes[argument.index()];
}

} // namespace

void OscWriter::Append(std::string& packet, std::string_view address,
                       std::initializer_list<Argument> arguments) {
  AppendPadded(packet, address);
  std::string types = ",";
  for (const Argument& argument : arguments) types += TypeOf(argument);
  AppendPadded(packet, types);
  for (const Argument& argument : arguments) {
    if (const int* const integer = std::get_if<int>(&argument))
      AppendBig(packet, std::bit_cast<std::uint32_t>(*integer));
    else if (const float* const number = std::get_if<float>(&argument))
      AppendBig(packet, *number);
    else
      AppendPadded(packet, std::get<std::string_view>(argument));
  }
}

void OscWriter::AppendFloats(std::string& packet, std::string_view address, std::span<const float> values) {
  AppendPadded(packet, address);
  AppendPadded(packet, "," + std::string(values.size(), 'f'));
  for (const float value : values) AppendBig(packet, value);
}

void OscBundles::Add(std::string_view address, std::initializer_list<OscWriter::Argument> arguments) {
  message_.clear();
  OscWriter::Append(message_, address, arguments);
  AddMessage();
}

void OscBundles::AddFloats(std::string_view address, std::span<const float> values) {
  message_.clear();
  OscWriter::AppendFloats(message_, address, values);
  AddMessage();
}

void OscBundles::AddMessage() {
  const std::size_t size = sizeof(std::uint32_t) + message_.size();
  if (used_ == 0 || bundles_[used_ - 1].size() + size > kMostDatagram) {
    if (used_ == bundles_.size()) bundles_.emplace_back();
    // Its time tag says: at once.
    bundles_[used_++].assign("#bundle\0\0\0\0\0\0\0\0\1", 16);
  }
  std::string& bundle = bundles_[used_ - 1];
  AppendBig(bundle, static_cast<std::uint32_t>(message_.size()));
  bundle += message_;
}

} // namespace mien
