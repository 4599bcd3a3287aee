#include "host/formats/c3d_parameters.h"

#include "host/base/error.h"
#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace mien {
namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kMostBlocks = 255; // a byte counts them
constexpr std::size_t kPreamble = 4;
constexpr std::size_t kMostDimensions = 7;

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper;
}

std::string Key(std::string_view group, std::string_view name) { return Upper(group) + ':' + Upper(name); }

int SignedByte(char c) { return static_cast<signed char>(c); }

std::string_view Trimmed(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  constexpr std::string_view kBlank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

} // namespace

C3dParameters::C3dParameters(std::string_view bytes, std::size_t begin, std::size_t data_begin,
                             std::size_t skipped, C3dProcessor processor, std::vector<std::string>& notes)
    : processor_(processor) {
  const std::size_t blocks = static_cast<unsigned char>(bytes[begin + 2]);
  const std::size_t declared = begin + blocks * kBlock;
  const std::size_t limit =
      std::min({bytes.size(), std::max(declared, data_begin), begin + kMostBlocks * kBlock});
  const auto note = [&](std::size_t at, std::string_view what) {
    notes.push_back(fmt::format("byte {}: {}", at + skipped, what));
  };

  std::map<int, std::string_view> groups;
  std::vector<std::pair<int, std::pair<std::string_view, Parameter>>> found; // by group id
  std::size_t cut = 0;
  std::string first_cut;
  std::size_t at = begin + kPreamble;
  end_ = std::min(at, limit);
  while (at + 2 <= limit && bytes[at] != 0) {
    const auto name_length = static_cast<std::size_t>(std::abs(SignedByte(bytes[at]))); // negative: locked
    const int id = SignedByte(bytes[at + 1]);
    const std::size_t link = at + 2 + name_length;
    if (link + 2 > limit) {
      note(at, "the parameters end in the middle of one");
      break;
    }
    const std::string_view name = bytes.substr(at + 2, name_length);
    const std::size_t step = C3dWord(processor, &bytes[link]);
    const bool is_text =
        std::none_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
    if (!is_text || id == 0 || step == 1) {
      note(at, "this is no parameter; it and what follows is ignored");
      break;
    }
    const bool last = step == 0;
    const std::size_t next = last ? limit : link + step;
    const std::size_t end = std::min(next, limit);
    std::string_view body = bytes.substr(link + 2, end - link - 2);
    if (id < 0) {
      groups.try_emplace(-id, name);
      end_ = link + 2;
    } else if (body.size() >= 2) {
      Parameter parameter;
      parameter.type = SignedByte(body[0]);
      const std::size_t dimensions = static_cast<unsigned char>(body[1]);
      constexpr std::size_t kBeyondAnySection = std::size_t{1} << 20;
      auto size = static_cast<std::size_t>(std::abs(parameter.type));
      const bool known = size == 1 || parameter.type == 2 || parameter.type == 4; // -1, 1, 2, 4
      if (!known || dimensions > kMostDimensions || 2 + dimensions > body.size()) {
        ++cut;
        if (first_cut.empty()) first_cut = Quoted(name);
      } else {
        for (std::size_t i = 0; i < dimensions; ++i) {
          const std::size_t dimension = static_cast<unsigned char>(body[2 + i]);
          if (i == 0) parameter.text_length = dimension;
          size = std::min(size * dimension, kBeyondAnySection);
        }
        parameter.data = body.substr(2 + dimensions, size);
        if (parameter.data.size() < size) {
          ++cut;
          if (first_cut.empty()) first_cut = Quoted(name);
        }
        parameter.end = link + 2 + 2 + dimensions + parameter.data.size();
        end_ = parameter.end;
        found.emplace_back(id, std::pair(name, parameter));
      }
    }
    if (last) break;
    if (next > limit) {
      note(at, fmt::format("the parameter after {} would begin beyond the parameters' end", Quoted(name)));
      break;
    }
    at = next;
  }
  for (const auto& [id, parameter] : found)
    if (const auto group = groups.find(id); group != groups.end())
      parameters_.try_emplace(Key(group->second, parameter.first), parameter.second);
  if (cut > 0)
    notes.push_back(fmt::format("{} parameter{} shorter than declared, or of no known type; the first is {}",
                                cut, cut == 1 ? " is" : "s are", first_cut));
}

bool C3dParameters::CutAt(std::size_t data_begin) {
  return std::erase_if(parameters_, [&](const auto& entry) { return entry.second.end > data_begin; }) > 0;
}

const C3dParameters::Parameter* C3dParameters::Find(std::string_view group, std::string_view name) const {
  const auto found = parameters_.find(Key(group, name));
  return found == parameters_.end() ? nullptr : &found->second;
}

template <typename Use>
void C3dParameters::ForEachPart(std::string_view group, std::string_view name, const Use& use) const {
  const Parameter* part = Find(group, name);
  for (int number = 2; part; ++number) {
    use(*part);
    part = Find(group, fmt::format("{}{}", name, number));
  }
}

std::size_t C3dParameters::NumberCount(const Parameter& parameter) const {
  return parameter.type < 0 ? 0 : parameter.data.size() / static_cast<std::size_t>(parameter.type);
}

double C3dParameters::NumberAt(const Parameter& parameter, std::size_t index) const {
  const char* const at = parameter.data.data() + index * static_cast<std::size_t>(parameter.type);
  if (parameter.type == 1) return SignedByte(*at);
  if (parameter.type == 2) return static_cast<std::int16_t>(C3dWord(processor_, at));
  return C3dReal(processor_, at);
}

std::optional<double> C3dParameters::Number(std::string_view group, std::string_view name,
                                            std::size_t index) const {
  const Parameter* const parameter = Find(group, name);
  if (!parameter || index >= NumberCount(*parameter)) return std::nullopt;
  return NumberAt(*parameter, index);
}

std::optional<std::uint32_t> C3dParameters::Count(std::string_view group, std::string_view name,
                                                  std::size_t index) const {
  const std::optional<double> number = Number(group, name, index);
  if (!number) return std::nullopt;
  double count = std::round(*number);
  const int type = Find(group, name)->type;
  if (count < 0 && type != 4) count += type == 1 ? 0x100 : 0x10000;
  if (!(count >= 0 && count < 0x1p32)) return std::nullopt;
  return static_cast<std::uint32_t>(count);
}

std::vector<double> C3dParameters::Numbers(std::string_view group, std::string_view name) const {
  std::vector<double> numbers;
  ForEachPart(group, name, [&](const Parameter& part) {
    for (std::size_t i = 0; i < NumberCount(part); ++i) numbers.push_back(NumberAt(part, i));
  });
  return numbers;
}

std::vector<std::string> C3dParameters::Texts(std::string_view group, std::string_view name) const {
  std::vector<std::string> texts;
  ForEachPart(group, name, [&](const Parameter& part) {
    if (part.type != -1 || part.text_length == 0) return;
    for (std::size_t i = 0; i + part.text_length <= part.data.size(); i += part.text_length)
      texts.emplace_back(Trimmed(part.data.substr(i, part.text_length)));
  });
  return texts;
}

std::string C3dParameters::Text(std::string_view group, std::string_view name) const {
  const std::vector<std::string> texts = Texts(group, name);
  return texts.empty() ? std::string() : texts.front();
}

} // namespace mien
