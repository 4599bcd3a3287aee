#include "host/formats/c3d_labels.h"

#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/different_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace mien::c3d {

std::vector<std::string> MarkerNames(const Parameters& parameters, std::size_t points,
                                     std::vector<Note>& notes) {
  std::vector<std::string> names = parameters.Texts("POINT", "LABELS");
  names.resize(std::min(names.size(), points));
  const std::size_t labels = names.size();
  if (labels < points && !parameters.Empty())
    notes.push_back({Code::Missing, "",
                     fmt::format("{} labels for {} points; the others are named \"point {}\" and so on",
                                 labels, points, labels + 1)});
  names.resize(points);

  std::vector<bool> made_up(points);
  std::vector<std::string> blank, latin, twice;
  for (std::size_t i = 0; i < points; ++i) {
    std::string& name = names[i];
    made_up[i] = name.empty();
    if (made_up[i]) {
      name = fmt::format("point {}", i + 1);
      if (i < labels) blank.push_back(name);
    } else if (!IsUtf8(name)) {
      name = FromLatin1(name);
      latin.push_back(name);
    }
  }
  for (RenamedMarker& renamed : MakeNamesDifferent(names, made_up))
    twice.push_back(std::move(renamed.before));

  const auto note = [&](Code code, std::string_view what, const std::vector<std::string>& which) {
    if (!which.empty()) notes.push_back({code, "", fmt::format("{}{}", what, SomeQuoted(which, 1))});
  };
  note(Code::Missing, "blank label, named ", blank);
  note(Code::Assumed, "label that is not UTF-8, read as Latin-1: ", latin);
  note(Code::Duplicate, "repeated label, which gets a number: ", twice);
  return names;
}

} // namespace mien::c3d
