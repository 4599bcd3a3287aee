#include "host/cleaning/rigid_fit_lanes.h"

#include "host/base/lanes.h"
#include "host/base/quaternion_rotation.h"
#include "host/base/statistics.h"

#include <cmath>
#include <iterator>
#include <limits>

namespace mien {

namespace {

/// The eigenvector of the largest eigenvalue of a symmetric 4 x 4 matrix, and the distance to the next
/// eigenvalue. By Jacobi's rotations, which are as exact as the matrix allows, and the same on every machine.
template <class Lanes>
struct LargestEigenvector {
  Lanes vector[4];
  Lanes gap;
};

// What is true or false for longer than a comparison is kept as a number, above 0 or 0: of kept masks,
// compilers calculate one lane after the other.

/// `is` where the mask is true, else 0.
template <class Lanes>
MIEN_IN_LANES Lanes And(const Lanes& is, const MaskOf<Lanes>& mask) {
  return Select<Lanes>(mask, is, Broadcast<Lanes>(0));
}

/// (a, b) = (c a - s b, s a + c b) where `turns`.
template <class Lanes>
MIEN_IN_LANES void Turn(Lanes& a, Lanes& b, const Lanes& c, const Lanes& s, const MaskOf<Lanes>& turns) {
  const Lanes turned_a = c * a - s * b, turned_b = s * a + c * b;
  a = Select<Lanes>(turns, turned_a, a), b = Select<Lanes>(turns, turned_b, b);
}

template <class Lanes>
MIEN_IN_LANES LargestEigenvector<Lanes> LargestEigenvectorOf(Lanes (&a)[4][4], Lanes is_wanted) {
  Lanes v[4][4];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) v[i][j] = Broadcast<Lanes>(i == j ? 1 : 0);
  constexpr int kMostSweeps = 20; // four to six are usual: convergence is quadratic
  for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
    Lanes off_diagonal = Broadcast<Lanes>(0), diagonal = off_diagonal;
    for (int i = 0; i < 4; ++i) {
      diagonal += a[i][i] * a[i][i];
      for (int j = i + 1; j < 4; ++j) off_diagonal += a[i][j] * a[i][j];
    }
    is_wanted = And<Lanes>(is_wanted, off_diagonal > 1e-30 * diagonal); // below the eigenvalues' rounding
    if (!Any(is_wanted > 0.0)) break;
    for (int p = 0; p < 3; ++p)
      for (int q = p + 1; q < 4; ++q) {
        const MaskOf<Lanes> turns = Select<Lanes>(is_wanted > 0.0, a[p][q], Broadcast<Lanes>(0)) != 0.0;
        if constexpr (kLanes<Lanes> == 1)
          if (!turns) continue;
        const Lanes theta = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
        const Lanes t = Select<Lanes>(theta < 0.0, Broadcast<Lanes>(-1), Broadcast<Lanes>(1)) /
                        (Magnitude(theta) + SquareRoot<Lanes>(theta * theta + 1.0));
        const Lanes c = 1.0 / SquareRoot<Lanes>(t * t + 1.0), s = t * c;
        for (auto& row : a) Turn(row[p], row[q], c, s, turns);
        for (int k = 0; k < 4; ++k) Turn(a[p][k], a[q][k], c, s, turns);
        for (auto& row : v) Turn(row[p], row[q], c, s, turns);
      }
  }
  LargestEigenvector<Lanes> found;
  for (int k = 0; k < 4; ++k) found.vector[k] = v[k][0];
  Lanes largest = a[0][0], at = Broadcast<Lanes>(0);
  for (int i = 1; i < 4; ++i) {
    const MaskOf<Lanes> is_larger = a[i][i] > largest;
    largest = Select<Lanes>(is_larger, a[i][i], largest);
    at = Select<Lanes>(is_larger, Broadcast<Lanes>(static_cast<double>(i)), at);
    for (int k = 0; k < 4; ++k) found.vector[k] = Select<Lanes>(is_larger, v[k][i], found.vector[k]);
  }
  found.gap = Broadcast<Lanes>(std::numeric_limits<double>::infinity());
  for (int i = 0; i < 4; ++i) {
    const Lanes distance = largest - a[i][i];
    found.gap = Select<Lanes>(at != static_cast<double>(i),
                              Select<Lanes>(distance < found.gap, distance, found.gap), found.gap);
  }
  return found;
}

/// Adds to the sum where `counts`.
template <class Lanes>
MIEN_IN_LANES void Add(Lanes& sum, const Lanes& value, const MaskOf<Lanes>& counts) {
  sum = Select<Lanes>(counts, sum + value, sum);
}

/// A rigid transform: axes x, y, z, and the translation.
template <class Lanes>
struct Motion {
  Lanes m[4][3];
};

/// The rigid transform that carries the body onto what is seen with the least sum of weighted squares. Sets
/// `is_found` to where it exists: not where fewer than three points have a weight, or these are nearly on one
/// line.
///
/// B. K. P. Horn, "Closed-form solution of absolute orientation using unit quaternions", J. Opt. Soc. Am. A 4
/// (1987): the rotation is the eigenvector of the largest eigenvalue of a matrix of the sums.
template <class Lanes>
MIEN_IN_LANES void FindMotion(const FitBody& body, const FitFrames& frames, Motion<Lanes>& motion,
                              Lanes& is_found) {
  constexpr std::size_t kWidth = kLanes<Lanes>;
  const auto zero = Broadcast<Lanes>(0);
  Lanes count = zero, weight_sum = zero, from[3] = {zero, zero, zero}, to[3] = {zero, zero, zero};
  for (std::size_t i = 0; i < body.points.size(); ++i) {
    const auto weight = Load<Lanes>(&frames.weights[i * kWidth]);
    const MaskOf<Lanes> counts = weight > 0.0;
    const double place[3] = {body.points[i].x, body.points[i].y, body.points[i].z};
    Add<Lanes>(count, Broadcast<Lanes>(1), counts);
    Add<Lanes>(weight_sum, weight, counts);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      Add<Lanes>(from[axis], weight * place[axis], counts);
      Add<Lanes>(to[axis], weight * Load<Lanes>(&frames.seen[(3 * i + axis) * kWidth]), counts);
    }
  }
  is_found = And<Lanes>(count, count >= 3.0);
  if (!Any(is_found > 0.0)) return;
  for (int axis = 0; axis < 3; ++axis) from[axis] /= weight_sum, to[axis] /= weight_sum;

  Lanes s[3][3] = {{zero, zero, zero}, {zero, zero, zero}, {zero, zero, zero}};
  for (std::size_t i = 0; i < body.points.size(); ++i) {
    const auto weight = Load<Lanes>(&frames.weights[i * kWidth]);
    const MaskOf<Lanes> counts = weight > 0.0;
    const double place[3] = {body.points[i].x, body.points[i].y, body.points[i].z};
    Lanes f[3], t[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      f[axis] = place[axis] - from[axis];
      t[axis] = Load<Lanes>(&frames.seen[(3 * i + axis) * kWidth]) - to[axis];
    }
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) Add<Lanes>(s[r][c], weight * f[r] * t[c], counts);
  }
  Lanes n[4][4] = {{s[0][0] + s[1][1] + s[2][2], s[1][2] - s[2][1], s[2][0] - s[0][2], s[0][1] - s[1][0]},
                   {s[1][2] - s[2][1], s[0][0] - s[1][1] - s[2][2], s[0][1] + s[1][0], s[2][0] + s[0][2]},
                   {s[2][0] - s[0][2], s[0][1] + s[1][0], s[1][1] - s[0][0] - s[2][2], s[1][2] + s[2][1]},
                   {s[0][1] - s[1][0], s[2][0] + s[0][2], s[1][2] + s[2][1], s[2][2] - s[0][0] - s[1][1]}};
  Lanes squares = zero;
  for (const auto& row : s)
    for (const Lanes& value : row) squares += value * value;
  const LargestEigenvector<Lanes> found = LargestEigenvectorOf<Lanes>(n, is_found);
  // The gap is twice the sum of the squares of the body's smaller extents, and `squares` that of the greatest
  // extent's square: a body less than a twentieth as wide as it is long does not determine the rotation about
  // its length.
  constexpr double kThin = 1.0 / 20;
  is_found = And<Lanes>(is_found, found.gap > 2 * kThin * kThin * SquareRoot(squares));

  Lanes rotation[3][3];
  SetRotation<Lanes>(rotation, found.vector[1], found.vector[2], found.vector[3], found.vector[0]);
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) motion.m[column][row] = rotation[column][row];
    motion.m[3][row] =
        to[row] - (rotation[0][row] * from[0] + rotation[1][row] * from[1] + rotation[2][row] * from[2]);
  }
}

/// Within which squared distance a point counts in full, per lane; computes all squared distances. Sets
/// `is_any_far` to where a point is farther than the noise.
///
/// A point that is far off drags the first rounds along. Until more than half of the points are back within
/// the noise, the nearer half counts in full; else the few that happen to be near would settle for a wrong
/// place among themselves.
template <class Lanes>
MIEN_IN_LANES Lanes FullWithin(const FitBody& body, FitFrames& frames, const Motion<Lanes>& motion,
                               double noise_square, const Lanes& is_wanted, Lanes& is_any_far) {
  constexpr std::size_t kWidth = kLanes<Lanes>;
  const auto& m = motion.m;
  Lanes count = Broadcast<Lanes>(0), within = count;
  for (std::size_t i = 0; i < body.points.size(); ++i) {
    const auto& [x, y, z, weight, spread_square] = body.points[i];
    Lanes off[3];
    for (std::size_t row = 0; row < 3; ++row)
      off[row] = m[0][row] * x + m[1][row] * y + m[2][row] * z + m[3][row] -
                 Load<Lanes>(&frames.seen[(3 * i + row) * kWidth]);
    const Lanes square = off[0] * off[0] + off[1] * off[1] + off[2] * off[2];
    Store<Lanes>(&frames.squares[i * kWidth], square);
    const MaskOf<Lanes> counts = Load<Lanes>(&frames.weights[i * kWidth]) > 0.0;
    Add<Lanes>(count, Broadcast<Lanes>(1), counts);
    Add<Lanes>(within, Select<Lanes>(square <= noise_square, Broadcast<Lanes>(1), Broadcast<Lanes>(0)),
               counts);
  }
  is_any_far = count - within;
  auto full = Broadcast<Lanes>(noise_square);
  const auto are_few_within = And<Lanes>(is_wanted, 2.0 * within <= count - 1.0);
  if (!Any(are_few_within > 0.0)) return full; // most often: the nearer half is within the noise
  double halves[kWidth], is_lane[kWidth];
  Store<Lanes>(halves, full);
  Store<Lanes>(is_lane, are_few_within);
  for (std::size_t lane = 0; lane < kWidth; ++lane) {
    if (!(is_lane[lane] > 0)) continue;
    frames.counted.clear();
    for (std::size_t i = 0; i < body.points.size(); ++i)
      if (frames.weights[i * kWidth + lane] > 0) frames.counted.push_back(frames.squares[i * kWidth + lane]);
    halves[lane] = Quantile(frames.counted, 0.5);
  }
  const auto half = Load<Lanes>(halves);
  return Select<Lanes>(noise_square < half, half, full);
}

template <class Lanes>
MIEN_IN_LANES void Fit(const FitBody& body, FitFrames& frames, int rounds) {
  constexpr std::size_t kWidth = kLanes<Lanes>;
  constexpr double kFullWithin = 3; // times the noise: 97 of 100 points that only tremble are nearer
  const double noise = kFullWithin * body.noise_mm;
  Motion<Lanes> motion = {};
  Lanes is_found;
  FindMotion<Lanes>(body, frames, motion, is_found);
  Lanes is_active = std::isfinite(noise) ? is_found : Broadcast<Lanes>(0);
  for (int round = 0; Any(is_active > 0.0); ++round) {
    if (round > 0 && round == rounds) break;
    Lanes is_any_far;
    const auto full = FullWithin<Lanes>(body, frames, motion, noise * noise, is_active, is_any_far);
    if (round == 0) is_active = And<Lanes>(is_active, is_any_far > 0.0); // else all have their full weights
    if (rounds == 0 || !Any(is_active > 0.0)) break;

    auto changes = Broadcast<Lanes>(0);
    for (std::size_t i = 0; i < body.points.size(); ++i) {
      const auto one = Broadcast<Lanes>(1), before = Load<Lanes>(&frames.weights[i * kWidth]);
      const Lanes ratio = full / Load<Lanes>(&frames.squares[i * kWidth]);
      const auto share = Select<Lanes>(ratio < 1.0, ratio, one); // 1 where the distance is 0
      const Lanes weight = share * share / body.points[i].spread_square;
      const MaskOf<Lanes> counts = before > 0.0;
      Add<Lanes>(changes, Select<Lanes>(weight != before, one, Broadcast<Lanes>(0)), counts);
      Store<Lanes>(&frames.weights[i * kWidth],
                   Select<Lanes>(is_active > 0.0, Select<Lanes>(counts, weight, before), before));
    }
    is_active = And<Lanes>(is_active, changes > 0.0); // the same weights give the same motion
    if (!Any(is_active > 0.0)) break;
    Motion<Lanes> next = motion;
    Lanes is_next_found;
    FindMotion<Lanes>(body, frames, next, is_next_found);
    // Where too few are left that count, the motion of the round before has to do.
    is_active = And<Lanes>(is_active, is_next_found > 0.0);
    for (int column = 0; column < 4; ++column)
      for (int row = 0; row < 3; ++row)
        motion.m[column][row] = Select<Lanes>(is_active > 0.0, next.m[column][row], motion.m[column][row]);
  }
  for (std::size_t column = 0; column < 4; ++column)
    for (std::size_t row = 0; row < 3; ++row)
      Store<Lanes>(&frames.motions[(3 * column + row) * kWidth], motion.m[column][row]);
  double found[kWidth], active[kWidth];
  Store<Lanes>(found, is_found);
  Store<Lanes>(active, is_active);
  for (std::size_t lane = 0; lane < kWidth; ++lane)
    frames.found[lane] = found[lane] > 0, frames.settled[lane] = !(active[lane] > 0);
}

#if defined(__GNUC__)

void FitInTwoLanes(const FitBody& body, FitFrames& frames, int rounds) {
  Fit<TwoLanes>(body, frames, rounds);
}

#if defined(__x86_64__)

[[gnu::target("avx")]] void FitInFourLanes(const FitBody& body, FitFrames& frames, int rounds) {
  Fit<FourLanes>(body, frames, rounds);
}

[[gnu::target("avx512f")]] void FitInEightLanes(const FitBody& body, FitFrames& frames, int rounds) {
  Fit<EightLanes>(body, frames, rounds);
}

#endif
#endif

} // namespace

FitBody FitBodyOf(const RigidBody& body) {
  FitBody of;
  of.noise_mm = body.noise_mm;
  for (std::size_t i = 0; i < body.places.size(); ++i) {
    const Point place = body.places[i].value_or(Point{0, 0, 0});
    const double spread_square = body.spread_mm[i] * body.spread_mm[i];
    of.points.push_back({place.x, place.y, place.z, body.places[i] ? 1 / spread_square : 0, spread_square});
  }
  return of;
}

void Show(const FitBody& body, const RigidBody::Points& seen, FitFrames& frames, std::size_t lane) {
  for (std::size_t i = 0; i < body.points.size(); ++i) {
    const Point p = seen[i].value_or(Point{0, 0, 0});
    frames.seen[3 * i * frames.width + lane] = p.x;
    frames.seen[(3 * i + 1) * frames.width + lane] = p.y;
    frames.seen[(3 * i + 2) * frames.width + lane] = p.z;
    frames.weights[i * frames.width + lane] = seen[i] ? body.points[i].weight : 0;
  }
}

std::optional<VgeAMatrix> MotionIn(const FitFrames& frames, std::size_t lane) {
  if (!frames.found[lane]) return std::nullopt;
  VgeAMatrix motion;
  for (std::size_t i = 0; i < 12; ++i) motion.m[i / 3][i % 3] = frames.motions[i * frames.width + lane];
  return motion;
}

void FitInOneLane(const FitBody& body, FitFrames& frames, int rounds) { Fit<double>(body, frames, rounds); }

std::span<const FitOfWidth> FitsInLanes() {
  static constexpr FitOfWidth kFits[] = {
    {1, FitInOneLane},
#if defined(__GNUC__)
    {2, FitInTwoLanes},
#if defined(__x86_64__)
    {4, FitInFourLanes},
    {8, FitInEightLanes},
#endif
#endif
  };
  std::size_t runnable = std::size(kFits);
#if defined(__GNUC__) && defined(__x86_64__)
  __builtin_cpu_init(); // static constructors may call this before the runtime does
  if (!__builtin_cpu_supports("avx512f")) --runnable;
  if (!__builtin_cpu_supports("avx")) --runnable;
#endif
  return {kFits, runnable};
}

} // namespace mien
