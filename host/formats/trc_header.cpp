#include "host/formats/trc_header.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/formats/different_names.h"
#include "host/formats/length_unit.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace mien::trc {

namespace {

class HeaderReader {
public:
  HeaderReader(std::string_view bytes, const std::string& file) : file_(file), lines_(bytes) {}

  Header Read() {
    NextLine();
    if (StartsWithIgnoringCase(Trim(lines_.Text()), "PathFileType"))
      NextLine();
    else
      AddNote(Code::Missing, "the line PathFileType before the keys is missing");
    const std::string_view keys = lines_.Text();
    ReadKeys();
    NextLine();
    ReadValues(keys);
    NextLine();
    ReadNames();
    ReadLabels();
    return std::move(header_);
  }

private:
  void NextLine() {
    const std::size_t before = lines_.Number();
    if (!lines_.NextFilled())
      throw InputError(Code::Truncated, file_, fmt::format("{}", std::max<std::size_t>(before, 1)),
                       "the header ends before the marker names", kExportAgain);
    if (lines_.Text().find('\r') != std::string_view::npos)
      Fail(Code::Syntax, "the line has bare carriage returns", "save the file with LF or CRLF line ends");
    if (lines_.Returns() > 1 && !returns_noted_) {
      AddNote(Code::Syntax, "the line ends are CR CR LF");
      returns_noted_ = true;
    }
  }

  [[noreturn]] void Fail(Code code, std::string_view what, std::string_view fix) const {
    throw InputError(code, file_, fmt::format("{}", lines_.Number()), what, fix);
  }

  Note NoteHere(Code code, std::string what) const { return {code, Line(lines_.Number()), std::move(what)}; }
  void AddNote(Code code, std::string what) { header_.notes.push_back(NoteHere(code, std::move(what))); }

  void ReadKeys() {
    Cells cells(lines_.Text());
    std::size_t count = 0;
    bool known[std::size(kKeys)] = {};
    Repeated strange;
    while (const auto cell = cells.Next()) {
      if (cell->empty()) continue;
      ++count;
      const auto key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                    [&](std::string_view k) { return EqualIgnoringCase(k, *cell); });
      const bool twice = key != std::end(kKeys) && known[key - std::begin(kKeys)];
      if (key == std::end(kKeys) || twice)
        strange.Add([&] {
          return NoteHere(twice ? Code::Duplicate : Code::Ignored,
                          fmt::format("the key {} is {}", Quoted(*cell),
                                      twice ? "repeated; the first counts" : "unknown and ignored"));
        });
      else
        known[key - std::begin(kKeys)] = true;
    }
    if (std::none_of(std::begin(known), std::end(known), [](bool is) { return is; }))
      Fail(Code::Missing, "the keys are missing (DataRate, CameraRate, NumFrames, ...)", kExportAgain);
    if (count != std::size(kKeys))
      AddNote(Code::Syntax, fmt::format("{} keys instead of {}", count, std::size(kKeys)));
    strange.AppendTo(header_.notes, "keys");
    if (!cells.SeparatedByTabs() && count > 1) AddNote(Code::Syntax, "blanks instead of tabs");
  }

  void ReadValues(std::string_view key_line) {
    if (StartsWithIgnoringCase(Trim(lines_.Text()), "Frame#"))
      Fail(Code::Missing, "the line of values below the keys is missing", kExportAgain);
    header_.values_line = lines_.Number();
    Cells keys(key_line), values(lines_.Text());
    std::optional<std::string_view> found[std::size(kKeys)];
    while (const auto key = keys.Next()) {
      const auto value = values.Next();
      if (!value) break;
      for (std::size_t k = 0; k < std::size(kKeys); ++k)
        if (EqualIgnoringCase(*key, kKeys[k]) && !found[k]) found[k] = *value;
    }
    const auto &data_rate = found[0], &frames = found[2], &markers = found[3], &units = found[4],
               &first_frame = found[6]; // as in kKeys
    if (data_rate) {
      const Value value = ValueOf(*data_rate);
      header_.rate_text = Quoted(*data_rate);
      if (value.kind == Kind::Number && value.comma == value.no_thousands) {
        header_.rate = FrameRateOf(value.number);
        if (value.comma) AddNote(Code::Syntax, fmt::format("decimal commas, as in {}", Quoted(*data_rate)));
      }
    }
    header_.frames_text = frames;
    header_.markers_text = markers;
    if (frames) header_.frames = WholeNumber(ValueOf(*frames));
    if (first_frame) header_.first_frame = WholeNumber(ValueOf(*first_frame));

    if (const auto millimetres = MillimetresOf(units.value_or(""))) {
      header_.unit = *units;
      header_.millimetres = *millimetres;
    } else if (!units || units->empty()) {
      AddNote(Code::Assumed, "there are no Units; taken as mm");
    } else {
      AddNote(Code::Assumed, fmt::format("the unit {} is unknown or ambiguous; taken as mm", Quoted(*units)));
    }
  }

  void ReadNames() {
    header_.names_line = lines_.Number();
    Cells cells(lines_.Text());
    const auto frame = cells.Next(), time = cells.Next();
    if (!frame || !StartsWithIgnoringCase(*frame, "Frame"))
      Fail(Code::Missing, "the line of marker names, which starts with Frame#, is missing", kExportAgain);
    if (!time || !StartsWithIgnoringCase(*time, "Time"))
      Fail(Code::Syntax, fmt::format("the second column is {} instead of Time", Quoted(time.value_or(""))),
           "name the first two columns Frame# and Time");

    bool in_place = true;
    for (std::size_t column = 0; const auto cell = cells.Next(); ++column) {
      if (column % 3 == 0)
        header_.names.push_back(*cell);
      else
        in_place = in_place && cell->empty();
    }
    if (!cells.SeparatedByTabs()) {
      header_.loose_names = "separated by blanks";
      AddNote(Code::Syntax, "blanks instead of tabs");
    } else if (!in_place) {
      header_.loose_names = "not above every third column";
      AddNote(Code::Assumed,
              fmt::format("the names are {}; they are taken in their order", header_.loose_names));
    }
    if (!header_.loose_names.empty()) {
      header_.names.clear();
      Cells again(lines_.Text());
      for (std::size_t column = 0; const auto cell = again.Next(); ++column)
        if (column >= kFirstMarkerColumn && !cell->empty()) header_.names.push_back(*cell);
    }
    while (!header_.names.empty() && header_.names.back().empty()) header_.names.pop_back();
    if (header_.names.size() > kMostMarkers)
      Fail(Code::Limit, fmt::format("{} marker names", header_.names.size()),
           fmt::format("export fewer markers: {} at most", kMostMarkers));
  }

  void ReadLabels() {
    header_.rows = lines_;
    if (!lines_.NextFilled()) return;
    const std::string_view line = lines_.Text();
    const std::string_view first = line.substr(line.find_first_not_of(kBlanksAndTabs));
    if (ValueOf(Trim(first.substr(0, first.find_first_of(kBlanksAndTabs)))).kind != Kind::Text) {
      AddNote(Code::Missing,
              "the labels X1, Y1, Z1, ... and the blank line before the first row are missing");
      return;
    }
    Cells cells(line);
    std::size_t count = 0;
    Repeated odd;
    while (const auto cell = cells.Next()) {
      if (cell->empty()) continue;
      const std::string expected = fmt::format("{}{}", "XYZ"[count % 3], count / 3 + 1);
      if (++count <= 3 * header_.names.size() && !EqualIgnoringCase(*cell, expected))
        odd.Add([&] {
          return NoteHere(Code::Syntax,
                          fmt::format("the label is {} instead of {}", Quoted(*cell), expected));
        });
    }
    odd.AppendTo(header_.notes, "labels");
    if (count != 3 * header_.names.size())
      AddNote(Code::Contradiction, fmt::format("{} labels for {} names", count, header_.names.size()));
    if (!cells.SeparatedByTabs()) AddNote(Code::Syntax, "blanks instead of tabs");
    header_.rows = lines_;
    if (lines_.Next() && !IsBlank(lines_.Text()))
      AddNote(Code::Missing, "the blank line before the first row is missing");
  }

  const std::string& file_;
  Lines lines_;
  bool returns_noted_ = false;
  Header header_;
};

} // namespace

Header ReadHeader(std::string_view bytes, const std::string& file) {
  return HeaderReader(bytes, file).Read();
}

std::vector<std::string> MarkerNames(const Header& header, std::size_t markers, std::vector<Note>& notes) {
  const std::size_t named = header.names.size();
  const auto note = [&](Code code, std::string what) -> Note {
    return {code, Line(header.names_line), std::move(what)};
  };
  const bool utf8 = std::all_of(header.names.begin(), header.names.end(), IsUtf8);
  if (!utf8) notes.push_back(note(Code::Assumed, "the names are not UTF-8; read as Latin-1"));

  std::vector<std::string> names(markers);
  std::vector<bool> made_up(markers);
  for (std::size_t m = 0; m < markers; ++m) {
    made_up[m] = m >= named || header.names[m].empty();
    names[m] = made_up[m] ? fmt::format("marker {}", m + 1)
               : utf8     ? std::string(header.names[m])
                          : FromLatin1(header.names[m]);
  }
  Repeated twice, blank;
  for (const auto& [m, before] : MakeNamesDifferent(names, made_up))
    if (!made_up[m])
      twice.Add([&, &before = before, m = m] {
        return note(Code::Duplicate, fmt::format("the name {} is repeated; the second marker is called {}",
                                                 Quoted(before), Quoted(names[m])));
      });
  for (std::size_t m = 0; m < named; ++m)
    if (made_up[m])
      blank.Add([&] {
        return note(Code::Missing, fmt::format("marker {} has no name; called {}", m + 1, Quoted(names[m])));
      });
  twice.AppendTo(notes, "names");
  blank.AppendTo(notes, "markers");
  if (markers > named)
    notes.push_back(note(Code::Missing,
                         fmt::format("names for {} of {} markers; the others are called {}{}", named, markers,
                                     Quoted(names[named]), markers - named > 1 ? " and so on" : "")));
  return names;
}

} // namespace mien::trc
