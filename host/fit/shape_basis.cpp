#include "host/fit/shape_basis.h"

#include "host/base/error.h"
#include "host/base/text.h"
#include "host/fit/built_in_basis.h"
#include "host/formats/csv.h"

#include <fmt/format.h>

#include <algorithm>

namespace mien {

namespace {

constexpr std::string_view kAxes = "xyz";
constexpr std::size_t kFirstShape = 4; // behind point, x, y, z

std::string_view TextOf(BuiltInBasis basis) { return basis == BuiltInBasis::TwoHeads ? kTwoHeads : kOneHead; }

std::vector<std::string> ShapesOf(const CsvReader& csv) {
  constexpr std::string_view kFix = "write point,x,y,z,SHAPE.x,SHAPE.y,SHAPE.z,...";
  const auto& columns = csv.Columns();
  constexpr std::string_view kFirst[] = {"point", "x", "y", "z"};
  if (columns.size() < kFirstShape + 3 || !std::equal(std::begin(kFirst), std::end(kFirst), columns.begin()))
    csv.Fail(Code::Syntax, "this is not a table of how points move with shapes", kFix);
  if ((columns.size() - kFirstShape) % 3 != 0)
    csv.Fail(Code::Missing, "the columns behind z are not three for each shape", kFix);
  std::vector<std::string> shapes;
  for (std::size_t c = kFirstShape; c < columns.size(); c += 3) {
    const std::string name(columns[c].substr(0, columns[c].rfind('.')));
    for (std::size_t axis = 0; axis < 3; ++axis)
      if (const std::string expected = fmt::format("{}.{}", name, kAxes[axis]); columns[c + axis] != expected)
        csv.Fail(Code::Syntax,
                 fmt::format("column {} is {} and not {}", c + axis + 1, Quoted(columns[c + axis]),
                             Quoted(expected)),
                 kFix);
    if (std::find(shapes.begin(), shapes.end(), name) != shapes.end())
      csv.Fail(Code::Duplicate, fmt::format("the shape {} occurs twice", Quoted(name)),
               "give each shape its own name");
    shapes.push_back(name);
  }
  return shapes;
}

} // namespace

ShapeBasis LoadBasis(BuiltInBasis basis) {
  return ReadShapeBasis(TextOf(basis), basis == BuiltInBasis::TwoHeads ? "the built-in face of two heads"
                                                                       : "the built-in face of one head");
}

ShapeBasis ReadShapeBasis(std::string_view bytes, const std::string& file) {
  CsvReader csv(bytes, file);
  ShapeBasis basis;
  basis.name = file;
  basis.shapes = ShapesOf(csv);
  while (csv.Next()) {
    const auto point = [&](std::size_t first) {
      return Point{csv.Number(first), csv.Number(first + 1), csv.Number(first + 2)};
    };
    basis.points.emplace_back(csv.Text(0));
    basis.rest.push_back(point(1));
    for (std::size_t s = 0; s < basis.shapes.size(); ++s) basis.moved.push_back(point(kFirstShape + 3 * s));
  }
  if (basis.points.empty()) csv.Fail(Code::Empty, "the table has no points", "write a row per point");
  csv.Finish(basis.notes);
  return basis;
}

} // namespace mien
