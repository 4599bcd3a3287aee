#include "host/fit/head_landmarks.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/files/foreign_file.h"
#include "host/formats/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <system_error>
#include <vector>

namespace mien {

namespace {

constexpr std::string_view kFix = "write the columns landmark,x,y,z and a row for each landmark, such as "
                                  "lm36,-0.045,1.62,0.09";

std::optional<std::size_t> LandmarkOf(std::string_view text) {
  if (text.starts_with("lm")) text.remove_prefix(2);
  std::size_t landmark = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), landmark);
  if (error != std::errc() || end != text.data() + text.size() || landmark >= kLandmarks68)
    return std::nullopt;
  return landmark;
}

} // namespace

HeadLandmarks ReadHeadLandmarks(std::string_view bytes, const std::string& file) {
  RefuseForeignFile(bytes, file, "a table of a head's landmarks", kFix);
  CsvReader csv(bytes, file);
  constexpr std::string_view kColumns[] = {"landmark", "x", "y", "z"};
  if (!std::equal(std::begin(kColumns), std::end(kColumns), csv.Columns().begin(), csv.Columns().end()))
    csv.Fail(Code::Syntax, "this is not a table of a head's landmarks", kFix);
  HeadLandmarks read;
  read.file = file;
  while (csv.Next()) {
    const auto which = LandmarkOf(csv.Text(0));
    if (!which)
      csv.FailAt(Code::InvalidValue, 0, fmt::format("{} is not one of the 68 landmarks", Quoted(csv.Text(0))),
                 "write lm0 to lm67");
    auto& landmark = read.landmarks[*which];
    if (landmark)
      csv.FailAt(Code::Duplicate, 0, fmt::format("lm{} is in line {} already", *which, landmark->line),
                 "give each landmark one row");
    const double x = csv.Number(1), y = csv.Number(2), z = csv.Number(3);
    landmark = {{x, y, z}, csv.Line()};
  }
  csv.Finish(read.notes);
  std::vector<std::string> missing;
  for (std::size_t i = 0; i < kLandmarks68; ++i)
    if (IsNeededLandmark(i) && !read.landmarks[i]) missing.push_back(fmt::format("lm{}", i));
  if (!missing.empty())
    throw InputError(
        Code::Missing, file, "",
        fmt::format("{} missing: {}",
                    missing.size() == 1 ? "a landmark is" : fmt::format("{} landmarks are", missing.size()),
                    Some(missing)),
        "write a row for lm8 and each of lm17 to lm67");
  return read;
}

} // namespace mien
