#include "mien/batch/face_batch.h"

#include "mien/actor/actor_face.h"
#include "mien/base/affine.h"
#include "mien/batch/face_constants.h"
#include "mien/batch/frame_solves.h"
#include "mien/face/face.h"
#include "tests/character/same_bits.h"
#include "tests/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using mien::FaceBatch;
using mien::FaceBatchInput;
using mien::FaceBatchOutput;
using mien::FrameColumns;
using mien::FramePoints;
using mien::detail::batch::AllFrameSolves;
using mien::detail::batch::FaceConstants;
using mien::detail::batch::FrameSolves;
using tests::SameBits;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kMarkers = 225;

/// What a performer may be like.
struct Kind {
  int most_entries = 4; ///< of each group
  bool has_chin = true;
  unsigned head_markers = 31; ///< bits of the present slots
  bool odd_weights = false;   ///< entries whose weights are 0, negative, huge or NaN
};

/// Any number of markers near the points of the parts, some of which drive several parts.
class AnyPerformer {
public:
  AnyPerformer(unsigned seed, const Kind& kind) : random_(seed) {
    const VFace& face = *GetGlobalFace();
    constexpr int kGroups[9] = {5, 2, 2, 2, 2, 1, 1, 1, 1};
    for (int p = 0; p < 9; ++p)
      for (int g = 0; g < kGroups[p]; ++g) {
        if (p == 0 && g == 4 && !kind.has_chin) continue;
        const int least = p == 0 && g < 4 ? 1 : 0;
        const int count = static_cast<int>(random_.Between(least, kind.most_entries + 1));
        for (int i = 0; i < count; ++i) Add(face.mParts[p], p, g);
      }
    constexpr double kHead[5][3] = {
        {0, 160, 190}, {-65, 140, 160}, {65, 140, 160}, {-80, 90, 40}, {80, 90, 40}};
    for (std::size_t r = 0; r < 5; ++r) {
      reference.mRBPositions[r] = {kHead[r][0], kHead[r][1], kHead[r][2]};
      reference.mRBPresent[r] = (kind.head_markers >> r & 1) != 0;
    }
    reference.mTransform.m[3][1] = 12;
    actor.SetupFindVolumes(&reference);
    actor.SetupMarkerLocalFromGlobalPosition(&reference);
    actor.SetupComputeNormalisedPosition();
    actor.SetupResetWeights();
    actor.SetupComputeWeights();
    actor.SetupRBMarkers(&reference);
    actor.SetupRBTPI(&reference);
    if (kind.odd_weights)
      for (const auto& entry : entries_) {
        constexpr double kOdd[] = {0, -0.0, -0.5, 1e300, kNaN, kInfinity, 1, 0.25};
        for (double& weight : entry->mWeights)
          if (random_.Between(0, 1) < 0.1) weight = kOdd[static_cast<int>(random_.Between(0, 8))];
      }
  }

  /// Frames in which head and markers move; a `hostile` share of the coordinates is anything.
  std::vector<VFaceMarkerSetState> Film(std::size_t frames, double hostile = 0) {
    std::vector<VFaceMarkerSetState> film(frames, reference);
    for (VFaceMarkerSetState& set : film) {
      double rotation[3][3], move[3];
      Turn(rotation);
      for (double& length : move) length = random_.Between(-500, 500);
      const auto carry = [&](VgeTVector& p, double noise) {
        const double from[3] = {p.x + random_.Between(-noise, noise), p.y + random_.Between(-noise, noise),
                                p.z + random_.Between(-noise, noise)};
        double to[3];
        for (int row = 0; row < 3; ++row) {
          to[row] = move[row];
          for (int column = 0; column < 3; ++column) to[row] += rotation[column][row] * from[column];
        }
        for (double* const coordinate : {&to[0], &to[1], &to[2]})
          if (random_.Between(0, 1) < hostile) *coordinate = AnyNumber(*coordinate);
        p = {to[0], to[1], to[2]};
      };
      const double wild = random_.Between(0, 1) < 0.2 ? 60 : 8;
      for (int k = 0; k < actor.mMarkers.GetCount(); ++k) carry(set.mPositions[k], wild);
      for (VgeTVector& p : set.mRBPositions) carry(p, 1);
      if (hostile > 0 && random_.Between(0, 1) < 0.2) set.mRBPositions[1] = set.mRBPositions[0];
      if (hostile > 0 && random_.Between(0, 1) < 0.05)
        for (VgeTVector& p : set.mRBPositions) p = set.mRBPositions[2]; // no triangle at all
    }
    return film;
  }

  VActorFace actor;
  VFaceMarkerSetState reference;

private:
  void Add(const VFacePart& part, int p, int group) {
    int k = actor.mMarkers.GetCount();
    if (k > 0 && random_.Between(0, 1) < 0.15) {
      k = static_cast<int>(random_.Between(0, k)); // one that drives another group too
    } else {
      auto marker = std::make_unique<VFaceMarker>();
      marker->mIndex = k;
      actor.mMarkers.Add(marker.release());
      const VgeTVector& point = part.mDefaultPoints[static_cast<int>(random_.Between(0, part.mPointCount))];
      reference.mPositions[k] = {10 * (part.mCenter.x + part.mScale.x * point.x) + random_.Between(-3, 3),
                                 10 * (part.mCenter.y + part.mScale.y * point.y) + random_.Between(-3, 3),
                                 10 * (part.mCenter.z + part.mScale.z * point.z) + random_.Between(-3, 3)};
    }
    entries_.push_back(std::make_unique<VActorFacePartMarker>());
    entries_.back()->mMarker = actor.mMarkers[k];
    actor.mParts[p].mGroups[group].Add(entries_.back().get());
  }

  /// Any rotation, so that each of a quaternion's four components is the largest one now and then.
  void Turn(double (&m)[3][3]) {
    double q[4], square = 0;
    do {
      square = 0;
      for (double& component : q) component = random_.Between(-1, 1), square += component * component;
    } while (square < 0.01 || square > 1);
    if (random_.Between(0, 1) < 0.5)
      q[3] += 3, square = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
    const double s = 2 / square, x = q[0], y = q[1], z = q[2], w = q[3];
    const double columns[3][3] = {{1 - s * (y * y + z * z), s * (x * y + z * w), s * (x * z - y * w)},
                                  {s * (x * y - z * w), 1 - s * (x * x + z * z), s * (y * z + x * w)},
                                  {s * (x * z + y * w), s * (y * z - x * w), 1 - s * (x * x + y * y)}};
    for (int column = 0; column < 3; ++column)
      for (int row = 0; row < 3; ++row) m[column][row] = columns[column][row];
  }

  double AnyNumber(double number) {
    const double kNumbers[] = {kNaN,   kInfinity, -kInfinity, 0.0,    -0.0,    1e200,  -1e200,
                               1e-310, -5e-324,   1.7e308,    number, -number, 1e-160, number * 1e150};
    return kNumbers[static_cast<int>(random_.Between(0, static_cast<double>(std::size(kNumbers))))];
  }

  tests::Random random_;
  std::vector<std::unique_ptr<VActorFacePartMarker>> entries_;
};

/// All that is computed from one frame.
struct Solved {
  std::array<double, 16> head;
  bool head_valid;
  std::array<double, 63 * 3> points;
  std::array<double, 23> weights;
  std::array<double, 9> residuals;
};

constexpr int kTemplateCounts[9] = {7, 2, 2, 3, 3, 2, 2, 1, 1};

/// The operations that solve one frame at a time.
Solved SolveOne(AnyPerformer& performer, VFaceMarkerSetState frame, const VFace& face) {
  performer.actor.ReferenceFromRBMarker(&frame, &performer.reference);
  VFaceState state, given_back;
  performer.actor.Actor2FaceSolve(&state, &frame);
  VFaceTemplateState weights;
  face.Face2TemplateSolve(&weights, &state);
  face.Template2FaceSolve(&given_back, &weights);

  Solved solved;
  std::copy_n(&frame.mTransform.m[0][0], 16, solved.head.begin());
  solved.head_valid = frame.mRBValid != 0;
  std::size_t point = 0, weight = 0;
  for (std::size_t p = 0; p < 9; ++p) {
    for (const VgeTVector& at : state.mParts[p].mPoints) {
      solved.points[point++] = at.x, solved.points[point++] = at.y, solved.points[point++] = at.z;
    }
    for (int j = 0; j < kTemplateCounts[p]; ++j) solved.weights[weight++] = weights.mParts[p].mWeights[j];
    solved.residuals[p] = 0;
    const VActorFacePart& part = performer.actor.mParts[p];
    if (part.GetMarkerCount() == 0) continue;
    double squares = 0;
    for (int j = 0; j < face.mParts[p].mPointCount; ++j) {
      const VgeTVector off = mien::TransformDirection(
          part.mMarkerSet.mTransform,
          mien::Difference(state.mParts[p].mPoints[j], given_back.mParts[p].mPoints[j]));
      squares += mien::Dot(off, off);
    }
    solved.residuals[p] = std::sqrt(squares / face.mParts[p].mPointCount);
  }
  return solved;
}

/// How a caller's arrays may be laid out.
enum class Layout { FrameByFrame, AxisByAxis, Backwards };

/// An array of `points` positions in each frame, which begins and ends with its memory, so that
/// AddressSanitizer detects any access beyond it.
struct PointArray {
  PointArray(Layout layout, std::size_t frames, std::size_t points) : numbers(1 + frames * points * 3, kNaN) {
    const auto n = static_cast<std::ptrdiff_t>(points), f = static_cast<std::ptrdiff_t>(frames);
    view = layout == Layout::AxisByAxis ? FramePoints<double>{nullptr, 1, 3 * f, f}
                                        : FramePoints<double>{nullptr, 3 * n, 3, 1};
    view.first = numbers.data() + 1; // nothing is aligned
    if (layout == Layout::Backwards && frames > 0)
      view.first += 3 * n * (f - 1), view.frame_stride = -view.frame_stride;
  }
  double& At(std::size_t frame, std::size_t point, std::ptrdiff_t axis) {
    return view.first[static_cast<std::ptrdiff_t>(frame) * view.frame_stride +
                      static_cast<std::ptrdiff_t>(point) * view.point_stride + axis * view.axis_stride];
  }
  FramePoints<const double> Read() const {
    return {view.first, view.frame_stride, view.point_stride, view.axis_stride};
  }

  std::vector<double> numbers;
  FramePoints<double> view;
};

/// The same for a row per frame.
struct ColumnArray {
  ColumnArray(Layout layout, std::size_t frames, std::size_t columns) : numbers(1 + frames * columns, kNaN) {
    const auto n = static_cast<std::ptrdiff_t>(columns), f = static_cast<std::ptrdiff_t>(frames);
    view = layout == Layout::AxisByAxis ? FrameColumns<double>{nullptr, 1, f}
                                        : FrameColumns<double>{nullptr, n, 1};
    view.first = numbers.data() + 1;
    if (layout == Layout::Backwards && frames > 0) view.first += n * (f - 1), view.frame_stride = -n;
  }
  double At(std::size_t frame, std::size_t column) const {
    return view.first[static_cast<std::ptrdiff_t>(frame) * view.frame_stride +
                      static_cast<std::ptrdiff_t>(column) * view.column_stride];
  }
  FrameColumns<const double> Read() const { return {view.first, view.frame_stride, view.column_stride}; }

  std::vector<double> numbers;
  FrameColumns<double> view;
};

/// All results of all frames.
std::vector<Solved> SolveAll(const FrameSolves& solves, const FaceConstants& constants,
                             const std::vector<VFaceMarkerSetState>& film, Layout layout) {
  const std::size_t frames = film.size(), head_count = static_cast<std::size_t>(constants.head_markers);
  PointArray markers(layout, frames, kMarkers), head_markers(layout, frames, head_count),
      points(layout, frames, 63);
  ColumnArray heads(layout, frames, 16), weights(layout, frames, 23), residuals(layout, frames, 9);
  for (std::size_t f = 0; f < frames; ++f) {
    const auto set = [&](PointArray& array, std::size_t point, const VgeTVector& p) {
      array.At(f, point, 0) = p.x, array.At(f, point, 1) = p.y, array.At(f, point, 2) = p.z;
    };
    for (std::size_t k = 0; k < kMarkers; ++k) set(markers, k, film[f].mPositions[k]);
    std::size_t rank = 0;
    for (std::size_t slot = 0; slot < 5; ++slot)
      if (film[f].mRBPresent[slot]) set(head_markers, rank++, film[f].mRBPositions[slot]);
  }
  const auto valid = std::make_unique<bool[]>(frames);
  solves.solve(
      constants,
      {.frames = frames, .markers = markers.Read(), .head_markers = head_markers.Read(), .heads = {}},
      {.heads = heads.view, .head_valid = valid.get(), .points = points.view, .weights = weights.view});
  solves.residuals(constants, frames, points.Read(), weights.Read(), residuals.view);

  std::vector<Solved> all(frames);
  for (std::size_t f = 0; f < frames; ++f) {
    Solved& solved = all[f];
    for (std::size_t c = 0; c < 16; ++c) solved.head[c] = heads.At(f, c);
    solved.head_valid = valid[f];
    for (std::size_t i = 0; i < 63 * 3; ++i)
      solved.points[i] = points.At(f, i / 3, static_cast<std::ptrdiff_t>(i % 3));
    for (std::size_t c = 0; c < 23; ++c) solved.weights[c] = weights.At(f, c);
    for (std::size_t c = 0; c < 9; ++c) solved.residuals[c] = residuals.At(f, c);
  }
  return all;
}

testing::AssertionResult Same(const Solved& actual, const Solved& expected) {
  const auto compare = [](const char* what, const auto& a, const auto& b) -> testing::AssertionResult {
    for (std::size_t i = 0; i < a.size(); ++i)
      if (!SameBits(a[i], b[i]))
        return testing::AssertionFailure()
               << what << ' ' << i << " is " << std::hexfloat << a[i] << " instead of " << b[i];
    return testing::AssertionSuccess();
  };
  if (actual.head_valid != expected.head_valid) return testing::AssertionFailure() << "head_valid";
  if (const auto head = compare("head", actual.head, expected.head); !head) return head;
  if (const auto points = compare("points", actual.points, expected.points); !points) return points;
  if (const auto weights = compare("weight", actual.weights, expected.weights); !weights) return weights;
  return compare("residual", actual.residuals, expected.residuals);
}

/// What the two forms give for a film, with every width and layout.
testing::AssertionResult SameAsOneByOne(AnyPerformer& performer, const std::vector<VFaceMarkerSetState>& film,
                                        const VFace& face = *GetGlobalFace()) {
  std::vector<Solved> expected;
  for (const VFaceMarkerSetState& frame : film) expected.push_back(SolveOne(performer, frame, face));
  const FaceConstants constants(performer.actor, face, performer.reference);
  for (std::size_t width = 0; width < AllFrameSolves().size(); ++width)
    for (const Layout layout : {Layout::FrameByFrame, Layout::AxisByAxis, Layout::Backwards}) {
      const std::vector<Solved> all = SolveAll(AllFrameSolves()[width], constants, film, layout);
      for (std::size_t f = 0; f < film.size(); ++f)
        if (const auto same = Same(all[f], expected[f]); !same)
          return testing::AssertionFailure()
                 << "frame " << f << " of " << film.size() << ", width " << width << ", layout "
                 << static_cast<int>(layout) << ": " << same.message();
    }
  return testing::AssertionSuccess();
}

} // namespace

TEST(FaceBatch, HasAVectorVariantForThisProcessor) {
#if defined(__x86_64__)
  EXPECT_EQ(AllFrameSolves().size(),
            2U + (__builtin_cpu_supports("avx") ? 1 : 0) + (__builtin_cpu_supports("avx512f") ? 1 : 0));
#elif defined(__GNUC__)
  EXPECT_EQ(AllFrameSolves().size(), 2U);
#endif
}

// --- Every width has the bits of the operations that solve one frame.

TEST(FaceBatch, EveryNumberOfFramesHasTheBitsOfSingleFrames) {
  AnyPerformer performer(1, {});
  for (std::size_t frames = 0; frames <= 20; ++frames)
    ASSERT_TRUE(SameAsOneByOne(performer, performer.Film(frames)));
}

TEST(FaceBatch, AnyPerformerHasTheBitsOfSingleFrames) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    const Kind kind = {
        .most_entries = static_cast<int>(seed % 7), .has_chin = seed % 3 != 0, .head_markers = seed % 32};
    AnyPerformer performer(seed + 100, kind);
    ASSERT_TRUE(SameAsOneByOne(performer, performer.Film(21))) << "seed " << seed;
  }
}

TEST(FaceBatch, HostileNumbersHaveTheBitsOfSingleFrames) {
  for (unsigned seed = 0; seed < 120; ++seed) {
    AnyPerformer performer(seed + 300, {.has_chin = seed % 2 == 0, .odd_weights = seed % 4 >= 2});
    constexpr double kShares[] = {0.002, 0.02, 0.2, 1};
    ASSERT_TRUE(SameAsOneByOne(performer, performer.Film(21, kShares[seed / 4 % 4]))) << "seed " << seed;
  }
}

// The lids' limits are looked up by name.
TEST(FaceBatch, AFaceWithoutATemplateByNameHasTheBitsOfSingleFrames) {
  AnyPerformer performer(5, {});
  const std::vector<VFaceMarkerSetState> film = performer.Film(21);
  VFace& face = *GetGlobalFace();
  for (const int eye : {3, 4})
    for (int j = 0; j < 3; ++j) {
      const char*& name = face.mParts[eye].mTemplates[j]->mName;
      const char* const before = name;
      name = "Other";
      EXPECT_TRUE(SameAsOneByOne(performer, film)) << "without " << before;
      name = before;
    }
}

// A template that does not move, one that is the rest pose, one with a NaN: divisions by zero.
TEST(FaceBatch, AFaceWithoutExtentHasTheBitsOfSingleFrames) {
  AnyPerformer performer(6, {}), without_chin(7, {.has_chin = false});
  const std::vector<VFaceMarkerSetState> film = performer.Film(21), other = without_chin.Film(21);
  VFace& face = *GetGlobalFace();
  for (VFacePart& part : face.mParts)
    for (int j = 0; j < part.mTemplates.GetCount(); ++j) {
      VgeTVector(&pose)[7] = part.mTemplates[j]->mPoints;
      VgeTVector before[7];
      std::copy_n(pose, 7, before);
      std::copy_n(part.mDefaultPoints, 7, pose);
      EXPECT_TRUE(SameAsOneByOne(performer, film)) << part.mName << j;
      EXPECT_TRUE(SameAsOneByOne(without_chin, other)) << part.mName << j;
      pose[1].y = kNaN;
      EXPECT_TRUE(SameAsOneByOne(performer, film)) << part.mName << j;
      std::copy_n(before, 7, pose);
    }
}

// Each template to the other side of the rest pose, and each of its points alone at rest: comparisons, not
// the quotient, decide what is beyond such a template.
TEST(FaceBatch, AFaceTheOtherWayRoundHasTheBitsOfSingleFrames) {
  AnyPerformer performer(9, {}), without_chin(10, {.has_chin = false});
  const std::vector<VFaceMarkerSetState> film = performer.Film(21), other = without_chin.Film(21);
  VFace& face = *GetGlobalFace();
  for (VFacePart& part : face.mParts)
    for (int j = 0; j < part.mTemplates.GetCount(); ++j) {
      VgeTVector(&pose)[7] = part.mTemplates[j]->mPoints;
      const VgeTVector* const rest = part.mDefaultPoints;
      VgeTVector before[7];
      std::copy_n(pose, 7, before);
      for (int i = 0; i < 7; ++i)
        pose[i] = {2 * rest[i].x - pose[i].x, 2 * rest[i].y - pose[i].y, 2 * rest[i].z - pose[i].z};
      EXPECT_TRUE(SameAsOneByOne(performer, film)) << part.mName << j;
      EXPECT_TRUE(SameAsOneByOne(without_chin, other)) << part.mName << j;
      const char*& name = part.mTemplates[j]->mName;
      const char* const name_before = name;
      name = "Other"; // so that it does not limit an eye's lids
      EXPECT_TRUE(SameAsOneByOne(performer, film)) << part.mName << j;
      name = name_before;
      for (int i = 0; i < part.mPointCount; ++i) {
        std::copy_n(before, 7, pose);
        pose[i] = rest[i];
        EXPECT_TRUE(SameAsOneByOne(without_chin, other)) << part.mName << j << ' ' << i;
      }
      std::copy_n(before, 7, pose);
    }
}

// In every lane: the others are not touched by what one of them divides by.
TEST(FaceBatch, AHeadThatIsLostInOneFrameIsKnownInItsNeighbours) {
  AnyPerformer performer(8, {});
  const VFaceMarkerSetState good = performer.Film(1)[0];
  VFaceMarkerSetState lost = good;
  for (VgeTVector& p : lost.mRBPositions) p = {kNaN, 0, 0};
  ASSERT_TRUE(SolveOne(performer, good, *GetGlobalFace()).head_valid);
  for (std::size_t at = 0; at < 17; ++at) {
    std::vector<VFaceMarkerSetState> film(17, good);
    film[at] = lost;
    ASSERT_TRUE(SameAsOneByOne(performer, film)) << at;
  }
}

// --- The public object.

namespace {

/// Frames as a program that solves them one by one has them: an array of sets in, an array of states out.
struct Sets {
  explicit Sets(std::vector<VFaceMarkerSetState> frames)
      : film(std::move(frames)), states(film.size()), weights(film.size() * FaceBatch::kTemplates, kNaN) {}

  FaceBatchInput Input() const {
    constexpr auto kStride = static_cast<std::ptrdiff_t>(sizeof(VFaceMarkerSetState) / sizeof(double));
    return {.frames = film.size(),
            .markers = {&film[0].mPositions[0].x, kStride, 4},
            .head_markers = {&film[0].mRBPositions[0].x, kStride, 4},
            .heads = {&film[0].mTransform.m[0][0], kStride}};
  }
  FaceBatchOutput Output() {
    constexpr auto kStride = static_cast<std::ptrdiff_t>(sizeof(VFaceState) / sizeof(double));
    return {.heads = {&states[0].mGlobal.m[0][0], kStride},
            .head_valid = nullptr,
            .points = {&states[0].mParts[0].mPoints[0].x, kStride, 4},
            .weights = {weights.data(), FaceBatch::kTemplates}};
  }

  std::vector<VFaceMarkerSetState> film;
  std::vector<VFaceState> states;
  std::vector<double> weights;
};

testing::AssertionResult Same(const Sets& sets, AnyPerformer& performer) {
  for (std::size_t f = 0; f < sets.film.size(); ++f) {
    const Solved expected = SolveOne(performer, sets.film[f], *GetGlobalFace());
    Solved actual = expected;
    std::copy_n(&sets.states[f].mGlobal.m[0][0], 16, actual.head.begin());
    for (std::size_t i = 0; i < 63; ++i) {
      const VgeTVector& p = sets.states[f].mParts[i / 7].mPoints[i % 7];
      actual.points[3 * i] = p.x, actual.points[3 * i + 1] = p.y, actual.points[3 * i + 2] = p.z;
      if (p.w != 1) return testing::AssertionFailure() << "w of point " << i << " was written";
    }
    std::copy_n(&sets.weights[f * 23], 23, actual.weights.begin());
    if (const auto same = Same(actual, expected); !same)
      return testing::AssertionFailure() << "frame " << f << ": " << same.message();
  }
  return testing::AssertionSuccess();
}

} // namespace

TEST(FaceBatch, TheColumnsAreThoseOfTheDefaultFace) {
  int column = 0;
  for (int p = 0; p < 9; ++p) {
    EXPECT_EQ(FaceBatch::kFirstTemplate[p], column);
    column += GetGlobalFace()->mParts[p].mTemplates.GetCount();
  }
  EXPECT_EQ(FaceBatch::kTemplates, column);
}

TEST(FaceBatch, SolvesArraysOfSetsIntoArraysOfStates) {
  AnyPerformer performer(20, {});
  Sets sets(performer.Film(30));
  const FaceBatch batch(performer.actor, *GetGlobalFace(), performer.reference);
  EXPECT_EQ(batch.HeadMarkerCount(), 5);
  batch.Solve(sets.Input(), sets.Output());
  EXPECT_TRUE(Same(sets, performer));
}

TEST(FaceBatch, WithoutHeadMarkersTheHeadsAreGiven) {
  AnyPerformer performer(21, {});
  Sets sets(performer.Film(13));
  for (VFaceMarkerSetState& set : sets.film)
    performer.actor.ReferenceFromRBMarker(&set, &performer.reference);
  const FaceBatch batch(performer.actor, *GetGlobalFace(), performer.reference);
  FaceBatchInput input = sets.Input();
  input.head_markers = {};
  batch.Solve(input, sets.Output());
  EXPECT_TRUE(Same(sets, performer));
}

TEST(FaceBatch, WithoutHeadsTheMarkersAreInTheHeadsFrame) {
  AnyPerformer performer(22, {.head_markers = 0});
  performer.reference.mTransform = performer.reference.mRBTransform = VgeAMatrix();
  Sets sets(performer.Film(13));
  const FaceBatch batch(performer.actor, *GetGlobalFace(), performer.reference);
  EXPECT_EQ(batch.HeadMarkerCount(), 0);
  FaceBatchInput input = sets.Input();
  input.head_markers = {}, input.heads = {};
  batch.Solve(input, sets.Output());
  EXPECT_TRUE(Same(sets, performer));
}

TEST(FaceBatch, ResultsThatNobodyWantsAreLeftOut) {
  AnyPerformer performer(23, {});
  Sets all(performer.Film(11));
  const FaceBatch batch(performer.actor, *GetGlobalFace(), performer.reference);
  batch.Solve(all.Input(), all.Output());
  for (unsigned wanted = 0; wanted < 8; ++wanted) {
    Sets some(all.film);
    const std::vector<VFaceState> untouched = some.states;
    FaceBatchOutput output = some.Output();
    if (!(wanted & 1)) output.heads = {};
    if (!(wanted & 2)) output.points = {};
    if (!(wanted & 4)) output.weights = {};
    batch.Solve(some.Input(), output);
    for (std::size_t f = 0; f < all.film.size(); ++f) {
      EXPECT_EQ(some.states[f].mGlobal, (wanted & 1 ? all : Sets(all.film)).states[f].mGlobal);
      for (int p = 0; p < 9; ++p)
        for (int j = 0; j < 7; ++j)
          EXPECT_EQ(some.states[f].mParts[p].mPoints[j],
                    (wanted & 2 ? all.states : untouched)[f].mParts[p].mPoints[j]);
    }
    for (std::size_t i = 0; i < all.weights.size(); ++i)
      EXPECT_TRUE(SameBits(some.weights[i], wanted & 4 ? all.weights[i] : kNaN)) << i;
  }
}

// It keeps copies: the performer may go.
TEST(FaceBatch, OutlivesThePerformer) {
  AnyPerformer performer(24, {});
  auto doomed = std::make_unique<AnyPerformer>(24, Kind{}); // another one like it
  const FaceBatch batch(doomed->actor, *GetGlobalFace(), doomed->reference);
  doomed.reset();
  Sets sets(performer.Film(9));
  batch.Solve(sets.Input(), sets.Output());
  EXPECT_TRUE(Same(sets, performer));
}

TEST(FaceBatch, ThreadsShareOneObject) {
  AnyPerformer performer(26, {});
  const FaceBatch batch(performer.actor, *GetGlobalFace(), performer.reference);
  std::vector<Sets> sets;
  for (int i = 0; i < 4; ++i) sets.emplace_back(performer.Film(200));
  std::vector<std::thread> threads;
  for (Sets& own : sets)
    threads.emplace_back([&batch, &own] {
      for (int round = 0; round < 20; ++round) batch.Solve(own.Input(), own.Output());
    });
  for (std::thread& thread : threads) thread.join();
  for (const Sets& own : sets) EXPECT_TRUE(Same(own, performer));
}
