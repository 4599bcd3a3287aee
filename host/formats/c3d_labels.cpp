#include "host/formats/c3d_labels.h"

#include "host/base/text.h"
#include "host/base/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace mien::c3d {
namespace {

// The names so far.
class Names {
public:
  /// The name, or "NAME (2)" and so on where it is there before. Answers whether it is.
  bool MakeDifferent(std::string& name) {
    if (known_.insert(name).second) return false;
    std::size_t& number = last_number_.try_emplace(name, 1).first->second;
    std::string other;
    do other = fmt::format("{} ({})", name, ++number);
    while (!known_.insert(other).second);
    name = other;
    return true;
  }

private:
  std::unordered_set<std::string> known_;
  std::unordered_map<std::string, std::size_t> last_number_;
};

} // namespace

std::vector<std::string> MarkerNames(const Parameters& parameters, std::size_t points,
                                     std::vector<Note>& notes) {
  std::vector<std::string> names = parameters.Texts("POINT", "LABELS");
  names.resize(std::min(names.size(), points));
  const std::size_t labels = names.size();
  if (labels < points && !parameters.Empty())
    notes.push_back({Code::Missing, "",
                     fmt::format("{} labels for {} points: the others are numbered, \"point {}\" ...", labels,
                                 points, labels + 1)});
  names.resize(points);

  std::vector<std::string> blank, latin, twice;
  Names known;
  for (std::size_t i = 0; i < points; ++i) {
    std::string& name = names[i];
    if (name.empty()) {
      name = fmt::format("point {}", i + 1);
      if (i < labels) blank.push_back(name);
    } else if (!IsUtf8(name)) {
      name = FromLatin1(name);
      latin.push_back(name);
    }
    const std::string label = name;
    if (known.MakeDifferent(name)) twice.push_back(label);
  }

  const auto note = [&](Code code, std::string_view what, const std::vector<std::string>& which) {
    if (!which.empty()) notes.push_back({code, "", fmt::format("{}{}", what, SomeQuoted(which, 1))});
  };
  note(Code::Missing, "blank label: named ", blank);
  note(Code::Assumed, "label that is not UTF-8, read as Latin-1: ", latin);
  note(Code::Duplicate, "label that is there before, so that it got a number: ", twice);
  return names;
}

} // namespace mien::c3d
