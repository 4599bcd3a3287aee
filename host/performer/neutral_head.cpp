#include "host/performer/neutral_head.h"

#include "host/base/error.h"
#include "host/base/face_parts.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <initializer_list>
#include <optional>

namespace mien {

namespace {

class MiddleOf {
public:
  void Add(const std::vector<std::string>& names, const NeutralPose& pose) {
    for (const std::string& name : names) {
      const auto found = pose.find(name);
      if (found != pose.end()) Add({found->second.x, found->second.y, found->second.z});
    }
  }
  void Add(const VgeTVector& p) {
    sum_ = {sum_.x + p.x, sum_.y + p.y, sum_.z + p.z};
    ++count_;
  }
  std::optional<VgeTVector> Get() const {
    if (count_ == 0) return std::nullopt;
    return VgeTVector{sum_.x / count_, sum_.y / count_, sum_.z / count_};
  }

private:
  VgeTVector sum_ = {0, 0, 0};
  double count_ = 0;
};

/// Upright axes: x along `left`, y along the part of `rise` that is perpendicular to x. Nothing if the two
/// are parallel.
std::optional<VgeAMatrix> UprightAxes(const VgeTVector& left, const VgeTVector& rise) {
  const VgeTVector x = Unit(left);
  const double sideways = Dot(rise, x);
  const VgeTVector square = {rise.x - sideways * x.x, rise.y - sideways * x.y, rise.z - sideways * x.z, 0};
  constexpr double kThin = 1e-3; // of the face's height; measured faces have about 1
  if (!(Length(x) > 0) || !(Length(square) > kThin * Length(rise))) return std::nullopt;
  const VgeTVector y = Unit(square);
  VgeAMatrix axes;
  SetColumn(axes, 0, x);
  SetColumn(axes, 1, y);
  SetColumn(axes, 2, Cross(x, y));
  return axes;
}

} // namespace

VgeAMatrix NeutralHead(const Performer& performer, const NeutralPose& neutral) {
  const auto holder = [&](int part, int h) -> const std::vector<std::string>& {
    return performer.holders[static_cast<std::size_t>(part)][static_cast<std::size_t>(h)];
  };
  const auto middle_of_part = [&](int part) {
    MiddleOf middle;
    for (int h = 0; h < 5; ++h)
      if (part != kMouth || h != kChinHolder) // the chin moves with the jaw
        middle.Add(holder(part, h), neutral);
    return middle.Get();
  };

  // Each pair counts once, however many markers it has, and only if both sides have some.
  MiddleOf left_to_right;
  const auto add_pair = [&](const std::optional<VgeTVector>& left, const std::optional<VgeTVector>& right) {
    if (left && right) left_to_right.Add(Difference(*left, *right));
  };
  for (const int left : {kLeftBrow, kLeftEye, kLeftCheek, kLeftNostril})
    add_pair(middle_of_part(left), middle_of_part(left + 1));
  {
    MiddleOf left, right;
    left.Add(holder(kMouth, kLeftMouthHolder), neutral);
    right.Add(holder(kMouth, kRightMouthHolder), neutral);
    add_pair(left.Get(), right.Get());
  }

  const auto first_of = [&](std::initializer_list<std::pair<int, int>> pairs) {
    for (const auto& [first, second] : pairs) {
      MiddleOf middle;
      for (const int part : {first, second})
        if (const auto m = middle_of_part(part)) middle.Add(*m);
      if (middle.Get()) return middle.Get();
    }
    return std::optional<VgeTVector>();
  };
  const auto upper = first_of({{kLeftBrow, kRightBrow}, {kLeftEye, kRightEye}});
  const auto lower = first_of({{kMouth, kMouth}, {kLeftNostril, kRightNostril}, {kLeftCheek, kRightCheek}});

  if (!left_to_right.Get() || !upper || !lower)
    throw InputError(
        Code::Unsolvable, performer.file, "/parts", "the neutral pose does not show which way the face looks",
        "add markers on a left and a right part or both corners of the mouth, on brows or eyes, and on the "
        "mouth, nostrils or cheeks");
  std::optional<VgeAMatrix> axes = UprightAxes(*left_to_right.Get(), Difference(*upper, *lower));
  if (!axes)
    throw InputError(Code::Unsolvable, performer.file, "/parts", "the neutral pose's markers are on one line",
                     "check which markers are named left, right, brow and mouth");

  MiddleOf origin;
  origin.Add(performer.head, neutral);
  if (!origin.Get()) origin.Add(performer.FaceMarkers(), neutral);

  SetColumn(*axes, 3, *origin.Get());
  return *axes;
}

} // namespace mien
