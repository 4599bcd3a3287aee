#include "host/weights/read_weights.h"

#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/formats/csv.h"
#include "host/formats/input_rate.h"
#include "host/formats/read_take.h"
#include "host/weights/animation_file.h"
#include "host/weights/long_score_csv.h"
#include "host/weights/phone_csv.h"
#include "host/weights/score_csv.h"
#include "host/weights/score_json.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace mien {
namespace {

struct Layout {
  std::string_view name;
  std::string_view looks; // how a user recognises it
  bool (*is)(std::string_view bytes);
  WeightTake (*read)(std::string_view bytes, const std::string& file, const WeightReadOptions& options);
  bool has_faces = false; // may hold several
};

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
    {"score CSV", "columns frame, time, jawOpen, ...",
     [](std::string_view bytes) { return IsScoreCsv(CsvColumns(bytes)); },
     [](std::string_view bytes, const std::string& file, const WeightReadOptions& options) {
       return ReadScoreCsv(bytes, file, options.input_rate);
     }},
};

[[noreturn]] void FailUnknown(std::string_view bytes, const std::string& file) {
  if (const auto format = TakeFormatNameOf(bytes))
    throw InputError(Code::Unsupported, file, "",
                     fmt::format("the file has points ({}) and no weights", *format),
                     "solve them with mien solve, whose output mien retarget reads");
  std::string layouts;
  for (const Layout& layout : kLayouts)
    layouts += fmt::format("{}{} ({})", layouts.empty() ? "" : ", ", layout.name, layout.looks);
  throw InputError(Code::UnknownFormat, file, "", "these are no weights of a known layout",
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
    if (options.face && !layout.has_faces)
      throw InputError(Code::Usage, name, "", fmt::format("{} has no faces to choose from", layout.name),
                       "leave out --face, which is for files of several faces");
    WeightTake take = layout.read(bytes, name, options);
    take.file = name;
    take.name = std::filesystem::path(name).stem().string();
    take.format = layout.name;
    if (take.names.empty())
      throw InputError(Code::Missing, name, "", "the file has frames and no weights",
                       "write the weights as well, or name another file");
    if (options.strict && !take.notes.empty()) FailStrictly(take);
    return take;
  }
  FailUnknown(bytes, name);
}

} // namespace mien
