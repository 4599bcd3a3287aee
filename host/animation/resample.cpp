#include "host/animation/resample.h"

#include "host/base/error.h"
#include "host/base/monotone_cubic.h"
#include "host/base/rotation.h"
#include "mien/base/affine.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace mien {
namespace {

/// The curve through a rotation at each of the times: in an interval the product of three turns, each about a
/// fixed axis, which are the steps between the control points of a Bezier curve (Kim, Kim and Shin, 1995).
class RotationCurve {
public:
  RotationCurve(std::span<const double> times, LongVector<VgeRMatrix> rotations)
      : times_(times), rotations_(std::move(rotations)) {
    std::array<std::vector<double>, 3> secants; // angular velocities, in the axes of both ends
    for (std::size_t i = 0; i + 1 < rotations_.size(); ++i) {
      const VgeTVector turn = RotationVector(Turn(rotations_[i], rotations_[i + 1]));
      const double h = times_[i + 1] - times_[i];
      secants[0].push_back(turn.x / h);
      secants[1].push_back(turn.y / h);
      secants[2].push_back(turn.z / h);
    }
    for (std::size_t axis = 0; axis < 3; ++axis) velocities_[axis] = MonotoneSlopes(times_, secants[axis]);
  }

  /// `i` is the interval that the time is in.
  VgeRMatrix At(double time, std::size_t i) const {
    if (time <= times_[i] || i + 1 >= rotations_.size()) return rotations_[i];
    const double h = times_[i + 1] - times_[i], t = (time - times_[i]) / h, s = 1 - t;
    const VgeTVector first = Velocity(i, h / 3), last = Velocity(i + 1, h / 3);
    VgeRMatrix from, to;
    SetProduct(from, rotations_[i], RotationBy(first));
    SetProduct(to, rotations_[i + 1], Transposed(RotationBy(last)));
    const VgeTVector middle = RotationVector(Turn(from, to));
    VgeRMatrix rotation = rotations_[i];
    SetProduct(rotation, rotation, RotationBy(Times(first, 1 - s * s * s)));
    SetProduct(rotation, rotation, RotationBy(Times(middle, t * t * (3 - 2 * t))));
    SetProduct(rotation, rotation, RotationBy(Times(last, t * t * t)));
    return rotation;
  }

private:
  static VgeTVector Times(const VgeTVector& v, double factor) {
    return {v.x * factor, v.y * factor, v.z * factor, 0};
  }
  static VgeRMatrix Turn(const VgeRMatrix& from, const VgeRMatrix& to) {
    VgeRMatrix turn;
    SetProduct(turn, Transposed(from), to);
    return turn;
  }
  VgeTVector Velocity(std::size_t i, double factor) const {
    return Times({velocities_[0][i], velocities_[1][i], velocities_[2][i], 0}, factor);
  }

  const std::span<const double> times_;
  LongVector<VgeRMatrix> rotations_;
  std::array<std::vector<double>, 3> velocities_;
};

/// From the frames of an animation to those at another rate.
class Resampler {
public:
  Resampler(std::span<const double> times, const FrameRate& rate, const std::string& file)
      : old_times_(times) {
    constexpr double kMost = 1e7;
    const double start = times.front(), seconds = times.back() - start;
    if (!(seconds * rate.Hz() < kMost))
      throw InputError(
          Code::Limit, file, "",
          fmt::format("{:.6g} s at {} Hz are more than 10 million frames", seconds, ToText(rate)),
          "name a lower --output-rate, or check the times");
    constexpr double kRounding = 1e-9; // seconds by which the last frame may be late
    for (std::int64_t f = 0; f == 0 || rate.Seconds(f) <= seconds + kRounding; ++f) {
      const double time = std::min(start + rate.Seconds(f), times.back());
      std::size_t i = intervals_.empty() ? 0 : intervals_.back();
      while (i + 1 < times.size() && times[i + 1] <= time) ++i;
      frames.push_back(f + 1);
      new_times.push_back(start + rate.Seconds(f));
      intervals_.push_back(i);
    }
  }

  /// One curve: `old_value(frame)` becomes `new_value(frame)`, which is a reference.
  template <class Old, class New>
  void Curve(const Old& old_value, const New& new_value) const {
    std::vector<double> values(old_times_.size());
    for (std::size_t f = 0; f < values.size(); ++f) values[f] = old_value(f);
    const MonotoneCubic curve(old_times_, std::move(values));
    for (std::size_t f = 0; f < new_times.size(); ++f) new_value(f) = curve.At(new_times[f], intervals_[f]);
  }

  /// Weights (size: frames x columns).
  void Weights(LongVector<double>& weights) const {
    constexpr std::size_t kAtOnce = 4; // columns for which the weights are fetched once
    const std::size_t columns = weights.size() / old_times_.size();
    LongVector<double> resampled(new_times.size() * columns);
    for (std::size_t first = 0; first < columns; first += kAtOnce) {
      const std::size_t count = std::min(kAtOnce, columns - first);
      std::vector<std::vector<double>> values(count, std::vector<double>(old_times_.size()));
      for (std::size_t f = 0; f < old_times_.size(); ++f)
        for (std::size_t c = 0; c < count; ++c) values[c][f] = weights[f * columns + first + c];
      std::vector<MonotoneCubic> curves;
      for (std::vector<double>& of_column : values) curves.emplace_back(old_times_, std::move(of_column));
      for (std::size_t f = 0; f < new_times.size(); ++f)
        for (std::size_t c = 0; c < count; ++c)
          resampled[f * columns + first + c] = curves[c].At(new_times[f], intervals_[f]);
    }
    weights = std::move(resampled);
  }

  void Angles(LongVector<Eyes>& eyes) const {
    if (eyes.empty()) return;
    LongVector<Eyes> resampled(new_times.size());
    for (const auto angle : {&EyeAngles::yaw, &EyeAngles::pitch})
      for (const std::size_t eye : {0U, 1U})
        Curve([&](std::size_t f) { return eyes[f][eye].*angle; },
              [&](std::size_t f) -> double& { return resampled[f][eye].*angle; });
    eyes = std::move(resampled);
  }

  void Heads(LongVector<VgeAMatrix>& heads) const {
    LongVector<VgeRMatrix> rotations;
    for (const VgeAMatrix& head : heads) rotations.push_back(RotationOf(head));
    const RotationCurve turns(old_times_, std::move(rotations));
    LongVector<VgeAMatrix> resampled(new_times.size());
    for (std::size_t f = 0; f < new_times.size(); ++f) {
      const VgeRMatrix rotation = turns.At(new_times[f], intervals_[f]);
      for (int column = 0; column < 3; ++column) std::copy_n(rotation.m[column], 3, resampled[f].m[column]);
    }
    for (int row = 0; row < 3; ++row)
      Curve([&](std::size_t f) { return heads[f].m[3][row]; },
            [&](std::size_t f) -> double& { return resampled[f].m[3][row]; });
    heads = std::move(resampled);
  }

  LongVector<std::int64_t> frames; // numbers of the new ones
  LongVector<double> new_times;

private:
  const std::span<const double> old_times_;
  LongVector<std::size_t> intervals_; // of the old times, that each new one is in
};

} // namespace

void Resample(Animation& animation, const FrameRate& rate, const std::string& file,
              LongVector<double>* fitted) {
  Resampler resampler(animation.times, rate, file);
  resampler.Weights(animation.weights);
  resampler.Weights(animation.shape_weights);
  if (fitted) resampler.Weights(*fitted);
  resampler.Angles(animation.eyes);
  resampler.Heads(animation.heads);
  animation.frames = std::move(resampler.frames);
  animation.times = std::move(resampler.new_times);
  animation.layout.rate = rate;
}

} // namespace mien
