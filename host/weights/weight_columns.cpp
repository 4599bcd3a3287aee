#include "host/weights/weight_columns.h"

#include "host/base/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numbers>
#include <span>
#include <string_view>
#include <utility>

namespace mien {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

constexpr std::string_view kAngleNames[] = {"HeadYaw",     "HeadPitch",     "HeadRoll",
                                            "LeftEyeYaw",  "LeftEyePitch",  "LeftEyeRoll",
                                            "RightEyeYaw", "RightEyePitch", "RightEyeRoll"};
constexpr std::size_t kHead = 0, kLeftEye = 3, kRightEye = 6;

std::optional<std::size_t> AngleOf(std::string_view column) {
  const auto found = std::find_if(std::begin(kAngleNames), std::end(kAngleNames),
                                  [&](std::string_view name) { return EqualIgnoringCase(name, column); });
  if (found == std::end(kAngleNames)) return std::nullopt;
  return static_cast<std::size_t>(found - std::begin(kAngleNames));
}

} // namespace

std::optional<std::size_t> FindColumn(const std::vector<std::string_view>& columns, std::string_view name) {
  for (std::size_t c = 0; c < columns.size(); ++c)
    if (EqualIgnoringCase(columns[c], name)) return c;
  return std::nullopt;
}

bool IsAngleColumn(std::string_view column) { return AngleOf(column).has_value(); }

WeightColumns::WeightColumns(const CsvReader& csv, const std::vector<std::size_t>& others,
                             WeightNames::Unknown unknown)
    : names_(unknown) {
  std::vector<Field> angles;
  for (std::size_t c = 0; c < csv.Columns().size(); ++c) {
    const std::string_view name = csv.Columns()[c];
    if (name.empty() || std::find(others.begin(), others.end(), c) != others.end()) continue;
    if (const auto angle = AngleOf(name)) {
      if (has_angle_[*angle])
        csv.Fail(Code::Duplicate, fmt::format("the column {} occurs twice", Quoted(name)),
                 "keep the right one");
      has_angle_[*angle] = true;
      angles.push_back({c, *angle});
    } else if (const auto weight = names_.Add(name)) {
      fields_.push_back({c, *weight});
    }
  }
  has_angles_ = !angles.empty();
  for (const Field& angle : angles) fields_.push_back({angle.column, Names().size() + angle.index});
  std::sort(fields_.begin(), fields_.end(),
            [](const Field& a, const Field& b) { return a.column < b.column; });
  row_.resize(Names().size() + kAngles, kNone);
}

void WeightColumns::ReadRow(CsvReader& csv) {
  for (const Field& field : fields_) {
    const double value = csv.NumberIfAny(field.column).value_or(kNone);
    row_[field.index] = std::isfinite(value) ? value : kNone;
    if (!std::isfinite(value)) gaps_.Add(csv, field.column);
  }
  weights_.append(std::span(row_).first(Names().size()));
  if (has_angles_) angles_.append(std::span(row_).last(kAngles));
  ++rows_;
}

void WeightColumns::RemoveLastRow() {
  weights_.resize(weights_.size() - Names().size());
  if (has_angles_) angles_.resize(angles_.size() - kAngles);
  --rows_;
}

void WeightColumns::Finish(const std::vector<std::size_t>& order, WeightTake& take) {
  SetAngles(order, take);
  const std::size_t weights = Names().size();
  take.names = Names();
  if (order.empty()) {
    take.weights = std::move(weights_);
  } else {
    for (const std::size_t row : order) take.weights.append(weights_.subspan(row * weights, weights));
  }
  weights_ = {};
  angles_ = {};
  names_.AppendTo(take.notes);
  gaps_.AppendTo(take.notes);
  NoteUnlikelyWeights(take);
}

void WeightColumns::SetAngles(const std::vector<std::size_t>& order, WeightTake& take) const {
  if (!has_angles_) return;
  const auto has = [this](std::size_t angle) { return has_angle_[angle] && has_angle_[angle + 1]; };
  const bool has_eyes = has(kLeftEye) && has(kRightEye), has_head = has(kHead) && has_angle_[kHead + 2];

  double eye = 0, head = 0; // the largest of the eyes' angles, and of the head's
  bool rolls = false;       // an eye
  for (std::size_t r = 0; r < rows_; ++r) {
    const auto angles = angles_.subspan(r * kAngles, kAngles);
    for (std::size_t a = 0; a < kAngles; ++a) {
      double& largest = a < kLeftEye ? head : eye;
      if (std::fabs(angles[a]) > largest) largest = std::fabs(angles[a]);
    }
    rolls |= std::fabs(angles[kLeftEye + 2]) > 0 || std::fabs(angles[kRightEye + 2]) > 0;
  }
  constexpr double kMostEye = std::numbers::pi / 2, kMostHead = 1.05 * std::numbers::pi; // radians
  const bool degrees = eye > kMostEye || head > kMostHead;
  if (degrees)
    take.notes.push_back({Code::Assumed, "",
                          fmt::format("angles of the {} go up to {:.3g}: too large for radians, and taken as "
                                      "degrees",
                                      eye > kMostEye ? "eyes" : "head", eye > kMostEye ? eye : head)});
  const double unit = degrees ? std::numbers::pi / 180 : 1;
  if (has_head || has_eyes)
    take.angles = fmt::format("{} (largest {:.3g})", degrees ? "degrees" : "radians", std::fmax(eye, head));

  for (std::size_t f = 0; f < rows_; ++f) {
    const auto row = angles_.subspan((order.empty() ? f : order[f]) * kAngles, kAngles);
    const auto angle = [&](std::size_t a) { return row[a] * unit; };
    if (has_head) take.heads.push_back({angle(kHead), angle(kHead + 1), angle(kHead + 2)});
    if (!has_eyes) continue;
    Eyes& eyes = take.eyes.emplace_back();
    for (const auto& [e, first] : {std::pair(0U, kLeftEye), std::pair(1U, kRightEye)})
      eyes[e] = {.yaw = -angle(first), .pitch = angle(first + 1)}; // the files' yaw is to the right
  }
  if (rolls)
    take.notes.push_back(
        {Code::Ignored, "", "the eyes' roll is ignored: it does not change where they look"});
}

void NoteUnlikelyWeights(WeightTake& take) {
  constexpr double kUnlikely = 5;
  constexpr std::size_t kAtOnce = 4096;
  double most = 0;
  for (std::size_t i = 0; i < take.weights.size(); i += kAtOnce)
    for (const double weight : take.weights.subspan(i, std::min(kAtOnce, take.weights.size() - i)))
      if (std::fabs(weight) > most) most = std::fabs(weight); // not of NaN
  if (most > kUnlikely)
    take.notes.push_back(
        {Code::Doubtful, "",
         fmt::format(
             "weights go up to {:.4g}, and 0 to 1 is expected; if they are percent, divide them by 100",
             most)});
}

} // namespace mien
