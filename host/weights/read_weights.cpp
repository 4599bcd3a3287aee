#include "host/weights/read_weights.h"

#include "host/base/face_parts.h"
#include "host/base/text.h"
#include "host/character/arkit_names.h"
#include "host/files/foreign_file.h"
#include "host/formats/csv.h"
#include "host/formats/input_rate.h"
#include "host/formats/read_take.h"
#include "host/formats/text_number.h"
#include "host/weights/action_unit_csv.h"
#include "host/weights/animation_file.h"
#include "host/weights/long_score_csv.h"
#include "host/weights/phone_csv.h"
#include "host/weights/score_csv.h"
#include "host/weights/score_json.h"
#include "host/weights/weight_columns.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <vector>

namespace mien {
namespace {

struct Layout {
  std::string_view name;
  std::string_view looks; // how a user recognises it
  bool (*is)(std::string_view bytes);
  WeightTake (*read)(std::string_view bytes, const std::string& file, const WeightReadOptions& options);
  bool has_faces = false; // may hold several
};

// A name of the 52 or of a template.
bool NamesWeight(std::string_view column) {
  static const std::vector<TemplateColumn> kTemplates = TemplateColumns();
  return FindArkitName(column) || std::any_of(kTemplates.begin(), kTemplates.end(),
                                              [&](const TemplateColumn& t) { return t.name == column; });
}

// Landmarks may begin with frame,time as well. The columns of a marker CSV, whose format is known by this
// beginning alone, are known to IsScoreCsv.
bool IsScoreTable(std::string_view bytes) {
  const std::vector<std::string_view> columns = CsvColumns(bytes);
  if (!IsScoreCsv(columns)) return false;
  const std::optional<std::string_view> take = TakeFormatNameOf(bytes);
  return !take || take == "marker CSV" || std::any_of(columns.begin(), columns.end(), NamesWeight);
}

constexpr Layout kLayouts[] = {
    {"phone CSV", "columns Timecode, BlendShapeCount, EyeBlinkLeft, ...",
     [](std::string_view bytes) { return IsPhoneCsv(CsvColumns(bytes)); },
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       RefuseInputRate(options.input_rate, file);
       return ReadPhoneCsv(bytes, file);
     }},
    {"long score CSV", "columns frame, time_s, face, name, score",
     [](std::string_view bytes) { return IsLongScoreCsv(CsvColumns(bytes)); },
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       return ReadLongScoreCsv(bytes, file, options.face, options.input_rate);
     },
     true},
    {"action unit CSV", "columns frame, timestamp, AU01_r, ...",
     [](std::string_view bytes) { return IsActionUnitCsv(CsvColumns(bytes)); },
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       return ReadActionUnitCsv(bytes, file, options.face, options.input_rate);
     },
     true},
    {"animation JSON", "written by mien solve", IsAnimationFile,
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       RefuseInputRate(options.input_rate, file);
       return ReadAnimationFile(bytes, file);
     }},
    {"score JSON", "results with faceBlendshapes or blendshapes", IsScoreJson,
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       return ReadScoreJson(bytes, file, options.face, options.input_rate);
     },
     true},
    {"score CSV", "columns frame, time, jawOpen, ...", IsScoreTable,
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       return ReadScoreCsv(bytes, file, options.input_rate);
     }},
};

bool IsNumber(std::string_view text) {
  return !text.empty() && ValueOf(text).kind == TextNumber::Kind::Number;
}

// A column that says no more than its number: "12", "bs_12", or a value in a table without a header.
bool IsOnlyNumbered(std::string_view column) {
  constexpr std::string_view kWords[] = {"",      "blendshape", "bs",          "weight", "w",
                                         "score", "shape",      "coefficient", "coeff",  "c"};
  if (IsNumber(column)) return true;
  const std::size_t digits = column.find_last_not_of("0123456789") + 1;
  std::string word = ToLower(column.substr(0, digits));
  std::erase_if(word,
                [](char c) { return c == '_' || c == ' ' || c == '.' || c == '-' || c == '[' || c == ']'; });
  return digits < column.size() && std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords);
}

// Tables with as many numbered columns as trackers have weights, and rows that number their weights.
void RefuseUnnamed(std::string_view bytes, const std::string& file) {
  constexpr std::size_t kFewest = 45, kMost = 70; // 51 to 63, and a few other columns
  const std::vector<std::string_view> columns = CsvColumns(bytes);
  if (std::any_of(columns.begin(), columns.end(), NamesWeight)) return;
  const auto numbered =
      static_cast<std::size_t>(std::count_if(columns.begin(), columns.end(), IsOnlyNumbered));
  if (numbered >= kFewest && numbered <= kMost) FailUnnamed(file, numbered);
  if (FindColumn(columns, "score") && FindColumn(columns, "index"))
    throw InputError(
        Code::Unsupported, file, "",
        "the rows number their weights in \"index\", and programs store the 52 in different orders",
        "write the names in a column \"name\": frame,time_s,face,name,score");
}

[[noreturn]] void FailUnknown(std::string_view bytes, const std::string& file) {
  RefuseUnnamed(bytes, file);
  if (const auto format = TakeFormatNameOf(bytes))
    throw InputError(
        Code::Unsupported, file, "", fmt::format("the file has points ({}) and no weights", *format),
        "solve them with mien solve, whose output mien retarget reads; mien calibrate needs --performer");
  std::string layouts;
  for (const Layout& layout : kLayouts)
    layouts += fmt::format("{}{} ({})", layouts.empty() ? "" : ", ", layout.name, layout.looks);
  throw InputError(Code::UnknownFormat, file, "", "these are not weights of a known layout",
                   "the layouts that can be read are " + layouts);
}

[[noreturn]] void FailStrictly(const WeightTake& take) {
  std::vector<Problem> problems;
  for (const Note& note : take.notes)
    problems.push_back(
        {note.code, take.file, note.place, note.what, "fix the file, or read it without --strict"});
  throw InputError(std::move(problems));
}

} // namespace

bool HasKnownWeights(std::string_view bytes) {
  for (const Layout& layout : kLayouts) {
    if (!layout.is(bytes)) continue;
    const std::vector<std::string_view> columns = CsvColumns(bytes);
    return layout.name != "score CSV" || std::any_of(columns.begin(), columns.end(), NamesWeight);
  }
  return false;
}

std::optional<std::string_view> WeightLayoutNameOf(std::string_view bytes) {
  const auto found = std::find_if(std::begin(kLayouts), std::end(kLayouts),
                                  [bytes](const Layout& layout) { return layout.is(bytes); });
  return found == std::end(kLayouts) ? std::nullopt : std::optional(found->name);
}

WeightTake ReadWeights(std::string_view bytes, const std::string& name, const WeightReadOptions& options) {
  if (bytes.find_first_not_of(" \t\r\n") == std::string_view::npos)
    throw InputError(Code::Empty, name, "", "the file is empty", "export the weights again");
  RefuseForeignFile(bytes, name, "weights", "export the weights as CSV or JSON");
  for (const Layout& layout : kLayouts) {
    if (!layout.is(bytes)) continue;
    if (layout.name.ends_with("CSV")) RefuseUnnamed(bytes, name);
    if (options.face && !layout.has_faces)
      throw InputError(Code::Usage, name, "", fmt::format("{} has no faces to choose from", layout.name),
                       "leave out --face, which is for files of several faces");
    WeightTake take = layout.read(bytes, name, options);
    take.file = name;
    take.name = std::filesystem::path(name).stem().string();
    take.format = layout.name;
    if (std::all_of(take.names.begin(), take.names.end(), IsNumber) && !take.names.empty())
      FailUnnamed(name, take.names.size());
    if (take.names.empty())
      throw InputError(Code::Missing, name, "", "the file has frames and no weights",
                       "write the weights as well, or name another file");
    if (options.strict && !take.notes.empty()) FailStrictly(take);
    return take;
  }
  FailUnknown(bytes, name);
}

} // namespace mien
