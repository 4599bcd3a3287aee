#include "host/formats/c3d_parameter_writer.h"

#include "host/base/error.h"
#include "host/formats/c3d_header.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace mien::c3d {
namespace {

constexpr std::size_t kMostBlocks = 255;  // a byte counts them
constexpr std::size_t kMostInArray = 255; // likewise, of each dimension
constexpr std::size_t kMostInRecord =
    0x7FFF; // bytes to the next one, a word that some programs read with a sign
constexpr std::size_t kPreamble = 4;
constexpr std::size_t kEnd = 2; // zeros for a name length and a group

} // namespace

void AppendWord(std::string& bytes, std::int64_t word) {
  bytes += static_cast<char>(word & 0xFF);
  bytes += static_cast<char>(word >> 8 & 0xFF);
}

void AppendReal(std::string& bytes, double real) {
  const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(real));
  AppendWord(bytes, bits & 0xFFFF);
  AppendWord(bytes, bits >> 16);
}

void ParameterWriter::Group(std::string_view name) {
  ++group_;
  Record(name, -group_, "");
}

void ParameterWriter::Word(std::string_view name, std::int64_t word) {
  std::string body = {2, 0};
  AppendWord(body, word);
  Record(name, group_, body);
}

void ParameterWriter::TwoWords(std::string_view name, std::int64_t number) {
  std::string body = {2, 1, 2};
  AppendWord(body, number & 0xFFFF);
  AppendWord(body, number >> 16);
  Record(name, group_, body);
}

void ParameterWriter::Real(std::string_view name, double real) {
  std::string body = {4, 0};
  AppendReal(body, real);
  Record(name, group_, body);
}

void ParameterWriter::Text(std::string_view name, std::string_view text) {
  std::string body = {'\xFF', 1, static_cast<char>(text.size())};
  Record(name, group_, body.append(text));
}

void ParameterWriter::Texts(std::string_view name, const std::vector<std::string_view>& texts) {
  ForEachArray(name, texts.size(), [&](std::size_t first, std::size_t end) {
    std::size_t length = 1;
    for (std::size_t i = first; i < end; ++i) length = std::max(length, texts[i].size());
    std::string body = {'\xFF', 2, static_cast<char>(length), static_cast<char>(end - first)};
    for (std::size_t i = first; i < end; ++i) body.append(texts[i]).append(length - texts[i].size(), ' ');
    return body;
  });
}

void ParameterWriter::Times(std::string_view name, const std::vector<TakeEvent>& events) {
  ForEachArray(name, events.size(), [&](std::size_t first, std::size_t end) {
    std::string body = {4, 2, 2, static_cast<char>(end - first)};
    for (std::size_t i = first; i < end; ++i) {
      const auto minutes = static_cast<float>(std::floor(std::max(events[i].time, 0.0) / 60));
      AppendReal(body, static_cast<double>(minutes));
      AppendReal(body, events[i].time - 60 * static_cast<double>(minutes)); // what rounded minutes leave
    }
    return body;
  });
}

void ParameterWriter::DataStart() {
  Word("DATA_START", 0);
  data_start_at_ = records_.size() - 3;
}

std::string ParameterWriter::Finish(std::size_t begin) {
  const std::size_t blocks = (kPreamble + records_.size() + kEnd + kBlock - 1) / kBlock;
  if (blocks > kMostBlocks) FailLong();
  std::string data_start;
  AppendWord(data_start, static_cast<std::int64_t>(begin + blocks));
  std::string section = {1, static_cast<char>(kKey), static_cast<char>(blocks),
                         static_cast<char>(kIntelCode)};
  section += records_.replace(data_start_at_, data_start.size(), data_start);
  section.resize(blocks * kBlock);
  return section;
}

template <typename BodyOf>
void ParameterWriter::ForEachArray(std::string_view name, std::size_t count, const BodyOf& body) {
  for (std::size_t first = 0, number = 1; first < count; first += kMostInArray, ++number)
    Record(number == 1 ? std::string(name) : fmt::format("{}{}", name, number), group_,
           body(first, std::min(first + kMostInArray, count)));
}

void ParameterWriter::Record(std::string_view name, int id, std::string_view body) {
  const std::size_t step = 2 + body.size() + 1; // the offset itself, and a description of no length
  if (step > kMostInRecord) FailLong();
  records_ += static_cast<char>(name.size());
  records_ += static_cast<char>(id);
  records_ += name;
  AppendWord(records_, static_cast<std::int64_t>(step));
  records_ += body;
  records_ += '\0';
}

void ParameterWriter::FailLong() const {
  throw InputError(Code::Limit, file_, "",
                   "the names of the take's markers and events together are too long for a C3D file",
                   "shorten them, or leave markers out");
}

} // namespace mien::c3d
