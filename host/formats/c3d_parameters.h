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

/// One parameter's value, a view of the file's bytes.
struct Parameter {
  int type = 0; ///< -1 text, 1 byte, 2 word, 4 float
  std::size_t text_length = 1;
  std::string_view data; ///< cut off where the file has less of it
  std::size_t end = 0;   ///< of data, an offset from the header
};

/// The parameters of a C3D file: values by group and name, in any letter case. Groups of equal names are one
/// group; of parameters of equal names the first counts.
class Parameters {
public:
  /// Reads the section up to the end of its blocks or the header's start of the data, whichever comes later,
  /// or up to a record that is none. `notes` get what is wrong. The file's bytes must outlive this.
  Parameters(const Header& header, std::vector<Note>& notes);

  bool Empty() const { return parameters_.empty(); }

  /// Behind the last record.
  std::size_t End() const { return end_; }

  /// Removes the parameters that reach beyond `data_begin`; true if there were any.
  bool CutAt(std::size_t data_begin);

  /// One number of a parameter; integers have signs. Nothing without such a parameter, or with fewer numbers
  /// in it.
  std::optional<double> Number(std::string_view group, std::string_view name, std::size_t index = 0) const;

  /// A count: words have no sign, floats are rounded. Nothing for a number that cannot be a count.
  std::optional<std::uint32_t> Count(std::string_view group, std::string_view name,
                                     std::size_t index = 0) const;

  /// A count of 32 bits in two words, the low one first.
  std::optional<std::uint32_t> CountOfTwoWords(std::string_view group, std::string_view name) const;

  /// All numbers of a parameter and of those that continue it: TIMES, TIMES2, TIMES3 and so on.
  std::vector<double> Numbers(std::string_view group, std::string_view name) const;

  /// The same for texts, each up to its first NUL, trimmed.
  std::vector<std::string> Texts(std::string_view group, std::string_view name) const;

  /// The first of Texts; empty where there is none.
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
