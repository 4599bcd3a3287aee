#pragma once

#include "host/base/error.h"
#include "host/formats/c3d_header.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mien::c3d {

/// One parameter's value. What it views is the file's.
struct Parameter {
  int type = 0; ///< -1 text, 1 byte, 2 word, 4 float
  std::size_t text_length = 1;
  std::string_view data; ///< as much of it as is there
  std::size_t end = 0;   ///< of data, an offset from the header
};

/// The parameters of a C3D file: values by group and name, letter case aside. Groups of one name are one group; of
/// parameters of one name the first counts.
class Parameters {
public:
  /// Walks the section as far as its records make sense, its blocks or the data (by the header) reach. What is wrong goes
  /// to `notes`. The file's bytes must outlive it.
  Parameters(const Header& header, std::vector<Note>& notes);

  bool Empty() const { return parameters_.empty(); }

  /// Behind the last record.
  std::size_t End() const { return end_; }

  /// Forgets the parameters that reach beyond `data_begin`; true if there were any.
  bool CutAt(std::size_t data_begin);

  /// Numbers; integers with their sign. Nothing where there is no such parameter, or not as many numbers.
  std::optional<double> Number(std::string_view group, std::string_view name, std::size_t index = 0) const;

  /// A number of things: words are taken without sign, floats rounded. Nothing for what is no such number.
  std::optional<std::uint32_t> Count(std::string_view group, std::string_view name,
                                     std::size_t index = 0) const;

  /// A count of 32 bits in two words, the low one first.
  std::optional<std::uint32_t> CountOfTwoWords(std::string_view group, std::string_view name) const;

  /// All numbers of a parameter and those that continue it: TIMES, TIMES2, TIMES3 ...
  std::vector<double> Numbers(std::string_view group, std::string_view name) const;

  /// The same for texts, each up to its first NUL and without blanks around it.
  std::vector<std::string> Texts(std::string_view group, std::string_view name) const;

  /// The first of Texts; empty without.
  std::string Text(std::string_view group, std::string_view name) const;

private:
  const Parameter* Find(std::string_view group, std::string_view name) const;
  template <typename Use>
  void ForEachPart(std::string_view group, std::string_view name, const Use& use) const;
  double NumberAt(const Parameter& parameter, std::size_t index) const;

  Processor processor_;
  std::size_t end_ = 0;
  std::map<std::string, Parameter, std::less<>> parameters_; // by "group:name", lower case
};

} // namespace mien::c3d
