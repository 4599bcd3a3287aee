#include "host/formats/mesh_columns.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/formats/mesh_mirror.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace mien {
namespace {

constexpr std::string_view kAxes = "xyz";
constexpr std::size_t kBodyPoints = 33; // that programs write in front of the face's

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return ToLower(c) >= 'a' && ToLower(c) <= 'z'; }

// Where a word or number of a name starts and ends: "lm", "mp", "0" and "x" in "lm_mp_0x".
struct Token {
  std::size_t begin, end;
};

std::vector<Token> TokensOf(std::string_view name) {
  std::vector<Token> tokens;
  for (std::size_t i = 0; i < name.size();) {
    const std::size_t begin = i;
    if (IsDigit(name[i])) {
      while (i < name.size() && IsDigit(name[i])) ++i;
    } else if (IsLetter(name[i])) {
      ++i;
      const auto is_hump = [&] { return ToLower(name[i]) != name[i] && ToLower(name[i - 1]) == name[i - 1]; };
      while (i < name.size() && IsLetter(name[i]) && !is_hump()) ++i;
    } else {
      ++i;
      continue;
    }
    tokens.push_back({begin, i});
  }
  return tokens;
}

// The numbered points of one family.
struct Family {
  std::set<std::size_t> numbers;
  std::array<bool, 3> has_axis{};
  bool is_marker_csv = true;
  std::vector<std::pair<std::size_t, PointColumn>> columns; // each with its place in the table
};

// The family with the most points in x and y; nothing if there is none.
std::optional<Family> LargestFamily(const std::vector<std::string_view>& columns) {
  std::map<std::string, Family> families;
  for (std::size_t c = 0; c < columns.size(); ++c)
    if (auto column = ParsePointColumn(columns[c])) {
      Family& family = families[column->family];
      family.numbers.insert(column->number);
      family.has_axis[column->axis] = true;
      family.is_marker_csv = family.is_marker_csv && column->is_marker_csv;
      family.columns.emplace_back(c, std::move(*column));
    }
  std::optional<Family> largest;
  for (auto& [name, family] : families)
    if (family.has_axis[0] && family.has_axis[1] &&
        (!largest || family.numbers.size() > largest->numbers.size()))
      largest = std::move(family);
  return largest;
}

// Throws unless each point from the first to the last has all its coordinates. `column_of` has the columns by
// number and axis.
void CheckEachPoint(const CsvReader& csv, const Family& family, const std::vector<std::size_t>& column_of,
                    const MeshColumns& mesh) {
  const std::size_t first = *family.numbers.begin(), last = *family.numbers.rbegin();
  const std::size_t axes = mesh.has_depth ? 3 : 2;
  const std::string expected =
      fmt::format("{} are expected, as of point {} ({})",
                  mesh.has_depth ? "x, y and z of each point" : "x and y of each point", first,
                  Quoted(csv.Columns()[family.columns.front().first]));
  constexpr std::string_view kFix = "write every point with all its coordinates";
  std::vector<std::string> missing;
  for (std::size_t number = first; number <= last; ++number)
    if (!family.numbers.contains(number)) missing.push_back(std::to_string(number));
  if (!missing.empty())
    csv.Fail(Code::Missing,
             fmt::format("of the {} points from {} to {}, {} missing: {}; {}", last - first + 1, first, last,
                         missing.size() == 1 ? "one is" : fmt::format("{} are", missing.size()),
                         Some(missing), expected),
             kFix);
  for (std::size_t number = first; number <= last; ++number)
    for (std::size_t axis = 0; axis < axes; ++axis)
      if (column_of[number * kAxes.size() + axis] == MeshColumns::kNone)
        csv.Fail(Code::Missing, fmt::format("point {} has no {}; {}", number, kAxes[axis], expected), kFix);
}

} // namespace

std::optional<PointColumn> ParsePointColumn(std::string_view name) {
  const std::vector<Token> tokens = TokensOf(name);
  const Token* number = nullptr;
  const Token* axis = nullptr;
  for (const Token& token : tokens) {
    if (IsDigit(name[token.begin]))
      number = &token;
    else if (token.end - token.begin == 1 && kAxes.find(ToLower(name[token.begin])) != std::string_view::npos)
      axis = &token;
  }
  if (!number || !axis) return std::nullopt;
  // Nothing but separators may follow both: "feat_0_x_mean" is derived from a point.
  if (number != &tokens.back() && axis != &tokens.back()) return std::nullopt;

  PointColumn column;
  const char* const end = name.data() + number->end;
  if (std::from_chars(name.data() + number->begin, end, column.number).ec != std::errc()) return std::nullopt;
  column.axis = kAxes.find(ToLower(name[axis->begin]));
  column.is_marker_csv = axis->end == name.size() && axis->begin > 0 && name[axis->begin - 1] == '.';
  const bool is_capital = ToLower(name[axis->begin]) != name[axis->begin];
  const auto [first, second] = std::minmax(number, axis); // both in one vector
  column.family = fmt::format("{}{}{}{}{}", name.substr(0, first->begin),
                              first == number ? '#'
                              : is_capital    ? 'X'
                                              : 'x',
                              name.substr(first->end, second->begin - first->end),
                              second == number ? '#'
                              : is_capital     ? 'X'
                                               : 'x',
                              name.substr(second->end));
  return column;
}

bool BeginsWithPoint(const std::vector<std::string_view>& columns) {
  double value = 0;
  return columns.size() > 1 && ParsePointColumn(columns[0]) &&
         std::from_chars(columns[1].data(), columns[1].data() + columns[1].size(), value).ec == std::errc();
}

MeshLikeness LooksLikeMesh(const std::vector<std::string_view>& columns) {
  constexpr std::size_t kLeast = 440,
                        kMost = 560; // with room for what is refused with the number that is expected
  if (columns.size() < 2 * kLeast) return MeshLikeness::No;
  const std::optional<Family> family = LargestFamily(columns);
  if (!family || family->numbers.size() < kLeast || family->numbers.size() > kMost) return MeshLikeness::No;
  if (!family->is_marker_csv) return MeshLikeness::Yes;
  const std::size_t count = family->numbers.size();
  return count == kMeshWithoutIrises || count == kMeshPoints ? MeshLikeness::AsMarkers : MeshLikeness::No;
}

std::optional<std::size_t> TransposedMeshLine(std::string_view bytes) {
  constexpr std::size_t kMostRows = 10; // of frames' numbers, times and the like, before the points
  try {
    CsvReader csv(bytes, "");
    if (BeginsWithPoint(csv.Columns())) return csv.Line();
    for (std::size_t row = 0; row < kMostRows && csv.Columns().size() > 1 && csv.Next(); ++row)
      if (ParsePointColumn(csv.Text(0))) return csv.Line();
  } catch (const InputError&) {} // another reader reports it
  return std::nullopt;
}

MeshColumns FindMeshColumns(const CsvReader& csv) {
  const std::vector<std::string_view>& names = csv.Columns();
  const std::optional<Family> family = LargestFamily(names);
  if (!family) csv.Fail(Code::Missing, "the table has no landmarks", "name the columns x_0,y_0,z_0,x_1,...");
  const std::size_t first = *family->numbers.begin(), last = *family->numbers.rbegin();
  const std::size_t count = family->numbers.size();

  MeshColumns mesh;
  for (const std::size_t points : {kMeshWithoutIrises, kMeshPoints})
    for (const std::size_t body : {std::size_t{0}, kBodyPoints})
      if (first <= 1 && last - first + 1 == points + body) {
        mesh.points = points;
        mesh.body_points = body;
      }
  if (mesh.points == 0)
    csv.Fail(Code::Unsupported,
             fmt::format(
                 "the table has {} points, {} to {}; the face mesh has 468 or 478, numbered from 0 or 1, or "
                 "501 or 511 with 33 points of the body in front",
                 count, Quoted(names[family->columns.front().first]),
                 Quoted(names[family->columns.back().first])),
             "write the points of the face alone, x_0,y_0,z_0 to x_477,y_477,z_477");

  mesh.has_depth = family->has_axis[2];
  std::vector<std::size_t> column_of((last + 1) * kAxes.size(), MeshColumns::kNone);
  for (const auto& [c, column] : family->columns) {
    std::size_t& place = column_of[column.number * kAxes.size() + column.axis];
    if (place != MeshColumns::kNone)
      csv.Fail(Code::Duplicate, fmt::format("the column {} occurs twice", Quoted(names[c])),
               "keep the right one");
    place = c;
    if (column.number < first + mesh.body_points) continue;
    mesh.coordinates.push_back({c, column.number - first - mesh.body_points, column.axis});
  }
  CheckEachPoint(csv, *family, column_of, mesh);
  return mesh;
}

} // namespace mien
