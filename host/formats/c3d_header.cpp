#include "host/formats/c3d_header.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien::c3d {
namespace {

Processor ReadProcessor(const Header& header, std::vector<Note>& notes) {
  const std::size_t at = header.ParametersBegin() + 3;
  const unsigned code = Byte(header.bytes[at]);
  const unsigned index = code >= 1 && code <= 3 ? code - 1 : code - kIntelCode;
  if (index > 2)
    header.Fail(Code::InvalidValue, at,
                fmt::format("the processor is {} instead of 84 (Intel), 85 (DEC) or 86 (SGI)", code),
                kExportAgain);
  if (code < kIntelCode)
    notes.push_back({Code::InvalidValue, header.Place(at),
                     fmt::format("the processor is {}; taken as {}", code, index + kIntelCode)});
  return static_cast<Processor>(index);
}

} // namespace

std::size_t LeadingZeros(std::string_view bytes) {
  return std::min(bytes.find_first_not_of('\0'), bytes.size());
}

std::string Header::Place(std::size_t offset) const { return fmt::format("byte {}", offset + skipped); }

void Header::Fail(Code code, std::size_t offset, std::string_view what, std::string_view fix) const {
  throw InputError(code, file, Place(offset), what, fix);
}

Header ReadHeader(std::string_view bytes, const std::string& file, std::vector<Note>& notes) {
  const std::size_t zeros = LeadingZeros(bytes);
  if (zeros > 0)
    notes.push_back({Code::Ignored, "", fmt::format("{} zero bytes before the header are skipped", zeros)});
  Header header{file, bytes.substr(zeros), zeros};
  const std::size_t size = header.bytes.size();
  if (size < kBlock)
    header.Fail(Code::Truncated, size, "the file ends in its header, which has 512 bytes", kExportAgain);
  if (header.ParametersBegin() + 4 > size)
    header.Fail(Code::Truncated, size,
                fmt::format("the file ends before its parameters, at block {}", Byte(header.bytes[0])),
                kExportAgain);
  header.processor = ReadProcessor(header, notes);
  return header;
}

} // namespace mien::c3d
