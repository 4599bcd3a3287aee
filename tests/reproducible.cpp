// Solves 4000 frames of the synthetic performer and hashes the bits of every result. The hash must be the one
// below in every build: debug and release, GCC and Clang, shared and static.
//
// A change of kExpected says that some result of the per-frame solves changed in at least its last bit, for
// everybody who uses the library. Change it only together with the behaviour that was meant to change, say so
// in the changelog, and only when all builds agree on the new value. A build that disagrees with the others
// has found a dependence on compiler or flags (contraction, reassociation, a libm call), which is a fault of
// the library.

#include "mien/actor/actor_face.h"
#include "mien/face/face.h"
#include "tests/synthetic_performer.h"

#include <bit>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>

namespace {

constexpr int kFrames = 4000;
constexpr std::uint64_t kExpected = 0x0851cd636a9012bc;

// FNV-1a, 64 bits, over the values' bytes, least significant first.
class Hash {
public:
  void Add(double value) {
    Add(std::bit_cast<std::uint64_t>(value));
    ++mValues;
    if (!std::isfinite(value)) ++mNotFinite;
  }
  void Add(std::uint64_t bits) {
    for (int i = 0; i < 8; ++i, bits >>= 8) mHash = (mHash ^ (bits & 0xff)) * 0x100000001b3u;
  }
  void Add(const VgeTVector& v) { Add(v.x), Add(v.y), Add(v.z), Add(v.w); }
  void Add(const VgeAMatrix& matrix) {
    for (const auto& column : matrix.m)
      for (const double element : column) Add(element);
  }
  void Add(const VFaceState& state) {
    Add(state.mGlobal);
    for (const VFacePartState& part : state.mParts)
      for (const VgeTVector& point : part.mPoints) Add(point);
    Add(std::uint64_t{state.mValid});
  }
  void Add(const VFaceTemplateState& state) {
    for (const VFacePartTemplateState& part : state.mParts)
      for (const double weight : part.mWeights) Add(weight);
  }

  std::uint64_t Value() const { return mHash; }
  long Values() const { return mValues; }
  long NotFinite() const { return mNotFinite; }

private:
  std::uint64_t mHash = 0xcbf29ce484222325u;
  long mValues = 0, mNotFinite = 0;
};

// Twelve expressions of arbitrary weights.
void FillCatalogue(VFace& face) {
  tests::Random random(7);
  for (int k = 0; k < 12; ++k) {
    VFaceTemplateState& state = face.mExpressions[face.CreateExpression("Expression")]->mTemplateState;
    for (VFacePartTemplateState& part : state.mParts)
      for (double& weight : part.mWeights) weight = random.Between(-0.5, 1.5);
  }
}

// How often a weight lay strictly between 0 and 1: a solve whose weights never move would prove nothing.
struct Movement {
  long between[9] = {};

  void Watch(const VFaceTemplateState& weights) {
    for (int part = 0; part < 9; ++part)
      for (const double weight : weights.mParts[part].mWeights) between[part] += weight > 0 && weight < 1;
  }
  bool OfEveryPart() const {
    for (const long count : between)
      if (count < kFrames / 10) return false;
    return true;
  }
};

} // namespace

int main() {
  const auto performer = std::make_unique<tests::SyntheticPerformer>();
  const auto face = std::make_unique<VFace>();
  FillCatalogue(*face);

  Hash hash;
  Movement movement;
  const auto frame = std::make_unique<VFaceMarkerSetState>();
  VFaceState measured, rebuilt;
  VFaceTemplateState weights, from_expressions;
  VFaceExpressionState expressions;
  tests::Random random(8);
  for (int number = 0; number < kFrames; ++number) {
    performer->Film(number, *frame);
    performer->Actor().ReferenceFromRBMarker(frame.get(), &performer->Reference());
    performer->Actor().Actor2FaceSolve(&measured, frame.get());
    face->Face2TemplateSolve(&weights, &measured);
    face->Template2FaceSolve(&rebuilt, &weights);
    for (double& weight : expressions.mWeights) weight = random.Between(-0.2, 1);
    face->Expression2TemplateSolve(face->mExpressions, &from_expressions, &expressions);

    hash.Add(frame->mTransform);
    hash.Add(frame->mRBTransform);
    hash.Add(measured);
    hash.Add(weights);
    hash.Add(rebuilt);
    hash.Add(from_expressions);
    movement.Watch(weights);
  }

  std::printf("%d frames, %ld values, hash 0x%016" PRIx64 "\n", kFrames, hash.Values(), hash.Value());
  bool good = true;
  if (hash.NotFinite() != 0) {
    std::printf("%ld values are not finite numbers, so the performer tests nothing reproducible\n",
                hash.NotFinite());
    good = false;
  }
  if (!movement.OfEveryPart()) {
    std::printf("some part hardly moves:");
    for (const long count : movement.between) std::printf(" %ld", count);
    std::printf("\n");
    good = false;
  }
  if (hash.Value() != kExpected) {
    std::printf("expected 0x%016" PRIx64 ": a result differs in at least one bit\n", kExpected);
    good = false;
  }
  return good ? 0 : 1;
}
