#include "host/formats/c3d_parameters.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace mien::c3d {
namespace {

constexpr std::size_t kMostBlocks = 255; // a byte counts them
constexpr std::size_t kPreamble = 4;
constexpr std::size_t kMostDimensions = 7;

std::string Key(std::string_view group, std::string_view name) {
  return ToLower(group) + ':' + ToLower(name);
}

int SignedByte(char c) { return static_cast<signed char>(c); }

std::string_view Trimmed(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  constexpr std::string_view kBlank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

// A group or a parameter in the section. Offsets count from the header.
struct Record {
  std::size_t at = 0;
  std::string_view name;
  int id = 0; // of the group; negative where this record is a group
  std::size_t body_at = 0;
  std::string_view body; // cut off where the section ends
  std::optional<std::size_t> next;
};

// The record at `at`, whose first two bytes are in the section. Nothing, and a note, where the section breaks
// off.
std::optional<Record> ReadRecord(const Header& header, std::size_t at, std::size_t limit,
                                 std::vector<Note>& notes) {
  const auto name_length =
      static_cast<std::size_t>(std::abs(SignedByte(header.bytes[at]))); // negative: locked
  const std::size_t link = at + 2 + name_length;
  if (link + 2 > limit) {
    notes.push_back({Code::Truncated, header.Place(at), "the parameters end within one"});
    return std::nullopt;
  }
  Record record;
  record.at = at;
  record.name = header.bytes.substr(at + 2, name_length);
  record.id = SignedByte(header.bytes[at + 1]);
  const std::size_t step = WordAt(header.processor, &header.bytes[link]); // 0: the last record
  const bool is_text = std::none_of(record.name.begin(), record.name.end(),
                                    [](unsigned char c) { return c < 0x20 || c == 0x7F; });
  if (!is_text || record.id == 0 || step == 1) {
    notes.push_back(
        {Code::Syntax, header.Place(at), "this is not a parameter; it is ignored, and so is what follows"});
    return std::nullopt;
  }
  if (step > 0) record.next = link + step;
  record.body_at = link + 2;
  record.body =
      header.bytes.substr(record.body_at, std::min(record.next.value_or(limit), limit) - record.body_at);
  return record;
}

// The value in a record's body of two bytes or more; nothing for an unknown type. `whole` becomes false where
// the data are shorter than the dimensions say.
std::optional<Parameter> ReadParameter(const Record& record, bool& whole) {
  Parameter parameter;
  parameter.type = SignedByte(record.body[0]);
  const std::size_t dimensions = Byte(record.body[1]);
  constexpr std::size_t kBeyondAnySection = std::size_t{1} << 20;
  auto size = static_cast<std::size_t>(std::abs(parameter.type));
  const bool known = size == 1 || parameter.type == 2 || parameter.type == 4; // -1, 1, 2, 4
  whole = known && dimensions <= kMostDimensions && 2 + dimensions <= record.body.size();
  if (!whole) return std::nullopt;
  for (std::size_t i = 0; i < dimensions; ++i) {
    const std::size_t dimension = Byte(record.body[2 + i]);
    if (i == 0) parameter.text_length = dimension;
    size = std::min(size * dimension, kBeyondAnySection);
  }
  parameter.data = record.body.substr(2 + dimensions, size);
  whole = parameter.data.size() == size;
  parameter.end = record.body_at + 2 + dimensions + parameter.data.size();
  return parameter;
}

std::size_t NumberCount(const Parameter& parameter) {
  return parameter.type < 0 ? 0 : parameter.data.size() / static_cast<std::size_t>(parameter.type);
}

} // namespace

Parameters::Parameters(const Header& header, std::vector<Note>& notes) : processor_(header.processor) {
  const std::size_t begin = header.ParametersBegin();
  const std::size_t declared = begin + std::size_t{Byte(header.bytes[begin + 2])} * kBlock;
  const std::size_t limit =
      std::min({header.bytes.size(), std::max(declared, header.DataBegin()), begin + kMostBlocks * kBlock});

  std::map<int, std::string_view> groups;
  std::vector<std::pair<Record, Parameter>> found;
  std::vector<std::string> cut;
  end_ = std::min(begin + kPreamble, limit);
  for (std::size_t at = begin + kPreamble; at + 2 <= limit && header.bytes[at] != 0;) {
    const std::optional<Record> record = ReadRecord(header, at, limit, notes);
    if (!record) break;
    if (record->id < 0) {
      groups.try_emplace(-record->id, record->name);
      end_ = record->body_at;
    } else if (record->body.size() >= 2) {
      bool whole = true;
      if (const std::optional<Parameter> parameter = ReadParameter(*record, whole)) {
        end_ = parameter->end;
        found.emplace_back(*record, *parameter);
      }
      if (!whole) cut.push_back(Quoted(record->name));
    }
    if (!record->next) break;
    if (*record->next > limit) {
      notes.push_back({Code::Syntax, header.Place(at),
                       fmt::format("the parameter after {} would begin behind the end of the parameters",
                                   Quoted(record->name))});
      break;
    }
    at = *record->next;
  }
  for (const auto& [record, parameter] : found)
    if (const auto group = groups.find(record.id); group != groups.end())
      parameters_.try_emplace(Key(group->second, record.name), parameter);
  if (!cut.empty())
    notes.push_back(
        {Code::Syntax, "",
         fmt::format("{} shorter than declared or of an unknown type; the first is {}",
                     cut.size() == 1 ? "1 parameter is" : fmt::format("{} parameters are", cut.size()),
                     cut.front())});
}

bool Parameters::CutAt(std::size_t data_begin) {
  return std::erase_if(parameters_, [&](const auto& entry) { return entry.second.end > data_begin; }) > 0;
}

const Parameter* Parameters::Find(std::string_view group, std::string_view name) const {
  const auto found = parameters_.find(Key(group, name));
  return found == parameters_.end() ? nullptr : &found->second;
}

template <typename Use>
void Parameters::ForEachPart(std::string_view group, std::string_view name, const Use& use) const {
  const Parameter* part = Find(group, name);
  for (int number = 2; part; ++number) {
    use(*part);
    part = Find(group, fmt::format("{}{}", name, number));
  }
}

double Parameters::NumberAt(const Parameter& parameter, std::size_t index) const {
  const char* const at = parameter.data.data() + index * static_cast<std::size_t>(parameter.type);
  if (parameter.type == 1) return SignedByte(*at);
  if (parameter.type == 2) return static_cast<std::int16_t>(WordAt(processor_, at));
  return RealAt(processor_, at);
}

std::optional<double> Parameters::Number(std::string_view group, std::string_view name,
                                         std::size_t index) const {
  const Parameter* const parameter = Find(group, name);
  if (!parameter || index >= NumberCount(*parameter)) return std::nullopt;
  return NumberAt(*parameter, index);
}

std::optional<std::uint32_t> Parameters::Count(std::string_view group, std::string_view name,
                                               std::size_t index) const {
  const std::optional<double> number = Number(group, name, index);
  if (!number) return std::nullopt;
  double count = std::round(*number);
  const int type = Find(group, name)->type;
  if (count < 0 && type != 4) count += type == 1 ? 0x100 : 0x10000;
  if (!(count >= 0 && count < 0x1p32)) return std::nullopt;
  return static_cast<std::uint32_t>(count);
}

std::optional<std::uint32_t> Parameters::CountOfTwoWords(std::string_view group,
                                                         std::string_view name) const {
  const std::optional<std::uint32_t> low = Count(group, name, 0);
  if (!low || *low > kMostInWord) return low;
  const std::uint32_t high = Count(group, name, 1).value_or(0);
  return high <= kMostInWord ? high << 16 | *low : *low;
}

std::vector<double> Parameters::Numbers(std::string_view group, std::string_view name) const {
  std::vector<double> numbers;
  ForEachPart(group, name, [&](const Parameter& part) {
    for (std::size_t i = 0; i < NumberCount(part); ++i) numbers.push_back(NumberAt(part, i));
  });
  return numbers;
}

std::vector<std::string> Parameters::Texts(std::string_view group, std::string_view name) const {
  std::vector<std::string> texts;
  ForEachPart(group, name, [&](const Parameter& part) {
    if (part.type != -1 || part.text_length == 0) return;
    for (std::size_t i = 0; i + part.text_length <= part.data.size(); i += part.text_length)
      texts.emplace_back(Trimmed(part.data.substr(i, part.text_length)));
  });
  return texts;
}

std::string Parameters::Text(std::string_view group, std::string_view name) const {
  const std::vector<std::string> texts = Texts(group, name);
  return texts.empty() ? std::string() : texts.front();
}

} // namespace mien::c3d
