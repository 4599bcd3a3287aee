#include "host/guess/counterparts.h"

#include "mien/base/affine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace mien {

namespace {

constexpr double kMost_mm = 13;

double OffSymmetry(const VgeTVector& a, const VgeTVector& b) { return Distance({-a.x, a.y, a.z}, b); }

/// On the mid-line is what is nearer to its own mirror image than to another point's, and near enough.
bool IsOnMidLine(const std::vector<VgeTVector>& points, std::size_t i) {
  constexpr double kSurely_mm = 2, kNever_mm = 4.5;
  const double x = std::fabs(points[i].x);
  if (x < kSurely_mm) return true;
  if (x > kNever_mm) return false;
  for (std::size_t j = 0; j < points.size(); ++j)
    if (j != i && points[i].x * points[j].x < 0 && OffSymmetry(points[i], points[j]) < 2 * x) return false;
  return true;
}

/// For each row of a square matrix its column in the assignment of least cost. H. W. Kuhn, "The Hungarian
/// method for the assignment problem", Naval Research Logistics Quarterly 2 (1955), by shortest augmenting
/// paths: rows are added one after the other.
std::vector<std::size_t> CheapestAssignment(const std::vector<std::vector<double>>& cost) {
  const std::size_t n = cost.size(), none = n;
  std::vector<double> of_row(n, 0), of_column(n + 1, 0); // the potentials
  std::vector<std::size_t> row_at(n + 1, none), before(n + 1, none);
  for (std::size_t row = 0; row < n; ++row) {
    std::vector<double> least(n, std::numeric_limits<double>::infinity());
    std::vector<bool> reached(n + 1, false);
    std::size_t column = n; // a column that no row keeps, where the path begins
    row_at[n] = row;
    while (row_at[column] != none) {
      reached[column] = true;
      const std::size_t r = row_at[column];
      std::size_t next = none;
      double step = std::numeric_limits<double>::infinity();
      for (std::size_t c = 0; c < n; ++c) {
        if (reached[c]) continue;
        const double reduced = cost[r][c] - of_row[r] - of_column[c];
        if (reduced < least[c]) least[c] = reduced, before[c] = column;
        if (least[c] < step) step = least[c], next = c;
      }
      for (std::size_t c = 0; c <= n; ++c)
        if (reached[c])
          of_row[row_at[c]] += step, of_column[c] -= step;
        else if (c < n)
          least[c] -= step;
      column = next;
    }
    while (column != n) {
      row_at[column] = row_at[before[column]];
      column = before[column];
    }
    row_at[n] = none;
  }
  std::vector<std::size_t> column_of(n);
  for (std::size_t c = 0; c < n; ++c) column_of[row_at[c]] = c;
  return column_of;
}

} // namespace

std::vector<std::optional<std::size_t>> FindCounterparts(const std::vector<VgeTVector>& points) {
  std::vector<std::optional<std::size_t>> counterparts(points.size());
  std::vector<std::size_t> left, right;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (IsOnMidLine(points, i))
      counterparts[i] = i;
    else
      (points[i].x > 0 ? left : right).push_back(i);

  // Columns and rows beyond the points stand for having no counterpart.
  constexpr double kAlone = kMost_mm * kMost_mm;
  const std::size_t n = std::max(left.size(), right.size());
  std::vector<std::vector<double>> cost(n, std::vector<double>(n, kAlone));
  for (std::size_t l = 0; l < left.size(); ++l)
    for (std::size_t r = 0; r < right.size(); ++r) {
      const double off = OffSymmetry(points[left[l]], points[right[r]]);
      cost[l][r] = std::min(off * off, kAlone);
    }
  const std::vector<std::size_t> column_of = CheapestAssignment(cost);
  for (std::size_t l = 0; l < left.size(); ++l)
    if (const std::size_t r = column_of[l]; r < right.size() && cost[l][r] < kAlone) {
      counterparts[left[l]] = right[r];
      counterparts[right[r]] = left[l];
    }

  // A marker on the mid-line may be put a little beside it.
  constexpr double kNearMidLine_mm = 7;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (!counterparts[i] && std::fabs(points[i].x) < kNearMidLine_mm) counterparts[i] = i;
  return counterparts;
}

} // namespace mien
