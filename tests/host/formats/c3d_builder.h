#pragma once

// C3D files for tests, put together by hand: every field can be changed, and no code is shared with the reader or the writer.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tests {

struct C3dBuilder {
  static constexpr int kIntel = 84, kDec = 85, kSgi = 86;

  struct Value {
    int type = 2; // -1 text, 1 byte, 2 word, 4 float
    std::vector<int> dimensions;
    std::vector<double> numbers;
    std::string text;
  };
  struct Parameter {
    std::string group, name;
    Value value;
  };
  // x, y, z in the file's unit, and the fourth word.
  using Position = std::array<double, 4>;

  int processor = kIntel;
  bool real = true;
  double scale = 0.5;
  int points = 2;
  std::vector<std::vector<Position>> frames = {{{1, 2, 3, 0x0302}, {4, 5, 6, 0x0101}},
                                               {{1.5, 2.5, 3.5, 0x7F01}, {0, 0, 0, -1}},
                                               {{-8, -16.5, 300, 0}, {7, 8, 9, 0x00FF}}};
  std::vector<double> analog; // numbers behind each frame's points
  int parameter_block = 2;
  bool locked = false;         // names with negative lengths
  bool group_for_each = false; // each parameter gets a group of its own, of the same name
  std::vector<Parameter> parameters = {{"POINT", "USED", {2, {}, {2}, ""}},
                                       {"POINT", "SCALE", {4, {}, {-0.5}, ""}},
                                       {"POINT", "RATE", {4, {}, {100}, ""}},
                                       {"POINT", "DATA_START", {2, {}, {0}, ""}},
                                       {"POINT", "FRAMES", {2, {}, {3}, ""}},
                                       {"POINT", "UNITS", {-1, {4}, {}, "mm  "}},
                                       {"POINT", "LABELS", {-1, {4, 2}, {}, "LipUChin"}}};
  std::map<int, int> header;               // words to change, by their number from 1
  std::map<int, double> header_reals;      // likewise, by their first word's
  std::map<int, std::string> header_texts; // likewise
  int data_block = 0;                      // where the data are put; 0: behind the parameters
  std::string behind;                      // the data
  std::size_t zeros_before = 0;
  int declared_blocks = -1; // of parameters; -1: as many as there are

  void Set(const std::string& group, const std::string& name, const Value& value) {
    for (Parameter& p : parameters)
      if (p.group == group && p.name == name) {
        p.value = value;
        return;
      }
    parameters.push_back({group, name, value});
  }
  void Words(const std::string& group, const std::string& name, std::vector<double> words) {
    const std::vector<int> dimensions =
        words.size() == 1 ? std::vector<int>{} : std::vector<int>{static_cast<int>(words.size())};
    Set(group, name, {2, dimensions, std::move(words), ""});
  }
  void Reals(const std::string& group, const std::string& name, std::vector<double> reals) {
    const std::vector<int> dimensions =
        reals.size() == 1 ? std::vector<int>{} : std::vector<int>{static_cast<int>(reals.size())};
    Set(group, name, {4, dimensions, std::move(reals), ""});
  }
  void Texts(const std::string& group, const std::string& name, const std::vector<std::string>& texts) {
    std::size_t length = 1;
    for (const std::string& text : texts) length = std::max(length, text.size());
    std::string all;
    for (const std::string& text : texts) all += text + std::string(length - text.size(), ' ');
    Set(group, name, {-1, {static_cast<int>(length), static_cast<int>(texts.size())}, {}, all});
  }
  void Remove(const std::string& group, const std::string& name) {
    std::erase_if(parameters, [&](const Parameter& p) { return p.group == group && p.name == name; });
  }
  // Integers or floats; the fourth word means the same in both.
  void Encode(int to_processor, bool to_real) {
    processor = to_processor;
    real = to_real;
    Reals("POINT", "SCALE", {to_real ? -scale : scale});
  }
  // `count` frames of one point each.
  void Frames(int count, int points_per_frame = 1) {
    points = points_per_frame;
    frames.assign(static_cast<std::size_t>(count),
                  std::vector<Position>(static_cast<std::size_t>(points), Position{1, 2, 3, 1}));
    Words("POINT", "USED", {double(points)});
    Words("POINT", "FRAMES", {double(std::min(count, 65535))});
  }

  std::string Word(int word) const {
    const auto low = static_cast<char>(word & 0xFF), high = static_cast<char>(word >> 8 & 0xFF);
    return processor == kSgi ? std::string{high, low} : std::string{low, high};
  }
  std::string Real(double value) const {
    const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(value));
    const auto byte = [bits](int i) { return static_cast<char>(bits >> (8 * i) & 0xFF); };
    if (processor == kSgi) return {byte(3), byte(2), byte(1), byte(0)};
    if (processor == kIntel) return {byte(0), byte(1), byte(2), byte(3)};
    if (bits == 0) return std::string(4, '\0');
    return {byte(2), static_cast<char>(byte(3) + 1), byte(0), byte(1)};
  }

  std::string Record(int id, const std::string& name, const std::string& body) const {
    const int length = static_cast<int>(name.size());
    return std::string{static_cast<char>(locked ? -length : length), static_cast<char>(id)} + name +
           Word(static_cast<int>(body.size()) + 3) + body + '\0';
  }
  std::string Body(const Value& value) const {
    std::string body{static_cast<char>(value.type), static_cast<char>(value.dimensions.size())};
    for (const int dimension : value.dimensions) body += static_cast<char>(dimension);
    for (const double number : value.numbers)
      body += value.type == 4   ? Real(number)
              : value.type == 2 ? Word(static_cast<int>(number))
                                : std::string(1, static_cast<char>(number));
    return body + value.text;
  }
  // The records, of each group and parameter one.
  std::string Records() const {
    std::vector<std::string> groups;
    std::string records;
    for (const Parameter& p : parameters) {
      auto group = std::find(groups.begin(), groups.end(), p.group);
      if (group == groups.end() || group_for_each) {
        groups.push_back(p.group);
        group = groups.end() - 1;
        records += Record(-static_cast<int>(groups.size()), p.group, "");
      }
      records += Record(static_cast<int>(group - groups.begin()) + 1, p.name, Body(p.value));
    }
    return records;
  }

  std::string Data() const {
    std::string data;
    for (const std::vector<Position>& frame : frames) {
      for (const Position& p : frame)
        for (std::size_t k = 0; k < 4; ++k)
          data += real    ? Real(p[k])
                  : k < 3 ? Word(static_cast<int>(std::lround(p[k] / scale)))
                          : Word(static_cast<int>(p[k]));
      for (const double number : analog) data += real ? Real(number) : Word(static_cast<int>(number));
    }
    return data;
  }

  std::string Bytes() const {
    constexpr std::size_t kBlock = 512;
    C3dBuilder whole = *this;
    const std::size_t size = 4 + Records().size() + 2;
    const std::size_t blocks = (size + kBlock - 1) / kBlock;
    const int block = data_block ? data_block : parameter_block + static_cast<int>(blocks);
    for (Parameter& p : whole.parameters) // unless set otherwise
      if (p.name == "DATA_START" && p.value.numbers == std::vector<double>{0})
        p.value.numbers = {double(block)};

    std::string bytes{static_cast<char>(parameter_block), 0x50};
    bytes += Word(points) + Word(static_cast<int>(analog.size())) + Word(1) +
             Word(static_cast<int>(std::min<std::size_t>(frames.size(), 65535))) + Word(10) +
             Real(real ? -scale : scale) + Word(block) + Word(analog.empty() ? 0 : 1) + Real(100);
    bytes.resize(kBlock);
    for (const auto& [word, value] : header)
      bytes.replace(static_cast<std::size_t>(2 * (word - 1)), 2, Word(value));
    for (const auto& [word, value] : header_reals)
      bytes.replace(static_cast<std::size_t>(2 * (word - 1)), 4, Real(value));
    for (const auto& [word, text] : header_texts)
      bytes.replace(static_cast<std::size_t>(2 * (word - 1)), text.size(), text);

    bytes.resize(static_cast<std::size_t>(parameter_block - 1) * kBlock);
    bytes +=
        {'\x01', '\x50', static_cast<char>(declared_blocks >= 0 ? declared_blocks : static_cast<int>(blocks)),
         static_cast<char>(processor)};
    bytes += whole.Records();
    bytes.resize(static_cast<std::size_t>(block - 1) * kBlock);
    return std::string(zeros_before, '\0') + bytes + Data() + behind;
  }
};

} // namespace tests
