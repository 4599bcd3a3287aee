#pragma once

#include "host/takes/take.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mien::c3d {

inline constexpr std::size_t kLongestText = 255; ///< bytes: one byte counts them

/// Append a word, and a number in single precision, in Intel's byte order.
void AppendWord(std::string& bytes, std::int64_t word);
void AppendReal(std::string& bytes, double real);

/// Writes the parameters of a file for Intel, record by record.
class ParameterWriter {
public:
  /// `file` is the name for messages and must outlive the writer. What does not fit into a record, or into
  /// the section, throws InputError.
  explicit ParameterWriter(const std::string& file) : file_(file) {}

  /// Begins a group, which gets the parameters that follow.
  void Group(std::string_view name);

  void Word(std::string_view name, std::int64_t word);
  void TwoWords(std::string_view name, std::int64_t number); ///< the low one first
  void Real(std::string_view name, double real);
  void Text(std::string_view name, std::string_view text); ///< kLongestText bytes at most

  /// Texts in arrays of 255: NAME, NAME2, NAME3 and so on. Each is padded with blanks to the longest of its
  /// array, and has kLongestText bytes at most.
  void Texts(std::string_view name, const std::vector<std::string_view>& texts);

  /// The events' times as minutes and seconds, in such arrays.
  void Times(std::string_view name, const std::vector<TakeEvent>& events);

  /// Adds the word DATA_START, which Finish sets.
  void DataStart();

  /// The whole section; `begin` is its first block.
  std::string Finish(std::size_t begin);

private:
  template <typename BodyOf>
  void ForEachArray(std::string_view name, std::size_t count, const BodyOf& body);
  void Record(std::string_view name, int id, std::string_view body);
  [[noreturn]] void FailLong() const;

  const std::string& file_;
  int group_ = 0;
  std::string records_;
  std::size_t data_start_at_ = 0;
};

} // namespace mien::c3d
